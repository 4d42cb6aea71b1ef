#include "RandomWorker.h"

#include <numeric>
#include <stdexcept>
#include <thread>

#include "support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace TestSupport {
namespace {

constexpr auto kPause = std::chrono::milliseconds(1);

}  // namespace

struct RandomWorker::StepKind {
    const char* pszName;
    int nWeight;
    void (*take)(RandomWorker& player, int picture);
};

const RandomWorker::StepKind RandomWorker::kSteps[] = {
    {"show", 300, [](RandomWorker& player, int picture) { player.Show(picture, player.Any(2) ? 160 : 32); }},
    {"large", 60, [](RandomWorker& player, int picture) { player.Show(picture, player.Any(2) ? 400 : 800); }},
    {"query", 60, [](RandomWorker& player, int picture) { player.Query(picture); }},
    {"background", 100, [](RandomWorker& player, int picture) { player.FileBackground(picture); }},
    {"stop", 10, [](RandomWorker& player, int) { player.Stop(player.m_requests[0]); }},
    {"change", 120, [](RandomWorker& player, int) { player.Change(player.OwnPicture(), 2); }},
    {"vanish", 40, [](RandomWorker& player, int) { player.Change(player.OwnPicture(), 1); }},
    {"vanish folder", 6, [](RandomWorker& player, int) { player.VanishFolder(player.OwnPicture()); }},
    {"update", 60, [](RandomWorker& player, int picture) { player.Update(picture); }},
    {"update folder", 30, [](RandomWorker& player, int picture) { player.UpdateFolderOf(picture); }},
    {"update all", 6, [](RandomWorker&, int) { RequireFair(UpdateAllOfCache(), "UpdateAllOfCache"); }},
    {"accept", 20, [](RandomWorker& player, int) { player.Accept(player.OwnPicture()); }},
    {"delete", 50, [](RandomWorker& player, int picture) { player.Delete(picture); }},
    {"delete folder", 12, [](RandomWorker& player, int picture) { player.DeleteFolderOf(picture); }},
    {"locked", 30, [](RandomWorker& player, int picture) { player.UnderLock(picture); }},
    {"load", 10, [](RandomWorker&, int) { RequireFair(InitDB(), "InitDB"); }},
    {"refresh", 2,
     [](RandomWorker&, int) { RequireFair(RefreshDBInSysFileCache(), "Refresh...", QXTNG_ERROR_FAILED); }},
    {"save", 15, [](RandomWorker& player, int) { player.Save(); }},
    {"disable", 2, [](RandomWorker& player, int picture) { player.Disable(picture); }},
    {"move", 4, [](RandomWorker& player, int picture) { player.Move(picture); }},
};

const char* RandomWorker::NameOfStep(int step) {
    return step < std::ssize(kSteps) ? kSteps[step].pszName : nullptr;
}

void RandomWorker::Require(bool bGood, const std::string& what) {
    if (!bGood) throw std::runtime_error(what);
}

// Success, or there is nothing in the cache that could be meant.
void RandomWorker::RequireFair(std::uint32_t result, const char* pszWhat, std::uint32_t fair) {
    Require(result == QXTNG_SUCCESS || result == QXTNG_ERROR_NOT_CACHED || result == fair,
            std::string(pszWhat) + " answers " + std::to_string(result));
}

RandomWorker::RandomWorker(const fs::path& ledger, int slot, unsigned seed)
    : m_run(ledger.parent_path()), m_ledger(ledger), m_nSlot(slot), m_random(seed + 1) {
    static_assert(std::size(kSteps) <= RunLedger::kSteps);
    EXPECT_EQ(SetThresholdFileSize(1), QXTNG_SUCCESS);
    // The ledger may be ahead of the folder that this process was started with.
    char16_t* pszFolder = nullptr;
    GetCacheFolder(&pszFolder);
    while (m_nCache < RunLedger::kCaches && TextOf(RunLedger::CacheOf(m_run, m_nCache)) != pszFolder)
        ++m_nCache;
    HeapFree(GetProcessHeap(), 0, pszFolder);
}

std::u16string RandomWorker::PathOf(int picture) const {
    return TextOf(RunLedger::PathOf(m_run, picture));
}

std::u16string RandomWorker::FolderOf(int picture) const {
    return TextOf(RunLedger::FolderOf(m_run, picture));
}

int RandomWorker::OwnPicture() {
    const int folder = Any(RunLedger::kFolders / RunLedger::kPlayers) * RunLedger::kPlayers + m_nSlot;
    return folder * kInFolder + Any(kInFolder);
}

std::string RandomWorker::Work() {
    std::string answer = "done";
    try {
        Repair(m_nSlot);
        while (!m_ledger->bPause) {
            m_ledger->aBusy[m_nSlot] = true;
            if (m_ledger->nMover == 0) {
                FollowTheMover();
                Step();
                const std::scoped_lock lock(m_guard);
                Require(m_fault.empty(), m_fault);
                continue;
            }
            Drain();
            m_ledger->aBusy[m_nSlot] = false;
            std::this_thread::sleep_for(kPause);
        }
        Drain();
    } catch (const std::exception& e) {
        m_ledger->bFault = true;
        answer = e.what();
        ReleaseCacheLock();  // nobody should wait for this one
    }
    for (Filed& request : m_requests)
        Stop(request);
    m_ledger->aBusy[m_nSlot] = false;
    return answer;
}

std::string RandomWorker::Verify() {
    try {
        for (int slot = 0; slot < RunLedger::kPlayers; ++slot)
            Repair(slot);
        for (const std::uint32_t box : {160u, 32u, 400u}) {
            for (int picture = 0; picture < RunLedger::kPictures; ++picture)
                Require(Show(picture, box).IsFixed(), "pictures change");
        }
        UpdateAllOfCache();  // what is gone leaves the cache, and so does
        Require(ShutDown() == QXTNG_SUCCESS, "ShutDown");
        InitDB();  // what cannot be loaded: none of it is left
        Require(ShutDown() == QXTNG_SUCCESS, "ShutDown");
    } catch (const std::exception& e) {
        return e.what();
    }
    return "right";
}

// Makes the pictures of a player as the ledger says, after one who was killed at it.
void RandomWorker::Repair(int slot) {
    for (int picture = 0; picture < RunLedger::kPictures; ++picture) {
        const std::uint32_t begun = m_ledger->aBegun[picture];
        if (RunLedger::OwnerOf(picture) == slot && m_ledger->aDone[picture] != begun) Bring(picture, begun);
    }
}

// A move by another player takes the files along; whoever comes behind finds nothing to be moved.
void RandomWorker::FollowTheMover() {
    const int cache = m_ledger->nCache;
    if (cache == m_nCache) return;
    Drain();
    const std::uint32_t result = SetCacheFolder(TextOf(RunLedger::CacheOf(m_run, cache)).c_str());
    Require(result == QXTNG_SUCCESS, "following a move answers " + std::to_string(result));
    m_nCache = cache;
}

void RandomWorker::Step() {
    static const int kTickets = std::accumulate(std::begin(kSteps), std::end(kSteps), 0,
                                                [](int sum, const StepKind& k) { return sum + k.nWeight; });
    int ticket = Any(kTickets);
    int step = 0;
    for (; ticket >= kSteps[step].nWeight; ++step)
        ticket -= kSteps[step].nWeight;
    kSteps[step].take(*this, Any(RunLedger::kPictures));
    ++m_ledger->counts[step];
}

}  // namespace TestSupport
