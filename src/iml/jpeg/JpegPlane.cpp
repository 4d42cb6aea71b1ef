#include "JpegPlane.h"

#include "iml/Limits.h"

namespace {

constexpr std::size_t kReadBeyond = 4;

// As many as there are to be pixels, or a part of them.
std::uint32_t ChooseSamples(std::uint32_t wanted) {
    for (const std::uint32_t samples : {8u, 6u, 4u, 3u}) {
        if (wanted % samples == 0) return samples;
    }
    return 2;
}

}  // namespace

std::uint64_t JpegPlane::Bytes(std::uint32_t unitsHigh) const {
    const std::uint64_t nBytesOfBlock = quarters ? 4 : waves.Count() * sizeof(std::int16_t);
    return Blocks(unitsHigh) * (nBytesOfBlock + (tracksNonzero ? sizeof(std::uint64_t) : 0));
}

void JpegPlane::Allocate(std::uint32_t unitsHigh) {
    const auto nBlocks = static_cast<std::size_t>(Blocks(unitsHigh));
    if (!quarters) coefficients.resize(nBlocks * waves.Count() + kReadBeyond);
    if (tracksNonzero) nonzero.resize(nBlocks);
    samples.resize(Stride() * blocksHigh * Down() * (quarters ? unitsHigh : 1));
}

bool JpegPlane::MakeSamples(const JpegTables::Quantiser& quantiser, std::size_t unitRow) {
    if (quarters) return true;
    bool good = true;
    for (std::size_t y = 0; y < blocksHigh; ++y) {
        good &= waves.MakeSamples(quantiser, BlockAt(unitRow * blocksHigh + y, 0), blocksWide,
                                  samples.data() + y * Down() * Stride(), Stride());
    }
    return good;
}

JpegPlanes ShapeJpegPlanes(const JpegLayout& layout, std::uint32_t eighths) {
    JpegPlanes planes;
    for (std::size_t c = 0; c < layout.components.size(); ++c) {
        const JpegComponent& component = layout.components[c];
        JpegPlane& plane = planes[c];
        plane.blocksWide = layout.unitsWide * component.h;
        plane.blocksHigh = component.v;
        if (eighths == 1) continue;
        plane.waves = JpegLowWaves(ChooseSamples(layout.maxH / component.h * eighths),
                                   ChooseSamples(layout.maxV / component.v * eighths));
    }
    return planes;
}

bool AllocateJpegPlanes(JpegPlanes& planes, std::uint32_t unitsHigh, std::uint64_t nFileSize) {
    constexpr std::uint64_t kKeptPerByte = 256;
    std::uint64_t nBytes = 0;
    for (const JpegPlane& plane : planes)
        nBytes += plane.Bytes(unitsHigh);
    if (nBytes > kMaxCoefficientBytes || !IsWorthKeeping(nBytes, nFileSize, kKeptPerByte)) return false;
    for (JpegPlane& plane : planes)
        plane.Allocate(unitsHigh);
    return true;
}
