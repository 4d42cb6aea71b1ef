#include <gtest/gtest.h>
#include <png.h>

#include "Program.h"

namespace fs = std::filesystem;

namespace {

struct Pixels {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<unsigned char> rgba;

    /// Red, green, blue and alpha at the top left.
    std::vector<int> Corner() const { return {rgba.begin(), rgba.begin() + 4}; }
};

Pixels ReadPng(const fs::path& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return {};
    image.format = PNG_FORMAT_RGBA;
    Pixels pixels{image.width, image.height, std::vector<unsigned char>(PNG_IMAGE_SIZE(image))};
    if (!png_image_finish_read(&image, nullptr, pixels.rgba.data(), 0, nullptr)) return {};
    return pixels;
}

Outcome Thumb(const Workspace& space, const std::string& output, const std::string& file) {
    return space.Run({"thumb", "-o", output, file});
}

// The name says the format; a name that says nothing gets a PNG, which is what desktop programs ask for.
TEST(Thumb, FormatFollowsTheNameOfTheOutput) {
    struct FormatCase {
        std::string sample, output, kind;
    };
    const std::vector<FormatCase> cases = {
        {"baseline.jpg", "a.png", "png"},   {"baseline.jpg", "a.jpg", "jpeg"},
        {"baseline.jpg", "a.JPEG", "jpeg"}, {"baseline.jpg", "a.tiff", "png"},
        {"baseline.jpg", "a", "png"},       {"rgb.png", "a.jpg", "jpeg"},
        {"rgb.png", "a.png", "png"},        {"lossy.webp", "a.jpeg", "jpeg"},
        {"lossy.webp", "a.tmp.png", "png"}, {"audio.wav", "a.jpg", "jpeg"},
        {"video.mp4", "a.png", "png"},      {"cut-off.jpg", "a.png", "png"},
        {"interlaced.gif", "a.PNG", "png"}, {"strips.tif", "a.jpg", "jpeg"},
        {"palette.bmp", "a.png", "png"},
    };
    for (const FormatCase& format : cases) {
        const Workspace space;
        const Outcome outcome = Thumb(space, format.output, kSamples / format.sample);
        SCOPED_TRACE(format.sample + " to " + format.output + '\n' + testing::PrintToString(outcome));
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(space.List(), std::vector{format.output});
        EXPECT_EQ(KindOf(ReadFile(space / format.output)), format.kind);
    }
}

TEST(Thumb, SizeModeAndOriginAreReported) {
    struct SizeCase {
        std::vector<std::string> options;
        std::string sample, report;
        unsigned width, height;
    };
    const std::vector<SizeCase> cases = {
        {{}, "baseline.jpg", "160x120 decoded", 160, 120},
        {{"-s", "32"}, "baseline.jpg", "32x24 decoded", 32, 24},
        {{"-s", "400x60"}, "baseline.jpg", "80x60 decoded", 80, 60},
        {{"-m", "embedded"}, "embedded-thumbnail.jpg", "160x106 embedded", 160, 106},
        {{"-m", "decode"}, "embedded-thumbnail.jpg", "160x107 decoded", 160, 107},
        {{"-m", "embedded", "-s", "300"}, "embedded-thumbnail.jpg", "160x106 embedded", 160, 106},
        {{"-m", "filled", "-s", "300"}, "embedded-thumbnail.jpg", "300x200 decoded", 300, 200},
        {{}, "audio.wav", "160x160 default", 160, 160},
    };
    for (const SizeCase& size : cases) {
        const Workspace space;
        std::vector<std::string> arguments = {"thumb", "-o", "out", kSamples / size.sample};
        arguments.insert(arguments.end(), size.options.begin(), size.options.end());
        const Outcome outcome = space.Run(arguments);
        SCOPED_TRACE(testing::PrintToString(arguments) + '\n' + testing::PrintToString(outcome));
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_NE(outcome.output.find(": " + size.report + ' '), std::string::npos);
        const Pixels pixels = ReadPng(space / "out");
        EXPECT_EQ(pixels.width, size.width);
        EXPECT_EQ(pixels.height, size.height);
    }
}

TEST(Thumb, TransparencyStaysInPngAndIsWhiteInJpeg) {
    const Workspace space;
    ASSERT_EQ(Thumb(space, "clear.png", kSamples / "transparent.png").exitCode, 0);
    ASSERT_EQ(Thumb(space, "white.jpg", kSamples / "transparent.png").exitCode, 0);
    ASSERT_EQ(Thumb(space, "white.png", "white.jpg").exitCode, 0);
    ASSERT_FALSE(ReadPng(space / "clear.png").rgba.empty());
    EXPECT_EQ(ReadPng(space / "clear.png").Corner()[3], 0);
    for (const int channel : ReadPng(space / "white.png").Corner())
        EXPECT_GE(channel, 253);
}

TEST(Thumb, FolderNamesFollowTheInputs) {
    const Workspace space;
    const std::string strange = "caf\xE9 \xFF.jpg";  // not UTF-8
    space.AddSample("baseline.jpg", strange);
    space.AddSample("baseline.jpg", "-dash.jpg");
    space.AddSample("baseline.jpg", "[a,b].jpg");
    std::vector<std::string> arguments = {"thumb", "-o", "new/out/"};
    for (const char* sample :
         {"UPPER-CASE.JPG", "Frühling 春の朝.jpg", "interlaced.gif", "rgb.png", "audio.wav"})
        arguments.push_back(kSamples / sample);
    arguments.insert(arguments.end(), {strange, "[a,b].jpg", "--", "-dash.jpg"});
    const Outcome outcome = space.Run(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome;
    const std::vector<std::string> expected = {
        "-dash.jpg", "Frühling 春の朝.jpg", "UPPER-CASE.JPG", "[a,b].jpg", "audio.wav.png",
        strange,     "interlaced.gif.jpg",  "rgb.png"};
    EXPECT_EQ(space.List("new/out"), expected);
}

TEST(Thumb, StandardOutputGetsTheBytesOfTheLibrary) {
    const Workspace space;
    ASSERT_EQ(Thumb(space, "out/", kSamples / "lossy.webp").exitCode, 0);
    const Outcome outcome = Thumb(space, "-", kSamples / "lossy.webp");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(KindOf(outcome.output), "jpeg");
    EXPECT_EQ(outcome.output, ReadFile(space / "out" / "lossy.webp.jpg"));
    EXPECT_NE(outcome.errors.find("cached"), std::string::npos) << "the report goes to standard error";
    EXPECT_EQ(Thumb(space, "-", kSamples / "damaged.jpg").output, "");
}

TEST(Thumb, NoFileOfTheRunIsOverwritten) {
    const Workspace space;
    space.AddSample("baseline.jpg", "a.jpg");
    fs::create_hard_link(space / "a.jpg", space / "hard.jpg");
    fs::create_symlink("a.jpg", space / "soft.jpg");
    fs::create_directory(space / "b");
    space.AddSample("progressive.jpg", "b/a.jpg");
    const std::string original = ReadFile(space / "a.jpg");
    for (const std::string output : {"a.jpg", "./b/../a.jpg", "hard.jpg", "soft.jpg", "."}) {
        const Outcome outcome = Thumb(space, output, "a.jpg");
        EXPECT_EQ(outcome.exitCode, 1) << output << '\n' << outcome;
        EXPECT_NE(outcome.errors.find("is not overwritten: it is one of the pictures to read"),
                  std::string::npos);
    }
    // Two thumbnails of one name: the first stays, and the second fails.
    const Outcome outcome = space.Run({"thumb", "-o", "out/", "b/a.jpg", "a.jpg"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.errors.find("a.jpg: out/a.jpg is not overwritten: it is the thumbnail of b/a.jpg"),
              std::string::npos)
        << outcome;
    ASSERT_EQ(Thumb(space, "alone/", "b/a.jpg").exitCode, 0);
    EXPECT_EQ(ReadFile(space / "out/a.jpg"), ReadFile(space / "alone/a.jpg"));
    EXPECT_EQ(ReadFile(space / "a.jpg"), original);
    EXPECT_TRUE(fs::is_symlink(space / "soft.jpg"));
}

TEST(Thumb, AFailureKeepsWhatStoodThereAndTheOtherFiles) {
    const Workspace space;
    fs::create_directory(space / "out");
    space.AddFile("out/damaged.jpg", "of yesterday");
    const Outcome outcome =
        space.Run({"thumb", "-o", "out", kSamples / "damaged.jpg", "missing.jpg", kSamples / "baseline.jpg"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome;
    EXPECT_EQ(space.List("out"), (std::vector<std::string>{"baseline.jpg", "damaged.jpg"}));
    EXPECT_EQ(ReadFile(space / "out/damaged.jpg"), "of yesterday");
    ASSERT_EQ(Thumb(space, "out/damaged.jpg", kSamples / "baseline.jpg").exitCode, 0);
    EXPECT_EQ(KindOf(ReadFile(space / "out/damaged.jpg")), "jpeg") << "an old thumbnail is replaced";
}

}  // namespace
