#include "Messages.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "DescriptorWriter.h"
#include "platform/Text.h"

namespace Client {
namespace {

int s_outputError = 0;  // of the first line that was lost

bool IsSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}
bool IsPair(std::u16string_view text) {
    return text.size() >= 2 && text[0] >= 0xD800 && text[0] <= 0xDBFF && text[1] >= 0xDC00 &&
           text[1] <= 0xDFFF;
}
bool IsControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

}  // namespace

Failure SystemFailure(const std::string& text, int errnoValue) {
    return Failure(text + ": " + std::strerror(errnoValue));
}

std::string Displayable(std::string_view bytes) {
    constexpr char16_t kReplacement = 0xFFFD;
    std::u16string text = Platform::PathFromBytes(bytes);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (IsPair(std::u16string_view(text).substr(i))) {
            ++i;
        } else if (IsSurrogate(text[i]) || IsControl(text[i])) {
            text[i] = kReplacement;
        }
    }
    return Platform::PathToBytes(text);
}

std::string DisplayableName(std::string_view name) {
    return name.empty() ? "''" : Displayable(name);
}

void PrintLine(std::string_view line) {
    const int error = WriteAll(STDOUT_FILENO, std::string(line) + '\n');
    if (s_outputError == 0) s_outputError = error;
}

void PrintErrorLine(std::string_view line) {
    WriteAll(STDERR_FILENO, std::string(line) + '\n');
}

void PrintError(std::string_view message) {
    PrintErrorLine("qxtng: " + std::string(message));
}

void WriteStandardOutput(std::string_view bytes) {
    if (const int error = WriteAll(STDOUT_FILENO, bytes)) {
        throw SystemFailure("standard output cannot be written", error);
    }
}

void CheckStandardOutput(Lines lines) {
    const bool isClosed = s_outputError == EBADF;
    if (s_outputError == 0 || s_outputError == EPIPE || (isClosed && lines == Lines::Report)) return;
    throw SystemFailure("standard output cannot be written", s_outputError);
}

}  // namespace Client
