#pragma once

/// The few things that differ between systems. Paths are UTF-8 everywhere.

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

/// The arguments of the program as UTF-8.
std::vector<std::string> Platform_Arguments(int _nArgs, char** _ppszArgs);

/// Opens a file for reading or writing bytes; null when the system refuses (Platform_LastError says why).
std::FILE* Platform_Open(const std::string& _strPath, bool _bWrite);
/// Standard input or output, switched to bytes.
std::FILE* Platform_StandardStream(bool _bOutput);
/// Why the last file call failed, as the system says it.
std::string Platform_LastError();
/// Puts a finished file in the place of another one, in one step.
bool Platform_Replace(const std::string& _strFrom, const std::string& _strTo);
void Platform_Remove(const std::string& _strPath);
/// True for a path that exists and is no ordinary file: a device or a pipe, which is written in place.
bool Platform_IsDevice(const std::string& _strPath);
/// The file that a link points at in the end; any other path as it is.
std::string Platform_ResolveLink(const std::string& _strPath);
bool Platform_IsFolder(const std::string& _strPath);
/// Bytes in an ordinary file, else -1.
int64_t Platform_FileSize(const std::string& _strPath);
bool Platform_Exists(const std::string& _strPath);

bool Platform_IsTerminal(std::FILE* _pFile);
uint32_t Platform_ProcessId();

/// From now on Ctrl-C and the requests to end set a flag instead of ending the program; the fourth one
/// ends it.
void Platform_CatchInterrupts();
bool Platform_WasInterrupted();

/// The folder that the running program lies in.
std::string Platform_ProgramFolder();
/// The file name of the plug-in module on this system.
const char* Platform_ModuleName();
/// Loads a shared library; null when that fails, with the reason. Libraries stay loaded until the program ends.
void* Platform_LoadLibrary(const std::string& _strPath, std::string& _strReason);
void* Platform_Symbol(void* _pLibrary, const char* _pszName);
