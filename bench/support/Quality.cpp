#include "Quality.h"

#include <array>
#include <cmath>
#include <limits>

namespace Bench {
namespace {

constexpr std::size_t kWindow = 11;
constexpr double kPeak = 255;

using Values = std::vector<double>;

Values LumaOf(const Raster& raster) {
    Values luma(std::size_t{raster.nWidth} * raster.nHeight);
    for (std::size_t i = 0; i < luma.size(); ++i) {
        const std::uint8_t* pixel = &raster.pixels[i * raster.nChannels];
        luma[i] = 0.114 * pixel[0] + 0.587 * pixel[1] + 0.299 * pixel[2];
    }
    return luma;
}

std::array<double, kWindow> GaussianWindow() {
    std::array<double, kWindow> window{};
    double sum = 0;
    for (std::size_t i = 0; i < kWindow; ++i) {
        const double distance = static_cast<double>(i) - (kWindow - 1) / 2.0;
        window[i] = std::exp(-distance * distance / (2 * 1.5 * 1.5));
        sum += window[i];
    }
    for (double& weight : window)
        weight /= sum;
    return window;
}

// The local means of `values`, for every place where the window fits.
Values LocalMeans(const Values& values, std::size_t width, std::size_t height) {
    static const std::array<double, kWindow> window = GaussianWindow();
    const std::size_t outWidth = width - kWindow + 1;
    Values rows(outWidth * height);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const double* from = &values[i / outWidth * width + i % outWidth];
        for (std::size_t k = 0; k < kWindow; ++k)
            rows[i] += window[k] * from[k];
    }
    Values means(outWidth * (height - kWindow + 1));
    for (std::size_t i = 0; i < means.size(); ++i) {
        for (std::size_t k = 0; k < kWindow; ++k)
            means[i] += window[k] * rows[i + k * outWidth];
    }
    return means;
}

Values Product(const Values& a, const Values& b) {
    Values product(a.size());
    for (std::size_t i = 0; i < a.size(); ++i)
        product[i] = a[i] * b[i];
    return product;
}

}  // namespace

double LumaSsim(const Raster& picture, const Raster& original) {
    const std::size_t width = picture.nWidth;
    const std::size_t height = picture.nHeight;
    if (width < kWindow || height < kWindow || original.nWidth != width || original.nHeight != height)
        return std::numeric_limits<double>::quiet_NaN();
    const Values a = LumaOf(picture);
    const Values b = LumaOf(original);
    const Values meanA = LocalMeans(a, width, height);
    const Values meanB = LocalMeans(b, width, height);
    const Values meanAA = LocalMeans(Product(a, a), width, height);
    const Values meanBB = LocalMeans(Product(b, b), width, height);
    const Values meanAB = LocalMeans(Product(a, b), width, height);
    const double c1 = (0.01 * kPeak) * (0.01 * kPeak);
    const double c2 = (0.03 * kPeak) * (0.03 * kPeak);
    double sum = 0;
    for (std::size_t i = 0; i < meanA.size(); ++i) {
        const double productOfMeans = meanA[i] * meanB[i];
        const double squares = meanA[i] * meanA[i] + meanB[i] * meanB[i];
        const double covariance = meanAB[i] - productOfMeans;
        const double variances = meanAA[i] + meanBB[i] - squares;
        sum += (2 * productOfMeans + c1) * (2 * covariance + c2) / ((squares + c1) * (variances + c2));
    }
    return sum / static_cast<double>(meanA.size());
}

double LumaPsnr(const Raster& picture, const Raster& original) {
    const Values a = LumaOf(picture);
    const Values b = LumaOf(original);
    if (a.size() != b.size() || a.empty()) return std::numeric_limits<double>::quiet_NaN();
    double squares = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        squares += (a[i] - b[i]) * (a[i] - b[i]);
    if (squares == 0) return std::numeric_limits<double>::infinity();
    return 10 * std::log10(kPeak * kPeak * static_cast<double>(a.size()) / squares);
}

}  // namespace Bench
