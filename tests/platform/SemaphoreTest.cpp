#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <thread>

#include "locks/Ledger.h"
#include "locks/LockName.h"
#include "locks/OtherProcess.h"
#include "platform/Semaphores.h"
#include "support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

using namespace Platform;
using namespace std::chrono_literals;
using TestSupport::Ledger;
using TestSupport::LockName;
using TestSupport::OtherProcess;
using Clock = std::chrono::steady_clock;

struct Close {
    void operator()(Semaphore* pSemaphore) const { CloseHandle(pSemaphore); }
};
using Handle = std::unique_ptr<Semaphore, Close>;

Handle Open(const char16_t* pszName, bool* pbExisted = nullptr) {
    bool bExisted = false;
    Handle handle(CreateSemaphoreW(pszName, pbExisted ? pbExisted : &bExisted));
    return handle;
}

OtherProcess StartPlayer(const LockName& name) {
    return OtherProcess(QXTNG_LOCK_PLAYER, {name.Bytes()});
}

// Somebody who can take a semaphore and give it back.
struct Party {
    std::function<std::uint32_t(std::uint32_t)> take;
    std::function<bool()> release;
};

Party PartyOf(const Handle& handle) {
    return {[&](std::uint32_t ms) { return WaitForSingleObject(handle.get(), ms); },
            [&] { return ReleaseSemaphore(handle.get()); }};
}

Party PartyOf(const OtherProcess& process) {
    return {[&](std::uint32_t ms) {
                return static_cast<std::uint32_t>(std::stoul(process.Ask("take " + std::to_string(ms))));
            },
            [&] { return process.Ask("release") == "1"; }};
}

TEST(Semaphore, IsHeldByOneParty) {
    const LockName name;
    const Handle own = Open(nullptr);
    const Handle first = Open(name.Text().c_str());
    const Handle second = Open(name.Text().c_str());
    const OtherProcess player = StartPlayer(name);
    ASSERT_EQ(player.Answer(), "existed");
    const struct {
        const char* pszWhat;
        Party one, other;
        bool bSameObject;
    } cases[] = {
        {"threads of one private object", PartyOf(own), PartyOf(own), true},
        {"threads of one named object", PartyOf(first), PartyOf(first), true},
        {"two objects of one name", PartyOf(first), PartyOf(second), false},
        {"another process waits", PartyOf(second), PartyOf(player), false},
        {"another process holds", PartyOf(player), PartyOf(first), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszWhat);
        EXPECT_FALSE(c.one.release()) << "nothing is held";
        EXPECT_EQ(c.one.take(0), WAIT_OBJECT_0);
        EXPECT_EQ(c.other.take(0), WAIT_TIMEOUT);
        EXPECT_EQ(c.other.take(30), WAIT_TIMEOUT);
        EXPECT_FALSE(!c.bSameObject && c.other.release()) << "it is not the other's to release";
        std::thread([&] { EXPECT_TRUE(c.one.release()) << "any thread may"; }).join();
        EXPECT_FALSE(c.one.release());
        EXPECT_EQ(c.other.take(INFINITE), WAIT_OBJECT_0);
        EXPECT_EQ(c.one.take(0), WAIT_TIMEOUT);
        EXPECT_TRUE(c.other.release());
    }
}

TEST(NamedSemaphore, ExistsAsLongAsAnObjectIsOpen) {
    const LockName name;
    bool bExisted = true;
    Handle first = Open(name.Text().c_str(), &bExisted);
    ASSERT_TRUE(first);
    EXPECT_FALSE(bExisted);
    EXPECT_EQ(fs::status(name.File()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    Handle second = Open(name.Text().c_str(), &bExisted);
    EXPECT_TRUE(bExisted);
    ASSERT_EQ(WaitForSingleObject(first.get(), 0), WAIT_OBJECT_0);
    first.reset();
    EXPECT_TRUE(fs::exists(name.File()));
    EXPECT_EQ(WaitForSingleObject(second.get(), 0), WAIT_OBJECT_0) << "closing gives back";
    first = Open(name.Text().c_str(), &bExisted);
    EXPECT_TRUE(bExisted);
    EXPECT_EQ(WaitForSingleObject(first.get(), 0), WAIT_TIMEOUT) << "it is the same semaphore";
    first.reset();
    second.reset();
    EXPECT_FALSE(fs::exists(name.File()));
    first = Open(name.Text().c_str(), &bExisted);
    EXPECT_FALSE(bExisted);
    EXPECT_EQ(WaitForSingleObject(first.get(), 0), WAIT_OBJECT_0);
}

TEST(NamedSemaphore, KeepsApartThoseBeforeAndAfterARemovalOfItsFile) {
    const LockName name;
    const Handle before = Open(name.Text().c_str());
    ASSERT_TRUE(before);
    fs::remove(name.File());
    const Handle after = Open(name.Text().c_str());
    ASSERT_TRUE(after);
    EXPECT_EQ(WaitForSingleObject(after.get(), 0), WAIT_OBJECT_0);
    ASSERT_EQ(WaitForSingleObject(before.get(), 0), WAIT_TIMEOUT);
    std::thread waiter([&] { EXPECT_EQ(WaitForSingleObject(before.get(), INFINITE), WAIT_OBJECT_0); });
    EXPECT_TRUE(ReleaseSemaphore(after.get()));
    waiter.join();
    EXPECT_EQ(WaitForSingleObject(after.get(), 0), WAIT_TIMEOUT);
    fs::remove(name.File());
    EXPECT_TRUE(ReleaseSemaphore(before.get())) << "of a file that is gone again";
    EXPECT_EQ(WaitForSingleObject(after.get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(before.get(), 0), WAIT_TIMEOUT);
}

TEST(NamedSemaphore, LeavesNoFileWhenAllCloseAtOnce) {
    constexpr int kObjects = 2;
    const LockName name;
    for (int round = 0; round < 500; ++round) {
        std::atomic<int> nReady{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < kObjects; ++i) {
            threads.emplace_back([&] {
                Handle handle = Open(name.Text().c_str());
                EXPECT_TRUE(handle);
                for (++nReady; nReady < kObjects;)
                    continue;
                handle.reset();
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        ASSERT_FALSE(fs::exists(name.File())) << "in round " << round;
    }
}

TEST(NamedSemaphore, LeavesAloneWhatIsNotItsOwn) {
    const TestSupport::TemporaryFolder folder;
    const std::uint8_t content[] = {1, 2, 3};
    folder.Add("victim", content);
    const auto target = (folder / "victim").native();
    struct Case {
        const char* pszWhat;
        std::function<int(const char*)> make;
    };
    std::vector<Case> cases = {
        {"link to a file", [&](const char* p) { return symlink(target.c_str(), p); }},
        {"link to nothing", [&](const char* p) { return symlink((target + "-none").c_str(), p); }},
        {"folder", [](const char* p) { return mkdir(p, 0700); }},
        {"pipe", [](const char* p) { return mkfifo(p, 0600); }},
    };
    if (geteuid() == 0) {
        cases.push_back({"file of another user", [](const char* p) {
                             std::fclose(std::fopen(p, "wb"));
                             return chown(p, 65534, 65534);
                         }});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pszWhat);
        const LockName name;
        ASSERT_EQ(c.make(name.File().c_str()), 0);
        EXPECT_FALSE(Open(name.Text().c_str()));
        EXPECT_TRUE(fs::exists(fs::symlink_status(name.File())));
        EXPECT_EQ(fs::file_size(target), sizeof content);
        EXPECT_FALSE(fs::exists(target + "-none"));
    }
    EXPECT_FALSE(Open(std::u16string(300, u'n').c_str())) << "no file can bear the name";
}

// What a forked child makes of some work: 0 if it says yes.
int InChild(const std::function<bool()>& work) {
    const pid_t child = fork();
    if (child == 0) _exit(work() ? 0 : 1);
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

TEST(NamedSemaphore, IsOfNoUseToAForkedChild) {
    const LockName name;
    Handle handle = Open(name.Text().c_str());
    const OtherProcess player = StartPlayer(name);
    player.Answer();
    for (const bool bHeld : {true, false}) {
        SCOPED_TRACE(bHeld ? "held" : "free");
        if (bHeld) {
            ASSERT_EQ(WaitForSingleObject(handle.get(), 0), WAIT_OBJECT_0);
        }
        EXPECT_EQ(InChild([&] {
                      const bool bDead = WaitForSingleObject(handle.get(), 0) == WAIT_FAILED &&
                                         !ReleaseSemaphore(handle.get());
                      handle.reset();
                      return bDead;
                  }),
                  0);
        EXPECT_EQ(player.Ask("take 0"), std::to_string(bHeld ? WAIT_TIMEOUT : WAIT_OBJECT_0));
        EXPECT_EQ(player.Ask("release"), bHeld ? "0" : "1");
        EXPECT_EQ(ReleaseSemaphore(handle.get()), bHeld);
    }
    const OtherProcess newcomer = StartPlayer(name);
    EXPECT_EQ(newcomer.Answer(), "existed");
}

TEST(NamedSemaphore, NeedsMemoryForItsPage) {
    static constexpr char kFolder[] = "/dev/shm";
    const auto mountFullDisk = [] {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", kFolder, "tmpfs", 0, "size=64k") != 0) {
            return false;
        }
        std::ofstream(fs::path(kFolder) / "ballast") << std::string(64 << 10, 'x');
        return true;
    };
    if (InChild(mountFullDisk) != 0) GTEST_SKIP() << "no disk can be mounted";
    EXPECT_EQ(InChild([&] {
                  const LockName name;
                  if (!mountFullDisk() || Open(name.Text().c_str()) || fs::exists(name.File())) return false;
                  fs::remove(fs::path(kFolder) / "ballast");
                  const Handle handle = Open(name.Text().c_str());
                  return handle && WaitForSingleObject(handle.get(), 0) == WAIT_OBJECT_0;
              }),
              0);
}

// Processes that count under the semaphore are killed wherever they are.
TEST(NamedSemaphore, SurvivesKillsAtAnyPoint) {
    const LockName name;
    const TestSupport::TemporaryFolder folder;
    const std::string path = folder / "ledger";
    const TestSupport::Shared<volatile Ledger> ledger(path);
    const auto start = [&](std::size_t slot) {
        auto pPlayer =
            std::make_unique<OtherProcess>(QXTNG_LOCK_PLAYER, std::vector<std::string>{name.Bytes()});
        EXPECT_NE(pPlayer->Answer(), "refused");
        pPlayer->Tell("count " + path + ' ' + std::to_string(slot));
        return pPlayer;
    };
    std::vector<std::unique_ptr<OtherProcess>> players;
    for (std::size_t slot = 0; slot < Ledger::kPlayers; ++slot)
        players.push_back(start(slot));
    std::mt19937 random(std::random_device{}());
    for (int kill = 0; kill < QXTNG_KILLS; ++kill) {
        const std::int64_t before = ledger->Total();
        const auto deadline = Clock::now() + 10s;
        while (ledger->Total() == before && Clock::now() < deadline)
            std::this_thread::sleep_for(100us);
        ASSERT_NE(ledger->Total(), before) << "blocked after " << kill << " kills";
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
        const std::size_t slot = random() % Ledger::kPlayers;
        players[slot]->Kill();
        players[slot] = start(slot);
    }
    players.clear();
    const Handle handle = Open(name.Text().c_str());
    ASSERT_EQ(WaitForSingleObject(handle.get(), 1000), WAIT_OBJECT_0);
    ledger->Repair();
    EXPECT_EQ(ledger->nSum, ledger->Total()) << "a count was lost";
    EXPECT_LE(ledger->nRepairs, QXTNG_KILLS + static_cast<int>(Ledger::kPlayers)) << "two were inside";
}

}  // namespace
