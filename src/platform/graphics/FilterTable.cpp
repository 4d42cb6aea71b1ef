#include "FilterTable.h"

#include <algorithm>
#include <cmath>

namespace Gdiplus {
namespace {

constexpr double kSupport = 2.0;  // source pixels to either side at scale 1

// Keys' cubic convolution kernel with a = -0.5.
double Kernel(double x) {
    x = std::abs(x);
    if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
    if (x < 2) return ((-0.5 * x + 2.5) * x - 4) * x + 2;
    return 0;
}

}  // namespace

FilterTable::FilterTable(std::uint32_t srcSize, double srcExtent, std::uint32_t dstSize) {
    const double step = srcExtent / dstSize;      // source pixels per destination pixel
    const double widening = std::max(step, 1.0);  // a reduction widens the kernel
    const double reach = kSupport * widening;
    const double lastStart = static_cast<double>(srcSize) - 1;
    m_spans.reserve(dstSize);
    for (std::uint32_t dst = 0; dst < dstSize; ++dst) {
        const double centre = (dst + 0.5) * step;
        const double from = std::clamp(std::floor(centre - reach + 0.5), 0.0, lastStart);
        const double to = std::clamp(std::floor(centre + reach + 0.5), from + 1, lastStart + 1);
        const Span span{static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to - from),
                        m_weights.size()};
        double sum = 0;
        for (std::uint32_t i = 0; i < span.count; ++i) {
            const double weight = Kernel((from + i + 0.5 - centre) / widening);
            m_weights.push_back(static_cast<float>(weight));
            sum += weight;
        }
        for (std::uint32_t i = 0; i < span.count; ++i)
            m_weights[span.offset + i] = static_cast<float>(m_weights[span.offset + i] / sum);
        m_spans.push_back(span);
    }
}

}  // namespace Gdiplus
