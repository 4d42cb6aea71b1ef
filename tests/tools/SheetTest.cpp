#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

#include "Program.h"

namespace fs = std::filesystem;

namespace {

/// All that stands between `before` and the next `after`, from the start of the page to its end.
std::vector<std::string> FindAll(const std::string& page, const std::string& before,
                                 const std::string& after) {
    std::vector<std::string> found;
    for (std::size_t at = page.find(before); at != page.npos; at = page.find(before, at)) {
        at += before.size();
        found.push_back(page.substr(at, page.find(after, at) - at));
    }
    return found;
}

/// The names under the tiles.
std::vector<std::string> Names(const std::string& page) {
    return FindAll(page, "<b>", "</b>");
}

TEST(Sheet, PageTellsOfEveryFile) {
    const Workspace space;
    for (const char* sample : {"baseline.jpg", "embedded-thumbnail.jpg", "transparent.png", "damaged.jpg",
                               "audio.wav", "video.mp4"})
        space.AddSample(sample);
    space.AddFile("note.txt", "left out");
    space.AddFile(".hidden.jpg", "left out");
    fs::create_directory(space / "folder.jpg");
    const Outcome outcome = space.Run({"sheet", ".", "-m", "embedded"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome;
    EXPECT_NE(outcome.errors.find("/damaged.jpg: damaged"), std::string::npos) << outcome;
    EXPECT_NE(outcome.output.find("6 files, 0 from the cache, 1 failed"), std::string::npos) << outcome;
    EXPECT_NE(outcome.output.find("/contact-sheet.html"), std::string::npos) << outcome;

    const std::string page = ReadFile(space / "contact-sheet.html");
    EXPECT_EQ(Names(page),
              (std::vector<std::string>{"audio.wav", "baseline.jpg", "damaged.jpg", "embedded-thumbnail.jpg",
                                        "transparent.png", "video.mp4"}));
    EXPECT_EQ(FindAll(page, "class=\"tile ", "\""),
              (std::vector<std::string>{"default", "decoded", "failed", "embedded", "decoded", "default"}));
    EXPECT_EQ(FindAll(page, "<small>", "</small>"),
              (std::vector<std::string>{"Audio", "1600 × 1200", "", "3000 × 2000", "320 × 320", "Video"}));
    EXPECT_EQ(FindAll(page, "<dd>", "</dd>").front(), "6");
    EXPECT_NE(page.find("<dt>Failed</dt><dd>1</dd>"), std::string::npos);
    EXPECT_TRUE(page.starts_with("<!DOCTYPE html>"));
    EXPECT_TRUE(page.ends_with("</html>\n"));

    const Outcome again = space.Run({"sheet", ".", "-m", "embedded"});
    EXPECT_NE(again.output.find("6 files, 1 from the cache, 1 failed"), std::string::npos) << again;
    const std::string fromCache = ReadFile(space / "contact-sheet.html");
    EXPECT_EQ(FindAll(fromCache, "class=\"tile ", "\"")[1], "cached");
    EXPECT_NE(fromCache.find("<dt>From the cache</dt><dd>1</dd>"), std::string::npos);
    EXPECT_EQ(FindAll(fromCache, "<img ", ">"), FindAll(page, "<img ", ">"));
}

TEST(Sheet, PageNeedsNothingButItself) {
    const Workspace space;
    space.AddSample("baseline.jpg");
    ASSERT_EQ(space.Run({"sheet", "."}).exitCode, 0);
    const std::string page = ReadFile(space / "contact-sheet.html");
    for (const char* foreign : {"http:", "https:", "<script", "<link", "@import", "url("})
        EXPECT_EQ(page.find(foreign), std::string::npos) << foreign;
    for (const std::string& source : FindAll(page, "src=\"", "\""))
        EXPECT_TRUE(source.starts_with("data:image/jpeg;base64,/9j/")) << source.substr(0, 40);
}

TEST(Sheet, NamesAreShownAsTheyAreAndLinked) {
    struct NameCase {
        std::string name, shown, reference;
    };
    const std::vector<NameCase> cases = {
        {"<b>&\".jpg", "&lt;b&gt;&amp;&quot;.jpg", "%3Cb%3E%26%22.jpg"},
        {"a:b?c#d%41.jpg", "a:b?c#d%41.jpg", "a%3Ab%3Fc%23d%2541.jpg"},
        {"caf\xE9.jpg", "caf\xEF\xBF\xBD.jpg", "caf%E9.jpg"},
        {"two\nlines.jpg", "two\xEF\xBF\xBDlines.jpg", "two%0Alines.jpg"},
        {"春 .jpg", "春 .jpg", "%E6%98%A5%20.jpg"},
    };
    for (const NameCase& name : cases) {
        const Workspace space;
        fs::create_directory(space / "in");
        fs::create_directory(space / "out");
        space.AddSample("rgb.png", "in/" + name.name);
        space.AddFile("in/bad " + name.name, "no picture");
        const Outcome outcome = space.Run({"sheet", "in", "-o", "out/page.html"});
        EXPECT_EQ(outcome.exitCode, 1) << outcome;
        const std::string page = ReadFile(space / "out/page.html");
        for (const std::string& link :
             {" href=\"../in/" + name.reference + "\" title=\"" + name.shown,
              " href=\"../in/bad%20" + name.reference + "\" title=\"bad " + name.shown,
              "<b>" + name.shown + "</b>", "<b>bad " + name.shown + "</b>"})
            EXPECT_NE(page.find(link), std::string::npos) << link;
        EXPECT_EQ(page.find("in/" + name.name), std::string::npos);
    }
}

TEST(Sheet, FoldersInNaturalOrderWithoutLoops) {
    const Workspace space;
    fs::create_directories(space / "in/b/c");
    fs::create_directories(space / "in/.hidden");
    for (const char* name : {"in/IMG_10.png", "in/IMG_9.png", "in/img_009b.png", "in/b/2.png", "in/b/c/1.png",
                             "in/b/01.png", "in/.hidden/x.png"})
        space.AddSample("palette.png", name);
    fs::create_directory_symlink("..", space / "in/b/loop");
    fs::create_symlink("nowhere.png", space / "in/b/dangling.png");
    const std::vector<std::string> top = {"IMG_9.png", "img_009b.png", "IMG_10.png"};
    std::vector<std::string> all = top;
    all.insert(all.end(), {"01.png", "2.png", "1.png"});

    ASSERT_EQ(space.Run({"sheet", "in", "-o", "flat.html"}).exitCode, 0);
    EXPECT_EQ(Names(ReadFile(space / "flat.html")), top);
    ASSERT_EQ(space.Run({"sheet", "in", "-r", "-s", "20", "--no-cache", "-o", "deep.html"}).exitCode, 0);
    const std::string page = ReadFile(space / "deep.html");
    EXPECT_EQ(Names(page), all);
    EXPECT_EQ(FindAll(page, "<h2>", "</h2>"), (std::vector<std::string>{"b", "b/c"}));
}

TEST(Sheet, EmptyFolderIsNoFailure) {
    const Workspace space;
    const Outcome outcome = space.Run({"sheet", ".", "-r"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome;
    EXPECT_NE(ReadFile(space / "contact-sheet.html").find("There are no pictures"), std::string::npos);
}

TEST(Sheet, ManyFilesStayInOrder) {
    const Workspace space;
    fs::create_directory(space / "in");
    std::vector<std::string> expected;
    for (int i = 0; i < 400; ++i) {
        expected.push_back(std::to_string(i) + ".png");
        fs::create_symlink(kSamples / (i % 50 == 0 ? "sixteen-bit.png" : "palette.png"),
                           space / "in" / expected.back());
    }
    const Outcome outcome = space.Run({"sheet", "in", "-s", "16"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome;
    EXPECT_EQ(Names(ReadFile(space / "contact-sheet.html")), expected);
}

// The program is held while its page is not complete by a standard error that takes no more.
TEST(Sheet, ASignalLeavesNoFileBehind) {
    const Workspace space;
    fs::create_directory(space / "out");
    int errors[2];
    ASSERT_EQ(pipe2(errors, O_CLOEXEC), 0);
    ASSERT_EQ(fcntl(errors[1], F_SETFL, O_NONBLOCK), 0);
    const std::string filling(4096, ' ');
    while (write(errors[1], filling.data(), filling.size()) > 0) {
    }
    ASSERT_EQ(fcntl(errors[1], F_SETFL, 0), 0);

    space.AddSample("damaged.jpg");
    const pid_t process = space.Start({"sheet", ".", "-o", "out/page.html"}, -1, errors[1]);
    while (space.List("out").empty())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(kill(process, SIGTERM), 0);
    EXPECT_EQ(WaitFor(process), -1) << "the signal ends the program";
    EXPECT_TRUE(space.List("out").empty());
    close(errors[0]);
    close(errors[1]);
}

}  // namespace
