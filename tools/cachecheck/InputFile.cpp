#include "InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace CacheCheck {

InputFile::InputFile(const std::filesystem::path& path, std::size_t bufferSize)
    : m_bufferSize(bufferSize),
      m_descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
    if (!IsOpen()) {
        m_missing = errno == ENOENT;
        return;
    }
    struct stat status {};
    if (fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        m_size = static_cast<std::uint64_t>(status.st_size);
    } else {
        close(std::exchange(m_descriptor, -1));
    }
}

InputFile::~InputFile() {
    if (IsOpen()) close(m_descriptor);
}

void InputFile::Seek(std::uint64_t offset) {
    m_position = std::min(offset, m_size);
}

bool InputFile::FillBuffer() {
    m_buffer.resize(m_bufferSize);
    m_bufferStart = m_position;
    ssize_t got = 0;
    do {
        got = pread(m_descriptor, m_buffer.data(), m_buffer.size(), static_cast<off_t>(m_position));
    } while (got < 0 && errno == EINTR);
    m_buffer.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return got > 0;
}

bool InputFile::Read(void* out, std::size_t count) {
    if (BytesLeft() < count) return false;
    auto* target = static_cast<unsigned char*>(out);
    while (count > 0) {
        const bool inBuffer = m_position >= m_bufferStart && m_position < m_bufferStart + m_buffer.size();
        if (!inBuffer && !FillBuffer()) return false;
        const auto start = static_cast<std::size_t>(m_position - m_bufferStart);
        const std::size_t piece = std::min(count, m_buffer.size() - start);
        std::memcpy(target, m_buffer.data() + start, piece);
        target += piece;
        count -= piece;
        m_position += piece;
    }
    return true;
}

}  // namespace CacheCheck
