#include "JpegDecoder.h"

#include <jerror.h>

#include <algorithm>
#include <cstring>

#include "iml/Limits.h"

namespace {

constexpr std::size_t kPieceSize = std::size_t{1} << 16;
// A row that is aligned for vectors libjpeg writes past the caches, for readers that come late. Here it is
// read at once.
constexpr std::size_t kMisaligned = 4;

constexpr JOCTET kEndOfImage[] = {0xFF, JPEG_EOI};

// With fewer bytes than this before it, libjpeg decodes a unit of ten blocks slowly.
constexpr std::size_t kPlenty = std::size_t{10} * 64 * 8;

}  // namespace

JpegDecoder::JpegDecoder(ByteSource& source)
    : m_nPieceSize(static_cast<std::size_t>(std::min<std::uint64_t>(kPieceSize, source.Size()))),
      m_piece(new std::uint8_t[m_nPieceSize + kPlenty]) {
    m_info.err = m_error.Install();
    m_progress.manager.progress_monitor = &CheckScans;
    m_input.pSource = &source;
    m_input.pDecoder = this;
    m_input.manager.init_source = [](j_decompress_ptr) {};
    m_input.manager.fill_input_buffer = &FillInput;
    m_input.manager.skip_input_data = &SkipInput;
    m_input.manager.resync_to_restart = &jpeg_resync_to_restart;
    m_input.manager.term_source = [](j_decompress_ptr) {};
}

JpegDecoder::~JpegDecoder() {
    jpeg_destroy_decompress(&m_info);
}

boolean JpegDecoder::FillInput(j_decompress_ptr pInfo) {
    Input& input = InputOf(pInfo);
    JpegDecoder& decoder = *input.pDecoder;
    const std::size_t got = input.pSource->ReadAt(input.nOffset, decoder.m_piece.get(), decoder.m_nPieceSize);
    input.nOffset += got;
    if (got > 0) {
        input.manager.next_input_byte = decoder.m_piece.get();
        input.manager.bytes_in_buffer = got + decoder.Extend(got);
        return TRUE;
    }
    // The file ends before the picture does. What has been decoded is shown, if there is anything.
    if (pInfo->input_scan_number <= 1 && pInfo->input_iMCU_row == 0) ERREXIT(pInfo, JERR_INPUT_EOF);
    input.manager.next_input_byte = kEndOfImage;
    input.manager.bytes_in_buffer = sizeof kEndOfImage;
    return TRUE;
}

// Where the whole source is in the piece and ends as it should, more ends of the image behind that one let
// libjpeg's fast decoder run up to it: a small picture would be decoded slowly in large part.
std::size_t JpegDecoder::Extend(std::size_t nBytes) {
    std::uint8_t* const pEnd = m_piece.get() + nBytes;
    const bool bEnds = nBytes >= sizeof kEndOfImage &&
                       std::equal(kEndOfImage, kEndOfImage + sizeof kEndOfImage, pEnd - sizeof kEndOfImage);
    if (nBytes != m_input.pSource->Size() || !bEnds) return 0;
    for (std::size_t i = 0; i < kPlenty; i += 2) {
        pEnd[i] = kEndOfImage[0];
        pEnd[i + 1] = kEndOfImage[1];
    }
    return kPlenty;
}

// libjpeg's fast decoder only runs while there is plenty in the buffer. Between rows, what is left may move
// to the buffer's start and more be read behind it, so that it never comes to the end of the buffer.
void JpegDecoder::TopUpInput() {
    jpeg_source_mgr& manager = m_input.manager;
    const bool bAllRead = m_input.nOffset >= m_input.pSource->Size();
    if (bAllRead || manager.bytes_in_buffer >= m_nPieceSize / 2) return;
    std::memmove(m_piece.get(), manager.next_input_byte, manager.bytes_in_buffer);
    const std::size_t got = m_input.pSource->ReadAt(m_input.nOffset, m_piece.get() + manager.bytes_in_buffer,
                                                    m_nPieceSize - manager.bytes_in_buffer);
    m_input.nOffset += got;
    manager.next_input_byte = m_piece.get();
    manager.bytes_in_buffer += got;
}

void JpegDecoder::SkipInput(j_decompress_ptr pInfo, long nBytes) {
    Input& input = InputOf(pInfo);
    const auto skip = static_cast<std::size_t>(std::max(nBytes, 0L));
    if (skip <= input.manager.bytes_in_buffer) {
        input.manager.next_input_byte += skip;
        input.manager.bytes_in_buffer -= skip;
        return;
    }
    input.nOffset += skip - input.manager.bytes_in_buffer;
    input.manager.bytes_in_buffer = 0;
}

void JpegDecoder::CheckScans(j_common_ptr pInfo) {
    const auto* pDecompress = reinterpret_cast<j_decompress_ptr>(pInfo);
    const auto nScans = static_cast<std::uint64_t>(std::max(pDecompress->input_scan_number, 0));
    const std::uint64_t nBlocks = reinterpret_cast<const Progress*>(pInfo->progress)->nBlocks;
    if (nScans > kMaxScans || nScans * nBlocks > kMaxBlockVisits + nBlocks)
        ERREXIT(pDecompress, JERR_NOTIMPL);
}

bool JpegDecoder::ChooseColourSpace() {
    switch (m_info.jpeg_color_space) {
        case JCS_GRAYSCALE:
        case JCS_YCbCr:
        case JCS_RGB:
            m_info.out_color_space = JCS_EXT_BGR;
            return true;
        case JCS_CMYK:
        case JCS_YCCK:
            m_info.out_color_space = JCS_CMYK;
            return true;
        default:
            return false;
    }
}

// libjpeg keeps a picture of several scans whole, so the file has to hold enough to be worth it.
bool JpegDecoder::IsAsExpected(const JpegFrame& frame) {
    constexpr std::uint64_t kBytesPerBlock = 64 * sizeof(JCOEF);
    constexpr std::uint64_t kKeptPerByte = 2048;
    if (m_info.image_width != frame.width || m_info.image_height != frame.height) return false;
    if (static_cast<std::uint32_t>(m_info.num_components) != frame.components) return false;
    if (!jpeg_has_multiple_scans(&m_info)) return true;
    const std::uint64_t kept = frame.blocks * kBytesPerBlock;
    return kept <= kMaxCoefficientBytes && IsWorthKeeping(kept, m_input.pSource->Size(), kKeptPerByte);
}

bool JpegDecoder::Start(const JpegFrame& frame, std::uint32_t eighths) {
    m_progress.nBlocks = frame.blocks;
    const bool headerRead = RunJpeg(m_error, [this] {
        jpeg_create_decompress(&m_info);
        m_info.src = &m_input.manager;
        m_info.progress = &m_progress.manager;
        m_info.mem->max_memory_to_use = static_cast<long>(kMaxCoefficientBytes);
        jpeg_read_header(&m_info, TRUE);
    });
    if (!headerRead || !IsAsExpected(frame) || !ChooseColourSpace()) return false;
    const bool started = RunJpeg(m_error, [this, eighths] {
        m_info.scale_num = eighths;
        m_info.scale_denom = 8;
        // Guesses AC coefficients that have not come: not wanted where they have been left out on purpose.
        m_info.do_block_smoothing = FALSE;
        jpeg_start_decompress(&m_info);
    });
    if (!started) return false;
    m_decoded.resize(std::size_t{m_info.output_width} * static_cast<std::size_t>(m_info.output_components) +
                     kMisaligned);
    if (m_info.out_color_space == JCS_CMYK) m_row.resize(std::size_t{m_info.output_width} * 3);
    return true;
}

const std::uint8_t* JpegDecoder::NextRow() {
    if (m_info.output_scanline >= m_info.output_height) return nullptr;
    TopUpInput();
    JSAMPROW pRow = m_decoded.data() + kMisaligned;
    const bool read = RunJpeg(m_error, [this, &pRow] { jpeg_read_scanlines(&m_info, &pRow, 1); });
    if (!read) return nullptr;
    if (m_row.empty()) return m_decoded.data() + kMisaligned;
    ConvertCmykRow();
    return m_row.data();
}

// Ink covers paper: each colour is what the ink lets through, times what black lets through.
void JpegDecoder::ConvertCmykRow() {
    const unsigned inkIsZero = m_info.saw_Adobe_marker ? 0 : 255;  // Adobe's files store paper as 255
    const std::uint8_t* pFrom = m_decoded.data() + kMisaligned;
    for (std::size_t i = 0; i < m_row.size(); i += 3, pFrom += 4) {
        const unsigned black = pFrom[3] ^ inkIsZero;
        for (std::size_t c = 0; c < 3; ++c)
            m_row[i + c] = static_cast<std::uint8_t>(((pFrom[2 - c] ^ inkIsZero) * black + 127) / 255);
    }
}
