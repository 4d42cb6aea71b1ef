#include "PngInflater.h"

namespace {

constexpr std::size_t kInputSize = 32768;

// ISA-L leaves the upper halves of the vector registers in use. Code that only knows of the lower halves,
// which is most, would run at a third of its speed from then on.
#if defined(__x86_64__)
__attribute__((target("avx"))) void ZeroUpperHalves() {
    __builtin_ia32_vzeroupper();
}
void ClearUpperHalves() {
    if (__builtin_cpu_supports("avx")) ZeroUpperHalves();
}
#else
void ClearUpperHalves() {}
#endif

}  // namespace

PngInflater::PngInflater(ByteSource& source, std::uint64_t nOffset)
    : m_data(source, nOffset),
      m_input(kInputSize),
      m_pState(std::make_unique_for_overwrite<inflate_state>()) {
    isal_inflate_init(m_pState.get());
    // The header is read here: ISA-L does not say what it makes of a window larger than there can be.
    m_pState->crc_flag = ISAL_ZLIB_NO_HDR_VER;
}

bool PngInflater::Refill() {
    m_pState->next_in = m_input.data();
    m_pState->avail_in = static_cast<std::uint32_t>(m_data.Read(m_input.data(), m_input.size()));
    ClearUpperHalves();
    return m_pState->avail_in != 0;
}

bool PngInflater::Start() {
    constexpr unsigned kDeflate = 8, kLargestWindow = 7, kDictionary = 0x20;
    if (!Refill() || m_pState->avail_in < 2) return false;
    const unsigned method = m_pState->next_in[0], flags = m_pState->next_in[1];
    m_pState->next_in += 2;
    m_pState->avail_in -= 2;
    return (method & 15) == kDeflate && method >> 4 <= kLargestWindow && (flags & kDictionary) == 0 &&
           (method << 8 | flags) % 31 == 0;
}

bool PngInflater::Inflate() {
    for (;;) {
        m_bDamaged = m_bDamaged || isal_inflate(m_pState.get()) != ISAL_DECOMP_OK;
        if (m_bDamaged) return false;
        if (m_pState->avail_out == 0) return true;
        if (m_pState->block_state == ISAL_BLOCK_FINISH || m_pState->avail_in != 0 || !Refill()) return false;
    }
}

bool PngInflater::Read(std::uint8_t* pOut, std::size_t nBytes) {
    m_pState->next_out = pOut;
    m_pState->avail_out = static_cast<std::uint32_t>(nBytes);
    const bool bRead = Inflate();
    ClearUpperHalves();
    return bRead;
}

bool PngInflater::Finish() {
    std::uint8_t more;
    return !Read(&more, 1) && !m_bDamaged && m_pState->block_state == ISAL_BLOCK_FINISH && m_data.IsSound();
}
