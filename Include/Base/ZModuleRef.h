#pragma once

/// What the module counts: as long as one object, class factory or server lock lives, it must stay loaded.
void ZModule_AddRef();
void ZModule_Release();
/// True when nothing of the module is in use, and no thread of its own has to return through its code any more.
bool ZModule_IsIdle();

/// Keeps the module loaded while it lives; a member of every object that hosts can hold.
class CZModuleRef
{
public:
    CZModuleRef()
    {
        ZModule_AddRef();
    }
    ~CZModuleRef()
    {
        ZModule_Release();
    }
    CZModuleRef(const CZModuleRef&) = delete;
    CZModuleRef& operator=(const CZModuleRef&) = delete;
};
