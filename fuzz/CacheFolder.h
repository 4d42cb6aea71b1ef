#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "common/TNGFileInfo.h"
#include "platform/Text.h"

namespace Fuzz {

/// A cache folder in memory, in use until the program ends.
class CacheFolder {
  public:
    CacheFolder() {
        std::string name = "/dev/shm/qxtng-fuzz-XXXXXX";
        if (!mkdtemp(name.data())) std::abort();
        m_path = name;
        s_strCacheFolder.Set(Platform::PathFromBytes(name));
    }
    ~CacheFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CacheFolder(const CacheFolder&) = delete;
    CacheFolder& operator=(const CacheFolder&) = delete;

    /// Writes a file of the cache.
    std::u16string Write(const char* pszName, const std::uint8_t* pData, std::size_t nSize) const {
        std::ofstream file(m_path / pszName, std::ios::binary);
        file.write(reinterpret_cast<const char*>(pData), static_cast<std::streamsize>(nSize));
        return Platform::PathFromBytes((m_path / pszName).native());
    }

    bool Has(const char* pszName) const { return std::filesystem::exists(m_path / pszName); }

  private:
    std::filesystem::path m_path;
};

}  // namespace Fuzz
