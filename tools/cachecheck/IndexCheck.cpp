#include "IndexCheck.h"

#include <bitset>
#include <unordered_map>
#include <utility>

namespace CacheCheck {
namespace {

const std::string kIndexName = "DirectoryMap.dat";

class IndexCheck {
  public:
    IndexCheck(const std::filesystem::path& folder, FolderScan& scan, Findings& findings)
        : m_file(folder / kIndexName), m_scan(scan), m_findings(findings) {}

    std::vector<FolderRecord> Run() {
        if (IsUsable()) ReadRecords();
        return std::move(m_folders);
    }

  private:
    bool IsUsable();
    void ReadRecords();
    void ReadTail();
    void TakeUp(FolderRecord record);
    void CheckDuplicate(const FolderRecord& record, const FolderRecord& first);
    bool CheckNames(const FolderRecord& record);

    void Error(FindingKind kind, std::uint64_t offset, const std::string& text) {
        m_findings.Error(kind, kIndexName, offset, text);
    }
    void Warning(FindingKind kind, std::uint64_t offset, const std::string& text) {
        m_findings.Warning(kind, kIndexName, offset, text);
    }

    InputFile m_file;
    FolderScan& m_scan;
    Findings& m_findings;
    std::vector<FolderRecord> m_folders;
    std::unordered_map<std::u16string, FolderRecord> m_byPath;  // the first of each path
    std::bitset<kMaxFileNumber + 1> m_usedNumbers;
};

bool IndexCheck::IsUsable() {
    if (m_file.IsMissing()) {
        if (m_scan.HasLists())
            Warning(FindingKind::IndexMissing, 0, "there are lists, but no index: the cache counts as empty");
        return false;
    }
    if (!m_file.IsOpen()) {
        Error(FindingKind::IndexUnreadable, 0, "the index cannot be read");
        return false;
    }
    return true;
}

void IndexCheck::ReadRecords() {
    std::int32_t count = 0;
    if (!m_file.ReadNumber(count))
        return Error(FindingKind::IndexShort, 0, "the file is too short for its count");
    if (count < 0) return Error(FindingKind::IndexCountNegative, 0, "count " + std::to_string(count));
    for (std::int32_t i = 0; i < count; ++i) {
        FolderRecord record;
        switch (ReadFolderRecord(m_file, record)) {
            case ReadResult::Good:
                TakeUp(std::move(record));
                break;
            case ReadResult::End:
                return Warning(FindingKind::IndexCountHigh, 0,
                               "count " + std::to_string(count) + ", but " + std::to_string(i) + " records");
            case ReadResult::CutOff:
                return Error(FindingKind::IndexTruncated, record.offset, "the file ends inside a record");
            case ReadResult::UnknownVersion:
                return Error(FindingKind::IndexVersion, record.offset, "record of an unknown version");
            case ReadResult::BadLength:
                return Error(FindingKind::IndexLength, record.offset, "text of an impossible length");
        }
    }
    ReadTail();
}

// A rewrite that was cut short leaves the end of an older index behind the counted records. Folders there
// that are not counted, but still have their list, are lost.
void IndexCheck::ReadTail() {
    const std::uint64_t start = m_file.Position();
    const std::uint64_t bytes = m_file.BytesLeft();
    if (bytes == 0) return;
    FolderRecord record;
    while (ReadFolderRecord(m_file, record) == ReadResult::Good) {
        const auto list = FileNumberOf(record.listFile, u".dat");
        if (!list || !m_scan.HasList(*list) || m_byPath.contains(record.path)) continue;
        return Error(FindingKind::IndexCountLow, record.offset,
                     "the count leaves out the folder " + Quoted(record.path));
    }
    Warning(FindingKind::IndexTrailing, start, std::to_string(bytes) + " bytes behind the counted records");
}

void IndexCheck::TakeUp(FolderRecord record) {
    ++m_findings.Counts().folders;
    if (const auto first = m_byPath.find(record.path); first != m_byPath.end())
        return CheckDuplicate(record, first->second);
    if (m_byPath.size() == kMaxFileNumber)
        return Error(FindingKind::FolderNumberTwice, record.offset, "more folders than file numbers");
    m_byPath.emplace(record.path, record);
    if (!CheckNames(record)) return;
    const auto number = static_cast<std::size_t>(*FileNumberOf(record.listFile, u".dat"));
    if (m_usedNumbers.test(number)) {
        return Error(FindingKind::FolderNumberTwice, record.offset,
                     "the files of " + Quoted(record.path) + " are those of another folder");
    }
    m_usedNumbers.set(number);
    m_scan.Own(static_cast<int>(number));
    m_folders.push_back(std::move(record));
}

void IndexCheck::CheckDuplicate(const FolderRecord& record, const FolderRecord& first) {
    const std::string text = Quoted(record.path) + " is listed before";
    if (record.listFile == first.listFile && record.dataFile == first.dataFile)
        return Warning(FindingKind::FolderDuplicate, record.offset, text);
    Error(FindingKind::FolderDuplicate, record.offset, text + ", with other files");
}

// True if the names can be files of a cache, and of one folder.
bool IndexCheck::CheckNames(const FolderRecord& record) {
    const auto list = FileNumberOf(record.listFile, u".dat");
    const auto data = FileNumberOf(record.dataFile, u".db");
    if (record.number < 1 || record.number > kMaxFileNumber) {
        Error(FindingKind::FolderNumberRange, record.offset, "file number " + std::to_string(record.number));
    } else if (list != record.number || data != record.number) {
        Error(FindingKind::FolderNames, record.offset,
              Quoted(record.dataFile) + " and " + Quoted(record.listFile) + " are not the names of number " +
                  std::to_string(record.number));
    }
    return list && list == data;
}

}  // namespace

std::vector<FolderRecord> CheckIndex(const std::filesystem::path& folder, FolderScan& scan,
                                     Findings& findings) {
    return IndexCheck(folder, scan, findings).Run();
}

}  // namespace CacheCheck
