#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "JpegSegments.h"
#include "JpegTables.h"
#include "iml/ByteSource.h"

/// A colour component.
struct JpegComponent {
    std::uint8_t id = 0;
    std::uint32_t h = 1;  // blocks of a unit, across and down
    std::uint32_t v = 1;
    std::uint8_t quantiser = 0;    // index of its quantisation table
    std::uint32_t blocksWide = 0;  // blocks of the picture
    std::uint32_t blocksHigh = 0;
};

/// How the components lie in the picture. A unit is a patch of the picture that holds whole blocks of every
/// component.
struct JpegLayout {
    std::uint32_t width = 0;  // of the picture, in pixels
    std::uint32_t height = 0;
    std::vector<JpegComponent> components;  // one or three
    std::uint32_t maxH = 1;
    std::uint32_t maxV = 1;
    std::uint32_t unitsWide = 0;
    std::uint32_t unitsHigh = 0;
};

/// What the header of a scan says.
struct JpegScan {
    struct Part {
        std::size_t component;
        std::size_t dcCode;
        std::size_t acCode;
    };
    std::vector<Part> parts;  // in the order of the components
    int firstCoefficient = 0;
    int lastCoefficient = 63;
    int shiftBefore = 0;     // place of the last bit that was there before; 0: there was none
    int shift = 0;           // place of the last bit that it brings
    std::uint64_t data = 0;  // where the entropy-coded data begins

    bool Refines() const { return shiftBefore != 0; }
};

/// Units across and down.
struct JpegUnitCounts {
    std::uint32_t wide;
    std::uint32_t high;
};

/// Goes through the headers of a JPEG from scan to scan. Knows files of one or three components with 8 bits a
/// sample. Anything else, and anything that is not as it should be, is refused.
class JpegScans {
  public:
    JpegScans(ByteSource& source, const JpegFrame& frame)
        : m_source(source), m_frame(frame), m_segments(source) {}

    /// Reads up to the data of the next scan. False if there is none, or it is refused.
    bool Next(JpegScan& scan);

    /// Steps over the data of that scan.
    void SkipData(const JpegScan& scan) { m_segments.SkipEntropyCodedData(scan.data); }

    /// The end of the image comes next, and nothing before it.
    bool IsAtEnd() const;

    /// The following are known once Next() has succeeded.

    const JpegLayout& Layout() const { return m_layout; }
    const JpegTables& Tables() const { return m_tables; }

    /// What the data of a scan consists of: a component on its own comes block by block.
    JpegUnitCounts UnitsOf(const JpegScan& scan) const;

    /// Three components are luma and chroma, not red, green and blue.
    bool IsYCbCr() const { return m_isYCbCr; }

  private:
    bool ReadFrame(const JpegSegment& segment);
    bool ReadComponents(const std::vector<std::uint8_t>& bytes);
    bool ReadScan(const JpegSegment& segment, JpegScan& scan);
    bool ReadParts(const std::vector<std::uint8_t>& bytes, JpegScan& scan) const;
    bool FindColours();

    ByteSource& m_source;
    const JpegFrame& m_frame;
    JpegSegments m_segments;
    JpegTables m_tables;
    JpegLayout m_layout;
    bool m_isYCbCr = false;
    int m_nScans = 0;
};
