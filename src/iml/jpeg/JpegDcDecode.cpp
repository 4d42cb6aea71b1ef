#include "JpegDcDecode.h"

#include "JpegBaselineDc.h"
#include "JpegProgressiveDc.h"
#include "JpegScans.h"
#include "iml/Limits.h"

namespace {

// Whether the file is worth what a picture of several scans keeps.
bool MayKeep(const JpegFrame& frame, bool sequential, std::uint64_t nFileSize) {
    constexpr std::uint64_t kKeptPerByte = 256;
    const std::uint64_t nBytesPerBlock = sequential ? 4 : 2;
    return IsWorthKeeping(frame.blocks * nBytesPerBlock, nFileSize, kKeptPerByte);
}

}  // namespace

bool DecodeJpegDc(ByteSource& source, const JpegFrame& frame, RowSink& sink) {
    JpegScans scans(source, frame);
    JpegScan scan;
    if (!scans.Next(scan)) return false;
    const bool sequential = frame.marker == kJpegSof0 || frame.marker == kJpegSof1;
    if (!sequential && frame.marker != kJpegSof2) return false;
    const bool streams = sequential && scan.parts.size() == frame.components;
    if (!streams && !MayKeep(frame, sequential, source.Size())) return false;
    const bool good = sequential ? DecodeBaselineDc(source, scans, scan, sink)
                                 : DecodeProgressiveDc(source, scans, scan, sink);
    if (!good) sink.Discard();
    return good;
}
