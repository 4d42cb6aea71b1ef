#include "Modules.h"

#include <dlfcn.h>
#include <limits.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string_view>

#include "Text.h"

namespace Platform {
namespace {

// Where the kernel has mapped `pCode` from. (The dynamic linker may know a module by a relative name, and the
// current folder may have changed since.) Empty if that is not a file.
std::string MappedFile(const void* pCode) {
    const auto address = reinterpret_cast<std::uintptr_t>(pCode);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t first = 0;
        std::uintptr_t end = 0;
        if (std::sscanf(line.c_str(), "%zx-%zx", &first, &end) != 2 || address < first || address >= end)
            continue;
        const std::size_t path = line.find('/');
        return path == std::string::npos ? std::string() : line.substr(path);
    }
    return {};
}

std::string ModuleFolderBytes(const void* pCode) {
    Dl_info info{};
    if (dladdr(pCode, &info) == 0 || !info.dli_fname) return {};
    char resolved[PATH_MAX];
    const bool bAbsolute = info.dli_fname[0] == '/';
    const std::string path = bAbsolute && realpath(info.dli_fname, resolved) ? resolved : MappedFile(pCode);
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
