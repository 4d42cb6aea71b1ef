#include "Streams.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>

#include "Text.h"

namespace Platform {
namespace {

bool IsOpenForWriting(int nDescriptor) {
    return (fcntl(nDescriptor, F_GETFL) & O_ACCMODE) != O_RDONLY;
}

int FlagsOf(std::string_view mode) {
    const bool bBoth = mode.find('+') != std::string_view::npos;
    if (mode.starts_with('r')) return bBoth ? O_RDWR : O_RDONLY;
    const int nAccess = O_CREAT | (bBoth ? O_RDWR : O_WRONLY);
    return nAccess | (mode.starts_with('a') ? O_APPEND : O_TRUNC);
}

bool IsFile(int nDescriptor, int nFlags) {
    struct stat status {};
    if (fstat(nDescriptor, &status) != 0) return false;
    const bool bOnlyWritten = (nFlags & O_ACCMODE) == O_WRONLY;
    return S_ISREG(status.st_mode) || (bOnlyWritten && S_ISCHR(status.st_mode));
}

// Never waits for the other end of a pipe. What is no file counts as a folder; a device may be written to.
int OpenFile(const char* pszPath, int nFlags) {
    const int nDescriptor = open(pszPath, nFlags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666);
    if (nDescriptor < 0 || IsFile(nDescriptor, nFlags)) return nDescriptor;
    close(nDescriptor);
    errno = EISDIR;
    return -1;
}

}  // namespace

int PlainFile::Open(const char16_t* pszPath) {
    Close();
    m_path = PathToBytes(pszPath);
    m_nDescriptor = open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    if (m_nDescriptor < 0 || fstat(m_nDescriptor, &status) != 0) {
        const int error = errno != 0 ? errno : EIO;
        Close();
        return error;
    }
    m_nDevice = status.st_dev;
    m_nInode = status.st_ino;
    return 0;
}

bool PlainFile::IsInPlace() const {
    struct stat status {};
    return stat(m_path.c_str(), &status) == 0 && status.st_ino == m_nInode && status.st_dev == m_nDevice;
}

bool PlainFile::HasName() const {
    struct stat status {};
    return fstat(m_nDescriptor, &status) == 0 && status.st_nlink > 0;
}

void PlainFile::Close() {
    if (m_nDescriptor >= 0) close(std::exchange(m_nDescriptor, -1));
}

bool PlainFile::ReadAt(std::int64_t nOffset, void* pOut, std::size_t nBytes) const {
    auto* pNext = static_cast<char*>(pOut);
    while (nBytes > 0) {
        const ssize_t got = pread(m_nDescriptor, pNext, nBytes, nOffset);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        pNext += got;
        nOffset += got;
        nBytes -= static_cast<std::size_t>(got);
    }
    return true;
}

bool PlainFile::ReadAt(std::int64_t nOffset, void* pOut, std::size_t nBytes, std::int64_t nSecondOffset,
                       void* pSecond, std::size_t nSecondBytes) const {
    char between[8192];
    const std::int64_t nGap = nSecondOffset - nOffset - static_cast<std::int64_t>(nBytes);
    if (nGap >= 0 && nGap <= static_cast<std::int64_t>(sizeof between)) {
        const auto nBetween = static_cast<std::size_t>(nGap);
        const iovec pieces[] = {{pOut, nBytes}, {between, nBetween}, {pSecond, nSecondBytes}};
        const ssize_t got = preadv(m_nDescriptor, pieces, 3, nOffset);
        if (got == static_cast<ssize_t>(nBytes + nBetween + nSecondBytes)) return true;
    }
    return ReadAt(nOffset, pOut, nBytes) && ReadAt(nSecondOffset, pSecond, nSecondBytes);
}

int _wfopen_s(std::FILE** ppStream, const char16_t* pszPath, const char* pszMode) {
    *ppStream = nullptr;
    const int nDescriptor = OpenFile(PathToBytes(pszPath).c_str(), FlagsOf(pszMode));
    if (nDescriptor < 0) return errno != 0 ? errno : EIO;
    *ppStream = fdopen(nDescriptor, pszMode);
    if (*ppStream) return 0;
    const int error = errno;
    close(nDescriptor);
    return error != 0 ? error : EIO;
}

bool CloseStream(std::FILE* pStream) {
    const int nDescriptor = fileno(pStream);
    bool bWritten = std::fflush(pStream) == 0 && ferror_unlocked(pStream) == 0;
    if (IsOpenForWriting(nDescriptor)) {
        timespec times[2];
        times[0].tv_sec = 0;
        times[0].tv_nsec = UTIME_OMIT;
        clock_gettime(CLOCK_REALTIME, &times[1]);
        futimens(nDescriptor, times);
    } else {
        bWritten = true;
    }
    return std::fclose(pStream) == 0 && bWritten;
}

std::size_t _fread_nolock(void* pOut, std::size_t nSize, std::size_t nCount, std::FILE* pStream) {
    return fread_unlocked(pOut, nSize, nCount, pStream);
}

std::size_t _fwrite_nolock(const void* pData, std::size_t nSize, std::size_t nCount, std::FILE* pStream) {
    return fwrite_unlocked(pData, nSize, nCount, pStream);
}

std::int64_t BytesLeft(std::FILE* pStream) {
    struct stat status {};
    const off_t position = ftello(pStream);
    if (position < 0 || fstat(fileno(pStream), &status) != 0 || status.st_size < position) return 0;
    return status.st_size - position;
}

}  // namespace Platform
