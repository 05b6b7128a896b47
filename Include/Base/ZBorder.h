#pragma once

#include "Base/ZLog.h"

#include <exception>
#include <new>

/// The one border between our code and a caller across an interface: runs the body, turns exceptions into result
/// codes, and logs a failure with the qualified name of the operation ("CCoZChromaKey::OnMediaReceive").
template <class Body> HRESULT ZBorder(const char* _pszOperation, Body&& _body) noexcept
{
    try
    {
        return _body();
    }
    catch (const std::bad_alloc&)
    {
        ZLog(eZLog_Error, "%hs: out of memory\n", _pszOperation);
        return E_OUTOFMEMORY;
    }
    catch (const std::exception& ex)
    {
        ZLog(eZLog_Error, "%hs: %hs\n", _pszOperation, ex.what());
        return E_UNEXPECTED;
    }
    catch (...)
    {
        ZLog(eZLog_Error, "%hs: unknown exception\n", _pszOperation);
        return E_UNEXPECTED;
    }
}
