#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

/// What the program says, and how it ends.
namespace Client {

inline constexpr int kExitGood = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitWrongUse = 2;
inline constexpr int kExitOfSignal = 128;  // plus its number

/// How a run over several files ends: all of them good, or some not.
inline int ExitCodeOf(bool good) {
    return good ? kExitGood : kExitFailed;
}

/// Something could not be done. The text is one line for the user, without "qxtng: ".
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The program was called in a way that cannot work.
struct WrongUse : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// "text: reason of errnoValue".
Failure SystemFailure(const std::string& text, int errnoValue);

/// Bytes of a path as text to be read: valid UTF-8 in one line. What is not UTF-8, and control characters,
/// become replacement characters.
std::string Displayable(std::string_view bytes);

/// The same of a name that stands alone in a message: an empty one shows as two quotes.
std::string DisplayableName(std::string_view name);

/// One line on standard output, now. A line that cannot be written is remembered for
/// CheckStandardOutput().
void PrintLine(std::string_view line);

/// One line on standard error, as it is.
void PrintErrorLine(std::string_view line);

/// "qxtng: message" on standard error.
void PrintError(std::string_view message);

/// Bytes on standard output, all of them or a Failure.
void WriteStandardOutput(std::string_view bytes);

/// Throws a Failure if a line was lost. A reader that went away misses nothing; nor does one that never was,
/// unless the lines are all that the command gives.
enum class Lines { Report, Result };
void CheckStandardOutput(Lines lines);

}  // namespace Client
