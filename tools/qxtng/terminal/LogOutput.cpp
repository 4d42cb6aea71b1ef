#include "LogOutput.h"

#include <string>

#include "Messages.h"
#include "cutil/Logger.h"
#include "platform/Text.h"

namespace Client {
namespace {

/// The levels that the library logs at.
enum : std::uint32_t { kEnter = 1, kLeave = 2, kException = 4, kError = 5, kInfo = 6 };

std::uint32_t MaskOf(LogDetail detail) {
    constexpr std::uint32_t kErrors = 1u << kException | 1u << kError;
    switch (detail) {
        case LogDetail::None:
            return 0;
        case LogDetail::Error:
            return kErrors;
        case LogDetail::Info:
            return kErrors | 1u << kInfo;
        case LogDetail::All:
            return ~0u;
    }
    return 0;
}

std::string NameOf(std::uint32_t level) {
    switch (level) {
        case kEnter:
            return "enter";
        case kLeave:
            return "leave";
        case kException:
            return "exception";
        case kError:
            return "error";
        case kInfo:
            return "info";
        default:
            return "level " + std::to_string(level);
    }
}

std::string ToText(const char16_t* text) {
    return text ? Platform::PathToBytes(text) : std::string();
}

void PrintLogLine(void*, std::uint32_t level, const char16_t* text, const char16_t*, const char16_t* source,
                  std::uint32_t line) {
    PrintError(Displayable("log: " + NameOf(level) + ": " + ToText(source) + ':' + std::to_string(line) +
                           ": " + ToText(text)));
}

}  // namespace

LogOutput::LogOutput(LogDetail detail) {
    if (detail != LogDetail::None) QxzCUtil::CLogger::SetSink(PrintLogLine, nullptr, MaskOf(detail));
}

LogOutput::~LogOutput() {
    QxzCUtil::CLogger::SetSink(nullptr, nullptr, 0);
}

}  // namespace Client
