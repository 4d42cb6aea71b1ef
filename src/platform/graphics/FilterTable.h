#pragma once

#include <cstdint>
#include <vector>

namespace Gdiplus {

/// For every destination pixel of one direction: the source pixels that make it, and their weights.
class FilterTable {
  public:
    /// `srcExtent` source pixels, of `srcSize` that there are, become `dstSize` destination pixels.
    FilterTable(std::uint32_t srcSize, double srcExtent, std::uint32_t dstSize);

    std::uint32_t Size() const { return static_cast<std::uint32_t>(m_spans.size()); }
    std::uint32_t First(std::uint32_t dst) const { return m_spans[dst].first; }
    std::uint32_t Count(std::uint32_t dst) const { return m_spans[dst].count; }
    std::uint32_t End(std::uint32_t dst) const { return m_spans[dst].first + m_spans[dst].count; }
    const float* Weights(std::uint32_t dst) const { return &m_weights[m_spans[dst].offset]; }

    /// The weight of one source pixel; 0 outside the span.
    float Weight(std::uint32_t dst, std::uint32_t src) const {
        const std::uint32_t index = src - First(dst);  // wraps around below the span
        return index < Count(dst) ? Weights(dst)[index] : 0.0f;
    }

  private:
    struct Span {
        std::uint32_t first;
        std::uint32_t count;
        std::size_t offset;  // of its first weight
    };

    std::vector<Span> m_spans;  // `first` and the end never fall from one to the next
    std::vector<float> m_weights;
};

}  // namespace Gdiplus
