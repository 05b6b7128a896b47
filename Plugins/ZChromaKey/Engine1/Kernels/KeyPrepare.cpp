#include "ZChromaKey/Engine1/Kernels/KeyPrepare.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr double c_dblMaxWeight = 16382.0;
constexpr double c_dblMaxThreshold = 1073741822.0; // of the halved level
constexpr double c_dblMinScale = 0.001;
constexpr float c_fltHardEdge = 1000.0f; // where there is no room for a soft edge

int32_t ByteOf(uint32_t _nWord, int _nComponent, bool _bSwap02)
{
    return static_cast<int32_t>(_nWord >> 8 * (_bSwap02 ? 2 - _nComponent : _nComponent) & 0xFF);
}

// Whether the kernels, in their own arithmetic, give an excess above 0 the alpha 255.
bool IsOpaque(int32_t _nExcess, float _fltScale)
{
    const float fltAlpha = std::sqrt(static_cast<float>(_nExcess)) * _fltScale + 0.5f;
    return fltAlpha >= 255.0f;
}

// Alpha never falls as the excess grows, rounding included, so bisection finds the first excess that is opaque.
int32_t OpaqueFrom(float _fltScale)
{
    int32_t nBelow = 0;
    int32_t nOpaque = INT32_MAX;
    while (nOpaque - nBelow > 1)
    {
        const int32_t nMiddle = nBelow + (nOpaque - nBelow) / 2;
        (IsOpaque(nMiddle, _fltScale) ? nOpaque : nBelow) = nMiddle;
    }
    return nOpaque;
}

} // namespace

KEY_DISTANCE KeyDistance_Prepare(const SINGLE_KEY& _key, bool _bSwap02) noexcept
{
    KEY_DISTANCE res = {};
    int64_t arrDelta[3];
    for (int c = 0; c < 3; ++c)
    {
        res.arrValue[c] = static_cast<int16_t>(std::clamp(ByteOf(_key.nValue, c, _bSwap02), 1, 254));
        arrDelta[c] = std::max(ByteOf(_key.nDelta, c, _bSwap02), 1);
    }
    int64_t nProduct = 1; // at most 255^6, below 2^48
    for (const int64_t nDelta : arrDelta)
        nProduct *= nDelta * nDelta;

    const int64_t nHalf = nProduct / 2;
    double dblDivisor = std::max(static_cast<double>(nHalf) / c_dblMaxThreshold, c_dblMinScale);
    int64_t arrRatio[3];
    for (int c = 0; c < 3; ++c)
    {
        arrRatio[c] = nProduct / (arrDelta[c] * arrDelta[c]);
        dblDivisor = std::max(dblDivisor, static_cast<double>(arrRatio[c]) / c_dblMaxWeight);
    }

    const double dblThreshold = std::round(static_cast<double>(nProduct) / dblDivisor);
    // In double, because (smooth + delta)^2 times the weight exceeds 32 bits from a smooth range of 513 on.
    const double dblSmooth = std::max(_key.nSmoothRange, 0);
    double dblEdge = 0;
    for (int c = 0; c < 3; ++c)
    {
        const double dblWeight = std::round(static_cast<double>(arrRatio[c]) / dblDivisor);
        const double dblHalfAxis = dblSmooth + static_cast<double>(arrDelta[c]);
        res.arrWeight[c] = static_cast<int16_t>(dblWeight);
        dblEdge += dblHalfAxis * dblHalfAxis * dblWeight;
    }
    dblEdge = dblEdge / 3 - dblThreshold;

    // The threshold is halved like the squares. At the outer level the excess is half of dblEdge, and the scale makes
    // alpha 256 there.
    res.nThreshold = static_cast<int32_t>(static_cast<int64_t>(dblThreshold) >> 1);
    // Without a smooth range dblEdge is only what rounding the weights left, often negative: a hard edge.
    res.fltScale = dblEdge > 0 ? static_cast<float>(512.0 / std::sqrt(2 * dblEdge)) : c_fltHardEdge;
    res.nOpaque = OpaqueFrom(res.fltScale);
    res.nAlphaFloor = static_cast<uint8_t>(std::clamp(_key.nAlpha, 0, 255));
    return res;
}
