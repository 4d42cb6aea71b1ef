#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include "common/TNGBuffer.h"

/// Default images: the stock pictures for files that yield none of their own. There are three kinds; each
/// has the path of a file, and a slot for one compressed copy at the size of TNG_LARGE_BOX, which is filled
/// once and then stays for the life of the process.

/// The file that all three kinds are found as, with the separator in front.
inline constexpr char16_t TNG_DEFAULT_IMAGE_NAME[] = u"/EmptyImage_240.png";

inline constexpr std::size_t TNG_DEFAULT_PATH_UNITS = 260;  // UTF-16 units, the closing zero included

extern char16_t s_szAudioImagePath[TNG_DEFAULT_PATH_UNITS];
extern char16_t s_szVideoImagePath[TNG_DEFAULT_PATH_UNITS];
extern char16_t s_szOtherImagePath[TNG_DEFAULT_PATH_UNITS];

/// A compressed copy of a default image.
struct TNGDefaultImage {
    std::uint8_t* m_pBuffer = nullptr;  // owned, from the process heap
    std::int32_t m_nSize = -1;          // bytes; -1 when empty
};

enum TNGDefaultSlot : int {
    DEFAULT_SLOT_NONE = -1,
    DEFAULT_SLOT_AUDIO = 0,
    DEFAULT_SLOT_VIDEO = 1,
    DEFAULT_SLOT_OTHER = 2,
    DEFAULT_SLOT_COUNT = 3,
};

/// Slots are read and filled without a lock; what is in a filled one never changes.
using TNGDefaultImageTable = std::array<std::atomic<TNGDefaultImage*>, DEFAULT_SLOT_COUNT>;

/// Null until the first database manager makes it. Owned; its last manager releases it.
extern std::atomic<TNGDefaultImageTable*> s_pDefaultImages;

void MakeDefaultImageTable();
void ReleaseDefaultImageTable();

/// The slot of an asset type; DEFAULT_SLOT_NONE for still pictures and unknown values.
TNGDefaultSlot GetDefaultSlot(std::uint32_t eFileType);

/// True if the slot of this type is filled.
bool IsDefaultImageCached(std::uint32_t eFileType);

/// Fills the slot of this type with a copy, unless it is filled. False if there is no memory for it; true
/// also for a type without a slot.
bool StoreDefaultImage(std::uint32_t eFileType, const std::uint8_t* pBytes, std::int32_t nSize);

/// A copy of the slot of this type in whole pages, and its bytes; null and 0 if there is none.
TNGBuffer GetDefaultImageBuffer(std::uint32_t eFileType, std::int32_t* pnSize);

/// Whether the thumbnail of `path` counts as PNG, by its origin (TNGOrigin) and asset type. A default image
/// does by its own name, a video's frame never, anything else by the name of the file.
bool IsFilePNG(const std::u16string& path, int eOrigin, std::uint32_t eFileType);
