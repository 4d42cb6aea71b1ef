// Peak memory of a process that makes a thumbnail of a very large picture, beyond that of one that only loads
// the library.
//
//     memory

#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <optional>

#include "support/Foreground.h"
#include "support/Results.h"
#include "support/RowWriters.h"
#include "support/SyntheticPhoto.h"
#include "support/TemporaryFolder.h"

namespace {

constexpr int kQuality = 90;
constexpr double kProgressiveBar = 16;  // MiB

// The peak of this process, in KiB. (What getrusage tells would include the process that started this one.)
long PeakMemory() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with("VmHWM:")) return std::stol(line.substr(std::strlen("VmHWM:")));
    }
    return 0;
}

// What a process started for one file, or for none, does.
int RunAsChild(const std::string& file) {
    if (file.empty()) {
        int bEnabled = 0;
        GetCacheEnabled(&bEnabled);
    } else {
        Bench::ThumbnailImage(TestSupport::TextOf(file), 160, TNG_SOURCE_DECODE_ONLY);
    }
    std::printf("%ld\n", PeakMemory());
    return 0;
}

long PeakOfChild(const std::string& file) {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    std::FILE* pOutput = popen(("'" + self + "' --child '" + file + "'").c_str(), "r");
    Bench::Require(pOutput != nullptr, "cannot start a process");
    long peak = 0;
    const bool bRead = std::fscanf(pOutput, "%ld", &peak) == 1;
    Bench::Require(pclose(pOutput) == 0 && bRead, "no thumbnail of " + file);
    return peak;
}

struct LargePicture {
    const char* pszName;
    const char* pszFile;
    std::uint32_t nWidth;
    std::uint32_t nHeight;
    std::function<void(std::FILE*, const Bench::PictureSource&)> write;
    std::optional<double> bar;  // MiB above idle
};

void Measure(const LargePicture& picture, const std::string& file, long nothing) {
    Bench::SyntheticPhoto photo(picture.nWidth, picture.nHeight);
    const Bench::PictureSource source{picture.nWidth, picture.nHeight, 3,
                                      [&](std::uint32_t y, std::uint8_t* pRow) { photo.FillRow(y, pRow); }};
    Bench::WriteToFile(file, [&](std::FILE* pFile) { picture.write(pFile, source); });
    const double peak = static_cast<double>(PeakOfChild(file)) / 1024;
    const double more = peak - static_cast<double>(nothing) / 1024;
    std::printf("%-28s %8.1f MiB, %.1f MiB more\n", picture.pszName, peak, more);
    Bench::Record({std::string("memory above idle, ") + picture.pszName, more, "MiB", "", 0, picture.bar});
}

}  // namespace

int main(int argc, char** argv) {
    using Bench::JpegProcess;
    if (argc == 3 && std::strcmp(argv[1], "--child") == 0) return RunAsChild(argv[2]);
    const LargePicture pictures[] = {
        {"100 megapixels, JPEG",
         "large.jpg",
         11600,
         8700,
         [](std::FILE* pFile, const auto& source) { Bench::WriteJpeg(pFile, source, kQuality); },
         {}},
        {"50 megapixels, progressive", "progressive.jpg", 8200, 6150,
         [](std::FILE* pFile, const auto& source) {
             Bench::WriteJpeg(pFile, source, kQuality, JpegProcess::Progressive);
         },
         kProgressiveBar},
        {"100 megapixels, PNG",
         "large.png",
         11600,
         8700,
         [](std::FILE* pFile, const auto& source) { Bench::WritePng(pFile, source); },
         {}},
    };
    const TestSupport::TemporaryFolder folder;
    const long nothing = PeakOfChild("");
    std::printf("%-28s %8.1f MiB\n", "nothing but loaded", static_cast<double>(nothing) / 1024);
    for (const LargePicture& picture : pictures)
        Measure(picture, folder / picture.pszFile, nothing);
}
