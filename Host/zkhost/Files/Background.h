#pragma once

#include "zkhost/Files/Picture.h"

#include <string>

/// What a keyed picture is laid over.

/// "#RRGGBB", or a picture file scaled to cover the size, its middle shown. Throws CZUsageError for a wrong colour.
PICTURE Background_Load(const std::string& _strColorOrPath, int _nWidth, int _nHeight);
/// A picture scaled to cover a size, its middle shown; what is transparent in it becomes black. Messages call it
/// _strName.
PICTURE Background_Fit(PICTURE _picture, int _nWidth, int _nHeight, const std::string& _strName);
/// Light and dark squares.
PICTURE Background_Checker(int _nWidth, int _nHeight);
/// A sky over hills at dusk, so that a composite can be judged without a picture at hand.
PICTURE Background_Scenery(int _nWidth, int _nHeight);
