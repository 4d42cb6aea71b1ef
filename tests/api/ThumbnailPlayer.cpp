// An application that shows thumbnails: thumbnail_player CACHE SEED FOLDER COUNT. It says when it is ready.
// Told "once", it makes the thumbnails 0.jpg to (COUNT - 1).jpg of the folder in any order, and says how many
// it got; told "loop", it makes them for ever.
#include <algorithm>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "api/QxTng.h"
#include "platform/graphics/Image.h"
#include "support/TemporaryFolder.h"

namespace {

bool MakeThumbnail(const std::u16string& path, std::uint32_t box) {
    Gdiplus::Image* pImage = nullptr;
    int eOrigin = -1, bDefault = -1;
    const auto result = QXGenerateThumbnailImageInForeGround(path.c_str(), {box, box}, TNG_SOURCE_DECODE_ONLY,
                                                             &pImage, &eOrigin, &bDefault);
    delete pImage;
    return result == QXTNG_SUCCESS && bDefault == 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    std::mt19937 random(static_cast<unsigned>(std::stoul(argv[2])));
    std::vector<std::u16string> paths;
    for (int i = 0; i < std::stoi(argv[4]); ++i)
        paths.push_back(TestSupport::TextOf(std::string(argv[3]) + '/' + std::to_string(i) + ".jpg"));
    const bool bReady = SetCacheFolder(TestSupport::TextOf(argv[1]).c_str()) == QXTNG_SUCCESS &&
                        SetCacheEnabled(1) == QXTNG_SUCCESS;
    std::cout << (bReady ? "ready" : "failed") << std::endl;
    std::string order;
    while (std::getline(std::cin, order)) {
        std::ptrdiff_t nMade = 0;
        do {
            std::ranges::shuffle(paths, random);
            nMade = std::ranges::count_if(paths, [&](const std::u16string& path) {
                return MakeThumbnail(path, random() % 8 ? 160 : 400);
            });
        } while (order == "loop");
        std::cout << nMade << std::endl;
    }
}
