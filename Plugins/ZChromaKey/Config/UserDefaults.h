#pragma once

#include "Props/PropStore.h"

/// Puts a user's own default options into the default layer of a store. Those that are wrong for their option are
/// logged and left out.
void UserDefaults_Apply(PROP_MAP&& _mapDefaults, CPropStore* _pStore);
