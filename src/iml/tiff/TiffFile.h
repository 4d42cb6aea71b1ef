#pragma once

#include <tiffio.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "iml/ByteSource.h"

/// The first directory of a TIFF file, open for reading with libtiff.
class TiffFile {
  public:
    explicit TiffFile(ByteSource& source);
    TiffFile(const TiffFile&) = delete;
    TiffFile& operator=(const TiffFile&) = delete;

    bool IsOpen() const { return m_pTiff != nullptr; }
    TIFF* Handle() const { return m_pTiff.get(); }
    std::uint64_t Size() const { return m_source.Size(); }

    /// The value of a tag that has one. `Value` must be the type that libtiff has for the tag.
    template <typename Value>
    Value Field(std::uint32_t tag, Value otherwise) const {
        Value value = otherwise;
        return TIFFGetFieldDefaulted(Handle(), tag, &value) == 1 ? value : otherwise;
    }

    /// From now on, a strip that the end of the file cuts off is filled up, so that its first rows can be
    /// decoded. Only done if a decoder does not take the filling for pixels; of pixels that are not
    /// compressed, the caller takes only those within the file.
    void FillUpStrips();

  private:
    struct Closer {
        void operator()(TIFF* pTiff) const { TIFFClose(pTiff); }
    };

    static tmsize_t Read(thandle_t pFile, void* pOut, tmsize_t nBytes);
    static tmsize_t Write(thandle_t pFile, void* pBytes, tmsize_t nBytes);
    static toff_t Seek(thandle_t pFile, toff_t nOffset, int nWhence);
    static int Close(thandle_t pFile);
    static toff_t SizeOf(thandle_t pFile);

    ByteSource& m_source;
    std::uint64_t m_nPosition = 0;
    std::uint64_t m_nReadable;  // bytes that may still be read
    std::optional<std::uint8_t> m_filling;
    std::unique_ptr<TIFF, Closer> m_pTiff;
};
