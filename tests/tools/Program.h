#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"

/// The program under test, run as a user runs it, in a folder and with a cache of its own.

inline const std::filesystem::path kSamples = QXTNG_SAMPLES;

struct Outcome {
    int exitCode;  // -1 if a signal ended the program
    std::string output;
    std::string errors;
};

class Workspace {
  public:
    Workspace();

    std::filesystem::path operator/(const std::filesystem::path& name) const { return m_folder / name; }

    /// Copies a sample, under its own name or another one.
    void AddSample(const std::string& sample, const std::filesystem::path& name = {}) const;
    void AddFile(const std::filesystem::path& name, const std::string& content) const;

    /// Runs qxtng in the workspace until it ends. Without root's power over permissions, if that is wanted.
    enum class Power { All, Own };
    Outcome Run(const std::vector<std::string>& arguments, Power power = Power::All) const;

    /// Starts qxtng with the two descriptors as standard output and standard error; -1 is a closed one.
    pid_t Start(const std::vector<std::string>& arguments, int output, int errors,
                Power power = Power::All) const;

    /// Names of what is in a folder, hidden or not, in the order of their bytes.
    std::vector<std::string> List(const std::filesystem::path& folder = {}) const;

    /// What the program finds in its environment, beside what is in this one's. Its default cache, seen from
    /// the workspace, is ../qxtng.
    std::map<std::string, std::string> environment;

  private:
    TestSupport::TemporaryFolder m_base;  // of the files and the cache
    std::filesystem::path m_folder = m_base / "files";
};

using TestSupport::ReadFile;

/// Waits for the end of a program; see Outcome::exitCode.
int WaitFor(pid_t process);

/// "jpeg", "png" or "other", by the first bytes.
std::string KindOf(const std::string& content);

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome);
