// Writers that are killed, at any moment and at every system call: what is on disk must be whole, and what a
// record leads to must be its own thumbnail, or recognisably none.
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <random>
#include <system_error>
#include <thread>

#include "common/TNGTypes.h"
#include "locks/LockName.h"
#include "locks/OtherProcess.h"
#include "locks/TNGAutoMutexPtr.h"
#include "store/CacheSteps.h"

namespace fs = std::filesystem;

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

// Compares with what the writer noted, and notes what has become of what it was at.
void CheckAfterKill(volatile WriterLedger& ledger, int* pnUnreadable) {
    const std::vector<int> numbers = PicturesOnDisk(pnUnreadable);
    if (ledger.bCompacting && (numbers.empty() || *pnUnreadable)) {
        *pnUnreadable = 1;  // between its two files a compaction may give up the folder
        return;
    }
    EXPECT_EQ(*pnUnreadable, 0);
    int nAdding = 0, nAdded = 0;
    for (int i = 0; i < WriterLedger::kMost; ++i) {
        const auto found = std::count(numbers.begin(), numbers.end(), i);
        const WriterLedger::State state = ledger.states[i];
        EXPECT_LE(found, 1);
        EXPECT_TRUE(state != WriterLedger::Kept || found) << "picture " << i << " is lost";
        EXPECT_TRUE((state != WriterLedger::Gone && state != WriterLedger::Unused) || !found) << i;
        nAdding += state == WriterLedger::Adding;
        nAdded += state == WriterLedger::Adding && found;
        if (state != WriterLedger::Unused) ledger.states[i] = found ? WriterLedger::Kept : WriterLedger::Gone;
    }
    EXPECT_TRUE(nAdded == 0 || nAdded == nAdding) << "a batch is added as a whole";
    ledger.bCompacting = 0;
}

void Empty(const fs::path& folder) {
    for (const auto& entry : fs::directory_iterator(folder))
        fs::remove(entry);
}

TEST(Crash, AtAnyMomentLeavesAWholeCache) {
    const Cache cache;
    const TestSupport::TemporaryFolder notes;
    const TestSupport::LockName lock;
    const TestSupport::Shared<volatile WriterLedger> ledger(notes / "ledger");
    std::mt19937 random(std::random_device{}());
    int nUnreadable = 1;  // begin with an empty cache
    for (int kill = 0; kill < QXTNG_KILLS && !::testing::Test::HasFailure(); ++kill) {
        SCOPED_TRACE("kill " + std::to_string(kill));
        if (nUnreadable || ledger->nNext > WriterLedger::kMost / 2) {
            Empty(cache / "");
            ledger->nNext = 0;
            for (volatile WriterLedger::State& state : ledger->states)
                state = WriterLedger::Unused;
        }
        TestSupport::OtherProcess writer(QXTNG_CACHE_WRITER,
                                         {"loop", cache / "", notes / "ledger", lock.Bytes()});
        ASSERT_EQ(writer.Answer(), "ready");
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::count(std::begin(ledger->states), std::end(ledger->states), WriterLedger::Kept) == 0) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "nothing gets saved";
            std::this_thread::yield();
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
        writer.Kill();
        CTNGMutex mutex(lock.Text());
        const CTNGAutoMutexPtr hold(&mutex, true, TNG_LOCK_TIMEOUT_MS, true);
        ASSERT_TRUE(hold.IsLocked());
        nUnreadable = 0;
        CheckAfterKill(*ledger.operator->(), &nUnreadable);
    }
}

// A writer that does one thing, and is killed as it enters its nth system call. False if it ended before.
bool KillAtSystemCall(int n, const fs::path& folder, const char* pszWhat) {
    const pid_t writer = fork();
    if (writer < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (writer == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        execl(QXTNG_CACHE_WRITER, "cache_writer", "once", folder.c_str(), pszWhat, nullptr);
        _exit(127);
    }
    int status = 0;
    waitpid(writer, &status, 0);
    for (int stop = SIGTRAP; WIFSTOPPED(status) && stop != SIGSTOP; stop = WSTOPSIG(status)) {
        ptrace(PTRACE_CONT, writer, nullptr, nullptr);
        waitpid(writer, &status, 0);
    }
    for (int i = 0; WIFSTOPPED(status) && i < 2 * n - 1; ++i) {
        ptrace(PTRACE_SYSCALL, writer, nullptr, nullptr);
        waitpid(writer, &status, 0);
    }
    if (!WIFSTOPPED(status)) {
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        return false;
    }
    kill(writer, SIGKILL);
    waitpid(writer, &status, 0);
    return true;
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
            bGoesOn = KillAtSystemCall(n, cache / "", c.pszWhat);
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
