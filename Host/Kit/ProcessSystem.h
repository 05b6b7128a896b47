#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Child processes where systems differ. A handle is a file descriptor, a process number or a HANDLE; -1: none.

inline constexpr intptr_t c_nNoHandle = -1;

struct CHILD_HANDLES
{
    intptr_t nProcess = c_nNoHandle;
    intptr_t nIn = c_nNoHandle;    ///< to its standard input
    intptr_t nOut = c_nNoHandle;   ///< from its standard output
    intptr_t nError = c_nNoHandle; ///< from its standard error
};

/// Starts a program; _nPipes: eProcessPipes. Throws CZHostError.
CHILD_HANDLES ProcessSystem_Start(const std::vector<std::string>& _vecCommand, int _nPipes);
/// Waits up to a tenth of a second until a pipe can be read, or written; systems without such a wait answer at once.
void ProcessSystem_Await(intptr_t _nPipe, bool _bWrite);
/// Reads what is there, where the pipe was not made to wait; 0: the end, -1: nothing yet.
int64_t ProcessSystem_Read(intptr_t _nPipe, void* _pBytes, size_t _cbBytes);
/// Writes as much as fits; -1: nobody reads it.
int64_t ProcessSystem_Write(intptr_t _nPipe, const void* _pBytes, size_t _cbBytes);
void ProcessSystem_Close(intptr_t& _nPipe);
void ProcessSystem_Kill(intptr_t _nProcess);
/// Waits for the end of the process and lets its handle go; its exit status.
int ProcessSystem_Reap(intptr_t& _nProcess);
/// The file of a program, looked for in the folders of PATH unless its name has a folder; empty: there is none.
std::string ProcessSystem_Find(const std::string& _strProgram);
/// An argument as the C library of Windows takes it apart again.
std::string ProcessSystem_Quoted(const std::string& _strArgument);
