#pragma once

#include "Interfaces/ZVideoTypes.h"

#include <string>

/// The one-line form of a record for the log: "1920(3840)x1080(UYVY)@25.000iT (16:9) GPU:3 x2". "disabled" for a
/// disabled record, empty for one that says nothing and for null.
std::string VidProps_Text(const ZF_VID_PROPS* _pVidProps);

/// "01:02:03:04", with ";" before the frames for drop-frame, and with the number of the field at the end (".1") where
/// there is one. Empty for null.
std::string TimeCode_Text(const ZF_TIMECODE* _pTimeCode);
