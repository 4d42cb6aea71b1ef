#include "ExifThumbnail.h"

#include <vector>

namespace {

constexpr std::uint16_t kTagNewSubfileType = 0x00FE;
constexpr std::uint32_t kReducedPicture = 1;
constexpr std::uint16_t kTagThumbnailOffset = 0x0201;  // JPEGInterchangeFormat
constexpr std::uint16_t kTagThumbnailLength = 0x0202;  // JPEGInterchangeFormatLength
constexpr std::uint16_t kTypeLong = 4;
constexpr std::size_t kEntrySize = 12;

// Reads the numbers of a TIFF structure in its byte order.
class TiffReader {
  public:
    explicit TiffReader(ByteSource& source) : m_source(source) {}

    bool ReadHeader(std::uint32_t& firstDirectory) {
        std::uint8_t header[8];
        if (!m_source.ReadAllAt(0, header, sizeof header) || header[0] != header[1]) return false;
        if (header[0] != 'I' && header[0] != 'M') return false;
        m_bigEndian = header[0] == 'M';
        firstDirectory = Number32(header + 4);
        return Number16(header + 2) == 42;
    }

    // The entries of a directory, as they stand, and where the next directory is.
    bool ReadDirectory(std::uint32_t offset, std::vector<std::uint8_t>& entries, std::uint32_t& next) {
        std::uint8_t count[2];
        if (!m_source.ReadAllAt(offset, count, sizeof count)) return false;
        const std::size_t size = Number16(count) * kEntrySize;
        entries.resize(size + 4);
        const std::size_t got = m_source.ReadAt(std::uint64_t{offset} + 2, entries.data(), entries.size());
        // Some writers leave out the offset that closes the last directory.
        if (got < size) return false;
        next = got == entries.size() ? Number32(&entries[size]) : 0;
        entries.resize(size);
        return true;
    }

    std::uint16_t Number16(const std::uint8_t* p) const {
        return static_cast<std::uint16_t>(m_bigEndian ? p[0] << 8 | p[1] : p[1] << 8 | p[0]);
    }

    std::uint32_t Number32(const std::uint8_t* p) const {
        const std::uint32_t first = Number16(p);
        const std::uint32_t second = Number16(p + 2);
        return m_bigEndian ? first << 16 | second : second << 16 | first;
    }

  private:
    ByteSource& m_source;
    bool m_bigEndian = false;
};

bool FindThumbnail(ByteSource& source, ByteRange& thumbnail, bool bMustBeReduced) {
    TiffReader reader(source);
    std::uint32_t firstDirectory = 0;
    std::uint32_t secondDirectory = 0;
    std::uint32_t unused = 0;
    std::vector<std::uint8_t> entries;
    if (!reader.ReadHeader(firstDirectory)) return false;
    if (!reader.ReadDirectory(firstDirectory, entries, secondDirectory)) return false;
    if (secondDirectory == 0 || secondDirectory == firstDirectory) return false;
    if (!reader.ReadDirectory(secondDirectory, entries, unused)) return false;

    bool bReduced = false;
    thumbnail = {};
    for (std::size_t i = 0; i < entries.size(); i += kEntrySize) {
        if (reader.Number16(&entries[i + 2]) != kTypeLong) continue;
        const std::uint16_t tag = reader.Number16(&entries[i]);
        if (tag == kTagNewSubfileType) bReduced = (reader.Number32(&entries[i + 8]) & kReducedPicture) != 0;
        if (tag == kTagThumbnailOffset) thumbnail.offset = reader.Number32(&entries[i + 8]);
        if (tag == kTagThumbnailLength) thumbnail.size = reader.Number32(&entries[i + 8]);
    }
    if (bMustBeReduced && !bReduced) return false;
    return thumbnail.offset != 0 && thumbnail.size != 0 && thumbnail.offset < source.Size();
}

}  // namespace

bool FindExifThumbnail(ByteSource& source, ByteRange& thumbnail) {
    return FindThumbnail(source, thumbnail, false);
}

bool FindTiffThumbnail(ByteSource& source, ByteRange& thumbnail) {
    return FindThumbnail(source, thumbnail, true);
}
