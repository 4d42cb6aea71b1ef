#include "TNGKeptFile.h"

constinit TNGKeptFile s_keptDataFile(TNGKeptFile::Check::Name);
constinit TNGKeptFile s_keptDateTimeFile(TNGKeptFile::Check::Path);

void CloseKeptFiles() {
    s_keptDataFile.Close();
    s_keptDateTimeFile.Close();
}

std::shared_ptr<const Platform::PlainFile> TNGKeptFile::Open(const std::u16string& path, int* pnError) {
    *pnError = 0;
    if (const std::shared_ptr<const Kept> pKept = m_pKept.Get(); pKept && IsGood(*pKept, path))
        return {pKept, &pKept->file};
    const auto pNew = std::make_shared<Kept>();
    *pnError = pNew->file.Open(path.c_str());
    if (*pnError != 0) {
        Close();
        return nullptr;
    }
    pNew->path = path;
    m_pKept.Set(pNew);
    return {pNew, &pNew->file};
}

bool TNGKeptFile::IsGood(const Kept& kept, const std::u16string& path) const {
    return kept.path == path &&
           (m_eCheck == Check::Path ? kept.file.IsAt(path.c_str()) : kept.file.HasName());
}
