#include "Support/FuzzTarget.h"

#include "Support/NullSink.h"

#include <cstdio>
#include <cstdlib>

void FuzzTarget_Fail(const char* _pszFile, int _nLine, const char* _pszText)
{
    std::fprintf(stderr, "%s(%d): does not hold: %s\n", _pszFile, _nLine, _pszText);
    std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pBytes, size_t _cbBytes)
{
    static CNullSink s_noLog;
    static const bool s_bSilent = (ZLog_Set(&s_noLog, eZLog_Verbose), true);
    static_cast<void>(s_bSilent);
    CByteReader in(_pBytes, _cbBytes);
    FuzzTarget_Run(in);
    return 0;
}
