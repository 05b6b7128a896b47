#include "ZChromaKey/Com/ComModule.h"

#include "Interfaces/ZPlatform.h"

std::wstring ComModule_Path()
{
    HMODULE hModule = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<LPCWSTR>(&ComModule_Path), &hModule))
        return {};
    std::wstring wstrPath(32768, L'\0'); // the longest path there can be
    const DWORD nChars = GetModuleFileNameW(hModule, wstrPath.data(), static_cast<DWORD>(wstrPath.size()));
    wstrPath.resize(nChars < wstrPath.size() ? nChars : 0);
    return wstrPath;
}
