#pragma once

#include <cstdint>

#include "iml/ByteSource.h"

/// Markers of a JPEG that are told apart here (ITU-T T.81, table B.1).
enum JpegMarker : std::uint8_t {
    kJpegSof0 = 0xC0,  // baseline
    kJpegSof1 = 0xC1,  // extended sequential
    kJpegSof2 = 0xC2,  // progressive
    kJpegDht = 0xC4,
    kJpegSof15 = 0xCF,
    kJpegRst0 = 0xD0,
    kJpegRst7 = 0xD7,
    kJpegSoi = 0xD8,
    kJpegEoi = 0xD9,
    kJpegSos = 0xDA,
    kJpegDqt = 0xDB,
    kJpegDri = 0xDD,
    kJpegApp0 = 0xE0,
    kJpegApp1 = 0xE1,
    kJpegApp14 = 0xEE,
    kJpegApp15 = 0xEF,
    kJpegCom = 0xFE,
};

/// One marker segment.
struct JpegSegment {
    std::uint8_t marker = 0;
    std::uint64_t start = 0;   // of the marker
    std::uint64_t offset = 0;  // of what follows the length field
    std::uint32_t size = 0;    // bytes there

    std::uint64_t End() const { return offset + size; }
    /// One of the frame headers, SOF0 to SOF15.
    bool IsFrame() const;
};

/// Walks the marker segments of a JPEG without reading what is in them.
class JpegSegments {
  public:
    explicit JpegSegments(ByteSource& source, std::uint64_t nOffset = 2)
        : m_source(source), m_nNext(nOffset) {}

    /// The next segment. False at the end of the image and of the source.
    bool Next(JpegSegment& segment);

    /// Goes on behind the entropy-coded data that begins at `nOffset`.
    void SkipEntropyCodedData(std::uint64_t nOffset);

    /// Where the next segment begins.
    std::uint64_t Position() const { return m_nNext; }

  private:
    ByteSource& m_source;
    std::uint64_t m_nNext;
    int m_nSegments = 0;         // so far
    std::uint64_t m_nStray = 0;  // bytes so far that belong to no segment
};

/// What a frame header says.
struct JpegFrame {
    std::uint8_t marker = 0;  // of the coding process
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t components = 0;
    std::uint64_t blocks = 0;  // of 8 x 8 samples, of all components together
};

/// Finds and reads the frame header. False if there is none, or it makes no sense.
bool ReadJpegFrame(ByteSource& source, JpegFrame& frame);
