#pragma once

#include <sys/mount.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace TestSupport {

/// A folder on a disk of its own, where the test may mount one.
class SmallDisk {
  public:
    explicit SmallDisk(const std::filesystem::path& folder) : m_folder(folder) {
        m_bMounted = mount("none", folder.c_str(), "tmpfs", 0, "size=256k") == 0;
    }
    ~SmallDisk() {
        if (m_bMounted) umount2(m_folder.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool IsMounted() const { return m_bMounted; }

    /// Leaves room for so many bytes, and gives the rest back at the end of the scope.
    std::shared_ptr<void> Fill(std::size_t nLeft) const {
        const std::filesystem::path ballast = m_folder / "ballast";
        std::filesystem::resize_file((std::ofstream(ballast), ballast), 0);
        const std::size_t free = std::filesystem::space(m_folder).available;
        if (free > nLeft) std::ofstream(ballast) << std::string(free - nLeft, 'x');
        return {nullptr, [ballast](void*) { std::filesystem::remove(ballast); }};
    }

    /// Lets nothing be written, until the end of the scope.
    std::shared_ptr<void> Protect() const {
        Remount(MS_RDONLY);
        return {nullptr, [this](void*) { Remount(0); }};
    }

  private:
    void Remount(unsigned long nFlags) const {
        mount("none", m_folder.c_str(), "tmpfs", MS_REMOUNT | nFlags, "size=256k");
    }

    std::filesystem::path m_folder;
    bool m_bMounted = false;
};

}  // namespace TestSupport
