#include "TileMaker.h"

#include <algorithm>
#include <utility>

namespace Client {

TileMaker::TileMaker(const SheetSource& source, const std::vector<std::string>& files)
    : m_source(source),
      m_files(files),
      m_tiles(kAhead),
      m_pool(*this, std::min(WorkerPool::Processors(), files.size())) {}

std::optional<Job> TileMaker::Claim() {
    const std::scoped_lock lock(m_guard);
    if (m_claimed == m_files.size() || !HasRoom()) return std::nullopt;
    const std::size_t index = m_claimed++;
    return Job{index, {m_source.folder + m_files[index], m_source.box, m_source.mode}};
}

void TileMaker::Finish(std::size_t index, const JobResult& result) {
    Tile tile = MakeTile(m_source, m_files[index], result);
    const std::scoped_lock lock(m_guard);
    m_waitingBytes += tile.html.size();
    m_tiles[index % kAhead] = std::move(tile);
    m_tileMade.notify_one();
}

void TileMaker::WaitForNext() {
    std::unique_lock lock(m_guard);
    const std::optional<Tile>& slot = m_tiles[m_taken % kAhead];
    while (!m_tileMade.wait_for(lock, WorkerPool::kPatience, [&slot] { return slot.has_value(); })) {
        lock.unlock();
        m_pool.ReplaceDead();
        lock.lock();
    }
}

Tile TileMaker::Take() {
    WaitForNext();
    std::unique_lock lock(m_guard);
    Tile tile = *std::exchange(m_tiles[m_taken % kAhead], std::nullopt);
    ++m_taken;
    m_waitingBytes -= tile.html.size();
    lock.unlock();
    m_pool.Wake();
    return tile;
}

}  // namespace Client
