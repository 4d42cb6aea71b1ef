#pragma once

#include <array>
#include <filesystem>
#include <mutex>
#include <random>
#include <string>

#include "api/BackgroundCalls.h"
#include "api/RunLedger.h"
#include "api/Thumbnail.h"
#include "locks/Ledger.h"

namespace TestSupport {

/// One player of a random run: does anything that a client can do, and looks after each step if the picture
/// is right that it gets.
class RandomWorker {
  public:
    RandomWorker(const std::filesystem::path& ledger, int slot, unsigned seed);

    /// Works until the ledger says so. "done", or what went wrong.
    std::string Work();

    /// Looks at all pictures, none of which changes meanwhile, then saves.
    std::string Verify();

    /// The kinds of steps, by their numbers in the ledger; null after the last one.
    static const char* NameOfStep(int step);

  private:
    // A picture with the versions that were there at some time of a request.
    struct Look {
        int picture;
        std::uint32_t from, to;
        bool IsFixed() const { return from == to; }
        bool IsThere() const { return to % 2 == 0 && IsFixed(); }
        bool WasAway() const { return from != to || to % 2 != 0; }
    };
    struct Filed : Request {
        int nFiled = 0;
    };

    struct StepKind;
    static const StepKind kSteps[];

    static void Require(bool bGood, const std::string& what);
    static void RequireFair(std::uint32_t result, const char* pszWhat,
                            std::uint32_t fair = QXTNG_ERROR_NOT_CACHED);
    void Step();
    void Repair(int slot);
    void FollowTheMover();
    int Any(int n) { return static_cast<int>(m_random() % static_cast<unsigned>(n)); }
    int AnyPicture() { return Any(RunLedger::kPictures); }
    int OwnPicture();
    int FirstOfFolder(int picture) const { return picture / kInFolder * kInFolder; }
    std::u16string PathOf(int picture) const;
    std::u16string FolderOf(int picture) const;
    Look Begin(int picture) const { return {picture, m_ledger->aDone[picture], 0}; }
    Look End(Look look) const {
        look.to = m_ledger->aBegun[look.picture];
        return look;
    }

    Look Show(int picture, std::uint32_t box, int* peOrigin = nullptr);
    void ExpectRight(const Look& look, std::uint32_t result, bool bDefault, const Raster& pixels) const;
    void Query(int picture);
    void FileBackground(int picture);
    void Stop(Filed& request);
    void Drain();
    void Change(int picture, std::uint32_t by);
    void Bring(int picture, std::uint32_t version);
    void Put(int picture, std::uint32_t version) const;
    void VanishFolder(int picture);
    void Update(int picture);
    void UpdateFolderOf(int picture);
    void Delete(int picture);
    void DeleteFolderOf(int picture);
    void Save();
    void Accept(int picture);
    void UnderLock(int picture);
    void Disable(int picture);
    void Move(int picture);
    bool OthersStayOut();

    static constexpr int kInFolder = RunLedger::kPicturesOfFolder;

    const std::filesystem::path m_run;
    const Shared<RunLedger> m_ledger;
    const int m_nSlot;
    std::minstd_rand m_random;
    int m_nCache = 0;
    std::array<Filed, 2> m_requests;
    std::mutex m_guard;
    std::string m_fault;  // of a background thread
};

}  // namespace TestSupport
