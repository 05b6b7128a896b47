#pragma once

#include "zkhost/Files/Picture.h"

#include "Base/ZMatrix.h"
#include "Interfaces/IZFFrame.h"

#include <cstdint>
#include <string>
#include <vector>

/// A rectangle of a picture, in pixels.
struct VIEW_RECT
{
    int nLeft = 0;
    int nTop = 0;
    int nWidth = 0;
    int nHeight = 0;
};

/// What a keyed picture is shown over.
enum class eShowOver
{
    Nothing, ///< its colours as they are, without alpha
    Alpha,   ///< its alpha, as grey
    Checker,
    Color,
    Picture,
};

/// How a part of a keyed frame is shown.
struct VIEW_WISH
{
    VIEW_RECT rect;
    int nWidth = 0; ///< of the picture that comes out
    int nHeight = 0;
    eShowOver eOver = eShowOver::Checker;
    uint32_t nRGB = 0;                    ///< for eShowOver::Color
    const PICTURE* pBackground = nullptr; ///< for eShowOver::Picture; as large as the frame, borrowed
    Z_YUV_FORM yuv = {};                  ///< how the source is coded
    double dblWipe = 0;                   ///< left of this share of what comes out: the source
};

/// The part of the result that is wished for, as bytes R, G, B, 255: scaled with the mean of what a pixel covers, or
/// the nearest pixel where it grows. Both frames are of one size. Throws CZHostError.
void FrameView_Make(IZFFrame* _pSource, IZFFrame* _pResult, const VIEW_WISH& _wish, std::string& _strPixels);
