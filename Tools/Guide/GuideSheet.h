#pragma once

#include "zkhost/Files/Picture.h"

#include <string>
#include <vector>

/// A picture with a line of text above it; grey, or B, G, R, A without alpha.
struct GUIDE_TILE
{
    std::string strLabel;
    PICTURE picture;
};

/// The size of every tile.
inline constexpr int c_nGuideTileWidth = 230;
inline constexpr int c_nGuideTileHeight = 150;

/// Rows of tiles, four beside each other; what a row has more goes on below.
PICTURE GuideSheet_Draw(const std::vector<std::vector<GUIDE_TILE>>& _vecRows);
