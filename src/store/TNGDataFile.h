#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "platform/Streams.h"
#include "platform/Time.h"
#include "store/TNGBlockTrailer.h"
#include "store/TNGKeptFile.h"
#include "store/TNGOpenError.h"

/// Outcome of the last operation on a data file.
enum TNGDataFileStatus : std::uint32_t {
    DATA_FILE_OK = 0,
    DATA_FILE_READ_ERROR = 1,
    DATA_FILE_WRITE_ERROR = 2,
    DATA_FILE_NOT_FOUND = 3,
    DATA_FILE_BAD_TRAILER = 4,  // missing or overwritten
    DATA_FILE_TRAILER_WRITE_ERROR = 5,
};

/// The bytes of one thumbnail to be written; no bytes fail.
struct TNGThumbnailBytes {
    const std::uint8_t* pBytes = nullptr;
    std::int32_t nSize = 0;
};

/// Reads and writes files that are bytes at an offset: the data files of thumbnails, and the date-time file.
/// Every operation opens, works and closes, unless files are kept open. Operations on blocks take the lock of
/// the file, by its key, for at most 2000 ms. Offsets and sizes are in bytes; reading a block answers 0 for
/// success, 1 for failure. See docs/cache-format.md.
class CTNGDataFile {
  public:
    /// With `pKept`, which outlives the object, files are read through that.
    explicit CTNGDataFile(TNGKeptFile* pKept = nullptr) : m_pKept(pKept) {}
    ~CTNGDataFile() { Close(); }
    CTNGDataFile(const CTNGDataFile&) = delete;
    CTNGDataFile& operator=(const CTNGDataFile&) = delete;

    /// Opens for reading, for appending, or with `bCreate` for writing anew.
    bool Open(const std::u16string& path, bool bRead, bool bCreate);

    /// False if what was written did not all reach the file.
    bool Close();

    TNGDataFileStatus Status() const { return m_eStatus; }

    /// True if the last file to be read could not be opened, though it may be there and whole.
    bool IsOutOfReach() const { return ::IsOutOfReach(m_nOpenError); }

    /// Has the system take a file into its cache, by reading of it. A result code.
    std::uint32_t TouchFile(const std::u16string& path);

    /// Read and write the date-time file, under the lock that the caller holds. Result codes.
    std::uint32_t ReadDateTime(const std::u16string& path, Platform::FILETIME* pTime);
    std::uint32_t WriteDateTime(const std::u16string& path, const Platform::FILETIME* pTime);

    /// Reads `nSize` bytes, at least 1.
    int ReadBlock(const std::u16string& path, std::uint32_t key, std::int32_t nOffset, std::int32_t nSize,
                  std::uint8_t* pBuffer);

    /// The same, and the trailer of the block, which must be valid.
    int ReadBlockChecked(const std::u16string& path, std::uint32_t key, std::int32_t nOffset,
                         std::int32_t nSize, std::int32_t nTrailerOffset, TNGBlockTrailer* pTrailer,
                         std::uint8_t* pBuffer);

    /// Appends a block: the extra-large thumbnail if there is one, the large and the small one, the trailer.
    /// The offset at which it begins, or -1; also if the file would pass 2^31 - 1 bytes.
    std::int32_t AppendBlock(const std::u16string& path, std::uint32_t key, const TNGBlockTrailer& trailer,
                             const TNGThumbnailBytes& extraLarge, const TNGThumbnailBytes& large,
                             const TNGThumbnailBytes& small);

  private:
    bool ReadAt(std::int32_t nOffset, std::int32_t nSize, void* pOut);
    bool Write(const TNGThumbnailBytes& bytes);
    std::int32_t WriteBlock(const TNGBlockTrailer& trailer, const TNGThumbnailBytes& extraLarge,
                            const TNGThumbnailBytes& large, const TNGThumbnailBytes& small);

    TNGKeptFile* m_pKept;
    std::shared_ptr<const Platform::PlainFile> m_pReadFile;  // while reading
    std::FILE* m_pFile = nullptr;                            // while writing
    TNGDataFileStatus m_eStatus = DATA_FILE_OK;
    int m_nOpenError = 0;  // the errno value, of a file to be read
};
