#pragma once

#include "common/TNGTypes.h"
#include "locks/Ledger.h"
#include "store/StoreFixture.h"

namespace StoreTest {

/// What has become of the pictures that a writer has numbered, for those who look after it was killed.
struct WriterLedger {
    static constexpr int kMost = 240;
    enum State : std::uint8_t { Unused, Adding, Kept, Removing, Gone };

    int nNext;
    int bCompacting;
    State states[kMost];

    /// What an operation that has ended makes of those that it was at.
    void Settle() volatile {
        for (int i = 0; i < kMost; ++i) {
            if (states[i] == Adding) states[i] = Kept;
            if (states[i] == Removing) states[i] = Gone;
        }
        bCompacting = 0;
    }
};

inline constexpr std::int32_t kSmallLength = 100;

/// Long enough for a list of some of them to take more than a page.
inline std::u16string NumberedPath(int number) {
    return u"/a/" + std::u16string(400, u'n') + static_cast<char16_t>(u'0' + number);
}

inline int NumberOf(const CTNGFileData& record) {
    return record.m_strFilePath.back() - u'0';
}

inline std::u16string NeighbourPath(int number) {
    return u"/b/" + std::u16string(250, u'n') + u'/' +
           std::u16string(250, static_cast<char16_t>(u'0' + number));
}

inline constexpr int kNeighbours = 6;

/// Adds folders without pictures, enough for an index of more than a page.
inline void AddNeighbours(CTNGFolderMapCollection& maps) {
    for (int i = 0; i < kNeighbours; ++i)
        maps.AddItemByKey(NewFolder(NeighbourPath(i), 2 + i).release(), NeighbourPath(i));
}

/// Loads the folder /a; null if there is none that can be used.
inline CTNGFolderMap* LoadFolder(CTNGFolderMapCollection& maps) {
    CTNGFolderMap* pFolder = nullptr;
    maps.Load(kIndexName, nullptr, false, true, nullptr);
    return maps.LoadIndexFile(u"/a", false, &pFolder, nullptr) == QXTNG_SUCCESS ? pFolder : nullptr;
}

/// No block of a number ends where one of another number could have ended, however many before it are dead:
/// later ones are longer, and their lengths are 1 in 128.
inline std::int32_t LengthOfLarge(int number) {
    return 128 * (16 + number) + 1 - kSmallLength - static_cast<std::int32_t>(sizeof(TNGBlockTrailer));
}

}  // namespace StoreTest
