#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "SheetFigures.h"
#include "SheetTile.h"
#include "files/OutputFile.h"

namespace Client {

/// The page's style sheet.
extern const std::string_view kSheetStyle;

/// The HTML page, written tile by tile; it uses nothing but itself. The original files are linked.
class SheetPage {
  public:
    SheetPage(const std::string& path, const SheetSource& source);

    /// The tiles of one folder must come one after the other.
    void Add(const std::string& file, const Tile& tile);

    /// Ends the page; it appears under its name.
    void Finish(const SheetFigures& figures);

  private:
    void Write(std::string_view html);
    void StartSection(std::string_view folder);
    void EndSection();

    OutputFile m_output;
    std::size_t m_written = 0;    // bytes
    std::size_t m_summaryAt = 0;  // offset
    std::string m_sectionFolder;
    bool m_inSection = false;
};

}  // namespace Client
