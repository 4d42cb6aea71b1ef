#include "Guid.h"

#include <sys/random.h>

#include <algorithm>
#include <cstdio>

namespace Platform {

std::int32_t CoCreateGuid(GUID* pGuid) {
    GUID guid;
    if (getrandom(&guid, sizeof guid, 0) != static_cast<ssize_t>(sizeof guid)) return -1;
    guid.Data3 = static_cast<std::uint16_t>((guid.Data3 & 0x0FFF) | 0x4000);
    guid.Data4[0] = static_cast<std::uint8_t>((guid.Data4[0] & 0x3F) | 0x80);
    *pGuid = guid;
    return 0;
}

int StringFromGUID2(const GUID& guid, char16_t* pszText, int nUnits) {
    char text[39];
    const std::uint8_t* tail = guid.Data4;
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1,
                  guid.Data2, guid.Data3, tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6],
                  tail[7]);
    if (nUnits < static_cast<int>(sizeof text)) return 0;
    std::copy_n(text, sizeof text, pszText);
    return static_cast<int>(sizeof text);
}

}  // namespace Platform
