#include "OtherProcess.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace TestSupport {

OtherProcess::OtherProcess(const std::string& program, std::vector<std::string> arguments) {
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
        throw std::system_error(errno, std::generic_category(), "socketpair");
    m_process = fork();
    if (m_process < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (m_process == 0) {
        dup2(sockets[1], STDIN_FILENO);
        dup2(sockets[1], STDOUT_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(sockets[1]);
    m_nSocket = sockets[0];
}

void OtherProcess::Tell(const std::string& line) const {
    const std::string text = line + '\n';
    if (send(m_nSocket, text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size()))
        throw std::system_error(errno, std::generic_category(), "send");
}

std::string OtherProcess::Answer() const {
    std::string line;
    for (char character = 0; read(m_nSocket, &character, 1) == 1 && character != '\n';)
        line += character;
    return line;
}

void OtherProcess::Kill() {
    if (m_process < 0) return;
    kill(m_process, SIGKILL);
    waitpid(std::exchange(m_process, -1), nullptr, 0);
    close(std::exchange(m_nSocket, -1));
}

}  // namespace TestSupport
