#include "CacheRecords.h"

#include <algorithm>

namespace CacheCheck {
namespace {

constexpr std::uint32_t kFolderRecordVersion = 1;
constexpr std::uint32_t kFileRecordVersion1 = 1;
constexpr std::uint32_t kFileRecordVersion2 = 2;
constexpr std::int32_t kMaxTextUnits = 1 << 20;

ReadResult ReadText(InputFile& file, std::u16string& text) {
    std::int32_t length = 0;
    if (!file.ReadNumber(length)) return ReadResult::CutOff;
    if (length < 0 || length > kMaxTextUnits) return ReadResult::BadLength;
    const auto units = static_cast<std::size_t>(length);
    if (file.BytesLeft() / 2 < units) return ReadResult::CutOff;
    text.resize(units);
    for (char16_t& unit : text) {
        std::uint16_t value = 0;
        if (!file.ReadNumber(value)) return ReadResult::CutOff;
        unit = value;
    }
    text.resize(std::min(text.find(u'\0'), text.size()));
    return ReadResult::Good;
}

template <typename... Numbers>
ReadResult ReadNumbers(InputFile& file, Numbers&... numbers) {
    return (file.ReadNumber(numbers) && ...) ? ReadResult::Good : ReadResult::CutOff;
}

ReadResult ReadVersion(InputFile& file, std::uint32_t lowest, std::uint32_t highest, std::uint32_t& version) {
    if (file.BytesLeft() == 0) return ReadResult::End;
    if (!file.ReadNumber(version)) return ReadResult::CutOff;
    return version >= lowest && version <= highest ? ReadResult::Good : ReadResult::UnknownVersion;
}

ReadResult ReadFixedFields(InputFile& file, FileRecord& record) {
    std::uint32_t fileSize = 0;
    std::uint8_t flags[7];
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    const ReadResult result =
        ReadNumbers(file, record.lastWrite, fileSize, record.largeOffset, record.largeSize,
                    record.smallOffset, record.smallSize, record.deleted);
    if (result != ReadResult::Good || !file.Read(flags, sizeof flags)) return ReadResult::CutOff;
    return ReadNumbers(file, width, height);
}

}  // namespace

RecordState StateOf(const FileRecord& record) {
    if (record.deleted != 0) return RecordState::Deleted;
    if (record.type == kTypeVideo && record.smallOffset == -1 && record.smallSize == -1)
        return RecordState::NoThumbnail;
    const bool canHaveBlock = record.type == kTypePicture || record.type == kTypeVideo;
    const bool isDefault = record.largeOffset == -1 && record.smallOffset == -1;
    return canHaveBlock && !isDefault ? RecordState::Block : RecordState::DefaultImage;
}

std::optional<BlockRange> BlockOf(const FileRecord& record) {
    const std::int64_t extraLarge = record.extraLargeOffset;
    const std::int64_t large = record.largeOffset;
    const bool isFirst = extraLarge == -1;  // the large thumbnail
    if (!isFirst && (extraLarge < 0 || record.extraLargeSize < 0)) return std::nullopt;
    if (!isFirst && extraLarge + record.extraLargeSize != large) return std::nullopt;
    if (large < 0 || record.largeSize <= 0 || record.smallSize <= 0) return std::nullopt;
    if (large + record.largeSize != record.smallOffset) return std::nullopt;
    const auto end = static_cast<std::uint64_t>(std::int64_t{record.smallOffset} + record.smallSize);
    return BlockRange{static_cast<std::uint64_t>(isFirst ? large : extraLarge), end + kTrailerSize};
}

ReadResult ReadFolderRecord(InputFile& file, FolderRecord& record) {
    record = {};
    record.offset = file.Position();
    std::uint32_t version = 0;
    ReadResult result = ReadVersion(file, kFolderRecordVersion, kFolderRecordVersion, version);
    for (std::u16string* text : {&record.path, &record.dataFile, &record.listFile}) {
        if (result == ReadResult::Good) result = ReadText(file, *text);
    }
    return result == ReadResult::Good ? ReadNumbers(file, record.number) : result;
}

ReadResult ReadFileRecord(InputFile& file, FileRecord& record) {
    record = {};
    record.offset = file.Position();
    std::uint32_t version = 0;
    ReadResult result = ReadVersion(file, kFileRecordVersion1, kFileRecordVersion2, version);
    if (result == ReadResult::Good) result = ReadText(file, record.path);
    if (result == ReadResult::Good) result = ReadNumbers(file, record.type);
    if (result == ReadResult::Good) result = ReadText(file, record.dataFile);
    if (result == ReadResult::Good) result = ReadFixedFields(file, record);
    if (result == ReadResult::Good && version == kFileRecordVersion2)
        result = ReadNumbers(file, record.extraLargeOffset, record.extraLargeSize);
    return result;
}

std::optional<int> FileNumberOf(std::u16string_view name, std::u16string_view extension) {
    if (!name.ends_with(extension)) return std::nullopt;
    name.remove_suffix(extension.size());
    const auto isDigit = [](char16_t unit) { return unit >= u'0' && unit <= u'9'; };
    if (name.empty() || name.size() > 4 || name[0] == u'0' || !std::ranges::all_of(name, isDigit))
        return std::nullopt;
    int number = 0;
    for (const char16_t digit : name)
        number = number * 10 + (digit - u'0');
    return number;
}

}  // namespace CacheCheck
