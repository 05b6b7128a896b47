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
/// Removes a file or an empty folder.
void Platform_Remove(const std::string& _strPath);
/// Makes a folder in one that is there; false when the system refuses.
bool Platform_MakeFolder(const std::string& _strPath);
bool Platform_IsFolder(const std::string& _strPath);
/// Bytes in an ordinary file that has any, else -1: files that the system makes up say 0.
int64_t Platform_FileSize(const std::string& _strPath);
bool Platform_Exists(const std::string& _strPath);

bool Platform_IsTerminal(std::FILE* _pFile);
uint32_t Platform_ProcessId();

/// What this program takes of the system.
struct PLATFORM_USAGE
{
    int64_t cbResident = 0; ///< memory that is in use now, with that of libraries
    int64_t cbPeak = 0;     ///< the most that was in use at a time
    int64_t cbHeap = 0;     ///< what allocations hold, without what is kept for later ones; 0: not known
    int nThreads = 0;
    int nHandles = 0; ///< open files; on Windows all kernel objects
};
PLATFORM_USAGE Platform_Usage();
/// Gives memory that was freed back to the system, and from now on large blocks at once, so that the resident memory
/// tells what is in use.
void Platform_TrimMemory();

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
