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

/// Levels of a key's ellipsoid: 1 where its half-axes end, 4 at twice as far.
constexpr double c_dblLeastOuter = 1.6; // where the soft edge ends,
constexpr double c_dblMostOuter = 2.0;  // whatever the way to grey
constexpr double c_dblWayToGrey = 0.3;

double Square(double _dblValue)
{
    return _dblValue * _dblValue;
}

double Delta(const SINGLE_KEY& _key, int _nByte)
{
    return std::max<uint32_t>(_key.nDelta >> (8 * _nByte) & 0xFF, 1);
}

/// The level at the nearest grey; 0 for HLS, where greys have every hue.
double GreyLevel(const SINGLE_KEY& _key, eCK_Type _eSpace)
{
    double dblLevel = 0;
    const auto Value = [&](int _nByte) { return static_cast<double>(_key.nValue >> (8 * _nByte) & 0xFF); };
    for (int i = 1; _eSpace == eCKT_YUV && i < 3; ++i)
        dblLevel += Square((Value(i) - 128) / Delta(_key, i));
    if (_eSpace != eCKT_RGB)
        return dblLevel;
    double dblWeighted = 0;
    double dblWeights = 0;
    for (int i = 0; i < 3; ++i)
    {
        dblWeighted += Value(i) / (Delta(_key, i) * Delta(_key, i));
        dblWeights += 1 / (Delta(_key, i) * Delta(_key, i));
    }
    for (int i = 0; i < 3; ++i)
        dblLevel += Square((Value(i) - dblWeighted / dblWeights) / Delta(_key, i));
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

std::vector<CALC_KEY> KeyRay_Boxes(const CALC_KEY& _sample, eCK_Type _eSpace, const KEY_LIGHT& _light)
{
    if (_eSpace == eCKT_HLS) // lightness and saturation are axes of their own there
        return {_sample};
    const RAY ray = RayOf(_sample, _eSpace);
    const double dblShare = std::clamp((ray.dblColorful - c_dblGrey) / (c_dblColorful - c_dblGrey), 0.0, 1.0);
    // Shadows of the backdrop that are as grey as dark hair are not worth the hair.
    const double dblLeast = std::min(c_dblColorful / std::max(ray.dblColorful, 1.0), 1.0);
    const double dblDarkest = std::max(1 - dblShare * (1 - _light.dblDarkest), dblLeast);
    const double dblBrightest = std::min(1 + dblShare * (_light.dblBrightest - 1), std::max(MostBright(ray), 1.0));
    int nKeys = 1;
    double dblReached = dblDarkest * c_dblMaxRatio;
    for (; dblReached < dblBrightest; ++nKeys)
        dblReached *= c_dblMaxRatio;
    const double dblStep = StepTo(std::max(dblBrightest / dblDarkest, 1.0), nKeys);
    std::vector<CALC_KEY> vecKeys;
    for (double dblDark = dblDarkest; nKeys > 0; --nKeys, dblDark *= dblStep)
        vecKeys.push_back(BoxBetween(_sample, ray, dblDark, dblDark * dblStep));
    return vecKeys;
}

int32_t KeyRay_SmoothRange(const SINGLE_KEY& _key, eCK_Type _eSpace)
{
    const double dblOuter = std::clamp(c_dblWayToGrey * GreyLevel(_key, _eSpace), c_dblLeastOuter, c_dblMostOuter);
    // The engine's soft edge spans the mean of ((delta + smooth) / delta)^2: solve that for smooth.
    double dblA = 0;
    double dblB = 0;
    for (int i = 0; i < 3; ++i)
    {
        const double dblDelta = Delta(_key, i);
        dblA += 1 / (3 * dblDelta * dblDelta);
        dblB += 2 / (3 * dblDelta);
    }
    const double dblSmooth = (std::sqrt(dblB * dblB + 4 * dblA * (dblOuter - 1)) - dblB) / (2 * dblA);
    return static_cast<int32_t>(std::floor(dblSmooth + 0.5));
}
