// Any bytes as the file that tells when the cache was changed.
#include "CacheFolder.h"
#include "common/TNGTypes.h"
#include "store/TNGDataFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    static const Fuzz::CacheFolder s_folder;
    const std::u16string path = s_folder.Write("CacheUpdateInfo.txt", pData, nSize);
    Platform::FILETIME time;
    const std::uint32_t result = CTNGDataFile().ReadDateTime(path, &time);
    if ((result == QXTNG_SUCCESS) != (nSize >= sizeof time)) std::abort();
    return 0;
}
