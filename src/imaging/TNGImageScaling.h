#pragma once

#include <cstdint>
#include <memory>

#include "common/TNGTypes.h"
#include "platform/graphics/Image.h"

/// Outcome of a production step.
enum TNGProducerStatus : std::uint32_t {
    TNG_PRODUCER_OK = 0,
    TNG_PRODUCER_LIBRARY_MISSING = 1,       // the image library or one of its entries is not there
    TNG_PRODUCER_LIBRARY_CALL_FAILED = 2,   // it reported a failure or gave no image
    TNG_PRODUCER_GRAPHICS_FAILED = 5,       // a graphics step failed, or an embedded thumbnail was rejected
    TNG_PRODUCER_DEFAULT_IMAGE_FAILED = 6,  // no default image could be loaded
    TNG_PRODUCER_EMBEDDED_REFUSED = 7,      // the file has no embedded thumbnail
};

/// The size of a `source` pixels wide and high picture that is fitted into `box`: the aspect is kept, one
/// side fills the box, no side exceeds it or falls below 1.
TNGSize FitIntoBox(const TNGSize& source, const TNGSize& box);

/// Pixels of an image; (0, 0), and the status word set, if that cannot be told.
TNGSize SizeOf(const Gdiplus::Image& image);

/// Puts a copy of a rectangle, in another format, in an image of its own. Null if that failed.
std::unique_ptr<Gdiplus::Image> CloneArea(const Gdiplus::Image& image, int x, int y, const TNGSize& size,
                                          Gdiplus::PixelFormat format);

/// Replaces the image by a redrawn one of this size and format. False if that failed; the image stays.
bool Redraw(std::unique_ptr<Gdiplus::Image>& pImage, const TNGSize& size, Gdiplus::PixelFormat format);

/// Scales an image that exceeds the box down into it, in PixelFormat32bppARGB for `bPng`, else in
/// PixelFormat24bppRGB; one that fits stays as it is, format included. `pbScaled` may be null. The image
/// stays in place on TNG_PRODUCER_GRAPHICS_FAILED.
TNGProducerStatus ScaleImage(std::unique_ptr<Gdiplus::Image>& pImage, const TNGSize& box, bool bPng,
                             bool* pbScaled);

/// Brings an image, and with `bResize` its size, into the format that a PNG or another file is handed out
/// in: an unscaled PNG stays as it is, anything else becomes PixelFormat24bppRGB. False if that failed; the
/// image is then gone.
bool ConvertImageFormat(bool bPng, bool bResize, const TNGSize& size,
                        std::unique_ptr<Gdiplus::Image>& pImage);
