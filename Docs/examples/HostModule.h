#pragma once

// What the examples share: finding the module's entry, and pictures in standard streams.

#include "Interfaces/IZFFrame.h"

#include <cstdio>
#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
inline void* Entry(const char* _pszModule)
{
    _setmode(0, _O_BINARY), _setmode(1, _O_BINARY);
    const HMODULE hModule = LoadLibraryA(_pszModule);
    return hModule ? reinterpret_cast<void*>(GetProcAddress(hModule, "DllGetClassObject")) : nullptr;
}
#else
#include <dlfcn.h>
inline void* Entry(const char* _pszModule)
{
    void* pModule = dlopen(_pszModule, RTLD_NOW);
    return pModule ? dlsym(pModule, "DllGetClassObject") : nullptr;
}
#endif

// Moves the rows of a frame, top row first, from or to a stream; where they lie is the frame's business.
template <class Move> bool Rows(IZFFrame* _pFrame, uint32_t _nFlags, Move _fnMove, FILE* _pFile)
{
    ZF_VID_PTR ptr = {};
    bool bGood = _pFrame->VideoPtrGet(_nFlags, &ptr) == S_OK;
    for (int64_t y = 0; bGood && y < ptr.szVideoPlanes[0].cy; ++y)
    {
        auto* const pRow = reinterpret_cast<void*>(ptr.lpVideoPlanes[0] + y * ptr.cbVideoRowBytes[0]);
        bGood = _fnMove(pRow, 4, ptr.szVideoPlanes[0].cx, _pFile) == static_cast<size_t>(ptr.szVideoPlanes[0].cx);
    }
    return bGood;
}
