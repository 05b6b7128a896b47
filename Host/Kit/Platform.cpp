#include "Kit/Platform.h"

#include "Base/ZLog.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <malloc.h>
#include <psapi.h>
#include <shellapi.h>
#include <tlhelp32.h>
#else
#include <cerrno>
#include <dlfcn.h>
#include <sstream>
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace
{

std::atomic<int> g_nInterrupts{0};

/// Requests to end that are taken as one: some programs send each of them twice. The next one ends the program.
constexpr int c_nPatience = 3;

fs::path PathOf(const std::string& _strPath)
{
#if defined(_WIN32)
    return fs::path(ZText_ToWide(_strPath));
#else
    return fs::path(_strPath);
#endif
}

} // namespace

bool Platform_Replace(const std::string& _strFrom, const std::string& _strTo)
{
    std::error_code error;
    fs::rename(PathOf(_strFrom), PathOf(_strTo), error);
    return !error;
}

void Platform_Remove(const std::string& _strPath)
{
    std::error_code error;
    fs::remove(PathOf(_strPath), error);
}

bool Platform_MakeFolder(const std::string& _strPath)
{
    std::error_code error;
    return fs::create_directory(PathOf(_strPath), error);
}

bool Platform_IsFolder(const std::string& _strPath)
{
    std::error_code error;
    return fs::is_directory(PathOf(_strPath), error);
}

int64_t Platform_FileSize(const std::string& _strPath)
{
    std::error_code error;
    const uintmax_t cbFile = fs::is_regular_file(PathOf(_strPath), error) ? fs::file_size(PathOf(_strPath), error) : 0;
    return error || !cbFile ? -1 : static_cast<int64_t>(cbFile);
}

bool Platform_Exists(const std::string& _strPath)
{
    std::error_code error;
    return fs::exists(PathOf(_strPath), error);
}

bool Platform_WasInterrupted()
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

/// Bytes in the blocks that are taken from the heap of the process, which the runtime library allocates from.
int64_t HeapInUse()
{
    const HANDLE hHeap = GetProcessHeap();
    int64_t cbHeap = 0;
    PROCESS_HEAP_ENTRY entry = {};
    HeapLock(hHeap);
    while (HeapWalk(hHeap, &entry))
        if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
            cbHeap += entry.cbData;
    HeapUnlock(hHeap);
    return cbHeap;
}

} // namespace

std::vector<std::string> Platform_Arguments(int, char**)
{
    std::vector<std::string> vecArgs;
    int nArgs = 0;
    LPWSTR* ppwszArgs = CommandLineToArgvW(GetCommandLineW(), &nArgs);
    for (int i = 0; ppwszArgs && i < nArgs; ++i)
        vecArgs.push_back(ZText_FromWide(ppwszArgs[i]));
    LocalFree(ppwszArgs);
    return vecArgs;
}

std::FILE* Platform_Open(const std::string& _strPath, bool _bWrite)
{
    return _wfopen(ZText_ToWide(_strPath).c_str(), _bWrite ? L"wb" : L"rb");
}

std::FILE* Platform_StandardStream(bool _bOutput)
{
    std::FILE* pFile = _bOutput ? stdout : stdin;
    _setmode(_fileno(pFile), _O_BINARY);
    return pFile;
}

std::string Platform_LastError()
{
    char szText[256] = "";
    strerror_s(szText, sizeof(szText), errno);
    return szText;
}

bool Platform_IsTerminal(std::FILE* _pFile)
{
    return _isatty(_fileno(_pFile)) != 0;
}

uint32_t Platform_ProcessId()
{
    return GetCurrentProcessId();
}

PLATFORM_USAGE Platform_Usage()
{
    PLATFORM_USAGE usage;
    PROCESS_MEMORY_COUNTERS counters = {};
    if (GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)))
    {
        usage.cbResident = static_cast<int64_t>(counters.WorkingSetSize);
        usage.cbPeak = static_cast<int64_t>(counters.PeakWorkingSetSize);
    }
    usage.cbHeap = HeapInUse();
    DWORD nHandles = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &nHandles))
        usage.nHandles = static_cast<int>(nHandles);
    const HANDLE hThreads = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL bMore = Thread32First(hThreads, &entry); bMore; bMore = Thread32Next(hThreads, &entry))
        usage.nThreads += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(hThreads);
    return usage;
}

void Platform_TrimMemory()
{
    _heapmin();
}

void Platform_CatchInterrupts()
{
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

std::string Platform_ProgramFolder()
{
    std::wstring wstrPath(32768, L'\0');
    wstrPath.resize(GetModuleFileNameW(nullptr, wstrPath.data(), static_cast<DWORD>(wstrPath.size())));
    return ZText_FromWide(fs::path(wstrPath).parent_path().wstring());
}

const char* Platform_ModuleName()
{
    return "ZChromaKey.dll";
}

void* Platform_LoadLibrary(const std::string& _strPath, std::string& _strReason)
{
    const HMODULE hModule = LoadLibraryExW(PathOf(_strPath).make_preferred().c_str(), nullptr,
                                           LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    if (!hModule)
        _strReason = ZFormat("system error %u", GetLastError());
    return hModule;
}

void* Platform_Symbol(void* _pLibrary, const char* _pszName)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(_pLibrary), _pszName));
}

#else

namespace
{

extern "C" void OnSignal(int _nSignal)
{
    if (++g_nInterrupts >= c_nPatience)
        std::signal(_nSignal, SIG_DFL);
}

int64_t HeapInUse()
{
#if defined(__GLIBC__)
#if __GLIBC_PREREQ(2, 33)
    const struct mallinfo2 info = mallinfo2();
    return static_cast<int64_t>(info.uordblks + info.hblkhd);
#endif
#endif
    return 0;
}

} // namespace

std::vector<std::string> Platform_Arguments(int _nArgs, char** _ppszArgs)
{
    return std::vector<std::string>(_ppszArgs, _ppszArgs + _nArgs);
}

std::FILE* Platform_Open(const std::string& _strPath, bool _bWrite)
{
    return std::fopen(_strPath.c_str(), _bWrite ? "wb" : "rb");
}

std::FILE* Platform_StandardStream(bool _bOutput)
{
    return _bOutput ? stdout : stdin;
}

std::string Platform_LastError()
{
    return std::strerror(errno);
}

bool Platform_IsTerminal(std::FILE* _pFile)
{
    return isatty(fileno(_pFile)) != 0;
}

uint32_t Platform_ProcessId()
{
    return static_cast<uint32_t>(getpid());
}

PLATFORM_USAGE Platform_Usage()
{
    PLATFORM_USAGE usage;
    usage.cbHeap = HeapInUse();
    std::ifstream file("/proc/self/status"); // lines "VmHWM:     1234 kB"
    std::string strName;
    int64_t nValue = 0;
    for (std::string strLine; std::getline(file, strLine);)
    {
        std::istringstream line(strLine);
        if (!(line >> strName >> nValue))
            continue;
        if (strName == "VmHWM:")
            usage.cbPeak = nValue * 1024;
        else if (strName == "VmRSS:")
            usage.cbResident = nValue * 1024;
        else if (strName == "Threads:")
            usage.nThreads = static_cast<int>(nValue);
    }
    std::error_code error;
    usage.nHandles = static_cast<int>(std::distance(fs::directory_iterator("/proc/self/fd", error), {}));
    return usage;
}

void Platform_TrimMemory()
{
#if defined(__GLIBC__)
    constexpr int c_cbLarge = 128 * 1024; // as in a fresh process; otherwise it grows with the blocks that are freed
    mallopt(M_MMAP_THRESHOLD, c_cbLarge);
    mallopt(M_TRIM_THRESHOLD, c_cbLarge);
    malloc_trim(0);
#endif
}

void Platform_CatchInterrupts()
{
    struct sigaction action = {}; // no SA_RESTART: a read that waits for a pipe has to end
    action.sa_handler = OnSignal;
    for (const int nSignal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(nSignal, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // the write fails instead, and the job cleans up and says so
}

std::string Platform_ProgramFolder()
{
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).parent_path().string();
}

const char* Platform_ModuleName()
{
    return "libZChromaKey.so";
}

void* Platform_LoadLibrary(const std::string& _strPath, std::string& _strReason)
{
    void* pLibrary = dlopen(_strPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!pLibrary)
        _strReason = dlerror();
    return pLibrary;
}

void* Platform_Symbol(void* _pLibrary, const char* _pszName)
{
    return dlsym(_pLibrary, _pszName);
}

#endif
