#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "Program.h"

namespace {

/// Every line on standard error is a message of the program; nothing else may end up there.
void ExpectMessages(const std::string& errors) {
    std::istringstream lines(errors);
    for (std::string line; std::getline(lines, line);)
        EXPECT_TRUE(line.starts_with("qxtng: ")) << line;
}

struct UsageCase {
    std::vector<std::string> arguments;
    int exitCode;
    std::string message;  // part of what is on standard error; empty if nothing is
};

TEST(Usage, ExitCodesAndMessages) {
    const std::vector<UsageCase> cases = {
        {{"update"}, 1, "there is no cache in"},
        {{"--help"}, 0, ""},
        {{"--version"}, 0, ""},
        {{"thumb", "--help"}, 0, ""},
        {{}, 2, "the first word must be a command"},
        {{"shrink", "good.jpg"}, 2, "the first word must be a command"},
        {{"thumb"}, 2, "--output"},
        {{"thumb", "-o", "x"}, 2, "FILE"},
        {{"thumb", "-o", "", "good.jpg"}, 2, "--output"},
        {{"thumb", "--frames", "2", "-o", "x", "good.jpg"}, 2, "--frames"},
        {{"thumb", "-m", "best", "-o", "x", "good.jpg"}, 2, "best"},
        {{"--log", "loud", "thumb", "-o", "x", "good.jpg"}, 2, "loud"},
        {{"thumb", "-s", "0", "-o", "x", "good.jpg"}, 2, "32767"},
        {{"thumb", "-s", "32768", "-o", "x", "good.jpg"}, 2, "32767"},
        {{"thumb", "-s", "99999999999x1", "-o", "x", "good.jpg"}, 2, "32767"},
        {{"thumb", "-s", "-1", "-o", "x", "good.jpg"}, 2, "-1"},
        {{"thumb", "-s", "64x", "-o", "x", "good.jpg"}, 2, "64x"},
        {{"thumb", "-s", "64 ", "-o", "x", "good.jpg"}, 2, "64 "},
        {{"thumb", "-o", "x.png", "good.jpg", "note.txt"}, 2, "several files need a folder"},
        {{"thumb", "-o", "-", "good.jpg", "note.txt"}, 2, "several files need a folder"},
        {{"thumb", "-o", "x", "damaged.jpg"}, 1, "damaged.jpg: damaged"},
        {{"thumb", "-o", "x", "empty.png"}, 1, "empty.png: empty"},
        {{"thumb", "-o", "x", "renamed.jpg"}, 1, "renamed.jpg: damaged"},
        {{"thumb", "-o", "x", "missing.jpg"}, 1, "missing.jpg: No such file"},
        {{"thumb", "-o", "x", ""}, 1, "qxtng: '': No such file"},
        {{"thumb", "-o", "x", "folder"}, 1, "folder: a folder"},
        {{"thumb", "-o", "x", "pipe.jpg"}, 1, "pipe.jpg: not a regular file"},
        {{"thumb", "-o", "x", "[a,b].jpg", "--", "-s"}, 2, "several files"},
        {{"thumb", "-o", "x", "[a,b]"}, 1, "[a,b]: No such file"},
        {{"thumb", "-o", "x", "{}"}, 1, "{}: No such file"},
        {{"thumb", "-o", "x", "sheet"}, 1, "sheet: No such file"},
        {{"thumb", "-o", "pipe.jpg", "good.jpg"}, 1, "pipe.jpg cannot be written: not a regular file"},
        {{"thumb", "-o", "good.jpg/x.png", "good.jpg"},
         1,
         "good.jpg/x.png cannot be written: Not a directory"},
        {{"thumb", "-o", "good.jpg/", "good.jpg"}, 1, "good.jpg/ cannot be made"},
        {{"thumb", "-o", "nowhere/x.png", "good.jpg"}, 1, "nowhere/x.png cannot be written: No such file"},
        {{"thumb", "-o", "x", "--cache", "", "good.jpg"}, 2, "--cache is empty"},
        {{"thumb", "-o", "x", "--cache", "new", "--no-cache", "good.jpg"}, 2, "exclude each other"},
        {{"thumb", "-o", "x", "--cache", "note.txt", "good.jpg"}, 2, "note.txt is not a folder"},
        {{"info", "--cache", "note.txt/x", "good.jpg"}, 1, "note.txt/x cannot be made: Not a directory"},
        {{"sheet", "folder", "--cache", "/proc/x"}, 1, "/proc/x cannot be made: No such file"},
        {{"warm"}, 2, "FOLDER"},
        {{"warm", "missing"}, 2, "missing does not exist"},
        {{"warm", "folder", "-j", "0"}, 2, "--jobs"},
        {{"warm", "folder", "-j", "257"}, 2, "--jobs"},
        {{"warm", "folder", "-j", "two"}, 2, "--jobs"},
        {{"warm", "folder", "--no-cache"}, 2, "--no-cache"},
        {{"warm", "folder", "--cache", "/proc/x"}, 1, "/proc/x cannot be made: No such file"},
        {{"info"}, 2, "FILE"},
        {{"info", "missing.jpg"}, 1, "missing.jpg: No such file"},
        {{"info", "damaged.jpg"}, 1, "damaged.jpg: damaged"},
        {{"update", "--cache", "missing"}, 2, "missing does not exist"},
        {{"update", "--cache", "folder", "-j", "0"}, 2, "--jobs"},
        {{"forget"}, 2, "PATH"},
        {{"forget", "--cache", "note.txt", "good.jpg"}, 2, "note.txt is not a folder"},
        {{"move", "--cache", "folder"}, 2, "NEW_CACHE_FOLDER"},
        {{"move", "--cache", "folder", ""}, 2, "new folder is empty"},
        {{"move", "--cache", "folder", "new"}, 1, "there is no cache in"},
        {{"clear", "--cache", "."}, 1, "there is no cache in"},
        {{"sheet", "folder", "-o", "-"}, 2, "has to be a file"},
        {{"thumb", "-o", "x", "note.txt"}, 1, "note.txt: its name has no extension of a picture"},
        {{"clear", "everything"}, 2, "everything"},
        {{"stat", "--cache", ""}, 2, "--cache is empty"},
        {{"stat", "--cache", "missing"}, 2, "missing does not exist"},
        {{"check", "missing"}, 2, "missing does not exist"},
        {{"check", "note.txt"}, 2, "note.txt is not a folder"},
        {{"sheet"}, 2, "FOLDER"},
        {{"sheet", "missing"}, 2, "missing does not exist"},
        {{"sheet", ""}, 2, "folder '' does not exist"},
        {{"sheet", "good.jpg"}, 2, "good.jpg is not a folder"},
        {{"sheet", "folder", "-o", ""}, 2, "--output"},
        {{"sheet", "folder", "-o", "folder"}, 1, "folder cannot be written: is a folder"},
        {{"sheet", "folder", "-o", "good.jpg/x.html"},
         1,
         "good.jpg/x.html cannot be written: Not a directory"},
        {{"sheet", ".", "-o", "good.jpg"}, 1, "good.jpg is not overwritten"},
    };
    const Workspace space;
    space.AddSample("baseline.jpg", "good.jpg");
    space.AddSample("damaged.jpg");
    space.AddFile("empty.png", "");
    space.AddFile("note.txt", "not a picture\n");
    space.AddFile("renamed.jpg", "not a picture\n");
    std::filesystem::create_directory(space / "folder");
    ASSERT_EQ(mkfifo((space / "pipe.jpg").c_str(), 0600), 0);
    const std::vector<std::string> before = space.List();
    const std::string good = ReadFile(space / "good.jpg");

    for (const UsageCase& usage : cases) {
        const Outcome outcome = space.Run(usage.arguments);
        SCOPED_TRACE(testing::PrintToString(usage.arguments) + '\n' + testing::PrintToString(outcome));
        EXPECT_EQ(outcome.exitCode, usage.exitCode);
        EXPECT_EQ(outcome.errors.empty(), usage.message.empty());
        EXPECT_NE(outcome.errors.find(usage.message), std::string::npos);
        EXPECT_EQ(outcome.output.empty(), usage.exitCode != 0);
        ExpectMessages(outcome.errors);
        EXPECT_EQ(space.List(), before) << "nothing is left behind";
    }
    EXPECT_EQ(ReadFile(space / "good.jpg"), good);
}

// What is lost matters where it is all that the command gives; that nobody wants to read it does not.
TEST(Usage, StandardStreamsThatTakeNothing) {
    const Workspace space;
    space.AddSample("baseline.jpg");
    ASSERT_EQ(space.Run({"warm", "."}).exitCode, 0);
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    int pipeEnds[2];
    ASSERT_EQ(pipe2(pipeEnds, O_CLOEXEC), 0);
    close(pipeEnds[0]);
    const int broken = pipeEnds[1];
    const struct {
        std::vector<std::string> arguments;
        int output, errors, exitCode;
    } cases[] = {
        {{"thumb", "-o", "-", "baseline.jpg"}, -1, full, 1},
        {{"thumb", "-o", "-", "baseline.jpg"}, full, full, 1},
        {{"thumb", "-o", "-", "baseline.jpg"}, broken, -1, 1},
        {{"thumb", "-o", "a.png", "baseline.jpg"}, -1, -1, 0},
        {{"thumb", "-o", "b.png", "baseline.jpg"}, full, full, 1},
        {{"thumb", "-o", "c.png", "baseline.jpg"}, broken, broken, 0},
        {{"--version"}, full, -1, 1},
        {{"--help"}, -1, -1, 1},
        {{"thumb", "--help"}, broken, -1, 0},
        {{"info", "--json", "baseline.jpg"}, -1, -1, 1},
        {{"stat"}, -1, -1, 1},
        {{"stat", "--json"}, broken, -1, 0},
        {{"check", "../qxtng"}, -1, -1, 1},
        {{"update"}, -1, -1, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(WaitFor(space.Start(c.arguments, c.output, c.errors)), c.exitCode)
            << testing::PrintToString(c.arguments) << ' ' << c.output;
    }
    for (const char* name : {"a.png", "b.png", "c.png"})
        EXPECT_EQ(KindOf(ReadFile(space / name)), "png") << name;
    EXPECT_EQ(space.List().size(), 4u);
    close(broken);
    close(full);
}

TEST(Usage, ASubFolderThatCannotBeReadIsAFailure) {
    const Workspace space;
    std::filesystem::create_directories(space / "in/closed");
    space.AddSample("baseline.jpg", "in/a.jpg");
    std::filesystem::permissions(space / "in/closed", std::filesystem::perms::none);
    for (const char* command : {"sheet", "warm"}) {
        const Outcome outcome = space.Run({command, "in", "-r"}, Workspace::Power::Own);
        EXPECT_EQ(outcome.exitCode, 1) << outcome;
        EXPECT_TRUE(outcome.output.starts_with("1 file, ")) << outcome;
        EXPECT_NE(outcome.errors.find("in/closed/ is left out: Permission denied"), std::string::npos);
    }
}

TEST(Usage, LogIsPrintedOnlyWhenAskedFor) {
    const Workspace space;
    space.AddSample("baseline.jpg");
    for (const std::string level : {"", "error", "info", "all"}) {
        std::vector<std::string> arguments = {"thumb", "-o", "out.png", "baseline.jpg"};
        if (!level.empty()) arguments.insert(arguments.begin(), {"--log", level});
        const Outcome outcome = space.Run(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome;
        EXPECT_EQ(outcome.errors.find("log: enter: ") != std::string::npos, level == "all") << outcome;
        ExpectMessages(outcome.errors);
    }
}

}  // namespace
