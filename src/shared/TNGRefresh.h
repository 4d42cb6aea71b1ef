#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Threads.h"

/// The reading of data files on a thread of low priority, so that the system has them in its file cache.
/// There is one at a time in a process, and two minutes between two of them.
class TNGRefresh {
  public:
    TNGRefresh() = default;

    /// Has a thread at work leave off, and waits for it.
    ~TNGRefresh() { Stop(); }
    TNGRefresh(const TNGRefresh&) = delete;
    TNGRefresh& operator=(const TNGRefresh&) = delete;

    /// True if none is at work and the pause is over.
    static bool IsDue();

    /// Starts the reading of files of the cache folder, by their bare names, if it is due. A result code.
    std::uint32_t Start(std::vector<std::u16string> names);

    void Stop();

  private:
    static unsigned RefreshThreadProc(void* pArgument);
    void TouchFiles() const;

    std::mutex m_start;                   // held by Start(): one thread takes the place of the one before
    std::vector<std::u16string> m_names;  // of the thread, while it runs
    std::atomic<bool> m_bStop{false};
    Platform::Thread* m_hRefreshThread = nullptr;  // owned
};
