#pragma once

#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "common/TNGFileInfo.h"
#include "locks/TNGFileLockRegistry.h"
#include "platform/Streams.h"
#include "store/TNGDataFile.h"
#include "store/TNGFileData.h"
#include "store/TNGFolderMapCollection.h"
#include "store/TNGThumbnailLocation.h"
#include "support/TemporaryFolder.h"

namespace StoreTest {

using Bytes = std::vector<std::uint8_t>;
using RecordFile = CTNGRecordFile<CTNGFileData>;

inline constexpr char16_t kIndexName[] = u"DirectoryMap.dat";

/// The bytes of a cache file, put together by hand.
class FileBytes {
  public:
    template <typename T>
    FileBytes& Add(T value) {
        const auto* pBytes = reinterpret_cast<const std::uint8_t*>(&value);
        m_bytes.insert(m_bytes.end(), pBytes, pBytes + sizeof value);
        return *this;
    }
    FileBytes& Number(std::uint32_t value) { return Add(value); }
    FileBytes& Text(const std::u16string& text) {
        Number(static_cast<std::uint32_t>(text.size()));
        for (const char16_t unit : text)
            Add(unit);
        return *this;
    }
    FileBytes& Append(const Bytes& bytes) {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    operator const Bytes&() const { return m_bytes; }

  private:
    Bytes m_bytes;
};

/// A cache folder, in use as long as the object is there.
class Cache {
  public:
    Cache() { s_strCacheFolder.Set(TestSupport::TextOf(m_folder.Path())); }
    ~Cache() {
        ReleaseFileLockRegistry();
        s_strCacheFolder.Clear();
    }
    Cache(const Cache&) = delete;
    Cache& operator=(const Cache&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return m_folder / name; }
    std::u16string Text(const std::string& name) const { return TestSupport::TextOf(m_folder / name); }
    std::u16string Write(const std::string& name, const Bytes& bytes) const {
        return m_folder.Add(name, bytes);
    }
    Bytes Read(const std::string& name) const {
        const std::string content = TestSupport::ReadFile(m_folder / name);
        return {content.begin(), content.end()};
    }
    bool Has(const std::string& name) const { return std::filesystem::exists(m_folder / name); }
    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path()))
            names.insert(entry.path().filename());
        return names;
    }

  private:
    TestSupport::TemporaryFolder m_folder;
};

/// A folder map as it is for a folder that gets its first thumbnail.
inline std::unique_ptr<CTNGFolderMap> NewFolder(const std::u16string& path, std::int32_t number) {
    auto pFolder = std::make_unique<CTNGFolderMap>(false);
    const std::string digits = std::to_string(number);
    const std::u16string name(digits.begin(), digits.end());
    pFolder->m_strFolderPath = path;
    pFolder->m_strDataFileName = name + u".db";
    pFolder->m_strListFileName = name + u".dat";
    pFolder->m_nFileNumber = number;
    pFolder->m_bListLoaded = true;
    const std::u16string cache = s_strCacheFolder.Get() + u'/';
    pFolder->m_nDataFileKey = CTNGFileInfo::GetHashCode(cache + pFolder->m_strDataFileName);
    pFolder->m_nListFileKey = CTNGFileInfo::GetHashCode(cache + pFolder->m_strListFileName);
    pFolder->FileDataList->SetListFileName(pFolder->m_strListFileName);
    return pFolder;
}

/// What a thumbnail holds: its size tells which it is, its bytes whose.
inline Bytes Thumbnail(std::int32_t nSize, int tag) {
    return Bytes(static_cast<std::size_t>(nSize), static_cast<std::uint8_t>(2 + tag));
}

/// Adds a live record with a block of its own, whose bytes bear the tag, to a folder.
inline CTNGFileData* AddPicture(CTNGFolderMap& folder, const std::u16string& path, int tag,
                                std::int32_t nLarge = 50, std::int32_t nSmall = 20,
                                std::int32_t nExtraLarge = 0, TNGAssetType type = ASSET_TYPE_IMAGE) {
    auto pRecord = std::make_unique<CTNGFileData>();
    CTNGFileData* pAdded = pRecord.get();
    const Bytes extra = Thumbnail(nExtraLarge, tag), large = Thumbnail(nLarge, tag),
                small = Thumbnail(nSmall, tag);
    std::u16string data;
    CTNGFileInfo::BuildFilePath(data, s_strCacheFolder.Get(), folder.m_strDataFileName);
    const std::int32_t offset = CTNGDataFile().AppendBlock(
        data, folder.m_nDataFileKey, {}, {nExtraLarge ? extra.data() : nullptr, nExtraLarge},
        {large.data(), nLarge}, {small.data(), nSmall});
    pAdded->m_strFilePath = path;
    pAdded->m_strDataFileName = folder.m_strDataFileName;
    pAdded->m_eFileType = type;
    pAdded->m_bDeleted = 0;
    pAdded->m_pFolderMap = &folder;
    SetThumbnailLocations(*pAdded, false, offset, nExtraLarge != 0, nExtraLarge, nLarge, nSmall);
    folder.FileDataList->AddItem(std::move(pRecord));
    return offset >= 0 ? pAdded : nullptr;
}

/// The bytes that a request of this size gets; empty if they are not there.
inline Bytes ReadThumbnail(const CTNGFolderMap& folder, const CTNGFileData& record, std::uint32_t box) {
    std::int32_t offset = 0, size = 0, trailerOffset = 0;
    GetThumbnailLocation(record, {box, box}, &offset, &size, &trailerOffset);
    std::u16string data;
    CTNGFileInfo::BuildFilePath(data, s_strCacheFolder.Get(), record.m_strDataFileName);
    Bytes bytes(size > 0 && size < 1 << 20 ? static_cast<std::size_t>(size) : 0);
    TNGBlockTrailer trailer;
    if (CTNGDataFile().ReadBlockChecked(data, folder.m_nDataFileKey, offset, size, trailerOffset, &trailer,
                                        bytes.data()) != 0) {
        bytes.clear();
    }
    return bytes;
}

/// The paths of a list, in its order.
inline std::vector<std::u16string> Paths(const CTNGFileDataCollection& list) {
    std::vector<std::u16string> paths;
    for (int i = 0; i < list.GetCount(); ++i)
        paths.push_back(list.GetAt(i)->m_strFilePath);
    return paths;
}

}  // namespace StoreTest
