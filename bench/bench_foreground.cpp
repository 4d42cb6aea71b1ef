// Whole foreground calls, without a cache, beside what the bare codec takes for the same file.
//
//     bench_foreground [JPEG FILE...]

#include <algorithm>

#include "support/Comparison.h"
#include "support/Foreground.h"
#include "support/TestFiles.h"

namespace {

using Bench::TestFile;

// For pictures that are large enough to be reduced to an eighth for 160 pixels, and to a quarter or a half
// for 800.
void SetBars(Bench::Comparison& comparison, const TestFile& file, const std::vector<std::string>& bare) {
    constexpr double kBaseline = 0.58;     // AC coefficients are stepped over
    constexpr double kProgressive = 0.15;  // their scans are not even read
    constexpr double kLarge = 1.05;
    const std::uint32_t side = std::max(file.size.nWidth, file.size.nHeight);
    if (side < 160 * 20) return;
    const bool bProgressive = Bench::IsProgressiveJpeg(file.bytes);
    comparison.SetBar(file.name + " image to 160", bare[0], bProgressive ? kProgressive : kBaseline);
    comparison.SetBar(file.name + " image to 800", bare[side >= 800 * 5 ? 1 : 2], kLarge);
}

void AddFile(Bench::Comparison& comparison, const TestFile& file) {
    const std::vector<std::string> bare = {file.name + " bare 1/8", file.name + " bare 1/4",
                                           file.name + " bare 1/2"};
    const std::u16string& path = file.text;
    for (std::size_t i = 0; i < bare.size(); ++i)
        comparison.Add(bare[i], [&file, i] { Bench::DecodeJpegBare(file.bytes, 1u << i); });
    for (const std::uint32_t box : {160u, 800u}) {
        const std::string to = " to " + std::to_string(box);
        comparison.Add(
            file.name + " image" + to,
            [path, box] { Bench::ThumbnailImage(path, box, TNG_SOURCE_DECODE_ONLY); }, bare);
        comparison.Add(
            file.name + " compressed" + to,
            [path, box] { Bench::ThumbnailFile(path, box, TNG_SOURCE_DECODE_ONLY); }, bare);
    }
    comparison.Add(file.name + " image to 160, embedded or decoded",
                   [path] { Bench::ThumbnailImage(path, 160, TNG_SOURCE_EMBEDDED_OR_DECODE); }, {bare[0]});
    SetBars(comparison, file, bare);
}

}  // namespace

int main(int argc, char** argv) {
    Bench::Comparison comparison(argc, argv);
    const Bench::TemporaryFolder folder;
    std::vector<TestFile> files;
    for (const std::string& name : comparison.Files())
        files.push_back(Bench::ReadTestFile(name));
    if (files.empty()) files = {Bench::MakePhotograph(folder), Bench::MakeProgressivePhotograph(folder)};
    for (const TestFile& file : files) {
        Bench::Require(file.kind == Bench::FileKind::Jpeg, file.name + " is not a JPEG");
        AddFile(comparison, file);
    }
    comparison.Run();
}
