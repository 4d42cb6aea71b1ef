// An application at a cache of real pictures: thumbnail_player CACHE [COMMAND...]. It does what it is told by
// lines, and answers each by one line: a result code, or what it was asked for. Commands that are given at
// once have to succeed; before the last one it stops itself, to be killed at it.
//     show PATH BOX: the number that the thumbnail shows, and where it came from
//     current PATH: the result, and whether the entry is up to date
//     accept|update|updatefolder|delete|rmfolder|folder PATH, updateall, shutdown: the exports
//     work|verify LEDGER SLOT SEED: as one of the players of a random run
#include <unistd.h>

#include <csignal>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>

#include "api/RandomWorker.h"
#include "api/Thumbnail.h"
#include "support/CodedPicture.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace TestSupport;

std::string PathIn(std::istream& in) {
    std::string path;
    in >> path;
    return path;
}

std::string Show(std::istream& in) {
    const std::u16string path = TextOf(PathIn(in));
    std::uint32_t box = 0;
    in >> box;
    const Thumbnail shown = Make(TNG_OUTPUT_IMAGE, path, {box, box}, TNG_SOURCE_DECODE_ONLY);
    return std::to_string(NumberShownBy(shown.pixels)) + ' ' + std::to_string(shown.eOrigin);
}

std::string Current(std::istream& in) {
    int bUpToDate = -1;
    const std::uint32_t result = IsCachedThumbnailUpToDate(TextOf(PathIn(in)).c_str(), &bUpToDate);
    return std::to_string(result) + ' ' + std::to_string(bUpToDate);
}

using Command = std::function<std::string(std::istream&)>;

Command OnPath(std::uint32_t (*pExport)(const char16_t*)) {
    return [=](std::istream& in) { return std::to_string(pExport(TextOf(PathIn(in)).c_str())); };
}

Command OnCache(std::uint32_t (*pExport)()) {
    return [=](std::istream&) { return std::to_string(pExport()); };
}

Command OnLedger(std::string (RandomWorker::*pWork)()) {
    return [=](std::istream& in) {
        const std::string path = PathIn(in);
        int slot = 0;
        unsigned seed = 0;
        in >> slot >> seed;
        return (RandomWorker(path, slot, seed).*pWork)();
    };
}

std::string Do(const std::string& line) {
    static const std::map<std::string, Command> commands = {
        {"show", Show},
        {"current", Current},
        {"accept", OnPath(UpdateFileInfo)},
        {"update", OnPath(UpdateThumbnail)},
        {"updatefolder", OnPath(UpdateFolder)},
        {"updateall", OnCache(UpdateAllOfCache)},
        {"delete", OnPath(DeleteThumbnail)},
        {"rmfolder", OnPath(DeleteFolder)},
        {"folder", OnPath(SetCacheFolder)},
        {"shutdown", OnCache(ShutDown)},
        {"work", OnLedger(&RandomWorker::Work)},
        {"verify", OnLedger(&RandomWorker::Verify)},
    };
    std::istringstream in(line);
    const auto found = commands.find(PathIn(in));
    return found == commands.end() ? "unknown" : found->second(in);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || SetCacheFolder(TextOf(argv[1]).c_str()) != QXTNG_SUCCESS || SetCacheEnabled(1) != 0)
        return 2;
    for (int i = 2; i < argc; ++i) {
        if (i + 1 == argc) std::raise(SIGSTOP);
        if (Do(argv[i]) != "0") _exit(1);
        if (i + 1 == argc) _exit(0);
    }
    for (std::string line; std::getline(std::cin, line);)
        std::cout << Do(line) << std::endl;
}
