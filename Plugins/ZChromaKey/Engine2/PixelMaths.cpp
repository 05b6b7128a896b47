#include "ZChromaKey/Engine2/Pixels.h"

#include "Simd/Simd_plain.h"
#include "ZChromaKey/Engine2/Glare.h"
#include "ZChromaKey/Engine2/Kernels/PixelMathsRow.h"

#include <cmath>

namespace
{
constexpr float c_fltBounce = .015f;   // of the key's chroma that any colour has caught
constexpr float c_fltGlare = .1f;      // of the key's chroma, where there is backdrop all around
constexpr float c_fltAllSpill = 16384; // more than any tint

int Round(float _flt)
{
    return static_cast<int>(std::floor(_flt + .5f));
}

// The kernels' maths a pixel at a time.
using ONE = SIMD_PLAIN_OF<1>;

UnmixMaths::COLOUR<ONE> ColourOf(const VEC4& _v)
{
    return {_v.b, _v.g, _v.r};
}

VEC4 VecOf(const UnmixMaths::COLOUR<ONE>& _colour, float _fltW)
{
    return {_colour.b.arr[0], _colour.g.arr[0], _colour.r.arr[0], _fltW};
}

UnmixMaths::PLACE<ONE> PlaceOf(const PIXEL_PLACE& _place)
{
    return {ColourOf(_place.back), ColourOf(_place.fore), _place.fore.w,
            _place.fltCore,        _place.fltQuieted,     _place.fltGlare};
}
} // namespace

LIMIT_RULES Pixels_Limiter(const KEY_FORMS& _key, const UNMIX_PARAMS& _params)
{
    LIMIT_RULES limiter = {};
    std::copy(_key.arrX, _key.arrX + 3, limiter.arrX);
    std::copy(_key.arrZ, _key.arrZ + 3, limiter.arrZ);
    std::copy(_key.anX, _key.anX + 3, limiter.anX);
    std::copy(_key.anZ, _key.anZ + 3, limiter.anZ);
    const float fltBalance = _params.fltSpillBalance / 100;
    // A green tint is spill, a blue or yellow one may be denim or skin: there the limit grows with the wedge, and
    // faster.
    limiter.fltLimit = _key.bGreen ? fltBalance : fltBalance + (_key.fltWedge - 1) * 1.6f;
    const float* const k = _key.key.arrBGR;
    const float fltLeast = std::min(k[0], std::min(k[1], k[2]));
    const VEC4 chroma{k[0] - fltLeast, k[1] - fltLeast, k[2] - fltLeast, 0};
    const float fltX = _key.X(chroma.b, chroma.g, chroma.r);
    const float fltZ = std::abs(_key.Z(chroma.b, chroma.g, chroma.r));
    const float fltWhole = std::max(std::max(fltX - limiter.fltLimit * fltZ, .25f * fltX), 1.0f); // of the key itself
    const float fltScale = _params.fltSpill / 100 / fltWhole;
    limiter.arrTake[0] = chroma.b * fltScale;
    limiter.arrTake[1] = chroma.g * fltScale;
    limiter.arrTake[2] = chroma.r * fltScale;
    limiter.fltOwn = _key.fltCloth > 0 ? .24f * _key.fltX : c_fltAllSpill;
    limiter.nOwn = Round(limiter.fltOwn * 16384);
    limiter.fltLeast = c_fltBounce * fltWhole;
    limiter.nLimit = Round(limiter.fltLimit * 256);
    limiter.nLeast = Round(limiter.fltLeast * 16384);
    // Where the wedge is wide or there is cloth of the key's hue, what is near the screen in it is more likely a
    // body's.
    const bool bGlare = (_key.bGreen || _key.fltWedge == 1) && _key.fltCloth <= 0;
    limiter.nGlare = bGlare ? Round(c_fltGlare * fltWhole * (16384.0f / c_nGlareSteps)) : 0;
    limiter.fltGlare = static_cast<float>(limiter.nGlare) / 16384;
    for (int n = 0; n < 3; ++n)
        limiter.anTake[n] = std::clamp(Round(limiter.arrTake[n] * 1024), -32768, 32767);
    return limiter;
}

VEC4 Pixels_Limit(const LIMIT_RULES& _rules, const VEC4& _colour)
{
    return VecOf(UnmixMaths::Limit<ONE>(_rules, ColourOf(_colour), 0.0f), _colour.w);
}

PIXEL_RULES Pixels_Rules(const UNMIX_STATE& _state, const KEY_FORMS& _key)
{
    const UNMIX_PARAMS& params = _state.setup.params;
    PIXEL_RULES rules = {};
    rules.limit = Pixels_Limiter(_key, params);
    std::copy(_key.arrX, _key.arrX + 3, rules.arrX0);
    rules.fltLeastX = .15f * _key.fltX;
    rules.fltWedge = _key.fltWedge;
    rules.nWedge = Rounded(_key.fltWedge * 8192);
    rules.fltOneSquareX =
        1 / std::max(_key.arrX[0] * _key.arrX[0] + _key.arrX[1] * _key.arrX[1] + _key.arrX[2] * _key.arrX[2], 1e-3f);
    rules.fltLow = params.fltCleanBackdrop / 100;
    rules.fltHigh = 1 - params.fltCleanForeground / 100;
    rules.fltClip = params.fltNoise * _state.fltNoise;
    std::copy(_key.arrBeyond, _key.arrBeyond + 3, rules.arrBeyond);
    rules.bBeyond = _key.arrBeyond[0] + _key.arrBeyond[1] + _key.arrBeyond[2] > 0;
    rules.bLinear = params.eLight == eUL_Linear;
    return rules;
}

float Pixel_Alpha(const PIXEL_RULES& _rules, const PIXEL_PLACE& _place, const VEC4& _colour, float _fltDifference)
{
    return UnmixMaths::Alpha<ONE>(_rules, PlaceOf(_place), ColourOf(_colour), _fltDifference).arr[0];
}

VEC4 Pixel_Colour(const PIXEL_RULES& _rules, const PIXEL_PLACE& _place, const VEC4& _colour, float _fltAlpha)
{
    return VecOf(UnmixMaths::Colour<ONE>(_rules, PlaceOf(_place), ColourOf(_colour), _fltAlpha), _fltAlpha * 255);
}
