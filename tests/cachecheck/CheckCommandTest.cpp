#include <gtest/gtest.h>

#include "tools/Program.h"

namespace {

namespace fs = std::filesystem;

// Caches as the program sees them: good, with warnings, with errors, and none.
void FillWorkspace(const Workspace& space) {
    const fs::path frozen = QXTNG_TEST_DATA;
    fs::copy(frozen / "mixed-versions", space / "good");
    fs::copy(frozen / "two-folders", space / "odd");
    fs::copy(frozen / "list-cut-in-path", space / "damaged");
    fs::create_directory(space / "empty");
    space.AddFile("odd/new\nline \"\\\xFF\xC3\xA4", "");
}

TEST(CheckCommand, ReportsAndEnds) {
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        std::string output, error;
    } cases[] = {
        {{"check", "good"},
         0,
         "1 folder, 4 records: 3 live (0 with default images, 0 without thumbnails), 1 deleted\n"
         "114 bytes of thumbnails, 61 of dead space\nno errors, no warnings\n",
         ""},
        {{"check", QXTNG_TEST_DATA "/without-blocks"},
         0,
         "1 folder, 4 records: 4 live (3 with default images, 1 without thumbnails), 0 deleted\n"
         "0 bytes of thumbnails, 0 of dead space\nno errors, no warnings\n",
         ""},
        {{"check", QXTNG_TEST_DATA "/extra-large"},
         0,
         "1 folder, 3 records: 3 live (0 with default images, 0 without thumbnails), 0 deleted\n"
         "180 bytes of thumbnails, 0 of dead space\nno errors, no warnings\n",
         ""},
        {{"check", "empty"},
         0,
         "0 folders, 0 records: 0 live (0 with default images, 0 without thumbnails), 0 deleted\n"
         "0 bytes of thumbnails, 0 of dead space\nno errors, no warnings\n",
         ""},
        {{"check", "odd/"},
         0,
         "new\uFFFDline \"\\\uFFFD\u00E4:0: warning: not a file of a cache [unknown-file]\n"
         "2 folders, 3 records: 3 live (0 with default images, 0 without thumbnails), 0 deleted\n"
         "114 bytes of thumbnails, 0 of dead space\nno errors, 1 warning\n",
         ""},
        {{"check", "damaged"},
         1,
         "1.dat:118: error: the file ends inside a record [list-truncated]\n"
         "2 folders, 2 records: 2 live (0 with default images, 0 without thumbnails), 0 deleted\n"
         "76 bytes of thumbnails, 38 of dead space\n1 error, no warnings\n",
         ""},
        {{"check", "--json", "odd"},
         0,
         "{\"folder\":\"odd\",\"errors\":0,\"warnings\":1,\"statistics\":{\"folders\":2,\"records\":3,"
         "\"live\":3,\"deleted\":0,\"defaultImages\":0,\"noThumbnails\":0,\"liveBytes\":114,"
         "\"deadBytes\":0},\"findings\":[\n"
         "{\"severity\":\"warning\",\"kind\":\"unknown-file\",\"file\":\"new\\u000aline "
         "\\\"\\\\\uFFFD\u00E4\",\"offset\":0,\"text\":\"not a file of a cache\"}\n]}\n",
         ""},
        {{"check"}, 2, "", "qxtng: CACHE_FOLDER is required; see qxtng --help\n"},
    };
    const Workspace space;
    FillWorkspace(space);
    for (const auto& c : cases) {
        const Outcome outcome = space.Run(c.arguments);
        SCOPED_TRACE(testing::PrintToString(c.arguments));
        EXPECT_EQ(outcome.exitCode, c.exitCode);
        EXPECT_EQ(outcome.output, c.output);
        EXPECT_EQ(outcome.errors, c.error);
    }
}

}  // namespace
