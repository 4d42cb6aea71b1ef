// Processes at one cache: what they see of each other, and what is left when some of them are killed.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <sstream>
#include <thread>

#include "UsedCache.h"
#include "WorkLedger.h"
#include "locks/OtherProcess.h"
#include "store/StoreFixture.h"

namespace fs = std::filesystem;

namespace {

using CacheUse::LengthOf;
using TestSupport::OtherProcess;
using TestSupport::TemporaryFolder;
using TestSupport::TextOf;

// Keeps all processes out of a cache folder.
class Closure {
  public:
    explicit Closure(const fs::path& folder) {
        CTNGDBMgr::GenerateCacheMutex(TextOf(folder), &m_pMutex);
        EXPECT_EQ(m_pMutex->Lock(TNG_LOCK_WRITE, 30'000), 1);
    }

  private:
    std::shared_ptr<CTNGCacheMutex> m_pMutex;
};

std::set<std::string> Findings(const fs::path& folder) {
    std::set<std::string> names;
    for (const CacheCheck::Finding& finding : CacheCheck::CheckCache(folder).findings)
        names.insert(CacheCheck::NameOf(finding.kind));
    return names;
}

// Sentences like "A add /s/a/1 1 -> 1": who does what, and what comes of it. Without "->" the answer comes in
// a later one, "A -> 1", when others have acted; "A die" has none. A number in brackets is a cache folder: A,
// B and C begin in the first, D in the second.
class Conversation {
  public:
    void Hold(const std::string& text) {
        for (const bool bStart : {true, false}) {
            std::istringstream lines(text);
            for (std::string line; std::getline(lines, line);) {
                std::istringstream statements(line);
                for (std::string words; std::getline(statements >> std::ws, words, ';');)
                    bStart ? Start(words[0]) : Say(words);
            }
        }
    }

    /// Of all folders, when everybody is gone.
    std::set<std::string> End() {
        m_players.clear();
        std::set<std::string> all;
        for (const TemporaryFolder* pFolder : {&m_first, &m_second}) {
            const Closure closure(pFolder->Path());
            all.merge(Findings(pFolder->Path()));
        }
        return all;
    }

  private:
    void Say(const std::string& line) {
        SCOPED_TRACE(line);
        const std::size_t arrow = line.find("->");
        const std::string answer = arrow == std::string::npos ? "" : line.substr(arrow + 3);
        std::string words = line.substr(1, arrow - 1);
        words.erase(words.find_last_not_of(' ') + 1);
        const OtherProcess& player = *m_players[line[0]];
        if (!words.empty()) player.Tell(WithFolders(words.substr(1)));
        if (answer.empty()) return;
        ASSERT_EQ(player.Answer(), answer);
    }

    void Start(char name) {
        std::unique_ptr<OtherProcess>& pPlayer = m_players[name];
        if (pPlayer) return;
        pPlayer = std::make_unique<OtherProcess>(QXTNG_CACHE_PLAYER, std::vector<std::string>());
        EXPECT_EQ(pPlayer->Ask(WithFolders(name < 'D' ? "folder [1]" : "folder [2]")), "0");
        EXPECT_EQ(pPlayer->Ask("enable 1"), "0");
    }

    std::string WithFolders(const std::string& words) const {
        const std::size_t place = words.find('[');
        if (place == std::string::npos) return words;
        const TemporaryFolder& folder = words[place + 1] == '1' ? m_first : m_second;
        return words.substr(0, place) + folder.Path().native() + words.substr(place + 3);
    }

    TemporaryFolder m_first;
    TemporaryFolder m_second{"/dev/shm"};  // on another file system
    std::map<char, std::unique_ptr<OtherProcess>> m_players;
};

TEST(MultiProcess, EachSeesWhatTheOthersDid) {
    const struct {
        const char* pszWhat;
        const char* pszTalk;
    } talks[] = {
        {"additions, from the flush on; a list that has changed takes what was not flushed with it",
         R"(A add /s/a/1 1 -> 1; B look /s/a/1 -> 1; A add /s/a/2 2 -> 1; B look /s/a/2 -> -1
            B add /s/a/3 3 -> 1; B flush -> 1; A look /s/a/3 -> 3; A look /s/a/2 -> -1
            A add /s/b/4 4 -> 1; C init -> 0; C look /s/b/4 -> 4)"},
        {"deletions: of one, of the last of a folder, of a folder, of the last of all",
         R"(A add /s/a/1 1 -> 1; A add /s/b/2 2 -> 1; A add /s/b/3 3 -> 1; A flush -> 1; B look /s/b/3 -> 3
            A delete /s/b/3 -> 0; B look /s/b/3 -> -1; B delete /s/b/3 -> 8
            B delete /s/b/2 -> 0; A look /s/b/2 -> -1; A add /s/c/4 4 -> 1; B look /s/c/4 -> 4
            B rmfolder /s/a -> 0; A look /s/a/1 -> -1
            A delete /s/c/4 -> 0; B look /s/c/4 -> -1; B add /s/a/5 5 -> 1; A look /s/a/5 -> 5)"},
        {"a folder that is given the files of one that another process still knows",
         R"(A add /s/a/1 1 -> 1; B look /s/a/1 -> 1; B rmfolder /s/a -> 0; B add /s/c/3 3 -> 1
            B add /s/a/2 2 -> 1; A look /s/c/3 -> 3; A add /s/c/4 4 -> 1; A flush -> 1
            A look /s/a/2 -> 2; A rmfolder /s/a -> 0; B look /s/c/4 -> 4)"},
        {"its own deletion, which costs it nothing of what is not flushed",
         R"(A add /s/a/1 1 -> 1; A add /s/a/2 2 -> 1; A delete /s/a/1 -> 0; A add /s/a/3 3 -> 1
            B add /s/b/4 4 -> 1; A look /s/b/4 -> 4; A look /s/a/3 -> 3; A flush -> 1; B look /s/a/3 -> 3)"},
        {"the deletion of the whole cache, and the one that follows it",
         R"(A add /s/a/1 1 -> 1; B look /s/a/1 -> 1; A enable 0 -> 0; B look /s/a/1 -> -1
            A init -> 7; B add /s/a/2 2 -> 1; A enable 1 -> 0; A look /s/a/2 -> 2; A look /s/a/1 -> -1)"},
        {"a move to another file system and back",
         R"(A add /s/a/1 1 -> 1; A add /s/a/2 2 -> 1; A flush -> 1; B look /s/a/1 -> 1
            A folder [2] -> 0; B look /s/a/1 -> -1; B add /s/a/3 3 -> 1
            A look /s/a/2 -> 2; A look /s/a/3 -> -1; D look /s/a/2 -> 2; B enable 0 -> 0
            A folder [1] -> 0; D look /s/a/1 -> -1; B enable 1 -> 0; B look /s/a/2 -> 2)"},
        {"what was saved at the end, compacted",
         R"(A add /s/a/1 1 -> 1; A add /s/a/2 2 -> 1; A add /s/a/3 3 -> 1; A delete /s/a/1 -> 0
            B look /s/a/3 -> 3; A shutdown -> 0; B look /s/a/3 -> 3
            B add /s/a/4 4 -> 1; B shutdown -> 0; A look /s/a/4 -> 4)"},
        {"nothing while one of them is inside",
         R"(A hold -> 1; B look /s/a/1; A add /s/a/1 1 -> 1; A leave -> 0; B -> 1
            A lock -> 0; B add /s/a/2 2; C look /s/b/1; A add /s/b/1 1 -> 1; A look /s/a/2 -> -1
            A release -> 0; B -> 1; C -> 1)"},
        {"that one has gone elsewhere for which they waited",
         R"(A add /s/a/1 1 -> 1; A lock -> 0; B look /s/a/1; C init; A folder [2] -> 0; B -> -1; C -> 8
            A release -> 0)"},
        {"the death of the one that holds it",
         R"(A lock -> 0; B add /s/a/1 1; A die; B -> 1; B hold -> 1; C look /s/a/1; B die; C -> 1)"},
    };
    for (const auto& talk : talks) {
        SCOPED_TRACE(talk.pszWhat);
        Conversation conversation;
        conversation.Hold(talk.pszTalk);
        if (HasFatalFailure()) return;
        EXPECT_EQ(conversation.End(), std::set<std::string>());
    }
}

TEST(MultiProcess, ChangesAtFullSpeedAreNotMissed) {
    const TemporaryFolder cache("/dev/shm");
    const TemporaryFolder notes;
    {
        OtherProcess players[] = {{QXTNG_CACHE_PLAYER, {}}, {QXTNG_CACHE_PLAYER, {}}};
        for (int slot = 0; slot < 2; ++slot) {
            EXPECT_EQ(players[slot].Ask("folder " + cache.Path().native()), "0");
            EXPECT_EQ(players[slot].Ask("enable 1"), "0");
            players[slot].Tell("alternate " + (notes / "ledger").native() + ' ' + std::to_string(slot) + ' ' +
                               std::to_string(QXTNG_ROUNDS));
        }
        for (const OtherProcess& player : players)
            EXPECT_EQ(player.Answer(), "done");
    }
    const Closure closure(cache.Path());
    EXPECT_EQ(Findings(cache.Path()), std::set<std::string>());
}

// As a writer leaves it that is killed before it has stamped what it wrote, or whose clock is set back.
TEST(MultiProcess, ChangesAreSeenWhoseTimesGoBack) {
    const CacheUse::UsedCache cache;
    const auto goBack = [&](const char* pszName) {
        fs::last_write_time(cache.Folder() / pszName,
                            fs::file_time_type::clock::now() - std::chrono::hours(1));
    };
    const auto look = [](const char16_t* pszPath) {
        const CTNGCacheEntry entry(u"Look", u"Test");
        CacheUse::DBMgr().SynchronizeCache();
        return CacheUse::Look(pszPath);
    };
    const OtherProcess player(QXTNG_CACHE_PLAYER, {});
    EXPECT_EQ(player.Ask("folder " + cache.Folder().native()), "0");
    EXPECT_EQ(player.Ask("enable 1"), "0");
    EXPECT_EQ(player.Ask("add /t/b/7 7"), "1");
    EXPECT_EQ(player.Ask("flush"), "1");
    goBack("1.dat");
    EXPECT_EQ(look(u"/t/b/7"), 7);
    EXPECT_EQ(player.Ask("add /t/c/8 8"), "1");
    goBack("DirectoryMap.dat");
    EXPECT_EQ(look(u"/t/c/8"), 8);
}

class Crowd {
  public:
    explicit Crowd(int nPlayers) : m_players(static_cast<std::size_t>(nPlayers)) {
        for (int slot = 0; slot < nPlayers; ++slot)
            Start(slot);
    }

    void Start(int slot) {
        auto& pPlayer = m_players[static_cast<std::size_t>(slot)];
        pPlayer = std::make_unique<OtherProcess>(QXTNG_CACHE_PLAYER, std::vector<std::string>());
        EXPECT_EQ(pPlayer->Ask("folder " + (m_cache / "").native()), "0");
        EXPECT_EQ(pPlayer->Ask("enable 1"), "0");
        pPlayer->Tell("work " + (m_notes / "ledger").native() + ' ' + std::to_string(slot) + ' ' +
                      std::to_string(m_nSeed++));
    }

    void KillOne(int slot) {
        m_players[static_cast<std::size_t>(slot)]->Kill();
        ++m_nKills;
        const Closure closure(m_cache / "");
        CheckFindings();
        CheckPictures();
    }

    void Stop() {
        m_ledger->bStop = 1;
        for (const auto& pPlayer : m_players)
            EXPECT_EQ(pPlayer->Answer(), "done");
        EXPECT_LE(m_ledger->inside.nRepairs, m_nKills) << "two were inside";
        EXPECT_EQ(m_ledger->inside.nSum, m_ledger->inside.Total());
        EXPECT_GT(m_ledger->inside.nSum, m_nKills);
        CheckPictures();
        for (const auto& pPlayer : m_players)
            EXPECT_EQ(pPlayer->Ask("shutdown"), "0");
        m_players.clear();
        const Closure closure(m_cache / "");
        CheckFindings();
        CheckPictures();
    }

  private:
    bool IsRemoving() const {
        bool bRemoving = false;
        for (const auto& states : m_ledger->states)
            bRemoving |= std::count(std::begin(states), std::end(states), WorkLedger::Removing) > 0;
        return bRemoving;
    }

    // What a process may leave that dies: blocks and lists of a folder that the index does not have yet,
    // rewritten lists that did not take their place, records that are not counted. And of a folder whose last
    // picture it deleted, one of the files.
    void CheckFindings() {
        std::set<std::string> left = {"orphan-list",    "orphan-data",    "temporary-file", "list-trailing",
                                      "list-count-low", "index-trailing", "date-time-size"};
        if (IsRemoving()) left.insert({"list-missing", "data-missing"});
        for (const std::string& name : Findings(m_cache / ""))
            EXPECT_TRUE(left.contains(name)) << name;
    }

    // Compares the lists with what the players noted, and notes what has become of what a dead one was at.
    void CheckPictures() {
        const std::set<int> found = PicturesOnDisk();
        for (int slot = 0; slot < WorkLedger::kPlayers; ++slot) {
            for (int picture = 0; picture < WorkLedger::kPictures; ++picture) {
                const int number = WorkLedger::NumberOf(slot, picture);
                volatile WorkLedger::State& state = m_ledger->states[slot][picture];
                if (state == WorkLedger::Adding || state == WorkLedger::Removing)
                    state = found.contains(number) ? WorkLedger::Kept : WorkLedger::Gone;
                EXPECT_EQ(found.contains(number), state == WorkLedger::Kept) << "picture " << number;
            }
        }
    }

    std::set<int> PicturesOnDisk() const {
        std::set<int> found;
        CTNGFolderMapCollection fresh;
        fresh.Load(StoreTest::kIndexName, nullptr, false, true, nullptr);
        fresh.ForEach([&](const CTNGFolderMap& folder) {
            folder.FileDataList->LoadList(folder.m_strListFileName, nullptr);
            for (int i = 0; i < folder.FileDataList->GetCount(); ++i) {
                const CTNGFileData& record = *folder.FileDataList->GetAt(i);
                if (record.m_bDeleted || !m_cache.Has(TextOfName(record))) continue;
                const int number = static_cast<int>(record.m_nOriginalWidth);
                EXPECT_EQ(record.m_strFilePath, WorkLedger::PathOf(number));
                EXPECT_EQ(StoreTest::ReadThumbnail(folder, record, 160),
                          StoreTest::Thumbnail(LengthOf(number), number));
                found.insert(number);
            }
        });
        return found;
    }

    static std::string TextOfName(const CTNGFileData& record) {
        return {record.m_strDataFileName.begin(), record.m_strDataFileName.end()};
    }

    StoreTest::Cache m_cache;
    TemporaryFolder m_notes;
    TestSupport::Shared<volatile WorkLedger> m_ledger{m_notes / "ledger"};
    std::vector<std::unique_ptr<OtherProcess>> m_players;
    int m_nKills = 0;
    int m_nSeed = 0;
};

TEST(MultiProcess, KillsLoseNothingThatWasFlushed) {
    std::mt19937 random(std::random_device{}());
    for (const int nPlayers : {2, 8}) {
        SCOPED_TRACE(std::to_string(nPlayers) + " players");
        Crowd crowd(nPlayers);
        for (int kill = 0; kill < QXTNG_KILLS && !HasFailure(); ++kill) {
            SCOPED_TRACE("kill " + std::to_string(kill));
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
            const int slot = static_cast<int>(random() % static_cast<unsigned>(nPlayers));
            crowd.KillOne(slot);
            crowd.Start(slot);
        }
        if (HasFailure()) return;
        crowd.Stop();
    }
}

}  // namespace
