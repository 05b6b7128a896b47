#pragma once

#include <string>

/// The few things a host needs that differ between systems. Paths are UTF-8.

bool Platform_Exists(const std::string& _strPath);

/// The folder of the file that this code was loaded from: of the program, or of the plug-in that it is linked into.
std::string Platform_OwnFolder();
/// The file name of the module on this system.
const char* Platform_ModuleName();

/// Loads a shared library; null when that fails, with the reason.
void* Platform_LoadLibrary(const std::string& _strPath, std::string& _strReason);
/// Unloads it; nothing of it may be in use.
void Platform_FreeLibrary(void* _pLibrary);
/// An exported function; null when there is none of that name.
void* Platform_Symbol(void* _pLibrary, const char* _pszName);
