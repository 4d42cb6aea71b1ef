// Any bytes as the list file of a folder: read it, write it anew, compact the folder, append to it.
#include <memory>
#include <vector>

#include "CacheFolder.h"
#include "common/TNGTypes.h"
#include "store/TNGDataFile.h"
#include "store/TNGFolderMap.h"

namespace {

// Blocks as long as those of the seeds, so that some records lead to one.
void WriteDataFile(const Fuzz::CacheFolder& folder) {
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < 4; ++i) {
        bytes.insert(bytes.end(), 120, static_cast<std::uint8_t>(9 + i));
        bytes.insert(bytes.end(), {0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0});
    }
    folder.Write("1.db", bytes.data(), bytes.size());
}

void Use(CTNGFileDataCollection& list) {
    CTNGFileData* pFound = nullptr;
    for (int i = 0; i < list.GetCount(); ++i) {
        if (list.FindRecord(list.GetAt(i)->m_strFilePath, &pFound) != 1) std::abort();
    }
    const bool bSaved = list.SaveList(true, u"1.db", true) == QXTNG_SUCCESS;
    list.AddItem(std::make_unique<CTNGFileData>());
    list.AppendNewRecords();
    if (!bSaved) return;
    // What was written must be readable, whatever it was made of.
    if (list.LoadList(u"1.dat", nullptr) != QXTNG_SUCCESS) std::abort();
    list.RemoveRecord(list.GetAt(0)->m_strFilePath);
    list.SaveList(true, u"1.db", false);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    static const Fuzz::CacheFolder s_folder;
    s_folder.Write("1.dat", pData, nSize);
    WriteDataFile(s_folder);
    CTNGFolderMap folderMap(true);
    TNGPathIndex index;
    if (folderMap.FileDataList->LoadList(u"1.dat", &index) != QXTNG_SUCCESS) {
        if (!index.empty() || folderMap.FileDataList->GetCount() != 0) std::abort();
        return 0;
    }
    Use(*folderMap.FileDataList);
    return 0;
}
