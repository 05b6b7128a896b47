#pragma once

#include "Props/PropStore.h"

/// The user's own default options as they are stored on this system: on Windows the values of
/// HKEY_CURRENT_USER\Software\Corvala\ZChromaKey, texts or 32-bit numbers named like the options; none elsewhere.
/// Values of other kinds are logged and left out.
PROP_MAP UserDefaults_Read();
