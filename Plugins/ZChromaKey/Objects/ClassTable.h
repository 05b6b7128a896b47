#pragma once

#include "Interfaces/ZPlatform.h"

#include <span>

/// A class that hosts can create: one row, from which the class factory and the registration read.
struct MODULE_CLASS
{
    const CLSID& clsid;
    const wchar_t* pwszTitle;  ///< as system tools show it
    const wchar_t* pwszProgID; ///< as scripts name it, without a version
    /// The interface that is the class's own. It is in the type library, where the system's marshaler finds how to hand
    /// it to other processes.
    const IID& iid;
    const wchar_t* pwszInterface;
    /// Hands out a new object's interface.
    HRESULT (*pfnCreate)(REFIID _iid, void** _ppvObject);
};

std::span<const MODULE_CLASS> ClassTable();
