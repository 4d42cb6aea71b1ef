// Default images: for files that yield no picture of their own.

#include <algorithm>
#include <memory>
#include <optional>

#include "TNGAddition.h"
#include "TNGDBMgr.h"
#include "cutil/Folders.h"
#include "imaging/TNGDefaultImages.h"

namespace {

// A path that the utility library allocated.
using UtilityPath = std::unique_ptr<char16_t, decltype(&QxzCUtil::QXDealloc)>;

void CopyPath(const std::u16string& path, char16_t* pszPath) {
    const std::size_t units = std::min(path.size(), TNG_DEFAULT_PATH_UNITS - 1);
    std::copy_n(path.begin(), units, pszPath);
    pszPath[units] = 0;
}

// No block: the sizes are those of the default image, and the offsets say that nothing stands in the data
// file.
void FillDefaultRecord(CTNGFileData& record, const std::u16string& path, std::uint32_t eFileType,
                       const Platform::WIN32_FIND_DATAW& fileInfo, std::int32_t nSize) {
    record.m_nVersion = FILE_DATA_CURRENT_VERSION;
    record.m_strFilePath = path;
    record.m_eFileType = eFileType;
    record.m_nLargeOffset = record.m_nSmallOffset = -1;
    record.m_nLargeSize = record.m_nSmallSize = nSize;
    record.m_bDeleted = 0;
    record.m_bEmbedded = 0;
    record.m_bAudio = eFileType == ASSET_TYPE_AUDIO ? 1 : 0;
    record.m_nOriginalWidth = record.m_nOriginalHeight = 0;
    record.m_ftLastWrite = fileInfo.ftLastWriteTime;
    record.m_nFileSize = fileInfo.nFileSizeLow;
}

}  // namespace

// In the shared graphics folder, or else in Resources beneath the library's own folder. Whether a file is
// there shows when it is loaded.
void CTNGDBMgr::GetDefaultImagePath(const char16_t* pszFileName, char16_t* pszPath) {
    char16_t* pFound = nullptr;
    const int result = QxzCUtil::LocateFile(u"CommonGraphicsDir", pszFileName, &pFound);
    const UtilityPath located(pFound, &QxzCUtil::QXDealloc);
    if (result == QxzCUtil::kFileFound && located) return CopyPath(located.get(), pszPath);

    pFound = nullptr;
    QxzCUtil::RetrievePath(u"MyBinDir", &pFound, 0);
    const UtilityPath ownFolder(pFound, &QxzCUtil::QXDealloc);
    const std::u16string folder = ownFolder ? ownFolder.get() : u"";
    CopyPath(folder + u"/Resources" + pszFileName, pszPath);
}

int CTNGDBMgr::GetDefaultThumbnail(std::uint32_t eFileType, const std::u16string& path,
                                   const Platform::WIN32_FIND_DATAW& fileInfo, TNGBuffer& pBuffer,
                                   std::int32_t* pSize, bool bRecord) {
    pBuffer = GetDefaultImageBuffer(eFileType, pSize);
    if (!pBuffer) return 1;
    if (!bRecord || RecordDefaultThumbnail(eFileType, path, fileInfo, *pSize)) return 0;
    pBuffer.reset();
    return 1;
}

bool CTNGDBMgr::RecordDefaultThumbnail(std::uint32_t eFileType, const std::u16string& path,
                                       const Platform::WIN32_FIND_DATAW& fileInfo, std::int32_t nSize) {
    std::optional<CTNGAddition> addition;
    try {
        addition.emplace(*m_pSharedData, m_eDBState, path);
        if (!addition->HasLock() || !addition->Begin()) return false;
        FillDefaultRecord(addition->Record(), path, eFileType, fileInfo, nSize);
        bool bFlushed = false;
        if (addition->Publish() == CTNGAddition::Outcome::Published) addition->FlushIfDue(&bFlushed);
        addition->End();
        return true;
    } catch (...) {
        if (addition) addition->TakeBack();
        return false;
    }
}
