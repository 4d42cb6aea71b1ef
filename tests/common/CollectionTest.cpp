#include <gtest/gtest.h>

#include <set>
#include <string>

#include "common/TNGCollectionBase2.h"
#include "common/TNGThreshold.h"

namespace {

struct Item {
    explicit Item(int& nAlive) : m_nAlive(nAlive) { ++m_nAlive; }
    ~Item() { --m_nAlive; }
    int& m_nAlive;
};

class Collection : public CTNGCollectionBase2<std::u16string, Item> {
  public:
    explicit Collection(bool bOwnsItems = true) { m_bOwnsItems = bOwnsItems; }
};

TEST(Collection, FindsReplacesAndDestroys) {
    for (const bool bOwns : {true, false}) {
        int nAlive = 0;
        const std::unique_ptr<Item> replaced = std::make_unique<Item>(nAlive);
        Item* const items[] = {new Item(nAlive), new Item(nAlive), new Item(nAlive)};
        {
            Collection collection(bOwns);
            Collection::Iterator iterator;
            Item* pItem = nullptr;
            EXPECT_EQ(collection.GetFirstItem(&iterator, &pItem), 0);
            EXPECT_TRUE(collection.AddItemByKey(replaced.get(), u"a"));
            EXPECT_TRUE(collection.AddItemByKey(items[0], u"a"));
            collection.AddItemByKey(items[1], u"");
            collection.AddItemByKey(items[2], u"b");
            EXPECT_EQ(collection.FindItem(u"a"), items[0]);
            EXPECT_EQ(collection.FindItem(u""), items[1]);
            EXPECT_EQ(collection.FindItem(u"A"), nullptr);
            std::multiset<Item*> seen;
            for (int n = collection.GetFirstItem(&iterator, &pItem); n != 0;
                 n = collection.GetNextItem(&iterator, &pItem))
                seen.insert(pItem);
            EXPECT_EQ(seen, std::multiset<Item*>(std::begin(items), std::end(items)));
            EXPECT_TRUE(collection.RemoveItem(u"a"));
            EXPECT_TRUE(collection.RemoveItem(u"a"));
            EXPECT_EQ(collection.FindItem(u"a"), nullptr);
            EXPECT_EQ(nAlive, bOwns ? 3 : 4);
        }
        EXPECT_EQ(nAlive, bOwns ? 1 : 4);
        Collection cleared(bOwns);
        auto* pKept = new Item(nAlive);
        cleared.AddItemByKey(pKept, u"c");
        cleared.ClearItemsByKey(false);
        EXPECT_EQ(cleared.FindItem(u"c"), nullptr);
        cleared.AddItemByKey(pKept, u"c");
        cleared.ClearItemsByKey(true);
        for (int i = 0; i < 3 && !bOwns; ++i)
            delete items[i];
        EXPECT_EQ(nAlive, 1);
    }
}

TEST(Threshold, LooksAtTheLowHalfOfTheSize) {
    const struct {
        std::uint32_t nHigh, nLow;
        bool bLarge;
    } cases[] = {{0, 17u << 20, true}, {0, (17u << 20) - 1, false}, {5, 0, false}, {5, 0xFFFFFFFF, true}};
    for (const auto& c : cases) {
        Platform::WIN32_FIND_DATAW entry;
        entry.nFileSizeHigh = c.nHigh;
        entry.nFileSizeLow = c.nLow;
        EXPECT_EQ(IsLargeFile(entry), c.bLarge) << c.nHigh << ' ' << c.nLow;
    }
}

}  // namespace
