#include "Base/ZSystem.h"

#include "Base/ZCpu.h"
#include "Base/ZLog.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <thread>

#if defined(_MSC_VER) && defined(_M_X64)
#include <intrin.h>
#elif defined(__x86_64__)
#include <cpuid.h>
#endif

#if !defined(_WIN32)
#include <filesystem>
#include <fstream>
#include <sys/utsname.h>
#include <system_error>
#endif

namespace
{

constexpr const char* c_pszUnknown = "unknown";

std::string OrUnknown(const std::string& _strText)
{
    return _strText.empty() ? c_pszUnknown : _strText;
}

#if defined(_MSC_VER) && defined(_M_X64)

void CpuLeaf(uint32_t _nLeaf, uint32_t* _pRegs)
{
    __cpuid(reinterpret_cast<int*>(_pRegs), static_cast<int>(_nLeaf));
}

#elif defined(__x86_64__)

void CpuLeaf(uint32_t _nLeaf, uint32_t* _pRegs)
{
    __cpuid(_nLeaf, _pRegs[0], _pRegs[1], _pRegs[2], _pRegs[3]);
}

#else

void CpuLeaf(uint32_t, uint32_t* _pRegs)
{
    std::memset(_pRegs, 0, 16);
}

#endif

std::string Trimmed(const std::string& _strText)
{
    const size_t nFirst = _strText.find_first_not_of(' ');
    return nFirst == std::string::npos ? "" : _strText.substr(nFirst, _strText.find_last_not_of(' ') - nFirst + 1);
}

#if defined(_WIN32)

std::string ModulePath(HMODULE _hModule)
{
    wchar_t arrPath[1024];
    return ZText_FromWide({arrPath, GetModuleFileNameW(_hModule, arrPath, 1024)});
}

#endif

} // namespace

std::string ZSystem_Processor()
{
    constexpr uint32_t c_nNames = 0x80000002; // three leaves of 16 characters each, zero-terminated
    char arrName[49] = {};
    uint32_t arrRegs[4] = {};
    CpuLeaf(0x80000000, arrRegs);
    if (arrRegs[0] < c_nNames + 2)
        return c_pszUnknown;
    for (uint32_t i = 0; i < 3; ++i)
    {
        CpuLeaf(c_nNames + i, arrRegs);
        std::memcpy(arrName + 16 * i, arrRegs, sizeof(arrRegs));
    }
    return OrUnknown(Trimmed(arrName));
}

#if defined(_WIN32)

std::string ZSystem_ProgramPath()
{
    return OrUnknown(ModulePath(nullptr));
}

std::string ZSystem_ModulePath()
{
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&ZSystem_ModulePath), &hModule);
    return OrUnknown(ModulePath(hModule));
}

/// GetVersion reports the version that a program was made for; this one reports the real one.
std::string ZSystem_Name()
{
    using PFN_VERSION = LONG(WINAPI*)(OSVERSIONINFOW*);
    OSVERSIONINFOW info = {};
    info.dwOSVersionInfoSize = sizeof(info);
    const HMODULE hModule = GetModuleHandleW(L"ntdll.dll");
    const auto pfnProc = hModule ? GetProcAddress(hModule, "RtlGetVersion") : nullptr;
    const auto pfnVersion = reinterpret_cast<PFN_VERSION>(reinterpret_cast<void*>(pfnProc));
    if (!pfnVersion || pfnVersion(&info) != 0)
        return "Windows";
    return ZFormat("Windows %u.%u.%u", info.dwMajorVersion, info.dwMinorVersion, info.dwBuildNumber);
}

#else

std::string ZSystem_ProgramPath()
{
    std::error_code err;
    return OrUnknown(std::filesystem::read_symlink("/proc/self/exe", err).string());
}

std::string ZSystem_ModulePath()
{
    const auto nAddress = reinterpret_cast<uintptr_t>(&ZSystem_ModulePath);
    std::ifstream fileMaps("/proc/self/maps");
    for (std::string strLine; std::getline(fileMaps, strLine);) // "first-last rights offset device inode   path"
    {
        char* pszEnd = nullptr;
        const uintptr_t nFirst = std::strtoull(strLine.c_str(), &pszEnd, 16);
        const uintptr_t nLast = *pszEnd ? std::strtoull(pszEnd + 1, nullptr, 16) : 0;
        const size_t nPath = strLine.find('/');
        if (nAddress >= nFirst && nAddress < nLast && nPath != std::string::npos)
            return strLine.substr(nPath);
    }
    return c_pszUnknown;
}

std::string ZSystem_Name()
{
    utsname name = {};
    return uname(&name) == 0 ? ZFormat("%s %s %s", name.sysname, name.release, name.machine) : c_pszUnknown;
}

#endif

void ZSystem_Log(const char* _pszVersion)
{
    if (!ZLog_IsOn(eZLog_Info))
        return;
    ZLog(eZLog_Info, "ZChromaKey %hs, module %hs in %hs\n", _pszVersion, ZSystem_ModulePath(), ZSystem_ProgramPath());
    ZLog(eZLog_Info, "%hs, %hs, SIMD level %hs of %hs, %u processors\n", ZSystem_Name(), ZSystem_Processor(),
         ZCpu_LevelName(ZCpu_Level()), ZCpu_LevelName(ZCpu_Detected()), std::thread::hardware_concurrency());
}
