#include "Memory.h"

#include <unistd.h>

#include <cstdlib>

#include "MemoryOwner.h"

namespace {

char s_processHeap = 0;

std::size_t PageSize() {
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

}  // namespace

// Blocks come from the C heap, page-aligned: fresh pages from the kernel cost far more than reused ones.
void* Platform::VirtualAlloc(void* pAddress, std::size_t nSize, std::uint32_t nAllocationType,
                             std::uint32_t nProtect) {
    if (pAddress || nAllocationType != (MEM_COMMIT | MEM_RESERVE) || nProtect != PAGE_READWRITE)
        return nullptr;
    const std::size_t page = PageSize();
    if (nSize == 0 || nSize > SIZE_MAX - page) return nullptr;
    void* pBlock = std::aligned_alloc(page, (nSize + page - 1) / page * page);
    MemoryOwner::Note(pBlock, MemoryOwner::Allocator::Pages);
    return pBlock;
}

void* Platform::HeapAlloc(void* hHeap, std::uint32_t nFlags, std::size_t nSize) {
    if (hHeap != &s_processHeap) return nullptr;
    const std::size_t size = nSize != 0 ? nSize : 1;
    void* pBlock = (nFlags & HEAP_ZERO_MEMORY) != 0 ? std::calloc(1, size) : std::malloc(size);
    MemoryOwner::Note(pBlock, MemoryOwner::Allocator::Heap);
    return pBlock;
}

int VirtualFree(void* pBlock, std::size_t nSize, std::uint32_t nFreeType) {
    if (!pBlock || nSize != 0 || nFreeType != MEM_RELEASE) return 0;
    MemoryOwner::Forget(pBlock, MemoryOwner::Allocator::Pages);
    std::free(pBlock);
    return 1;
}

void* GetProcessHeap() {
    return &s_processHeap;
}

int HeapFree(void* hHeap, std::uint32_t, void* pBlock) {
    if (hHeap != &s_processHeap) return 0;
    if (pBlock) MemoryOwner::Forget(pBlock, MemoryOwner::Allocator::Heap);
    std::free(pBlock);
    return 1;
}
