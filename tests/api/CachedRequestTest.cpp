// What a request gets, by size, format, file size and what the cache knows of the file; and what the cache
// knows of it afterwards.
#include <algorithm>
#include <cmath>
#include <ostream>

#include "api/CacheInUse.h"
#include "support/PictureWriter.h"

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;

enum class Nature { Picture, Damaged, Video, NoPicture };
enum State { Absent, Cached, Changed };

constexpr TNGSize kPicture{910, 805};
constexpr TNGSize kTiny{100, 80};
constexpr TNGSize kEmbedded{160, 142};
constexpr TNGSize kSmallRendition{32, 28};
constexpr std::size_t kThreshold = 1 << 20;
constexpr std::size_t kFileSizes[] = {kThreshold - 1, kThreshold, kThreshold + 1};

std::uint32_t NumberOf(int content) {
    return 100 + static_cast<std::uint32_t>(content);
}

Raster Whole(int content, TNGSize size = kPicture) {
    return CodedPicture(NumberOf(content), size.nWidth, size.nHeight);
}

struct Kind {
    const char* pszExtension;
    Nature eNature;
    Bytes (*make)(int content);
    bool bKept = false;      // in the cache
    int eEmbeddedMode = -1;  // the source mode for a file that has a thumbnail in it; -1: has none, any mode
    TNGSize size = kPicture;
};

void PrintTo(const Kind& kind, std::ostream* pOut) {
    *pOut << kind.pszExtension;
}

Bytes MakeWithEmbedded(int content) {
    return WithSegment(MakeJpeg(Whole(content)), 0xE1, MakeExif(MakeJpeg(Whole(content, kEmbedded))));
}

const Kind kKinds[] = {
    {".jpg", Nature::Picture, [](int content) { return MakeJpeg(Whole(content)); }, true},
    {".jpeg", Nature::Picture, MakeWithEmbedded, true, TNG_SOURCE_EMBEDDED_OR_DECODE},
    {".jfif", Nature::Picture, MakeWithEmbedded, true, TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE},
    {".JPG", Nature::Picture, MakeWithEmbedded, true, TNG_SOURCE_DECODE_ONLY},
    {".PNG", Nature::Picture, [](int content) { return MakePng(Whole(content)); }},
    {".tiff", Nature::Picture, [](int content) { return MakeTiff(Whole(content), {.compression = 5}); },
     true},
    {".gif", Nature::Picture, [](int content) { return MakeJpeg(Whole(content)); }, true},
    {".webp", Nature::Picture, [](int content) { return MakeWebp(Whole(content), false); }, true},
    {".jpe", Nature::Picture, [](int content) { return MakeJpeg(Whole(content, kTiny)); }, false, -1, kTiny},
    {".tif", Nature::Damaged, [](int) { return Bytes(100, 'x'); }},
    {".mp4", Nature::Video, [](int) { return Bytes(100, 'x'); }},
    {".wav", Nature::NoPicture, [](int) { return Bytes(100, 'x'); }},
    {".xyz", Nature::NoPicture, [](int content) { return MakeJpeg(Whole(content, kTiny)); }},
};

constexpr TNGSize kBoxes[] = {{32, 32}, {160, 160}, {120, 30}, {161, 100}, {400, 400}, {801, 801}};

bool Fits(TNGSize size, std::uint32_t side) {
    return size.nWidth <= side && size.nHeight <= side;
}

// Shrunk into the box; never enlarged.
TNGSize Fit(TNGSize size, TNGSize box) {
    const double scale = std::min({1.0, static_cast<double>(box.nWidth) / size.nWidth,
                                   static_cast<double>(box.nHeight) / size.nHeight});
    const auto side = [=](std::uint32_t n) { return static_cast<std::uint32_t>(std::lround(n * scale)); };
    return {side(size.nWidth), side(size.nHeight)};
}

struct Cell {
    const Kind& kind;
    TNGSize box;
    bool bLargeFile;
    int eMode;
    State eState;
};

struct Expected {
    int eOrigin;
    TNGSize size;
    bool bCached;    // afterwards
    bool bUpToDate;  // what is cached
};

Expected ExpectDefault(const Cell& cell) {
    const bool bCached = cell.kind.eNature == Nature::Video && (Fits(cell.box, 800) || cell.eState == Cached);
    return {ORIGIN_DEFAULT, Fit({240, 240}, cell.box), bCached, bCached};
}

// What is embedded is passed over by mode 1 if it leaves the box unfilled that the file is decoded for.
bool TakesEmbedded(const Cell& cell) {
    if (cell.kind.eEmbeddedMode == -1 || cell.eMode == TNG_SOURCE_DECODE_ONLY) return false;
    if (cell.eMode == TNG_SOURCE_EMBEDDED_OR_DECODE) return true;
    const TNGSize box = cell.bLargeFile && Fits(cell.box, 800) ? TNG_EXTRA_LARGE_BOX
                        : Fits(cell.box, 160)                  ? TNG_LARGE_BOX
                                                               : cell.box;
    return box.nWidth <= kEmbedded.nWidth || box.nHeight <= kEmbedded.nHeight;
}

TNGSize FitRendition(TNGSize box) {
    const bool bSmall = box.nWidth <= 32 || box.nHeight <= 32;
    return Fit(bSmall ? kSmallRendition : kPicture, box);
}

Expected Expect(const Cell& cell) {
    if (cell.kind.eNature != Nature::Picture) return ExpectDefault(cell);
    const bool bSmall = Fits(cell.box, 160);
    const bool bLooksUp = cell.kind.bKept && (bSmall || (cell.bLargeFile && Fits(cell.box, 800)));
    const bool bHad = cell.kind.bKept && cell.eState != Absent;
    if (bLooksUp && cell.eState == Cached) return {ORIGIN_CACHED, FitRendition(cell.box), true, true};
    if (TakesEmbedded(cell)) {
        const bool bStays = bHad && (cell.eState == Cached || !bLooksUp);
        return {ORIGIN_EMBEDDED, Fit(kEmbedded, cell.box), bStays, bStays && cell.eState == Cached};
    }
    // What a flat box yields is less than a rendition.
    const bool bEnough = bSmall || cell.bLargeFile || !Fits(Fit(cell.kind.size, cell.box), 159);
    const bool bStored = cell.kind.bKept && Fits(cell.box, 800) && bEnough;
    return {ORIGIN_DECODED, bSmall && bStored ? FitRendition(cell.box) : Fit(cell.kind.size, cell.box),
            bStored || bHad, bStored || (bHad && cell.eState == Cached)};
}

// The files of a kind that the cells' paths lead to, by file size and content.
class Sources {
  public:
    explicit Sources(const Kind& kind) : m_kind(kind) {
        for (const int content : {0, 1}) {
            Bytes bytes = m_kind.make(content);
            for (const std::size_t nSize : kFileSizes) {
                bytes.resize(nSize);
                m_folder.Add(File(nSize, content), bytes);
                const auto age = std::chrono::hours(10 + content);
                fs::last_write_time(File(nSize, content), fs::file_time_type::clock::now() - age);
            }
        }
    }

    fs::path File(std::size_t nSize, int content) const {
        return m_folder / (std::to_string(nSize) + '-' + std::to_string(content) + m_kind.pszExtension);
    }

    // A path of its own for one cell.
    std::u16string NewPath(std::size_t nSize) {
        m_path = m_folder / (std::to_string(m_nPaths++) + m_kind.pszExtension);
        Put(nSize, 0);
        return TextOf(m_path);
    }
    void Put(std::size_t nSize, int content) const {
        fs::remove(m_path);
        fs::create_hard_link(File(nSize, content), m_path);
    }

  private:
    const Kind& m_kind;
    TemporaryFolder m_folder;
    fs::path m_path;
    int m_nPaths = 0;
};

// A compressed thumbnail, decoded by a request that the cache has no part in.
Raster Decoded(const TemporaryFolder& folder, const Bytes& compressed) {
    const bool bPng = compressed.size() > 1 && compressed[1] == 'P';
    return MakeDecoded(folder.Add(bPng ? "again.png" : "again.jpg", compressed), 801).pixels;
}

void ExpectInCache(const std::u16string& path, const Kind& kind, const Expected& expected) {
    int bCached = -1, bUpToDate = -1;
    EXPECT_EQ(IsFileCached(path.c_str(), &bCached), QXTNG_SUCCESS);
    EXPECT_EQ(bCached, expected.bCached);
    EXPECT_EQ(IsCachedThumbnailUpToDate(path.c_str(), &bUpToDate),
              expected.bCached ? QXTNG_SUCCESS : QXTNG_ERROR_NOT_CACHED);
    EXPECT_EQ(bUpToDate, expected.bUpToDate);
    TNGSize size{7, 7};
    const std::uint32_t results[] = {QXTNG_SUCCESS, QXTNG_ERROR_PRODUCTION_FAILED, QXTNG_ERROR_FAILED,
                                     QXTNG_ERROR_UNSUPPORTED_FILE};
    EXPECT_EQ(GetSizeOriginal(path.c_str(), &size), results[static_cast<int>(kind.eNature)]);
    EXPECT_EQ(size.nHeight, kind.eNature == Nature::Picture ? kind.size.nHeight : 0u);
}

void RunCell(const Cell& cell, std::size_t nFileSize, TNGOutputForm form, Sources& sources) {
    const std::u16string path = sources.NewPath(nFileSize);
    if (cell.eState != Absent) Make(TNG_OUTPUT_IMAGE, path, {100, 100}, TNG_SOURCE_DECODE_ONLY);
    if (cell.eState == Changed) sources.Put(nFileSize, 1);
    Thumbnail shown = Make(form, path, cell.box, cell.eMode);
    const Expected expected = Expect(cell);
    EXPECT_EQ(shown.result, QXTNG_SUCCESS);
    EXPECT_EQ(shown.eOrigin, expected.eOrigin);
    EXPECT_EQ(shown.bDefault, expected.eOrigin == ORIGIN_DEFAULT);
    const TemporaryFolder folder;
    if (form == TNG_OUTPUT_COMPRESSED) shown.pixels = Decoded(folder, shown.compressed);
    EXPECT_NEAR(shown.pixels.nWidth, expected.size.nWidth, 1);
    EXPECT_NEAR(shown.pixels.nHeight, expected.size.nHeight, 1);
    if (cell.kind.eNature == Nature::Picture) {
        EXPECT_EQ(NumberShownBy(shown.pixels), NumberOf(cell.eState == Changed));
    }
    ExpectInCache(path, cell.kind, expected);
}

class CachedRequest : public testing::TestWithParam<Kind> {};

TEST_P(CachedRequest, GetsWhatItShould) {
    ASSERT_EQ(SetThresholdFileSize(1), QXTNG_SUCCESS);
    const Kind& kind = GetParam();
    Sources sources(kind);
    const CacheInUse cache;
    int nCells = 0;
    for (const TNGSize box : kBoxes) {
        for (const std::size_t nFileSize : kFileSizes) {
            for (const State eState : {Absent, Cached, Changed}) {
                for (int i = 0; i < 3; ++i, ++nCells) {
                    const int eMode = kind.eEmbeddedMode == -1 ? nCells / 3 % 3 : kind.eEmbeddedMode;
                    const auto form = static_cast<TNGOutputForm>(i);
                    if (nFileSize > kThreshold && i != nCells / 3 % 3) continue;  // another byte, any form
                    SCOPED_TRACE(testing::Message()
                                 << nFileSize << " bytes, box " << box.nWidth << 'x' << box.nHeight
                                 << ", state " << eState << ", mode " << eMode << ", form " << form);
                    RunCell({kind, box, nFileSize >= kThreshold, eMode, eState}, nFileSize, form, sources);
                }
            }
        }
    }
    EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
    if (cache.Check().statistics.records > 0) {
        EXPECT_EQ(cache.Findings(true), "");
    } else {
        EXPECT_FALSE(kind.bKept);
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, CachedRequest, testing::ValuesIn(kKinds),
                         [](const auto& test) { return std::string(test.param.pszExtension + 1); });

}  // namespace
