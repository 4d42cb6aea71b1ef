#pragma once

#include <gtest/gtest.h>

#include "CacheCheck.h"
#include "CacheUse.h"
#include "api/QxTng.h"
#include "locks/TNGCacheEntry.h"
#include "support/TemporaryFolder.h"

namespace CacheUse {

inline constexpr int kPictures = 4;

inline std::u16string PathOf(int number) {
    return (number % 2 ? u"/t/a/" : u"/t/b/") + std::u16string(1, static_cast<char16_t>(u'0' + number));
}

/// The cache of two folders of sources, in use by this process, with one of the lists in memory.
class UsedCache {
  public:
    UsedCache() {
        EXPECT_EQ(SetCacheFolder(Text().c_str()), QXTNG_SUCCESS);
        EXPECT_EQ(SetCacheEnabled(1), QXTNG_SUCCESS);
        {
            const CTNGCacheEntry entry(u"UsedCache", u"Test");
            for (int number = 0; number < kPictures; ++number)
                EXPECT_TRUE(Add(PathOf(number), number));
        }
        EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
        const CTNGCacheEntry entry(u"UsedCache", u"Test");
        EXPECT_EQ(Look(PathOf(0)), 0);
        EXPECT_EQ(DBMgr().State(), TNG_DB_PARTIAL);
    }
    ~UsedCache() {
        EXPECT_EQ(SetCacheFolder(Text().c_str()), QXTNG_SUCCESS);
        EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
        const CacheCheck::CacheReport report = CacheCheck::CheckCache(m_folder.Path());
        EXPECT_EQ(report.errors, 0u) << report.findings[0].text;
        EXPECT_EQ(SetCacheEnabled(0), QXTNG_SUCCESS);
        s_pCacheMutex.Clear();
    }
    UsedCache(const UsedCache&) = delete;
    UsedCache& operator=(const UsedCache&) = delete;

    const std::filesystem::path& Folder() const { return m_folder.Path(); }
    std::u16string Text() const { return TestSupport::TextOf(m_folder.Path()); }

    /// Another folder, which is empty and on another file system.
    const std::filesystem::path& Other() const { return m_other.Path(); }
    std::u16string OtherText() const { return TestSupport::TextOf(m_other.Path()); }

  private:
    TestSupport::TemporaryFolder m_folder;
    TestSupport::TemporaryFolder m_other{"/dev/shm"};
};

}  // namespace CacheUse
