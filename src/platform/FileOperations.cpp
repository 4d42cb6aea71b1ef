#include "FileOperations.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>

#include "Text.h"

namespace Platform {
namespace {

class Descriptor {
  public:
    explicit Descriptor(int nDescriptor) : m_nDescriptor(nDescriptor) {}
    ~Descriptor() {
        if (m_nDescriptor >= 0) close(m_nDescriptor);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return m_nDescriptor; }
    bool IsOpen() const { return m_nDescriptor >= 0; }
    bool Close() { return close(std::exchange(m_nDescriptor, -1)) == 0; }

  private:
    int m_nDescriptor;
};

bool WriteAll(int nDescriptor, const char* pData, std::size_t nBytes) {
    while (nBytes > 0) {
        const ssize_t written = write(nDescriptor, pData, nBytes);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        pData += written;
        nBytes -= static_cast<std::size_t>(written);
    }
    return true;
}

bool IsOneFile(const struct stat& first, const struct stat& second) {
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

bool CopyBytes(int nFrom, int nTo) {
    static constexpr std::size_t kPieceSize = std::size_t{1} << 17;
    std::string piece(kPieceSize, '\0');
    for (;;) {
        const ssize_t got = read(nFrom, piece.data(), piece.size());
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return got == 0;
        if (!WriteAll(nTo, piece.data(), static_cast<std::size_t>(got))) return false;
    }
}

}  // namespace

bool DeleteFileW(const char16_t* pszPath) {
    return unlink(PathToBytes(pszPath).c_str()) == 0;
}

bool CopyFileW(const char16_t* pszFrom, const char16_t* pszTo, bool bFailIfExists) {
    const std::string to = PathToBytes(pszTo);
    // Opening a pipe must not wait for who is at its other end.
    constexpr int kFlags = O_CLOEXEC | O_NONBLOCK;
    Descriptor source(open(PathToBytes(pszFrom).c_str(), O_RDONLY | kFlags));
    struct stat status {};
    if (!source.IsOpen() || fstat(source.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    Descriptor target(open(to.c_str(), O_WRONLY | O_CREAT | kFlags | (bFailIfExists ? O_EXCL : 0), 0666));
    struct stat there {};
    if (!target.IsOpen() || fstat(target.Get(), &there) != 0 || !S_ISREG(there.st_mode)) return false;
    // Onto itself, by whatever name: emptying the target would lose the source.
    if (IsOneFile(there, status)) return false;
    const timespec times[] = {status.st_atim, status.st_mtim};
    const bool bCopied = ftruncate(target.Get(), 0) == 0 && CopyBytes(source.Get(), target.Get()) &&
                         futimens(target.Get(), times) == 0;
    const bool bClosed = target.Close();
    if (bCopied && bClosed) return true;
    unlink(to.c_str());
    return false;
}

int _wrename(const char16_t* pszFrom, const char16_t* pszTo) {
    return std::rename(PathToBytes(pszFrom).c_str(), PathToBytes(pszTo).c_str());
}

bool IsSameFile(const char16_t* pszFirst, const char16_t* pszSecond) {
    struct stat first {};
    struct stat second {};
    return stat(PathToBytes(pszFirst).c_str(), &first) == 0 &&
           stat(PathToBytes(pszSecond).c_str(), &second) == 0 && IsOneFile(first, second);
}

std::uint32_t GetTempFileNameW(const char16_t* pszFolder, const char16_t* pszPrefix, std::uint32_t nUnique,
                               char16_t* pszPath) {
    constexpr int kTries = 100;
    *pszPath = 0;
    if (nUnique != 0) return 0;
    const std::string start = PathToBytes(pszFolder) + '/' + PathToBytes(pszPrefix);
    for (int i = 0; i < kTries; ++i) {
        std::uint32_t number = 0;
        if (getrandom(&number, sizeof number, 0) != sizeof number || number == 0) continue;
        char digits[16];
        std::snprintf(digits, sizeof digits, "%08X.tmp", number);
        const std::string path = start + digits;
        const std::u16string text = PathFromBytes(path);
        if (text.size() >= MAX_PATH) return 0;
        const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        if (!file.IsOpen() && errno == EEXIST) continue;
        if (!file.IsOpen()) return 0;
        *std::ranges::copy(text, pszPath).out = 0;
        return number;
    }
    return 0;
}

}  // namespace Platform
