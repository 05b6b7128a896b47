#pragma once

#include "Helpers/CKUtils.h"
#include "Interfaces/ChromaKeyTypes.h"

#include <cstdint>
#include <vector>

/// How bright the lit and the shaded parts of a backdrop are, compared with a sample of it.
struct KEY_LIGHT
{
    double dblDarkest;
    double dblBrightest;
};

/// What is assumed about a backdrop of which one spot was picked: light falls off to three fifths, and the spot may
/// itself be the darkest or the brightest one.
inline constexpr KEY_LIGHT c_lightUnknown = {0.6, 2.5};

/// The keys of a backdrop that one sample of it stands for, at most _nMostKeys (above 0).
///
/// Light changes a colour along the ray from black through it: brightness and colourfulness together. So a sample of a
/// colourful backdrop becomes a few keys along that ray. Colours near grey stay one box, the sample: their ray would
/// take skin, hair and cloth along.
///
/// In RGB each is about as long as it is far from black, as keys are ellipsoids in line with the axes and the ray is
/// not. In YUV each lies beyond the backdrop, more colourful than it, and spans much brightness: what is mixed of the
/// backdrop and of something else lies on the near side, where the levels of the key then run across the tint, so that
/// its soft edge follows the mixture whatever the brightness of the other part.
///
/// _sample: centre and half-widths in the channel order of the calculator, of at least one level.
std::vector<CKUtils::CALC_KEY> KeyRay_Boxes(const CKUtils::CALC_KEY& _sample, eCK_Type _eSpace, const KEY_LIGHT& _light,
                                            int _nMostKeys = Z_MAX_KEYS);

/// The level of a colour for a key: the square of its distance, 1 on the key's ellipsoid, 4 at twice as far.
double KeyRay_Level(const CKUtils::CALC_KEY& _key, const CKUtils::CALC_KEY& _colour);

/// The level at a share of the way to the nearest grey, where skin, hair and cloth begin, as a soft edge may end there.
double KeyRay_ShareOfWay(const CKUtils::CALC_KEY& _key, eCK_Type _eSpace, double _dblShare);
/// A level that was measured, brought to where the soft edge of a key may end: no grey is to become transparent.
double KeyRay_ClampOuter(const CKUtils::CALC_KEY& _key, eCK_Type _eSpace, double _dblLevel);

/// The smooth range with which the soft edge of a key ends at a level, in levels of 255.
int32_t KeyRay_SmoothRange(const CKUtils::CALC_KEY& _key, double _dblOuter);
/// The smooth range of a key whose word has a value and half-widths, when nothing else is known: its soft edge ends a
/// little over the half-widths, the earlier the nearer grey is.
int32_t KeyRay_SmoothRange(const SINGLE_KEY& _key, eCK_Type _eSpace);
