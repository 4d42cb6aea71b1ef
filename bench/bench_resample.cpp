// The resampler alone, against the plain filter that the tests hold it against.

#include "platform/graphics/Resampler.h"
#include "support/Comparison.h"
#include "support/ReferenceResampler.h"
#include "support/SyntheticPhoto.h"

namespace {

using TestSupport::Raster;

constexpr std::uint32_t kWidth = 160;
constexpr std::uint32_t kHeight = 120;

Gdiplus::PixelFormat FormatOf(const Raster& raster) {
    return raster.nChannels == 4 ? Gdiplus::PixelFormat32bppARGB : Gdiplus::PixelFormat24bppRGB;
}

void Resample(const Raster& source, Raster& target) {
    Gdiplus::Resampler resampler(
        {source.nWidth, source.nHeight, target.nWidth, target.nHeight, FormatOf(source), FormatOf(target)},
        target.pixels.data(), static_cast<std::ptrdiff_t>(target.Stride()));
    for (std::uint32_t y = 0; y < source.nHeight; ++y)
        resampler.AddRow(source.Row(y));
}

}  // namespace

int main(int argc, char** argv) {
    Bench::Comparison comparison(argc, argv);
    for (const unsigned channels : {3u, 4u}) {
        for (const std::uint32_t width : {1000u, 500u}) {
            const Raster source = Bench::MakeSyntheticPhoto(width, width * 3 / 4, channels);
            const std::string what = std::to_string(source.nWidth) + " x " + std::to_string(source.nHeight) +
                                     (channels == 4 ? ", with alpha" : "");
            const std::size_t bytes = source.pixels.size();
            comparison.Add(
                "resampler, " + what,
                [source, target = Raster(kWidth, kHeight, channels)]() mutable { Resample(source, target); },
                {}, bytes);
            comparison.Add(
                "plain filter, " + what,
                [source, channels] {
                    TestSupport::ReferenceResample(source, {kWidth, kHeight, channels});
                },
                {"resampler, " + what}, bytes);
        }
    }
    comparison.Run();
}
