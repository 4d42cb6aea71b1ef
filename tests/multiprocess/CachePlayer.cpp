// One of several processes at a cache. It does what it is told by lines, and answers each by one line: a
// result code, or what it was asked for.
//     folder PATH, enable 0|1, init, init PATH, lock, release, shutdown: the exports
//     add PATH NUMBER, flush, look PATH, delete PATH, rmfolder PATH: in the cache for this one thing
//     hold, leave: stays in the cache
//     alternate LEDGER SLOT ROUNDS: adds by turns with another player, and looks what that one added
//     work LEDGER SLOT SEED: adds, looks up and deletes at random, until told to stop by the ledger
//     exit, die: ends, saving nothing; or by SIGKILL
#include <csignal>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "CacheUse.h"
#include "WorkLedger.h"
#include "api/QxTng.h"
#include "locks/TNGCacheEntry.h"
#include "platform/Text.h"

namespace {

using namespace CacheUse;
using Ledger = TestSupport::Shared<volatile WorkLedger>;

constexpr char16_t kSource[] = u"CachePlayer";

void Require(bool bGood, const std::string& what) {
    if (!bGood) throw std::runtime_error(what);
}

// What is done in the cache by one entry, in step with the other processes.
template <typename Work>
auto InCache(Work work) {
    const CTNGCacheEntry entry(u"CachePlayer", kSource);
    Require(entry.IsIn(), "the cache cannot be entered");
    DBMgr().SynchronizeIfLoaded();
    return work();
}

// Finds out if another one is in the cache, too.
class Inside {
  public:
    Inside(const Ledger& ledger, std::size_t slot) : m_inside(ledger->inside) {
        m_inside.Repair();
        m_inside.bInside = 1;
        m_nSum = m_inside.nSum;
        volatile std::int64_t& count = m_inside.counts[slot % TestSupport::Ledger::kPlayers];
        count = count + 1;
    }
    ~Inside() {
        m_inside.nSum = m_nSum + 1;
        m_inside.bInside = 0;
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

  private:
    volatile TestSupport::Ledger& m_inside;
    std::int64_t m_nSum = 0;
};

void ChangeOne(const Ledger& ledger, int slot, int picture, bool bLookOnly) {
    const Inside inside(ledger, static_cast<std::size_t>(slot));
    volatile WorkLedger::State& state = ledger->states[slot][picture];
    const int number = WorkLedger::NumberOf(slot, picture);
    const std::u16string path = WorkLedger::PathOf(number);
    const int expected = state == WorkLedger::Kept ? number : kNone;
    const int found = Look(path);
    Require(found == expected, "picture " + std::to_string(number) + " is found as " + std::to_string(found));
    if (bLookOnly) return;
    if (state == WorkLedger::Kept) {
        state = WorkLedger::Removing;
        Require(Delete(path) == QXTNG_SUCCESS, "a picture cannot be deleted");
        state = WorkLedger::Gone;
    } else {
        state = WorkLedger::Adding;
        Require(Add(path, number) && Flush(), "a picture cannot be added");
        state = WorkLedger::Kept;
    }
}

std::string Work(std::istream& in) {
    std::string path;
    int slot = 0;
    unsigned seed = 0;
    in >> path >> slot >> seed;
    const Ledger ledger(path);
    std::minstd_rand random(seed + 1);
    while (!ledger->bStop) {
        const int picture = static_cast<int>(random() % WorkLedger::kPictures);
        const bool bLookOnly = random() % 3 == 0;
        const bool bClient = random() % 8 == 0;
        if (bClient) Require(LockCache() == QXTNG_SUCCESS, "LockCache");
        InCache([&] { ChangeOne(ledger, slot, picture, bLookOnly); });
        if (bClient) Require(ReleaseCacheLock() == QXTNG_SUCCESS, "ReleaseCacheLock");
    }
    return "done";
}

// Each finds what the other one flushed just before, however short the time in between. Now and then it takes
// away its own.
std::string Alternate(std::istream& in) {
    constexpr int kBatch = 16;
    std::string path;
    int slot = 0;
    int rounds = 0;
    in >> path >> slot >> rounds;
    const Ledger ledger(path);
    for (int round = 1; round <= rounds && !ledger->bStop; ++round) {
        while (ledger->nTurn != slot && !ledger->bStop)
            std::this_thread::yield();
        InCache([&] {
            const auto pathOf = [](int player, int last) {
                return std::u16string(player == 0 ? u"/turns/a" : u"/turns/b") + static_cast<char16_t>(last);
            };
            const int other = ledger->aLast[1 - slot];
            const bool bFound = other == 0 || Look(pathOf(1 - slot, other)) == other;
            if (!bFound) ledger->bStop = 1;
            Require(bFound, "what was flushed is missing in round " + std::to_string(round));
            const int next = ledger->aLast[slot] % (63 * kBatch) + 1;
            Require(Add(pathOf(slot, next), next) && Flush(), "a picture cannot be added");
            for (int old = next - kBatch; next % kBatch == 0 && ++old < next;)
                Require(Delete(pathOf(slot, old)) == QXTNG_SUCCESS, "one cannot be deleted");
            ledger->aLast[slot] = next;
        });
        ledger->nTurn = 1 - slot;
    }
    return "done";
}

class Player {
  public:
    std::string Do(const std::string& line) {
        std::istringstream in(line);
        std::string word;
        in >> word;
        const auto found = m_commands.find(word);
        return found == m_commands.end() ? "unknown" : found->second(in);
    }

  private:
    static std::u16string Path(std::istream& in) {
        std::string path;
        in >> path;
        return Platform::PathFromBytes(path);
    }
    static int Number(std::istream& in) {
        int number = 0;
        in >> number;
        return number;
    }
    static std::uint32_t Init(const std::u16string& path) {
        return path.empty() ? InitDB() : InitDBFolder(path.c_str());
    }
    template <typename Result>
    static std::string Answer(Result result) {
        return std::to_string(result);
    }

    std::optional<CTNGCacheEntry> m_entry;
    const std::map<std::string, std::function<std::string(std::istream&)>> m_commands = {
        {"folder", [](std::istream& in) { return Answer(SetCacheFolder(Path(in).c_str())); }},
        {"enable", [](std::istream& in) { return Answer(SetCacheEnabled(Number(in))); }},
        {"init", [](std::istream& in) { return Answer(Init(Path(in))); }},
        {"lock", [](std::istream&) { return Answer(LockCache()); }},
        {"release", [](std::istream&) { return Answer(ReleaseCacheLock()); }},
        {"shutdown", [](std::istream&) { return Answer(ShutDown()); }},
        {"add",
         [](std::istream& in) {
             const std::u16string path = Path(in);
             return Answer(InCache([&] { return Add(path, Number(in)); }));
         }},
        {"flush", [](std::istream&) { return Answer(InCache(&Flush)); }},
        {"look", [](std::istream& in) { return Answer(InCache([&] { return Look(Path(in)); })); }},
        {"delete", [](std::istream& in) { return Answer(InCache([&] { return Delete(Path(in)); })); }},
        {"rmfolder",
         [](std::istream& in) { return Answer(InCache([&] { return DeleteFolder(Path(in)); })); }},
        {"hold",
         [this](std::istream&) {
             m_entry.emplace(u"CachePlayer", kSource);
             return Answer(m_entry->IsIn());
         }},
        {"leave", [this](std::istream&) { return (m_entry.reset(), Answer(0)); }},
        {"alternate", Alternate},
        {"work", Work},
        {"die", [](std::istream&) { return std::to_string(std::raise(SIGKILL)); }},
    };
};

}  // namespace

int main() {
    Player player;
    for (std::string line; std::getline(std::cin, line) && line != "exit";) {
        try {
            std::cout << player.Do(line) << std::endl;
        } catch (const std::exception& e) {
            std::cout << "fault: " << e.what() << std::endl;
        }
    }
}
