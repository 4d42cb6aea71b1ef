#include "ByteSource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/Text.h"

FileSource::FileSource(const char16_t* pszPath) {
    // Without O_NONBLOCK, opening a pipe would wait for its other end.
    m_nDescriptor =
        open(Platform::PathToBytes(pszPath).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct stat status {};
    if (m_nDescriptor >= 0 && fstat(m_nDescriptor, &status) == 0 && S_ISREG(status.st_mode))
        m_nSize = static_cast<std::uint64_t>(status.st_size);
}

FileSource::~FileSource() {
    if (m_nDescriptor >= 0) close(m_nDescriptor);
}

std::size_t FileSource::ReadAt(std::uint64_t nOffset, void* pOut, std::size_t nBytes) {
    if (nOffset >= m_nSize) return 0;
    std::size_t nRead = 0;
    while (nRead < nBytes) {
        const ssize_t got = pread(m_nDescriptor, static_cast<char*>(pOut) + nRead, nBytes - nRead,
                                  static_cast<off_t>(nOffset + nRead));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        nRead += static_cast<std::size_t>(got);
    }
    return nRead;
}

std::size_t MemorySource::ReadAt(std::uint64_t nOffset, void* pOut, std::size_t nBytes) {
    if (nBytes == 0 || nOffset >= m_bytes.size()) return 0;
    const std::size_t nRead = std::min(nBytes, m_bytes.size() - static_cast<std::size_t>(nOffset));
    std::memcpy(pOut, m_bytes.data() + nOffset, nRead);
    return nRead;
}

SubSource::SubSource(ByteSource& whole, std::uint64_t nOffset, std::uint64_t nSize)
    : m_whole(whole),
      m_nOffset(std::min(nOffset, whole.Size())),
      m_nSize(std::min(nSize, whole.Size() - m_nOffset)) {}

std::size_t SubSource::ReadAt(std::uint64_t nOffset, void* pOut, std::size_t nBytes) {
    if (nOffset >= m_nSize) return 0;
    const auto nAvailable = static_cast<std::size_t>(std::min<std::uint64_t>(nBytes, m_nSize - nOffset));
    return m_whole.ReadAt(m_nOffset + nOffset, pOut, nAvailable);
}
