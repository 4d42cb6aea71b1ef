#include "TNGRecordFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "platform/FileOperations.h"
#include "store/TNGFields.h"

TNGRecordStream::TNGRecordStream(const std::u16string& path, bool bRead, std::int32_t* pCount,
                                 std::int32_t* pOpened, bool bUpdateCount, std::int64_t nAppendAt,
                                 std::int32_t nRecordsThere) {
    *pOpened = 0;
    if (path.empty()) {
        eStatus = FILE_NO_PATH;
        return;
    }
    try {
        m_nCount = *pCount;
        if (bRead) {
            OpenForReading(path, pCount);
        } else if (bUpdateCount) {
            OpenForAppending(path, nAppendAt, nRecordsThere);
        } else {
            OpenAnew(path);
        }
        *pOpened = m_pFile ? 1 : 0;
    } catch (...) {
        Abandon();
        eStatus = FILE_COUNT_ERROR;
    }
}

void TNGRecordStream::OpenForReading(const std::u16string& path, std::int32_t* pCount) {
    const int error = Platform::_wfopen_s(&m_pFile, path.c_str(), "rb");
    if (error != 0) {
        eStatus = error == ENOENT ? FILE_NOT_FOUND : FILE_ACCESS_ERROR;
    } else if (ReadField(m_pFile, *pCount)) {
        eStatus = FILE_READ_OK;
    }
}

void TNGRecordStream::OpenAnew(const std::u16string& path) {
    m_eMode = Mode::Anew;
    m_strPath = path;
    m_bCreated = Platform::_wfopen_s(&m_pTarget, path.c_str(), "r+b") == ENOENT;
    if (m_bCreated) Platform::_wfopen_s(&m_pTarget, path.c_str(), "wb");
    if (m_pTarget) m_pFile = open_memstream(&m_pContent, &m_nContentBytes);
    if (!m_pFile) {
        if (m_pTarget) Platform::CloseStream(std::exchange(m_pTarget, nullptr));
        eStatus = FILE_ACCESS_ERROR;
        return;
    }
    WriteField(m_pFile, m_nCount);
    eStatus = FILE_WRITE_OK;
}

void TNGRecordStream::OpenForAppending(const std::u16string& path, std::int64_t nAppendAt,
                                       std::int32_t nRecordsThere) {
    m_eMode = Mode::Append;
    if (Platform::_wfopen_s(&m_pFile, path.c_str(), "r+b") != 0) {
        eStatus = FILE_ACCESS_ERROR;
        return;
    }
    std::int32_t count = -1;
    ReadField(m_pFile, count);
    std::rewind(m_pFile);
    const bool bTail = nAppendAt >= 0 && count == nRecordsThere && Platform::BytesLeft(m_pFile) > nAppendAt;
    const bool bCut = !bTail || ftruncate(fileno(m_pFile), nAppendAt) == 0;
    if (bCut && std::fseek(m_pFile, 0, SEEK_END) == 0) {
        eStatus = FILE_WRITE_OK;
    }
}

bool TNGRecordStream::IsEof() const {
    return m_pFile && feof_unlocked(m_pFile) != 0;
}

bool TNGRecordStream::CanReadOn() const {
    return m_pFile && feof_unlocked(m_pFile) == 0 && ferror_unlocked(m_pFile) == 0;
}

std::int64_t TNGRecordStream::Position() const {
    return m_pFile ? ftello(m_pFile) : -1;
}

// The records have to be in the file before the count says so.
bool TNGRecordStream::FinishAppending() {
    if (eStatus != FILE_WRITE_OK || std::fflush(m_pFile) != 0 || ferror_unlocked(m_pFile) != 0) return false;
    if (std::fseek(m_pFile, 0, SEEK_SET) != 0) return false;
    WriteField(m_pFile, m_nCount);
    return std::fflush(m_pFile) == 0;
}

bool TNGRecordStream::FinishAnew() {
    const bool bCollected = ferror_unlocked(m_pFile) == 0 && std::fflush(m_pFile) == 0;
    const bool bClosed = std::fclose(std::exchange(m_pFile, nullptr)) == 0;
    const std::unique_ptr<char, void (*)(void*)> pContent(m_pContent, &std::free);
    bool bReplaced = false;
    if (bCollected && bClosed && m_nContentBytes >= sizeof m_nCount) {
        std::memcpy(m_pContent, &m_nCount, sizeof m_nCount);
        bReplaced = Replace(m_pContent, m_nContentBytes);
    }
    const bool bTargetClosed = Platform::CloseStream(std::exchange(m_pTarget, nullptr));
    if (bReplaced && bTargetClosed) return true;
    if (m_bCreated) Platform::DeleteFileW(m_strPath.c_str());
    return false;
}

// The room is taken first: a disk that is full is found out while the old content still stands.
bool TNGRecordStream::Replace(const char* pContent, std::size_t nBytes) {
    const int nDescriptor = fileno(m_pTarget);
    const auto size = static_cast<off_t>(nBytes);
    struct stat before {};
    if (fstat(nDescriptor, &before) != 0) return false;
    if (before.st_size < size && posix_fallocate(nDescriptor, 0, size) != 0) {
        if (ftruncate(nDescriptor, before.st_size) != 0) return false;
        return false;
    }
    if (Platform::_fwrite_nolock(pContent, nBytes, 1, m_pTarget) != 1 || std::fflush(m_pTarget) != 0)
        return false;
    return ftruncate(nDescriptor, size) == 0;
}

bool TNGRecordStream::Close() {
    if (!m_pFile) return true;
    bool bGood = true;
    if (m_eMode == Mode::Anew) {
        bGood = FinishAnew();
    } else {
        if (m_eMode == Mode::Append) bGood = FinishAppending();
        bGood &= Platform::CloseStream(std::exchange(m_pFile, nullptr));
    }
    if (!bGood) eStatus = FILE_ACCESS_ERROR;
    return bGood;
}

void TNGRecordStream::Abandon() {
    if (!m_pFile) return;
    std::FILE* const pFile = std::exchange(m_pFile, nullptr);
    if (m_eMode != Mode::Anew) {
        Platform::CloseStream(pFile);
        return;
    }
    std::fclose(pFile);
    std::free(m_pContent);
    Platform::CloseStream(std::exchange(m_pTarget, nullptr));
    if (m_bCreated) Platform::DeleteFileW(m_strPath.c_str());
}
