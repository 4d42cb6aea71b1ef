// A thumbnail from the cache, beside the bare reading and decoding of the same bytes.
//
//     bench_hit [PICTURE]

#include <cstdio>

#include "platform/Memory.h"
#include "support/Comparison.h"
#include "support/Foreground.h"
#include "support/TestFiles.h"

namespace {

using Bench::Bytes;

constexpr std::uint32_t kBox = 160;
constexpr double kCompressedBar = 0.025;  // ms
constexpr double kImageBar = 1.15;        // times the decode

void RequestCompressed(const std::u16string& path) {
    unsigned char* pBuffer = nullptr;
    long nLength = 0;
    int eOrigin = 0, bDefault = 0;
    QXGenerateThumbnailCompressedBufferInForeGround(path.c_str(), {kBox, kBox}, TNG_SOURCE_DECODE_ONLY,
                                                    &pBuffer, &nLength, &eOrigin, &bDefault);
    Bench::Require(eOrigin == ORIGIN_CACHED, "not from the cache");
    VirtualFree(pBuffer, 0, MEM_RELEASE);
}

void RequestArgb(const std::u16string& path) {
    unsigned char* pBuffer = nullptr;
    TNGSize size{};
    int eOrigin = 0, bDefault = 0;
    QXGenerateThumbnailARBGInForeGround(path.c_str(), {kBox, kBox}, TNG_SOURCE_DECODE_ONLY, &pBuffer, &size,
                                        &eOrigin, &bDefault);
    Bench::Require(eOrigin == ORIGIN_CACHED, "not from the cache");
    HeapFree(GetProcessHeap(), 0, pBuffer);
}

void ReadBare(const std::filesystem::path& file, std::size_t nBytes) {
    std::FILE* const pFile = std::fopen(file.c_str(), "rb");
    Bytes bytes(nBytes);
    Bench::Require(std::fread(bytes.data(), nBytes, 1, pFile) == 1, "the data file is too short");
    std::fclose(pFile);
}

}  // namespace

int main(int argc, char** argv) {
    Bench::Comparison comparison(argc, argv);
    const Bench::TemporaryFolder folder;
    const Bench::TestFile file = comparison.Files().empty() ? Bench::MakePhotograph(folder)
                                                            : Bench::ReadTestFile(comparison.Files()[0]);
    std::filesystem::create_directory(folder / "cache");
    Bench::Require(SetCacheFolder(TestSupport::TextOf(folder / "cache").c_str()) == QXTNG_SUCCESS &&
                       SetCacheEnabled(1) == QXTNG_SUCCESS,
                   "no cache");
    const std::u16string& path = file.text;
    const Bytes packed = Bench::ThumbnailFile(path, kBox, TNG_SOURCE_DECODE_ONLY);

    const std::string read = "bare reading of the block";
    const std::string decode = "bare decode of the thumbnail";
    comparison.Add(read, [&] { ReadBare(folder / "cache/1.db", packed.size()); });
    comparison.Add(decode, [&] { Bench::DecodeJpegBare(packed, 8); });
    comparison.Add("cached, compressed", [&] { RequestCompressed(path); }, {read});
    comparison.Add("cached, image", [&] { Bench::ThumbnailImage(path, kBox, TNG_SOURCE_DECODE_ONLY); },
                   {decode});
    comparison.Add("cached, ARGB", [&] { RequestArgb(path); }, {decode});
    comparison.Add("first request",
                   [&] {
                       DeleteThumbnail(path.c_str());
                       Bench::ThumbnailImage(path, kBox, TNG_SOURCE_DECODE_ONLY);
                   },
                   {"cached, compressed"});
    comparison.SetBar("cached, compressed", "", kCompressedBar);
    comparison.SetBar("cached, image", decode, kImageBar);
    comparison.Run();
    ShutDown();
}
