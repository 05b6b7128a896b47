#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// What a child process has for standard input and output.
enum eProcessPipes
{
    eProcess_In = 1,  ///< its standard input is written here; else it is empty
    eProcess_Out = 2, ///< its standard output is read here; else it is thrown away
};

/// A program that runs beside this one. What it says on standard error is kept, its last few kilobytes.
///
/// Arguments reach the program as they are: no shell sees them. Used by one thread at a time. On POSIX systems the
/// child does not hear the terminal's Ctrl-C, and broken pipes fail here instead of ending this process (SIGPIPE is
/// ignored from the first child on).
class CZChildProcess
{
public:
    /// _vecCommand: a program, which is looked for in the folders of PATH unless its name has a folder, and its
    /// arguments, in UTF-8. _nPipes: eProcessPipes. Throws CZHostError where it cannot be started.
    CZChildProcess(const std::vector<std::string>& _vecCommand, int _nPipes);
    /// Ends the program, whatever it is doing, unless it has ended.
    ~CZChildProcess();
    CZChildProcess(CZChildProcess&&) noexcept;
    CZChildProcess(const CZChildProcess&) = delete;
    CZChildProcess& operator=(const CZChildProcess&) = delete;

    /// Sets what is called about ten times a second while Read and Write have to wait; it may throw to give up. Windows
    /// has no such call: there the child hears Ctrl-C itself, and its end ends the wait.
    void OnWait(std::function<void()> _fnWait);
    /// Reads up to so many bytes of its standard output; fewer only at the end of it. Throws CZHostError.
    size_t Read(void* _pBytes, size_t _cbBytes);
    /// Writes all of it to its standard input. False: the program takes no more.
    bool Write(const void* _pBytes, size_t _cbBytes);
    /// Ends its standard input.
    void CloseInput();
    /// Ends both pipes and waits until the program has ended by itself. Answers its exit status, 0 where all was well;
    /// a signal that ended it counts as 128 and its number.
    int Wait();
    /// What it said on standard error, while it runs so far: whole lines without blanks around them.
    std::vector<std::string> Said() const;

private:
    struct STATE;
    std::unique_ptr<STATE> m_upState;
};

/// Whether there is such a program in the folders of PATH.
bool Process_IsThere(const std::string& _strProgram);

/// What a program said and how it ended.
struct PROCESS_RESULT
{
    int nExit = -1;                   ///< 0: all was well
    std::string strOut;               ///< its standard output
    std::vector<std::string> vecSaid; ///< the last lines on its standard error
};
/// Runs a program to its end. Throws CZHostError where it cannot be started, or writes more than this.
PROCESS_RESULT Process_Run(const std::vector<std::string>& _vecCommand, size_t _nMaxBytes = size_t{64} << 20);
