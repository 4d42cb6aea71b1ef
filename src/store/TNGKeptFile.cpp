#include "TNGKeptFile.h"

constinit TNGKeptFile s_keptDateTimeFile(&Platform::PlainFile::IsInPlace);
constinit TNGKeptFile s_keptDataFile(&Platform::PlainFile::HasName);

void CloseKeptFiles() {
    s_keptDataFile.Close();
    s_keptDateTimeFile.Close();
}

std::shared_ptr<const Platform::PlainFile> TNGKeptFile::Open(const std::u16string& path, int* pnError) {
    *pnError = 0;
    const std::shared_ptr<const Kept> pKept = m_pKept.Get();
    if (pKept && pKept->path == path && (pKept->file.*m_check)()) return {pKept, &pKept->file};
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
