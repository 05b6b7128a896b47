#pragma once

#include "Interfaces/IZFFrame.h"

#include <string>

/// A frame as it stands in log lines: time code and video properties. Allocates; ask ZLog_IsOn first.
std::string FrameText(IZFFrame* _pFrame);
