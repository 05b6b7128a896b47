#pragma once

/// Files, streams and signals of a command-line program, where systems differ. Paths are UTF-8 everywhere.

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

/// The arguments of the program as UTF-8.
std::vector<std::string> System_Arguments(int _nArgs, char** _ppszArgs);

/// Opens a file for reading bytes; null when the system refuses (File_LastError says why).
std::FILE* System_Open(const std::string& _strPath);
/// Standard input or output, switched to bytes.
std::FILE* System_StandardStream(bool _bOutput);
/// Removes a file or an empty folder.
void System_Remove(const std::string& _strPath);
/// Makes a folder in one that is there; false when the system refuses.
bool System_MakeFolder(const std::string& _strPath);
bool System_IsFolder(const std::string& _strPath);
/// Bytes in an ordinary file that has any, else -1: files that the system makes up say 0.
int64_t System_FileSize(const std::string& _strPath);

bool System_IsTerminal(std::FILE* _pFile);
uint32_t System_ProcessId();

/// From now on Ctrl-C and the requests to end set a flag instead of ending the program; the fourth one ends it.
void System_CatchInterrupts();
bool System_WasInterrupted();
