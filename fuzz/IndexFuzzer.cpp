// Any bytes as the index file of a cache, in every mode of loading.
#include <cstring>

#include "CacheFolder.h"
#include "common/TNGTypes.h"
#include "store/TNGFolderMapCollection.h"

namespace {

constexpr char16_t kIndexName[] = u"DirectoryMap.dat";

// A run must never reach files beside its folder, whatever the code that is tested does.
bool LeadsElsewhere(const std::uint8_t* pData, std::size_t nSize) {
    constexpr char16_t kParent[] = {u'.', u'.', u'/'};
    return memmem(pData, nSize, kParent, sizeof kParent) != nullptr;
}

void RestoreLists(const Fuzz::CacheFolder& folder) {
    const std::uint8_t none[] = {0, 0, 0, 0};
    for (const char* pszName : {"1.dat", "2.dat"}) {
        if (!folder.Has(pszName)) folder.Write(pszName, none, sizeof none);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    static const Fuzz::CacheFolder s_folder;
    if (LeadsElsewhere(pData, nSize)) return 0;
    const std::u16string path = s_folder.Write("DirectoryMap.dat", pData, nSize);
    RestoreLists(s_folder);
    CTNGFolderMapCollection maps;
    TNGPathIndex index;
    bool bAdded = false;
    maps.Load(kIndexName, nullptr, false, true, nullptr);
    maps.CheckAndAddNewFolderMap(path, &bAdded, nullptr);
    if (bAdded && maps.LookupFolderMap(u"/a", nullptr) && maps.FindItem(u"/a")->m_bListLoaded) std::abort();
    maps.Load(kIndexName, u"/a/x.jpg", true, false, &index);
    CTNGFolderMap* pFolder = nullptr;
    maps.LoadIndexFile(u"/b", false, &pFolder, &index);
    maps.Load(kIndexName, nullptr, false, false, nullptr);
    std::int32_t number = 1;
    maps.NextFileNumberAfterMaps(&number);
    maps.AppendThumbnails(kIndexName);
    maps.SaveFolderMaps(kIndexName, true);
    return 0;
}
