#include "Soak/Usage.h"

#if defined(_WIN32)
#include "Interfaces/ZPlatform.h"

#include <algorithm>
#include <vector>

#include <malloc.h>
#include <psapi.h>
#include <tlhelp32.h>
#else
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#endif

#if defined(_WIN32)

namespace
{

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

/// An open handle of any process, and how the system tells of all of them: class 64 of NtQuerySystemInformation.
struct HANDLE_ENTRY
{
    void* pObject;
    ULONG_PTR nProcess;
    ULONG_PTR nHandle;
    ULONG nAccess;
    USHORT nTrace;
    USHORT nType;
    ULONG nAttributes;
    ULONG nReserved;
};
struct HANDLE_LIST
{
    ULONG_PTR nHandles;
    ULONG_PTR nReserved;
    HANDLE_ENTRY arrHandles[1];
};

/// The open handles of the process, counted in the list of all: Wine's GetProcessHandleCount says 0.
int HandlesListed()
{
    using QUERY = LONG(WINAPI*)(int, void*, ULONG, ULONG*);
    constexpr int c_nAllHandles = 64;
    const auto pfnQuery = reinterpret_cast<QUERY>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<uint64_t> vecList(size_t{1} << 17); // a megabyte: 26000 handles
    ULONG cbList = 0;
    const auto* const pList = reinterpret_cast<const HANDLE_LIST*>(vecList.data());
    if (!pfnQuery || pfnQuery(c_nAllHandles, vecList.data(), static_cast<ULONG>(vecList.size() * 8), &cbList) != 0)
        return 0;
    return static_cast<int>(
        std::count_if(pList->arrHandles, pList->arrHandles + pList->nHandles,
                      [](const HANDLE_ENTRY& _entry) { return _entry.nProcess == GetCurrentProcessId(); }));
}

} // namespace

SYSTEM_USAGE Usage_Get()
{
    SYSTEM_USAGE usage;
    PROCESS_MEMORY_COUNTERS counters = {};
    if (GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)))
    {
        usage.cbResident = static_cast<int64_t>(counters.WorkingSetSize);
        usage.cbPeak = static_cast<int64_t>(counters.PeakWorkingSetSize);
    }
    usage.cbHeap = HeapInUse();
    DWORD nHandles = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &nHandles))
        usage.nHandles = nHandles > 0 ? static_cast<int>(nHandles) : HandlesListed();
    const HANDLE hThreads = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL bMore = Thread32First(hThreads, &entry); bMore; bMore = Thread32Next(hThreads, &entry))
        usage.nThreads += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(hThreads);
    return usage;
}

void Usage_TrimMemory()
{
    _heapmin();
}

#else

namespace fs = std::filesystem;

namespace
{

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

SYSTEM_USAGE Usage_Get()
{
    SYSTEM_USAGE usage;
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

void Usage_TrimMemory()
{
#if defined(__GLIBC__)
    constexpr int c_cbLarge = 128 * 1024; // as in a fresh process; otherwise it grows with the blocks that are freed
    mallopt(M_MMAP_THRESHOLD, c_cbLarge);
    mallopt(M_TRIM_THRESHOLD, c_cbLarge);
    malloc_trim(0);
#endif
}

#endif
