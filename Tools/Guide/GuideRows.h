#pragma once

#include "Guide/GuideSheet.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// The pictures of the keying guide: what each parameter of the second generation does, on a part of a hard scene where
/// it is seen.

/// What of a result is shown.
enum eGuideShow
{
    eGS_Ground, ///< the result over one colour
    eGS_Light,  ///< the same, mixed as light
    eGS_Matte,  ///< alpha as grey
};

/// What is done to the painted frames before they are keyed.
enum eGuideInput
{
    eGI_Painted,
    eGI_CutOut, ///< they come with alpha: transparent outside of an ellipse
    eGI_Dimmed, ///< from the second half on, the right half of the picture gets darker
};

struct GUIDE_PART
{
    int nHeight; ///< of the scene, which is painted 16 by 9
    int nLeft, nTop;
    int nZoom; ///< pixels of the guide along each side of one of the scene
};

/// A parameter at some values: a row of tiles.
struct GUIDE_ROW
{
    const char* pszParam;
    const char* pszSheet;  ///< which picture the row stands in
    const char* pszScene;  ///< a hard scene
    const char* pszValues; ///< with blanks between; choices by name
    GUIDE_PART part;
    eGuideShow eShow = eGS_Ground;
    uint32_t nGround = 0; ///< 0xRRGGBB
    int nFrames = 1;      ///< so many are keyed, and the last one is shown
    eGuideInput eInput = eGI_Painted;
    int nSetAt = 0; ///< the frame before which the parameter is set, counted from 0
};

std::span<const GUIDE_ROW> GuideRows_All();

/// Paints the row's scene and keys it with each value: the source, then a tile a value. The same bytes each time.
/// Throws CZHostError.
std::vector<GUIDE_TILE> GuideRow_Tiles(const GUIDE_ROW& _row);

/// The names of the pictures, in the order of the rows.
std::vector<std::string> GuideRows_Sheets();
