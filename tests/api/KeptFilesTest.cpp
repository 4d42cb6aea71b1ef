// The files that stay open from one request to the next.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "CacheInUse.h"

namespace {

namespace fs = std::filesystem;
using TestSupport::CacheInUse;
using TestSupport::Gallery;
using TestSupport::TextOf;

// Files of a folder that this process has open, deleted ones among them.
int OpenFilesIn(const fs::path& folder) {
    int nOpen = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        nOpen += fs::read_symlink(entry.path(), error).native().starts_with(folder.native() + '/');
    }
    return nOpen;
}

void Empty(const fs::path& folder) {
    for (const auto& entry : fs::directory_iterator(folder))
        fs::remove(entry.path());
}

TEST(KeptFiles, AreClosedWithTheCache) {
    const TestSupport::TemporaryFolder other;
    const Gallery gallery(2, 0);
    const struct {
        const char* pszWhat;
        std::function<void(const CacheInUse&)> close;
        int nLeft = 0;  // the date-time file, as long as the cache is in use
    } cases[] = {
        {"shut down", [](const CacheInUse&) { ShutDown(); }},
        {"emptied by somebody, and shut down",
         [&](const CacheInUse& cache) {
             Empty(cache.Path());
             int bCached = 0;
             IsFileCached(gallery.Path(0).c_str(), &bCached);
             InitDB();
             ShutDown();
         }},
        {"its folder deleted", [&](const CacheInUse&) { DeleteFolder(gallery.Folder().c_str()); }, 1},
        {"disabled", [](const CacheInUse&) { SetCacheEnabled(0); }},
        {"moved", [&](const CacheInUse&) { SetCacheFolder(TextOf(other.Path()).c_str()); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszWhat);
        const CacheInUse cache;
        gallery.MakeAll();
        EXPECT_EQ(gallery.MakeAll(), gallery.Count());
        EXPECT_EQ(OpenFilesIn(cache.Path()), 2);
        c.close(cache);
        EXPECT_EQ(OpenFilesIn(cache.Path()), c.nLeft);
    }
}

// The files of both caches have the same names, and their blocks the same size.
TEST(KeptFiles, AreThoseOfTheFolderThatIsThere) {
    const TestSupport::TemporaryFolder attic;
    const CacheInUse cache;
    const Gallery gallery(2, 0);
    const Gallery another(2, 2);
    gallery.MakeAll();
    EXPECT_EQ(gallery.MakeAll(), gallery.Count());
    fs::create_directory(attic / "cache");
    for (const auto& entry : fs::directory_iterator(cache.Path()))
        fs::rename(entry.path(), attic / "cache" / entry.path().filename());
    another.MakeAll();
    EXPECT_EQ(another.MakeAll(), another.Count());
    EXPECT_EQ(cache.Findings(true), "");
}

}  // namespace
