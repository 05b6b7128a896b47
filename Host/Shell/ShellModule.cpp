#include "Shell/ShellModule.h"

#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace
{
namespace fs = std::filesystem;

#if defined(_WIN32)
constexpr const char* c_szModuleFile = "ZChromaKey.dll";

fs::path OwnFile()
{
    HMODULE hOwn = nullptr;
    wchar_t awchPath[1024] = {};
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&ShellModule_Get), &hOwn);
    const DWORD nLength = GetModuleFileNameW(hOwn, awchPath, 1024);
    return nLength < 1024 ? fs::path(awchPath) : fs::path();
}

void* Load(const fs::path& _path, std::string& _strWhy)
{
    const HMODULE hModule = LoadLibraryW(_path.c_str());
    if (!hModule)
        _strWhy = _path.string() + ": error " + std::to_string(GetLastError());
    return reinterpret_cast<void*>(hModule);
}

void* Entry(void* _pModule, const char* _pszName)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(_pModule), _pszName));
}
#else
constexpr const char* c_szModuleFile = "libZChromaKey.so";

fs::path OwnFile()
{
    Dl_info info = {};
    std::error_code error;
    if (!dladdr(reinterpret_cast<void*>(&ShellModule_Get), &info) || !info.dli_fname)
        return {};
    return fs::canonical(info.dli_fname, error);
}

void* Load(const fs::path& _path, std::string& _strWhy)
{
    void* const pModule = dlopen(_path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (const char* const pszWhy = pModule ? nullptr : dlerror())
        _strWhy = pszWhy;
    return pModule;
}

void* Entry(void* _pModule, const char* _pszName)
{
    return dlsym(_pModule, _pszName);
}
#endif

// Where the module may be, the likeliest place first. A place that is named is the only one.
std::vector<fs::path> Places()
{
    if (const char* const pszNamed = std::getenv("ZCHROMAKEY_MODULE"); pszNamed && *pszNamed)
        return {fs::path(pszNamed)};
    std::vector<fs::path> vecPlaces;
    const fs::path pathFolder = OwnFile().parent_path();
    std::error_code error;
    for (const fs::path& path : {pathFolder / c_szModuleFile, pathFolder.parent_path() / c_szModuleFile})
        if (!pathFolder.empty() && fs::exists(path, error))
            vecPlaces.push_back(path);
    vecPlaces.emplace_back(c_szModuleFile);
    return vecPlaces;
}

bool TakeEntries(void* _pModule, SHELL_API& _api)
{
    bool bAll = true;
#define ZCK_SHELL_ENTRY(name)                                                                                          \
    _api.name = reinterpret_cast<decltype(_api.name)>(Entry(_pModule, #name));                                         \
    bAll &= _api.name != nullptr;
    ZCK_FUNCTIONS(ZCK_SHELL_ENTRY)
#undef ZCK_SHELL_ENTRY
    return bAll;
}
} // namespace

const SHELL_API* ShellModule_Get(std::string& _strWhy)
{
    static std::mutex s_mtx;
    static SHELL_API s_api;
    static bool s_bLoaded = false;
    const std::lock_guard lock(s_mtx);
    if (s_bLoaded)
        return &s_api;
    std::string strTried;
    for (const fs::path& path : Places())
    {
        std::string strReason = path.string() + " has not all functions of the C interface: another version";
        void* const pModule = Load(path, strReason);
        if (pModule && TakeEntries(pModule, s_api))
        {
            s_bLoaded = true;
            return &s_api;
        }
        strTried += "; " + strReason;
    }
    _strWhy = "the keyer's module was not found" + strTried +
              "; put it beside this plug-in, or name its file in ZCHROMAKEY_MODULE";
    return nullptr;
}
