#pragma once

#include "Helpers/CKDetect.h"
#include "Interfaces/IZFFrame.h"

#include <vector>

/// Hands out a copy of a frame, in eZFCC_ARGB32, that shows which blocks detection has examined: those it took are
/// framed in white, those it refused as too different in red, those that are not flat or no backdrop in black.
HRESULT BlockMarks_Draw(IZFFrame* _pFrame, const std::vector<CKUtils::CK_BLOCK>& _vecBlocks, IZFFrame** _ppFrame);
