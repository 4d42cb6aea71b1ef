#include "TNGTemporaryFile.h"

#include "platform/FileOperations.h"

TNGTemporaryFile::~TNGTemporaryFile() {
    if (IsMade()) Platform::DeleteFileW(m_strPath.c_str());
}

void TNGTemporaryFile::Make(const std::u16string& folder) {
    if (IsMade()) Platform::DeleteFileW(m_strPath.c_str());
    m_strPath.clear();
    char16_t path[Platform::MAX_PATH];
    if (Platform::GetTempFileNameW(folder.c_str(), u"Temp", 0, path) != 0) m_strPath = path;
}

bool TNGTemporaryFile::Replace(const std::u16string& target) {
    if (Platform::_wrename(m_strPath.c_str(), target.c_str()) != 0) return false;
    m_strPath.clear();
    return true;
}
