#include "TNGDataFile.h"

#include <cerrno>
#include <limits>
#include <utility>

#include "common/TNGFileInfo.h"
#include "common/TNGTypes.h"
#include "locks/TNGFileLockRegistry.h"
#include "locks/TNGLockHold.h"
#include "platform/Streams.h"

namespace {

TNGLockHold HoldOf(std::uint32_t key, bool bWrite) {
    return {GetFileLockRegistry().GetFileLock(key, false), bWrite};
}

std::shared_ptr<const Platform::PlainFile> OpenAnew(const std::u16string& path, int* pnError) {
    auto pFile = std::make_shared<Platform::PlainFile>();
    *pnError = pFile->Open(path.c_str());
    return pFile;
}

bool HasError(std::FILE* pFile) {
    return ferror_unlocked(pFile) != 0;
}

}  // namespace

bool CTNGDataFile::Open(const std::u16string& path, bool bRead, bool bCreate) {
    if (bRead) {
        m_pReadFile = m_pKept ? m_pKept->Open(path, &m_nOpenError) : OpenAnew(path, &m_nOpenError);
        if (m_nOpenError != 0)
            m_eStatus = m_nOpenError == ENOENT ? DATA_FILE_NOT_FOUND : DATA_FILE_READ_ERROR;
        return m_nOpenError == 0;
    }
    const int error = Platform::_wfopen_s(&m_pFile, path.c_str(), bCreate ? "wb" : "a+b");
    if (error == 0) return !HasError(m_pFile);
    m_eStatus = bCreate ? DATA_FILE_READ_ERROR : DATA_FILE_NOT_FOUND;
    return false;
}

bool CTNGDataFile::Close() {
    m_pReadFile.reset();
    return !m_pFile || Platform::CloseStream(std::exchange(m_pFile, nullptr));
}

std::uint32_t CTNGDataFile::TouchFile(const std::u16string& path) {
    try {
        const TNGLockHold hold = HoldOf(CTNGFileInfo::GetHashCode(path), false);
        if (!hold.IsHeld() || !Open(path, true, false)) return QXTNG_ERROR_FAILED;
        std::uint8_t byte = 0;
        ReadAt(0, sizeof byte, &byte);
        Close();
        return QXTNG_SUCCESS;
    } catch (...) {
        return QXTNG_ERROR_FAILED;
    }
}

std::uint32_t CTNGDataFile::ReadDateTime(const std::u16string& path, Platform::FILETIME* pTime) {
    if (!pTime) return QXTNG_ERROR_FAILED;
    if (!Open(path, true, false)) return QXTNG_ERROR_FILE_READ;
    const bool bRead = ReadAt(0, sizeof *pTime, pTime);
    Close();
    return bRead ? QXTNG_SUCCESS : QXTNG_ERROR_FILE_READ;
}

std::uint32_t CTNGDataFile::WriteDateTime(const std::u16string& path, const Platform::FILETIME* pTime) {
    static_assert(sizeof *pTime == 8);
    if (!pTime) return QXTNG_ERROR_FAILED;
    if (!Open(path, false, true)) return QXTNG_ERROR_FILE_READ;
    const bool bWritten = Platform::_fwrite_nolock(pTime, sizeof *pTime, 1, m_pFile) == 1;
    return Close() && bWritten ? QXTNG_SUCCESS : QXTNG_ERROR_FILE_WRITE;
}

bool CTNGDataFile::ReadAt(std::int32_t nOffset, std::int32_t nSize, void* pOut) {
    return nOffset >= 0 && nSize > 0 && m_pReadFile->ReadAt(nOffset, pOut, static_cast<std::size_t>(nSize));
}

int CTNGDataFile::ReadBlock(const std::u16string& path, std::uint32_t key, std::int32_t nOffset,
                            std::int32_t nSize, std::uint8_t* pBuffer) {
    try {
        const TNGLockHold hold = HoldOf(key, false);
        if (!hold.IsHeld() || !Open(path, true, false)) return 1;
        const bool bRead = ReadAt(nOffset, nSize, pBuffer);
        m_eStatus = bRead ? DATA_FILE_OK : DATA_FILE_READ_ERROR;
        Close();
        return bRead ? 0 : 1;
    } catch (...) {
        return 1;
    }
}

int CTNGDataFile::ReadBlockChecked(const std::u16string& path, std::uint32_t key, std::int32_t nOffset,
                                   std::int32_t nSize, std::int32_t nTrailerOffset, TNGBlockTrailer* pTrailer,
                                   std::uint8_t* pBuffer) {
    try {
        const TNGLockHold hold = HoldOf(key, false);
        if (!hold.IsHeld() || !Open(path, true, false)) return 1;
        const bool bRead = nOffset >= 0 && nSize > 0 &&
                           m_pReadFile->ReadAt(nOffset, pBuffer, static_cast<std::size_t>(nSize),
                                               nTrailerOffset, pTrailer, sizeof *pTrailer);
        if (bRead) {
            m_eStatus = IsValidTrailer(*pTrailer) ? DATA_FILE_OK : DATA_FILE_BAD_TRAILER;
        } else {
            m_eStatus = ReadAt(nOffset, nSize, pBuffer) ? DATA_FILE_BAD_TRAILER : DATA_FILE_READ_ERROR;
        }
        Close();
        return m_eStatus == DATA_FILE_OK ? 0 : 1;
    } catch (...) {
        return 1;
    }
}

bool CTNGDataFile::Write(const TNGThumbnailBytes& bytes) {
    if (!bytes.pBytes || bytes.nSize <= 0) return false;
    return Platform::_fwrite_nolock(bytes.pBytes, static_cast<std::size_t>(bytes.nSize), 1, m_pFile) == 1;
}

std::int32_t CTNGDataFile::WriteBlock(const TNGBlockTrailer& trailer, const TNGThumbnailBytes& extraLarge,
                                      const TNGThumbnailBytes& large, const TNGThumbnailBytes& small) {
    m_eStatus = DATA_FILE_WRITE_ERROR;
    if (std::fseek(m_pFile, 0, SEEK_END) != 0) return -1;
    const std::int64_t start = ftello(m_pFile);
    const std::int64_t extraSize = extraLarge.pBytes ? extraLarge.nSize : 0;
    const std::int64_t end = start + extraSize + large.nSize + small.nSize + std::int64_t{sizeof trailer};
    if (start < 0 || end > std::numeric_limits<std::int32_t>::max()) return -1;
    if (extraLarge.pBytes && !Write(extraLarge)) return -1;
    if (!Write(large) || !Write(small)) return -1;
    if (Platform::_fwrite_nolock(&trailer, sizeof trailer, 1, m_pFile) != 1) {
        m_eStatus = DATA_FILE_TRAILER_WRITE_ERROR;
        return -1;
    }
    m_eStatus = DATA_FILE_OK;
    return static_cast<std::int32_t>(start);
}

std::int32_t CTNGDataFile::AppendBlock(const std::u16string& path, std::uint32_t key,
                                       const TNGBlockTrailer& trailer, const TNGThumbnailBytes& extraLarge,
                                       const TNGThumbnailBytes& large, const TNGThumbnailBytes& small) {
    try {
        const TNGLockHold hold = HoldOf(key, true);
        if (!hold.IsHeld() || !Open(path, false, false)) return -1;
        const std::int32_t offset = WriteBlock(trailer, extraLarge, large, small);
        // The stream's buffer reaches the file when it closes.
        if (!Close() && offset >= 0) m_eStatus = DATA_FILE_WRITE_ERROR;
        return m_eStatus == DATA_FILE_OK ? offset : -1;
    } catch (...) {
        return -1;
    }
}
