#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "Export.h"

/// A file that is read in pieces at known places, without a buffer.
namespace Platform {

class QXPLATFORM_API PlainFile {
  public:
    PlainFile() = default;
    ~PlainFile() { Close(); }
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;

    /// 0, or the errno value of the failure.
    int Open(const char16_t* pszPath);
    void Close();

    /// Reads all of `nBytes` at `nOffset`, or fails. Several threads may do so at once.
    bool ReadAt(std::int64_t nOffset, void* pOut, std::size_t nBytes) const;

    /// The same of two pieces, at once if the second one lies not far behind the first.
    bool ReadAt(std::int64_t nOffset, void* pOut, std::size_t nBytes, std::int64_t nSecondOffset,
                void* pSecond, std::size_t nSecondBytes) const;

    /// Whether it is still at its path, and has been neither deleted nor replaced. Its folder may have
    /// another name by now.
    bool IsInPlace() const;

    /// Whether the file has a name at all. Cheaper: no path has to be walked.
    bool HasName() const;

  private:
    int m_nDescriptor = -1;
    std::string m_path;
    std::uint64_t m_nDevice = 0;
    std::uint64_t m_nInode = 0;
};

}  // namespace Platform

/// Buffered binary streams on files. A stream belongs to one thread at a time: reading and writing take no
/// lock. ferror() and feof() of the C library tell its state.
namespace Platform {

/// Opens `pszPath` in the mode "rb", "wb", "a+b" or "r+b", as fopen() tells them, and gives the stream.
/// 0, or the errno value of the failure, with `*ppStream` null.
QXPLATFORM_API int _wfopen_s(std::FILE** ppStream, const char16_t* pszPath, const char* pszMode);

/// Closes a stream. One that was open for writing gives its file the time of this moment, in full precision:
/// the kernel's own stamps are some milliseconds coarse, and two changes within one of its ticks would look
/// like one. False if buffered bytes could not be written: the write has failed then.
QXPLATFORM_API bool CloseStream(std::FILE* pStream);

/// Reads or writes `nCount` items of `nSize` bytes; returns the number of whole items.
QXPLATFORM_API std::size_t _fread_nolock(void* pOut, std::size_t nSize, std::size_t nCount,
                                         std::FILE* pStream);
QXPLATFORM_API std::size_t _fwrite_nolock(const void* pData, std::size_t nSize, std::size_t nCount,
                                          std::FILE* pStream);

/// Bytes from the position of the stream to the end of its file; 0 if that cannot be told.
QXPLATFORM_API std::int64_t BytesLeft(std::FILE* pStream);

}  // namespace Platform
