#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"

/// Draws a frame's time code into its top left corner, and the same box opaque into its mask. The background is
/// "bg-color=black(100)": black, 100 percent opaque; digits are 7 pixels high per 180 rows of the picture.
///
/// A frame whose pixels another frame shares is replaced by a copy. E_NOTIMPL: a format without 8-bit luma, or no
/// picture in system memory. _pszClass: of the plug-in object, as log lines name it.
HRESULT TimeOverlay_Draw(const char* _pszClass, CZPtr<IZFFrame>* _pcpFrame);
