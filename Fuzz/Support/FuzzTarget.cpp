#include "Support/FuzzTarget.h"

#include "Base/ZLog.h"

#include <cstdio>
#include <cstdlib>

namespace
{

/// Takes log lines and drops them; lives as long as the program.
class CNoLog final : public IZLogSink
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** _ppvObject) override
    {
        *_ppvObject = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        return 2;
    }
    ULONG STDMETHODCALLTYPE Release() override
    {
        return 1;
    }
    void STDMETHODCALLTYPE LogLine(int32_t, const char*) override
    {
    }
};

} // namespace

void FuzzTarget_Fail(const char* _pszFile, int _nLine, const char* _pszText)
{
    std::fprintf(stderr, "%s(%d): does not hold: %s\n", _pszFile, _nLine, _pszText);
    std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pBytes, size_t _cbBytes)
{
    static CNoLog s_noLog;
    static const bool s_bSilent = (ZLog_Set(&s_noLog, eZLog_Verbose), true);
    static_cast<void>(s_bSilent);
    CByteReader in(_pBytes, _cbBytes);
    FuzzTarget_Run(in);
    return 0;
}
