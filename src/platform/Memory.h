#pragma once

#include <cstddef>
#include <cstdint>

#include "Export.h"

/// Two allocators, each with its own release. The three functions that an application needs to release
/// what it receives have C linkage. All of them may be called from any thread.

extern "C" {

/// For VirtualFree(): the whole block goes.
enum : std::uint32_t { MEM_RELEASE = 0x8000 };

/// Releases a block of whole pages: compressed thumbnails are such blocks.
/// `nSize` is 0 and `nFreeType` MEM_RELEASE. Non-zero on success; a null pointer is refused.
QXPLATFORM_API int VirtualFree(void* pBlock, std::size_t nSize, std::uint32_t nFreeType);

/// The heap that HeapFree() wants named. There is one.
QXPLATFORM_API void* GetProcessHeap(void);

/// Releases a block of the heap: ARGB pixels and folder texts are such blocks.
/// `nFlags` is 0. Non-zero on success; a null block is fine.
QXPLATFORM_API int HeapFree(void* hHeap, std::uint32_t nFlags, void* pBlock);
}

namespace Platform {

inline constexpr std::uint32_t MEM_COMMIT = 0x1000;
inline constexpr std::uint32_t MEM_RESERVE = 0x2000;
inline constexpr std::uint32_t PAGE_READWRITE = 0x4;
inline constexpr std::uint32_t HEAP_ZERO_MEMORY = 0x8;

/// A new block of whole pages, at least `nSize` bytes, starting on a page; its content is undefined.
/// `pAddress` is null, `nAllocationType` MEM_COMMIT | MEM_RESERVE, `nProtect` PAGE_READWRITE.
/// Null if there is no memory or `nSize` is 0.
QXPLATFORM_API void* VirtualAlloc(void* pAddress, std::size_t nSize, std::uint32_t nAllocationType,
                                  std::uint32_t nProtect);

/// A new block of the heap, zeroed if `nFlags` has HEAP_ZERO_MEMORY. Null if there is no memory.
QXPLATFORM_API void* HeapAlloc(void* hHeap, std::uint32_t nFlags, std::size_t nSize);

}  // namespace Platform
