#pragma once

#include <string>
#include <string_view>

#include "CacheCheck.h"

namespace CacheCheck {

/// A path as its bytes, in quotation marks; a very long one is cut.
std::string Quoted(std::u16string_view path);

/// Adds findings to a report.
class Findings {
  public:
    explicit Findings(CacheReport& report) : m_report(report) {}

    void Error(FindingKind kind, const std::string& file, std::uint64_t offset, const std::string& text) {
        ++m_report.errors;
        Keep({Severity::Error, kind, file, offset, text});
    }
    void Warning(FindingKind kind, const std::string& file, std::uint64_t offset, const std::string& text) {
        ++m_report.warnings;
        Keep({Severity::Warning, kind, file, offset, text});
    }

    Statistics& Counts() { return m_report.statistics; }

  private:
    void Keep(Finding finding) {
        if (m_report.findings.size() < kMaxFindings) m_report.findings.push_back(std::move(finding));
    }

    CacheReport& m_report;
};

}  // namespace CacheCheck
