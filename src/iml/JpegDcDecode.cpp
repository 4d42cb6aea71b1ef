#include "JpegDcDecode.h"

#include <algorithm>
#include <vector>

#include "JpegDcReader.h"
#include "Limits.h"

namespace {

// One row of a component's samples, each for 8 x 8 samples of the full picture: their mean.
void MakeSamples(const JpegDcReader& reader, const JpegDcComponent& component, std::uint32_t y,
                 std::vector<std::uint8_t>& samples) {
    const int step = reader.QuantiserStep(component);
    const std::size_t row = std::size_t{y * component.v / reader.MaxV()} * component.stride;
    const std::uint32_t repeat = reader.MaxH() / component.h;
    for (std::size_t x = 0; x < samples.size(); ++x) {
        const int sample = ((component.coefficients[row + x / repeat] * step + 4) >> 3) + 128;
        samples[x] = static_cast<std::uint8_t>(std::clamp(sample, 0, 255));
    }
}

constexpr int Fixed(double factor) {
    return static_cast<int>(factor * 65536 + 0.5);
}

std::uint8_t Rounded(int value, int fixed) {
    return static_cast<std::uint8_t>(std::clamp(value + ((fixed + 32768) >> 16), 0, 255));
}

// The conversion of JFIF, clause 7, in 16 fractional bits.
void ConvertYCbCr(int luma, int cb, int cr, std::uint8_t* pBgr) {
    cb -= 128;
    cr -= 128;
    pBgr[0] = Rounded(luma, Fixed(1.772) * cb);
    pBgr[1] = Rounded(luma, -Fixed(0.344136286) * cb - Fixed(0.714136286) * cr);
    pBgr[2] = Rounded(luma, Fixed(1.402) * cr);
}

}  // namespace

bool DecodeProgressiveDc(ByteSource& source, const JpegFrame& frame, RowSink& sink) {
    constexpr std::uint64_t kKeptPerByte = 256;
    if (!IsWorthKeeping(frame.blocks * sizeof(std::int16_t), source.Size(), kKeptPerByte)) return false;
    JpegDcReader reader(source);
    if (!reader.Read(frame)) return false;
    RowShape shape;
    shape.width = (frame.width + 7) / 8;
    shape.height = (frame.height + 7) / 8;
    shape.extentX = frame.width / 8.0;
    shape.extentY = frame.height / 8.0;
    sink.Begin(shape);

    const std::vector<JpegDcComponent>& components = reader.Components();
    const bool yCbCr = components.size() == 3 && reader.IsYCbCr();
    std::vector<std::uint8_t> samples[3];
    for (auto& row : samples)
        row.resize(shape.width);
    std::vector<std::uint8_t> row(std::size_t{shape.width} * 3);
    for (std::uint32_t y = 0; y < shape.height; ++y) {
        for (std::size_t c = 0; c < 3; ++c)
            MakeSamples(reader, components[std::min(c, components.size() - 1)], y, samples[c]);
        for (std::size_t x = 0; x < shape.width; ++x) {
            std::uint8_t* pBgr = &row[3 * x];
            if (yCbCr) {
                ConvertYCbCr(samples[0][x], samples[1][x], samples[2][x], pBgr);
            } else {
                for (std::size_t c = 0; c < 3; ++c)
                    pBgr[2 - c] = samples[c][x];
            }
        }
        sink.AddRow(row.data());
    }
    return true;
}
