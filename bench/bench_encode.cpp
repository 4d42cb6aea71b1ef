// Compressing a thumbnail, beside the bare codec with its default settings.

#include <algorithm>
#include <memory>

#include "iml/Entries.h"
#include "platform/graphics/Image.h"
#include "support/Comparison.h"
#include "support/RowWriters.h"
#include "support/SyntheticPhoto.h"

namespace {

constexpr int kJpegQuality = 95;
constexpr int kPngQuality = 100;

std::shared_ptr<Gdiplus::Bitmap> BitmapOf(const TestSupport::Raster& raster) {
    const auto format = Gdiplus::PixelFormat24bppRGB;
    auto bitmap = std::make_shared<Gdiplus::Bitmap>(static_cast<int>(raster.nWidth),
                                                    static_cast<int>(raster.nHeight), format);
    Gdiplus::BitmapData data;
    Bench::Require(bitmap->LockBits(nullptr, Gdiplus::ImageLockModeWrite, format, &data) == Gdiplus::Ok,
                   "no memory");
    for (std::uint32_t y = 0; y < raster.nHeight; ++y) {
        std::copy_n(raster.Row(y), raster.Stride(),
                    static_cast<std::uint8_t*>(data.Scan0) + std::ptrdiff_t{y} * data.Stride);
    }
    bitmap->UnlockBits(&data);
    return bitmap;
}

void Compress(Gdiplus::Image& image, const char16_t* pszFormat, int nQuality) {
    std::uint8_t* pBuffer = nullptr;
    std::int32_t nBytes = 0;
    Bench::Require(QXSaveQualityImageToMemory(&image, pszFormat, &pBuffer, &nBytes, nQuality) == 0,
                   "the library cannot compress");
    QXFreeMemoryBuffer(pBuffer);
}

}  // namespace

int main(int argc, char** argv) {
    Bench::Comparison comparison(argc, argv);
    for (const std::uint32_t width : {160u, 800u}) {
        const TestSupport::Raster raster = Bench::MakeSyntheticPhoto(width, width * 3 / 4);
        const auto bitmap = BitmapOf(raster);
        const std::string size =
            ", " + std::to_string(raster.nWidth) + " x " + std::to_string(raster.nHeight);
        comparison.Add("bare JPEG" + size, [raster] {
            Bench::WriteToMemory(
                [&](std::FILE* pFile) { Bench::WriteJpeg(pFile, Bench::SourceOf(raster), kJpegQuality); });
        });
        comparison.Add("bare PNG, fastest level" + size, [raster] {
            Bench::WriteToMemory([&](std::FILE* pFile) { Bench::WritePng(pFile, Bench::SourceOf(raster)); });
        });
        comparison.Add("library JPEG" + size, [bitmap] { Compress(*bitmap, u"jpg", kJpegQuality); },
                       {"bare JPEG" + size});
        comparison.Add("library PNG" + size, [bitmap] { Compress(*bitmap, u"png", kPngQuality); },
                       {"bare PNG, fastest level" + size});
    }
    comparison.Run();
}
