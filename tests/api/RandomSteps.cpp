// What a player of a random run does in one step, and what has to come of it.
#include <algorithm>
#include <fstream>
#include <sstream>
#include <thread>

#include "RandomWorker.h"
#include "support/CodedPicture.h"
#include "support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace TestSupport {
namespace {

constexpr TNGSize kSize{240, 180};
constexpr std::size_t kUsualFile = 1 << 14;  // so that the time alone tells one version from another
constexpr std::size_t kLargeFile = 1 << 20;
constexpr auto kPause = std::chrono::milliseconds(1);

std::uint32_t NumberOf(int picture, std::uint32_t version) {
    return static_cast<std::uint32_t>(picture) << 16 | (version & 0xFFFF);
}

}  // namespace

RandomWorker::Look RandomWorker::Show(int picture, std::uint32_t box, int* peOrigin) {
    const Look before = Begin(picture);
    const auto form = Any(2) ? TNG_OUTPUT_IMAGE : TNG_OUTPUT_ARGB;
    const Thumbnail shown = Make(form, PathOf(picture), {box, box}, TNG_SOURCE_DECODE_ONLY);
    const Look look = End(before);
    ExpectRight(look, shown.result, shown.bDefault != 0, shown.pixels);
    if (peOrigin) *peOrigin = shown.eOrigin;
    return look;
}

void RandomWorker::ExpectRight(const Look& look, std::uint32_t result, bool bDefault,
                               const Raster& pixels) const {
    const bool bNone = result != QXTNG_SUCCESS || bDefault;
    if (bNone && look.WasAway()) return;
    const std::int64_t shown = bNone ? -1 : NumberShownBy(pixels);
    const std::int64_t version = shown & 0xFFFF;
    if (shown >= 0 && shown >> 16 == look.picture && version >= look.from && version <= look.to) return;
    std::ostringstream text;
    text << "picture " << look.picture << ", versions " << look.from << " to " << look.to << ": result "
         << result << ", default " << bDefault << ", shown " << (shown >> 16) << " version " << version;
    throw std::runtime_error(text.str());
}

void RandomWorker::Query(int picture) {
    const std::u16string path = PathOf(picture);
    int bAnswer = -1;
    Require(IsFileCached(path.c_str(), &bAnswer) == QXTNG_SUCCESS && (bAnswer == 0 || bAnswer == 1),
            "IsFileCached");
    const Look before = Begin(picture);
    TNGSize size{};
    const std::uint32_t result = GetSizeOriginal(path.c_str(), &size);
    const bool bRight =
        result == QXTNG_SUCCESS && size.nWidth == kSize.nWidth && size.nHeight == kSize.nHeight;
    Require(bRight || End(before).WasAway(), "GetSizeOriginal answers " + std::to_string(result));
}

void RandomWorker::FileBackground(int picture) {
    const auto idle = std::ranges::find_if(m_requests, [](const Filed& r) { return r.calls == r.nFiled; });
    if (idle == m_requests.end()) return;
    const Look before = Begin(picture);
    idle->then = [this, before](Request& request) {
        const Raster pixels = TakeResult(request.record);
        try {
            ExpectRight(End(before), pixels.pixels.empty() ? QXTNG_ERROR_FAILED : QXTNG_SUCCESS,
                        request.record.bDefault != 0, pixels);
        } catch (const std::exception& e) {
            const std::scoped_lock lock(m_guard);
            m_fault = std::string("in the background, ") + e.what();
        }
    };
    const std::uint32_t result = idle->File(PathOf(picture), Any(4) ? TNGSize{160, 160} : TNGSize{400, 400},
                                            Any(2) ? TNG_OUTPUT_IMAGE : TNG_OUTPUT_ARGB);
    if (result == QXTNG_SUCCESS) ++idle->nFiled;
    Require(result == QXTNG_SUCCESS || End(before).WasAway(), "filing answers " + std::to_string(result));
}

// Of a thread that is stopped nothing comes any more.
void RandomWorker::Stop(Filed& request) {
    if (request.nThreadId != 0) QXStopBackGroundThread(request.nThreadId);
    request.nThreadId = 0;
    request.nFiled = request.calls;
}

void RandomWorker::Drain() {
    for (const Filed& request : m_requests)
        Require(request.WaitForCalls(request.nFiled), "a background request has been lost");
}

// By two versions to the next picture, or by one from a picture to none and back.
void RandomWorker::Change(int picture, std::uint32_t by) {
    const std::uint32_t version = m_ledger->aDone[picture] + by;
    Bring(picture, by == 2 ? version & ~1u : version);
}

void RandomWorker::Bring(int picture, std::uint32_t version) {
    m_ledger->aBegun[picture] = version;
    if (version % 2 == 0)
        Put(picture, version);
    else
        fs::remove(RunLedger::PathOf(m_run, picture));
    m_ledger->aDone[picture] = version;
}

void RandomWorker::Put(int picture, std::uint32_t version) const {
    Bytes bytes = MakeCodedJpeg(NumberOf(picture, version), kSize.nWidth, kSize.nHeight);
    bytes.resize(picture % kInFolder == 7 && version % 4 == 0 ? kLargeFile : kUsualFile);
    const fs::path path = RunLedger::PathOf(m_run, picture);
    fs::create_directories(path.parent_path());
    std::ofstream(path.string() + ".new", std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    fs::rename(path.string() + ".new", path);
}

void RandomWorker::VanishFolder(int picture) {
    const int first = FirstOfFolder(picture);
    for (int i = first; i < first + kInFolder; ++i)
        m_ledger->aBegun[i] = m_ledger->aDone[i] | 1;
    fs::remove_all(RunLedger::FolderOf(m_run, picture));
    for (int i = first; i < first + kInFolder; ++i)
        m_ledger->aDone[i] = m_ledger->aBegun[i].load();
}

void RandomWorker::Update(int picture) {
    const Look before = Begin(picture);
    const std::uint32_t result = UpdateThumbnail(PathOf(picture).c_str());
    const bool bRight = result == QXTNG_SUCCESS || result == QXTNG_ERROR_NOT_CACHED;
    Require(bRight || End(before).WasAway(), "UpdateThumbnail answers " + std::to_string(result));
    Show(picture, Any(2) ? 160 : 32);
}

void RandomWorker::UpdateFolderOf(int picture) {
    RequireFair(UpdateFolder(FolderOf(picture).c_str()), "UpdateFolder", QXTNG_ERROR_INVALID_ARGUMENT);
}

void RandomWorker::Delete(int picture) {
    RequireFair(DeleteThumbnail(PathOf(picture).c_str()), "DeleteThumbnail");
    Show(picture, 160);
}

void RandomWorker::DeleteFolderOf(int picture) {
    RequireFair(DeleteFolder(FolderOf(picture).c_str()), "DeleteFolder");
}

void RandomWorker::Save() {
    Require(ShutDown() == QXTNG_SUCCESS, "ShutDown");
    for (Filed& request : m_requests)
        Stop(request);  // it is stopped; what it was at does not come
}

// The same picture with another time: its thumbnail stays good. Only if nobody can have an older one.
void RandomWorker::Accept(int picture) {
    if (m_ledger->aDone[picture] % 2 != 0) return;
    Drain();
    Require(LockCache() == QXTNG_SUCCESS, "LockCache");
    Show(picture, 160);
    fs::last_write_time(RunLedger::PathOf(m_run, picture), fs::file_time_type::clock::now());
    const std::uint32_t result = UpdateFileInfo(PathOf(picture).c_str());
    RequireFair(result, "UpdateFileInfo");
    int eOrigin = -1;
    Show(picture, 160, &eOrigin);
    Require(result != QXTNG_SUCCESS || eOrigin == ORIGIN_CACHED, "what was accepted is not taken");
    Require(ReleaseCacheLock() == QXTNG_SUCCESS, "ReleaseCacheLock");
}

// Nobody comes in between, so what is done holds.
void RandomWorker::UnderLock(int picture) {
    Require(LockCache() == QXTNG_SUCCESS, "LockCache");
    const std::u16string path = PathOf(picture);
    Drain();
    // Of no entry: brings this process in step with the others, as UpdateFolder() under the lock does not.
    RequireFair(DeleteThumbnail((FolderOf(picture) + u"/none").c_str()), "DeleteThumbnail");
    int bAnswer = -1;
    if (Any(2)) {
        const Look before = Begin(picture);
        int eOrigin = -1;
        Show(picture, 160);
        Show(picture, 160, &eOrigin);
        Require(!End(before).IsThere() || eOrigin == ORIGIN_CACHED, "a picture is not kept");
        DeleteThumbnail(path.c_str());
        Require(IsFileCached(path.c_str(), &bAnswer) == QXTNG_SUCCESS && bAnswer == 0, "one is not deleted");
        Show(picture, 32);
    }
    const int first = FirstOfFolder(picture);
    std::array<Look, kInFolder> looks{};
    for (int i = 0; i < kInFolder; ++i)
        looks[static_cast<std::size_t>(i)] = Begin(first + i);
    const bool bUpdated = UpdateFolder(FolderOf(picture).c_str()) == QXTNG_SUCCESS;
    for (const Look& before : looks) {
        const std::u16string each = PathOf(before.picture);
        const std::uint32_t result = IsCachedThumbnailUpToDate(each.c_str(), &bAnswer);
        Require(!bUpdated || !End(before).IsThere() || result != QXTNG_SUCCESS || bAnswer == 1,
                "a folder is updated, and picture " + std::to_string(before.picture) + " is not");
    }
    Show(picture, 160);
    Require(ReleaseCacheLock() == QXTNG_SUCCESS, "ReleaseCacheLock");
}

void RandomWorker::Disable(int picture) {
    const std::uint32_t result = SetCacheEnabled(0);
    RequireFair(result, "SetCacheEnabled", QXTNG_ERROR_LOCK_FAILED);
    if (result != QXTNG_SUCCESS) return;
    int eOrigin = -1;
    Show(picture, 160, &eOrigin);
    Require(eOrigin != ORIGIN_CACHED, "there is a cache that is off");
    Require(SetCacheEnabled(1) == QXTNG_SUCCESS, "SetCacheEnabled");
}

bool RandomWorker::OthersStayOut() {
    int nobody = 0;
    if (!m_ledger->nMover.compare_exchange_strong(nobody, m_nSlot + 1)) return false;
    for (int slot = 0; slot < RunLedger::kPlayers; ++slot) {
        while (slot != m_nSlot && m_ledger->aBusy[slot]) {
            if (m_ledger->bPause) return false;
            std::this_thread::sleep_for(kPause);
        }
    }
    return true;
}

// Nothing is lost on the way.
void RandomWorker::Move(int picture) {
    if (Any(2)) Drain();
    if (OthersStayOut()) {
        int eBefore = -1, eAfter = -1;
        Show(picture, 160, &eBefore);
        const Look before = Begin(picture);
        const int target = (m_nCache + 1 + Any(RunLedger::kCaches - 1)) % RunLedger::kCaches;
        const std::u16string folder = TextOf(RunLedger::CacheOf(m_run, target));
        const std::uint32_t result = SetCacheFolder(folder.c_str());
        const bool bBusy =
            std::ranges::any_of(m_requests, [](const Filed& r) { return r.calls != r.nFiled; });
        Require(result == QXTNG_SUCCESS || (bBusy && result == QXTNG_ERROR_FAILED),
                "a move answers " + std::to_string(result));
        if (result == QXTNG_SUCCESS) m_ledger->nCache = m_nCache = target;
        Show(picture, 160, &eAfter);
        Require(eBefore != ORIGIN_CACHED || eAfter == ORIGIN_CACHED || !End(before).IsThere(),
                "a thumbnail is lost in a move");
    }
    if (m_ledger->nMover == m_nSlot + 1) m_ledger->nMover = 0;
}

}  // namespace TestSupport
