#include "TNGDefaultImages.h"

#include <cstring>
#include <memory>

#include "common/TNGLog.h"
#include "common/TNGPngName.h"
#include "common/TNGTypes.h"

char16_t s_szAudioImagePath[TNG_DEFAULT_PATH_UNITS] = {};
char16_t s_szVideoImagePath[TNG_DEFAULT_PATH_UNITS] = {};
char16_t s_szOtherImagePath[TNG_DEFAULT_PATH_UNITS] = {};

std::atomic<TNGDefaultImageTable*> s_pDefaultImages{nullptr};

namespace {

constexpr char16_t s_szLogSource[] = u"TNGDefaultImages";

const TNGDefaultImage* FindDefaultImage(std::uint32_t eFileType) {
    const TNGDefaultImageTable* pTable = s_pDefaultImages.load(std::memory_order_acquire);
    const TNGDefaultSlot slot = GetDefaultSlot(eFileType);
    if (!pTable || slot == DEFAULT_SLOT_NONE) return nullptr;
    return (*pTable)[static_cast<std::size_t>(slot)].load(std::memory_order_acquire);
}

}  // namespace

void MakeDefaultImageTable() {
    if (s_pDefaultImages.load(std::memory_order_acquire)) return;
    s_pDefaultImages.store(new TNGDefaultImageTable{}, std::memory_order_release);
}

void ReleaseDefaultImageTable() {
    const std::unique_ptr<TNGDefaultImageTable> pTable(s_pDefaultImages.exchange(nullptr));
    if (!pTable) return;
    for (auto& slot : *pTable) {
        const std::unique_ptr<TNGDefaultImage> pImage(slot.exchange(nullptr));
        if (pImage) HeapFree(GetProcessHeap(), 0, pImage->m_pBuffer);
    }
}

TNGDefaultSlot GetDefaultSlot(std::uint32_t eFileType) {
    switch (eFileType) {
        case ASSET_TYPE_AUDIO:
            return DEFAULT_SLOT_AUDIO;
        case ASSET_TYPE_VIDEO:
            return DEFAULT_SLOT_VIDEO;
        case ASSET_TYPE_UNKNOWN:
        case ASSET_TYPE_OTHER_4:
        case ASSET_TYPE_OTHER_5:
            return DEFAULT_SLOT_OTHER;
        default:
            return DEFAULT_SLOT_NONE;
    }
}

bool IsDefaultImageCached(std::uint32_t eFileType) {
    return FindDefaultImage(eFileType) != nullptr;
}

bool StoreDefaultImage(std::uint32_t eFileType, const std::uint8_t* pBytes, std::int32_t nSize) {
    TNGDefaultImageTable* pTable = s_pDefaultImages.load(std::memory_order_acquire);
    const TNGDefaultSlot slot = GetDefaultSlot(eFileType);
    if (!pTable || slot == DEFAULT_SLOT_NONE || IsDefaultImageCached(eFileType)) return true;
    if (!pBytes || nSize <= 0) return true;
    const auto size = static_cast<std::size_t>(nSize);
    TNGBuffer copy = MakeHeapBuffer(
        static_cast<std::uint8_t*>(Platform::HeapAlloc(GetProcessHeap(), Platform::HEAP_ZERO_MEMORY, size)));
    if (!copy) return false;
    std::memcpy(copy.get(), pBytes, size);
    auto pImage = std::make_unique<TNGDefaultImage>();
    pImage->m_pBuffer = copy.get();
    pImage->m_nSize = nSize;
    TNGDefaultImage* pNone = nullptr;
    auto& place = (*pTable)[static_cast<std::size_t>(slot)];
    if (!place.compare_exchange_strong(pNone, pImage.get())) return true;  // by another thread meanwhile
    copy.release();
    pImage.release();
    return true;
}

TNGBuffer GetDefaultImageBuffer(std::uint32_t eFileType, std::int32_t* pnSize) {
    *pnSize = 0;
    const TNGDefaultImage* pImage = FindDefaultImage(eFileType);
    if (!pImage) return nullptr;
    const auto nSize = static_cast<std::size_t>(pImage->m_nSize);
    TNGBuffer buffer = MakePageBuffer(static_cast<std::uint8_t*>(Platform::VirtualAlloc(
        nullptr, nSize, Platform::MEM_COMMIT | Platform::MEM_RESERVE, Platform::PAGE_READWRITE)));
    if (!buffer) return nullptr;
    std::memcpy(buffer.get(), pImage->m_pBuffer, nSize);
    *pnSize = pImage->m_nSize;
    return buffer;
}

bool IsFilePNG(const std::u16string& path, int eOrigin, std::uint32_t eFileType) {
    switch (eOrigin) {
        case ORIGIN_EMBEDDED:
        case ORIGIN_DECODED:
        case ORIGIN_CACHED:
            return eFileType != ASSET_TYPE_VIDEO && HasPngExtension(path);
        case ORIGIN_DEFAULT:
            if (eFileType <= ASSET_TYPE_VIDEO) return HasPngExtension(TNG_DEFAULT_IMAGE_NAME);
            TNG_LOG(TNG_LOG_ERROR, u"IsFilePNG, Unknown file type received!");
            return false;
        default:
            TNG_LOG(TNG_LOG_ERROR, u"ScaleImage, Unknown origin type received!");
            return false;
    }
}
