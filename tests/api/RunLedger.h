#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>

/// What the players of a random run note for each other and for the one who runs them. Lies beside the
/// folders of the cache and of the sources.
struct RunLedger {
    static constexpr int kPlayers = 3;
    static constexpr int kCaches = 3;
    static constexpr int kFolders = 6;  // each changed by one player alone
    static constexpr int kPicturesOfFolder = 8;
    static constexpr int kPictures = kFolders * kPicturesOfFolder;
    static constexpr int kSteps = 24;

    std::atomic<bool> bPause;
    std::atomic<bool> bFault;
    std::atomic<int> nCache;  // the folder of the cache
    std::atomic<int> nMover;  // 1 + the player who moves it, and for whom the others stay out
    std::atomic<bool> aBusy[kPlayers];
    // The version of a picture: an even one is a picture, an odd one is none. It is begun, then done.
    std::atomic<std::uint32_t> aBegun[kPictures];
    std::atomic<std::uint32_t> aDone[kPictures];
    std::atomic<std::uint64_t> counts[kSteps];  // as RandomWorker numbers them

    static int OwnerOf(int picture) { return picture / kPicturesOfFolder % kPlayers; }
    static std::filesystem::path FolderOf(const std::filesystem::path& run, int picture) {
        return run / ("source" + std::to_string(picture / kPicturesOfFolder));
    }
    static std::filesystem::path PathOf(const std::filesystem::path& run, int picture) {
        return FolderOf(run, picture) / (std::to_string(picture) + ".jpg");
    }
    /// A link, since one of them is on another file system.
    static std::filesystem::path CacheOf(const std::filesystem::path& run, int cache) {
        return run / ("cache" + std::to_string(cache));
    }
};
