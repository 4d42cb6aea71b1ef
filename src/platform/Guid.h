#pragma once

#include <cstdint>

#include "Export.h"

namespace Platform {

struct GUID {
    std::uint32_t Data1 = 0;
    std::uint16_t Data2 = 0;
    std::uint16_t Data3 = 0;
    std::uint8_t Data4[8] = {};

    bool operator==(const GUID&) const = default;
};

/// A new random identifier (version 4 of RFC 4122). 0 on success; else no randomness could be had.
QXPLATFORM_API std::int32_t CoCreateGuid(GUID* pGuid);

/// Writes the text form, "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in capitals: 38 units and the zero.
/// Returns the 39 units written, or 0 if `nUnits` is too small.
QXPLATFORM_API int StringFromGUID2(const GUID& guid, char16_t* pszText, int nUnits);

}  // namespace Platform
