#include "Base/ZBorder.h"
#include "ZChromaKey/Com/Registration.h"

#include <cwchar>

// How the module is registered: regsvr32 calls these.

STDAPI DllRegisterServer()
{
    return ZBorder("DllRegisterServer", [] { return Registration_Add(eRegistration_Machine); });
}

STDAPI DllUnregisterServer()
{
    return ZBorder("DllUnregisterServer", [] { return Registration_Remove(eRegistration_Machine); });
}

/// "user": for the current user alone, which needs no administrator. Without a text: for all users, as the two above.
STDAPI DllInstall(BOOL _bInstall, LPCWSTR _pwszForOrNull)
{
    return ZBorder("DllInstall", [&]() -> HRESULT {
        const bool bUser = _pwszForOrNull && _wcsicmp(_pwszForOrNull, L"user") == 0;
        if (_pwszForOrNull && *_pwszForOrNull && !bUser)
        {
            ZLog(eZLog_Error, "DllInstall: \"%ws\" is not known; use \"user\" or nothing\n", _pwszForOrNull);
            return E_INVALIDARG;
        }
        const eRegistration eFor = bUser ? eRegistration_User : eRegistration_Machine;
        return _bInstall ? Registration_Add(eFor) : Registration_Remove(eFor);
    });
}
