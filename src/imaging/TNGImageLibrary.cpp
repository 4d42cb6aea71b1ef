#include "TNGImageLibrary.h"

#include <mutex>

#include "common/TNGLog.h"
#include "cutil/AssetType.h"
#include "platform/Modules.h"

TNGImageLibrary s_imageLibrary;

namespace {

constexpr char16_t s_szLogSource[] = u"TNGThumbnailProducer";

constexpr char16_t kLibraryName[] = u"QxzIml03.dll";
constexpr std::int32_t kJpegQuality = 95;
constexpr std::int32_t kPngQuality = 100;

std::mutex s_bindingGuard;                                // held while the binding changes
std::atomic<Platform::HMODULE> s_hImageLibrary{nullptr};  // set once all ten entries are

thread_local bool s_bBindingPaused = false;

template <typename Function>
bool Resolve(Platform::HMODULE hModule, const char* pszEntry, TNGLibrarySlot<Function>& slot) {
    void* const pAddress = Platform::GetProcAddress(hModule, pszEntry);
    slot.Set(pAddress);
    return pAddress != nullptr;
}

// Looks all ten up, whether or not one before was missing.
bool ResolveAll(Platform::HMODULE hModule, TNGImageLibrary& library) {
    bool bAll = true;
    const auto resolve = [&](const char* pszEntry, auto& slot) { bAll &= Resolve(hModule, pszEntry, slot); };
    resolve("QXGetEmbeddedThumbnailInImage", library.m_pQXGetEmbeddedThumbnailInImage);
    resolve("QXLoadFileInImage", library.m_pQXLoadFileInImage);
    resolve("QXResizeAndLoadFileInImage", library.m_pQXResizeAndLoadFileInImage);
    resolve("QXGetImageWidth", library.m_pQXGetImageWidth);
    resolve("QXGetImageHeight", library.m_pQXGetImageHeight);
    resolve("QXLoadImageFromMemory", library.m_pQXLoadImageFromMemory);
    resolve("QXSaveQualityImageToMemory", library.m_pQXSaveQualityImageToMemory);
    resolve("QXConvertCompressedImageToARGBBuffer", library.m_pQXSaveCmpBuffToARGBBuff);
    resolve("QXFreeMemoryBuffer", library.m_pQXFreeMemoryBuffer);
    resolve("QXGetPixelFormat", library.m_pQXGetPixelFormat);
    return bAll;
}

void ClearAll(TNGImageLibrary& library) {
    library.m_pQXGetEmbeddedThumbnailInImage.Set(nullptr);
    library.m_pQXLoadFileInImage.Set(nullptr);
    library.m_pQXResizeAndLoadFileInImage.Set(nullptr);
    library.m_pQXGetImageWidth.Set(nullptr);
    library.m_pQXGetImageHeight.Set(nullptr);
    library.m_pQXLoadImageFromMemory.Set(nullptr);
    library.m_pQXSaveQualityImageToMemory.Set(nullptr);
    library.m_pQXSaveCmpBuffToARGBBuff.Set(nullptr);
    library.m_pQXFreeMemoryBuffer.Set(nullptr);
    library.m_pQXGetPixelFormat.Set(nullptr);
}

void Unbind(Platform::HMODULE hModule) {
    s_hImageLibrary.store(nullptr, std::memory_order_release);
    ClearAll(s_imageLibrary);
    if (hModule) Platform::FreeLibrary(hModule);
}

}  // namespace

bool LoadImageLibrary() {
    if (IsImageLibraryBound()) return true;
    if (s_bBindingPaused) return false;
    const std::scoped_lock lock(s_bindingGuard);
    if (IsImageLibraryBound()) return true;
    const Platform::HMODULE hModule = Platform::LoadLibraryW(kLibraryName);
    if (!hModule) return false;
    if (!ResolveAll(hModule, s_imageLibrary)) {
        Unbind(hModule);
        return false;
    }
    s_hImageLibrary.store(hModule, std::memory_order_release);
    return true;
}

TNGBindingPause::TNGBindingPause() {
    s_bBindingPaused = true;
}

TNGBindingPause::~TNGBindingPause() {
    s_bBindingPaused = false;
}

bool IsImageLibraryBound() {
    return s_hImageLibrary.load(std::memory_order_acquire) != nullptr;
}

void UnloadImageLibrary() {
    const std::scoped_lock lock(s_bindingGuard);
    Unbind(s_hImageLibrary.load(std::memory_order_relaxed));
}

void FreeMemoryBuffer(std::uint8_t* pBuffer) {
    const auto pfnFree = s_imageLibrary.m_pQXFreeMemoryBuffer.Get();
    if (pBuffer && pfnFree) pfnFree(pBuffer);
}

std::uint32_t GetFileAssetType(const std::u16string& path) {
    return QxzCUtil::GetAssetType(path.c_str());
}

bool SaveImageToMemory(Gdiplus::Image& image, bool bPng, TNGBuffer& buffer, std::int32_t* pnSize) {
    buffer = nullptr;
    const auto pfnSave = s_imageLibrary.m_pQXSaveQualityImageToMemory.Get();
    if (!pfnSave) return false;
    std::uint8_t* pBytes = nullptr;
    std::int32_t nSize = 0;
    const std::int32_t result =
        pfnSave(&image, bPng ? u"png" : u"jpg", &pBytes, &nSize, bPng ? kPngQuality : kJpegQuality);
    if (!pBytes) return false;
    if (result != 0) {
        FreeMemoryBuffer(pBytes);
        *pnSize = -1;
        return false;
    }
    buffer = MakePageBuffer(pBytes);
    *pnSize = nSize;
    return true;
}

std::unique_ptr<Gdiplus::Image> LoadImageFromMemory(const std::uint8_t* pBuffer, std::int32_t nSize) {
    const auto pfnLoad = s_imageLibrary.m_pQXLoadImageFromMemory.Get();
    if (!pfnLoad) return nullptr;
    Gdiplus::Image* pLoaded = nullptr;
    const std::int32_t result = pfnLoad(pBuffer, nSize, &pLoaded);
    std::unique_ptr<Gdiplus::Image> pImage(pLoaded);
    const bool bGood = result == 0 && pImage && pImage->GetLastStatus() == Gdiplus::Ok;
    return bGood ? std::move(pImage) : nullptr;
}

TNGBuffer CallIMLForSaveCompressBufferToARGB(const std::uint8_t* pBuffer, std::int32_t* pnSize,
                                             TNGSize* pSize) {
    TNG_LOG(TNG_LOG_ENTER, u"CallIMLForSaveCompressBufferToARGB");
    const auto pfnConvert = s_imageLibrary.m_pQXSaveCmpBuffToARGBBuff.Get();
    if (!IsImageLibraryBound() || !pfnConvert) {
        TNG_LOG(
            TNG_LOG_LEAVE,
            u"CTNGThumbnailProducer::CallIMLForSaveCompressBufferToARGB condition DLL or function pointer "
            u"init failed");
        return nullptr;
    }
    TNGSize size = *pSize;
    std::uint8_t* pPixels = nullptr;
    const std::int32_t result = pfnConvert(pBuffer, &pPixels, pnSize, &size);
    TNGBuffer pixels = MakeHeapBuffer(pPixels);
    if (result == 0 && pixels) {
        *pSize = size;
        TNG_LOG(TNG_LOG_LEAVE, u"CallIMLForSaveCompressBufferToARGB");
        return pixels;
    }
    if (pixels) *pnSize = -1;
    TNG_LOG(TNG_LOG_LEAVE,
            u"CTNGThumbnailProducer::CallIMLForSaveCompressBufferToARGB condition m_pQXSaveCmpBuffToARGBBuff "
            u"failed");
    return nullptr;
}
