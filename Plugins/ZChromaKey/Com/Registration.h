#pragma once

#include "Interfaces/ZPlatform.h"

/// For whom the module is registered.
enum eRegistration : int
{
    eRegistration_Machine, ///< for all users; needs the rights of an administrator
    eRegistration_User,    ///< for the current user only
};

/// Writes classes, their names, type library and interfaces, all for this module file. When that fails nothing of it
/// is left, and the result says why.
HRESULT Registration_Add(eRegistration _eFor);
/// Takes all of it away, whichever file it was registered for; S_OK as well when there was nothing.
HRESULT Registration_Remove(eRegistration _eFor);
