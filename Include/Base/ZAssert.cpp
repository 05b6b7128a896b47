#include "Base/ZAssert.h"

#include "Base/ZLog.h"

bool ZAssert_Failed(const char* _pszFile, int _nLine, const char* _pszText) noexcept
{
    const char* pszName = _pszFile;
    for (const char* psz = _pszFile; *psz; ++psz)
        if (*psz == '/' || *psz == '\\')
            pszName = psz + 1;
    ZLog(eZLog_Error, "%hs(%d): ASSERT \"%hs\"\n", pszName, _nLine, _pszText);
    return false;
}
