#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <type_traits>
#include <vector>

namespace CacheCheck {

/// A regular file that is read through a buffer, front to back or at an offset. A file that shrinks
/// meanwhile, or that the system cannot read, ends early.
class InputFile {
  public:
    /// Anything but a regular file counts as unreadable; opening never waits. The buffer is what one call
    /// of the system reads: a small one suits reads far apart.
    explicit InputFile(const std::filesystem::path& path, std::size_t bufferSize = std::size_t{1} << 16);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    bool IsOpen() const { return m_descriptor >= 0; }

    /// True if it is not open because there is no such file.
    bool IsMissing() const { return m_missing; }

    std::uint64_t Size() const { return m_size; }
    std::uint64_t Position() const { return m_position; }
    std::uint64_t BytesLeft() const { return m_size > m_position ? m_size - m_position : 0; }

    /// Goes to an offset, at the end of the file at most.
    void Seek(std::uint64_t offset);

    /// Reads exactly `count` bytes. False if the file ends before that.
    bool Read(void* out, std::size_t count);

    template <typename Number>
    bool ReadNumber(Number& number) {
        static_assert(std::is_integral_v<Number>);
        unsigned char bytes[sizeof number];
        if (!Read(bytes, sizeof bytes)) return false;
        std::make_unsigned_t<Number> value = 0;
        for (std::size_t i = sizeof bytes; i-- > 0;)
            value = static_cast<std::make_unsigned_t<Number>>(std::uint64_t{value} << 8 | bytes[i]);
        number = static_cast<Number>(value);
        return true;
    }

  private:
    bool FillBuffer();

    std::size_t m_bufferSize;
    int m_descriptor = -1;
    bool m_missing = false;
    std::uint64_t m_size = 0;
    std::uint64_t m_position = 0;
    std::vector<unsigned char> m_buffer;  // the bytes of the file from m_bufferStart on
    std::uint64_t m_bufferStart = 0;
};

}  // namespace CacheCheck
