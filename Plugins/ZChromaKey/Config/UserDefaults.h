#pragma once

#include "Props/PropStore.h"

/// Puts a user's own default options into the default layer of a store. Those that are no option, or wrong for it, are
/// logged and left out. _mapOwn: defaults of the object, where the user has none that is right.
void UserDefaults_Apply(PROP_MAP&& _mapDefaults, PROPS_VALIDATE _pfnCheck, CPropStore* _pStore,
                        PROP_MAP&& _mapOwn = {});
