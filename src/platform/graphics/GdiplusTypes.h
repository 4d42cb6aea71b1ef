#pragma once

#include <cstdint>

/// Types and constants of the graphics layer.
namespace Gdiplus {

/// Outcome of a graphics call.
enum Status {
    Ok = 0,
    GenericError = 1,
    InvalidParameter = 2,
    OutOfMemory = 3,
    WrongState = 8,
};

using PixelFormat = std::int32_t;

/// Three bytes a pixel, in memory B, G, R. A new bitmap of this format is white.
inline constexpr PixelFormat PixelFormat24bppRGB = 0x21808;
/// Four bytes a pixel, in memory B, G, R, A; colour not multiplied by alpha. A new bitmap is transparent.
inline constexpr PixelFormat PixelFormat32bppARGB = 0x26200A;

/// Bytes that a pixel of one of the two formats above takes.
constexpr unsigned BytesPerPixel(PixelFormat format) {
    return format == PixelFormat32bppARGB ? 4 : 3;
}

struct Rect {
    int X = 0;
    int Y = 0;
    int Width = 0;
    int Height = 0;
};

enum ImageLockMode : unsigned { ImageLockModeRead = 1, ImageLockModeWrite = 2 };

/// The pixels of a locked rectangle, top row first.
struct BitmapData {
    unsigned Width = 0;   // pixels
    unsigned Height = 0;  // rows
    int Stride = 0;       // bytes from one row to the next
    Gdiplus::PixelFormat PixelFormat = 0;
    void* Scan0 = nullptr;  // first pixel of the top row
    std::uintptr_t Reserved = 0;
};

enum InterpolationMode { InterpolationModeHighQualityBicubic = 7 };
enum PixelOffsetMode { PixelOffsetModeHighQuality = 2 };
enum SmoothingMode { SmoothingModeHighQuality = 2 };
enum Unit { UnitPixel = 2 };

}  // namespace Gdiplus
