#include "TileMaker.h"

#include <algorithm>
#include <system_error>

namespace Client {

TileMaker::TileMaker(const SheetSource& source, const std::vector<std::string>& files)
    : m_source(source), m_files(files), m_tiles(kAhead) {
    StartThreads();
}

TileMaker::~TileMaker() {
    {
        const std::scoped_lock lock(m_guard);
        m_stopping = true;
    }
    m_roomMade.notify_all();
}

void TileMaker::StartThreads() {
    const std::size_t processors = std::max(1u, std::thread::hardware_concurrency());
    const std::size_t wanted = std::min(processors, m_files.size());
    m_threads.reserve(wanted);
    try {
        while (m_threads.size() < wanted)
            m_threads.emplace_back(&TileMaker::Work, this);
    } catch (const std::system_error&) {
        if (m_threads.empty()) throw;  // fewer threads than wanted will do
    }
}

void TileMaker::Work() {
    while (const std::optional<std::size_t> index = ClaimFile()) {
        Tile tile = MakeTile(m_source, m_files[*index]);
        const std::scoped_lock lock(m_guard);
        m_waitingBytes += tile.html.size();
        m_tiles[*index % kAhead] = std::move(tile);
        m_tileMade.notify_one();
    }
}

std::optional<std::size_t> TileMaker::ClaimFile() {
    std::unique_lock lock(m_guard);
    m_roomMade.wait(lock, [this] { return m_stopping || m_claimed == m_files.size() || HasRoom(); });
    if (m_stopping || m_claimed == m_files.size()) return std::nullopt;
    return m_claimed++;
}

Tile TileMaker::Take() {
    std::unique_lock lock(m_guard);
    std::optional<Tile>& slot = m_tiles[m_taken % kAhead];
    m_tileMade.wait(lock, [&slot] { return slot.has_value(); });
    Tile tile = std::move(*slot);
    slot.reset();
    ++m_taken;
    m_waitingBytes -= tile.html.size();
    m_roomMade.notify_all();
    return tile;
}

}  // namespace Client
