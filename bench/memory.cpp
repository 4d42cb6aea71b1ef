// Peak memory of a process that makes a thumbnail of a picture of 100 megapixels, beyond that of one that
// only loads the library.
//
//     memory

#include <cstdio>
#include <cstring>
#include <fstream>

#include "support/Foreground.h"
#include "support/RowWriters.h"
#include "support/SyntheticPhoto.h"
#include "support/TemporaryFolder.h"

namespace {

constexpr std::uint32_t kWidth = 11600;
constexpr std::uint32_t kHeight = 8700;
constexpr int kQuality = 90;

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

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--child") == 0) return RunAsChild(argv[2]);
    const TestSupport::TemporaryFolder folder;
    Bench::SyntheticPhoto photo(kWidth, kHeight);
    const Bench::PictureSource source{kWidth, kHeight, 3,
                                      [&](std::uint32_t y, std::uint8_t* pRow) { photo.FillRow(y, pRow); }};
    Bench::WriteToFile(folder / "large.jpg",
                       [&](std::FILE* pFile) { Bench::WriteJpeg(pFile, source, kQuality); });
    Bench::WriteToFile(folder / "large.png", [&](std::FILE* pFile) { Bench::WritePng(pFile, source); });

    const long nothing = PeakOfChild("");
    std::printf("%-28s %8.1f MiB\n", "nothing but loaded", static_cast<double>(nothing) / 1024);
    for (const char* pszName : {"large.jpg", "large.png"}) {
        const double peak = static_cast<double>(PeakOfChild(folder / pszName));
        std::printf("%-28s %8.1f MiB, %.1f MiB more\n", pszName, peak / 1024,
                    (peak - static_cast<double>(nothing)) / 1024);
    }
}
