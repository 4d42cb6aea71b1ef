// Thumbnails in the background, without ever blocking the thread that wants them:
//
//     background CACHE_FOLDER PICTURE...
//
// One background thread serves all pictures: each callback files the next request on its own thread. The
// forms take turns, and each is released in its own way. Half way through, the user loses interest.

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "api/QxTng.h"
#include "platform/Memory.h"
#include "platform/graphics/Image.h"

namespace {

// Paths are UTF-16; names that are not plain ASCII need a conversion that this example leaves out.
std::u16string Widen(const std::string& path) {
    return std::u16string(path.begin(), path.end());
}

// The library hands back the context that the request was filed with; what follows the base is the client's.
struct Client : TNGBackgroundContext {
    TNGThumbnailResult record{};
    std::vector<std::string> files;
    unsigned threadId = 0;  // there before the first callback; the callbacks file on it

    std::mutex guard;  // of all that follows
    std::condition_variable change;
    std::size_t next = 0;
    std::size_t received = 0;
    bool over = false;

    Client() : TNGBackgroundContext{&record} {}
};

TNGOutputForm FormOf(std::size_t index) {
    constexpr TNGOutputForm kForms[] = {TNG_OUTPUT_IMAGE, TNG_OUTPUT_COMPRESSED, TNG_OUTPUT_ARGB};
    return kForms[index % 3];
}

// Everything that a request yields belongs to the client. Each form is allocated in another way.
void Release(const TNGThumbnailResult& record) {
    switch (record.eOutputForm) {
        case TNG_OUTPUT_IMAGE:
            delete static_cast<Gdiplus::Image*>(record.pResult);
            break;
        case TNG_OUTPUT_COMPRESSED:
            VirtualFree(record.pResult, 0, MEM_RELEASE);
            break;
        default:
            HeapFree(GetProcessHeap(), 0, record.pResult);
    }
}

void Report(const std::string& file, const TNGThumbnailResult& record) {
    if (!record.pResult) {
        std::printf("%s: no thumbnail\n", file.c_str());
    } else if (record.eOutputForm == TNG_OUTPUT_COMPRESSED) {
        std::printf("%s: %u bytes\n", file.c_str(), record.nWidthOrLength);
    } else {
        std::printf("%s: %u x %u pixels\n", file.c_str(), record.nWidthOrLength, record.nHeight);
    }
}

void OnThumbnail(TNGBackgroundContext* pContext);

// Files the first request that is accepted; false if there is none left. A file that has gone is refused.
bool FileNext(Client& client) {
    for (;;) {
        std::size_t index = 0;
        {
            const std::lock_guard<std::mutex> lock(client.guard);
            if (client.next == client.files.size()) return false;
            index = client.next++;
        }
        const std::uint32_t result = QXGenerateThumbnailInBackGround(
            Widen(client.files[index]).c_str(), TNGSize{160, 160}, TNG_SOURCE_DECODE_ONLY, FormOf(index),
            &OnThumbnail, &client, &client.threadId);
        if (result == QXTNG_SUCCESS) return true;
        // Stopped meanwhile, or no thread to be had: the rest would fare no better.
        if (result != QXTNG_ERROR_INVALID_ARGUMENT) return false;
        std::fprintf(stderr, "%s: cannot be read\n", client.files[index].c_str());
    }
}

// On the background thread. It must not throw.
void OnThumbnail(TNGBackgroundContext* pContext) {
    Client& client = *static_cast<Client*>(pContext);
    std::string file;
    {
        const std::lock_guard<std::mutex> lock(client.guard);
        file = client.files[client.next - 1];
    }
    Report(file, client.record);
    Release(client.record);
    // From here on the record is the next request's.
    const bool filed = FileNext(client);
    const std::lock_guard<std::mutex> lock(client.guard);
    ++client.received;
    client.over = client.over || !filed;
    client.change.notify_all();
}

bool OpenCache(const std::string& folder) {
    return SetCacheFolder(Widen(folder).c_str()) == QXTNG_SUCCESS && SetCacheEnabled(1) == QXTNG_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: background CACHE_FOLDER PICTURE...\n");
        return 2;
    }
    if (!OpenCache(argv[1])) {
        std::fprintf(stderr, "%s: no cache\n", argv[1]);
        return 1;
    }
    Client client;
    client.files.assign(argv + 2, argv + argc);
    const std::size_t enough = (client.files.size() + 1) / 2;

    if (FileNext(client)) {
        std::unique_lock<std::mutex> lock(client.guard);
        client.change.wait(lock, [&] { return client.over || client.received >= enough; });
    }
    // Whatever the thread is doing: once this returns no callback begins, and the library never touches the
    // client again.
    if (client.threadId != 0) QXStopBackGroundThread(client.threadId);
    std::printf("%zu received\n", client.received);

    // Ends all background threads and saves what is new in the cache.
    return ShutDown() == QXTNG_SUCCESS && client.received >= enough ? 0 : 1;
}
