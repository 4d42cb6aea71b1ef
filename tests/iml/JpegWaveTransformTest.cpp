#include "iml/jpeg/JpegWaveTransform.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

// The same once more, as processors without SSE2 have it.
#undef __SSE2__
#define FindJpegWaveTransform FindPortableTransform
#include "iml/jpeg/JpegWaveTransform.cpp"
#undef FindJpegWaveTransform

namespace {

// Coefficients at the limit and around 0, and some that are beyond it.
TEST(JpegWaveTransform, IsTheSameOnEveryProcessor) {
    constexpr std::size_t kBlocks = 50;
    constexpr std::size_t kStride = kBlocks * 8 + 3;
    std::mt19937 random(3);
    for (const std::uint32_t across : {2u, 3u, 4u, 6u, 8u}) {
        for (const std::uint32_t down : {2u, 3u, 4u, 6u, 8u}) {
            for (const int range : {3, 100, 2048, 4096}) {
                SCOPED_TRACE(testing::Message() << across << " x " << down << ", " << range);
                std::vector<std::int16_t> blocks(kBlocks * across * down + 4);
                for (std::int16_t& coefficient : blocks)
                    coefficient =
                        static_cast<std::int16_t>(static_cast<int>(random() % (2u * range)) - range);
                JpegWaveSteps steps;
                steps.fill(1);
                std::vector<std::uint8_t> samples(kStride * 8), portable(kStride * 8);
                const bool good = FindJpegWaveTransform(across, down)(steps, blocks.data(), kBlocks,
                                                                      samples.data(), kStride);
                EXPECT_EQ(good, range <= 2048);
                EXPECT_EQ(FindPortableTransform(across, down)(steps, blocks.data(), kBlocks, portable.data(),
                                                              kStride),
                          good);
                EXPECT_EQ(samples, portable);
            }
        }
    }
}

}  // namespace
