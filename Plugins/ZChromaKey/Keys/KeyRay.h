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

/// The keys of a backdrop that one sample of it stands for.
///
/// Light changes a colour along the ray from black through it: brightness and colourfulness together. So a sample of a
/// colourful backdrop becomes a few boxes along that ray, each about as long as it is far from black, as keys are
/// ellipsoids in line with the axes and the ray is not. Colours near grey stay one box, the sample: their ray would
/// take skin, hair and cloth along.
///
/// _sample: centre and half-widths in the channel order of the calculator, of at least one level.
std::vector<CKUtils::CALC_KEY> KeyRay_Boxes(const CKUtils::CALC_KEY& _sample, eCK_Type _eSpace,
                                            const KEY_LIGHT& _light);

/// The smooth range of a key whose word has a value and half-widths. Its soft edge ends on the way to grey, where skin,
/// hair and cloth begin; that of a key near grey, or of HLS, at a little over its half-widths.
int32_t KeyRay_SmoothRange(const SINGLE_KEY& _key, eCK_Type _eSpace);
