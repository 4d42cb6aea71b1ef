#include <gtest/gtest.h>
#include <signal.h>

#include <thread>

#include "Program.h"

namespace fs = std::filesystem;

namespace {

TEST(Warm, MakesWhatTheCacheLacks) {
    const Workspace space;
    fs::create_directories(space / "in/deeper");
    for (const char* name : {"baseline.jpg", "embedded-thumbnail.jpg", "palette.bmp", "rgb.png",
                             "damaged.jpg", "audio.wav", "video.mp4"})
        space.AddSample(name, std::string("in/") + name);
    space.AddSample("lossy.webp", "in/deeper/lossy.webp");
    const struct {
        std::vector<std::string> options;
        const char* pszChange;  // a file that changes beforehand
        const char* pszReport;
    } runs[] = {
        {{"-j", "1"}, "", "7 files, 4 made, 0 up to date, 2 not kept, 1 failed, "},
        {{}, "", "7 files, 0 made, 4 up to date, 2 not kept, 1 failed, "},
        {{"-r", "-j", "256"}, "", "8 files, 1 made, 4 up to date, 2 not kept, 1 failed, "},
        {{"-r"}, "in/baseline.jpg", "8 files, 1 made, 4 up to date, 2 not kept, 1 failed, "},
    };
    for (const auto& run : runs) {
        if (*run.pszChange) fs::last_write_time(space / run.pszChange, fs::file_time_type());
        std::vector<std::string> arguments = {"warm", "in"};
        arguments.insert(arguments.end(), run.options.begin(), run.options.end());
        const Outcome outcome = space.Run(arguments);
        EXPECT_EQ(outcome.exitCode, 1) << outcome;
        EXPECT_TRUE(outcome.output.starts_with(run.pszReport)) << outcome << run.pszReport;
        EXPECT_NE(outcome.output.find("\nCache: " + fs::canonical(space / "../qxtng").native() + "\n"),
                  std::string::npos);
        EXPECT_TRUE(
            outcome.errors.ends_with("/in/damaged.jpg: damaged, or not the kind of picture that its "
                                     "name says\n"))
            << outcome;
    }
    EXPECT_EQ(space.Run({"check", "../qxtng"}).exitCode, 0);
    fs::remove(space / "in/damaged.jpg");
    const Outcome good = space.Run({"warm", "in"});
    EXPECT_EQ(good.exitCode, 0) << good;
    // Decoded all of them, the one with a thumbnail of its own, too. The default images are audio and video.
    EXPECT_NE(space.Run({"sheet", "in", "-r"}).output.find("7 files, 4 from the cache, 0 failed"),
              std::string::npos);
}

// What was made is saved, and the next run makes the rest.
TEST(Warm, GoesOnAfterASignal) {
    constexpr int kFiles = 120;
    for (const int signalNumber : {SIGINT, SIGTERM}) {
        const Workspace space;
        fs::create_directory(space / "in");
        for (int i = 0; i < kFiles; ++i)
            fs::create_symlink(kSamples / "embedded-thumbnail.jpg",
                               space / "in" / (std::to_string(i) + ".jpg"));
        const pid_t process = space.Start({"warm", "in", "-j", "1"}, -1, -1);
        while (!fs::exists(space / "../qxtng/1.db"))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_EQ(kill(process, signalNumber), 0);
        EXPECT_EQ(WaitFor(process), 128 + signalNumber);
        EXPECT_EQ(space.Run({"check", "../qxtng"}).exitCode, 0);

        const Outcome rest = space.Run({"warm", "in"});
        EXPECT_EQ(rest.exitCode, 0) << rest;
        int made = 0;
        int upToDate = 0;
        ASSERT_EQ(std::sscanf(rest.output.c_str(), "120 files, %d made, %d up to date", &made, &upToDate), 2)
            << rest;
        EXPECT_GT(upToDate, 0);
        EXPECT_EQ(made + upToDate, kFiles);
    }
}

}  // namespace
