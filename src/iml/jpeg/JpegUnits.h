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
        : m_reader(source, scan.data), m_nInterval(tables.RestartInterval()), m_nUntilRestart(m_nInterval) {
        bits = m_reader.Begin();
    }

    /// Makes the next bits ready for the next unit. They are a copy of `bits`, to be kept in registers from
    /// unit to unit. False if the data has ended, or a restart marker is missing.
    bool Next(JpegBits& next) {
        if (m_nInterval != 0 && m_nUntilRestart-- == 0) {
            JpegBits copy = next;
            const bool good = Restart(copy);
            next = copy;
            if (!good) return false;
        }
        return m_reader.Ensure(next);
    }

    /// See JpegBitReader.
    bool HasOverrun() const { return m_reader.HasOverrun(bits); }
    bool IsAtMarker() { return m_reader.IsAtMarker(bits); }
    bool HasReachedEnd() { return m_reader.HasReachedEnd(bits); }

    JpegBits bits;                     // where the data has got to
    std::array<int, 3> predictions{};  // of DC, by part of the scan
    std::uint32_t nEnds = 0;           // blocks that end before they begin, in a progressive file

  private:
    bool Restart(JpegBits& next) {
        predictions = {};
        nEnds = 0;
        m_nUntilRestart = m_nInterval - 1;
        return m_reader.SkipRestartMarker(next, m_nRestarts++ % 8);
    }

    JpegBitReader m_reader;
    std::uint32_t m_nInterval;
    std::uint32_t m_nUntilRestart;
    unsigned m_nRestarts = 0;
};
