#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/Streams.h"

/// Outcome of the last step on a record file.
enum TNGFileStatus : std::uint32_t {
    FILE_READ_OK = 0,   // opened and the count was read; the last record was read
    FILE_WRITE_OK = 1,  // opened and the count was written; the last record was written
    FILE_NOT_FOUND = 3,
    FILE_COUNT_ERROR = 4,   // the count could not be read or written
    FILE_ACCESS_ERROR = 5,  // the file could not be opened, or a record not be read or written
    FILE_NO_PATH = 6,
};

/// A stream on a file that is a 32-bit count and records; opened by the constructor. What was
/// written counts once Close() has succeeded; the destructor of a stream that is still open drops it. It
/// takes no lock. See docs/cache-format.md.
///
/// A process that dies, or a disk that is full, leaves a whole file. One that is appended to gets its new
/// count last. One that is written anew keeps what it held until the stream is closed, and if there is no
/// room for the new content; this then takes its place in one step: little of it by one write, much of it as
/// a temporary file of the same folder. Where such a file cannot be made, a process that dies at the last
/// moment may leave a part of the new content.
class TNGRecordStream {
  public:
    /// For reading, fills `*pCount`; for writing, writes it: anew, or with `bUpdateCount` over that of the
    /// file, whose records then go on at its end. What lies behind `nAppendAt` bytes is cut off first, if the
    /// file still counts `nRecordsThere`: that is an append that was never finished.
    /// `*pOpened` receives 1 if the file is open.
    TNGRecordStream(const std::u16string& path, bool bRead, std::int32_t* pCount, std::int32_t* pOpened,
                    bool bUpdateCount, std::int64_t nAppendAt, std::int32_t nRecordsThere);
    ~TNGRecordStream() { Abandon(); }
    TNGRecordStream(const TNGRecordStream&) = delete;
    TNGRecordStream& operator=(const TNGRecordStream&) = delete;

    TNGFileStatus Status() const { return eStatus; }

    /// True once a read has met the end of the file.
    bool IsEof() const;

    /// True while there may be more to read: neither the end nor an error has been met.
    bool CanReadOn() const;

    /// True if the file could not be opened or read, though it may be there and whole.
    bool IsOutOfReach() const;

    /// Bytes from the start of the file; -1 if it is not open.
    std::int64_t Position() const;

    /// Bytes from there to the end of the file.
    std::int64_t BytesLeft() const { return m_pFile ? Platform::BytesLeft(m_pFile) : 0; }

    /// Has Close() write another count than the constructor got.
    void SetCount(std::int32_t nCount) { m_nCount = nCount; }

    /// Closes the file. False if what was written did not all reach it; the status then says so, too.
    bool Close();

  protected:
    TNGFileStatus eStatus = FILE_COUNT_ERROR;
    std::FILE* m_pFile = nullptr;

  private:
    enum class Mode { Read, Anew, Append };

    void OpenForReading(const std::u16string& path, std::int32_t* pCount);
    void OpenAnew(const std::u16string& path);
    void OpenForAppending(const std::u16string& path, std::int64_t nAppendAt, std::int32_t nRecordsThere);
    void Abandon();
    bool FinishAppending();
    bool FinishAnew();
    bool Replace(const char* pContent, std::size_t nBytes);
    bool WriteInPlace(const char* pContent, std::size_t nBytes, std::int64_t nBytesBefore);
    void DropTarget();

    Mode m_eMode = Mode::Read;
    int m_nOpenError = 0;  // the errno value, of a file to be read
    std::int32_t m_nCount = 0;

    // Of a file that is written anew: m_pFile collects its content in memory.
    std::u16string m_strPath;
    std::FILE* m_pTarget = nullptr;
    bool m_bCreated = false;  // the file was not there before
    char* m_pContent = nullptr;
    std::size_t m_nContentBytes = 0;
};

/// The same with records of one type, which read and write themselves with Load() and Save().
template <typename Record>
class CTNGRecordFile : public TNGRecordStream {
  public:
    CTNGRecordFile(const std::u16string& path, bool bRead, std::int32_t* pCount, std::int32_t* pOpened,
                   bool bUpdateCount, std::int64_t nAppendAt = -1, std::int32_t nRecordsThere = -1)
        : TNGRecordStream(path, bRead, pCount, pOpened, bUpdateCount, nAppendAt, nRecordsThere) {}

    void ReadRecord(Record* pRecord) {
        eStatus = m_pFile && pRecord->Load(m_pFile) ? FILE_READ_OK : FILE_ACCESS_ERROR;
    }

    void WriteRecord(Record* pRecord) {
        eStatus = m_pFile && pRecord->Save(m_pFile) ? FILE_WRITE_OK : FILE_ACCESS_ERROR;
    }
};
