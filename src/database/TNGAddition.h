#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "locks/TNGAutoMutexPtr.h"
#include "shared/TNGSharedDataMgr.h"

enum TNGDBState : std::uint32_t;

/// Records added since the last flush.
extern std::atomic<std::int32_t> s_nPendingAdds;

/// One record on its way into the cache. It is made and marked as deleted, so that readers pass it over; the
/// slow work is done on a copy, with no lock held; then the copy is written over the record, and with every
/// tenth record, or the first one of a folder, the files hear of it.
class CTNGAddition {
  public:
    /// `eDBState` is set to loaded by the first record of a cache.
    CTNGAddition(CTNGSharedDataMgr& sharedData, std::atomic<TNGDBState>& eDBState,
                 const std::u16string& path);
    CTNGAddition(const CTNGAddition&) = delete;
    CTNGAddition& operator=(const CTNGAddition&) = delete;

    /// Whether the lock that is needed to begin was had.
    bool HasLock() const { return m_shared.IsLocked() != 0; }

    /// Makes the record and the copy, and gives the lock back. False if there can be no record.
    bool Begin();

    bool IsFirstOfFolder() const { return m_bNewFolderMap; }

    /// The copy.
    CTNGFileData& Record() { return m_made.record; }

    /// Of the folder's data file.
    std::uint32_t DataFileKey() const { return m_made.nDataFileKey; }

    enum class Outcome { Published, NoLock, Gone };

    /// Takes the lock again, and writes the copy over the record if that is still there and its data file is
    /// still the same. The lock stays held.
    Outcome Publish();

    /// Has the files hear of what has been published, if it is time. True if that worked or was not due.
    bool FlushIfDue(bool* pbFlushed);

    /// Gives the lock back and notes that the cache is loaded.
    void End();

    /// Takes the record back. What cannot be taken back stays marked as deleted.
    void TakeBack() noexcept;

  private:
    CTNGSharedDataMgr& m_sharedData;
    std::atomic<TNGDBState>& m_eDBState;
    const std::u16string& m_path;
    CTNGAutoMutexPtr m_shared;
    TNGFoundRecord m_made;
    std::shared_ptr<const void> m_pToken = std::make_shared<char>();  // says that the record is being made
    std::uint32_t m_nRewrites = 0;                                    // of the list when the record was made
    bool m_bNewFolderMap = false;
    bool m_bStateMoved = false;
};
