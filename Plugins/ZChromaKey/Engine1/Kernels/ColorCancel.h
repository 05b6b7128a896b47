#pragma once

#include <cstddef>
#include <cstdint>

/// Colour cancel: takes the tint that the backdrop leaves on hair, edges and skin out of the picture.
///
/// All in single precision: + - * / and the square root in a fixed order, so that every level gives the same bytes.
/// Positions and colours are fractions: a byte of the picture over 255, a byte of a key word over 256.
///
/// Per pixel, with r = two components of the pixel's colour less those of the key (G, B; L, S; or V, U: the space of
/// the key set) and v = the pixel's Y, V, U, chroma around 0:
///     distance = 0 inside the widened ellipse |r / reach| < 1, else the distance |r| - |r| / |r / reach| to it
///     weight   = 1 - distance * slope, the key takes part where that is above 0
///     v'       = v, for a key that protects; else the chroma is pushed along r until it is |power| from the key, less
///                where it is there already; then moved by weight * power * the key's chroma; brought to a length of at
///                most 0.5; scaled like the luma; and clamped
/// The result is the mean of the v' by weight where the weights' sum is above 0.01; any other pixel keeps its bytes.
/// Bytes are x * 255 rounded to nearest, halves up.

/// One key's constants.
struct CANCEL_KEY
{
    float arrCentre[2];  ///< of the two components
    float arrInverse[2]; ///< 1 / half-axes of the widened ellipse
    float fltRadius;     ///< of an ellipse that is a circle; else 0
    float fltNear;       ///< |r|^2 from which on the weight is 0, with room for rounding
    float fltSlope;      ///< weight lost per distance, above 0; FLT_MAX where the edge is hard
    float fltPower;      ///< reach of the push; negative: towards the key
    float fltPowerAbs;   ///< |fltPower|
    float arrPush[2];    ///< fltPower times the key's V and U
    float fltChromaGain; ///< 1: none
    float fltLumaGain;   ///< 1: none
    bool bProtects;      ///< an exclusion key: the pixel's own colour counts
};

/// How R, G, B becomes Y, V, U, and back. All are fractions, chroma around 0.5.
struct YVU_MATRIX
{
    float arrToYVU[3][3]; ///< rows Y, V, U on R, G, B
    float arrToAdd[3];
    float arrToRGB[3][3]; ///< rows R, G, B on Y, V, U
    float arrRGBAdd[3];
};

/// The space that the keys of a set are measured in.
enum eCancelSpace : int32_t
{
    eCS_RGB, ///< G and B
    eCS_HLS, ///< L and S
    eCS_YVU, ///< V and U
};

/// The keys of a set as the row kernels take them, in the order of the set.
struct CANCEL_SET
{
    CANCEL_KEY arrKeys[16];
    int nKeys;
    eCancelSpace eSpace;
    YVU_MATRIX matrix;
};

/// Where the bytes of two pixels lie in a 32-bit unit of packed 4:2:2: bits to shift right by.
struct PAIR_LAYOUT
{
    int32_t nY0;
    int32_t nY1;
    int32_t nU;
    int32_t nV;
};

/// The plain C++ kernels; KEY_KERNELS documents them.
void CancelBGRA_C(uint8_t* _pPixels, size_t _nPixels, const CANCEL_SET& _set) noexcept;
void CancelPairs_C(uint8_t* _pPairs, size_t _nPairs, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set) noexcept;
