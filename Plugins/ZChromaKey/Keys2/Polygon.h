#pragma once

#include "Image/ImgPicture.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A corner of a polygon, in pixels from the top left of the picture.
struct POLYGON_POINT
{
    double dblX;
    double dblY;
};

/// Reads corners "x,y x,y x,y", blanks or semicolons between them. False and a reason with the place ("character 7:
/// ...") when the text is anything else, has fewer than three corners or more than 4096, or one is further than 100000
/// pixels away.
bool Polygon_Read(std::string_view _svText, std::vector<POLYGON_POINT>* _pvecPoints, std::string* _pstrReason);

/// The pixels whose centres are inside the polygon, which closes by itself. What lies in it twice is outside.
IMG_MASK Polygon_Mask(const std::vector<POLYGON_POINT>& _vecPoints, int32_t _nWidth, int32_t _nHeight);
