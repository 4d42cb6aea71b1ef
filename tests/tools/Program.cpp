#include "Program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace fs = std::filesystem;

Workspace::Workspace() {
    fs::create_directory(m_folder);
    environment = {{"HOME", m_base.Path()}, {"XDG_CACHE_HOME", m_base.Path()}};
}

void Workspace::AddSample(const std::string& sample, const fs::path& name) const {
    fs::copy_file(kSamples / sample, m_folder / (name.empty() ? fs::path(sample) : name));
}

void Workspace::AddFile(const fs::path& name, const std::string& content) const {
    std::ofstream(m_folder / name, std::ios::binary) << content;
}

Outcome Workspace::Run(const std::vector<std::string>& arguments, Power power) const {
    const Workspace streams;
    const int output = open((streams / "out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const int errors = open((streams / "err").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const int exitCode = WaitFor(Start(arguments, output, errors, power));
    close(output);
    close(errors);
    return {exitCode, ReadFile(streams / "out"), ReadFile(streams / "err")};
}

pid_t Workspace::Start(const std::vector<std::string>& arguments, int output, int errors, Power power) const {
    std::vector<char*> argv{const_cast<char*>(QXTNG_BINARY)};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const pid_t process = fork();
    if (process != 0) return process;
    if (chdir(m_folder.c_str()) != 0) _exit(126);
    // Of what the program will have; whoever is not root has neither.
    for (const int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH})
        if (power == Power::Own) prctl(PR_CAPBSET_DROP, capability);
    signal(SIGINT, SIG_DFL);  // ignored in what a shell runs in the background
    for (const auto& [name, value] : environment)
        setenv(name.c_str(), value.c_str(), 1);
    output >= 0 ? dup2(output, STDOUT_FILENO) : close(STDOUT_FILENO);
    errors >= 0 ? dup2(errors, STDERR_FILENO) : close(STDERR_FILENO);
    execv(QXTNG_BINARY, argv.data());
    _exit(127);
}

std::vector<std::string> Workspace::List(const fs::path& folder) const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_folder / folder))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

int WaitFor(pid_t process) {
    int status = 0;
    if (process < 0 || waitpid(process, &status, 0) != process) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string KindOf(const std::string& content) {
    if (content.starts_with("\xFF\xD8\xFF")) return "jpeg";
    return content.starts_with("\x89PNG") ? "png" : "other";
}

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    return stream << "exit " << outcome.exitCode << "\nout: " << outcome.output << "err: " << outcome.errors;
}
