#include "TNGFileData.h"

#include "common/TNGLog.h"
#include "store/TNGFields.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGFileData";

bool HasError(std::FILE* pFile) {
    return ferror_unlocked(pFile) != 0;
}

// The eight bytes between the locations and the original size: the mark of an embedded thumbnail stands there
// twice, and the low half of the width once more.
struct StoredFlags {
    std::uint8_t bDeleted;
    std::uint8_t bAudio;
    std::uint8_t bEmbeddedUnused;
    std::uint8_t nUnused1;
    std::uint8_t bEmbedded;
    std::uint8_t nUnused2;
    std::uint16_t nLowWidthUnused;
};
static_assert(sizeof(StoredFlags) == 8);

}  // namespace

int CTNGFileData::Save(std::FILE* pFile) {
    TNG_LOG(TNG_LOG_ENTER, u"CTNGFileData::Save");
    const auto failed = [](const char16_t* pszText) {
        TNG_LOG(TNG_LOG_INFO, pszText);
        TNG_LOG(TNG_LOG_LEAVE, u"CTNGFileData::Save");
        return 0;
    };
    if (HasError(pFile)) return failed(u"ERROR IN FILE WRITING START CTNGFileData::Save");
    m_nVersion = FILE_DATA_CURRENT_VERSION;
    WriteField(pFile, m_nVersion);
    WriteText(pFile, m_strFilePath);
    WriteField(pFile, m_eFileType);
    WriteText(pFile, m_strDataFileName);
    WriteField(pFile, m_ftLastWrite);
    WriteField(pFile, m_nFileSize);
    WriteField(pFile, m_nLargeOffset);
    WriteField(pFile, m_nLargeSize);
    WriteField(pFile, m_nSmallOffset);
    WriteField(pFile, m_nSmallSize);
    WriteField(pFile, StoredFlags{m_bDeleted, m_bAudio, m_bEmbedded, 0, m_bEmbedded, 0,
                                  static_cast<std::uint16_t>(m_nOriginalWidth)});
    WriteField(pFile, m_nOriginalWidth);
    WriteField(pFile, m_nOriginalHeight);
    WriteField(pFile, m_nExtraLargeOffset);
    WriteField(pFile, m_nExtraLargeSize);
    if (HasError(pFile)) return failed(u"ERROR IN FILE WRITING END CTNGFileData::Save");
    TNG_LOG(TNG_LOG_LEAVE, u"CTNGFileData::Save");
    return 1;
}

int CTNGFileData::Load(std::FILE* pFile) {
    TNG_LOG(TNG_LOG_ENTER, u"CTNGFileData::Load");
    if (HasError(pFile)) {
        TNG_LOG(TNG_LOG_INFO, u"ERROR IN FILE READING START CTNGFileData::Load");
        TNG_LOG(TNG_LOG_LEAVE, u"CTNGFileData::Load");
        return 0;
    }
    ReadField(pFile, m_nVersion);
    int result = 0;
    if (m_nVersion == FILE_DATA_CURRENT_VERSION) {
        result = LoadFileDataCurrentVersion(pFile);
    } else if (m_nVersion == FILE_DATA_VERSION_1) {
        result = LoadFileDataVersion1(pFile);
    } else {
        TNG_LOG(TNG_LOG_INFO, u"ERROR IN INDEX FILE READING, CTNGFileData::Load");
        TNG_LOG(TNG_LOG_INFO, u"Invalid FileData version found!");
    }
    TNG_LOG(TNG_LOG_LEAVE, u"CTNGFileData::Load");
    return result;
}

int CTNGFileData::LoadFileDataVersion1(std::FILE* pFile) {
    TNG_LOG(TNG_LOG_ENTER, u"CTNGFileData::LoadFileDataVersion1");
    const auto failed = [] {
        TNG_LOG(TNG_LOG_ERROR, u"Error in loading FileData 1st Version");
        return 0;
    };
    if (!pFile) return 0;
    if (!ReadText(pFile, m_strFilePath) || HasError(pFile)) return failed();
    ReadField(pFile, m_eFileType);
    if (!ReadText(pFile, m_strDataFileName) || HasError(pFile)) return failed();
    TNGFieldBlock<44> fields(pFile);
    fields.Take(m_ftLastWrite);
    fields.Take(m_nFileSize);
    fields.Take(m_nLargeOffset);
    fields.Take(m_nLargeSize);
    fields.Take(m_nSmallOffset);
    fields.Take(m_nSmallSize);
    StoredFlags flags{m_bDeleted, m_bAudio, 0, 0, m_bEmbedded, 0, 0};
    fields.Take(flags.bDeleted);
    fields.Take(flags.bAudio);
    fields.Take(flags.bEmbeddedUnused);
    fields.Take(flags.nUnused1);
    fields.Take(flags.bEmbedded);
    fields.Take(flags.nUnused2);
    fields.Take(flags.nLowWidthUnused);
    m_bDeleted = flags.bDeleted != 0 ? 1 : 0;
    m_bAudio = flags.bAudio;
    m_bEmbedded = flags.bEmbedded;
    fields.Take(m_nOriginalWidth);
    fields.Take(m_nOriginalHeight);
    if (HasError(pFile)) return failed();
    TNG_LOG(TNG_LOG_LEAVE, u"CTNGFileData::LoadFileDataVersion1");
    return 1;
}

int CTNGFileData::LoadFileDataCurrentVersion(std::FILE* pFile) {
    TNG_LOG(TNG_LOG_ENTER, u"CTNGFileData::LoadFileDataCurrentVersion");
    const int result = LoadFileDataVersion1(pFile);
    if (result == 1) {
        TNGFieldBlock<8> fields(pFile);
        fields.Take(m_nExtraLargeOffset);
        fields.Take(m_nExtraLargeSize);
        if (HasError(pFile)) {
            TNG_LOG(TNG_LOG_ERROR, u"Error in loading FileData Current Version");
            return 0;
        }
    }
    TNG_LOG(TNG_LOG_LEAVE, u"CTNGFileData::LoadFileDataCurrentVersion");
    return result;
}
