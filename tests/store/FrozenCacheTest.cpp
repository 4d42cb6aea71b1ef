#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "CacheCheck.h"
#include "common/TNGTypes.h"
#include "platform/Text.h"
#include "store/StoreFixture.h"

/// Caches as older or interrupted programs left them, in tests/data: what of them survives a load and a save.
namespace {

namespace fs = std::filesystem;

enum class Mode { AllLists, OneList, IndexOnly };

/// What a load in one mode does with a cache, and a save after it that rewrites and compacts what was loaded.
struct Outcome {
    std::string folders;       // in memory; "one: a.jpg v1" if its list was loaded, else "one"
    std::string deletedFiles;  // by the load
    std::string savedVerdict;  // of the checker, after the save
    std::string readBack;      // folders that a load of all lists finds then
    std::uint32_t result = QXTNG_SUCCESS;
    std::uint32_t saveResult = QXTNG_SUCCESS;
};

struct FrozenCache {
    std::string name;
    std::string verdict;  // of the checker, before the load
    Outcome all, one, index;
};

std::string Join(const std::set<std::string>& texts, const std::string& separator) {
    std::string joined;
    for (const std::string& text : texts)
        joined.append(joined.empty() ? "" : separator).append(text);
    return joined;
}

// The kinds of findings, errors with an exclamation mark.
std::string VerdictOn(const fs::path& folder) {
    std::set<std::string> kinds;
    for (const CacheCheck::Finding& finding : CacheCheck::CheckCache(folder).findings) {
        const std::string mark = finding.severity == CacheCheck::Severity::Error ? "!" : "";
        kinds.insert(mark + NameOf(finding.kind));
    }
    return Join(kinds, " ");
}

// One of the thumbnails in a frozen cache: a text that says whose it is.
std::string ThumbnailOf(const CTNGFileData& record, const TNGSize& requested) {
    const StoreTest::Bytes bytes = StoreTest::ReadThumbnail(*record.m_pFolderMap, record, requested.nWidth);
    return {bytes.begin(), bytes.end()};
}

class Collection : public CTNGFolderMapCollection {
  public:
    std::uint32_t LoadIn(Mode mode) {
        const char16_t* path = mode == Mode::OneList ? u"/pictures/one/a.jpg" : nullptr;
        return Load(StoreTest::kIndexName, path, path != nullptr, mode == Mode::IndexOnly,
                    path ? &m_index : nullptr);
    }

    /// The folders without "/pictures/", in the order of their names.
    std::string Describe() const {
        std::set<std::string> folders;
        for (const auto& [path, pFolderMap] : *m_pTable)
            folders.insert(Describe(*pFolderMap));
        return Join(folders, "; ");
    }

    /// Has the next save rewrite and compact what is loaded.
    void MarkLoaded() {
        for (auto& [path, pFolderMap] : *m_pTable) {
            pFolderMap->m_bListDirty = pFolderMap->m_bListLoaded;
            pFolderMap->m_nStaleBlocks = pFolderMap->m_bListLoaded ? 1 : 0;
        }
    }

    /// The path index holds the last live record of each path, and nothing else.
    void ExpectIndexed() const {
        TNGPathIndex expected;
        for (CTNGFileData* pRecord : LiveRecords())
            expected[pRecord->m_strFilePath] = pRecord;
        EXPECT_EQ(m_index, expected);
    }

    /// Every record with a block gets the thumbnails of its own file.
    void ExpectThumbnails() const {
        for (const CTNGFileData* pRecord : LiveRecords()) {
            if (pRecord->m_nLargeOffset == -1) continue;
            const std::string name = NameOf(*pRecord);
            EXPECT_EQ(ThumbnailOf(*pRecord, TNG_SMALL_BOX), "[" + name + " small]");
            EXPECT_EQ(ThumbnailOf(*pRecord, TNG_LARGE_BOX), "[" + name + " large]");
            if (!HasExtraLarge(*pRecord)) continue;
            EXPECT_EQ(ThumbnailOf(*pRecord, TNG_EXTRA_LARGE_BOX), "[" + name + " extra large]");
        }
    }

  private:
    std::vector<CTNGFileData*> LiveRecords() const {
        std::vector<CTNGFileData*> records;
        for (const auto& [path, pFolderMap] : *m_pTable) {
            for (int i = 0; i < pFolderMap->FileDataList->GetCount(); ++i) {
                CTNGFileData* pRecord = pFolderMap->FileDataList->GetAt(i);
                EXPECT_EQ(pRecord->m_pFolderMap, pFolderMap);
                if (pRecord->m_bDeleted != 1) records.push_back(pRecord);
            }
        }
        return records;
    }

    static std::string NameOf(const CTNGFileData& record) {
        const std::string path = Platform::PathToBytes(record.m_strFilePath);
        return path.substr(path.find_last_of("/\\") + 1);
    }

    static std::string Describe(const CTNGFolderMap& folderMap) {
        const std::string path = Platform::PathToBytes(folderMap.m_strFolderPath);
        std::string text = path.starts_with("/pictures/") ? path.substr(10) : path;
        const int count = folderMap.FileDataList->GetCount();
        for (int i = 0; i < count; ++i) {
            const CTNGFileData& record = *folderMap.FileDataList->GetAt(i);
            text.append(i == 0 ? ": " : ", ").append(NameOf(record));
            text.append(record.m_nVersion == 1 ? " v1" : " v2").append(HasExtraLarge(record) ? " XL" : "");
            text.append(record.m_bDeleted ? " deleted" : "");
        }
        return text.append(folderMap.m_bListLoaded && count == 0 ? ": empty" : "");
    }

    TNGPathIndex m_index;
};

void ExpectOutcome(const FrozenCache& frozen, Mode mode, const Outcome& expected) {
    const StoreTest::Cache cache;
    fs::copy(fs::path(QXTNG_TEST_DATA) / frozen.name, cache / "");
    EXPECT_EQ(VerdictOn(cache / ""), frozen.verdict);
    std::set<std::string> deleted = cache.Names();

    Collection collection;
    EXPECT_EQ(collection.LoadIn(mode), expected.result);
    EXPECT_EQ(collection.Describe(), expected.folders);
    if (mode == Mode::OneList) collection.ExpectIndexed();
    for (const std::string& name : cache.Names())
        deleted.erase(name);
    EXPECT_EQ(Join(deleted, " "), expected.deletedFiles);

    collection.MarkLoaded();
    EXPECT_EQ(collection.SaveFolderMaps(StoreTest::kIndexName, true), expected.saveResult);
    EXPECT_EQ(VerdictOn(cache / ""), expected.savedVerdict);
    Collection again;
    again.LoadIn(Mode::AllLists);
    EXPECT_EQ(again.Describe(), expected.readBack);
    const bool bGoodBlocks =
        !expected.savedVerdict.starts_with("!block") && expected.savedVerdict != "!data-missing";
    if (bGoodBlocks) again.ExpectThumbnails();
}

const std::string kOne = "one: a.jpg v2, b.jpg v2";
const std::string kTwo = "two: c.jpg v2";
const std::string kBoth = kOne + "; " + kTwo;
const std::string kOneLoaded = kOne + "; two";
const std::string kOrphans = "orphan-data orphan-list";  // of one folder or of both

std::vector<FrozenCache> GoodCaches() {
    const std::string mixed = "one: a.jpg v1, gone.jpg v2 deleted, b.jpg v2, c.jpg v1";
    const std::string rewritten = "one: a.jpg v2, b.jpg v2, c.jpg v2";
    const std::string blockless = "one: song.mp3 v2, note.txt v2, film.avi v2, clip.avi v2";
    const std::string large = "one: film.avi v2 XL, scan.tif v2 XL, shrunk.jpg v2";
    const std::string compacted = "one: film.avi v2 XL, scan.tif v2, shrunk.jpg v2";  // the picture is gone
    const std::string notSaved = "index-count-high " + kOrphans;
    return {
        {"two-folders", "", {kBoth, "", "", kBoth}, {kOneLoaded, "", "", kBoth}, {"one; two", "", "", kBoth}},
        {"version-1",
         "",
         {"one: a.jpg v1, b.jpg v1", "", "", kOne},
         {"one: a.jpg v1, b.jpg v1", "", "", kOne},
         {"one", "", "", "one: a.jpg v1, b.jpg v1"}},
        {"mixed-versions",
         "",
         {mixed, "", "", rewritten},
         {mixed, "", "", rewritten},
         {"one", "", "", mixed}},
        {"without-blocks",
         "",
         {blockless, "", "", blockless},
         {blockless, "", "", blockless},
         {"one", "", "", blockless}},
        {"extra-large", "", {large, "", "", compacted}, {large, "", "", compacted}, {"one", "", "", large}},
        {"classic-paths",
         "",
         {"C:\\P: a.jpg v2", "", notSaved, ""},
         {"C:\\P", "", notSaved, ""},
         {"C:\\P", "", notSaved, ""}},
    };
}

std::vector<FrozenCache> DamagedIndexes() {
    const std::string truncated = "!index-truncated " + kOrphans;
    const std::string length = "!index-length " + kOrphans;
    const std::string noNumber = "!folder-number-range";
    const std::string noNumberOrFiles = noNumber + " " + kOrphans;
    const Outcome nothing = {"", "", kOrphans, "", QXTNG_ERROR_FILE_READ};
    const Outcome onlyOne = {kOne, "", kOrphans, kOne};
    const Outcome onlyOneHead = {"one", "", kOrphans, kOne};
    return {
        {"index-cut-in-count", "!index-short " + kOrphans, nothing, nothing, nothing},
        {"index-version-2", "!index-version " + kOrphans, nothing, nothing, nothing},
        {"index-length-negative", length, onlyOne, onlyOne, onlyOneHead},
        {"index-length-huge", length, onlyOne, onlyOne, onlyOneHead},
        {"index-count-low", "!index-count-low " + kOrphans, onlyOne, onlyOne, onlyOneHead},
        {"index-count-high",
         "index-count-high",
         {kBoth, "", "", kBoth},
         {kOneLoaded, "", "", kBoth},
         {"one; two", "", "", kBoth}},
        {"index-cut-in-path",
         truncated,
         onlyOne,
         {kOne, "", "orphan-data orphan-list", kOne},
         {"one", "", "orphan-data orphan-list", kOne}},
        {"index-cut-in-list-name",
         truncated,
         {kOne, "2.db", "orphan-list", kOne},
         {kOneLoaded, "", noNumberOrFiles, kOne},
         {"one; two", "", noNumberOrFiles, kOne}},
        {"index-cut-in-number",
         truncated,
         {kBoth, "", noNumber, kBoth},
         {kOneLoaded, "", noNumber, kBoth},
         {"one; two", "", noNumber, kBoth}},
    };
}

// A list that is given up, with both files.
FrozenCache LostList(const std::string& name, const std::string& verdict) {
    const Outcome all = {kTwo, "1.dat 1.db", "", kTwo};
    return {name, verdict, all, {"two", "1.dat 1.db", "", kTwo}, {"one; two", "", verdict, kTwo}};
}

// A list of which something is kept. A load of the index alone leaves it as it is.
FrozenCache KeptList(const std::string& name, const std::string& verdict, const std::string& one,
                     const std::string& rewritten, const std::string& savedVerdict = "") {
    const std::string both = one + "; " + kTwo;
    const std::string saved = rewritten + "; " + kTwo;
    return {name,
            verdict,
            {both, "", savedVerdict, saved},
            {one + "; two", "", savedVerdict, saved},
            {"one; two", "", verdict, both}};
}

// A text too long for memory is not damage to a load of that list alone: its files stay.
FrozenCache LongText(const std::string& name) {
    FrozenCache frozen = LostList(name, "!list-length");
    frozen.one = {"two", "", kOrphans, kTwo};
    return frozen;
}

std::vector<FrozenCache> DamagedLists() {
    const std::string repeated = kOne + ", b.jpg v2";
    FrozenCache missing = LostList("list-missing", "!list-missing");
    missing.all.deletedFiles = missing.one.deletedFiles = "1.db";
    return {
        missing,
        LostList("list-cut-between-records", "!list-count-high"),
        LostList("list-count-high", "!list-count-high"),
        LostList("list-version-3", "!list-version"),
        LostList("list-length-negative", "!list-length"),
        LongText("list-length-above-limit"),
        LongText("list-length-huge"),
        KeptList("list-data-file-of-another", "!record-data-file", "one: a.jpg v2 deleted, b.jpg v2",
                 "one: b.jpg v2"),
        KeptList("list-cut-in-count", "!list-short", "one: empty", "one: empty"),
        KeptList("list-cut-in-path", "!list-truncated", "one: a.jpg v2, b v2 deleted", "one: a.jpg v2"),
        KeptList("list-cut-before-mark", "!list-truncated", "one: a.jpg v2, b.jpg v2 deleted",
                 "one: a.jpg v2"),
        KeptList("list-cut-behind-mark", "!list-truncated", kOne, kOne),
        KeptList("list-count-low", "list-count-low", "one: a.jpg v2", "one: a.jpg v2"),
        KeptList("list-trailing-bytes", "list-trailing", kOne, kOne),
        KeptList("list-repeated-record", "record-duplicate", repeated, repeated, "record-duplicate"),
    };
}

// A compaction drops the record whose block cannot be read, and that one alone.
FrozenCache LostBlock(const std::string& name, const std::string& verdict) {
    const std::string rest = "one: a.jpg v2; two: c.jpg v2";
    return {
        name, verdict, {kBoth, "", "", rest}, {kOneLoaded, "", "", rest}, {"one; two", "", verdict, kBoth}};
}

// Records whose blocks the data file does not hold do not count.
FrozenCache LostEnd(const std::string& name, const std::string& verdict, const std::string& one,
                    const std::string& rest) {
    return {name,
            verdict,
            {one + "; " + kTwo, "", "", rest + "; " + kTwo},
            {one + "; two", "", "", rest + "; " + kTwo},
            {"one; two", "", verdict, one + "; " + kTwo}};
}

std::vector<FrozenCache> DamagedDataFiles() {
    return {
        LostEnd("data-missing", "!data-missing", "one: a.jpg v2 deleted, b.jpg v2 deleted", "one: empty"),
        LostEnd("data-cut-off", "!block-outside", "one: a.jpg v2, b.jpg v2 deleted", "one: a.jpg v2"),
        LostBlock("data-trailer-overwritten", "!block-trailer"),
    };
}

TEST(FrozenCaches, WhatSurvives) {
    std::size_t tried = 0;
    for (const auto& frozenCaches : {GoodCaches(), DamagedIndexes(), DamagedLists(), DamagedDataFiles()}) {
        for (const FrozenCache& frozen : frozenCaches) {
            SCOPED_TRACE(frozen.name);
            ExpectOutcome(frozen, Mode::AllLists, frozen.all);
            ExpectOutcome(frozen, Mode::OneList, frozen.one);
            ExpectOutcome(frozen, Mode::IndexOnly, frozen.index);
            ++tried;
        }
    }
    const auto isFolder = [](const fs::directory_entry& entry) { return entry.is_directory(); };
    const fs::directory_iterator data(QXTNG_TEST_DATA);
    EXPECT_EQ(std::count_if(begin(data), end(data), isFolder), tried)
        << "every frozen cache has its line here";
}

// Whatever one byte of a list turns into, the other folder is as it was.
TEST(FrozenCaches, DamagedListCostsItsFolderAlone) {
    const fs::path frozen = fs::path(QXTNG_TEST_DATA) / "two-folders";
    for (std::uintmax_t offset = 0; offset < fs::file_size(frozen / "1.dat"); ++offset) {
        for (const char value : {'\0', '\xFF'}) {
            SCOPED_TRACE(std::to_string(offset) + " becomes " + std::to_string(value));
            const StoreTest::Cache cache;
            fs::copy(frozen, cache / "");
            std::fstream list(cache / "1.dat", std::ios::in | std::ios::out | std::ios::binary);
            list.seekp(static_cast<std::streamoff>(offset)).put(value);
            list.close();
            Collection one;
            EXPECT_EQ(one.LoadIn(Mode::OneList), QXTNG_SUCCESS);
            EXPECT_TRUE(one.Describe().ends_with("two")) << one.Describe();
            one.ExpectIndexed();
            Collection all;
            EXPECT_EQ(all.LoadIn(Mode::AllLists), QXTNG_SUCCESS);
            EXPECT_TRUE(all.Describe().ends_with(kTwo)) << all.Describe();
            all.MarkLoaded();
            all.SaveFolderMaps(StoreTest::kIndexName, true);
            VerdictOn(cache / "");
        }
    }
}

}  // namespace
