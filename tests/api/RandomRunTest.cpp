// Processes that do to one cache, at random, whatever a client can do, while the sources change and vanish,
// and some of them are killed. Whatever any of them is shown has to be right; with all of them at rest, the
// files have to be whole. QXTNG_RANDOM_RUN_SECONDS sets how long it runs, QXTNG_RANDOM_RUN_SEED repeats what
// the players do, though not how they meet.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <random>
#include <set>
#include <thread>

#include "CacheCheck.h"
#include "api/RandomWorker.h"
#include "locks/OtherProcess.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

unsigned Setting(const char* pszName, unsigned usual) {
    const char* pszValue = std::getenv(pszName);
    return pszValue ? static_cast<unsigned>(std::strtoul(pszValue, nullptr, 10)) : usual;
}

class RandomRun : public testing::Test {
  protected:
    RandomRun() {
        for (int cache = 0; cache + 1 < RunLedger::kCaches; ++cache)
            fs::create_directory(RunLedger::CacheOf(m_run.Path(), cache));
        fs::create_directory_symlink(m_shm.Path(), RunLedger::CacheOf(m_run.Path(), RunLedger::kCaches - 1));
        for (auto& version : m_ledger->aBegun)
            version = 2;  // whoever owns it makes it
    }

    void Play(Clock::time_point end, bool bKills) {
        m_ledger->bPause = false;
        for (int slot = 0; slot < RunLedger::kPlayers; ++slot)
            Tell(slot);
        while (Clock::now() < end && !m_ledger->bFault) {
            std::this_thread::sleep_for(milliseconds(m_random() % 300));
            if (!bKills || m_ledger->bFault || m_random() % 2) continue;
            const int slot = static_cast<int>(m_random() % RunLedger::kPlayers);
            Kill(slot);
            Tell(slot);
        }
        const bool bKillAll = bKills && !m_ledger->bFault && m_random() % 2;
        m_ledger->bPause = true;
        for (int slot = 0; slot < RunLedger::kPlayers; ++slot) {
            if (bKillAll)
                Kill(slot);
            else
                EXPECT_EQ(m_players[slot]->Answer(), "done");
        }
    }

    void ExpectAllRight(bool bKills) {
        const fs::path cache = RunLedger::CacheOf(m_run.Path(), m_ledger->nCache);
        // Of one who was killed as it deleted a folder, or between the two files of a compaction.
        const std::set<std::string> left = {"list-missing", "data-missing", "block-trailer", "block-outside",
                                            "block-overlap"};
        ExpectWhole(cache, bKills ? left : std::set<std::string>());
        OtherProcess fresh(QXTNG_THUMBNAIL_PLAYER, {cache});
        EXPECT_EQ(fresh.Ask("verify " + Arguments(0)), "right");
        ExpectWhole(cache, {});
    }

    void Report(std::ostream& out, unsigned seconds) const {
        std::uint64_t total = 0;
        for (const auto& count : m_ledger->counts)
            total += count;
        out << "random run: " << seconds << " s, " << total << " steps, " << m_nKills << " kills"
            << std::endl;
    }

    std::uint64_t CountOf(int step) const { return m_ledger->counts[step]; }

    std::mt19937 m_random;

  private:
    static void ExpectWhole(const fs::path& cache, const std::set<std::string>& allowed) {
        for (const CacheCheck::Finding& finding : CacheCheck::CheckCache(cache).findings) {
            const std::string name = NameOf(finding.kind);
            EXPECT_TRUE(finding.severity == CacheCheck::Severity::Warning || allowed.contains(name))
                << name << ' ' << finding.file << ": " << finding.text;
        }
    }

    std::string Arguments(int slot) {
        return (m_run / "ledger").native() + ' ' + std::to_string(slot) + ' ' + std::to_string(m_random());
    }

    void Tell(int slot) {
        const fs::path cache = RunLedger::CacheOf(m_run.Path(), m_ledger->nCache);
        auto& pPlayer = m_players[slot];
        if (!pPlayer) pPlayer = std::make_unique<OtherProcess>(QXTNG_THUMBNAIL_PLAYER, Words{cache});
        pPlayer->Tell("work " + Arguments(slot));
    }

    // And takes it out of the ledger, where nobody should wait for it.
    void Kill(int slot) {
        m_players[slot].reset();
        ++m_nKills;
        m_ledger->aBusy[slot] = false;
        if (m_ledger->nMover == slot + 1) m_ledger->nMover = 0;
    }

    using Words = std::vector<std::string>;

    TemporaryFolder m_run;
    TemporaryFolder m_shm{"/dev/shm"};
    Shared<RunLedger> m_ledger{m_run / "ledger"};
    std::unique_ptr<OtherProcess> m_players[RunLedger::kPlayers];
    int m_nKills = 0;
};

TEST_F(RandomRun, EveryPictureIsRight) {
    const unsigned seconds = Setting("QXTNG_RANDOM_RUN_SECONDS", 10);
    const unsigned seed = Setting("QXTNG_RANDOM_RUN_SEED", std::random_device()());
    std::cout << "random run: seed " << seed << std::endl;
    m_random.seed(seed);
    const auto start = Clock::now();
    const unsigned phase = std::clamp(seconds / 4, 1u, 10u);
    bool bKills = true;
    for (unsigned passed = 0; passed < seconds && !HasFailure(); bKills = !bKills) {
        SCOPED_TRACE(testing::Message() << "after " << passed << " s, seed " << seed);
        Play(Clock::now() + std::chrono::seconds(phase), bKills);
        ExpectAllRight(bKills);
        passed = static_cast<unsigned>((Clock::now() - start) / std::chrono::seconds(1));
        Report(std::cout, passed);
    }
    for (int step = 0; RandomWorker::NameOfStep(step); ++step)
        std::cout << "  " << RandomWorker::NameOfStep(step) << ": " << CountOf(step) << '\n';
}

}  // namespace
