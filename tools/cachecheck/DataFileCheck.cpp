#include "DataFileCheck.h"

#include <algorithm>
#include <array>
#include <limits>

#include "platform/Text.h"

namespace CacheCheck {
namespace {

constexpr std::uint64_t kMaxDataFileSize = std::numeric_limits<std::int32_t>::max();
constexpr std::size_t kBufferSize = 512;  // one trailer at a time

class DataFileCheck {
  public:
    DataFileCheck(const std::filesystem::path& folder, const FolderRecord& owner, Findings& findings)
        : m_name(Platform::PathToBytes(owner.dataFile)),
          m_file(folder / m_name, kBufferSize),
          m_paths(folder / Platform::PathToBytes(owner.listFile)),
          m_findings(findings) {}

    void Run(std::vector<LiveBlock>& blocks);

  private:
    bool IsUsable(std::size_t blocks);
    void CheckBlock(const LiveBlock& block);
    bool HasTrailer(const LiveBlock& block);

    void Error(FindingKind kind, std::uint64_t offset, const std::string& text) {
        m_findings.Error(kind, m_name, offset, text);
    }

    std::string m_name;
    InputFile m_file;
    RecordPaths m_paths;
    Findings& m_findings;
    LiveBlock m_furthest{};  // of the blocks so far the one that ends last
    std::uint64_t m_liveBytes = 0;
};

void DataFileCheck::Run(std::vector<LiveBlock>& blocks) {
    if (!IsUsable(blocks.size())) return;
    std::ranges::sort(blocks, {}, [](const LiveBlock& block) { return block.range.start; });
    for (const LiveBlock& block : blocks)
        CheckBlock(block);
    m_findings.Counts().liveBytes += m_liveBytes;
    m_findings.Counts().deadBytes += m_file.Size() - m_liveBytes;
}

// A folder whose records have no blocks needs no data file.
bool DataFileCheck::IsUsable(std::size_t blocks) {
    if (m_file.IsMissing()) {
        if (blocks != 0)
            Error(FindingKind::DataMissing, 0,
                  "the data file of " + std::to_string(blocks) + " records is missing");
    } else if (!m_file.IsOpen()) {
        Error(FindingKind::DataUnreadable, 0, "the data file cannot be read");
    } else if (m_file.Size() > kMaxDataFileSize) {
        m_findings.Warning(FindingKind::DataTooLarge, m_name, kMaxDataFileSize,
                           "the file is larger than offsets can tell");
    }
    return m_file.IsOpen();
}

void DataFileCheck::CheckBlock(const LiveBlock& block) {
    const auto [start, end] = block.range;
    if (end > m_file.Size()) {
        Error(FindingKind::BlockOutside, start,
              m_paths.At(block.recordOffset) + " has its block outside the file");
        return;
    }
    if (!HasTrailer(block)) {
        Error(FindingKind::BlockTrailer, end - kTrailerSize,
              m_paths.At(block.recordOffset) + " has a block without a trailer");
    }
    if (start < m_furthest.range.end) {
        Error(FindingKind::BlockOverlap, start,
              m_paths.At(block.recordOffset) + " shares bytes with " + m_paths.At(m_furthest.recordOffset));
    }
    if (end <= m_furthest.range.end) return;
    m_liveBytes += end - std::max(start, m_furthest.range.end);
    m_furthest = block;
}

bool DataFileCheck::HasTrailer(const LiveBlock& block) {
    std::array<std::uint32_t, 3> words{};
    m_file.Seek(block.range.end - kTrailerSize);
    for (std::uint32_t& word : words) {
        if (!m_file.ReadNumber(word)) return false;
    }
    return words == std::array<std::uint32_t, 3>{0, 1, 0};
}

}  // namespace

void CheckDataFile(const std::filesystem::path& folder, const FolderRecord& owner,
                   std::vector<LiveBlock> blocks, Findings& findings) {
    DataFileCheck(folder, owner, findings).Run(blocks);
}

}  // namespace CacheCheck
