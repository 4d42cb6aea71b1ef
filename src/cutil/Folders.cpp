#include "Folders.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Files.h"
#include "platform/Modules.h"
#include "platform/Text.h"

namespace QxzCUtil {
namespace {

constexpr int kNotFound = 1;

char16_t* Duplicate(const std::u16string& text) {
    const std::size_t bytes = (text.size() + 1) * sizeof(char16_t);
    auto* pCopy = static_cast<char16_t*>(std::malloc(bytes));
    if (pCopy) std::memcpy(pCopy, text.c_str(), bytes);
    return pCopy;
}

// The shared data folders, best first.
std::vector<std::u16string> GraphicsFolders() {
    std::vector<std::u16string> folders;
    const std::u16string ownFolder = Platform::GetModuleFolder(reinterpret_cast<const void*>(&LocateFile));
    if (!ownFolder.empty()) folders.push_back(ownFolder + u"/" QXCUTIL_DATADIR_FROM_LIBDIR "/qxtng");

    const char* pszListed = std::getenv("XDG_DATA_DIRS");
    std::string_view listed = pszListed && *pszListed ? pszListed : "/usr/local/share:/usr/share";
    while (!listed.empty()) {
        const std::string_view folder = listed.substr(0, listed.find(':'));
        listed.remove_prefix(std::min(folder.size() + 1, listed.size()));
        // The XDG convention has relative entries ignored.
        if (folder.starts_with('/')) folders.push_back(Platform::PathFromBytes(folder) + u"/qxtng");
    }
    return folders;
}

}  // namespace

int LocateFile(const char16_t* pszKey, const char16_t* pszFileName, char16_t** ppszPath) {
    *ppszPath = nullptr;
    if (std::u16string_view(pszKey) != u"CommonGraphicsDir") return kNotFound;
    for (const std::u16string& folder : GraphicsFolders()) {
        const std::u16string path = folder + pszFileName;
        if (!Platform::PathFileExistsW(path.c_str())) continue;
        *ppszPath = Duplicate(path);
        return *ppszPath ? kFileFound : kNotFound;
    }
    return kNotFound;
}

int RetrievePath(const char16_t* pszKey, char16_t** ppszPath, unsigned) {
    if (std::u16string_view(pszKey) != u"MyBinDir") return kNotFound;
    const std::u16string folder = Platform::GetModuleFolder(__builtin_return_address(0));
    char16_t* pszFolder = folder.empty() ? nullptr : Duplicate(folder);
    if (!pszFolder) return kNotFound;
    *ppszPath = pszFolder;
    return 0;
}

void QXDealloc(void* pPath) {
    std::free(pPath);
}

}  // namespace QxzCUtil
