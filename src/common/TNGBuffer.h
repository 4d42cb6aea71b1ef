#pragma once

#include <cstdint>
#include <memory>

#include "platform/Memory.h"

/// Releases a buffer by the allocator that made it.
struct TNGBufferRelease {
    void (*pfnRelease)(std::uint8_t*) = [](std::uint8_t*) {};

    void operator()(std::uint8_t* pBuffer) const { pfnRelease(pBuffer); }
};

/// A buffer on its way to the caller: whole pages or a heap block.
using TNGBuffer = std::unique_ptr<std::uint8_t, TNGBufferRelease>;

/// Takes over a block of VirtualAlloc: a compressed thumbnail.
inline TNGBuffer MakePageBuffer(std::uint8_t* pBlock) {
    return TNGBuffer(pBlock, {[](std::uint8_t* p) { VirtualFree(p, 0, MEM_RELEASE); }});
}

/// Takes over a block of HeapAlloc: ARGB pixels.
inline TNGBuffer MakeHeapBuffer(std::uint8_t* pBlock) {
    return TNGBuffer(pBlock, {[](std::uint8_t* p) { HeapFree(GetProcessHeap(), 0, p); }});
}
