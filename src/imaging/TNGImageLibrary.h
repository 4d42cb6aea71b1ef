#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "common/TNGBuffer.h"
#include "common/TNGTypes.h"
#include "platform/graphics/Image.h"

/// The image library, which decodes and compresses. It is bound at run time, by name: once bound, the table
/// is only read, until the library unloads.

/// One entry of the image library; null while it is not bound.
template <typename Function>
class TNGLibrarySlot {
  public:
    Function Get() const { return m_pFunction.load(std::memory_order_acquire); }
    void Set(void* pAddress) {
        m_pFunction.store(reinterpret_cast<Function>(pAddress), std::memory_order_release);
    }

  private:
    std::atomic<Function> m_pFunction{nullptr};
};

/// The ten entries. All but QXFreeMemoryBuffer answer 0 for success.
struct TNGImageLibrary {
    TNGLibrarySlot<std::int32_t (*)(const char16_t*, Gdiplus::Image**)> m_pQXGetEmbeddedThumbnailInImage;
    TNGLibrarySlot<std::int32_t (*)(const char16_t*, Gdiplus::Image**)> m_pQXLoadFileInImage;
    TNGLibrarySlot<std::int32_t (*)(const char16_t*, std::uint32_t*, std::uint32_t*, Gdiplus::Image**)>
        m_pQXResizeAndLoadFileInImage;
    TNGLibrarySlot<std::int32_t (*)(const char16_t*, std::uint32_t*)> m_pQXGetImageWidth;
    TNGLibrarySlot<std::int32_t (*)(const char16_t*, std::uint32_t*)> m_pQXGetImageHeight;
    TNGLibrarySlot<std::int32_t (*)(const std::uint8_t*, std::int32_t, Gdiplus::Image**)>
        m_pQXLoadImageFromMemory;
    TNGLibrarySlot<std::int32_t (*)(Gdiplus::Image*, const char16_t*, std::uint8_t**, std::int32_t*,
                                    std::int32_t)>
        m_pQXSaveQualityImageToMemory;
    TNGLibrarySlot<std::int32_t (*)(const std::uint8_t*, std::uint8_t**, std::int32_t*, TNGSize*)>
        m_pQXSaveCmpBuffToARGBBuff;  // QXConvertCompressedImageToARGBBuffer
    TNGLibrarySlot<std::int32_t (*)(std::uint8_t*)> m_pQXFreeMemoryBuffer;
    TNGLibrarySlot<std::int32_t (*)(const char16_t*, Gdiplus::PixelFormat*)> m_pQXGetPixelFormat;
};

extern TNGImageLibrary s_imageLibrary;

/// Binds the library if it is not; true if it is bound with all ten entries. May be called at any time, by
/// any thread.
bool LoadImageLibrary();

/// While it lives, LoadImageLibrary() on this thread binds nothing: it answers whether the library is bound.
/// For background threads: whoever unloads this library holds the lock of the dynamic linker and waits for
/// them, so that they must not wait for that lock.
class TNGBindingPause {
  public:
    TNGBindingPause();
    ~TNGBindingPause();
    TNGBindingPause(const TNGBindingPause&) = delete;
    TNGBindingPause& operator=(const TNGBindingPause&) = delete;
};

/// True while the library is bound.
bool IsImageLibraryBound();

/// Gives the library back. No other thread may be using it.
void UnloadImageLibrary();

/// Releases a compressed buffer through the library; nothing happens while it is not bound.
void FreeMemoryBuffer(std::uint8_t* pBuffer);

/// What the file is, by its name; a TNGAssetType.
std::uint32_t GetFileAssetType(const std::u16string& path);

/// Compresses an image: PNG, or JPEG at quality 95. False if that failed; the size is then -1 if the library
/// had left a buffer, else untouched.
bool SaveImageToMemory(Gdiplus::Image& image, bool bPng, TNGBuffer& buffer, std::int32_t* pnSize);

/// Decodes a compressed buffer of `nSize` bytes. Null if that failed.
std::unique_ptr<Gdiplus::Image> LoadImageFromMemory(const std::uint8_t* pBuffer, std::int32_t nSize);

/// Decodes a compressed buffer to ARGB pixels on the process heap. `*pnSize` comes in holding the buffer's
/// bytes, `*pSize` the size wanted; `*pSize` receives that of the pixels. Null if that failed.
TNGBuffer CallIMLForSaveCompressBufferToARGB(const std::uint8_t* pBuffer, std::int32_t* pnSize,
                                             TNGSize* pSize);
