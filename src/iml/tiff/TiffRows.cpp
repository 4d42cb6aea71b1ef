#include "TiffRows.h"

#include <algorithm>
#include <cstring>
#include <deque>

#include "iml/PlausibleSize.h"

namespace {

constexpr std::uint64_t kMaxBandBytes = std::uint64_t{256} << 20;

/// Strips, row by row. A strip can only be decoded forwards, so each plane has a reader of its own.
class StripRows final : public TiffRows {
  public:
    StripRows(ByteSource& source, const TiffLayout& layout) {
        for (unsigned i = 0; i < layout.Planes(); ++i)
            m_planes.emplace_back(source).FillUpStrips();
        for (const TiffFile& plane : m_planes) {
            if (!plane.IsOpen()) return;
        }
        const TiffFile& first = m_planes.front();
        m_nPlaneBytes = TIFFScanlineSize64(first.Handle());
        m_nRowsPerStrip = std::max(first.Field<std::uint32_t>(TIFFTAG_ROWSPERSTRIP, 1), 1u);
        m_bCompressed = first.Field<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE) != COMPRESSION_NONE;
        m_bReady =
            m_nPlaneBytes >= layout.PlaneBytes(layout.width) && IsPlausibleSize(m_nPlaneBytes, source.Size());
    }

    bool IsReady() const { return m_bReady; }

    bool Read(std::uint32_t nRow, std::uint8_t* pOut) override {
        std::uint16_t sample = 0;
        for (const TiffFile& plane : m_planes) {
            if (!m_bCompressed && !IsInFile(plane, nRow, sample)) return false;
            if (TIFFReadScanline(plane.Handle(), pOut, nRow, sample++) != 1) return false;
            pOut += m_nPlaneBytes;
        }
        return true;
    }

  private:
    bool IsInFile(const TiffFile& plane, std::uint32_t nRow, std::uint16_t sample) const {
        const std::uint64_t nStrip =
            TIFFGetStrileOffset(plane.Handle(), TIFFComputeStrip(plane.Handle(), nRow, sample));
        const std::uint64_t nRowsToEnd = nRow % m_nRowsPerStrip + 1;
        return nStrip <= plane.Size() && nRowsToEnd <= (plane.Size() - nStrip) / m_nPlaneBytes;
    }

    std::deque<TiffFile> m_planes;
    std::uint32_t m_nRowsPerStrip = 1;
    bool m_bCompressed = true;
    bool m_bReady = false;
};

/// Blocks of some columns and rows. All that lie side by side are held at once: a band.
class BlockRows : public TiffRows {
  public:
    bool Read(std::uint32_t nRow, std::uint8_t* pOut) override {
        const std::uint32_t inBand = nRow % m_nBlockHeight;
        if (inBand == 0 && !LoadBand(nRow)) return false;
        const std::uint64_t nBlockRow = m_nBlockBytes / m_nBlockHeight;
        const std::uint8_t* pBlock = m_pBand.get() + RowInBlock(nRow, inBand) * nBlockRow;
        for (unsigned plane = 0; plane < m_nPlanes; ++plane) {
            for (std::uint64_t done = 0; done < m_nPlaneBytes; done += nBlockRow, pBlock += m_nBlockBytes)
                std::memcpy(pOut + done, pBlock, std::min(nBlockRow, m_nPlaneBytes - done));
            pOut += m_nPlaneBytes;
        }
        return true;
    }

    /// False if the blocks are too large, or do not fit the picture.
    bool Prepare(const TiffLayout& layout) {
        const std::uint64_t nBlockRow = m_nBlockHeight != 0 ? m_nBlockBytes / m_nBlockHeight : 0;
        m_nWidth = layout.width;
        m_nPlanes = layout.Planes();
        m_nPlaneBytes = layout.PlaneBytes(layout.width);
        if (m_nBlockWidth == 0 || nBlockRow * m_nBlockHeight != m_nBlockBytes ||
            nBlockRow * 8 != layout.PlaneBits(m_nBlockWidth) || m_nBlockBytes > kMaxBandBytes)
            return false;
        const std::uint64_t nBlocks = (std::uint64_t{m_nWidth} - 1) / m_nBlockWidth + 1;
        const std::uint64_t nBandBytes = nBlocks * m_nPlanes * m_nBlockBytes;
        if (nBandBytes > kMaxBandBytes || !IsPlausibleSize(nBandBytes, m_file.Size())) return false;
        m_pBand = std::make_unique_for_overwrite<std::uint8_t[]>(nBandBytes);
        return true;
    }

  protected:
    explicit BlockRows(ByteSource& source) : m_file(source) {}

    virtual bool LoadBlock(std::uint32_t x, std::uint32_t y, std::uint16_t plane, std::uint8_t* pOut) = 0;

    // Where a row of the picture lies in its block.
    virtual std::uint32_t RowInBlock(std::uint32_t, std::uint32_t inBand) const { return inBand; }

    TiffFile m_file;
    std::uint32_t m_nBlockWidth = 0;
    std::uint32_t m_nBlockHeight = 0;
    std::uint64_t m_nBlockBytes = 0;

  private:
    bool LoadBand(std::uint32_t y) {
        std::uint8_t* pOut = m_pBand.get();
        for (unsigned plane = 0; plane < m_nPlanes; ++plane) {
            for (std::uint64_t x = 0; x < m_nWidth; x += m_nBlockWidth, pOut += m_nBlockBytes) {
                if (!LoadBlock(static_cast<std::uint32_t>(x), y, static_cast<std::uint16_t>(plane), pOut))
                    return false;
            }
        }
        return true;
    }

    std::uint32_t m_nWidth = 0;
    unsigned m_nPlanes = 1;
    std::unique_ptr<std::uint8_t[]> m_pBand;
};

/// Tiles as they are stored.
class TileRows final : public BlockRows {
  public:
    explicit TileRows(ByteSource& source) : BlockRows(source) {
        if (!m_file.IsOpen()) return;
        m_nBlockWidth = m_file.Field<std::uint32_t>(TIFFTAG_TILEWIDTH, 0);
        m_nBlockHeight = m_file.Field<std::uint32_t>(TIFFTAG_TILELENGTH, 0);
        m_nBlockBytes = TIFFTileSize64(m_file.Handle());
    }

  private:
    bool LoadBlock(std::uint32_t x, std::uint32_t y, std::uint16_t plane, std::uint8_t* pOut) override {
        return TIFFReadTile(m_file.Handle(), pOut, x, y, 0, plane) >= 0;
    }
};

/// Strips or tiles, converted to R, G, B, A by libtiff, bottom row first.
class ConvertedRows final : public BlockRows {
  public:
    ConvertedRows(ByteSource& source, const TiffLayout& layout)
        : BlockRows(source), m_bTiled(layout.tiled), m_nHeight(layout.height) {
        if (!m_file.IsOpen()) return;
        TIFFSetField(m_file.Handle(), TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);  // else libtiff turns it
        m_nBlockWidth = m_bTiled ? m_file.Field<std::uint32_t>(TIFFTAG_TILEWIDTH, 0) : layout.width;
        m_nBlockHeight = m_bTiled ? m_file.Field<std::uint32_t>(TIFFTAG_TILELENGTH, 0)
                                  : std::min(m_file.Field(TIFFTAG_ROWSPERSTRIP, m_nHeight), m_nHeight);
        m_nBlockBytes = std::uint64_t{4} * m_nBlockWidth * m_nBlockHeight;
    }

  private:
    bool LoadBlock(std::uint32_t x, std::uint32_t y, std::uint16_t, std::uint8_t* pOut) override {
        // The band was allocated with new and blocks are whole pixels: pOut is aligned.
        auto* pPixels = reinterpret_cast<std::uint32_t*>(pOut);
        return (m_bTiled ? TIFFReadRGBATileExt(m_file.Handle(), x, y, pPixels, 1)
                         : TIFFReadRGBAStripExt(m_file.Handle(), y, pPixels, 1)) == 1;
    }

    std::uint32_t RowInBlock(std::uint32_t nRow, std::uint32_t inBand) const override {
        const std::uint32_t nRowsInBlock =
            m_bTiled ? m_nBlockHeight : std::min(m_nBlockHeight, m_nHeight - (nRow - inBand));
        return nRowsInBlock - 1 - inBand;
    }

    bool m_bTiled;
    std::uint32_t m_nHeight;
};

}  // namespace

std::unique_ptr<TiffRows> OpenTiffRows(ByteSource& source, const TiffLayout& layout) {
    if (!layout.converted && !layout.tiled) {
        auto pRows = std::make_unique<StripRows>(source, layout);
        return pRows->IsReady() ? std::move(pRows) : nullptr;
    }
    std::unique_ptr<BlockRows> pRows;
    if (layout.converted) {
        pRows = std::make_unique<ConvertedRows>(source, layout);
    } else {
        pRows = std::make_unique<TileRows>(source);
    }
    return pRows->Prepare(layout) ? std::move(pRows) : nullptr;
}
