#include "Drives.h"

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <string>

#include "Text.h"

namespace Platform {
namespace {

// Network file systems, by the number that statfs() gives. Those without a name in the kernel's header are
// numbered in its sources.
constexpr unsigned kRemoteTypes[] = {
    AFS_SUPER_MAGIC, AFS_FS_MAGIC,     CODA_SUPER_MAGIC, NCP_SUPER_MAGIC, NFS_SUPER_MAGIC,
    SMB_SUPER_MAGIC, CIFS_SUPER_MAGIC, SMB2_SUPER_MAGIC, V9FS_MAGIC,      CEPH_SUPER_MAGIC,
    0x0BD00BD0,  // Lustre
    0x47504653,  // GPFS
    0x013111A8,  // IBRIX
};

// FUSE says nothing of what is behind it; the mount table does.
constexpr std::string_view kRemoteFuseTypes[] = {"fuse.sshfs",    "fuse.rclone",    "fuse.s3fs",
                                                 "fuse.davfs",    "fuse.curlftpfs", "fuse.gvfsd-fuse",
                                                 "fuse.glusterfs"};

std::string DeviceNumber(dev_t device) {
    return std::to_string(major(device)) + ':' + std::to_string(minor(device));
}

// A line of the mount table: "... MAJOR:MINOR ... - TYPE SOURCE OPTIONS".
bool IsRemoteFuse(dev_t device) {
    const std::string number = ' ' + DeviceNumber(device) + ' ';
    std::ifstream mounts("/proc/self/mountinfo");
    for (std::string line; std::getline(mounts, line);) {
        const std::size_t separator = line.find(" - ");
        if (separator == std::string::npos || line.substr(0, separator).find(number) == std::string::npos)
            continue;
        const std::string type = line.substr(separator + 3, line.find(' ', separator + 3) - separator - 3);
        return std::ranges::find(kRemoteFuseTypes, type) != std::end(kRemoteFuseTypes);
    }
    return false;
}

// A partition is as removable as the disk that its entry lies in.
bool IsRemovable(dev_t device) {
    const std::string entry = "/sys/dev/block/" + DeviceNumber(device);
    for (const char* pszPlace : {"/removable", "/../removable"}) {
        std::ifstream file(entry + pszPlace);
        char digit = 0;
        if (file.get(digit)) return digit == '1';
    }
    return false;
}

// A folder that is there, but must not be asked about, is no reason to give up what is cached of it.
std::uint32_t JudgeFailure(int error) {
    return error == ENOENT || error == ENOTDIR ? DRIVE_NO_ROOT_DIR : DRIVE_FIXED;
}

std::uint32_t JudgeExisting(const std::string& folder) {
    struct statfs system {};
    struct stat status {};
    if (statfs(folder.c_str(), &system) != 0 || stat(folder.c_str(), &status) != 0)
        return JudgeFailure(errno);
    const auto type = static_cast<unsigned>(system.f_type);
    if (std::ranges::find(kRemoteTypes, type) != std::end(kRemoteTypes)) return DRIVE_REMOTE;
    if (type == FUSE_SUPER_MAGIC && IsRemoteFuse(status.st_dev)) return DRIVE_REMOTE;
    return IsRemovable(status.st_dev) ? DRIVE_REMOVABLE : DRIVE_FIXED;
}

}  // namespace

std::uint32_t GetDriveTypeW(const char16_t* pszFolder) {
    std::string folder = PathToBytes(pszFolder);
    while (!folder.empty()) {
        const std::uint32_t type = JudgeExisting(folder);
        if (type != DRIVE_NO_ROOT_DIR) return type;
        const std::size_t separator = folder.find_last_of('/');
        if (separator == std::string::npos || folder == "/") break;
        folder.resize(std::max<std::size_t>(separator, 1));
    }
    return DRIVE_NO_ROOT_DIR;
}

}  // namespace Platform
