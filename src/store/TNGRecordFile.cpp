#include "TNGRecordFile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "store/TNGFields.h"

TNGRecordStream::TNGRecordStream(const std::u16string& path, bool bRead, std::int32_t* pCount,
                                 std::int32_t* pOpened, bool bUpdateCount, std::int64_t nAppendAt) {
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
            OpenForAppending(path, nAppendAt);
        } else {
            OpenAnew(path);
        }
        *pOpened = m_pFile ? 1 : 0;
    } catch (...) {
        if (m_pFile) Platform::CloseStream(std::exchange(m_pFile, nullptr));
        eStatus = FILE_COUNT_ERROR;
    }
}

void TNGRecordStream::OpenForReading(const std::u16string& path, std::int32_t* pCount) {
    const int error = Platform::_wfopen_s(&m_pFile, path.c_str(), "rb");
    if (error != 0) {
        eStatus = error == ENOENT ? FILE_NOT_FOUND : FILE_ACCESS_ERROR;
    } else if (ReadField(m_pFile, *pCount)) {
        eStatus = FILE_READ_OK;
    }
}

// Not emptied here: should the process end before the stream is closed, what stood there still stands.
void TNGRecordStream::OpenAnew(const std::u16string& path) {
    m_eMode = Mode::Anew;
    if (Platform::_wfopen_s(&m_pFile, path.c_str(), "r+b") == ENOENT)
        Platform::_wfopen_s(&m_pFile, path.c_str(), "wb");
    if (!m_pFile) {
        eStatus = FILE_ACCESS_ERROR;
        return;
    }
    WriteField(m_pFile, m_nCount);
    if (ferror_unlocked(m_pFile) == 0) eStatus = FILE_WRITE_OK;
}

void TNGRecordStream::OpenForAppending(const std::u16string& path, std::int64_t nAppendAt) {
    m_eMode = Mode::Append;
    if (Platform::_wfopen_s(&m_pFile, path.c_str(), "r+b") != 0) {
        eStatus = FILE_ACCESS_ERROR;
        return;
    }
    // What lies behind belongs to nothing: an append that its process did not live to finish.
    const bool bTail = nAppendAt >= 0 && Platform::BytesLeft(m_pFile) > nAppendAt;
    const bool bCut = !bTail || ftruncate(fileno(m_pFile), nAppendAt) == 0;
    if (bCut && std::fseek(m_pFile, 0, SEEK_END) == 0) {
        eStatus = FILE_WRITE_OK;
    } else {
        m_eMode = Mode::Read;  // nothing is to be written
    }
}

bool TNGRecordStream::IsEof() const {
    return m_pFile && feof_unlocked(m_pFile) != 0;
}

std::int64_t TNGRecordStream::Position() const {
    return m_pFile ? ftello(m_pFile) : -1;
}

bool TNGRecordStream::FinishWriting() {
    if (m_eMode == Mode::Read) return eStatus != FILE_COUNT_ERROR;
    const std::int64_t end = Position();
    const bool bNew = m_eMode == Mode::Anew;
    // The records have to be in the file before the count says so. Behind them there may be the rest of the
    // file that stood there.
    const bool bWritten = std::fflush(m_pFile) == 0 && end >= 0 && ferror_unlocked(m_pFile) == 0;
    if (bNew && ftruncate(fileno(m_pFile), std::max<std::int64_t>(end, 0)) != 0) return false;
    if (!bNew && eStatus != FILE_WRITE_OK) return false;
    if (!bWritten || std::fseek(m_pFile, 0, SEEK_SET) != 0) return false;
    WriteField(m_pFile, m_nCount);
    return std::fflush(m_pFile) == 0;
}

bool TNGRecordStream::Close() {
    if (!m_pFile) return true;
    const bool bFinished = FinishWriting();
    const bool bClosed = Platform::CloseStream(std::exchange(m_pFile, nullptr));
    if (!bFinished || !bClosed) eStatus = FILE_ACCESS_ERROR;
    return bFinished && bClosed;
}
