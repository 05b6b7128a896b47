#pragma once

/// The key model: what is to be keyed out, as every component and every host shares it.
///
/// The layouts and enumeration values are fixed: they cross interfaces by value and are published in the type library.

#include <cstddef>
#include <cstdint>

/// The space in which keys are measured. eCKT_Alpha is 0, so a zero-filled key set keeps the input's own alpha.
enum eCK_Type : int32_t
{
    eCKT_Alpha = 0, ///< key by the alpha of the input; no colour distance
    eCKT_None = 1,  ///< keying off
    eCKT_RGB = 2,   ///< full range, 0 to 255
    eCKT_HLS = 3,   ///< hue (256 to a turn, red at 0), lightness, saturation
    eCKT_YUV = 4,   ///< studio range: Y 16 to 235, U and V 16 to 240 around 128
    eCKT_Auto = 5,  ///< chosen by detection
};

/// Whether a type (eCK_Type) has a space that keys are measured in: RGB, HLS and YUV have.
constexpr bool KeyType_HasSpace(int32_t _eType)
{
    return _eType == eCKT_RGB || _eType == eCKT_HLS || _eType == eCKT_YUV;
}

/// What KeyAdjustSet and KeyAdjustGet address. Not an index into CK_ADJUST: the orders differ on purpose.
enum eCK_Adjust : int32_t
{
    eCKA_KeyType = 0,
    eCKA_Power = 1,
    eCKA_Transparent = 2,
    eCKA_Smooth = 3,
    eCKA_Colors = 4,
    eCKA_MinTransparent = 5,
    eCKA_MaxTransparent = 6,
    eCKA_ExcludePower = 7,
    eCKA_ExcludeTransparent = 8,
    eCKA_Power_R_H_Y = 9,
    eCKA_Power_G_L_U = 10,
    eCKA_Power_B_S_V = 11,
    eCKA_Colors_Range = 12,
    eCKA_Colors_Power = 13,
    eCKA_Colors_Chroma = 14,
    eCKA_Colors_Luma = 15,
    eCKA_Colors_Alpha = 16,
};

/// The most keys a set holds. Every reader clamps a count to it, and treats a negative count as 0.
inline constexpr int32_t Z_MAX_KEYS = 16;

/// One key, 40 bytes: an ellipsoid around a colour. The words hold one byte a component: R, G, B from byte 0 for
/// eCKT_RGB; H, L, S or Y, U, V from byte 0 otherwise; byte 3 is alpha.
struct SINGLE_KEY
{
    uint32_t nValue;       ///< centre of the key
    uint32_t nDelta;       ///< half-widths of the key, in levels; 0 = the key is dead
    int32_t nSmoothRange;  ///< width of the soft edge around the key, in levels; 0 = a hard edge
    int32_t nAlpha;        ///< least alpha a matched pixel keeps, 0 to 255; 255 = the key does not key
    int32_t nCancelRange;  ///< colour cancel: how much wider than the key it reaches, in half levels; 0 = as wide
    int32_t nCancelPower;  ///< colour cancel: strength of the push on chroma, in 256ths, either sign; 0 = none
    int32_t nCancelChroma; ///< colour cancel: gain of chroma less 1, in 128ths; -128 = grey, 0 = unchanged
    int32_t nCancelLuma;   ///< colour cancel: gain of luma less 1, in 256ths; 0 = unchanged
    int32_t nCancelAlpha;  ///< colour cancel: its soft edge, 128 + this value levels wide; -128 = it ends with the key
    int32_t nReverseKey;   ///< above 0: an exclusion key; pixels it matches stay opaque
};
static_assert(sizeof(SINGLE_KEY) == 40);

/// The whole key set, 672 bytes. Zero-filled it keys nothing. A reader clamps what is outside its range.
struct CHROMA_KEY_RAW
{
    int32_t eType;     ///< eCK_Type; other values are carried and not keyed
    int32_t nKeysUsed; ///< valid entries of arrKeys, 0 to 16
    SINGLE_KEY arrKeys[Z_MAX_KEYS];
    int32_t nMinTransparent;  ///< mask values below it become 0; 0 to 255, 0 = none do
    int32_t nMaxTransparent;  ///< mask values above it become 255; 0 to 255, 255 = none do, which new key sets have
    int32_t nEdgesSmooth;     ///< smoothing passes over the finished mask, 0 to 10
    int32_t bColorCancel;     ///< non-zero: colour cancel (spill suppression) on
    int32_t nInterlacedVideo; ///< non-zero: smooth each field on its own, whatever the picture's record says
    int32_t nInverseKey;      ///< non-zero: invert the finished mask
};
static_assert(sizeof(CHROMA_KEY_RAW) == 672);
static_assert(offsetof(CHROMA_KEY_RAW, arrKeys) == 8 && offsetof(CHROMA_KEY_RAW, nMinTransparent) == 648);
static_assert(offsetof(CHROMA_KEY_RAW, nInverseKey) == 668);

/// Fine tuning of the colour cancel: added to the fields of the keying keys. All from -255 to 255, default 0.
struct CK_COLOR_ADJUST
{
    double dblCancelRange;  ///< to nCancelRange: above 0, colours further from the backdrop are cleaned
    double dblCancelPower;  ///< to nCancelPower
    double dblCancelChroma; ///< to nCancelChroma: above 0, cleaned colours are stronger, below 0 paler
    double dblCancelLuma;   ///< to nCancelLuma: above 0, cleaned colours are brighter
    double dblCancelAlpha;  ///< to nCancelAlpha: above 0, cleaning ends more softly
};

/// Fine tuning of one colour component each: scales that component's half-widths in all keys. In percent,
/// -100 to 100, from a quarter to four times; default 0.
struct CK_RANGE_ADJUST
{
    double dblRangeR_H_Y; ///< of R, H or Y
    double dblRangeG_L_U; ///< of G, L or U
    double dblRangeB_S_V; ///< of B, S or V
};

/// Fine tuning of the whole key set, 128 bytes. Every default is 0 and leaves the keys as they were taken. A value
/// outside its range acts as the nearest end, one that is no number as 0.
struct CK_ADJUST
{
    double dblPower;           ///< %, -100 to 100: scales the half-widths of keying keys, from a quarter to four times
    double dblTransparent;     ///< levels, 0 to 255: added to nAlpha of keying keys; the backdrop stays partly visible
    double dblColors;          ///< %, 0 to 100: above 0 switches colour cancel on, and says how strong it is
    double dblSmooth;          ///< levels, -255 to 255: added to nSmoothRange of keying keys; above 0 edges are softer
    double dblMinTransparent;  ///< levels, 0 to 255: added to nMinTransparent; thin remains of the backdrop vanish
    double dblMaxTransparent;  ///< levels, -255 to 0: added to nMaxTransparent; thin holes in the foreground close
    double dblExclPower;       ///< %, -100 to 100: as dblPower, for exclusion keys
    double dblExclTransparent; ///< levels, -255 to 255: added to nSmoothRange of exclusion keys
    CK_COLOR_ADJUST colAdjust;
    CK_RANGE_ADJUST rangeAdjust;
};
static_assert(sizeof(CK_ADJUST) == 128);
static_assert(offsetof(CK_ADJUST, colAdjust) == 64 && offsetof(CK_ADJUST, rangeAdjust) == 104);
