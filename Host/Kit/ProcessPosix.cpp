#include "Kit/HostError.h"
#include "Kit/Process.h"
#include "Kit/ProcessSystem.h"

#include "Base/ZLog.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace
{

constexpr int c_nStepMs = 100;
constexpr int c_cbPipe = 1 << 20; // the most that an ordinary user gets

/// Never one of the three standard ones, which the child's are put over.
int Raised(int _nFile)
{
    if (_nFile < 0 || _nFile > STDERR_FILENO)
        return _nFile;
    const int nRaised = fcntl(_nFile, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(_nFile);
    return nRaised;
}

/// A pipe whose ends no other child gets.
struct PIPE_ENDS
{
    intptr_t nRead = c_nNoHandle;
    intptr_t nWrite = c_nNoHandle;

    PIPE_ENDS()
    {
        int arrFiles[2];
        if (pipe2(arrFiles, O_CLOEXEC) != 0)
            throw CZHostError(ZFormat("no pipe to a child process: %hs", std::strerror(errno)));
        nRead = Raised(arrFiles[0]);
        nWrite = Raised(arrFiles[1]);
#if defined(F_SETPIPE_SZ)
        fcntl(arrFiles[1], F_SETPIPE_SZ, c_cbPipe); // else the smaller one that there is
#endif
    }
    ~PIPE_ENDS()
    {
        ProcessSystem_Close(nRead);
        ProcessSystem_Close(nWrite);
    }
    PIPE_ENDS(const PIPE_ENDS&) = delete;
    PIPE_ENDS& operator=(const PIPE_ENDS&) = delete;
};

/// What is done in the child before the program begins.
class CSpawnPlan
{
public:
    CSpawnPlan()
    {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawnattr_init(&m_attributes);
        sigset_t set;
        sigemptyset(&set);
        posix_spawnattr_setsigmask(&m_attributes, &set);
        sigaddset(&set, SIGPIPE);
        posix_spawnattr_setsigdefault(&m_attributes, &set);
        posix_spawnattr_setpgroup(&m_attributes, 0); // a group of its own: Ctrl-C is for this process to handle
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    }
    ~CSpawnPlan()
    {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }
    CSpawnPlan(const CSpawnPlan&) = delete;
    CSpawnPlan& operator=(const CSpawnPlan&) = delete;

    void Standard(int _nStandard, intptr_t _nPipeOrNone)
    {
        if (_nPipeOrNone != c_nNoHandle)
            posix_spawn_file_actions_adddup2(&m_actions, static_cast<int>(_nPipeOrNone), _nStandard);
        else
            posix_spawn_file_actions_addopen(&m_actions, _nStandard, "/dev/null", O_RDWR, 0);
    }
    pid_t Run(const std::vector<std::string>& _vecCommand) const
    {
        std::vector<char*> vecArguments;
        vecArguments.reserve(_vecCommand.size() + 1);
        for (const std::string& strArgument : _vecCommand)
            vecArguments.push_back(const_cast<char*>(strArgument.c_str()));
        vecArguments.push_back(nullptr);
        pid_t nProcess = 0;
        const int nError =
            posix_spawnp(&nProcess, vecArguments.front(), &m_actions, &m_attributes, vecArguments.data(), environ);
        if (nError)
            throw CZHostError(ZFormat("cannot start %s: %hs", _vecCommand.front(), std::strerror(nError)));
        return nProcess;
    }

private:
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

} // namespace

CHILD_HANDLES ProcessSystem_Start(const std::vector<std::string>& _vecCommand, int _nPipes)
{
    std::signal(SIGPIPE, SIG_IGN);
    PIPE_ENDS in, out, error;
    CSpawnPlan plan;
    plan.Standard(STDIN_FILENO, _nPipes & eProcess_In ? in.nRead : c_nNoHandle);
    plan.Standard(STDOUT_FILENO, _nPipes & eProcess_Out ? out.nWrite : c_nNoHandle);
    plan.Standard(STDERR_FILENO, error.nWrite);
    CHILD_HANDLES child;
    child.nProcess = plan.Run(_vecCommand);
    fcntl(static_cast<int>(in.nWrite), F_SETFL, O_NONBLOCK);
    fcntl(static_cast<int>(out.nRead), F_SETFL, O_NONBLOCK);
    child.nIn = std::exchange(in.nWrite, c_nNoHandle);
    child.nOut = std::exchange(out.nRead, c_nNoHandle);
    child.nError = std::exchange(error.nRead, c_nNoHandle);
    return child;
}

void ProcessSystem_Await(intptr_t _nPipe, bool _bWrite)
{
    pollfd poll = {static_cast<int>(_nPipe), static_cast<short>(_bWrite ? POLLOUT : POLLIN), 0};
    ::poll(&poll, 1, c_nStepMs); // whatever it says, the next step tells
}

int64_t ProcessSystem_Read(intptr_t _nPipe, void* _pBytes, size_t _cbBytes)
{
    const ssize_t cbRead = read(static_cast<int>(_nPipe), _pBytes, _cbBytes);
    return cbRead < 0 && errno != EAGAIN && errno != EINTR ? 0 : cbRead;
}

int64_t ProcessSystem_Write(intptr_t _nPipe, const void* _pBytes, size_t _cbBytes)
{
    const ssize_t cbWritten = write(static_cast<int>(_nPipe), _pBytes, _cbBytes);
    return cbWritten < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : cbWritten;
}

void ProcessSystem_Close(intptr_t& _nPipe)
{
    if (_nPipe != c_nNoHandle)
        close(static_cast<int>(std::exchange(_nPipe, c_nNoHandle)));
}

void ProcessSystem_Kill(intptr_t _nProcess)
{
    kill(static_cast<pid_t>(_nProcess), SIGKILL);
}

int ProcessSystem_Reap(intptr_t& _nProcess)
{
    int nStatus = 0;
    while (waitpid(static_cast<pid_t>(_nProcess), &nStatus, 0) < 0 && errno == EINTR)
        ;
    _nProcess = c_nNoHandle;
    constexpr int c_nSignalled = 128;
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : c_nSignalled + WTERMSIG(nStatus);
}

std::string ProcessSystem_Find(const std::string& _strProgram)
{
    if (_strProgram.find('/') != std::string::npos)
        return access(_strProgram.c_str(), X_OK) == 0 ? _strProgram : "";
    const char* const pszPath = std::getenv("PATH");
    std::string strRest = pszPath ? pszPath : "";
    while (!strRest.empty())
    {
        const size_t nEnd = std::min(strRest.find(':'), strRest.size());
        std::string strFile = ZFormat("%s/%s", strRest.substr(0, nEnd), _strProgram);
        if (nEnd > 0 && access(strFile.c_str(), X_OK) == 0)
            return strFile;
        strRest.erase(0, nEnd + 1);
    }
    return {};
}
