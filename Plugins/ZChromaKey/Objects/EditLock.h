#pragma once

#include "Base/ZBorder.h"
#include "Base/ZTimedLock.h"

/// Runs an edit inside the border, under a lock that pixels of a host may be read under: none of its methods is called.
/// Z_E_TIMEOUT: the lock was not to be had within ten seconds.
template <class Call> HRESULT EditLock_Run(const Z_METHOD& _method, CZTimedLock* _pLock, Call&& _call) noexcept
{
    return ZBorder(_method, [&]() -> HRESULT {
        const CZTimedGuard guard(_pLock);
        if (guard)
            return _call();
        ZLog(eZLog_Error,
             "%hs::%hs: another edit has not ended after ten seconds, for the memory of a frame, or the log, does not "
             "come back; nothing has changed\n",
             _method.pszClass, _method.pszMethod);
        return Z_E_TIMEOUT;
    });
}
