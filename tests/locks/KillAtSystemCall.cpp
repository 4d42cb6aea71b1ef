#include "KillAtSystemCall.h"

#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace TestSupport {

bool KillAtSystemCall(int n, const std::string& program, std::vector<std::string> arguments) {
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    const pid_t writer = fork();
    if (writer < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (writer == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(writer, &status, 0);
    for (int stop = SIGTRAP; WIFSTOPPED(status) && stop != SIGSTOP; stop = WSTOPSIG(status)) {
        ptrace(PTRACE_CONT, writer, nullptr, nullptr);
        waitpid(writer, &status, 0);
    }
    for (int i = 0; WIFSTOPPED(status) && i < 2 * n - 1; ++i) {
        ptrace(PTRACE_SYSCALL, writer, nullptr, nullptr);
        waitpid(writer, &status, 0);
    }
    if (!WIFSTOPPED(status)) {
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
        return false;
    }
    kill(writer, SIGKILL);
    waitpid(writer, &status, 0);
    return true;
}

}  // namespace TestSupport
