#include "JpegScans.h"

#include <algorithm>

#include "JpegSegments.h"
#include "Limits.h"

namespace {

// A scan header: how many components, their table selectors, and which bits of which coefficients.
struct Scan {
    std::uint32_t components = 0;
    bool dc = false;
    bool completes = false;  // brings the coefficients' last bit
};

bool ReadScan(ByteSource& source, const JpegSegment& segment, Scan& scan) {
    std::uint8_t header[1 + 2 * 4 + 3];
    if (segment.size < 6 || segment.size > sizeof header) return false;
    if (!source.ReadAllAt(segment.offset, header, segment.size)) return false;
    scan.components = header[0];
    if (segment.size != 4 + 2 * scan.components) return false;
    scan.dc = header[segment.size - 3] == 0;
    scan.completes = (header[segment.size - 1] & 15) == 0;
    return true;
}

}  // namespace

bool FindDcScans(ByteSource& source, std::uint32_t nComponents, RangesSource& dcScans) {
    dcScans.Append(0, 2);
    std::uint32_t incomplete = nComponents;
    int nScans = 0;
    bool found = false;
    JpegSegments segments(source);
    JpegSegment segment;
    while (incomplete > 0 && segments.Next(segment)) {
        if (segment.marker != kJpegSos) {
            dcScans.Append(segment.start, segment.End());
            continue;
        }
        Scan scan;
        if (++nScans > kMaxScans || !ReadScan(source, segment, scan)) return false;
        segments.SkipEntropyCodedData(segment.End());
        if (!scan.dc) continue;
        dcScans.Append(segment.start, segments.Position());
        found = true;
        if (scan.completes) incomplete -= std::min(incomplete, scan.components);
    }
    return found;
}
