// How close thumbnails come to the best that can be made: the whole picture decoded and reduced with the
// plain filter of the tests. Luma SSIM and PSNR, for pictures fitted into boxes of 160 and 800 pixels.
//
//     quality [JPEG, PNG or WebP FILE...]

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "support/Foreground.h"
#include "support/ImageRaster.h"
#include "support/Quality.h"
#include "support/ReferenceResampler.h"
#include "support/Results.h"
#include "support/TestFiles.h"

namespace {

using TestSupport::Raster;

constexpr const char* kColumns[] = {"160, image", "160, compressed", "800, image", "800, compressed"};
constexpr double kEqual = 99;  // stands for the infinite PSNR of equal pictures

struct Likeness {
    double dSsim = 0;
    double dPsnr = 0;
};

// Alpha is composed over white, as a page shows it.
Raster OnWhite(const Raster& picture) {
    return TestSupport::ReferenceResample(picture, {picture.nWidth, picture.nHeight, 3});
}

Likeness Compare(const Raster& picture, const Raster& whole) {
    const Raster best = TestSupport::ReferenceResample(whole, {picture.nWidth, picture.nHeight, 3});
    const Raster shown = OnWhite(picture);
    return {Bench::LumaSsim(shown, best), std::min(kEqual, Bench::LumaPsnr(shown, best))};
}

void PrintRow(const std::string& name, const Likeness (&likeness)[4]) {
    std::printf("%-24s", name.c_str());
    for (const Likeness& one : likeness)
        std::printf("  %7.4f %6.2f", one.dSsim, one.dPsnr);
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    const TestSupport::TemporaryFolder folder;
    std::vector<Bench::TestFile> files;
    for (int i = 1; i < argc; ++i)
        files.push_back(Bench::ReadTestFile(argv[i]));
    if (files.empty()) {
        files = Bench::MakeMorePhotographs(folder);
        files.insert(files.begin(), Bench::MakePhotograph(folder));
    }
    std::printf("%-24s  %-14s  %-14s  %-14s  %-14s\n", "", "160 image", "160 compressed", "800 image",
                "800 compressed");
    std::printf("%-24s%s\n", "", "     SSIM     dB     SSIM     dB     SSIM     dB     SSIM     dB");
    Likeness mean[4];
    for (const Bench::TestFile& file : files) {
        const Raster whole = Bench::DecodeWhole(file.bytes);
        Likeness likeness[4];
        std::size_t column = 0;
        for (const std::uint32_t box : {160u, 800u}) {
            const auto image = Bench::ThumbnailImage(file.text, box, TNG_SOURCE_DECODE_ONLY);
            likeness[column++] = Compare(TestSupport::RasterOf(image.get()), whole);
            const Bench::Bytes compressed = Bench::ThumbnailFile(file.text, box, TNG_SOURCE_DECODE_ONLY);
            likeness[column++] = Compare(Bench::DecodeWhole(compressed), whole);
        }
        PrintRow(file.name, likeness);
        for (std::size_t i = 0; i < column; ++i) {
            mean[i].dSsim += likeness[i].dSsim / static_cast<double>(files.size());
            mean[i].dPsnr += likeness[i].dPsnr / static_cast<double>(files.size());
        }
    }
    PrintRow("mean", mean);
    for (std::size_t i = 0; i < std::size(mean); ++i) {
        const std::string name = std::string("mean quality at ") + kColumns[i];
        Bench::Record({name + ", luma SSIM", mean[i].dSsim, "", "", 0, i < 2 ? 0.985 : 0.990, true});
        Bench::Record({name + ", luma PSNR", mean[i].dPsnr, "dB", "", 0, 44.0, true});
    }
}
