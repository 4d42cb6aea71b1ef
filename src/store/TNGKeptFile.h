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
    /// The file at `path`; null with the errno value if it cannot be opened.
    std::shared_ptr<const Platform::PlainFile> Open(const std::u16string& path, int* pnError);

    /// Closes it when nobody reads it any more.
    void Close() { m_pKept.Clear(); }

  private:
    struct Kept {
        std::u16string path;
        Platform::PlainFile file;
    };
    TNGShared<std::shared_ptr<const Kept>> m_pKept;
};

/// The data file that thumbnails were last read from, and the date-time file.
extern TNGKeptFile s_keptDataFile;
extern TNGKeptFile s_keptDateTimeFile;

/// Closes both: the folder may go, or its disk.
void CloseKeptFiles();
