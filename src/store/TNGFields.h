#pragma once

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "platform/Streams.h"

/// Fields of cache files: little-endian, without gaps. See docs/cache-format.md.
static_assert(std::endian::native == std::endian::little,
              "fields are read and written as they are in memory");

/// Texts above this many units are not taken into memory; no path is that long.
inline constexpr std::int32_t TNG_MAX_TEXT_UNITS = 1 << 20;

/// A text that is longer: no memory could be had for it.
struct TNGTextTooLong : std::bad_alloc {};

/// Fields that stand one behind the other: read from the file in one go, and taken in order. A field that the
/// file ends in or before keeps its value.
template <std::size_t N>
class TNGFieldBlock {
  public:
    explicit TNGFieldBlock(std::FILE* pFile) : m_nBytes(Platform::_fread_nolock(m_bytes, 1, N, pFile)) {}

    template <typename T>
    void Take(T& field) {
        if (m_nTaken + sizeof field <= m_nBytes) std::memcpy(&field, m_bytes + m_nTaken, sizeof field);
        m_nTaken += sizeof field;
    }

  private:
    std::uint8_t m_bytes[N];
    std::size_t m_nBytes;
    std::size_t m_nTaken = 0;
};

/// Reads one field. False, and the field keeps its value, if the file ends before its end.
template <typename T>
bool ReadField(std::FILE* pFile, T& field) {
    T value;
    if (Platform::_fread_nolock(&value, sizeof value, 1, pFile) != 1) return false;
    field = value;
    return true;
}

template <typename T>
void WriteField(std::FILE* pFile, T field) {
    Platform::_fwrite_nolock(&field, sizeof field, 1, pFile);
}

/// Reads a text: its length in UTF-16 units, and its units up to the first zero. What the file no longer
/// holds is missing. False for a negative length. Throws TNGTextTooLong above TNG_MAX_TEXT_UNITS.
bool ReadText(std::FILE* pFile, std::u16string& text);

void WriteText(std::FILE* pFile, const std::u16string& text);
