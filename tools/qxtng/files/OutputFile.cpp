#include "OutputFile.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "terminal/DescriptorWriter.h"
#include "terminal/Messages.h"

namespace Client {
namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

// The file that a signal removes; empty if there is none. Changes only while the signals are held.
char s_unfinishedPath[PATH_MAX];

void RemoveUnfinishedFile(int signalNumber) {
    if (s_unfinishedPath[0] != 0) unlink(s_unfinishedPath);
    raise(signalNumber);  // takes its ordinary course once this returns
}

/// Holds the ending signals back while it lives.
class SignalHold {
  public:
    SignalHold() {
        sigset_t ending;
        sigemptyset(&ending);
        for (const int signalNumber : kEndingSignals)
            sigaddset(&ending, signalNumber);
        pthread_sigmask(SIG_BLOCK, &ending, &m_before);
    }
    ~SignalHold() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalHold(const SignalHold&) = delete;
    SignalHold& operator=(const SignalHold&) = delete;

  private:
    sigset_t m_before;
};

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

}  // namespace

void RemoveUnfinishedFileOnSignal() {
    for (const int signalNumber : kEndingSignals) {
        struct sigaction action {};
        action.sa_handler = RemoveUnfinishedFile;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        struct sigaction before {};
        sigaction(signalNumber, nullptr, &before);
        if (before.sa_handler != SIG_IGN) sigaction(signalNumber, &action, nullptr);
    }
}

OutputFile::OutputFile(const std::string& path) : m_path(path) {
    CheckTarget();
    Create();
}

OutputFile::~OutputFile() {
    if (m_descriptor >= 0) close(m_descriptor);
    if (m_temporaryPath.empty()) return;
    const SignalHold hold;
    unlink(m_temporaryPath.c_str());
    s_unfinishedPath[0] = 0;
}

void OutputFile::CheckTarget() const {
    struct stat status {};
    if (stat(m_path.c_str(), &status) != 0) return;
    if (S_ISDIR(status.st_mode)) throw Failure(Displayable(m_path) + " cannot be written: is a folder");
    if (!S_ISREG(status.st_mode))
        throw Failure(Displayable(m_path) + " cannot be written: not a regular file");
}

void OutputFile::Create() {
    const SignalHold hold;
    for (int number = 0; m_descriptor < 0; ++number) {
        m_temporaryPath =
            FolderOf(m_path) + ".qxtng-" + std::to_string(getpid()) + '-' + std::to_string(number);
        m_descriptor = open(m_temporaryPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (m_descriptor < 0 && errno != EEXIST) {
            m_temporaryPath.clear();
            Fail(errno);
        }
    }
    m_temporaryPath.copy(s_unfinishedPath, sizeof s_unfinishedPath - 1);
    s_unfinishedPath[m_temporaryPath.size()] = 0;
}

void OutputFile::Fail(int error) const {
    throw SystemFailure(Displayable(m_path) + " cannot be written", error);
}

void OutputFile::Write(std::string_view bytes) {
    if (const int error = WriteAll(m_descriptor, bytes)) Fail(error);
}

void OutputFile::WriteAt(std::size_t offset, std::string_view bytes) {
    if (lseek(m_descriptor, static_cast<off_t>(offset), SEEK_SET) < 0) Fail(errno);
    Write(bytes);
    if (lseek(m_descriptor, 0, SEEK_END) < 0) Fail(errno);
}

void OutputFile::Commit() {
    const SignalHold hold;
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (close(descriptor) != 0) Fail(errno);
    if (rename(m_temporaryPath.c_str(), m_path.c_str()) != 0) Fail(errno);
    m_temporaryPath.clear();
    s_unfinishedPath[0] = 0;
}

}  // namespace Client
