#pragma once

#include "Base/ZErrorInfo.h"
#include "Base/ZLog.h"

#include <exception>
#include <new>

/// An operation as log lines name it: "CCoZChromaKey::OnMediaReceive", or the method alone where there is no class.
struct Z_METHOD
{
    const char* pszClass; ///< null: none
    const char* pszMethod;
};

inline HRESULT ZBorder_Failed(const Z_METHOD& _method, const char* _pszWhat, HRESULT _hr) noexcept
{
    ZLog(eZLog_Error, "%hs%hs%hs: %hs\n", _method.pszClass ? _method.pszClass : "", _method.pszClass ? "::" : "",
         _method.pszMethod, _pszWhat);
    return _hr;
}

/// Runs a body, and turns exceptions into result codes.
template <class Body> HRESULT ZBorder_Run(const Z_METHOD& _method, Body&& _body) noexcept
{
    try
    {
        return _body();
    }
    catch (const std::bad_alloc&)
    {
        // A line that cannot be formatted for want of memory stands in the log as its format: it is to say what is
        // wrong.
        ZLog(eZLog_Error, "%hs%hs%hs: out of memory\n", _method.pszClass ? _method.pszClass : "",
             _method.pszClass ? "::" : "", _method.pszMethod);
        return E_OUTOFMEMORY;
    }
    catch (const std::exception& ex)
    {
        return ZBorder_Failed(_method, ex.what(), E_UNEXPECTED);
    }
    catch (...)
    {
        return ZBorder_Failed(_method, "unknown exception", E_UNEXPECTED);
    }
}

/// The one border between our code and a caller across an interface: runs the body, turns exceptions into result
/// codes, logs a failure with the qualified name of the operation, and describes it to callers that ask the system.
template <class Body> HRESULT ZBorder(const Z_METHOD& _method, Body&& _body) noexcept
{
    ZErrorInfo_Begin();
    const HRESULT hr = ZBorder_Run(_method, _body);
    ZErrorInfo_End(hr);
    return hr;
}
template <class Body> HRESULT ZBorder(const char* _pszOperation, Body&& _body) noexcept
{
    return ZBorder(Z_METHOD{nullptr, _pszOperation}, _body);
}
