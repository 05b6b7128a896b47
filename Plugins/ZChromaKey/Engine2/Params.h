#pragma once

#include "Interfaces/ChromaKey2Types.h"

#include <cstdint>

/// What an operator can set. Everything is plain data: two settings with equal bytes key alike.

inline constexpr int c_nUnmixMaxKeys = 16;
inline constexpr int c_nUnmixMaxProtected = 16;

enum eUnmixLight : int32_t
{
    eUL_Coded = 0, ///< host lays the result over in coded values
    eUL_Linear,    ///< host mixes in linear light: colours are unmixed in squares
};

enum eUnmixLearn : int32_t
{
    eUN_On = 0,
    eUN_Hold, ///< plate, noise and gain stay as they are; there is no filter over time
};

enum eUnmixView : int32_t
{
    eUV_Result = 0,
    eUV_Matte,      ///< alpha as grey
    eUV_Status,     ///< backdrop black, solid white, mixed orange, core green, regions blue
    eUV_Plate,      ///< what the backdrop looks like behind everything
    eUV_Foreground, ///< what solid foreground near here looks like; black where nothing is known
    eUV_Confidence, ///< how far the foreground is known, as grey
    eUV_Source,
};

enum eUnmixAlpha : int32_t
{
    eUA_Replace = 0,
    eUA_Multiply, ///< with the alpha of ARGB32 input
};

/// The parameters, in the units of KEY2_PARAMS; at first as the objects have them.
struct UNMIX_PARAMS
{
    float fltBackdrop = 100;
    float fltSolid = 50;
    float fltCleanBackdrop = 2;
    float fltCleanForeground = 3;
    float fltChoke = 0;
    float fltSoften = 0;
    float fltSpill = 100;
    float fltSpillBalance = 50;
    float fltShadows = 0;
    float fltNoise = 2.2f;
    int32_t eLight = eUL_Coded;
    int32_t eLearn = eUN_On;
    int32_t eView = eUV_Result;
    int32_t eAlpha = eUA_Multiply;

    bool operator==(const UNMIX_PARAMS&) const = default;
};

/// What the objects' parameters are here.
UNMIX_PARAMS UnmixParams_Of(const KEY2_PARAMS& _params);

/// A backdrop colour and how far around it cells still count as sure backdrop.
struct UNMIX_KEY
{
    float arrBGR[3] = {};       ///< 0 to 255
    float fltHue = 18;          ///< degrees to either side
    float fltSaturation = .18f; ///< loss of saturation; veils lose it
    float fltValue = .62f;      ///< loss of value, relative; wide, for shadows on the screen lose it
    float fltSolidHue = 60;     ///< the same of colours that are solid; as wide as this, unmixing finds them by itself
    float fltSolidSaturation = .6f;
    float fltSolidValue = 1;

    bool operator==(const UNMIX_KEY&) const = default;
};

/// A colour that is solid wherever it is seen.
struct UNMIX_PROTECTED
{
    float arrBGR[3] = {};
    float fltHue = 12;          ///< half axes of an ellipsoid round it: degrees,
    float fltSaturation = .12f; ///< 0 to 1,
    float fltValue = .2f;       ///< 0 to 1

    bool operator==(const UNMIX_PROTECTED&) const = default;
};

/// A mask of the frame's size, 8 bits a pixel; null: none.
struct UNMIX_REGION
{
    const uint8_t* pRow0 = nullptr;
    int64_t nStride = 0; ///< bytes

    const uint8_t* Row(int _nRow) const
    {
        return pRow0 + _nRow * nStride;
    }
};

/// A picture of the empty backdrop, of any size: stretched to the frame. Rows of bytes B, G, R, A without padding,
/// from the top; null: none. Two plates at one address are the same plate.
struct UNMIX_PLATE
{
    const uint8_t* pBGRA = nullptr;
    int nWidth = 0;
    int nHeight = 0;
};

/// What a frame is keyed with.
struct UNMIX_SETUP
{
    UNMIX_PARAMS params;
    UNMIX_KEY arrKeys[c_nUnmixMaxKeys];
    int nKeys = 0; ///< 0: the key is found from the picture
    UNMIX_PROTECTED arrProtected[c_nUnmixMaxProtected];
    int nProtected = 0;
    UNMIX_REGION garbage;  ///< 255: thrown away
    UNMIX_REGION holdOut;  ///< 255: stays as it is
    UNMIX_REGION backdrop; ///< 128 and above: marks and seams here are backdrop
    UNMIX_PLATE plate;     ///< what learning begins with
};

bool UnmixSetup_Same(const UNMIX_SETUP& _a, const UNMIX_SETUP& _b);
bool UnmixSetup_SameKeys(const UNMIX_SETUP& _a, const UNMIX_SETUP& _b);
/// Whether two setups agree in what says which cells are surely backdrop.
bool UnmixSetup_SameScreen(const UNMIX_SETUP& _a, const UNMIX_SETUP& _b);
