#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "JpegAcSkipper.h"
#include "JpegNumberTable.h"
#include "JpegPlane.h"
#include "JpegQuarters.h"
#include "JpegScans.h"
#include "JpegUnits.h"

/// Decodes a scan of a sequential JPEG into planes.
class JpegBaselineScan {
  public:
    /// False if the scan is refused. The planes outlive the object.
    bool Prepare(const JpegScans& scans, const JpegScan& header, JpegPlanes& planes);

    /// Decodes the next `nUnits` units into the planes, as their row of units number `nRow`. Coefficients
    /// there are 0 before. False if the data is not as it should be.
    bool DecodeUnits(JpegUnits& units, std::uint32_t nUnits, std::uint32_t nRow) const;

  private:
    // What it takes to decode a component.
    struct Part {
        JpegPlane* pPlane;
        std::uint32_t h;  // blocks of a unit
        std::uint32_t v;
        int step;  // of DC
        const JpegNumberTable* pDc;
        const JpegNumberTable* pAc;            // for coefficients that count
        const JpegAcSkipper* pSkipper;         // for those that do not
        std::optional<JpegQuarters> quarters;  // if the plane wants them
    };

    // The tables of one kind, by number of the code. Components may share them, and do.
    template <typename Table>
    class TablesOf {
      public:
        const Table* Get(std::size_t nIndex, const JpegHuffmanCode& code) {
            if (!m_tables[nIndex]) m_tables[nIndex] = std::make_unique<Table>(code);
            return m_tables[nIndex].get();
        }

      private:
        std::array<std::unique_ptr<Table>, 4> m_tables;
    };

    static bool DecodeQuarters(const Part& part, JpegBits& bits, int dc, std::uint8_t* pSamples);
    static bool DecodeLowWaves(const Part& part, JpegBits& bits, std::int16_t* pBlock);
    static bool DecodeBlock(const Part& part, JpegBits& bits, int& prediction, std::size_t row,
                            std::size_t column);
    static bool DecodeBlocks(const Part& part, JpegBits& bits, int& prediction, std::uint32_t unit,
                             std::uint32_t nRow);

    std::vector<Part> m_parts;
    TablesOf<JpegNumberTable> m_dcTables;
    TablesOf<JpegNumberTable> m_acTables;
    TablesOf<JpegAcSkipper> m_skippers;
};
