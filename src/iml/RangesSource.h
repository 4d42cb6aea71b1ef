#pragma once

#include <cstdint>
#include <vector>

#include "ByteSource.h"

/// Ranges of a source, one behind the other, as a source of their own. Made for reading forward.
class RangesSource final : public ByteSource {
  public:
    explicit RangesSource(ByteSource& whole) : m_whole(whole) {}

    /// Appends bytes `from` to `to` of the whole.
    void Append(std::uint64_t from, std::uint64_t to);

    std::uint64_t Size() const override { return m_nSize; }
    std::size_t ReadAt(std::uint64_t nOffset, void* pOut, std::size_t nBytes) override;

  private:
    ByteSource& m_whole;
    std::vector<ByteRange> m_ranges;
    std::uint64_t m_nSize = 0;
};
