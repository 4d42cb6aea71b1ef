#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "ByteSource.h"
#include "JpegHuffman.h"
#include "JpegSegments.h"

/// A colour component, as its DC coefficients.
struct JpegDcComponent {
    std::uint8_t id = 0;
    std::uint32_t h = 1;  // sampling factors
    std::uint32_t v = 1;
    std::uint8_t quantiser = 0;    // index of its quantisation table
    std::uint32_t blocksWide = 0;  // blocks of the picture
    std::uint32_t blocksHigh = 0;
    std::uint32_t stride =
        0;  // blocks of a row, with those that fill up the last unit of an interleaved scan
    std::vector<std::int16_t> coefficients;
    bool complete = false;  // the last bit of its coefficients has come
};

/// Reads the DC coefficients of a progressive JPEG: all that a decode at 1/8 scale takes. The AC scans, most
/// of the file, are stepped over. Memory is 2 bytes a block.
///
/// Knows Huffman-coded files of one or three components with 8 bits a sample. Anything else, and anything
/// that is not as it should be, is refused as a whole.
class JpegDcReader {
  public:
    explicit JpegDcReader(ByteSource& source) : m_source(source) {}

    /// Reads the file up to where the coefficients are complete. False if it is refused.
    bool Read(const JpegFrame& frame);

    const std::vector<JpegDcComponent>& Components() const { return m_components; }

    /// What a coefficient of the component is to be multiplied by.
    int QuantiserStep(const JpegDcComponent& component) const {
        return m_quantiserSteps[component.quantiser];
    }

    /// Three components are luma and chroma, not red, green and blue.
    bool IsYCbCr() const;

    std::uint32_t MaxH() const { return m_maxH; }
    std::uint32_t MaxV() const { return m_maxV; }

  private:
    struct ScanComponent {
        JpegDcComponent* pComponent;
        const JpegHuffmanTable* pTable;
        int prediction;
    };
    struct Scan {
        std::vector<ScanComponent> components;
        bool dc = false;
        bool refines = false;  // brings one more bit of coefficients that are there
        int shift = 0;         // place of the last bit that it brings
    };

    bool IsComplete() const;
    bool ReadSegment(const JpegSegment& segment);
    bool ReadFrame(const std::vector<std::uint8_t>& bytes, const JpegFrame& frame);
    bool ReadQuantisers(const std::vector<std::uint8_t>& bytes);
    bool ReadHuffmanTables(const std::vector<std::uint8_t>& bytes);
    bool ReadScanHeader(const std::vector<std::uint8_t>& bytes, Scan& scan);
    bool DecodeScan(Scan& scan, std::uint64_t nOffset);
    bool DecodeUnit(Scan& scan, JpegBitReader& bits, std::uint32_t unitX, std::uint32_t unitY);
    static bool DecodeBlock(const Scan& scan, ScanComponent& component, JpegBitReader& bits,
                            std::int16_t& dc);

    ByteSource& m_source;
    std::vector<JpegDcComponent> m_components;
    std::uint32_t m_maxH = 1;
    std::uint32_t m_maxV = 1;
    std::uint32_t m_unitsWide = 0;  // units of an interleaved scan
    std::uint32_t m_unitsHigh = 0;
    std::array<int, 4> m_quantiserSteps{};
    std::array<JpegHuffmanTable, 4> m_tables;
    std::array<bool, 4> m_tableDefined{};
    std::uint32_t m_restartInterval = 0;
    bool m_jfif = false;
    int m_adobeTransform = -1;  // -1: no Adobe segment
};
