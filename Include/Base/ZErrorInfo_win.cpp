#include "Base/ZErrorInfo.h"

#include "Base/ZPtr.h"
#include "Base/ZText.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace
{

/// Without a destructor, which a thread could run after the module has gone.
struct ERROR_STATE
{
    int nCalls;       ///< that lie in each other
    bool bDescribed;  ///< the system holds a description of ours
    char szLine[512]; ///< "" where there was none
};
thread_local ERROR_STATE t_error = {};

void Describe(const char* _pszLine)
{
    CZPtr<ICreateErrorInfo> cpCreate;
    if (FAILED(CreateErrorInfo(cpCreate.Put())))
        return;
    std::wstring wstrSource = L"ZChromaKey";
    std::wstring wstrLine = ZText_ToWide(_pszLine);
    cpCreate->SetSource(wstrSource.data());
    cpCreate->SetDescription(wstrLine.data());
    CZPtr<IErrorInfo> cpInfo;
    if (SUCCEEDED(cpCreate->QueryInterface(IID_IErrorInfo, cpInfo.PutVoid())))
        t_error.bDescribed = SetErrorInfo(0, cpInfo.Get()) == S_OK;
}

void Forget()
{
    if (std::exchange(t_error.bDescribed, false))
        SetErrorInfo(0, nullptr);
}

} // namespace

void ZErrorInfo_Begin() noexcept
{
    if (t_error.nCalls++ > 0)
        return;
    t_error.szLine[0] = 0;
    Forget(); // what a call before has left
}

void ZErrorInfo_End(HRESULT _hr) noexcept
{
    --t_error.nCalls;
    if (SUCCEEDED(_hr))
        return Forget(); // of a failure inside, which came to nothing
    if (!t_error.szLine[0])
        return;
    try
    {
        Describe(t_error.szLine);
    }
    catch (...) // out of memory: the result code has to do
    {
    }
}

void ZErrorInfo_Keep(std::string_view _svLine) noexcept
{
    if (t_error.nCalls == 0)
        return;
    const size_t nChars = std::min(_svLine.size(), sizeof(t_error.szLine) - 1);
    std::memcpy(t_error.szLine, _svLine.data(), nChars);
    t_error.szLine[nChars] = 0;
}
