#pragma once

#include "Base/ZModuleRef.h"
#include "Interfaces/ZGuids.h"

/// Hands out the class factory of a class of this module; CLASS_E_CLASSNOTAVAILABLE for any other class.
HRESULT ZModule_GetClassObject(REFCLSID _clsid, REFIID _iid, void** _ppvFactory);
