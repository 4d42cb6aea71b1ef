#pragma once

#include <memory>
#include <string>

#include "common/TNGShared.h"
#include "platform/Streams.h"

/// A file that is read again and again, and stays open in between: to open a file takes longer than to read
/// a thumbnail. Threads share it. Needs no destructor; Close() gives the descriptor back.
class TNGKeptFile {
  public:
    /// How to find out whether the file is still the one to read.
    enum class Check {
        Path,  // it is at its path
        Name,  // it has not been deleted or replaced: cheaper, but a folder that has got another name goes on
    };
    constexpr explicit TNGKeptFile(Check eCheck) : m_eCheck(eCheck) {}

    /// The file at `path`; null with the errno value if it cannot be opened.
    std::shared_ptr<const Platform::PlainFile> Open(const std::u16string& path, int* pnError);

    /// Closes it when nobody reads it any more.
    void Close() { m_pKept.Clear(); }

  private:
    struct Kept {
        std::u16string path;
        Platform::PlainFile file;
    };
    bool IsGood(const Kept& kept, const std::u16string& path) const;

    const Check m_eCheck;
    TNGShared<std::shared_ptr<const Kept>> m_pKept;
};

/// The data file that thumbnails were last read from, and the date-time file. That one is looked for at its
/// path whenever the cache is entered, so a cache folder that has got another name is noticed.
extern TNGKeptFile s_keptDataFile;
extern TNGKeptFile s_keptDateTimeFile;

/// Closes both: the folder may go, or its disk.
void CloseKeptFiles();
