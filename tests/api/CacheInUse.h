#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "CacheCheck.h"
#include "api/Thumbnail.h"
#include "support/CodedPicture.h"
#include "support/TemporaryFolder.h"

namespace TestSupport {

/// A cache folder, enabled as long as the object is there.
class CacheInUse {
  public:
    CacheInUse() {
        EXPECT_EQ(SetCacheFolder(TextOf(m_folder.Path()).c_str()), QXTNG_SUCCESS);
        EXPECT_EQ(SetCacheEnabled(1), QXTNG_SUCCESS);
    }
    ~CacheInUse() {
        ShutDown();
        SetCacheEnabled(0);
    }
    CacheInUse(const CacheInUse&) = delete;
    CacheInUse& operator=(const CacheInUse&) = delete;

    const std::filesystem::path& Path() const { return m_folder.Path(); }
    std::filesystem::path operator/(const std::string& name) const { return m_folder / name; }
    CacheCheck::CacheReport Check() const { return CacheCheck::CheckCache(m_folder.Path()); }

    /// The findings that are more than dead weight, or with `bAll` all of them.
    std::string Findings(bool bAll) const {
        std::string text;
        for (const CacheCheck::Finding& finding : Check().findings) {
            if (bAll || finding.severity == CacheCheck::Severity::Error)
                text += std::string(NameOf(finding.kind)) + ' ' + finding.file + ": " + finding.text + '\n';
        }
        return text;
    }

  private:
    TemporaryFolder m_folder;
};

inline Thumbnail MakeDecoded(const std::u16string& path, std::uint32_t box = 160) {
    return Make(TNG_OUTPUT_IMAGE, path, {box, box}, TNG_SOURCE_DECODE_ONLY);
}

/// Pictures in a folder that say their numbers.
class Gallery {
  public:
    Gallery(int nPictures, int nFirst) : m_nFirst(nFirst) {
        for (int i = 0; i < nPictures; ++i)
            m_paths.push_back(m_folder.Add(std::to_string(i) + ".jpg",
                                           MakeCodedJpeg(static_cast<std::uint32_t>(nFirst + i))));
    }

    int Count() const { return static_cast<int>(m_paths.size()); }
    std::u16string Folder() const { return TextOf(m_folder.Path()); }
    const std::u16string& Path(int i) const { return m_paths[static_cast<std::size_t>(i)]; }

    /// Whether the thumbnail is that of a picture.
    bool Shows(const Thumbnail& thumbnail, int i) const {
        return thumbnail.bDefault == 0 && NumberShownBy(thumbnail.pixels) == m_nFirst + i;
    }

    /// Makes the thumbnails of all pictures, which have to be right. How many came from the cache.
    int MakeAll(std::uint32_t box = 160) const {
        int nCached = 0;
        for (int i = 0; i < Count(); ++i) {
            const Thumbnail thumbnail = MakeDecoded(Path(i), box);
            EXPECT_TRUE(Shows(thumbnail, i)) << "picture " << m_nFirst + i << " in " << box;
            nCached += thumbnail.eOrigin == ORIGIN_CACHED;
        }
        return nCached;
    }

  private:
    int m_nFirst;
    TemporaryFolder m_folder;
    std::vector<std::u16string> m_paths;
};

}  // namespace TestSupport
