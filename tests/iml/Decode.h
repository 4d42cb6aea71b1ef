#pragma once

#include <sys/resource.h>

#include <cstdint>
#include <fstream>
#include <memory>

#include "iml/Entries.h"
#include "platform/graphics/Image.h"
#include "support/ImageRaster.h"
#include "support/PictureFiles.h"
#include "support/TemporaryFolder.h"

namespace TestSupport {

/// Decodes a picture through the image library: whole, from memory. Nothing if it fails.
inline Raster Decode(const Bytes& file) {
    Gdiplus::Image* pImage = nullptr;
    const std::int32_t result =
        QXLoadImageFromMemory(file.data(), static_cast<std::int32_t>(file.size()), &pImage);
    const std::unique_ptr<Gdiplus::Image> owner(pImage);
    return result == 0 ? RasterOf(pImage) : Raster();
}

/// The same to a size, from a file.
inline Raster Decode(const Bytes& file, std::uint32_t nWidth, std::uint32_t nHeight) {
    static const TemporaryFolder folder;
    const std::u16string path = folder.Add("picture", file);
    Gdiplus::Image* pImage = nullptr;
    const std::int32_t result = QXResizeAndLoadFileInImage(path.c_str(), &nWidth, &nHeight, &pImage);
    const std::unique_ptr<Gdiplus::Image> owner(pImage);
    return result == 0 ? RasterOf(pImage) : Raster();
}

/// The file, but what comes behind `nSize` bytes.
inline Bytes CutOff(const Bytes& file, std::size_t nSize) {
    return Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(nSize));
}

/// The file with something put in.
inline Bytes With(Bytes file, std::size_t nAt, const Bytes& added) {
    file.insert(file.begin() + static_cast<std::ptrdiff_t>(nAt), added.begin(), added.end());
    return file;
}

/// The most memory that this process has had at a time, in kilobytes.
inline long PeakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

}  // namespace TestSupport
