#pragma once

#include <cstdint>
#include <optional>

#include "JpegNumberTable.h"
#include "JpegPlane.h"
#include "JpegScans.h"
#include "JpegUnits.h"

/// Decodes a scan of AC coefficients of a progressive JPEG (T.81, annex G) into planes that keep the whole
/// picture. Of coefficients that do not count it is only noted which are not 0: the scans to come go by that.
class JpegProgressiveAcScan {
  public:
    /// The scan that `scans` has got to. The planes outlive the object.
    JpegProgressiveAcScan(const JpegScans& scans, const JpegScan& header, JpegPlanes& planes)
        : m_scans(scans), m_header(header), m_planes(planes) {}

    /// False if the data is not as it should be.
    bool Decode(JpegUnits& units);

  private:
    struct Block {
        std::int16_t* pCoefficients;
        std::uint64_t& nonzero;
    };

    bool DecodeBlock(JpegBits& bits, const Block& block, std::uint32_t& nEnds) const;
    bool RefineBlock(JpegBits& bits, const Block& block, std::uint32_t& nEnds) const;
    void Correct(JpegBits& bits, const Block& block, std::uint64_t places) const;
    void CorrectFew(JpegBits& bits, const Block& block, std::uint64_t places) const;
    bool Put(const Block& block, unsigned place, int value) const;
    std::uint64_t From(unsigned place) const;

    const JpegScans& m_scans;
    const JpegScan& m_header;
    JpegPlanes& m_planes;
    const JpegLowWaves* m_pWaves = nullptr;
    std::optional<JpegNumberTable> m_table;
};
