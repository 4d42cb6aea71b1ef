// A cache that cannot be written to: whoever asks gets the thumbnail all the same, and nothing is wrong once
// it can be written to again.
#include <functional>

#include "api/CacheInUse.h"
#include "support/ResourceLimit.h"
#include "support/SmallDisk.h"

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;

using Obstacle = std::shared_ptr<void>;  // until the end of the scope

// A folder in the place of a file.
Obstacle Block(const fs::path& file) {
    const fs::path kept = file.string() + ".kept";
    fs::rename(file, kept);
    fs::create_directory(file);
    return {nullptr, [=](void*) {
                fs::remove_all(file);
                fs::rename(kept, file);
            }};
}

TEST(CacheFailure, CostsNobodyTheThumbnail) {
    const struct {
        const char* pszWhat;
        bool bDisk;
        bool bCached;  // in memory
        std::function<Obstacle(const CacheInUse&, const SmallDisk*)> obstruct;
    } cases[] = {
        {"no block fits", false, false,
         [](const CacheInUse& cache, const SmallDisk*) {
             return std::make_shared<FileSizeLimit>(fs::file_size(cache / "1.db") + 100);
         }},
        {"an index that cannot be opened", false, true,
         [](const CacheInUse& cache, const SmallDisk*) { return Block(cache / "DirectoryMap.dat"); }},
        {"a full disk", true, false,
         [](const CacheInUse&, const SmallDisk* pDisk) { return pDisk->Fill(0); }},
        {"a read-only disk", true, false,
         [](const CacheInUse&, const SmallDisk* pDisk) { return pDisk->Protect(); }},
        // The last record that cannot be had takes the folder along, which is begun anew.
        {"a data file that cannot be opened", false, true,
         [](const CacheInUse& cache, const SmallDisk*) { return Block(cache / "1.db"); }},
    };
    const Gallery gallery(30, 0), another(3, 100);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszWhat);
        const CacheInUse cache;
        std::unique_ptr<SmallDisk> pDisk;
        if (c.bDisk) pDisk = std::make_unique<SmallDisk>(cache.Path());
        if (pDisk && !pDisk->IsMounted()) continue;
        for (int i = 0; i < 5; ++i)
            MakeDecoded(gallery.Path(i));
        {
            const Obstacle obstacle = c.obstruct(cache, pDisk.get());
            gallery.MakeAll();
            another.MakeAll();
            gallery.MakeAll();
            int bCached = -1;
            EXPECT_EQ(IsFileCached(gallery.Path(20).c_str(), &bCached), QXTNG_SUCCESS);
            EXPECT_EQ(bCached, c.bCached);
        }
        gallery.MakeAll();
        another.MakeAll();
        EXPECT_EQ(gallery.MakeAll() + another.MakeAll(), 33);
        EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
        EXPECT_EQ(cache.Findings(false), "");
        EXPECT_EQ(gallery.MakeAll() + another.MakeAll(), 33) << "saved";
        EXPECT_EQ(cache.Check().statistics.live, 33u);
    }
}

}  // namespace
