#include <gif_lib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include "Codec.h"
#include "Limits.h"
#include "PlausibleSize.h"
#include "SequentialReader.h"

namespace {

using Pixel = std::array<std::uint8_t, 4>;  // B, G, R, A
using Palette = std::array<Pixel, 256>;

int ReadGif(GifFileType* pGif, GifByteType* pOut, int nBytes) {
    const auto nWanted = static_cast<std::size_t>(nBytes);
    const std::size_t nRead = static_cast<SequentialReader*>(pGif->UserData)->Read(pOut, nWanted);
    if (nRead == 0 && nWanted == 1) {
        *pOut = 0;  // ends the data: a file cut off after the last pixel lacks only that
        return 1;
    }
    return static_cast<int>(nRead);
}

struct GifCloser {
    void operator()(GifFileType* pGif) const { DGifCloseFile(pGif, nullptr); }
};

/// A file, read up to the pixels of its first frame.
class GifFile {
  public:
    explicit GifFile(ByteSource& source) : m_input(source), m_pGif(DGifOpen(&m_input, ReadGif, nullptr)) {
        m_bReady = m_pGif && FindFrame() && IsAcceptable(source.Size());
    }

    bool IsReady() const { return m_bReady; }
    std::uint32_t Width() const { return static_cast<std::uint32_t>(m_pGif->SWidth); }
    std::uint32_t Height() const { return static_cast<std::uint32_t>(m_pGif->SHeight); }
    const GifImageDesc& Frame() const { return m_pGif->Image; }

    /// Whether the canvas can be seen through.
    bool HasAlpha() const {
        const GifImageDesc& frame = Frame();
        return m_nTransparent != NO_TRANSPARENT_COLOR || frame.Left > 0 || frame.Top > 0 ||
               frame.Width < m_pGif->SWidth || frame.Height < m_pGif->SHeight;
    }

    /// By index; black where the file has none.
    Palette Colours() const {
        Palette palette;
        palette.fill({0, 0, 0, 0xFF});
        palette[1] = {0xFF, 0xFF, 0xFF, 0xFF};  // without any table, the second colour is white
        const ColorMapObject* pMap = Frame().ColorMap != nullptr ? Frame().ColorMap : m_pGif->SColorMap;
        const int nColours = pMap != nullptr ? std::min(pMap->ColorCount, 256) : 0;
        for (int i = 0; i < nColours; ++i) {
            const GifColorType& colour = pMap->Colors[i];
            palette[static_cast<std::size_t>(i)] = {colour.Blue, colour.Green, colour.Red, 0xFF};
        }
        if (m_nTransparent != NO_TRANSPARENT_COLOR) palette[static_cast<std::size_t>(m_nTransparent)] = {};
        return palette;
    }

    /// Decodes the next row in the order of the file.
    bool ReadRow(GifPixelType* pRow) { return DGifGetLine(m_pGif.get(), pRow, Frame().Width) == GIF_OK; }

  private:
    bool FindFrame() {
        GifRecordType record;
        while (DGifGetRecordType(m_pGif.get(), &record) == GIF_OK) {
            if (record == IMAGE_DESC_RECORD_TYPE) return DGifGetImageDesc(m_pGif.get()) == GIF_OK;
            if (record != EXTENSION_RECORD_TYPE || !ReadExtension()) return false;
        }
        return false;
    }

    bool ReadExtension() {
        int function = 0;
        GifByteType* pBlock = nullptr;
        if (DGifGetExtension(m_pGif.get(), &function, &pBlock) != GIF_OK) return false;
        while (pBlock != nullptr) {
            GraphicsControlBlock control;
            if (function == GRAPHICS_EXT_FUNC_CODE &&
                DGifExtensionToGCB(pBlock[0], pBlock + 1, &control) == GIF_OK)
                m_nTransparent = control.TransparentColor;
            if (DGifGetExtensionNext(m_pGif.get(), &pBlock) != GIF_OK) return false;
        }
        return true;
    }

    bool IsAcceptable(std::uint64_t nFileSize) const {
        const GifImageDesc& frame = Frame();
        return IsAcceptableSize(Width(), Height()) && frame.Width > 0 && frame.Height > 0 &&
               frame.Left < m_pGif->SWidth && frame.Top < m_pGif->SHeight &&
               IsPlausibleSize(std::uint64_t{Width()} * Height(), nFileSize) && IsFrameAcceptable(frame);
    }

    // An interlaced frame is kept by half, and may be far larger than the screen that shows it.
    bool IsFrameAcceptable(const GifImageDesc& frame) const {
        constexpr std::int64_t kMostKept = std::int64_t{1} << 26;
        return !frame.Interlace || std::int64_t{frame.Width} * frame.Height / 2 <= kMostKept;
    }

    SequentialReader m_input;
    std::unique_ptr<GifFileType, GifCloser> m_pGif;
    int m_nTransparent = NO_TRANSPARENT_COLOR;
    bool m_bReady = false;
};

/// The rows of the frame from the top, whatever their order in the file.
class FrameRows {
  public:
    explicit FrameRows(GifFile& file) : m_file(file), m_row(static_cast<std::size_t>(file.Frame().Width)) {
        if (file.Frame().Interlace) ReadEvenRows();
    }

    /// The next row; null if there is none.
    const GifPixelType* Next() {
        const int row = m_nNext++;
        if (row >= m_file.Frame().Height) return nullptr;
        if (!m_file.Frame().Interlace || (row % 2 != 0 && !m_bCutOff)) {
            m_bCutOff = m_bCutOff || !m_file.ReadRow(m_row.data());
            if (!m_bCutOff) return m_row.data();
        }
        return m_file.Frame().Interlace ? NearestEvenRow(row) : nullptr;
    }

    /// Whether rows are missing.
    bool IsCutOff() const { return m_bCutOff; }

  private:
    // Of the four passes of an interlaced frame the first three hold the even rows. They are kept, each
    // from when it has come; the fourth is decoded on the way down.
    void ReadEvenRows() {
        const int height = m_file.Frame().Height;
        m_evenRows.resize(static_cast<std::size_t>(height + 1) / 2);
        for (const auto& [first, step] : {std::array{0, 8}, std::array{4, 8}, std::array{2, 4}}) {
            for (int row = first; row < height; row += step) {
                if (!m_file.ReadRow(m_row.data())) {
                    m_bCutOff = true;
                    return;
                }
                m_evenRows[static_cast<std::size_t>(row) / 2] = m_row;
            }
        }
    }

    // What has come of a frame that is cut off shows coarsely: a missing row looks like the one above.
    const GifPixelType* NearestEvenRow(int row) const {
        if (m_evenRows[static_cast<std::size_t>(row / 8 * 4)].empty()) return nullptr;
        auto i = static_cast<std::size_t>(row / 2);
        while (m_evenRows[i].empty())
            --i;
        return m_evenRows[i].data();
    }

    GifFile& m_file;
    std::vector<GifPixelType> m_row;
    std::vector<std::vector<GifPixelType>> m_evenRows;
    int m_nNext = 0;
    bool m_bCutOff = false;
};

bool RecogniseGif(std::span<const std::uint8_t> head) {
    return head.size() >= 6 &&
           (std::memcmp(head.data(), "GIF87a", 6) == 0 || std::memcmp(head.data(), "GIF89a", 6) == 0);
}

bool ReadGifInfo(ByteSource& source, PictureInfo& info) {
    const GifFile file(source);
    if (!file.IsReady()) return false;
    info = {file.Width(), file.Height(), file.HasAlpha()};
    return true;
}

void PaintRow(const GifPixelType* pIndices, std::size_t nPixels, const Palette& palette, bool alpha,
              std::uint8_t* pTo) {
    for (std::size_t x = 0; x < nPixels; ++x) {
        const Pixel& pixel = palette[pIndices[x]];
        for (std::size_t i = 0; i < 3; ++i)
            *pTo++ = pixel[i];
        if (alpha) *pTo++ = pixel[3];
    }
}

// The frame on its place on the canvas; around it the canvas is transparent.
bool DecodeCanvas(GifFile& file, const RowShape& shape, RowSink& sink) {
    FrameRows rows(file);
    // The first row of the frame comes before anything is delivered: without it there is no picture.
    const GifPixelType* pIndices = rows.Next();
    if (pIndices == nullptr) return false;

    sink.Begin(shape);
    const std::size_t nPixelBytes = Gdiplus::BytesPerPixel(shape.format);
    std::vector<std::uint8_t> canvasRow(shape.width * nPixelBytes);
    for (int row = 0; row < file.Frame().Top; ++row)
        sink.AddRow(canvasRow.data());
    const auto left = static_cast<std::uint32_t>(file.Frame().Left);
    const std::uint32_t nVisible =
        std::min(static_cast<std::uint32_t>(file.Frame().Width), shape.width - left);
    const Palette palette = file.Colours();
    while (pIndices != nullptr) {
        PaintRow(pIndices, nVisible, palette, nPixelBytes == 4, canvasRow.data() + left * nPixelBytes);
        sink.AddRow(canvasRow.data());
        pIndices = sink.RowsTaken() < shape.height ? rows.Next() : nullptr;
    }
    if (rows.IsCutOff()) return false;
    std::fill(canvasRow.begin(), canvasRow.end(), std::uint8_t{0});
    while (sink.RowsTaken() < shape.height)
        sink.AddRow(canvasRow.data());
    return true;
}

bool DecodeGif(ByteSource& source, const PictureInfo& info, RowSink& sink) {
    GifFile file(source);
    if (!file.IsReady() || file.Width() != info.width || file.Height() != info.height) return false;
    RowShape shape;
    shape.width = info.width;
    shape.height = info.height;
    shape.format = info.alpha ? Gdiplus::PixelFormat32bppARGB : Gdiplus::PixelFormat24bppRGB;
    return DecodeCanvas(file, shape, sink);
}

}  // namespace

const Codec kGifCodec = {RecogniseGif, ReadGifInfo, DecodeGif, nullptr};
