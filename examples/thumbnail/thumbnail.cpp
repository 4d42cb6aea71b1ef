// thumbnail CACHE_FOLDER PICTURE OUT: writes a thumbnail as a JPEG or PNG file; the second time it comes from
// the cache. Paths have to be absolute, and the cache folder to exist.
//
//     c++ -std=c++17 thumbnail.cpp $(pkg-config --cflags --libs qxtng) -o thumbnail

#include <fstream>

#include "api/QxTng.h"
#include "platform/Memory.h"
#include "platform/Text.h"

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    SetCacheFolder(Platform::PathFromBytes(argv[1]).c_str());
    SetCacheEnabled(1);

    unsigned char* pBuffer = nullptr;
    long nLength = 0;  // bytes
    int eOrigin = 0;   // ORIGIN_DECODED, ORIGIN_CACHED...
    int bDefault = 0;  // 1: not the picture, but a stock picture for what is none
    const std::uint32_t result = QXGenerateThumbnailCompressedBufferInForeGround(
        Platform::PathFromBytes(argv[2]).c_str(), TNGSize{160, 160}, TNG_SOURCE_DECODE_ONLY, &pBuffer,
        &nLength, &eOrigin, &bDefault);
    if (result == QXTNG_SUCCESS) {
        std::ofstream(argv[3], std::ios::binary).write(reinterpret_cast<char*>(pBuffer), nLength);
        VirtualFree(pBuffer, 0, MEM_RELEASE);  // what the library hands out belongs to the caller
    }
    ShutDown();  // saves what is new in the cache
    return result == QXTNG_SUCCESS ? 0 : 1;
}
