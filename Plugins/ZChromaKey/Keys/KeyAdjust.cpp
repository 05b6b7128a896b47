#include "ZChromaKey/Keys/KeyAdjust.h"

#include <algorithm>
#include <cmath>

namespace
{

// clang-format off
constexpr CK_ADJUST_INFO c_arrAdjust[] = {
    {eCKA_KeyType,            "type",                0,    5, 4, "eCK_Type", "type of the key set; keys are carried over into the new space",   "which colour space is keyed in"},
    {eCKA_Power,              "power",            -100,  100, 0, "%",        "scales the half-widths of the keys, from a quarter to four times", "more or less of the backdrop goes"},
    {eCKA_Transparent,        "transparent",         0,  255, 0, "levels",   "added to the least alpha of the keys; nothing on the GPU",        "the backdrop stays partly visible"},
    {eCKA_Smooth,             "smooth",           -255,  255, 0, "levels",   "added to the soft edge of the keys",                              "edges softer or harder"},
    {eCKA_Colors,             "colors",              0,  100, 0, "%",        "above 0 switches colour cancel on; YUV: from the key half way to grey and this share of the rest", "the backdrop's tint leaves the picture"},
    {eCKA_MinTransparent,     "min_transparent",     0,  255, 0, "levels",   "added to the lower limit of the mask",                            "thin remains of the backdrop vanish"},
    {eCKA_MaxTransparent,     "max_transparent",  -255,    0, 0, "levels",   "added to the upper limit of the mask",                            "thin holes in the foreground close"},
    {eCKA_ExcludePower,       "exclude_power",    -100,  100, 0, "%",        "scales the half-widths of the exclusion keys",                    "more or less of the picture is protected"},
    {eCKA_ExcludeTransparent, "exclude_smooth",   -255,  255, 0, "levels",   "added to the soft edge of the exclusion keys",                    "protection ends softer or harder"},
    {eCKA_Power_R_H_Y,        "power_rhy",        -100,  100, 0, "%",        "scales the half-widths of R, H or Y; nothing on the GPU",         "more or less tolerance in red, hue or brightness"},
    {eCKA_Power_G_L_U,        "power_glu",        -100,  100, 0, "%",        "scales the half-widths of G, L or U",                             "more or less tolerance in green, lightness or U"},
    {eCKA_Power_B_S_V,        "power_bsv",        -100,  100, 0, "%",        "scales the half-widths of B, S or V",                             "more or less tolerance in blue, saturation or V"},
    {eCKA_Colors_Range,       "colors_range",     -255,  255, 0, "levels",   "added to the cancel range of the keys",                           "colours further from the backdrop are cleaned"},
    {eCKA_Colors_Power,       "colors_power",     -255,  255, 0, "levels",   "added to the cancel power of the keys",                           "the tint is pushed away further"},
    {eCKA_Colors_Chroma,      "colors_chroma",    -255,  255, 0, "levels",   "added to the chroma gain of the colour cancel",                   "cleaned colours paler or stronger"},
    {eCKA_Colors_Luma,        "colors_luma",      -255,  255, 0, "levels",   "added to the luma gain of the colour cancel",                     "cleaned colours darker or brighter"},
    {eCKA_Colors_Alpha,       "colors_alpha",     -255,  255, 0, "levels",   "added to the cancel alpha of the keys",                           "cleaning ends softer or harder"},
};
// clang-format on

/// The nCancelAlpha at which cleaning ends right where the key does; each step more is a level of width.
constexpr int c_nNoWidth = -128;
/// At "colors" 100 % chroma shrinks by a fifth, which hides what is left of the tint. More would make faces pale.
constexpr int c_nFullCancelChroma = -26;
/// The width for keys in RGB and HLS, in levels.
constexpr int c_nPlainWidth = 32;

double Value(double _dblValue, eCK_Adjust _eAdjust)
{
    const CK_ADJUST_INFO& info = c_arrAdjust[_eAdjust];
    return std::isnan(_dblValue) ? info.dblDefault : std::clamp(_dblValue, info.dblMin, info.dblMax);
}

/// -100 % is a quarter, 0 is one, 100 % is four times; made of exact operations, so the same everywhere.
double Factor(double _dblPercent)
{
    const double dblReach = 1.0 + std::abs(_dblPercent) * 0.03;
    return _dblPercent < 0 ? 1.0 / dblReach : dblReach;
}

int Round(double _dblValue)
{
    return static_cast<int>(_dblValue < 0 ? _dblValue - 0.5 : _dblValue + 0.5);
}

int32_t Added(int32_t _nBase, double _dblValue, int _nMin, int _nMax)
{
    if (_dblValue == 0)
        return _nBase; // an adjustment at rest leaves even odd values as they are
    return static_cast<int32_t>(std::clamp<int64_t>(int64_t{_nBase} + Round(_dblValue), _nMin, _nMax));
}

uint32_t ScaledByte(uint32_t _nWord, int _nByte, double _dblFactor)
{
    const uint32_t nOld = (_nWord >> (8 * _nByte)) & 0xFF;
    if (nOld == 0 || _dblFactor == 1.0)
        return _nWord;
    const auto nNew = static_cast<uint32_t>(std::clamp(Round(nOld * _dblFactor), 1, 255));
    return (_nWord & ~(0xFFu << (8 * _nByte))) | (nNew << (8 * _nByte));
}

int ByteOf(uint32_t _nWord, int _nByte)
{
    return static_cast<int>(_nWord >> (8 * _nByte) & 0xFF);
}

/// What "colors" adds to the colour cancel of a key.
struct COLORS
{
    int nRange;
    int nPower;
    int nChroma;
    int nAlpha;
};

/// A key in YUV. Chroma is pushed from the key to a circle around it, and the cleaning ends at that circle, whatever
/// the shape of the key. The radius is half the way to grey at 0 %, where it hardly leaves the key, and all of it at
/// 100 %: greys are just out of reach then, what lies between them and the backdrop becomes grey or the hue that it
/// leans to, and nothing changes in steps.
COLORS ColorsOfYUV(const SINGLE_KEY& _key, double _dblShare)
{
    const double dblU = ByteOf(_key.nValue, 1) - 128;
    const double dblV = ByteOf(_key.nValue, 2) - 128;
    const int nRadius = Round((0.5 + _dblShare / 2) * std::sqrt(dblU * dblU + dblV * dblV));
    const int nLongest = std::max(ByteOf(_key.nDelta, 1), ByteOf(_key.nDelta, 2));
    return {-2 * nLongest, nRadius, Round(_dblShare * c_nFullCancelChroma), c_nNoWidth + nRadius};
}

/// A key in RGB or HLS, whose distances are no directions in chroma: chroma is shifted away from
/// the key's, the less the further off. No further than the key itself reaches, for within that it is pulled instead.
COLORS ColorsOfOthers(const SINGLE_KEY& _key, double _dblShare)
{
    return {0, -Round(_dblShare * std::min(ByteOf(_key.nDelta, 1), ByteOf(_key.nDelta, 2))), 0,
            c_nNoWidth + c_nPlainWidth};
}

COLORS ColorsOf(const SINGLE_KEY& _key, int32_t _eType, double _dblShare)
{
    if (!(_dblShare > 0))
        return {};
    return _eType == eCKT_YUV ? ColorsOfYUV(_key, _dblShare) : ColorsOfOthers(_key, _dblShare);
}

void ApplyColors(const CK_ADJUST& _adjust, int32_t _eType, SINGLE_KEY* _pKey)
{
    const CK_COLOR_ADJUST& col = _adjust.colAdjust;
    const COLORS colors = ColorsOf(*_pKey, _eType, Value(_adjust.dblColors, eCKA_Colors) / 100);
    const double dblRange = Value(col.dblCancelRange, eCKA_Colors_Range) + colors.nRange;
    const double dblPower = Value(col.dblCancelPower, eCKA_Colors_Power) + colors.nPower;
    const double dblChroma = Value(col.dblCancelChroma, eCKA_Colors_Chroma) + colors.nChroma;
    const double dblAlpha = Value(col.dblCancelAlpha, eCKA_Colors_Alpha) + colors.nAlpha;
    _pKey->nCancelRange = Added(_pKey->nCancelRange, dblRange, -255, 255);
    _pKey->nCancelPower = Added(_pKey->nCancelPower, dblPower, -255, 255);
    _pKey->nCancelChroma = Added(_pKey->nCancelChroma, dblChroma, -255, 255);
    _pKey->nCancelLuma = Added(_pKey->nCancelLuma, Value(col.dblCancelLuma, eCKA_Colors_Luma), -255, 255);
    _pKey->nCancelAlpha = Added(_pKey->nCancelAlpha, dblAlpha, -255, 255);
}

void ApplyKey(const CK_ADJUST& _adjust, int32_t _eType, SINGLE_KEY* _pKey)
{
    const bool bExclusion = _pKey->nReverseKey > 0;
    const double dblPower =
        bExclusion ? Value(_adjust.dblExclPower, eCKA_ExcludePower) : Value(_adjust.dblPower, eCKA_Power);
    const double arrRange[] = {Value(_adjust.rangeAdjust.dblRangeR_H_Y, eCKA_Power_R_H_Y),
                               Value(_adjust.rangeAdjust.dblRangeG_L_U, eCKA_Power_G_L_U),
                               Value(_adjust.rangeAdjust.dblRangeB_S_V, eCKA_Power_B_S_V)};
    for (int i = 0; i < 3; ++i)
        _pKey->nDelta = ScaledByte(_pKey->nDelta, i, Factor(dblPower) * Factor(arrRange[i]));
    const double dblSmooth =
        bExclusion ? Value(_adjust.dblExclTransparent, eCKA_ExcludeTransparent) : Value(_adjust.dblSmooth, eCKA_Smooth);
    _pKey->nSmoothRange = Added(_pKey->nSmoothRange, dblSmooth, 0, 255);
    if (bExclusion)
        return;
    _pKey->nAlpha = Added(_pKey->nAlpha, Value(_adjust.dblTransparent, eCKA_Transparent), 0, 255);
    ApplyColors(_adjust, _eType, _pKey);
}

} // namespace

std::span<const CK_ADJUST_INFO> KeyAdjust_Table()
{
    return c_arrAdjust;
}

const CK_ADJUST_INFO* KeyAdjust_Find(eCK_Adjust _eAdjust)
{
    const auto nIndex = static_cast<size_t>(_eAdjust);
    return nIndex < std::size(c_arrAdjust) ? &c_arrAdjust[nIndex] : nullptr;
}

double* KeyAdjust_Field(CK_ADJUST* _pAdjust, eCK_Adjust _eAdjust)
{
    CK_COLOR_ADJUST& col = _pAdjust->colAdjust;
    CK_RANGE_ADJUST& range = _pAdjust->rangeAdjust;
    // The enumeration lists smooth before colours and the components before the colour cancel, the block does not.
    double* const arrFields[] = {nullptr,
                                 &_pAdjust->dblPower,
                                 &_pAdjust->dblTransparent,
                                 &_pAdjust->dblSmooth,
                                 &_pAdjust->dblColors,
                                 &_pAdjust->dblMinTransparent,
                                 &_pAdjust->dblMaxTransparent,
                                 &_pAdjust->dblExclPower,
                                 &_pAdjust->dblExclTransparent,
                                 &range.dblRangeR_H_Y,
                                 &range.dblRangeG_L_U,
                                 &range.dblRangeB_S_V,
                                 &col.dblCancelRange,
                                 &col.dblCancelPower,
                                 &col.dblCancelChroma,
                                 &col.dblCancelLuma,
                                 &col.dblCancelAlpha};
    const auto nIndex = static_cast<size_t>(_eAdjust);
    return nIndex < std::size(arrFields) ? arrFields[nIndex] : nullptr;
}

CHROMA_KEY_RAW KeyAdjust_Apply(const CHROMA_KEY_RAW& _keyUnadjusted, const CK_ADJUST& _adjust)
{
    CHROMA_KEY_RAW key = _keyUnadjusted;
    const int32_t nKeys = std::clamp<int32_t>(key.nKeysUsed, 0, Z_MAX_KEYS);
    for (int32_t i = 0; i < nKeys; ++i)
        ApplyKey(_adjust, key.eType, &key.arrKeys[i]);
    key.nMinTransparent = Added(key.nMinTransparent, Value(_adjust.dblMinTransparent, eCKA_MinTransparent), 0, 255);
    key.nMaxTransparent = Added(key.nMaxTransparent, Value(_adjust.dblMaxTransparent, eCKA_MaxTransparent), 0, 255);
    if (Value(_adjust.dblColors, eCKA_Colors) > 0)
        key.bColorCancel = 1;
    return key;
}
