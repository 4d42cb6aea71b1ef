#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "SheetTile.h"
#include "thumbnails/WorkerPool.h"

namespace Client {

/// Makes the tiles of a sheet on all processors and gives them out in the order of the files. Works only so
/// far ahead of the reader that memory stays small whatever the number of pictures.
class TileMaker : private WorkerPool::Jobs {
  public:
    /// Both must outlive the object. Throws if not even one thread can be had.
    TileMaker(const SheetSource& source, const std::vector<std::string>& files);
    TileMaker(const TileMaker&) = delete;
    TileMaker& operator=(const TileMaker&) = delete;

    /// The next tile; waits for it. As often as there are files.
    Tile Take();

  private:
    // What may wait for the reader; the pictures in hand come on top.
    static constexpr std::size_t kAhead = 128;  // tiles
    static constexpr std::size_t kAheadBytes = 64 * 1024 * 1024;

    std::optional<Job> Claim() override;
    void Finish(std::size_t index, const JobResult& result) override;
    void WaitForNext();
    bool HasRoom() const { return m_claimed < m_taken + kAhead && m_waitingBytes < kAheadBytes; }

    const SheetSource& m_source;
    const std::vector<std::string>& m_files;
    std::mutex m_guard;  // of all that follows but the pool
    std::condition_variable m_tileMade;
    std::vector<std::optional<Tile>> m_tiles;  // file i at i % kAhead
    std::size_t m_waitingBytes = 0;
    std::size_t m_claimed = 0;
    std::size_t m_taken = 0;
    WorkerPool m_pool;  // last: it uses all of the above
};

}  // namespace Client
