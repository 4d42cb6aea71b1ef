// Decoding to a box through the image library's entry, beside what the bare codec takes.
//
//     bench_decode [FILE...]

#include <memory>

#include "iml/Entries.h"
#include "platform/graphics/Image.h"
#include "support/Comparison.h"
#include "support/TestFiles.h"

namespace {

using Bench::TestFile;

constexpr double kPngBar = 1.05;

void DecodeToBox(const TestFile& file, std::uint32_t box) {
    Bench::PictureSize size = Bench::FittedInto(file.size, box);
    Gdiplus::Image* pImage = nullptr;
    const std::int32_t result =
        QXResizeAndLoadFileInImage(file.text.c_str(), &size.nWidth, &size.nHeight, &pImage);
    const std::unique_ptr<Gdiplus::Image> owner(pImage);
    Bench::Require(result == 0 && pImage != nullptr, "the library cannot decode " + file.name);
}

std::vector<std::string> AddBareJpeg(Bench::Comparison& comparison, const TestFile& file) {
    std::vector<std::string> names;
    for (const unsigned eighths : {1u, 2u, 4u, 8u}) {
        const char* pszScale = eighths == 8 ? "full" : eighths == 4 ? "1/2" : eighths == 2 ? "1/4" : "1/8";
        names.push_back(file.name + " bare " + pszScale);
        comparison.Add(names.back(), [&file, eighths] { Bench::DecodeJpegBare(file.bytes, eighths); });
    }
    return names;
}

std::vector<std::string> AddBareWebp(Bench::Comparison& comparison, const TestFile& file) {
    std::vector<std::string> names;
    for (const std::uint32_t box : {160u, 800u}) {
        names.push_back(file.name + " bare to " + std::to_string(box));
        comparison.Add(names.back(), [&file, box] {
            Bench::DecodeWebpBare(file.bytes, Bench::FittedInto(file.size, box));
        });
    }
    return names;
}

void DecodeBare(const TestFile& file) {
    switch (file.kind) {
        case Bench::FileKind::Png:
            return Bench::DecodePngBare(file.bytes);
        case Bench::FileKind::Gif:
            return Bench::DecodeGifBare(file.bytes);
        case Bench::FileKind::Tiff:
            return Bench::DecodeTiffBare(file.path);
        default:
            return Bench::DecodeBmpBare(file.path);
    }
}

// Adds what the bare codec does; returns the names.
std::vector<std::string> AddBare(Bench::Comparison& comparison, const TestFile& file) {
    if (file.kind == Bench::FileKind::Jpeg) return AddBareJpeg(comparison, file);
    if (file.kind == Bench::FileKind::Webp) return AddBareWebp(comparison, file);
    comparison.Add(file.name + " bare", [&file] { DecodeBare(file); });
    return {file.name + " bare"};
}

std::vector<TestFile> FilesToMeasure(const std::vector<std::string>& names,
                                     const Bench::TemporaryFolder& folder) {
    std::vector<TestFile> files;
    for (const std::string& name : names)
        files.push_back(Bench::ReadTestFile(name));
    if (!files.empty()) return files;
    files = Bench::MakeMorePhotographs(folder);
    files.insert(files.begin(), Bench::MakePhotograph(folder));
    for (TestFile& file : Bench::MakeOtherFormats(folder))
        files.push_back(std::move(file));
    return files;
}

}  // namespace

int main(int argc, char** argv) {
    Bench::Comparison comparison(argc, argv);
    const Bench::TemporaryFolder folder;
    const std::vector<TestFile> files = FilesToMeasure(comparison.Files(), folder);
    for (const TestFile& file : files) {
        const std::vector<std::string> bare = AddBare(comparison, file);
        for (const std::uint32_t box : {160u, 800u}) {
            comparison.Add(
                file.name + " library to " + std::to_string(box), [&file, box] { DecodeToBox(file, box); },
                bare);
        }
        if (file.kind == Bench::FileKind::Png)
            comparison.SetBar(file.name + " library to 160", bare[0], kPngBar);
    }
    comparison.Run();
}
