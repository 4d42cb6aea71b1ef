#pragma once

/// Debug builds remember which allocator made a block, and end the process with a message when the block
/// is given to the other one. Release builds keep no record.
namespace MemoryOwner {

enum class Allocator { Pages, Heap };

#ifdef NDEBUG
inline void Note(void*, Allocator) {}
inline void Forget(void*, Allocator) {}
#else
void Note(void* pBlock, Allocator allocator);
void Forget(void* pBlock, Allocator allocator);
#endif

}  // namespace MemoryOwner
