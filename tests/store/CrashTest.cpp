// Writers that are killed at every system call: what is on disk must be whole, and what a
// record leads to must be its own thumbnail, or recognisably none.
#include <gtest/gtest.h>

#include "common/TNGTypes.h"
#include "locks/KillAtSystemCall.h"
#include "store/CacheSteps.h"

namespace {

using namespace StoreTest;

// The numbers of the pictures in the cache, in their order. Counts those whose thumbnails are not there.
std::vector<int> PicturesOnDisk(int* pnUnreadable) {
    CTNGFolderMapCollection fresh;
    const CTNGFolderMap* pFolder = LoadFolder(fresh);
    for (int i = 0; i < kNeighbours; ++i)
        EXPECT_TRUE(fresh.FindItem(NeighbourPath(i))) << "the index has lost folder " << i;
    std::vector<int> numbers;
    for (int i = 0; pFolder && i < pFolder->FileDataList->GetCount(); ++i) {
        const CTNGFileData& record = *pFolder->FileDataList->GetAt(i);
        const int number = NumberOf(record);
        numbers.push_back(number);
        for (const std::uint32_t box : {160u, 32u}) {
            const Bytes bytes = ReadThumbnail(*pFolder, record, box);
            *pnUnreadable += bytes.empty();
            const bool bOwn = bytes == Thumbnail(static_cast<std::int32_t>(bytes.size()), number);
            EXPECT_TRUE(bOwn) << "picture " << number << " shows another one";
        }
    }
    return numbers;
}

TEST(Crash, AtEverySystemCallLeavesTheOldOrTheNew) {
    const std::vector<int> before = {0, 1, 2, 3, 4, 5};
    const struct {
        const char* pszWhat;
        std::vector<int> after;
    } cases[] = {
        {"append", {0, 1, 2, 3, 4, 5, 20}},
        {"anew", {0, 2, 3, 4, 5, 20}},
        {"rewrite", {0, 2, 3, 4, 5}},
        {"compact", {0, 2, 3, 4, 5}},
    };
    constexpr int kStride = 300 / QXTNG_KILLS;
    int nGivenUp = 0;
    for (const auto& c : cases) {
        bool bGoesOn = true;
        for (int n = 1; bGoesOn; n += kStride) {
            SCOPED_TRACE(std::string(c.pszWhat) + ", system call " + std::to_string(n));
            const Cache cache;
            {
                CTNGFolderMapCollection maps;
                AddNeighbours(maps);
                auto pFolder = NewFolder(u"/a", 1);
                for (const int number : before)
                    AddPicture(*pFolder, NumberedPath(number), number);
                maps.AddItemByKey(pFolder.release(), u"/a");
                ASSERT_EQ(maps.AppendThumbnails(kIndexName), QXTNG_SUCCESS);
            }
            bGoesOn = TestSupport::KillAtSystemCall(n, QXTNG_CACHE_WRITER, {cache / "", c.pszWhat});
            int nUnreadable = 0;
            const std::vector<int> numbers = PicturesOnDisk(&nUnreadable);
            if (std::string_view(c.pszWhat) == "compact" && (numbers.empty() || nUnreadable)) {
                ++nGivenUp;
                continue;
            }
            EXPECT_TRUE((bGoesOn && numbers == before) || numbers == c.after)
                << ::testing::PrintToString(numbers);
            EXPECT_EQ(nUnreadable, 0);
        }
    }
    EXPECT_LE(nGivenUp, 2) << "a compaction may give up the folder only between its two files";
}

}  // namespace
