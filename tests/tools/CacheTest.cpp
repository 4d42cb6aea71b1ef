#include <gtest/gtest.h>

#include "Program.h"

namespace fs = std::filesystem;

namespace {

using Words = std::vector<std::string>;
using Environment = std::map<std::string, std::string>;

Words operator+(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

void Change(Workspace& space, const Environment& environment) {
    for (const auto& [name, value] : environment)
        space.environment[name] = value;
}

TEST(Cache, ASecondRunComesFromIt) {
    struct CacheCase {
        Words options;
        Environment environment;
        std::string folder;  // of the cache; empty if there is none
    };
    const std::vector<CacheCase> cases = {
        {{}, {}, "../qxtng"},
        {{}, {{"XDG_CACHE_HOME", ""}}, "../.cache/qxtng"},
        {{}, {{"XDG_CACHE_HOME", "relative"}}, "../.cache/qxtng"},
        {{"--cache", "new/deep/"}, {}, "new/deep"},
        {{"--cache", "new/../caf\xE9"}, {}, "caf\xE9"},
        {{"--no-cache"}, {}, ""},
    };
    for (const CacheCase& cache : cases) {
        Workspace space;
        space.AddSample("baseline.jpg");
        Change(space, cache.environment);
        const Outcome first = space.Run(Words{"thumb", "-o", "first/", "baseline.jpg"} + cache.options);
        const Outcome second = space.Run(Words{"thumb", "-o", "second/", "baseline.jpg"} + cache.options);
        SCOPED_TRACE(testing::PrintToString(cache.options) + first.output + second.output);
        EXPECT_NE(first.output.find("160x120 decoded"), std::string::npos);
        const char* const origin = cache.folder.empty() ? "160x120 decoded" : "160x120 cached";
        EXPECT_NE(second.output.find(origin), std::string::npos);
        EXPECT_EQ(first.errors + second.errors, "");
        EXPECT_EQ(ReadFile(space / "first/baseline.jpg"), ReadFile(space / "second/baseline.jpg"));
        if (cache.folder.empty()) {
            EXPECT_EQ(space.List("..").size() + space.List().size(), 4u) << "nothing is left behind";
            continue;
        }
        EXPECT_EQ(fs::status(space / cache.folder).permissions(), fs::perms::owner_all);
        const Outcome check = space.Run({"check", cache.folder});
        EXPECT_EQ(check.exitCode, 0) << check;
        EXPECT_NE(check.output.find("1 record: 1 live"), std::string::npos) << check;
    }
}

// Whoever names no folder gets thumbnails all the same.
TEST(Cache, ADefaultFolderMayBeMissing) {
    const std::vector<Environment> environments = {
        {{"XDG_CACHE_HOME", ""}, {"HOME", ""}},
        {{"XDG_CACHE_HOME", "/proc"}},
        {{"XDG_CACHE_HOME", "/dev/null"}},
    };
    const std::vector<Words> commands = {
        {"thumb", "-o", "x.png", "a.jpg"}, {"sheet", "."}, {"info", "a.jpg"}};
    for (const auto& environment : environments) {
        Workspace space;
        space.AddSample("baseline.jpg", "a.jpg");
        Change(space, environment);
        for (const Words& command : commands) {
            const Outcome outcome = space.Run(command);
            EXPECT_EQ(outcome.exitCode, 0) << outcome;
            EXPECT_TRUE(outcome.errors.starts_with("qxtng: warning: nothing is cached: ")) << outcome;
            EXPECT_EQ(outcome.errors.find('\n'), outcome.errors.size() - 1) << outcome;
        }
    }
}

TEST(Cache, InfoTellsOfEveryState) {
    struct InfoCase {
        std::string file, line;
        Words options;
        bool changes;  // the file does, beforehand
    };
    const std::vector<InfoCase> cases = {
        {"baseline.jpg", "1600x1200, not in the cache; now decoded", {}, false},
        {"baseline.jpg", "1600x1200, in the cache, up to date; now cached", {}, false},
        {"baseline.jpg", "1600x1200, not in the cache; now decoded", {"--no-cache"}, false},
        {"baseline.jpg", "1600x1200, in the cache, out of date; now decoded", {}, true},
        {"baseline.jpg", "1600x1200, in the cache, up to date; now cached", {}, false},
        {"embedded-thumbnail.jpg", "3000x2000, not in the cache; now embedded", {}, false},
        {"audio.wav", "no size, not in the cache; now default", {}, false},
        {"video.mp4", "no size, not in the cache; now default", {}, false},
        {"video.mp4", "no size, in the cache, up to date; now default", {}, false},
        {"rgb.png", "400x300, not in the cache; now decoded", {}, false},
    };
    const Workspace space;
    for (const char* sample : {"baseline.jpg", "embedded-thumbnail.jpg", "audio.wav", "video.mp4", "rgb.png"})
        space.AddSample(sample);
    for (const InfoCase& info : cases) {
        if (info.changes) fs::last_write_time(space / info.file, fs::file_time_type());
        const Outcome outcome = space.Run(Words{"info", info.file} + info.options);
        EXPECT_EQ(outcome.exitCode, 0) << outcome;
        EXPECT_EQ(outcome.output, info.file + ": " + info.line + '\n');
        EXPECT_EQ(outcome.errors, "");
    }
    EXPECT_EQ(space.Run({"check", "../qxtng"}).exitCode, 0);
}

TEST(Cache, InfoForPrograms) {
    const Workspace space;
    space.AddSample("baseline.jpg", "a \"\\\n\xE9.jpg");
    space.AddSample("audio.wav");
    const Outcome outcome =
        space.Run({"info", "--json", "--no-cache", "a \"\\\n\xE9.jpg", "missing", "audio.wav"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome;
    EXPECT_EQ(outcome.output,
              "{\"cache\":null,\"files\":[\n"
              "{\"file\":\"a \\\"\\\\\\u000a\xEF\xBF\xBD.jpg\",\"cached\":false,\"upToDate\":false,"
              "\"width\":1600,\"height\":1200,\"origin\":\"decoded\"},\n"
              "{\"file\":\"missing\",\"error\":\"No such file or directory\"},\n"
              "{\"file\":\"audio.wav\",\"cached\":false,\"upToDate\":false,"
              "\"width\":null,\"height\":null,\"origin\":\"default\"}\n"
              "]}\n");
    EXPECT_EQ(outcome.errors, "");
    for (const char* answer : {"\"cached\":false,\"upToDate\":false", "\"cached\":true,\"upToDate\":true"}) {
        const Outcome cached = space.Run({"info", "--json", "--cache", "c", "a \"\\\n\xE9.jpg"});
        EXPECT_NE(cached.output.find("{\"cache\":\"" + fs::canonical(space / "c").native() + "\""),
                  std::string::npos);
        EXPECT_NE(cached.output.find(answer), std::string::npos) << cached;
    }
}

}  // namespace
