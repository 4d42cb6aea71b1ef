#include "Resampler.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "FilterTable.h"
#include "ResampleKernels.h"

namespace Gdiplus {
namespace {

constexpr std::size_t kRowsAtOnce = ResampleKernels::kRowsAtOnce;

double ExtentOr(double extent, std::uint32_t size) {
    return extent > 0 ? extent : size;
}

// Destination rows that can be in work at one time, when source rows are taken in kRowsAtOnce at a time.
std::uint32_t RowsInWork(const FilterTable& vertical) {
    std::uint32_t most = 1;
    std::uint32_t next = 0;
    for (std::uint32_t dst = 0; dst < vertical.Size(); ++dst) {
        const auto takenIn = vertical.End(dst) + static_cast<std::uint32_t>(kRowsAtOnce);
        while (next < vertical.Size() && vertical.First(next) < takenIn)
            ++next;
        most = std::max(most, next - dst);
    }
    return most;
}

}  // namespace

// Vertical first: source rows are added, weighted, to the sums of the destination rows that they reach; a
// sum that has all its rows is then filtered along itself. A group of source rows is taken in at once, so
// that each sum is read and written once a group.
struct Resampler::State {
    State(const ResampleShape& shape, std::uint8_t* pDestination, std::ptrdiff_t nDestinationStride,
          const ResampleKernels& chosen)
        : kernels(chosen),
          horizontal(shape.srcWidth, ExtentOr(shape.srcExtentX, shape.srcWidth), shape.dstWidth),
          vertical(shape.srcHeight, ExtentOr(shape.srcExtentY, shape.srcHeight), shape.dstHeight),
          nSrcChannels(BytesPerPixel(shape.srcFormat)),
          nDstChannels(BytesPerPixel(shape.dstFormat)),
          nSamples(std::size_t{shape.srcWidth} * nSrcChannels),
          nSrcHeight(shape.srcHeight),
          pDst(pDestination),
          nDstStride(nDestinationStride),
          group(kRowsAtOnce * nSamples),
          nSumsInWork(RowsInWork(vertical)),
          nSumSize(nSamples + ResampleKernels::kPadding),
          sums(nSumsInWork * nSumSize) {}

    void AddRow(const std::uint8_t* pRow) {
        if (nRowsTaken == nSrcHeight) return;
        std::memcpy(&group[(nRowsTaken % kRowsAtOnce) * nSamples], pRow, nSamples);
        ++nRowsTaken;
        if (nRowsTaken % kRowsAtOnce == 0 || nRowsTaken == nSrcHeight) TakeInGroup();
    }

    void TakeInGroup() {
        const auto inGroup = static_cast<std::uint32_t>((nRowsTaken - 1) % kRowsAtOnce + 1);
        const std::uint32_t firstRow = nRowsTaken - inGroup;
        for (std::uint32_t dst = nRowsDone; dst < vertical.Size() && vertical.First(dst) < nRowsTaken;
             ++dst) {
            AddGroupTo(dst, firstRow, inGroup);
            if (vertical.End(dst) <= nRowsTaken) Finish(dst);
        }
    }

    void AddGroupTo(std::uint32_t dst, std::uint32_t firstRow, std::uint32_t inGroup) {
        const std::uint8_t* rows[kRowsAtOnce];
        float weights[kRowsAtOnce];
        for (std::uint32_t r = 0; r < kRowsAtOnce; ++r) {
            rows[r] = &group[(r < inGroup ? r : 0) * nSamples];
            weights[r] = r < inGroup ? vertical.Weight(dst, firstRow + r) : 0.0f;
        }
        const bool bStart = vertical.First(dst) >= firstRow;
        kernels.AccumulateRows(rows, weights, nSrcChannels == 4, bStart, SumOf(dst), nSamples);
    }

    void Finish(std::uint32_t dst) {
        std::uint8_t* pRow = pDst + static_cast<std::ptrdiff_t>(dst) * nDstStride;
        kernels.FilterRow(SumOf(dst), nSrcChannels, horizontal, pRow, nDstChannels);
        nRowsDone = dst + 1;
    }

    float* SumOf(std::uint32_t dst) { return &sums[(dst % nSumsInWork) * nSumSize]; }

    const ResampleKernels& kernels;
    const FilterTable horizontal;
    const FilterTable vertical;
    const unsigned nSrcChannels;
    const unsigned nDstChannels;
    const std::size_t nSamples;  // of a source row
    const std::uint32_t nSrcHeight;
    std::uint8_t* const pDst;
    const std::ptrdiff_t nDstStride;

    std::vector<std::uint8_t> group;  // the source rows not taken in yet
    const std::uint32_t nSumsInWork;
    const std::size_t nSumSize;
    std::vector<float> sums;  // a ring of nSumsInWork rows

    std::uint32_t nRowsTaken = 0;  // source rows that have come
    std::uint32_t nRowsDone = 0;   // destination rows written
};

Resampler::Resampler(const ResampleShape& shape, std::uint8_t* pDst, std::ptrdiff_t nDstStride,
                     const ResampleKernels* pKernels)
    : m_pState(std::make_unique<State>(shape, pDst, nDstStride,
                                       pKernels ? *pKernels : SupportedKernels().front())) {}

Resampler::~Resampler() = default;

void Resampler::AddRow(const std::uint8_t* pRow) {
    m_pState->AddRow(pRow);
}

}  // namespace Gdiplus
