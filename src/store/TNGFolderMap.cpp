#include "TNGFolderMap.h"

#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "locks/TNGMutex.h"
#include "platform/Text.h"
#include "store/TNGCacheFiles.h"
#include "store/TNGCachePaths.h"
#include "store/TNGFields.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGFolderMap";

bool HasError(std::FILE* pFile) {
    return ferror_unlocked(pFile) != 0;
}

std::uint32_t KeyOf(const std::u16string& name) {
    return CTNGFileInfo::GetHashCode(CachePath(name));
}

// Cache files lie in the cache folder itself; a damaged index must lead neither out of it nor to those files
// that are not a folder's own.
bool CanBeOfFolder(const std::u16string& name) {
    return name != u".." && name != s_strDirectoryMapName && name != s_strDateTimeFileName &&
           name.find(Platform::kPathSeparator) == std::u16string::npos;
}

}  // namespace

CTNGFolderMap::CTNGFolderMap(bool bHeaderOnly)
    : m_bHeaderOnly(bHeaderOnly), FileDataList(std::make_unique<CTNGFileDataCollection>(this, *this)) {}

int CTNGFolderMap::Load(std::FILE* pFile) {
    TNG_LOG(TNG_LOG_ENTER, u"CTNGFolderMap::Load");
    const auto failed = [](const char16_t* pszText) {
        TNG_LOG(TNG_LOG_INFO, pszText);
        TNG_LOG(TNG_LOG_LEAVE, u"CTNGFolderMap::Load");
        return 0;
    };
    if (HasError(pFile)) return failed(u"ERROR IN FILE READING START CTNGFolderMap::Load");
    ReadField(pFile, m_nVersion);
    if (m_nVersion != FOLDER_MAP_CURRENT_VERSION) return 0;
    if (!ReadRecord(pFile)) return failed(u"ERROR IN FILE READING END CTNGFolderMap::Load");
    if (m_bHeaderOnly) {
        FileDataList->SetListFileName(m_strListFileName);
    } else {
        if (FileDataList->LoadList(m_strListFileName, nullptr) != QXTNG_SUCCESS)
            return failed(u"ERROR IN FILE DATA LIST LOADING CTNGFolderMap::Load");
        m_bListLoaded = true;
    }
    if (HasError(pFile)) return failed(u"ERROR IN FILE READING END CTNGFolderMap::Load");
    TNG_LOG(TNG_LOG_LEAVE, u"CTNGFolderMap::Load");
    return 1;
}

void CTNGFolderMap::MakeKeys() {
    m_nListFileKey = KeyOf(m_strListFileName);
    m_nDataFileKey = KeyOf(m_strDataFileName);
}

bool CTNGFolderMap::ReadRecord(std::FILE* pFile) {
    std::u16string name;
    if (!ReadText(pFile, m_strFolderPath) || !ReadText(pFile, name)) return false;
    if (CanBeOfFolder(name)) m_strDataFileName = name;
    MakeKeys();
    if (!ReadText(pFile, name)) return false;
    if (CanBeOfFolder(name)) m_strListFileName = name;
    MakeKeys();
    ReadField(pFile, m_nFileNumber);
    return !m_strDataFileName.empty() && !m_strListFileName.empty();
}

int CTNGFolderMap::Save(std::FILE* pFile) {
    TNG_LOG(TNG_LOG_ENTER, u"CTNGFolderMap::Save");
    const auto failed = [](const char16_t* pszText) {
        TNG_LOG(TNG_LOG_INFO, pszText);
        TNG_LOG(TNG_LOG_LEAVE, u"CTNGFolderMap::Save");
        return 0;
    };
    if (HasError(pFile)) return failed(u"ERROR IN FILE WRITING START CTNGFolderMap::Save");
    constexpr char16_t kListFailed[] = u"ERROR IN SAVE FILE DATA LIST CTNGFolderMap::Save";
    bool bListSaved = true;
    if (!m_bHeaderOnly && m_bListLoaded) {
        bListSaved = SaveFiles();
        // The old files stand, and are not to be lost with the folder's record.
        if (!bListSaved && !Platform::PathFileExistsW(CachePath(m_strListFileName).c_str()))
            return failed(kListFailed);
    }
    m_nVersion = FOLDER_MAP_CURRENT_VERSION;
    WriteRecord(pFile);
    if (HasError(pFile)) return failed(u"ERROR IN FILE WRITING END CTNGFolderMap::Save");
    if (!bListSaved) return failed(kListFailed);
    TNG_LOG(TNG_LOG_LEAVE, u"CTNGFolderMap::Save");
    return 1;
}

bool CTNGFolderMap::SaveFiles() {
    if (FileDataList->SaveList(m_nStaleBlocks > 0, m_strDataFileName, m_bListDirty) != QXTNG_SUCCESS)
        return false;
    m_nStaleBlocks = 0;
    NoteRewritten();
    return true;
}

void CTNGFolderMap::WriteRecord(std::FILE* pFile) const {
    WriteField(pFile, m_nVersion);
    WriteText(pFile, m_strFolderPath);
    WriteText(pFile, m_strDataFileName);
    WriteText(pFile, m_strListFileName);
    WriteField(pFile, m_nFileNumber);
}
