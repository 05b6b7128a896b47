#include "ZChromaKey/Engine2/Pixels.h"

#include <cmath>

namespace
{
constexpr float c_fltOff = 20;      // distance from the line, in levels, at which it is trusted by half
constexpr float c_fltShade = .2f;   // brightness by which foreground varies
constexpr float c_fltForeGain = 6;  // how fast confidence becomes trust
constexpr float c_fltLightDark = 1; // share of linear light in the mixing, where the foreground is darker
constexpr float c_fltLightBright = .4f;
constexpr float c_fltDark0 = .2f; // a pixel this dark against the backdrop is spilled foreground
constexpr float c_fltDark1 = .4f;
constexpr float c_fltBeyond = .15f;     // how far D of the foreground itself counts where it is below 0
constexpr float c_fltKeepColour = .02f; // regularisation of the colour
constexpr float c_fltHueless = .05f;    // of the backdrop's X: what has no more tint has no hue
constexpr float c_fltBounce = .015f;    // of the key's chroma that any colour has caught

float Dot(const VEC4& _a, const VEC4& _b)
{
    return _a.b * _b.b + _a.g * _b.g + _a.r * _b.r;
}

float Saturation(const VEC4& _v)
{
    return 1 - _v.Min() / std::max(_v.Max(), 1.0f);
}

float Light(const VEC4& _v)
{
    return _v.b + 2 * _v.g + _v.r;
}

// The place on the line from backdrop to foreground, and how far the line is to be trusted.
struct PLACE_ON_LINE
{
    float fltPlace;
    float fltTrust;
};

PLACE_ON_LINE Project(const PIXEL_PLACE& _place, const VEC4& _colour)
{
    const VEC4& fore = _place.fore;
    const VEC4 e = fore - _place.back;
    const VEC4 d = _colour - _place.back;
    const float fltKappa = 1 / (100 / (c_fltShade * c_fltShade) + Dot(fore, fore));
    const VEC4 w = e - fore * (Dot(e, fore) * fltKappa);
    const float fltPlace = Dot(w, d) / std::max(Dot(w, e), 1.0f);
    const VEC4 off = d - e * fltPlace;
    const float fltBrightness = Dot(off, fore);
    const float q = (Dot(off, off) - fltBrightness * fltBrightness * fltKappa) * (1 / (c_fltOff * c_fltOff));
    return {fltPlace, std::min(fore.w * c_fltForeGain, 1.0f) / (1 + q * q)};
}

// D of the foreground where it is known and below 0, weighted by trust: a red coat is that far beyond grey, so mixtures
// with it reach D = 0 before they are solid.
float DifferenceBelow0(const KEY_FORMS& _key, const PIXEL_PLACE& _place, float _fltX)
{
    const VEC4& fore = _place.fore;
    const float fltRho = std::clamp(_key.Z(_place.back.b, _place.back.g, _place.back.r) / _fltX, -.5f, .5f);
    const float fltForeX = _key.X(fore.b, fore.g, fore.r);
    const float flt = fltForeX - _key.fltWedge * std::abs(_key.Z(fore.b, fore.g, fore.r) - fltRho * fltForeX);
    return std::min(flt, 0.0f) * std::min(fore.w * c_fltForeGain, 1.0f);
}

// The colour moved along X to where its difference is the filtered one, so that the projection sees less noise, too.
VEC4 Quieted(const KEY_FORMS& _key, const PIXEL_PLACE& _place, const VEC4& _colour)
{
    const float* const x = _key.arrX;
    const float flt = _place.fltQuieted / std::max(x[0] * x[0] + x[1] * x[1] + x[2] * x[2], 1e-3f);
    return {_colour.b + x[0] * flt, _colour.g + x[1] * flt, _colour.r + x[2] * flt, _colour.w};
}

VEC4 Square(const VEC4& _v)
{
    return {_v.b * _v.b * (1 / 255.0f), _v.g * _v.g * (1 / 255.0f), _v.r * _v.r * (1 / 255.0f), _v.w};
}

VEC4 Root(const VEC4& _v)
{
    return {std::sqrt(std::max(_v.b, 0.0f) * 255), std::sqrt(std::max(_v.g, 0.0f) * 255),
            std::sqrt(std::max(_v.r, 0.0f) * 255), _v.w};
}

int Round(float _flt)
{
    return static_cast<int>(std::floor(_flt + .5f));
}
} // namespace

UNMIX_LIMITER Pixels_Limiter(const KEY_FORMS& _key, const UNMIX_PARAMS& _params)
{
    UNMIX_LIMITER limiter;
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
    if (_key.fltCloth > 0)
        limiter.fltOwn = .24f * _key.fltX;
    limiter.nOwn = Round(limiter.fltOwn * 16384);
    limiter.fltLeast = c_fltBounce * fltWhole;
    limiter.nLimit = Round(limiter.fltLimit * 256);
    limiter.nLeast = Round(limiter.fltLeast * 16384);
    for (int n = 0; n < 3; ++n)
        limiter.anTake[n] = std::clamp(Round(limiter.arrTake[n] * 1024), -32768, 32767);
    return limiter;
}

VEC4 Pixels_Limit(const UNMIX_LIMITER& _limiter, const KEY_FORMS& _key, const VEC4& _colour)
{
    const float fltX = _key.X(_colour.b, _colour.g, _colour.r);
    const float fltZ = std::abs(_key.Z(_colour.b, _colour.g, _colour.r));
    const float fltTint = fltX - _limiter.fltLimit * fltZ;
    const float fltExcess = std::max(std::min(fltTint, _limiter.fltOwn - fltTint), _limiter.fltLeast);
    return {_colour.b - fltExcess * _limiter.arrTake[0], _colour.g - fltExcess * _limiter.arrTake[1],
            _colour.r - fltExcess * _limiter.arrTake[2], _colour.w};
}

PIXEL_RULES Pixels_Rules(const UNMIX_STATE& _state, const KEY_FORMS& _key)
{
    const UNMIX_PARAMS& params = _state.setup.params;
    PIXEL_RULES rules;
    rules.pKey = &_key;
    rules.limiter = Pixels_Limiter(_key, params);
    rules.fltLow = params.fltCleanBackdrop / 100;
    rules.fltHigh = 1 - params.fltCleanForeground / 100;
    rules.fltClip = params.fltNoise * _state.fltNoise;
    rules.bLinear = params.eLight == eUL_Linear;
    return rules;
}

float Pixel_Beyond(const KEY_FORMS& _key, const VEC4& _back, const VEC4& _colour)
{
    const float* const p = _key.arrBeyond;
    if (p[0] + p[1] + p[2] == 0)
        return 0;
    const float fltBackX = std::max(_key.X(_back.b, _back.g, _back.r), .15f * _key.fltX);
    const float fltRho = std::clamp(_key.Z(_back.b, _back.g, _back.r) / fltBackX, -.5f, .5f);
    const float fltX = std::max(_key.X(_colour.b, _colour.g, _colour.r), 0.0f);
    const float fltZ = std::abs(_key.Z(_colour.b, _colour.g, _colour.r) - fltRho * fltX);
    const float h = fltZ / (fltX + c_fltHueless * fltBackX) * p[0];
    const float s = std::max(Saturation(_back) - Saturation(_colour), 0.0f) * p[1];
    const float v = std::max(1 - _colour.Max() / std::max(_back.Max(), 1.0f), 0.0f) * p[2];
    return Clamp01(4 * std::sqrt(h * h + s * s + v * v) - 4);
}

float Pixel_Alpha(const PIXEL_RULES& _rules, const PIXEL_PLACE& _place, const VEC4& _colour, float _fltDifference)
{
    const VEC4& back = _place.back;
    const float fltX = std::max(_rules.pKey->X(back.b, back.g, back.r), .15f * _rules.pKey->fltX);
    const float fltOne = 1 / fltX;
    const float fltNoise = _rules.fltClip * fltOne;
    const float fltLow = std::max(_rules.fltLow, std::min(.25f, fltNoise * .6f));
    const float fltHigh = std::min(_rules.fltHigh, 1 - std::min(.2f, fltNoise * .4f));
    const float fltBeyond = c_fltBeyond * DifferenceBelow0(*_rules.pKey, _place, fltX);
    const float fltPlace = (fltX - _fltDifference) / (fltX - fltBeyond);
    float a = Clamp01((fltPlace - fltLow) / (fltHigh - fltLow));

    const PLACE_ON_LINE line = Project(_place, Quieted(*_rules.pKey, _place, _colour));
    const float fltLineLow = std::max(_rules.fltLow, fltLow * .7f);
    const float t = Clamp01((line.fltPlace - fltLineLow) / (_rules.fltHigh - fltLineLow));
    a = a + (t - a) * line.fltTrust;

    const float p = Light(back);
    const float f = Light(_place.fore) * _place.fore.w + Light(_colour) * (1 - _place.fore.w);
    const float fltLight = p > f || _rules.bLinear ? c_fltLightDark : c_fltLightBright;
    a = Clamp01(a + fltLight * a * (1 - a) * (p - f) / (p + f + 8));

    // No shadow of the screen is this dark against the plate, for the plate has its shadows in it.
    const float fltDark = (_colour.Max() / std::max(back.Max(), 1.0f) - c_fltDark0) * (1 / (c_fltDark1 - c_fltDark0));
    a = 1 - (1 - a) * Clamp01(fltDark);
    return std::max(a, _place.fltCore);
}

VEC4 Pixel_Colour(const PIXEL_RULES& _rules, const PIXEL_PLACE& _place, const VEC4& _colour, float _fltAlpha)
{
    const float a = _fltAlpha;
    const float fltOpen = 1 - a;
    const float fltConfidence = _place.fore.w;
    const VEC4 c = _rules.bLinear ? Square(_colour) : _colour;
    const VEC4 back = _rules.bLinear ? Square(_place.back) : _place.back;
    const VEC4 fore = _rules.bLinear ? Square(_place.fore) : _place.fore;
    const float k = a / (a * a + fltOpen * (c_fltKeepColour * fltConfidence + 1e-3f));
    const VEC4 guess = fore * fltConfidence + c * (1 - fltConfidence);
    const VEC4 colour = guess + (c - guess * a - back * fltOpen) * k;
    VEC4 out = Pixels_Limit(_rules.limiter, *_rules.pKey, _rules.bLinear ? Root(colour) : colour);
    out.w = a * 255;
    return out;
}
