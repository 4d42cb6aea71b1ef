#pragma once

#include <png.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "PngPixels.h"
#include "iml/ByteSource.h"
#include "iml/Codec.h"
#include "iml/RangesSource.h"

/// libpng on a source: header, then rows as B, G, R or B, G, R, A.
class PngReader {
  public:
    explicit PngReader(ByteSource& source);
    ~PngReader();
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    /// Reads everything before the pixels. False if it is damaged.
    bool ReadHeader(PictureInfo& info);

    /// Where the first IDAT chunk begins in the source, after the header.
    std::uint64_t ImageData() const { return *m_nImageData; }

    /// How the pixels are stored, after the header.
    PngPixels Pixels() const { return PngPixels(m_pPng, m_pInfo); }

    /// Sets up the conversion of rows, after the header. False if that fails.
    bool StartRows();

    std::size_t RowBytes() const { return m_nRowBytes; }
    bool IsInterlaced() const { return m_bInterlaced; }

    /// Reads the next row; libpng tells what `pRow` and `pDisplayRow` receive in an interlaced picture.
    /// False at the end of what can be read.
    bool ReadRow(std::uint8_t* pRow, std::uint8_t* pDisplayRow);

  private:
    void TakeSmallPiecesNearTheEnd();
    static void ReadBytes(png_structp pPng, png_bytep pOut, std::size_t nBytes);

    RangesSource m_chunks;  // what libpng gets to see
    std::optional<std::uint64_t> m_nImageData;
    std::uint64_t m_nOffset = 0;        // of the piece
    std::vector<std::uint8_t> m_piece;  // bytes read ahead
    std::size_t m_nPieceSize = 0;
    std::size_t m_nPieceUsed = 0;
    png_structp m_pPng = nullptr;
    png_infop m_pInfo = nullptr;
    std::size_t m_nRowBytes = 0;
    bool m_bInterlaced = false;
    bool m_bNearEnd = false;
};
