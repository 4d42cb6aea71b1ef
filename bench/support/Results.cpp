#include "Results.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "TestFiles.h"

namespace Bench {
namespace {

std::string NumberText(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", number);
    return text;
}

}  // namespace

void Record(const Figure& figure) {
    const char* const pszFile = std::getenv("QXTNG_BENCH_RESULTS");
    if (!pszFile) return;
    const bool bFloor = !figure.floorName.empty();
    const double measured = bFloor ? figure.value / figure.floor : figure.value;
    std::string line = std::string(program_invocation_short_name) + '\t' + figure.work + '\t' +
                       NumberText(figure.value) + '\t' + figure.unit + '\t' + figure.floorName + '\t' +
                       (bFloor ? NumberText(figure.floor) : "") + '\t' +
                       (bFloor ? NumberText(measured) : "") + '\t';
    if (figure.bar) {
        const bool bHolds = figure.bAtLeast ? measured >= *figure.bar : measured <= *figure.bar;
        line += NumberText(*figure.bar) + '\t' + (bHolds ? "yes" : "no");
    } else {
        line += '\t';
    }
    std::FILE* const pFile = std::fopen(pszFile, "a");
    Require(pFile != nullptr, std::string("cannot write ") + pszFile);
    std::fprintf(pFile, "%s\n", line.c_str());
    std::fclose(pFile);
}

}  // namespace Bench
