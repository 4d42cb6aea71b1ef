#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "JpegAcSkipper.h"
#include "JpegNumberTable.h"
#include "JpegQuarters.h"
#include "JpegScans.h"
#include "JpegUnits.h"

/// The samples of a component at 1/8 of the size: one of a block, or two and two. Of one row of units, or of
/// all.
struct JpegPlane {
    std::uint32_t perBlock = 1;
    std::size_t stride = 0;
    std::vector<std::uint8_t> samples;
    bool complete = false;
};

/// Decodes a scan of a sequential JPEG into planes.
class JpegBaselineScan {
  public:
    /// False if the scan is refused. The planes are by component and outlive the object.
    bool Prepare(const JpegScans& scans, const JpegScan& header, std::array<JpegPlane, 3>& planes);

    /// Decodes the next `nUnits` units into the planes, as their row of units number `nRow`. False if the
    /// data is not as it should be.
    bool DecodeUnits(JpegUnits& units, std::uint32_t nUnits, std::uint32_t nRow) const;

  private:
    // What it takes to decode a component.
    struct Part {
        JpegPlane* pPlane;
        std::uint32_t h;  // blocks of a unit
        std::uint32_t v;
        int step;  // of DC
        const JpegNumberTable* pDc;
        const JpegAcSkipper* pSkipper;         // if a block makes one sample
        const JpegNumberTable* pAc;            // if it makes four
        std::optional<JpegQuarters> quarters;  // likewise
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

    static bool DecodeBlock(const Part& part, JpegBits& bits, int& prediction, std::uint8_t* pSamples);
    static bool DecodeQuarters(const Part& part, JpegBits& bits, int dc, std::uint8_t* pSamples);
    static bool DecodeBlocks(const Part& part, JpegBits& bits, int& prediction, std::uint8_t* pSamples);

    std::vector<Part> m_parts;
    TablesOf<JpegNumberTable> m_dcTables;
    TablesOf<JpegNumberTable> m_acTables;
    TablesOf<JpegAcSkipper> m_skippers;
};
