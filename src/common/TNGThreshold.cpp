#include "TNGThreshold.h"

std::atomic<std::uint32_t> s_dwThresholdFileSize{17u << 20};

bool IsLargeFile(const Platform::WIN32_FIND_DATAW& fileInfo) {
    return fileInfo.nFileSizeLow >= s_dwThresholdFileSize.load(std::memory_order_relaxed);
}
