#include "TNGRecordFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "platform/FileOperations.h"
#include "platform/Text.h"
#include "store/TNGFields.h"
#include "store/TNGOpenError.h"
#include "store/TNGTemporaryFile.h"

namespace {

// Up to here the system writes all or nothing, whenever it is told to kill the process.
constexpr std::size_t kPageBytes = 4096;

std::u16string FolderOf(const std::u16string& path) {
    const std::size_t separator = path.rfind(Platform::kPathSeparator);
    return separator == std::u16string::npos ? u"." : path.substr(0, separator);
}

bool WriteFile(const std::u16string& path, const char* pContent, std::size_t nBytes) {
    std::FILE* pFile = nullptr;
    if (Platform::_wfopen_s(&pFile, path.c_str(), "wb") != 0) return false;
    const bool bWritten = Platform::_fwrite_nolock(pContent, nBytes, 1, pFile) == 1;
    return Platform::CloseStream(pFile) && bWritten;
}

// One system call, unless the system itself cuts it short.
bool WriteAt(int nDescriptor, const char* pContent, std::size_t nBytes, std::size_t nOffset) {
    while (nBytes > 0) {
        const ssize_t written = pwrite(nDescriptor, pContent, nBytes, static_cast<off_t>(nOffset));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        pContent += written;
        nBytes -= static_cast<std::size_t>(written);
        nOffset += static_cast<std::size_t>(written);
    }
    return true;
}

}  // namespace

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
    m_nOpenError = Platform::_wfopen_s(&m_pFile, path.c_str(), "rb");
    if (m_nOpenError != 0) {
        eStatus = m_nOpenError == ENOENT ? FILE_NOT_FOUND : FILE_ACCESS_ERROR;
    } else if (ReadField(m_pFile, *pCount)) {
        eStatus = FILE_READ_OK;
    }
}

void TNGRecordStream::OpenAnew(const std::u16string& path) {
    m_eMode = Mode::Anew;
    m_strPath = path;
    m_bCreated = Platform::_wfopen_s(&m_pTarget, path.c_str(), "r+b") == ENOENT;
    if (m_bCreated) {
        // A trial only, and by another name if that can be had: nobody is to find an empty file if this
        // process is killed before it closes this one.
        TNGTemporaryFile trial;
        trial.Make(FolderOf(path));
        Platform::_wfopen_s(&m_pTarget, (trial.IsMade() ? trial.Path() : path).c_str(), "wb");
        if (!trial.IsMade()) Platform::DeleteFileW(path.c_str());
    }
    if (m_pTarget) m_pFile = open_memstream(&m_pContent, &m_nContentBytes);
    if (!m_pFile) {
        if (m_pTarget) DropTarget();
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
    if (nRecordsThere >= 0 && count != nRecordsThere) {
        eStatus = FILE_ACCESS_ERROR;  // not the file that the records are known of
        return;
    }
    const bool bTail = nAppendAt >= 0 && Platform::BytesLeft(m_pFile) > nAppendAt;
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

bool TNGRecordStream::IsOutOfReach() const {
    return ::IsOutOfReach(m_nOpenError) || (m_pFile && ferror_unlocked(m_pFile) != 0);
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

bool TNGRecordStream::Replace(const char* pContent, std::size_t nBytes) {
    struct stat before {};
    if (fstat(fileno(m_pTarget), &before) != 0) return false;
    if (m_bCreated || (nBytes > kPageBytes && before.st_size > 0)) {
        TNGTemporaryFile file;
        file.Make(FolderOf(m_strPath));
        if (file.IsMade()) return WriteFile(file.Path(), pContent, nBytes) && file.Replace(m_strPath);
        if (m_bCreated) return WriteFile(m_strPath, pContent, nBytes);
    }
    return WriteInPlace(pContent, nBytes, before.st_size);
}

// The room is taken first: a disk that is full is found out while the old content still stands. What was
// empty then counts 0 until the first page comes, as the last.
bool TNGRecordStream::WriteInPlace(const char* pContent, std::size_t nBytes, std::int64_t nBytesBefore) {
    const int nDescriptor = fileno(m_pTarget);
    const auto size = static_cast<off_t>(nBytes);
    if (nBytesBefore < size && posix_fallocate(nDescriptor, 0, size) != 0) {
        if (ftruncate(nDescriptor, nBytesBefore) != 0) return false;
        return false;
    }
    const std::size_t head = nBytesBefore == 0 ? std::min(nBytes, kPageBytes) : nBytes;
    return WriteAt(nDescriptor, pContent + head, nBytes - head, head) &&
           WriteAt(nDescriptor, pContent, head, 0) && ftruncate(nDescriptor, size) == 0;
}

// A file that was there only to be written goes again.
void TNGRecordStream::DropTarget() {
    Platform::CloseStream(std::exchange(m_pTarget, nullptr));
    if (m_bCreated) Platform::DeleteFileW(m_strPath.c_str());
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
    DropTarget();
}
