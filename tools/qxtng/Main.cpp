#include <fcntl.h>

#include <csignal>
#include <exception>
#include <stdexcept>

#include "arguments/Arguments.h"
#include "files/OutputFile.h"
#include "terminal/LogOutput.h"
#include "terminal/Messages.h"

namespace Client {
namespace {

/// A standard descriptor that the caller closed would become that of the next file opened, and messages
/// would end up in a picture. What is opened here refuses to be used.
void OccupyStandardDescriptors() {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) < 0) open("/dev/null", descriptor == 0 ? O_WRONLY : O_RDONLY);
    }
}

int RunCommand(const Arguments& arguments) {
    if (!arguments.run) return arguments.exitCode;
    const LogOutput log(arguments.log);
    const int exitCode = arguments.run();
    CheckStandardOutput(Lines::Report);
    return exitCode;
}

int Run(int argc, const char* const* argv) {
    try {
        return RunCommand(ParseArguments(argc, argv));
    } catch (const WrongUse& error) {
        PrintError(error.what());
        return kExitWrongUse;
    } catch (const std::bad_alloc&) {
        PrintError("there is not enough memory");
    } catch (const std::exception& error) {
        PrintError(error.what());
    }
    return kExitFailed;
}

}  // namespace
}  // namespace Client

int main(int argc, char** argv) {
    Client::OccupyStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    Client::RemoveUnfinishedFileOnSignal();
    return Client::Run(argc, argv);
}
