#pragma once

#include "common/TNGTypes.h"
#include "store/StoreFixture.h"

namespace StoreTest {

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

}  // namespace StoreTest
