#include "TiffFile.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// No part of a picture that libtiff has to hold at once is larger than this.
constexpr tmsize_t kMaxBlock = tmsize_t{256} << 20;

// Directories can name the same bytes for any number of strips. A file is read this many times over at
// most, and a small one some more.
constexpr std::uint64_t kMaxReadings = 16;
constexpr std::uint64_t kFreeBytes = std::uint64_t{1} << 20;

int KeepSilent(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

struct OptionsDeleter {
    void operator()(TIFFOpenOptions* pOptions) const { TIFFOpenOptionsFree(pOptions); }
};

}  // namespace

TiffFile::TiffFile(ByteSource& source)
    : m_source(source),
      m_nReadable(std::min(source.Size(), std::uint64_t{1} << 48) * kMaxReadings + kFreeBytes) {
    const std::unique_ptr<TIFFOpenOptions, OptionsDeleter> pOptions(TIFFOpenOptionsAlloc());
    if (!pOptions) return;
    TIFFOpenOptionsSetMaxSingleMemAlloc(pOptions.get(), kMaxBlock);
    TIFFOpenOptionsSetErrorHandlerExtR(pOptions.get(), KeepSilent, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(pOptions.get(), KeepSilent, nullptr);
    m_pTiff.reset(TIFFClientOpenExt("", "rm", this, Read, Write, Seek, Close, SizeOf, nullptr, nullptr,
                                    pOptions.get()));
    // libtiff converts the colours of a JPEG while it decodes.
    if (m_pTiff && Field<std::uint16_t>(TIFFTAG_COMPRESSION, 0) == COMPRESSION_JPEG &&
        Field<std::uint16_t>(TIFFTAG_PHOTOMETRIC, 0) == PHOTOMETRIC_YCBCR)
        TIFFSetField(m_pTiff.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
}

void TiffFile::FillUpStrips() {
    if (!IsOpen()) return;
    switch (Field<std::uint16_t>(TIFFTAG_COMPRESSION, 0)) {
        case COMPRESSION_NONE:
            m_filling = 0;  // the reader of the rows knows where they end
            break;
        case COMPRESSION_LZW:
            m_filling = 0xFF;  // a code that no table contains
            break;
        case COMPRESSION_PACKBITS:
            m_filling = 0x80;  // no operation
            break;
        case COMPRESSION_CCITTRLE:
        case COMPRESSION_CCITTRLEW:
        case COMPRESSION_CCITTFAX3:
        case COMPRESSION_CCITTFAX4:
            m_filling = 0;  // not a run of either colour
            break;
        default:
            break;
    }
}

tmsize_t TiffFile::Read(thandle_t pFile, void* pOut, tmsize_t nBytes) {
    auto& file = *static_cast<TiffFile*>(pFile);
    const std::uint64_t nWanted =
        std::min(static_cast<std::uint64_t>(std::max(nBytes, tmsize_t{0})), file.m_nReadable);
    std::uint64_t nRead = file.m_source.ReadAt(file.m_nPosition, pOut, nWanted);
    if (file.m_filling && nRead > 0) {
        std::memset(static_cast<std::uint8_t*>(pOut) + nRead, *file.m_filling, nWanted - nRead);
        nRead = nWanted;
    }
    file.m_nPosition += nRead;
    file.m_nReadable -= nRead;
    return static_cast<tmsize_t>(nRead);
}

tmsize_t TiffFile::Write(thandle_t, void*, tmsize_t) {
    return 0;
}

toff_t TiffFile::Seek(thandle_t pFile, toff_t nOffset, int nWhence) {
    auto& file = *static_cast<TiffFile*>(pFile);
    if (nWhence == SEEK_CUR) nOffset += file.m_nPosition;
    if (nWhence == SEEK_END) nOffset += file.m_source.Size();
    file.m_nPosition = nOffset;
    return nOffset;
}

int TiffFile::Close(thandle_t) {
    return 0;
}

toff_t TiffFile::SizeOf(thandle_t pFile) {
    return static_cast<TiffFile*>(pFile)->m_source.Size();
}
