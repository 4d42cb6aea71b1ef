#include "CacheCheck.h"

#include "DataFileCheck.h"
#include "FolderScan.h"
#include "IndexCheck.h"
#include "ListCheck.h"

namespace CacheCheck {
namespace {

void CheckDateTimeFile(const std::filesystem::path& folder, Findings& findings) {
    constexpr std::uint64_t kDateTimeSize = 8;
    const std::string name = "CacheUpdateInfo.txt";
    const InputFile file(folder / name);
    if (file.IsMissing() || (file.IsOpen() && file.Size() == kDateTimeSize)) return;
    findings.Warning(FindingKind::DateTimeSize, name, 0,
                     file.IsOpen() ? std::to_string(file.Size()) + " bytes instead of 8" : "cannot be read");
}

}  // namespace

CacheReport CheckCache(const std::filesystem::path& folder) {
    CacheReport report;
    Findings findings(report);
    FolderScan scan(folder, findings);
    if (!scan.IsListed()) return report;
    for (const FolderRecord& owner : CheckIndex(folder, scan, findings))
        CheckDataFile(folder, owner, CheckList(folder, owner, findings), findings);
    CheckDateTimeFile(folder, findings);
    scan.ReportStrangers(findings);
    return report;
}

}  // namespace CacheCheck
