#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "JpegError.h"
#include "JpegSegments.h"
#include "iml/ByteSource.h"

/// libjpeg on a source: header, scale, rows.
class JpegDecoder {
  public:
    explicit JpegDecoder(ByteSource& source);
    ~JpegDecoder();
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;

    /// Reads the header, which has to be that of `frame`, and starts the decode at `eighths` / 8 of the
    /// size. False if that is not possible, would take too much memory or time, or none of the picture can be
    /// decoded.
    bool Start(const JpegFrame& frame, std::uint32_t eighths);

    std::uint32_t Width() const { return m_info.output_width; }
    std::uint32_t Height() const { return m_info.output_height; }

    /// The next row as B, G, R; null if there is none.
    const std::uint8_t* NextRow();

  private:
    bool ChooseColourSpace();
    void TopUpInput();
    std::size_t Extend(std::size_t nBytes);
    void ConvertCmykRow();

    // libjpeg's side of the source, in pieces of its buffer's size.
    struct Input {
        jpeg_source_mgr manager;
        ByteSource* pSource;
        std::uint64_t nOffset;
        JpegDecoder* pDecoder;
    };
    static Input& InputOf(j_decompress_ptr pInfo) { return *reinterpret_cast<Input*>(pInfo->src); }
    static boolean FillInput(j_decompress_ptr pInfo);
    static void SkipInput(j_decompress_ptr pInfo, long nBytes);
    static void CheckScans(j_common_ptr pInfo);
    bool IsAsExpected(const JpegFrame& frame);

    // Counts what the scans cost.
    struct Progress {
        jpeg_progress_mgr manager;  // first, as above
        std::uint64_t nBlocks;      // that each scan goes over at most
    };

    jpeg_decompress_struct m_info{};
    JpegError m_error;
    Progress m_progress{};
    Input m_input{};
    std::size_t m_nPieceSize;                 // bytes of the source at a time
    std::unique_ptr<std::uint8_t[]> m_piece;  // those, and room behind them
    std::vector<std::uint8_t> m_decoded;      // a row as libjpeg gives it
    std::vector<std::uint8_t> m_row;          // the same in B, G, R, if that is another
};
