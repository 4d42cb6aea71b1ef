#include "JpegReduced.h"

#include "JpegBaseline.h"
#include "JpegProgressive.h"
#include "JpegScans.h"

namespace {

bool Decode(ByteSource& source, const JpegFrame& frame, std::uint32_t eighths, RowSink& sink) {
    JpegScans scans(source, frame);
    JpegScan scan;
    if (!scans.Next(scan)) return false;
    switch (frame.marker) {
        case kJpegSof0:
        case kJpegSof1:
            return DecodeJpegBaseline(source, scans, scan, eighths, sink);
        case kJpegSof2:
            return DecodeJpegProgressive(source, scans, scan, eighths, sink);
        default:
            return false;
    }
}

}  // namespace

bool DecodeJpegReduced(ByteSource& source, const JpegFrame& frame, std::uint32_t eighths, RowSink& sink) {
    const bool good = Decode(source, frame, eighths, sink);
    if (!good) sink.Discard();
    return good;
}
