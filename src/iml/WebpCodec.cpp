#include <webp/decode.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include "Codec.h"
#include "Limits.h"
#include "PlausibleSize.h"

namespace {

constexpr std::size_t kHeadBytes = 64;  // enough to tell the features of a bitstream
constexpr std::size_t kChunkHead = 8;   // name, size of the payload
constexpr int kMaxChunks = 100;         // that may come before the first frame of an animation
constexpr unsigned kReducedSize = 3;    // times the target: what libwebp reduces to
constexpr std::size_t kFirstPiece = std::size_t{64} << 10;
constexpr std::size_t kLargestPiece = std::size_t{1} << 20;

/// Where a picture lies in its file, and on its canvas.
struct WebpPicture {
    std::uint32_t canvasWidth = 0;
    std::uint32_t canvasHeight = 0;
    std::uint32_t left = 0;
    std::uint32_t top = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool alpha = false;     // of the canvas
    bool lossless = false;  // false if not known
    ByteRange data;

    bool CoversCanvas() const { return width == canvasWidth && height == canvasHeight; }
};

std::uint32_t Read24(const std::uint8_t* pBytes) {
    return pBytes[0] | static_cast<std::uint32_t>(pBytes[1]) << 8 |
           static_cast<std::uint32_t>(pBytes[2]) << 16;
}

struct Chunk {
    std::array<char, 4> name;
    ByteRange payload;
    std::uint64_t next = 0;

    bool Is(const char* pszName) const { return std::memcmp(name.data(), pszName, name.size()) == 0; }
};

bool ReadChunk(ByteSource& source, std::uint64_t nOffset, Chunk& chunk) {
    std::uint8_t head[kChunkHead];
    if (!source.ReadAllAt(nOffset, head, sizeof(head))) return false;
    std::memcpy(chunk.name.data(), head, chunk.name.size());
    const std::uint64_t nSize = Read24(head + 4) | static_cast<std::uint64_t>(head[7]) << 24;
    chunk.payload = {nOffset + kChunkHead, nSize};
    chunk.next = chunk.payload.offset + nSize + nSize % 2;
    return true;
}

bool ReadFeatures(ByteSource& source, std::uint64_t nOffset, WebPBitstreamFeatures& features) {
    std::uint8_t head[kHeadBytes];
    const std::size_t nRead = source.ReadAt(nOffset, head, sizeof(head));
    return WebPGetFeatures(head, nRead, &features) == VP8_STATUS_OK;
}

// What a frame of an animation holds is a picture without the head of a file: its alpha, if that is apart,
// then its bitstream.
bool ReadFrame(ByteSource& source, const Chunk& frame, WebpPicture& picture) {
    std::uint8_t head[16];
    if (frame.payload.size < sizeof(head) || !source.ReadAllAt(frame.payload.offset, head, sizeof(head)))
        return false;
    picture.left = 2 * Read24(head);
    picture.top = 2 * Read24(head + 3);
    picture.width = 1 + Read24(head + 6);
    picture.height = 1 + Read24(head + 9);
    picture.data = {frame.payload.offset + sizeof(head), frame.payload.size - sizeof(head)};
    if (picture.left + picture.width > picture.canvasWidth ||
        picture.top + picture.height > picture.canvasHeight)
        return false;

    Chunk first;
    if (!ReadChunk(source, picture.data.offset, first)) return false;
    const bool alphaApart = first.Is("ALPH");
    WebPBitstreamFeatures features;
    if (!ReadFeatures(source, alphaApart ? first.next : picture.data.offset, features)) return false;
    picture.alpha = alphaApart || features.has_alpha != 0 || !picture.CoversCanvas();
    picture.lossless = features.format == 2;
    return static_cast<std::uint32_t>(features.width) == picture.width &&
           static_cast<std::uint32_t>(features.height) == picture.height;
}

bool ReadFirstFrame(ByteSource& source, WebpPicture& picture) {
    std::uint64_t nOffset = 12;  // behind the head of the file
    for (int i = 0; i < kMaxChunks; ++i) {
        Chunk chunk;
        if (!ReadChunk(source, nOffset, chunk)) return false;
        if (chunk.Is("ANMF")) return ReadFrame(source, chunk, picture);
        nOffset = chunk.next;
    }
    return false;
}

bool ReadPicture(ByteSource& source, WebpPicture& picture) {
    WebPBitstreamFeatures features;
    if (!ReadFeatures(source, 0, features)) return false;
    picture.canvasWidth = picture.width = static_cast<std::uint32_t>(features.width);
    picture.canvasHeight = picture.height = static_cast<std::uint32_t>(features.height);
    const std::uint64_t nPixels = std::uint64_t{picture.width} * picture.height;
    if (!IsAcceptableSize(picture.width, picture.height) || !IsPlausibleSize(nPixels, source.Size()))
        return false;
    picture.alpha = features.has_alpha != 0;
    picture.lossless = features.format == 2;
    picture.data = {0, source.Size()};
    return features.has_animation == 0 || ReadFirstFrame(source, picture);
}

/// libwebp, fed piece by piece.
class WebpDecoder {
  public:
    WebpDecoder(bool alpha, std::uint32_t nWidth, std::uint32_t nHeight)
        : m_nWidth(nWidth), m_nHeight(nHeight) {
        m_bReady = WebPInitDecoderConfig(&m_config) != 0;
        m_config.output.colorspace = alpha ? MODE_BGRA : MODE_BGR;
    }
    ~WebpDecoder() {
        m_pDecoder.reset();
        WebPFreeDecBuffer(&m_config.output);
    }
    WebpDecoder(const WebpDecoder&) = delete;
    WebpDecoder& operator=(const WebpDecoder&) = delete;

    /// Has the rows come in the size of the decoder, whatever the size of the picture.
    void Scale() {
        m_config.options.use_scaling = 1;
        m_config.options.scaled_width = static_cast<int>(m_nWidth);
        m_config.options.scaled_height = static_cast<int>(m_nHeight);
    }

    bool Start() {
        if (m_bReady) m_pDecoder.reset(WebPIDecode(nullptr, 0, &m_config));
        return m_pDecoder != nullptr;
    }

    /// Takes more of the file. `bDone` tells that no more is needed. False if the file is damaged.
    bool Append(std::span<const std::uint8_t> piece, bool& bDone) {
        const VP8StatusCode status = WebPIAppend(m_pDecoder.get(), piece.data(), piece.size());
        bDone = status == VP8_STATUS_OK;
        return bDone || status == VP8_STATUS_SUSPENDED;
    }

    /// Rows in all, and those decoded so far.
    std::uint32_t Height() const { return m_nHeight; }
    std::uint32_t Rows() {
        int nRows = 0;
        int nWidth = 0;
        int nHeight = 0;
        m_pRows = WebPIDecGetRGB(m_pDecoder.get(), &nRows, &nWidth, &nHeight, &m_nStride);
        const bool asAnnounced = static_cast<std::uint32_t>(nWidth) == m_nWidth &&
                                 static_cast<std::uint32_t>(nHeight) == m_nHeight;
        return m_pRows != nullptr && asAnnounced ? static_cast<std::uint32_t>(std::clamp(nRows, 0, nHeight))
                                                 : 0;
    }

    /// A row below the last answer of Rows().
    const std::uint8_t* Row(std::uint32_t nRow) const {
        return m_pRows + static_cast<std::ptrdiff_t>(nRow) * m_nStride;
    }

  private:
    struct Deleter {
        void operator()(WebPIDecoder* pDecoder) const { WebPIDelete(pDecoder); }
    };

    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    bool m_bReady = false;
    WebPDecoderConfig m_config{};
    std::unique_ptr<WebPIDecoder, Deleter> m_pDecoder;
    const std::uint8_t* m_pRows = nullptr;
    int m_nStride = 0;
};

/// Hands the rows of a picture to the sink, on their place on the canvas.
class Placement {
  public:
    Placement(const WebpPicture& picture, std::uint32_t nPixelBytes, RowSink& sink)
        : m_picture(picture), m_nPixelBytes(nPixelBytes), m_sink(sink) {
        if (!picture.CoversCanvas()) m_canvasRow.resize(std::size_t{picture.canvasWidth} * nPixelBytes);
    }

    void AddRow(const std::uint8_t* pRow) {
        if (m_canvasRow.empty()) return m_sink.AddRow(pRow);
        while (m_sink.RowsTaken() < m_picture.top)
            m_sink.AddRow(m_canvasRow.data());
        std::uint8_t* pTo = m_canvasRow.data() + std::size_t{m_picture.left} * m_nPixelBytes;
        std::memcpy(pTo, pRow, std::size_t{m_picture.width} * m_nPixelBytes);
        m_sink.AddRow(m_canvasRow.data());
    }

    /// All rows of the picture have come.
    void Finish() {
        std::fill(m_canvasRow.begin(), m_canvasRow.end(), std::uint8_t{0});
        if (m_canvasRow.empty()) return;
        while (m_sink.RowsTaken() < m_picture.canvasHeight)
            m_sink.AddRow(m_canvasRow.data());
    }

  private:
    const WebpPicture& m_picture;
    std::uint32_t m_nPixelBytes;
    RowSink& m_sink;
    std::vector<std::uint8_t> m_canvasRow;
};

// Decodes until the data end or the picture is complete. False if it is not.
bool DecodeRows(ByteSource& source, const ByteRange& data, WebpDecoder& decoder, Placement& placement) {
    std::vector<std::uint8_t> piece(kFirstPiece);
    std::uint64_t nDone = 0;
    std::uint32_t nDelivered = 0;
    bool bDone = false;
    while (!bDone) {
        // libwebp copies what it still needs with every piece: many small ones would be slow in long files.
        if (nDone >= 8 * piece.size() && piece.size() < kLargestPiece) piece.resize(2 * piece.size());
        const auto nWanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), data.size - nDone));
        const std::size_t nRead = source.ReadAt(data.offset + nDone, piece.data(), nWanted);
        if (nRead == 0) return false;
        nDone += nRead;
        const bool sound = decoder.Append({piece.data(), nRead}, bDone);
        for (const std::uint32_t nRows = decoder.Rows(); nDelivered < nRows; ++nDelivered)
            placement.AddRow(decoder.Row(nDelivered));
        if (!sound) return false;
    }
    if (nDelivered < decoder.Height()) return false;  // a size other than the header's
    placement.Finish();
    return true;
}

// Has libwebp reduce what is going to be much smaller, to a size that leaves the resampler enough to work
// on. Below half as much again, reducing costs more than it saves. What lies on a canvas keeps its size; so
// does lossy colour with alpha, into which libwebp would mix what is hidden.
bool ReduceShape(const WebpPicture& picture, const RowSink& sink, RowShape& shape) {
    const std::uint64_t nWidth = std::uint64_t{kReducedSize} * sink.TargetWidth();
    const std::uint64_t nHeight = std::uint64_t{kReducedSize} * sink.TargetHeight();
    if (nWidth == 0 || nHeight == 0) return false;
    if (3 * nWidth > 2 * std::uint64_t{shape.width} || 3 * nHeight > 2 * std::uint64_t{shape.height})
        return false;
    if (!picture.CoversCanvas() || (picture.alpha && !picture.lossless)) return false;
    shape.width = static_cast<std::uint32_t>(nWidth);
    shape.height = static_cast<std::uint32_t>(nHeight);
    return true;
}

bool RecogniseWebp(std::span<const std::uint8_t> head) {
    return head.size() >= 12 && std::memcmp(head.data(), "RIFF", 4) == 0 &&
           std::memcmp(head.data() + 8, "WEBP", 4) == 0;
}

// libwebp copies what it has with every piece, chunks that it only skips included.
constexpr std::uint64_t kMaxWebpBytes = std::uint64_t{1} << 26;

bool ReadWebpInfo(ByteSource& source, PictureInfo& info) {
    WebpPicture picture;
    if (source.Size() > kMaxWebpBytes || !ReadPicture(source, picture)) return false;
    info = {picture.canvasWidth, picture.canvasHeight, picture.alpha};
    return true;
}

bool DecodeWebp(ByteSource& source, const PictureInfo& info, RowSink& sink) {
    WebpPicture picture;
    if (!ReadPicture(source, picture) || picture.canvasWidth != info.width ||
        picture.canvasHeight != info.height)
        return false;
    RowShape shape;
    shape.width = info.width;
    shape.height = info.height;
    shape.format = info.alpha ? Gdiplus::PixelFormat32bppARGB : Gdiplus::PixelFormat24bppRGB;
    const bool scaled = ReduceShape(picture, sink, shape);
    WebpDecoder decoder(info.alpha, scaled ? shape.width : picture.width,
                        scaled ? shape.height : picture.height);
    if (scaled) decoder.Scale();
    if (!decoder.Start()) return false;
    sink.Begin(shape);
    Placement placement(picture, Gdiplus::BytesPerPixel(shape.format), sink);
    return DecodeRows(source, picture.data, decoder, placement);
}

}  // namespace

const Codec kWebpCodec = {RecogniseWebp, ReadWebpInfo, DecodeWebp, nullptr};
