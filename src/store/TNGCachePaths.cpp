#include "TNGCachePaths.h"

#include "common/TNGFileInfo.h"
#include "platform/Text.h"

std::u16string CachePath(const std::u16string& name) {
    std::u16string path;
    CTNGFileInfo::BuildFilePath(path, s_strCacheFolder.Get(), name);
    return path;
}

bool CutToFolder(std::u16string& path) {
    const std::size_t separator = path.rfind(Platform::kPathSeparator);
    if (separator == std::u16string::npos) return false;
    path.resize(separator);
    return true;
}
