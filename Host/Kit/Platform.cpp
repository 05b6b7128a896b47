#include "Kit/Platform.h"

#include "Base/ZLog.h"
#include "Base/ZSystem.h"

#include <filesystem>

#if !defined(_WIN32)
#include <dlfcn.h>
#endif

namespace fs = std::filesystem;

namespace
{

fs::path PathOf(const std::string& _strPath)
{
    return fs::path(std::u8string(_strPath.begin(), _strPath.end()));
}

} // namespace

bool Platform_Exists(const std::string& _strPath)
{
    std::error_code error;
    return fs::exists(PathOf(_strPath), error);
}

#if defined(_WIN32)

std::string Platform_OwnFolder()
{
    return ZText_FromWide(PathOf(ZSystem_ModulePath()).parent_path().wstring());
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

void Platform_FreeLibrary(void* _pLibrary)
{
    FreeLibrary(static_cast<HMODULE>(_pLibrary));
}

void* Platform_Symbol(void* _pLibrary, const char* _pszName)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(_pLibrary), _pszName));
}

#else

std::string Platform_OwnFolder()
{
    return PathOf(ZSystem_ModulePath()).parent_path().string();
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

void Platform_FreeLibrary(void* _pLibrary)
{
    dlclose(_pLibrary);
}

void* Platform_Symbol(void* _pLibrary, const char* _pszName)
{
    return dlsym(_pLibrary, _pszName);
}

#endif
