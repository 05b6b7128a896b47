#pragma once

#include "Helpers/CKDetectOptions.h"
#include "Props/PropStore.h"

#include <string>
#include <string_view>
#include <vector>

/// The options that a plug-in object knows: those of the frame path, and, of the first generation, those of detection
/// under their long names.

/// "" when an object that detects may have an option set to a value, empty: not set; else why not, and what can be.
std::string KeyerOptions_CheckWithDetection(std::string_view _svName, std::string_view _svValue);
/// The same for an object that does not.
std::string KeyerOptions_Check(std::string_view _svName, std::string_view _svValue);

/// What counts while an option is not set, as text; null where there is no such option.
const char* KeyerOptions_Default(std::string_view _svName, bool _bDetects);

/// The names of all options, in alphabetical order, those among them that the store holds for others.
std::vector<std::string> KeyerOptions_Names(const CPropStore& _store, bool _bDetects);

/// Lays what the store has of the options of detection over what is given. E_INVALIDARG: a value that a document
/// brought in cannot be read (logged).
HRESULT KeyerOptions_Detection(const CPropStore& _store, CKUtils::CK_DETECT_OPTIONS* _pOptions);
