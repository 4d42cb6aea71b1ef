#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "JpegNumberTable.h"
#include "JpegPlane.h"
#include "JpegScans.h"
#include "JpegUnits.h"

/// Decodes a scan of DC coefficients of a progressive JPEG (T.81, annex G) into planes that keep the whole
/// picture.
class JpegProgressiveDcScan {
  public:
    /// The scan that `scans` has got to. The planes outlive the object.
    JpegProgressiveDcScan(const JpegScans& scans, const JpegScan& header, JpegPlanes& planes)
        : m_scans(scans), m_header(header), m_planes(planes) {}

    /// False if the data is not as it should be.
    bool Decode(JpegUnits& units);

  private:
    // A component in the scan.
    struct Part {
        JpegPlane& plane;
        std::optional<JpegNumberTable> table;  // none in a scan that refines
        std::uint32_t h;                       // blocks of a unit
        std::uint32_t v;
    };

    bool MakeParts();
    bool DecodeUnit(JpegBits& bits, int* pPredictions, std::uint32_t unitX, std::uint32_t unitY);
    bool DecodeBlock(const Part& part, JpegBits& bits, int& prediction, std::int16_t& dc) const;

    const JpegScans& m_scans;
    const JpegScan& m_header;
    JpegPlanes& m_planes;
    std::vector<Part> m_parts;
};
