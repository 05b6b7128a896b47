#include "Kit/Result.h"

#include "Kit/HostError.h"
#include "Kit/HostLog.h"

#include "Base/ZLog.h"

namespace
{

struct RESULT_NAME
{
    HRESULT hr;
    const char* pszName;
};

constexpr RESULT_NAME c_arrNames[] = {
    {S_OK, "done"},
    {S_FALSE, "done, with nothing to give"},
    {E_NOTIMPL, "this build cannot do that"},
    {E_NOINTERFACE, "the object does not have this interface"},
    {E_POINTER, "a pointer is missing"},
    {E_ABORT, "given up"},
    {E_FAIL, "failed"},
    {E_UNEXPECTED, "not possible in this state"},
    {E_ACCESSDENIED, "access denied"},
    {E_OUTOFMEMORY, "out of memory"},
    {E_INVALIDARG, "a wrong argument"},
    {CLASS_E_NOAGGREGATION, "the class cannot be part of another object"},
    {CLASS_E_CLASSNOTAVAILABLE, "the module has no such class"},
    {Z_E_TIMEOUT, "time ran out"},
};

} // namespace

std::string Result_Text(HRESULT _hr)
{
    for (const RESULT_NAME& row : c_arrNames)
        if (row.hr == _hr)
            return ZFormat("%hs (hr=%08X)", row.pszName, _hr);
    return ZFormat("hr=%08X", _hr);
}

void Result_Check(HRESULT _hr, const std::string& _strWhat)
{
    if (SUCCEEDED(_hr))
        return;
    if (_hr == E_NOTIMPL)
        throw CZHostError(ZFormat("%s: this build of the module cannot do that (hr=%08X)", _strWhat, _hr));
    const std::string strReason = HostLog_LastError();
    if (strReason.empty())
        throw CZHostError(ZFormat("%s failed: %s", _strWhat, Result_Text(_hr)));
    throw CZHostError(ZFormat("%s failed (hr=%08X): %s", _strWhat, _hr, strReason));
}
