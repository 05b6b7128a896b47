#include "zkhost/Files/System.h"

#include "Base/ZText.h"
#include "Props/TempFile.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#else
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace
{

std::atomic<int> g_nInterrupts{0};

/// Requests to end that are taken as one: some programs send each of them twice. The next one ends the program.
constexpr int c_nPatience = 3;

} // namespace

std::FILE* System_Open(const std::string& _strPath)
{
    errno = 0;
#if defined(_WIN32)
    return _wfopen(File_Path(_strPath).c_str(), L"rb");
#else
    return std::fopen(_strPath.c_str(), "rb");
#endif
}

void System_Remove(const std::string& _strPath)
{
    std::error_code error;
    fs::remove(File_Path(_strPath), error);
}

bool System_MakeFolder(const std::string& _strPath)
{
    std::error_code error;
    return fs::create_directory(File_Path(_strPath), error);
}

bool System_IsFolder(const std::string& _strPath)
{
    std::error_code error;
    return fs::is_directory(File_Path(_strPath), error);
}

int64_t System_FileSize(const std::string& _strPath)
{
    std::error_code error;
    const uintmax_t cbFile =
        fs::is_regular_file(File_Path(_strPath), error) ? fs::file_size(File_Path(_strPath), error) : 0;
    return error || !cbFile ? -1 : static_cast<int64_t>(cbFile);
}

bool System_WasInterrupted()
{
    return g_nInterrupts.load(std::memory_order_relaxed) > 0;
}

#if defined(_WIN32)

namespace
{

BOOL WINAPI OnConsoleEvent(DWORD)
{
    return ++g_nInterrupts > c_nPatience ? FALSE : TRUE;
}

} // namespace

std::vector<std::string> System_Arguments(int, char**)
{
    std::vector<std::string> vecArgs;
    int nArgs = 0;
    LPWSTR* ppwszArgs = CommandLineToArgvW(GetCommandLineW(), &nArgs);
    for (int i = 0; ppwszArgs && i < nArgs; ++i)
        vecArgs.push_back(ZText_FromWide(ppwszArgs[i]));
    LocalFree(ppwszArgs);
    return vecArgs;
}

std::FILE* System_StandardStream(bool _bOutput)
{
    std::FILE* pFile = _bOutput ? stdout : stdin;
    _setmode(_fileno(pFile), _O_BINARY);
    return pFile;
}

bool System_IsTerminal(std::FILE* _pFile)
{
    return _isatty(_fileno(_pFile)) != 0;
}

uint32_t System_ProcessId()
{
    return GetCurrentProcessId();
}

void System_CatchInterrupts()
{
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

#else

namespace
{

extern "C" void OnSignal(int _nSignal)
{
    if (++g_nInterrupts >= c_nPatience)
        std::signal(_nSignal, SIG_DFL);
}

} // namespace

std::vector<std::string> System_Arguments(int _nArgs, char** _ppszArgs)
{
    return std::vector<std::string>(_ppszArgs, _ppszArgs + _nArgs);
}

std::FILE* System_StandardStream(bool _bOutput)
{
    return _bOutput ? stdout : stdin;
}

bool System_IsTerminal(std::FILE* _pFile)
{
    return isatty(fileno(_pFile)) != 0;
}

uint32_t System_ProcessId()
{
    return static_cast<uint32_t>(getpid());
}

void System_CatchInterrupts()
{
    struct sigaction action = {}; // no SA_RESTART: a read that waits for a pipe has to end
    action.sa_handler = OnSignal;
    for (const int nSignal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(nSignal, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // the write fails instead, and the job cleans up and says so
}

#endif
