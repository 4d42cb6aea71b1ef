#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// A part of a source.
struct ByteRange {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// Random access to the bytes of a picture. Files are read, never mapped: one that shrinks meanwhile gives
/// fewer bytes and not a fault.
class ByteSource {
  public:
    virtual ~ByteSource() = default;

    /// Bytes in all.
    virtual std::uint64_t Size() const = 0;

    /// Reads up to `nBytes` from `nOffset` on. Returns the bytes read: fewer at the end or on an error.
    virtual std::size_t ReadAt(std::uint64_t nOffset, void* pOut, std::size_t nBytes) = 0;

    /// True if all `nBytes` were read.
    bool ReadAllAt(std::uint64_t nOffset, void* pOut, std::size_t nBytes) {
        return ReadAt(nOffset, pOut, nBytes) == nBytes;
    }
};

/// A regular file; anything else counts as empty.
class FileSource final : public ByteSource {
  public:
    explicit FileSource(const char16_t* pszPath);
    ~FileSource() override;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    std::uint64_t Size() const override { return m_nSize; }
    std::size_t ReadAt(std::uint64_t nOffset, void* pOut, std::size_t nBytes) override;

  private:
    int m_nDescriptor = -1;
    std::uint64_t m_nSize = 0;
};

/// Bytes in memory, which must outlive the object.
class MemorySource final : public ByteSource {
  public:
    explicit MemorySource(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    std::uint64_t Size() const override { return m_bytes.size(); }
    std::size_t ReadAt(std::uint64_t nOffset, void* pOut, std::size_t nBytes) override;

  private:
    std::span<const std::uint8_t> m_bytes;
};

/// A range of another source, as a source of its own.
class SubSource final : public ByteSource {
  public:
    SubSource(ByteSource& whole, std::uint64_t nOffset, std::uint64_t nSize);

    std::uint64_t Size() const override { return m_nSize; }
    std::size_t ReadAt(std::uint64_t nOffset, void* pOut, std::size_t nBytes) override;

  private:
    ByteSource& m_whole;
    std::uint64_t m_nOffset;
    std::uint64_t m_nSize;
};
