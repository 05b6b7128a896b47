#pragma once

#include "Simd/Simd.h"
#include "ZChromaKey/Engine2/Kernels/UnmixRecords.h"

/// The maths of single pixels over vectors: Pixels.h says what each function computes and why.

namespace
{
namespace UnmixMaths
{

constexpr float c_fltOff = 20;     // distance from the line, in levels, at which it is trusted by half
constexpr float c_fltShade = .2f;  // brightness by which foreground varies
constexpr float c_fltForeGain = 6; // how fast confidence becomes trust
// Share of linear light in the mixing where the foreground is darker, taken as squares; the curve of sRGB bends more.
constexpr float c_fltLightDark = 1.15f;
constexpr float c_fltLightBright = .4f;
constexpr float c_fltDark0 = .2f; // a pixel this dark against the backdrop is spilled foreground
constexpr float c_fltDark1 = .4f;
constexpr float c_fltBeyond = .15f;     // how far D of the foreground itself counts where it is below 0
constexpr float c_fltKeepColour = .02f; // regularisation of the colour
constexpr float c_fltGlare0 = .8f;      // alpha from which glare is taken out: what is open has more of the screen's
constexpr float c_fltGlare1 = .95f;     // light than that
constexpr float c_fltHueless = .05f;    // of the backdrop's X: what has no more tint has no hue

/// Colours of as many pixels as a vector has lanes.
template <class S> struct COLOUR
{
    using F32 = typename S::F32;
    F32 b;
    F32 g;
    F32 r;

    friend ZCK_INLINE COLOUR operator+(const COLOUR& _a, const COLOUR& _b)
    {
        return {_a.b + _b.b, _a.g + _b.g, _a.r + _b.r};
    }
    friend ZCK_INLINE COLOUR operator-(const COLOUR& _a, const COLOUR& _b)
    {
        return {_a.b - _b.b, _a.g - _b.g, _a.r - _b.r};
    }
    friend ZCK_INLINE COLOUR operator*(const COLOUR& _a, F32 _flt)
    {
        return {_a.b * _flt, _a.g * _flt, _a.r * _flt};
    }
};

/// What is known at the pixels besides their own colour; PIXEL_PLACE says what each is.
template <class S> struct PLACE
{
    COLOUR<S> back;
    COLOUR<S> fore;
    typename S::F32 fltConfidence;
    typename S::F32 fltCore;
    typename S::F32 fltQuieted;
    typename S::F32 fltGlare;
};

template <class F32> ZCK_INLINE F32 Clamp01(F32 _flt)
{
    return Min(Max(_flt, F32(0.0f)), F32(1.0f));
}
template <class S> ZCK_INLINE typename S::F32 Dot(const COLOUR<S>& _a, const COLOUR<S>& _b)
{
    return _a.b * _b.b + _a.g * _b.g + _a.r * _b.r;
}
template <class S> ZCK_INLINE typename S::F32 Form(const float (&_arrForm)[3], const COLOUR<S>& _colour)
{
    using F32 = typename S::F32;
    return F32(_arrForm[0]) * _colour.b + F32(_arrForm[1]) * _colour.g + F32(_arrForm[2]) * _colour.r;
}
template <class S> ZCK_INLINE typename S::F32 Most(const COLOUR<S>& _colour)
{
    return Max(Max(_colour.b, _colour.g), _colour.r);
}
template <class S> ZCK_INLINE typename S::F32 Saturation(const COLOUR<S>& _colour)
{
    using F32 = typename S::F32;
    const F32 fltLeast = Min(Min(_colour.b, _colour.g), _colour.r);
    return F32(1.0f) - fltLeast / Max(Most<S>(_colour), F32(1.0f));
}
template <class S> ZCK_INLINE typename S::F32 Light(const COLOUR<S>& _colour)
{
    return _colour.b + _colour.g * typename S::F32(2.0f) + _colour.r;
}
template <class S> ZCK_INLINE COLOUR<S> Square(const COLOUR<S>& _v)
{
    const typename S::F32 fltOne(1 / 255.0f);
    return {_v.b * _v.b * fltOne, _v.g * _v.g * fltOne, _v.r * _v.r * fltOne};
}
template <class S> ZCK_INLINE COLOUR<S> Root(const COLOUR<S>& _v)
{
    using F32 = typename S::F32;
    const F32 fltNone(0.0f), fltMost(255.0f);
    return {Sqrt(Max(_v.b, fltNone) * fltMost), Sqrt(Max(_v.g, fltNone) * fltMost), Sqrt(Max(_v.r, fltNone) * fltMost)};
}

/// What the backdrop of a pixel says.
template <class S> struct BACKDROP
{
    typename S::F32 fltX;
    typename S::F32 fltOne;     // 1 / X
    typename S::F32 fltRho;     // Z / X
    typename S::F32 fltOneMost; // 1 / the greatest channel, which is taken for at least 1
};
template <class S> ZCK_INLINE BACKDROP<S> BackdropOf(const PIXEL_RULES& _c, const COLOUR<S>& _back)
{
    using F32 = typename S::F32;
    const F32 fltX = Max(Form<S>(_c.limit.arrX, _back), F32(_c.fltLeastX));
    const F32 fltMost = Max(Most<S>(_back), F32(1.0f));
    const F32 fltOneBoth = F32(1.0f) / (fltX * fltMost); // divisions are slow
    const F32 fltOne = fltOneBoth * fltMost;
    const F32 fltRho = Min(Max(Form<S>(_c.limit.arrZ, _back) * fltOne, F32(-.5f)), F32(.5f));
    return {fltX, fltOne, fltRho, fltOneBoth * fltX};
}

template <class S> ZCK_INLINE typename S::F32 Beyond(const PIXEL_RULES& _c, const COLOUR<S>& _backColour,
                                                     const BACKDROP<S>& _back, const COLOUR<S>& _colour)
{
    using F32 = typename S::F32;
    const F32 fltNone(0.0f), fltOne(1.0f);
    const F32 fltX = Max(Form<S>(_c.limit.arrX, _colour), fltNone);
    const F32 fltZ = Abs(Form<S>(_c.limit.arrZ, _colour) - _back.fltRho * fltX);
    const F32 h = fltZ / (fltX + F32(c_fltHueless) * _back.fltX) * F32(_c.arrBeyond[0]);
    const F32 s = Max(Saturation<S>(_backColour) - Saturation<S>(_colour), fltNone) * F32(_c.arrBeyond[1]);
    const F32 v = Max(fltOne - Most<S>(_colour) * _back.fltOneMost, fltNone) * F32(_c.arrBeyond[2]);
    return Clamp01(F32(4.0f) * Sqrt(h * h + s * s + v * v) - F32(4.0f));
}

/// The place on the line from backdrop to foreground, and how far the line is to be trusted.
template <class S> struct ON_LINE
{
    typename S::F32 fltPlace;
    typename S::F32 fltTrust;
};
template <class S> ZCK_INLINE ON_LINE<S> Project(const PLACE<S>& _place, const COLOUR<S>& _colour)
{
    using F32 = typename S::F32;
    const F32 fltOne(1.0f);
    const COLOUR<S>& fore = _place.fore;
    const COLOUR<S> e = fore - _place.back;
    const COLOUR<S> d = _colour - _place.back;
    const F32 fltKappa = fltOne / (F32(100 / (c_fltShade * c_fltShade)) + Dot<S>(fore, fore));
    const COLOUR<S> w = e - fore * (Dot<S>(e, fore) * fltKappa);
    const F32 fltPlace = Dot<S>(w, d) / Max(Dot<S>(w, e), fltOne);
    const COLOUR<S> off = d - e * fltPlace;
    const F32 fltBrightness = Dot<S>(off, fore);
    const F32 q = (Dot<S>(off, off) - fltBrightness * fltBrightness * fltKappa) * F32(1 / (c_fltOff * c_fltOff));
    return {fltPlace, Min(_place.fltConfidence * F32(c_fltForeGain), fltOne) / (fltOne + q * q)};
}

/// D of the foreground where it is known and below 0, weighted by trust: a red coat is that far beyond grey, so
/// mixtures with it reach D = 0 before they are solid.
template <class S>
ZCK_INLINE typename S::F32 DifferenceBelow0(const PIXEL_RULES& _c, const PLACE<S>& _place, typename S::F32 _fltRho)
{
    using F32 = typename S::F32;
    const F32 fltForeX = Form<S>(_c.limit.arrX, _place.fore);
    const F32 flt = fltForeX - F32(_c.fltWedge) * Abs(Form<S>(_c.limit.arrZ, _place.fore) - _fltRho * fltForeX);
    return Min(flt, F32(0.0f)) * Min(_place.fltConfidence * F32(c_fltForeGain), F32(1.0f));
}

/// The colour moved along X to where its difference is the filtered one, so that the projection sees less noise, too.
template <class S> ZCK_INLINE COLOUR<S> Quieted(const PIXEL_RULES& _c, const PLACE<S>& _place, const COLOUR<S>& _colour)
{
    using F32 = typename S::F32;
    const F32 flt = _place.fltQuieted * F32(_c.fltOneSquareX);
    const float(&x)[3] = _c.limit.arrX;
    return {_colour.b + F32(x[0]) * flt, _colour.g + F32(x[1]) * flt, _colour.r + F32(x[2]) * flt};
}

template <class S> ZCK_INLINE typename S::F32 Alpha(const PIXEL_RULES& _c, const PLACE<S>& _place,
                                                    const COLOUR<S>& _colour, typename S::F32 _fltDifference)
{
    using F32 = typename S::F32;
    const F32 fltOne(1.0f), fltLeastLow(_c.fltLow), fltMostHigh(_c.fltHigh);
    const BACKDROP<S> back = BackdropOf<S>(_c, _place.back);
    const F32 fltNoise = F32(_c.fltClip) * back.fltOne;
    const F32 fltLow = Max(fltLeastLow, Min(F32(.25f), fltNoise * F32(.6f)));
    const F32 fltHigh = Min(fltMostHigh, fltOne - Min(F32(.2f), fltNoise * F32(.4f)));
    const F32 fltLineLow = Max(fltLeastLow, fltLow * F32(.7f));
    const F32 fltWidth = fltHigh - fltLow, fltLineWidth = fltMostHigh - fltLineLow;
    const F32 fltOneWidths = fltOne / (fltWidth * fltLineWidth);

    const F32 fltBeyond = F32(c_fltBeyond) * DifferenceBelow0<S>(_c, _place, back.fltRho);
    const F32 fltPlace = (back.fltX - _fltDifference) / (back.fltX - fltBeyond);
    const F32 fltClassic = Clamp01((fltPlace - fltLow) * (fltOneWidths * fltLineWidth));

    const ON_LINE<S> line = Project<S>(_place, Quieted<S>(_c, _place, _colour));
    const F32 t = Clamp01((line.fltPlace - fltLineLow) * (fltOneWidths * fltWidth));
    const F32 a = fltClassic + (t - fltClassic) * line.fltTrust;

    const F32 p = Light<S>(_place.back);
    const F32 f = Light<S>(_place.fore) * _place.fltConfidence + Light<S>(_colour) * (fltOne - _place.fltConfidence);
    const F32 fltBright(_c.bLinear ? c_fltLightDark : c_fltLightBright);
    const F32 fltLight = Select(Less(f, p), F32(c_fltLightDark), fltBright);
    const F32 fltLit = Clamp01(a + fltLight * a * (fltOne - a) * (p - f) / (p + f + F32(8.0f)));

    // No shadow of the screen is this dark against the plate, for the plate has its shadows in it.
    const F32 fltDark = (Most<S>(_colour) * back.fltOneMost - F32(c_fltDark0)) * F32(1 / (c_fltDark1 - c_fltDark0));
    const F32 fltFound = Max(fltOne - (fltOne - fltLit) * Clamp01(fltDark), _place.fltCore);
    return _c.bBeyond ? Max(fltFound, Beyond<S>(_c, _place.back, back, _colour)) : fltFound;
}

template <class S>
ZCK_INLINE COLOUR<S> Limit(const LIMIT_RULES& _rules, const COLOUR<S>& _colour, typename S::F32 _fltGlare)
{
    using F32 = typename S::F32;
    const F32 fltTint = Form<S>(_rules.arrX, _colour) - F32(_rules.fltLimit) * Abs(Form<S>(_rules.arrZ, _colour));
    const F32 fltExcess = Max(Min(fltTint, F32(_rules.fltOwn) - fltTint), F32(_rules.fltLeast)) + _fltGlare;
    return {_colour.b - fltExcess * F32(_rules.arrTake[0]), _colour.g - fltExcess * F32(_rules.arrTake[1]),
            _colour.r - fltExcess * F32(_rules.arrTake[2])};
}

template <class S> ZCK_INLINE COLOUR<S> Colour(const PIXEL_RULES& _c, const PLACE<S>& _place, const COLOUR<S>& _colour,
                                               typename S::F32 _fltAlpha)
{
    using F32 = typename S::F32;
    const F32 fltOne(1.0f), fltOpen = fltOne - _fltAlpha;
    const COLOUR<S> c = _c.bLinear ? Square<S>(_colour) : _colour;
    const COLOUR<S> back = _c.bLinear ? Square<S>(_place.back) : _place.back;
    const COLOUR<S> fore = _c.bLinear ? Square<S>(_place.fore) : _place.fore;
    const F32 k =
        _fltAlpha / (_fltAlpha * _fltAlpha + fltOpen * (F32(c_fltKeepColour) * _place.fltConfidence + F32(1e-3f)));
    const COLOUR<S> guess = fore * _place.fltConfidence + c * (fltOne - _place.fltConfidence);
    const COLOUR<S> colour = guess + (c - guess * _fltAlpha - back * fltOpen) * k;
    const F32 fltSolid = Clamp01((_fltAlpha - F32(c_fltGlare0)) * F32(1 / (c_fltGlare1 - c_fltGlare0)));
    return Limit<S>(_c.limit, _c.bLinear ? Root<S>(colour) : colour, _place.fltGlare * fltSolid);
}

} // namespace UnmixMaths
} // namespace
