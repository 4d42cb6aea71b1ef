#include "MemoryOwner.h"

#ifndef NDEBUG

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <unordered_map>

namespace MemoryOwner {
namespace {

struct Records {
    std::mutex guard;
    std::unordered_map<void*, Allocator> blocks;
};

// Never destroyed: applications may release blocks while the process ends.
Records& GetRecords() {
    static auto* pRecords = new Records;
    return *pRecords;
}

const char* ReleaseOf(Allocator allocator) {
    return allocator == Allocator::Pages ? "VirtualFree" : "HeapFree";
}

}  // namespace

void Note(void* pBlock, Allocator allocator) {
    if (!pBlock) return;
    Records& records = GetRecords();
    const std::scoped_lock lock(records.guard);
    records.blocks[pBlock] = allocator;
}

void Forget(void* pBlock, Allocator allocator) {
    Records& records = GetRecords();
    const std::scoped_lock lock(records.guard);
    const auto found = records.blocks.find(pBlock);
    if (found == records.blocks.end() || found->second != allocator) {
        std::fprintf(stderr, "qxplatform: block %p given to %s, which did not make it\n", pBlock,
                     ReleaseOf(allocator));
        std::abort();
    }
    records.blocks.erase(found);
}

}  // namespace MemoryOwner

#endif
