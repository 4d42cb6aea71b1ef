#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "common/TNGTypes.h"
#include "platform/graphics/Image.h"

/// An image library that does what a test tells it. It is a library of the real one's name, beside the test
/// program, so it is bound in its place.
namespace TestSupport {

/// What the stand-in knows of a file. Its images hold, at (x, y), blue x, green y, red 7, alpha 128.
struct StandInFile {
    TNGSize size{400, 300};
    Gdiplus::PixelFormat told = Gdiplus::PixelFormat24bppRGB;  // by QXGetPixelFormat
    Gdiplus::PixelFormat loaded = Gdiplus::PixelFormat24bppRGB;
    TNGSize thumbnail{0, 0};  // 0: there is none
    /// The letters of entries that fail, as in StandInState::calls, each with the way it does:
    /// ! answers 1;  + answers 1, yet gives something;  0 answers 0, and gives nothing;
    /// ? gives an image that tells of a failure.
    const char* pszFaults = "";
};

struct StandInState {
    /// By path; what is not here cannot be read. The empty path is for what lies in memory.
    std::map<std::u16string, StandInFile> files;
    /// The entries that were called, a letter each: Width, Height, pixel Format, Load, Resize, Embedded,
    /// from Memory, Save, to ARGB, free (X). In lower case for paths that begin with "/default".
    std::string calls;
    std::u16string lastPath;
};

/// The state of the library, which the test may change between calls.
__attribute__((visibility("default"))) StandInState& StandIn();

/// A compressed buffer of the stand-in.
struct StandInBuffer {
    char format;  // p: PNG, j: JPEG
    std::int32_t nQuality;
    TNGSize size;
};

}  // namespace TestSupport
