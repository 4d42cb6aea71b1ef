#pragma once

#include <array>
#include <cstdint>

#include "JpegBitReader.h"
#include "JpegScans.h"
#include "iml/ByteSource.h"

/// The units of a scan, one after the other, with the restart markers between them.
class JpegUnits {
  public:
    JpegUnits(ByteSource& source, const JpegScan& scan, const JpegTables& tables)
        : reader(source, scan.data), m_nInterval(tables.RestartInterval()), m_nUntilRestart(m_nInterval) {}

    /// Makes ready for the next unit. False if the data has ended, or a restart marker is missing.
    bool Next() {
        if (m_nInterval != 0 && m_nUntilRestart-- == 0 && !Restart()) return false;
        return reader.Ensure();
    }

    JpegBitReader reader;
    std::array<int, 3> predictions{};  // of DC, by part of the scan

  private:
    bool Restart() {
        predictions = {};
        m_nUntilRestart = m_nInterval - 1;
        return reader.SkipRestartMarker(m_nRestarts++ % 8);
    }

    std::uint32_t m_nInterval;
    std::uint32_t m_nUntilRestart;
    unsigned m_nRestarts = 0;
};
