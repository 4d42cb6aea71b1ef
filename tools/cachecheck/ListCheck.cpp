#include "ListCheck.h"

#include <algorithm>
#include <tuple>

#include "platform/Text.h"

namespace CacheCheck {
namespace {

std::uint64_t HashOf(const std::u16string& text) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char16_t unit : text)
        hash = (hash ^ unit) * 0x100000001B3;
    return hash;
}

bool IsFileIn(const std::u16string& folder, const std::u16string& path) {
    const std::size_t length = folder.size();
    if (path.size() < length + 2 || !path.starts_with(folder)) return false;
    const char16_t separator = path[length];
    const bool isPossible = separator == u'/' || (separator == u'\\' && !folder.empty() && folder[0] != u'/');
    return isPossible && path.find(separator, length + 1) == std::u16string::npos;
}

// A live record, in few bytes: there may be very many.
struct Entry {
    std::uint64_t pathHash;
    std::uint64_t recordOffset;
    BlockRange block;  // empty if the record has none
};

class ListCheck {
  public:
    ListCheck(const std::filesystem::path& folder, const FolderRecord& owner, Findings& findings)
        : m_name(Platform::PathToBytes(owner.listFile)),
          m_file(folder / m_name),
          m_owner(owner),
          m_findings(findings) {}

    std::vector<LiveBlock> Run();

  private:
    bool IsUsable();
    void ReadRecords();
    void ReadTail();
    void TakeUp(const FileRecord& record);
    void CheckOwner(const FileRecord& record, RecordState state);
    BlockRange CheckLayout(const FileRecord& record, RecordState state);
    Tally& TallyOf(const FileRecord& record);
    void CountThumbnails(const FileRecord& record);
    void FindDuplicates();
    bool IsReplaced(const Entry& earlier, const Entry& later);

    void Error(FindingKind kind, std::uint64_t offset, const std::string& text) {
        m_findings.Error(kind, m_name, offset, text);
    }
    void Warning(FindingKind kind, std::uint64_t offset, const std::string& text) {
        m_findings.Warning(kind, m_name, offset, text);
    }

    std::string m_name;
    InputFile m_file;
    const FolderRecord& m_owner;
    Findings& m_findings;
    std::vector<Entry> m_entries;
};

std::vector<LiveBlock> ListCheck::Run() {
    if (!IsUsable()) return {};
    ReadRecords();
    FindDuplicates();
    std::vector<LiveBlock> blocks;
    for (const Entry& entry : m_entries) {
        if (entry.block.end != 0) blocks.push_back({entry.block, entry.recordOffset});
    }
    return blocks;
}

bool ListCheck::IsUsable() {
    const std::string folder = " of the folder " + Quoted(m_owner.path);
    if (m_file.IsMissing()) {
        Error(FindingKind::ListMissing, 0, "the list" + folder + " is missing");
    } else if (!m_file.IsOpen()) {
        Error(FindingKind::ListUnreadable, 0, "the list" + folder + " cannot be read");
    }
    return m_file.IsOpen();
}

void ListCheck::ReadRecords() {
    std::int32_t count = 0;
    if (!m_file.ReadNumber(count))
        return Error(FindingKind::ListShort, 0, "the file is too short for its count");
    if (count < 0) return Error(FindingKind::ListCountNegative, 0, "count " + std::to_string(count));
    FileRecord record;
    for (std::int32_t i = 0; i < count; ++i) {
        switch (ReadFileRecord(m_file, record)) {
            case ReadResult::Good:
                TakeUp(record);
                break;
            case ReadResult::End:
                return Error(FindingKind::ListCountHigh, 0,
                             "count " + std::to_string(count) + ", but " + std::to_string(i) + " records");
            case ReadResult::CutOff:
                return Error(FindingKind::ListTruncated, record.offset, "the file ends inside a record");
            case ReadResult::UnknownVersion:
                return Error(FindingKind::ListVersion, record.offset, "record of an unknown version");
            case ReadResult::BadLength:
                return Error(FindingKind::ListLength, record.offset, "text of an impossible length");
        }
    }
    ReadTail();
}

// An append that was cut short leaves records, or a part of one, that are not counted.
void ListCheck::ReadTail() {
    const std::uint64_t start = m_file.Position();
    const std::uint64_t bytes = m_file.BytesLeft();
    if (bytes == 0) return;
    FileRecord record;
    ReadResult result = ReadResult::Good;
    while (result == ReadResult::Good)
        result = ReadFileRecord(m_file, record);
    if (result == ReadResult::End)
        return Warning(FindingKind::ListCountLow, start, "there are more records than the count says");
    Warning(FindingKind::ListTrailing, start, std::to_string(bytes) + " bytes behind the counted records");
}

void ListCheck::TakeUp(const FileRecord& record) {
    Statistics& counts = m_findings.Counts();
    const RecordState state = StateOf(record);
    ++counts.records;
    ++(state == RecordState::Deleted ? counts.deleted : counts.live);
    if (record.deleted > 1) {
        Warning(FindingKind::RecordMark, record.offset,
                "deletion mark " + std::to_string(record.deleted) + " of " + Quoted(record.path));
    }
    if (state == RecordState::Deleted) return;
    ++TallyOf(record).number;
    if (state == RecordState::DefaultImage) ++counts.defaultImages;
    if (state == RecordState::NoThumbnail) ++counts.noThumbnails;
    CheckOwner(record, state);
    m_entries.push_back({HashOf(record.path), record.offset, CheckLayout(record, state)});
}

void ListCheck::CheckOwner(const FileRecord& record, RecordState state) {
    if (!IsFileIn(m_owner.path, record.path)) {
        Error(FindingKind::RecordFolder, record.offset,
              Quoted(record.path) + " is not a file of the folder " + Quoted(m_owner.path));
    }
    if (record.dataFile == m_owner.dataFile) return;
    const std::string text = Quoted(record.path) + " names the data file " + Quoted(record.dataFile) +
                             ", its folder " + Quoted(m_owner.dataFile);
    if (state == RecordState::Block) return Error(FindingKind::RecordDataFile, record.offset, text);
    Warning(FindingKind::RecordDataFile, record.offset, text);
}

BlockRange ListCheck::CheckLayout(const FileRecord& record, RecordState state) {
    if (state != RecordState::Block || record.dataFile != m_owner.dataFile) return {};
    const auto block = BlockOf(record);
    if (block) {
        CountThumbnails(record);
        return *block;
    }
    Error(FindingKind::BlockLayout, record.offset,
          "the thumbnails of " + Quoted(record.path) + " do not lie one behind the other");
    return {};
}

Tally& ListCheck::TallyOf(const FileRecord& record) {
    Statistics& counts = m_findings.Counts();
    if (record.type == kTypePicture) return counts.pictures;
    return record.type == kTypeVideo ? counts.videos : counts.others;
}

void ListCheck::CountThumbnails(const FileRecord& record) {
    Tally& ofType = TallyOf(record);
    const auto count = [&ofType](Tally& rendition, std::int32_t size) {
        ++rendition.number;
        rendition.bytes += static_cast<std::uint64_t>(size);
        ofType.bytes += static_cast<std::uint64_t>(size);
    };
    Statistics& counts = m_findings.Counts();
    count(counts.small, record.smallSize);
    count(counts.large, record.largeSize);
    if (record.extraLargeOffset != -1) count(counts.extraLarge, record.extraLargeSize);
}

void ListCheck::FindDuplicates() {
    std::ranges::sort(m_entries, {},
                      [](const Entry& entry) { return std::tuple(entry.pathHash, entry.recordOffset); });
    for (std::size_t i = 1; i < m_entries.size(); ++i) {
        Entry& earlier = m_entries[i - 1];
        if (earlier.pathHash == m_entries[i].pathHash && IsReplaced(earlier, m_entries[i]))
            earlier.block = {};
    }
}

// True if both records are of one path. The later one counts, and should not be the older one.
bool ListCheck::IsReplaced(const Entry& earlier, const Entry& later) {
    FileRecord before;
    FileRecord after;
    m_file.Seek(earlier.recordOffset);
    if (ReadFileRecord(m_file, before) != ReadResult::Good) return false;
    m_file.Seek(later.recordOffset);
    if (ReadFileRecord(m_file, after) != ReadResult::Good || after.path != before.path) return false;
    const bool isOlder = after.lastWrite < before.lastWrite && later.block.start <= earlier.block.start;
    const std::string text = "there is an earlier record of " + Quoted(after.path);
    if (isOlder) {
        Error(FindingKind::RecordDuplicate, later.recordOffset, text + ", which is newer");
    } else {
        Warning(FindingKind::RecordDuplicate, later.recordOffset, text);
    }
    return true;
}

}  // namespace

std::string RecordPaths::At(std::uint64_t recordOffset) {
    FileRecord record;
    m_file.Seek(recordOffset);
    ReadFileRecord(m_file, record);
    return Quoted(record.path);
}

std::vector<LiveBlock> CheckList(const std::filesystem::path& folder, const FolderRecord& owner,
                                 Findings& findings) {
    return ListCheck(folder, owner, findings).Run();
}

}  // namespace CacheCheck
