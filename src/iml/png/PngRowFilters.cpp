#include "PngRowFilters.h"

#if defined(__x86_64__)
// Whether a processor has it is asked at run time. Paeth's filter takes 40 % longer with HWY_SSSE3, which has
// no blends, and hardly less with HWY_AVX2.
#define HWY_BASELINE_TARGETS HWY_SSE4
#endif
#define HWY_COMPILE_ONLY_STATIC
#include <hwy/highway.h>

#include <cstring>
#include <iterator>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// A vector for a pixel of so many bytes. What it has besides is written over by the next pixel.
template <unsigned kBytes>
using PixelTag = hn::FixedTag<std::uint8_t, (kBytes <= 4 ? 4 : 8)>;

// One for as many pixels as go into 16 bytes.
const hn::FixedTag<std::uint8_t, 16> kPixels;
template <unsigned kBytes>
constexpr std::size_t kStep = 16 - 16 % kBytes;

struct Row {
    const std::uint8_t* pFiltered;
    const std::uint8_t* pAbove;
    std::uint8_t* pOut;
    std::size_t nBytes;
};

// Filters work on each channel alone, so red and blue can change places before.
template <unsigned kBytes, class Tag>
hn::Vec<Tag> LoadFiltered(Tag tag, const std::uint8_t* p) {
    alignas(16) static constexpr std::uint8_t kSwap3[] = {2, 1,  0,  5, 4,  3,  8,  7,
                                                          6, 11, 10, 9, 14, 13, 12, 15};
    alignas(16) static constexpr std::uint8_t kSwap4[] = {2,  1, 0, 3,  6,  5,  4,  7,
                                                          10, 9, 8, 11, 14, 13, 12, 15};
    const hn::Vec<Tag> bytes = hn::LoadU(tag, p);
    if constexpr (kBytes != 3 && kBytes != 4) return bytes;
    return hn::TableLookupBytes(bytes, hn::Load(tag, kBytes == 3 ? kSwap3 : kSwap4));
}

// By way of a register: hn::StoreU() goes through memory, on which the next pixel would wait.
template <class Tag>
void StorePixel(hn::Vec<Tag> pixel, Tag, std::uint8_t* pOut) {
    using Whole = std::conditional_t<hn::MaxLanes(Tag()) == 4, std::uint32_t, std::uint64_t>;
    const Whole bytes = hn::GetLane(hn::BitCast(hn::FixedTag<Whole, 1>(), pixel));
    std::memcpy(pOut, &bytes, sizeof bytes);
}

template <unsigned kBytes, bool kAbove>
void UndoNoneOrUp(Row row) {
    for (std::size_t i = 0; i < row.nBytes; i += kStep<kBytes>) {
        auto bytes = LoadFiltered<kBytes>(kPixels, row.pFiltered + i);
        if (kAbove) bytes = hn::Add(bytes, hn::LoadU(kPixels, row.pAbove + i));
        hn::StoreU(bytes, kPixels, row.pOut + i);
    }
}

template <unsigned kBytes>
void UndoSub(Row row) {
    const PixelTag<kBytes> tag;
    auto left = hn::Zero(tag);
    for (std::size_t i = 0; i < row.nBytes; i += kBytes) {
        left = hn::Add(left, LoadFiltered<kBytes>(tag, row.pFiltered + i));
        StorePixel(left, tag, row.pOut + i);
    }
}

// The mean is rounded down, and the one of the processor up: so all is done on complements.
template <unsigned kBytes>
void UndoAverage(Row row) {
    const PixelTag<kBytes> tag;
    auto notLeft = hn::Not(hn::Zero(tag));
    for (std::size_t i = 0; i < row.nBytes; i += kBytes) {
        const auto notMean = hn::AverageRound(notLeft, hn::Not(hn::LoadU(tag, row.pAbove + i)));
        notLeft = hn::Sub(notMean, LoadFiltered<kBytes>(tag, row.pFiltered + i));
        StorePixel(hn::Not(notLeft), tag, row.pOut + i);
    }
}

// Paeth's predictor is the neighbour nearest to left + above - aboveLeft. Every pixel waits for the one on
// its left, so all is made ready that does not: by the left sample the predictor is the sample itself up to
// `low` and from `high` on, between them the smaller one of the two above up to `middle`, and behind it the
// larger.
template <unsigned kBytes>
void UndoPaeth(Row row) {
    const PixelTag<kBytes> tag;
    const hn::Rebind<std::int16_t, PixelTag<kBytes>> wide;
    const auto byte = hn::Set(wide, 255);
    const auto two = hn::Set(wide, 2);
    auto left = hn::Zero(wide);
    auto aboveLeft = hn::Zero(wide);
    for (std::size_t i = 0; i < row.nBytes; i += kBytes) {
        const auto above = hn::PromoteTo(wide, hn::LoadU(tag, row.pAbove + i));
        const auto filtered = hn::PromoteTo(wide, LoadFiltered<kBytes>(tag, row.pFiltered + i));
        const auto plus = [&](auto neighbour) { return hn::And(hn::Add(filtered, neighbour), byte); };
        const auto rise = hn::Sub(above, aboveLeft);
        const auto mirrored = hn::Sub(aboveLeft, hn::Add(rise, rise));
        const auto low = hn::Min(above, mirrored);
        const auto high = hn::Max(above, mirrored);
        const auto half = hn::ShiftRight<1>(hn::Add(hn::Add(rise, two), hn::ShiftRight<15>(rise)));
        const auto middle = hn::Sub(aboveLeft, half);
        const auto smaller = plus(hn::Min(above, aboveLeft));
        const auto larger = plus(hn::Max(above, aboveLeft));

        const auto isBetween = hn::And(hn::Gt(left, low), hn::Gt(high, left));
        const auto other = hn::IfThenElse(hn::Gt(left, middle), larger, smaller);
        left = hn::IfThenElse(isBetween, other, plus(left));
        aboveLeft = above;
        StorePixel(hn::DemoteTo(tag, left), tag, row.pOut + i);
    }
}

template <unsigned kBytes>
bool Undo(unsigned type, Row row) {
    static constexpr void (*kUndo[])(Row) = {UndoNoneOrUp<kBytes, false>, UndoSub<kBytes>,
                                             UndoNoneOrUp<kBytes, true>, UndoAverage<kBytes>,
                                             UndoPaeth<kBytes>};
    if (type >= std::size(kUndo)) return false;
    kUndo[type](row);
    return true;
}

bool UndoOf(unsigned nPixelBytes, unsigned type, Row row) {
    static constexpr bool (*kUndo[])(unsigned, Row) = {nullptr, Undo<1>, Undo<2>, Undo<3>, Undo<4>,
                                                       nullptr, Undo<6>, nullptr, Undo<8>};
    return kUndo[nPixelBytes](type, row);
}

}  // namespace
}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

bool CanUnfilterPngRows() {
#if defined(__x86_64__)
    return __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("aes") &&
           __builtin_cpu_supports("pclmul");
#else
    return true;
#endif
}

bool UnfilterPngRow(const std::uint8_t* pScanline, const std::uint8_t* pAbove, std::uint8_t* pRow,
                    std::size_t nRowBytes, unsigned nPixelBytes) {
    return HWY_STATIC_DISPATCH(UndoOf)(nPixelBytes, pScanline[0], {pScanline + 1, pAbove, pRow, nRowBytes});
}
