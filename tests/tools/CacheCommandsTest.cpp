#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "Program.h"
#include "support/SmallDisk.h"

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// Three pictures, one of which is in a sub-folder, a video, and a cache that has them all.
class CacheCommands : public testing::Test {
  protected:
    CacheCommands() {
        fs::create_directories(m_space / "in/deeper");
        m_space.AddSample("baseline.jpg", "in/a.jpg");
        m_space.AddSample("lossy.webp", "in/b.webp");
        m_space.AddSample("video.mp4", "in/c.mp4");
        m_space.AddSample("grey.jpg", "in/deeper/d.jpg");
        EXPECT_EQ(m_space.Run({"warm", "in", "-r"}).exitCode, 0);
    }
    ~CacheCommands() override { EXPECT_EQ(m_space.Run({"check", m_cache}).exitCode, 0); }

    /// Gives a file the content of a sample, and an age of its own.
    void Replace(const std::string& name, const std::string& sample) {
        fs::remove(m_space / name);
        m_space.AddSample(sample, name);
        fs::last_write_time(m_space / name, fs::file_time_type() + std::chrono::seconds(++m_changes));
    }

    std::string Stat() const { return m_space.Run({"stat", "--json", "--cache", m_cache}).output; }
    std::string Info(const std::string& name) const {
        return m_space.Run({"info", name, "--cache", m_cache}).output;
    }

    Workspace m_space;
    std::string m_cache = "../qxtng";
    int m_changes = 0;
};

TEST_F(CacheCommands, UpdateDoesWhatIsDue) {
    const struct {
        std::vector<std::string> arguments;
        const char* pszReport;
        int exitCode = 0;
    } cases[] = {
        {{}, "4 files, 0 made anew, 4 up to date, 0 gone, 0 failed, "},
        {{"in/a.jpg"}, "1 file, 1 made anew, 0 up to date, 0 gone, 0 failed, "},
        {{"in/"}, "3 files, 1 made anew, 2 up to date, 0 gone, 0 failed, "},
        {{"in/deeper/..", "-r", "-j", "2"}, "4 files, 2 made anew, 2 up to date, 0 gone, 0 failed, "},
        {{"in", "elsewhere"}, "3 files, 1 made anew, 2 up to date, 0 gone, 0 failed, ", 1},
    };
    for (const auto& updated : cases) {
        SCOPED_TRACE(updated.pszReport);
        std::vector<std::string> arguments = {"update"};
        arguments.insert(arguments.end(), updated.arguments.begin(), updated.arguments.end());
        const Outcome outcome = m_space.Run(arguments);
        EXPECT_EQ(outcome.exitCode, updated.exitCode) << outcome;
        EXPECT_THAT(outcome.output, StartsWith(updated.pszReport));
        // The next case finds these two changed.
        Replace("in/a.jpg", "grey.jpg");
        Replace("in/deeper/d.jpg", "baseline.jpg");
    }
}

TEST_F(CacheCommands, UpdateKeepsWhatCannotBeReadAndDropsWhatIsGone) {
    fs::remove(m_space / "in/c.mp4");
    fs::remove_all(m_space / "in/deeper");
    Replace("in/a.jpg", "damaged.jpg");
    const Outcome outcome = m_space.Run({"update"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.output, StartsWith("4 files, 0 made anew, 1 up to date, 2 gone, 1 failed, "));
    EXPECT_THAT(outcome.errors, HasSubstr("a.jpg: cannot be read; its old thumbnail stays"));
    EXPECT_THAT(Stat(), HasSubstr("\"files\":2,"));

    Replace("in/a.jpg", "grey.jpg");
    EXPECT_THAT(m_space.Run({"update"}).output, StartsWith("2 files, 1 made anew, 1 up to date, 0 gone"));
    EXPECT_THAT(Info("in/a.jpg"), HasSubstr("up to date; now cached"));
}

TEST_F(CacheCommands, UpdateDropsWhateverIsGoneAtOnce) {
    m_space.AddSample("audio.wav", "in/e.wav");
    ASSERT_EQ(m_space.Run({"sheet", "in"}).exitCode, 0);
    fs::remove(m_space / "in/e.wav");
    // A name that has been damaged leads out of the folder.
    for (const char* pszList : {"1.dat", "2.dat"}) {
        std::string list = ReadFile(m_space / m_cache / pszList);
        const std::size_t place = list.find(std::string("/\0a\0.\0j", 7));
        if (place == std::string::npos) continue;
        m_space.AddFile(m_cache + '/' + pszList, list.replace(place, 1, "?"));
    }
    EXPECT_THAT(m_space.Run({"update"}).output, StartsWith("5 files, 0 made anew, 3 up to date, 2 gone"));
    EXPECT_THAT(m_space.Run({"update"}).output, StartsWith("3 files, 0 made anew, 3 up to date, 0 gone"));
}

TEST_F(CacheCommands, ForgetTakesFilesAndFolders) {
    const struct {
        std::vector<std::string> paths;
        const char* pszReport;
        const char* pszLeft;
        int exitCode = 0;
    } cases[] = {
        {{"in/x.jpg"}, "0 files forgotten", "\"folders\":2,\"files\":4,", 1},
        {{"in/a.jpg", "in/x.jpg"}, "1 file forgotten", "\"folders\":2,\"files\":3,", 1},
        {{"in/gone"}, "0 files forgotten", "\"folders\":2,\"files\":3,", 1},
        {{"in/"}, "2 files forgotten, with 1 folder", "\"folders\":1,\"files\":1,"},
        {{"-r", "in"}, "1 file forgotten, with 1 folder", "\"folders\":0,\"files\":0,"},
    };
    fs::remove(m_space / "in/a.jpg");  // need not be there any more
    for (const auto& forgotten : cases) {
        SCOPED_TRACE(testing::PrintToString(forgotten.paths));
        std::vector<std::string> arguments = {"forget"};
        arguments.insert(arguments.end(), forgotten.paths.begin(), forgotten.paths.end());
        const Outcome outcome = m_space.Run(arguments);
        EXPECT_EQ(outcome.exitCode, forgotten.exitCode) << outcome;
        EXPECT_EQ(outcome.output, forgotten.pszReport + std::string("\n"));
        EXPECT_THAT(Stat(), HasSubstr(forgotten.pszLeft));
    }
}

TEST_F(CacheCommands, MoveTakesTheWholeCacheWithIt) {
    const std::string before = Stat();
    const std::string figures = before.substr(before.find("\"folders\""));
    const std::string old = m_cache;
    m_space.AddFile(m_cache + "/Temp12.tmp", std::string(2'000'000, 'x'));  // stays behind
    const Outcome outcome = m_space.Run({"move", "deep/new"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome;
    EXPECT_THAT(outcome.output, testing::ContainsRegex("^[0-9.]+ kB moved"));
    EXPECT_THAT(outcome.output, HasSubstr("Cache: " + fs::canonical(m_space / "deep/new").native() + '\n'));
    m_cache = "deep/new";
    EXPECT_THAT(Stat(), HasSubstr(figures));
    EXPECT_THAT(Info("in/a.jpg"), HasSubstr("up to date; now cached"));
    EXPECT_THAT(m_space.Run({"stat", "--json"}).output, HasSubstr("\"files\":0,"));

    // Nothing of a cache that is there is overwritten.
    EXPECT_EQ(m_space.Run({"warm", "in"}).exitCode, 0);
    fs::create_directory(m_space / "mine");
    m_space.AddFile("mine/7.db", "not a cache's");
    const struct {
        const char* pszFolder;
        const char* pszMessage;
    } refused[] = {{"deep/new", "has a cache already"},
                   {"mine", "files that bear such names"},
                   {"../qxtng", "is in"},
                   {"in/a.jpg", "is not a folder"}};
    for (const auto& target : refused) {
        const Outcome second = m_space.Run({"move", target.pszFolder});
        EXPECT_EQ(second.exitCode, 2) << second;
        EXPECT_THAT(second.errors, HasSubstr(target.pszMessage));
    }
    EXPECT_EQ(ReadFile(m_space / "mine/7.db"), "not a cache's");
    EXPECT_THAT(Stat(), HasSubstr(figures));
}

TEST_F(CacheCommands, AMoveThatFailsLeavesNothing) {
    fs::create_directory(m_space / "small");
    const TestSupport::SmallDisk disk(m_space / "small");
    if (!disk.IsMounted()) GTEST_SKIP() << "no disk can be mounted";
    const auto ballast = disk.Fill(4096);
    const Outcome outcome = m_space.Run({"move", "small/new/deep"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome;
    EXPECT_THAT(outcome.errors, HasSubstr("/small/new/deep: No space left on device"));
    EXPECT_EQ(m_space.List("small"), std::vector<std::string>{"ballast"});
    EXPECT_THAT(Info("in/a.jpg"), HasSubstr("up to date; now cached"));
}

// What cannot be done is not reported as done. What can be read is used, unless a part of it could be
// written.
TEST_F(CacheCommands, ACacheThatMayNotBeChangedStaysAsItIs) {
    const std::vector<std::string> before = m_space.List(m_cache);
    const std::string figures = Stat();
    m_space.AddSample("progressive.jpg", "in/new.jpg");
    const auto run = [&](const std::vector<std::string>& arguments) {
        return m_space.Run(arguments, Workspace::Power::Own);
    };
    const struct {
        fs::perms folder, files;
        int exitOfStat, exitOfThumb;
        const char* pszOrigin;
    } cases[] = {{fs::perms::none, fs::perms(0600), 1, 1, ""},
                 {fs::perms(0500), fs::perms(0600), 0, 0, "decoded"},
                 {fs::perms(0500), fs::perms(0400), 0, 0, "cached"}};
    for (const auto& c : cases) {
        for (const std::string& name : before)
            fs::permissions(m_space / m_cache / name, c.files);
        fs::permissions(m_space / m_cache, c.folder);
        for (const std::vector<std::string>& arguments : {std::vector<std::string>{"forget", "in"},
                                                          {"clear"},
                                                          {"move", "taken"},
                                                          {"update"},
                                                          {"warm", "in"}})
            EXPECT_EQ(run(arguments).exitCode, 1) << arguments[0];
        EXPECT_EQ(run({"stat"}).exitCode, c.exitOfStat);
        for (const char* name : {"in/a.jpg", "in/new.jpg"}) {
            const Outcome thumb = run({"thumb", "-o", "out.png", name, "--cache", m_cache});
            EXPECT_EQ(thumb.exitCode, c.exitOfThumb) << thumb;
            const char* const pszOrigin = name == std::string("in/a.jpg") ? c.pszOrigin : "decoded";
            EXPECT_THAT(thumb.output, HasSubstr(thumb.exitCode == 0 ? pszOrigin : ""));
        }
        const Outcome sheet = run({"sheet", "in"});
        EXPECT_EQ(sheet.exitCode, 0) << sheet;
        EXPECT_THAT(sheet.errors, StartsWith("qxtng: warning: nothing is "));
        fs::permissions(m_space / m_cache, fs::perms(0700));
    }
    EXPECT_EQ(m_space.List(m_cache), before);
    EXPECT_EQ(Stat(), figures);
}

TEST_F(CacheCommands, ClearLeavesNothing) {
    const fs::path cache = m_space / m_cache;
    const auto cut = [&](const char* name) { fs::resize_file(cache / name, 9); };
    const struct {
        const char* pszName;
        std::function<void()> damage;
    } cases[] = {
        {"sound", [] {}},
        {"rests of killed programs",
         [&] {
             m_space.AddFile(m_cache + "/Temp12.tmp", "rest");
             m_space.AddFile(m_cache + "/77.db", "rest");
         }},
        {"damaged list", [&] { cut("1.dat"); }},
        {"damaged index", [&] { cut("DirectoryMap.dat"); }},
        {"no index", [&] { fs::remove(cache / "DirectoryMap.dat"); }},
    };
    for (const auto& cleared : cases) {
        SCOPED_TRACE(cleared.pszName);
        ASSERT_EQ(m_space.Run({"warm", "in", "-r"}).exitCode, 0);
        cleared.damage();
        const Outcome outcome = m_space.Run({"clear"});
        EXPECT_EQ(outcome.exitCode, 0) << outcome;
        EXPECT_EQ(m_space.List(m_cache), std::vector<std::string>{"CacheUpdateInfo.txt"});
    }
}

}  // namespace
