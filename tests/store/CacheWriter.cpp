// Changes the pictures of one folder in a cache, to be killed at it.
//     cache_writer loop FOLDER LEDGER LOCK: adds and removes numbered pictures under a named lock, until
//     there
//         are no more numbers
//     cache_writer once FOLDER append|anew|rewrite|compact: stops itself, does one thing and ends
#include <csignal>
#include <iostream>
#include <random>
#include <string_view>

#include "common/TNGTypes.h"
#include "locks/TNGAutoMutexPtr.h"
#include "platform/Text.h"
#include "store/CacheSteps.h"

namespace {

using namespace StoreTest;

using Platform::PathFromBytes;

void Require(bool bGood, const char* pszWhat) {
    if (bGood) return;
    std::cerr << "cache_writer: " << pszWhat << std::endl;
    std::abort();
}

// The folder /a of the cache, with its list; made, with its neighbours, if there is none.
CTNGFolderMap* LoadOrMakeFolder(CTNGFolderMapCollection& maps) {
    if (CTNGFolderMap* const pFolder = LoadFolder(maps)) return pFolder;
    AddNeighbours(maps);
    maps.AddItemByKey(NewFolder(u"/a", 1).release(), u"/a");
    return maps.FindItem(u"/a");
}

using Ledger = TestSupport::Shared<volatile WriterLedger>;

void Add(CTNGFolderMapCollection& maps, CTNGFolderMap& folder, const Ledger& ledger, unsigned nMost) {
    for (unsigned i = 0; i < nMost && ledger->nNext < WriterLedger::kMost; ++i) {
        const int number = ledger->nNext;
        ledger->nNext = number + 1;
        ledger->states[number] = WriterLedger::Adding;
        Require(AddPicture(folder, NumberedPath(number), number, LengthOfLarge(number), kSmallLength),
                "no block can be appended");
    }
    Require(maps.AppendThumbnails(kIndexName) == QXTNG_SUCCESS, "the new records cannot be saved");
}

void Remove(CTNGFolderMapCollection& maps, CTNGFolderMap& folder, const Ledger& ledger, int index,
            bool bCompact) {
    const int number = NumberOf(*folder.FileDataList->GetAt(index));
    ledger->bCompacting = bCompact;
    ledger->states[number] = WriterLedger::Removing;
    folder.FileDataList->RemoveRecord(NumberedPath(number));
    folder.m_bListDirty = true;
    folder.m_nStaleBlocks = bCompact ? 1 : 0;
    Require(maps.SaveFolderMaps(kIndexName, true) == QXTNG_SUCCESS, "the folder cannot be saved");
}

int Loop(const char* pszLedger, const char* pszLock) {
    const Ledger ledger(pszLedger);
    CTNGMutex mutex(PathFromBytes(pszLock));
    std::minstd_rand random(std::random_device{}());
    CTNGFolderMapCollection maps;
    CTNGFolderMap& folder = *LoadOrMakeFolder(maps);
    std::cout << "ready" << std::endl;
    while (ledger->nNext < WriterLedger::kMost) {
        const CTNGAutoMutexPtr hold(&mutex, true, TNG_WAIT_FOREVER, true);
        Require(hold.IsLocked(), "the lock is blocked");
        const int count = folder.FileDataList->GetCount();
        const unsigned choice = static_cast<unsigned>(random() % 4);
        if (count < 4 || (choice < 2 && count < 16)) {
            Add(maps, folder, ledger, 1 + choice);
        } else {
            Remove(maps, folder, ledger, static_cast<int>(random() % static_cast<unsigned>(count)),
                   choice > 2);
        }
        ledger->Settle();
    }
    return 0;
}

int Once(std::string_view what) {
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
    if (argc < 4) return 2;
    s_strCacheFolder.Set(PathFromBytes(argv[2]));
    if (argc == 5) return Loop(argv[3], argv[4]);
    return Once(argv[3]);
}
