#include "TNGFileInfo.h"

#include <cstdlib>

#include "common/TNGLog.h"
#include "platform/Guid.h"
#include "platform/Text.h"

TNGSharedText s_strCacheFolder;

namespace {

constexpr char16_t s_szLogSource[] = u"TNGFileInfo";

std::u16string DecimalText(std::int32_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

}  // namespace

std::uint32_t CTNGFileInfo::GetHashCode(const std::u16string& text) {
    std::uint32_t hash = 0;
    for (const char16_t* p = text.c_str(); *p != 0; ++p)
        hash = hash * 33 + *p;
    return hash;
}

void CTNGFileInfo::GetHashCode(const std::u16string& text, std::u16string& result) {
    result = DecimalText(static_cast<std::int32_t>(GetHashCode(text)));
}

int CTNGFileInfo::GetNewDBFilePathNumber(const std::u16string& folder) {
    std::u16string path;
    for (int number = 1; number <= TNG_MAX_FILE_NUMBER; ++number) {
        BuildFilePath(path, folder, DecimalText(number) + u".dat");
        if (!FindFileData(path.c_str(), nullptr, true)) return number;
    }
    TNG_LOG(TNG_LOG_INFO,
            u"CTNGFileInfo::GetNewDBFilePathNumber:Number to string conversion i.e. _itow_s failed!");
    return 0;
}

bool CTNGFileInfo::FindFileData(const char16_t* path, Platform::WIN32_FIND_DATAW* pFindData,
                                bool bAllowDirectory) {
    if (!path || *path == 0) return false;
    Platform::WIN32_FIND_DATAW entry;
    const Platform::HANDLE hFind = Platform::FindFirstFileW(path, &entry);
    const bool bFound = hFind != Platform::INVALID_HANDLE_VALUE;
    if (bFound) Platform::FindClose(hFind);
    if (pFindData) *pFindData = bFound ? entry : Platform::WIN32_FIND_DATAW{};
    return bFound && (bAllowDirectory || (entry.dwFileAttributes & Platform::FILE_ATTRIBUTE_DIRECTORY) == 0);
}

bool CTNGFileInfo::GetFileLastWriteTime(const char16_t* path, Platform::FILETIME* pTime) {
    Platform::WIN32_FIND_DATAW entry;
    if (!path || !pTime || !FindFileData(path, &entry, false)) return false;
    *pTime = entry.ftLastWriteTime;
    return true;
}

std::int64_t CTNGFileInfo::GetElapsedMilliseconds(const std::int64_t* pStart) {
    if (!pStart) return 0;
    std::int64_t now = 0;
    std::int64_t frequency = 0;
    Platform::QueryPerformanceCounter(&now);
    Platform::QueryPerformanceFrequency(&frequency);
    return (now - *pStart) * 1000 / frequency;
}

void CTNGFileInfo::AppendUniqueString(std::u16string& text) {
    Platform::GUID guid;
    char16_t guidText[40];
    if (Platform::CoCreateGuid(&guid) == 0 && guid != Platform::GUID{} &&
        Platform::StringFromGUID2(guid, guidText, 40) != 0) {
        text += guidText;
        return;
    }
    const std::uint32_t number = Platform::GetTickCount() + static_cast<std::uint32_t>(std::rand());
    text += DecimalText(static_cast<std::int32_t>(number));
}

void CTNGFileInfo::BuildFilePath(std::u16string& result, const std::u16string& folder,
                                 const std::u16string& file) {
    result = folder + Platform::kPathSeparator + file;
}
