#include "StandInImageLibrary.h"

#include <cctype>
#include <cstring>

#include "platform/Memory.h"

#define STAND_IN_ENTRY extern "C" __attribute__((visibility("default"))) std::int32_t

using namespace Gdiplus;
using namespace TestSupport;

namespace {

struct Call {
    StandInFile file;
    char fault;

    std::int32_t Result() const { return fault == '!' || fault == '+' ? 1 : 0; }
    bool Gives() const { return fault != '!' && fault != '0'; }
};

Call Begin(char letter, const std::u16string& path = {}) {
    StandInState& state = StandIn();
    const bool bDefault = path.starts_with(u"/default");
    state.calls += static_cast<char>(bDefault ? std::tolower(letter) : letter);
    state.lastPath = path;
    const auto found = state.files.find(path);
    if (found == state.files.end()) return {{}, '!'};
    const char* const pFault = std::strchr(found->second.pszFaults, letter);
    return {found->second, pFault ? pFault[1] : ' '};
}

std::int32_t GiveImage(const Call& call, const TNGSize& size, PixelFormat format, Image** ppImage) {
    if (!call.Gives()) return call.Result();
    auto* pBitmap = new Bitmap(static_cast<int>(size.nWidth), static_cast<int>(size.nHeight), format);
    BitmapData data;
    pBitmap->LockBits(nullptr, ImageLockModeWrite, format, &data);
    for (unsigned y = 0; y < data.Height; ++y) {
        auto* p = static_cast<std::uint8_t*>(data.Scan0) + static_cast<std::ptrdiff_t>(y) * data.Stride;
        for (unsigned x = 0; x < data.Width; ++x, p += BytesPerPixel(format)) {
            const std::uint8_t pixel[] = {static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y), 7, 128};
            std::memcpy(p, pixel, BytesPerPixel(format));
        }
    }
    pBitmap->UnlockBits(&data);
    if (call.fault == '?') pBitmap->SetResolution(0, 0);
    *ppImage = pBitmap;
    return call.Result();
}

template <typename Fact>
std::int32_t Tell(const Call& call, const Fact& fact, Fact* pOut) {
    if (call.Gives()) *pOut = fact;
    return call.Result();
}

}  // namespace

StandInState& TestSupport::StandIn() {
    static StandInState state;
    return state;
}

STAND_IN_ENTRY QXGetImageWidth(const char16_t* pszPath, std::uint32_t* pnWidth) {
    const Call call = Begin('W', pszPath);
    return Tell(call, call.file.size.nWidth, pnWidth);
}

STAND_IN_ENTRY QXGetImageHeight(const char16_t* pszPath, std::uint32_t* pnHeight) {
    const Call call = Begin('H', pszPath);
    return Tell(call, call.file.size.nHeight, pnHeight);
}

#ifndef STAND_IN_LACKS_AN_ENTRY
STAND_IN_ENTRY QXGetPixelFormat(const char16_t* pszPath, PixelFormat* pFormat) {
    const Call call = Begin('F', pszPath);
    return Tell(call, call.file.told, pFormat);
}
#endif

STAND_IN_ENTRY QXLoadFileInImage(const char16_t* pszPath, Image** ppImage) {
    const Call call = Begin('L', pszPath);
    return GiveImage(call, call.file.size, call.file.loaded, ppImage);
}

STAND_IN_ENTRY QXResizeAndLoadFileInImage(const char16_t* pszPath, std::uint32_t* pnWidth,
                                          std::uint32_t* pnHeight, Image** ppImage) {
    const Call call = Begin('R', pszPath);
    return GiveImage(call, {*pnWidth, *pnHeight}, call.file.loaded, ppImage);
}

STAND_IN_ENTRY QXGetEmbeddedThumbnailInImage(const char16_t* pszPath, Image** ppImage) {
    const Call call = Begin('E', pszPath);
    if (call.fault == ' ' && call.file.thumbnail.nWidth == 0) return 10;
    return GiveImage(call, call.file.thumbnail, call.file.loaded, ppImage);
}

STAND_IN_ENTRY QXLoadImageFromMemory(const std::uint8_t* pBytes, std::int32_t nSize, Image** ppImage) {
    const Call call = Begin('M');
    StandInBuffer buffer;
    if (nSize != sizeof buffer) return 1;
    std::memcpy(&buffer, pBytes, sizeof buffer);
    const bool bPng = buffer.format == 'p';
    return GiveImage(call, buffer.size, bPng ? PixelFormat32bppARGB : PixelFormat24bppRGB, ppImage);
}

STAND_IN_ENTRY QXSaveQualityImageToMemory(Image* pImage, const char16_t* pszFormat, std::uint8_t** ppBuffer,
                                          std::int32_t* pnSize, std::int32_t nQuality) {
    const Call call = Begin('S');
    if (!call.Gives()) return call.Result();
    const TNGSize size{pImage->GetWidth(), pImage->GetHeight()};
    const StandInBuffer buffer = {static_cast<char>(*pszFormat), nQuality, size};
    *pnSize = sizeof buffer;
    *ppBuffer = static_cast<std::uint8_t*>(Platform::VirtualAlloc(
        nullptr, sizeof buffer, Platform::MEM_COMMIT | Platform::MEM_RESERVE, Platform::PAGE_READWRITE));
    std::memcpy(*ppBuffer, &buffer, sizeof buffer);
    return call.Result();
}

STAND_IN_ENTRY QXConvertCompressedImageToARGBBuffer(const std::uint8_t* pBytes, std::uint8_t** ppPixels,
                                                    std::int32_t* pnSize, TNGSize* pSize) {
    const Call call = Begin('A');
    StandInBuffer buffer;
    if (*pnSize != sizeof buffer || !call.Gives()) return call.Result();
    std::memcpy(&buffer, pBytes, sizeof buffer);
    *pSize = buffer.size;
    *ppPixels = static_cast<std::uint8_t*>(Platform::HeapAlloc(GetProcessHeap(), 0, 1));
    return call.Result();
}

STAND_IN_ENTRY QXFreeMemoryBuffer(std::uint8_t* pBuffer) {
    StandIn().calls += 'X';
    return VirtualFree(pBuffer, 0, MEM_RELEASE) ? 0 : 1;
}
