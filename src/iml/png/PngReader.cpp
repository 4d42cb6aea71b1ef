#include "PngReader.h"

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <new>

#include "PngChunks.h"
#include "iml/Limits.h"

namespace {

constexpr std::size_t kPieceSize = std::size_t{1} << 16;
constexpr png_alloc_size_t kMaxChunkBytes = 1u << 20;  // of a chunk that is kept in memory

void JumpOnError(png_structp pPng, png_const_charp) {
    png_longjmp(pPng, 1);
}
void IgnoreWarning(png_structp, png_const_charp) {}

// Runs `call`, which calls libpng; false if libpng reported an error. See RunJpeg() on what the jump skips.
template <typename Call>
bool RunPng(png_structp pPng, Call call) {
    if (setjmp(png_jmpbuf(pPng)) != 0) return false;
    call();
    return true;
}

}  // namespace

PngReader::PngReader(ByteSource& source)
    : m_chunks(source),
      m_nImageData(FindPictureChunks(source, m_chunks)),
      m_piece(static_cast<std::size_t>(std::min<std::uint64_t>(kPieceSize, m_chunks.Size()))) {
    m_pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, JumpOnError, IgnoreWarning);
    if (m_pPng) m_pInfo = png_create_info_struct(m_pPng);
}

PngReader::~PngReader() {
    png_destroy_read_struct(&m_pPng, &m_pInfo, nullptr);
}

void PngReader::ReadBytes(png_structp pPng, png_bytep pOut, std::size_t nBytes) {
    auto& reader = *static_cast<PngReader*>(png_get_io_ptr(pPng));
    while (nBytes > 0) {
        if (reader.m_nPieceUsed == reader.m_nPieceSize) {
            reader.m_nPieceUsed = 0;
            reader.m_nPieceSize =
                reader.m_chunks.ReadAt(reader.m_nOffset, reader.m_piece.data(), reader.m_piece.size());
            reader.m_nOffset += reader.m_nPieceSize;
            if (reader.m_nPieceSize == 0) png_longjmp(pPng, 1);
        }
        const std::size_t n = std::min(nBytes, reader.m_nPieceSize - reader.m_nPieceUsed);
        std::memcpy(pOut, &reader.m_piece[reader.m_nPieceUsed], n);
        reader.m_nPieceUsed += n;
        pOut += n;
        nBytes -= n;
    }
}

bool PngReader::ReadHeader(PictureInfo& info) {
    if (!m_pInfo) throw std::bad_alloc();
    if (!m_nImageData) return false;
    const bool read = RunPng(m_pPng, [this] {
        png_set_read_fn(m_pPng, this, &ReadBytes);
        png_set_user_limits(m_pPng, png_uint_32{kMaxSide}, png_uint_32{kMaxSide});
        png_set_chunk_malloc_max(m_pPng, kMaxChunkBytes);
        png_read_info(m_pPng, m_pInfo);
    });
    if (!read) return false;
    info.width = png_get_image_width(m_pPng, m_pInfo);
    info.height = png_get_image_height(m_pPng, m_pInfo);
    info.alpha = Pixels().HasAlpha();
    m_bInterlaced = png_get_interlace_type(m_pPng, m_pInfo) != PNG_INTERLACE_NONE;
    return IsAcceptableSize(info.width, info.height);
}

bool PngReader::StartRows() {
    const bool started = RunPng(m_pPng, [this] {
        png_set_expand(m_pPng);
        png_set_scale_16(m_pPng);
        png_set_gray_to_rgb(m_pPng);
        png_set_bgr(m_pPng);
        if (m_bInterlaced) png_set_interlace_handling(m_pPng);
        png_read_update_info(m_pPng, m_pInfo);
    });
    if (started) m_nRowBytes = png_get_rowbytes(m_pPng, m_pInfo);
    return started;
}

// libpng takes in compressed data by pieces, and loses a piece that the file does not hold whole. Near the
// end, where a cut-off file stops, the pieces are small, so that little of it is lost.
void PngReader::TakeSmallPiecesNearTheEnd() {
    constexpr std::uint64_t kNear = 32768;
    constexpr std::size_t kSmallPiece = 32;
    if (m_bNearEnd || m_chunks.Size() - m_nOffset + (m_nPieceSize - m_nPieceUsed) > kNear) return;
    m_bNearEnd = true;
    png_set_compression_buffer_size(m_pPng, kSmallPiece);
}

bool PngReader::ReadRow(std::uint8_t* pRow, std::uint8_t* pDisplayRow) {
    return RunPng(m_pPng, [=, this] {
        TakeSmallPiecesNearTheEnd();
        png_read_row(m_pPng, pRow, pDisplayRow);
    });
}
