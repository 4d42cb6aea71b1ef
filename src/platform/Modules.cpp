#include "Modules.h"

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "Text.h"

namespace Platform {
namespace {

// The dynamic linker knows a program by the name it was started with, which may be relative to a folder
// that has changed since; the kernel knows where it really is.
std::string ResolveModulePath(const char* pszLinkerName) {
    char resolved[PATH_MAX];
    if (realpath(pszLinkerName, resolved)) return resolved;
    const ssize_t length = readlink("/proc/self/exe", resolved, sizeof resolved);
    return length > 0 ? std::string(resolved, static_cast<std::size_t>(length)) : std::string();
}

std::string ModuleFolderBytes(const void* pCode) {
    Dl_info info{};
    if (dladdr(pCode, &info) == 0 || !info.dli_fname) return {};
    const std::string path = ResolveModulePath(info.dli_fname);
    return path.substr(0, path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/'));
}

std::string ToSharedObjectName(std::u16string_view name) {
    constexpr std::u16string_view kExtension = u".dll";
    if (name.ends_with(kExtension)) name.remove_suffix(kExtension.size());
    return "lib" + PathToBytes(name) + ".so";
}

}  // namespace

HMODULE LoadLibraryW(const char16_t* pszName) {
    const std::string name = ToSharedObjectName(pszName);
    // A slash would make the linker take the name as a path, relative to the current folder.
    if (name.find('/') != std::string::npos) return nullptr;
    const std::string folder = ModuleFolderBytes(__builtin_return_address(0));
    if (!folder.empty()) {
        if (void* hModule = dlopen((folder + '/' + name).c_str(), RTLD_NOW | RTLD_LOCAL)) return hModule;
    }
    return dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* GetProcAddress(HMODULE hModule, const char* pszFunction) {
    return dlsym(hModule, pszFunction);
}

bool FreeLibrary(HMODULE hModule) {
    return dlclose(hModule) == 0;
}

std::u16string GetModuleFolder(const void* pCode) {
    return PathFromBytes(ModuleFolderBytes(pCode));
}

}  // namespace Platform
