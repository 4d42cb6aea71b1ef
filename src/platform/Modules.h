#pragma once

#include <string>

#include "Export.h"

namespace Platform {

using HMODULE = void*;

/// Opens a library by its bare name: "Name.dll" stands for libName.so, looked for in the folder of the
/// calling library first, then by the system's ordinary search; never in the current folder.
/// Null if there is none. Each success wants one FreeLibrary().
QXPLATFORM_API HMODULE LoadLibraryW(const char16_t* pszName);

/// The address of an exported function, or null.
QXPLATFORM_API void* GetProcAddress(HMODULE hModule, const char* pszFunction);

/// Gives a LoadLibraryW() back. True on success.
QXPLATFORM_API bool FreeLibrary(HMODULE hModule);

/// Folder of the library or program that holds `pCode`, without a separator at its end; empty if unknown.
QXPLATFORM_API std::u16string GetModuleFolder(const void* pCode);

}  // namespace Platform
