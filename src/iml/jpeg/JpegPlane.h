#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "JpegLowWaves.h"
#include "JpegScans.h"

/// A component of a reduced picture: the coefficients of its blocks, for some rows of units, and the samples
/// that one of these rows makes.
struct JpegPlane {
    JpegLowWaves waves;
    std::uint32_t blocksWide = 0;  // in whole units
    std::uint32_t blocksHigh = 0;  // of a unit
    std::vector<std::int16_t> coefficients;
    std::vector<std::uint8_t> samples;

    /// Of a progressive picture: for each block, the places in zigzag order of the coefficients that have
    /// come and are not 0. Kept if coefficients other than DC count.
    bool tracksNonzero = false;
    std::vector<std::uint64_t> nonzero;

    /// The block makes two by two samples that are the means of its quarters; see JpegQuarters. They are made
    /// while it is decoded, for all rows of units that are kept, and coefficients are not kept.
    bool quarters = false;

    std::uint32_t Across() const { return quarters ? 2 : waves.Across(); }
    std::uint32_t Down() const { return quarters ? 2 : waves.Down(); }
    std::size_t Stride() const { return std::size_t{blocksWide} * Across(); }

    /// Its blocks in so many rows of units.
    std::uint64_t Blocks(std::uint32_t unitsHigh) const {
        return std::uint64_t{blocksWide} * blocksHigh * unitsHigh;
    }

    /// Bytes that Allocate() takes for so many rows of units.
    std::uint64_t Bytes(std::uint32_t unitsHigh) const;

    /// Makes room, with coefficients of 0.
    void Allocate(std::uint32_t unitsHigh);

    std::size_t BlockIndex(std::size_t row, std::size_t column) const { return row * blocksWide + column; }

    /// The coefficients of a block.
    std::int16_t* BlockAt(std::size_t row, std::size_t column) {
        return coefficients.data() + BlockIndex(row, column) * waves.Count();
    }

    /// Where its samples begin, if they are made at once.
    std::uint8_t* QuartersAt(std::size_t row, std::size_t column) {
        return samples.data() + row * 2 * Stride() + column * 2;
    }

    /// Makes the samples of a row of units. False if a coefficient is beyond all bounds.
    bool MakeSamples(const JpegTables::Quantiser& quantiser, std::size_t unitRow);

    /// One row of them.
    const std::uint8_t* SampleRow(std::size_t unitRow, std::size_t row) const {
        return samples.data() + ((quarters ? unitRow * blocksHigh * Down() : 0) + row) * Stride();
    }
};

using JpegPlanes = std::array<JpegPlane, 3>;

/// The planes of a picture at `eighths` / 8 of its size, 1 to 4, by component, without memory yet. From 2/8
/// on, blocks of a component that is sampled more coarsely than others make more samples.
JpegPlanes ShapeJpegPlanes(const JpegLayout& layout, std::uint32_t eighths);

/// Allocates them for so many rows of units. False if a file of `nFileSize` bytes is not worth that.
bool AllocateJpegPlanes(JpegPlanes& planes, std::uint32_t unitsHigh, std::uint64_t nFileSize);
