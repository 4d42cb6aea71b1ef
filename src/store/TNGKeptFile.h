#pragma once

#include <memory>
#include <string>

#include "common/TNGShared.h"
#include "platform/Streams.h"

/// A file that is read again and again, and stays open in between: to open and close a file takes twice as
/// long as to look whether it is still in its place. Threads share it. Needs no destructor; Close() gives the
/// descriptor back.
class TNGKeptFile {
  public:
    /// How to find out whether the file is still the one to read.
    using Check = bool (Platform::PlainFile::*)() const;
    constexpr explicit TNGKeptFile(Check check) : m_check(check) {}

    /// The file at `path`; null with the errno value if it cannot be opened.
    std::shared_ptr<const Platform::PlainFile> Open(const std::u16string& path, int* pnError);

    /// Closes it when nobody reads it any more.
    void Close() { m_pKept.Clear(); }

  private:
    struct Kept {
        std::u16string path;
        Platform::PlainFile file;
    };
    const Check m_check;
    TNGShared<std::shared_ptr<const Kept>> m_pKept;
};

/// The date-time file. It is looked for at its path.
extern TNGKeptFile s_keptDateTimeFile;

/// The data file that thumbnails were last read from. It is closed as soon as the cache turns out to have
/// been changed by others, or this process replaces or deletes a data file; so it only has to have a name
/// still.
extern TNGKeptFile s_keptDataFile;

/// Closes both: the folder may go, or its disk.
void CloseKeptFiles();
