#pragma once

#include <cstdio>
#include <string>

/// Runs a command line of the system's shell to its end and answers what it says, on standard output and on standard
/// error. _pnExit: 0 where it was done. Throws CZHostError where the system cannot start anything.
std::string Process_Run(const std::string& _strCommand, int* _pnExit);

/// A program that runs beside this one. It is to end when its standard input ends, which happens when this object goes,
/// and when this process ends in any way.
class CZChildProcess
{
public:
    /// Throws CZHostError where the system cannot start anything. _strProgram: the path of a file.
    CZChildProcess(const std::string& _strProgram, const std::string& _strArguments);
    /// Waits until it has ended.
    ~CZChildProcess();
    CZChildProcess(CZChildProcess&& _other) noexcept;
    CZChildProcess(const CZChildProcess&) = delete;
    CZChildProcess& operator=(const CZChildProcess&) = delete;

private:
    std::FILE* m_pPipe;
};
