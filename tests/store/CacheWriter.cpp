// Changes a cache, to be killed at it.
//     cache_writer FOLDER append|anew|rewrite|compact: stops itself, does one thing and ends
#include <csignal>
#include <string_view>

#include "common/TNGTypes.h"
#include "platform/Text.h"
#include "store/CacheSteps.h"

namespace {

using namespace StoreTest;

// The folder /a of the cache, with its list; made, with its neighbours, if there is none.
CTNGFolderMap* LoadOrMakeFolder(CTNGFolderMapCollection& maps) {
    if (CTNGFolderMap* const pFolder = LoadFolder(maps)) return pFolder;
    AddNeighbours(maps);
    maps.AddItemByKey(NewFolder(u"/a", 1).release(), u"/a");
    return maps.FindItem(u"/a");
}

[[noreturn]] void Change(std::string_view what) {
    CTNGFolderMapCollection maps;
    CTNGFolderMap* const pFolder = LoadOrMakeFolder(maps);
    std::raise(SIGSTOP);
    if (what == "append" || what == "anew") {
        if (what == "anew") pFolder->FileDataList->RemoveRecord(NumberedPath(1));
        AddPicture(*pFolder, NumberedPath(20), 20);
        maps.AppendThumbnails(kIndexName);
    } else {
        pFolder->FileDataList->RemoveRecord(NumberedPath(1));
        pFolder->m_bListDirty = true;
        pFolder->m_nStaleBlocks = what == "compact";
        maps.SaveFolderMaps(kIndexName, true);
    }
    _exit(0);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    s_strCacheFolder.Set(Platform::PathFromBytes(argv[1]));
    Change(argv[2]);
}
