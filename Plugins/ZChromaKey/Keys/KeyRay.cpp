#include "ZChromaKey/Keys/KeyRay.h"

#include <algorithm>
#include <cmath>

using CKUtils::CALC_KEY;

namespace
{

/// Three components in levels, from the colour's black.
struct RAY
{
    double arrBlack[3];
    double arrReach[3];
    double dblColorful; ///< distance from grey, in levels
};

constexpr double c_dblGrey = 16;      // below it a colour counts as grey,
constexpr double c_dblColorful = 28;  // from here on as colourful; the dark end of a ray is cut there
constexpr double c_dblMaxRatio = 1.7; // brightest to darkest within one key
/// The end of a diagonal is inside an ellipsoid whose half-axes are its components times this.
const double c_dblDiagonal = std::sqrt(3.0);

/// Channels hold V, U, Y of YUV keys and R, G, B of RGB keys.
RAY RayOf(const CALC_KEY& _sample, eCK_Type _eSpace)
{
    RAY ray = {};
    if (_eSpace == eCKT_YUV)
    {
        ray.arrBlack[0] = ray.arrBlack[1] = 128;
        ray.arrBlack[2] = 16;
    }
    for (int i = 0; i < 3; ++i)
        ray.arrReach[i] = 255 * _sample.dValue[i] - ray.arrBlack[i];
    if (_eSpace == eCKT_YUV)
        ray.dblColorful = std::sqrt(ray.arrReach[0] * ray.arrReach[0] + ray.arrReach[1] * ray.arrReach[1]);
    else
        ray.dblColorful =
            *std::max_element(ray.arrReach, ray.arrReach + 3) - *std::min_element(ray.arrReach, ray.arrReach + 3);
    return ray;
}

/// Where a ray leaves the levels there are.
double MostBright(const RAY& _ray)
{
    double dblMost = 1e3;
    for (int i = 0; i < 3; ++i)
        if (_ray.arrReach[i] != 0)
            dblMost = std::min(dblMost, ((_ray.arrReach[i] > 0 ? 255 : 0) - _ray.arrBlack[i]) / _ray.arrReach[i]);
    return dblMost;
}

/// The box that holds the sample between two brightnesses.
CALC_KEY BoxBetween(const CALC_KEY& _sample, const RAY& _ray, double _dblDark, double _dblBright)
{
    CALC_KEY key = _sample;
    const double dblMiddle = (_dblDark + _dblBright) / 2;
    const double dblHalf = (_dblBright - _dblDark) / 2;
    for (int i = 0; i < 3; ++i)
    {
        key.dValue[i] = std::clamp((_ray.arrBlack[i] + dblMiddle * _ray.arrReach[i]) / 255, 0.0, 1.0);
        key.dDelta[i] = _sample.dDelta[i] + c_dblDiagonal * dblHalf * std::fabs(_ray.arrReach[i]) / 255;
    }
    return key;
}

/// How far beyond the backdrop keys in YUV lie, and their half-widths, as shares of the tint's strength; and their
/// half-width in brightness, as a share of the brightness. With them and the soft edges below, mattes of scenes with
/// known alpha came out best in the mean over all of them: hair, fur, leaves and blur, mixed as light and as coded
/// values.
constexpr double c_dblBeyond = 1.15;
constexpr double c_dblWide = 0.4;
constexpr double c_dblWideLuma = 1.5;

/// A key in YUV between two brightnesses. It spans them, and at least the sample's own half-widths.
CALC_KEY KeyBeyond(const CALC_KEY& _sample, const RAY& _ray, double _dblDark, double _dblBright)
{
    CALC_KEY key = _sample;
    const double dblMiddle = (_dblDark + _dblBright) / 2;
    const double dblSpan = c_dblBeyond - 1 + (_dblBright - _dblDark) / 2 / dblMiddle;
    const double dblWide = std::max(c_dblWide, 1.1 * dblSpan) * _ray.dblColorful * dblMiddle / 255;
    for (int i = 0; i < 2; ++i)
    {
        key.dValue[i] = std::clamp((_ray.arrBlack[i] + c_dblBeyond * dblMiddle * _ray.arrReach[i]) / 255, 0.0, 1.0);
        key.dDelta[i] = std::max(_sample.dDelta[i], dblWide);
    }
    key.dValue[2] = std::clamp((_ray.arrBlack[2] + dblMiddle * _ray.arrReach[2]) / 255, 0.0, 1.0);
    key.dDelta[2] = std::clamp(c_dblWideLuma * dblMiddle * _ray.arrReach[2] / 255, _sample.dDelta[2], 1.0);
    return key;
}

/// Where the soft edges of keys end that follow from their half-widths alone: a share of the way to grey, in levels.
constexpr double c_dblWayToGrey = 0.3;
constexpr double c_dblLeastOuter = 1.6;
constexpr double c_dblMostOuter = 2.0;
/// And those of keys that were made with the picture in view.
constexpr double c_dblLeastOuterSeen = 1.6;
constexpr double c_dblLeastWayYUV = 0.42;
constexpr double c_dblMostOuterSeen = 16;

double Square(double _dblValue)
{
    return _dblValue * _dblValue;
}

/// The level at the nearest grey; 0 for HLS, where greys have every hue.
double GreyLevel(const CALC_KEY& _key, eCK_Type _eSpace)
{
    double dblLevel = 0;
    for (int i = 0; _eSpace == eCKT_YUV && i < 2; ++i)
        dblLevel += Square((_key.dValue[i] - 128 / 255.0) / _key.dDelta[i]);
    if (_eSpace != eCKT_RGB)
        return dblLevel;
    double dblWeighted = 0;
    double dblWeights = 0;
    for (int i = 0; i < 3; ++i)
    {
        dblWeighted += _key.dValue[i] / Square(_key.dDelta[i]);
        dblWeights += 1 / Square(_key.dDelta[i]);
    }
    for (int i = 0; i < 3; ++i)
        dblLevel += Square((_key.dValue[i] - dblWeighted / dblWeights) / _key.dDelta[i]);
    return dblLevel;
}

/// The factor that takes so many steps to a ratio above 1: by halving, since the roots of libraries differ.
double StepTo(double _dblRatio, int _nSteps)
{
    double dblLow = 1;
    double dblHigh = _dblRatio;
    for (int i = 0; i < 50; ++i)
    {
        const double dblMiddle = (dblLow + dblHigh) / 2;
        double dblProduct = 1;
        for (int n = 0; n < _nSteps; ++n)
            dblProduct *= dblMiddle;
        (dblProduct < _dblRatio ? dblLow : dblHigh) = dblMiddle;
    }
    return dblHigh;
}

} // namespace

std::vector<CALC_KEY> KeyRay_Boxes(const CALC_KEY& _sample, eCK_Type _eSpace, const KEY_LIGHT& _light, int _nMostKeys)
{
    if (_eSpace == eCKT_HLS) // lightness and saturation are axes of their own there
        return {_sample};
    const RAY ray = RayOf(_sample, _eSpace);
    if (_eSpace == eCKT_YUV && ray.dblColorful < c_dblGrey)
        return {_sample};
    const double dblShare = std::clamp((ray.dblColorful - c_dblGrey) / (c_dblColorful - c_dblGrey), 0.0, 1.0);
    // Shadows of the backdrop that are as grey as dark hair are not worth the hair.
    const double dblGreyish = _eSpace == eCKT_YUV ? c_dblGrey : c_dblColorful;
    const double dblLeast = std::min(dblGreyish / std::max(ray.dblColorful, 1.0), 1.0);
    const double dblDarkest = std::max(1 - dblShare * (1 - _light.dblDarkest), dblLeast);
    const double dblBrightest = std::min(1 + dblShare * (_light.dblBrightest - 1), std::max(MostBright(ray), 1.0));
    int nKeys = 1;
    double dblReached = dblDarkest * c_dblMaxRatio;
    for (; dblReached < dblBrightest && nKeys < _nMostKeys; ++nKeys)
        dblReached *= c_dblMaxRatio;
    const double dblStep = StepTo(std::max(dblBrightest / dblDarkest, 1.0), nKeys);
    std::vector<CALC_KEY> vecKeys;
    for (double dblDark = dblDarkest; nKeys > 0; --nKeys, dblDark *= dblStep)
        vecKeys.push_back((_eSpace == eCKT_YUV ? KeyBeyond : BoxBetween)(_sample, ray, dblDark, dblDark * dblStep));
    return vecKeys;
}

double KeyRay_Level(const CALC_KEY& _key, const CALC_KEY& _colour)
{
    double dblLevel = 0;
    for (int i = 0; i < 3; ++i)
        dblLevel += Square((_colour.dValue[i] - _key.dValue[i]) / _key.dDelta[i]);
    return dblLevel;
}

double KeyRay_ShareOfWay(const CALC_KEY& _key, eCK_Type _eSpace, double _dblShare)
{
    return KeyRay_ClampOuter(_key, _eSpace, _dblShare * GreyLevel(_key, _eSpace));
}

double KeyRay_ClampOuter(const CALC_KEY& _key, eCK_Type _eSpace, double _dblLevel)
{
    const double dblGrey = _eSpace == eCKT_HLS ? c_dblMostOuterSeen : GreyLevel(_key, _eSpace);
    const double dblLeast = _eSpace == eCKT_YUV ? c_dblLeastWayYUV * dblGrey : 0;
    const double dblInside = std::clamp(_dblLevel, dblLeast, dblGrey);
    return std::clamp(dblInside, c_dblLeastOuterSeen, c_dblMostOuterSeen);
}

int32_t KeyRay_SmoothRange(const CALC_KEY& _key, double _dblOuter)
{
    // The engine's soft edge spans the mean of ((delta + smooth) / delta)^2: solve that for smooth.
    double dblA = 0;
    double dblB = 0;
    for (int i = 0; i < 3; ++i)
    {
        const double dblDelta = 255 * _key.dDelta[i];
        dblA += 1 / (3 * dblDelta * dblDelta);
        dblB += 2 / (3 * dblDelta);
    }
    const double dblSmooth = (std::sqrt(dblB * dblB + 4 * dblA * (_dblOuter - 1)) - dblB) / (2 * dblA);
    return static_cast<int32_t>(std::min(std::floor(dblSmooth + 0.5), 255.0));
}

int32_t KeyRay_SmoothRange(const SINGLE_KEY& _key, eCK_Type _eSpace)
{
    CALC_KEY key = {};
    CKUtils::UnpackKeyWord(_key.nValue, _eSpace, key.dValue);
    CKUtils::UnpackKeyWord(_key.nDelta, _eSpace, key.dDelta);
    for (double& dblDelta : key.dDelta)
        dblDelta = std::max(dblDelta, CKUtils::c_dblMinDelta);
    const double dblWay = c_dblWayToGrey * GreyLevel(key, _eSpace);
    return KeyRay_SmoothRange(key, std::clamp(dblWay, c_dblLeastOuter, c_dblMostOuter));
}
