#pragma once

#include "Sample/SamplePaint.h"

/// Surfaces for scenes: smooth random values over the plane.

/// A value of 0 to 1 that changes smoothly from one whole point of the plane to the next.
inline float Sample_Smooth(SAMPLE_POINT _p, uint64_t _nSeed)
{
    const float fU = std::floor(_p.u), fV = std::floor(_p.v);
    const auto fnCorner = [&](int _nU, int _nV) {
        const auto nU = static_cast<uint64_t>(static_cast<int64_t>(fU) + _nU);
        const auto nV = static_cast<uint64_t>(static_cast<int64_t>(fV) + _nV);
        return Sample_Random(_nSeed, nU * 0x9E3779B1u + nV * 0x85EBCA77u);
    };
    const float fShareU = Sample_Step(0, 1, _p.u - fU), fShareV = Sample_Step(0, 1, _p.v - fV);
    const float fUpper = fnCorner(0, 0) + (fnCorner(1, 0) - fnCorner(0, 0)) * fShareU;
    const float fLower = fnCorner(0, 1) + (fnCorner(1, 1) - fnCorner(0, 1)) * fShareU;
    return fUpper + (fLower - fUpper) * fShareV;
}

/// The same with finer values on top, each half as strong as the one before: 0 to 1.
inline float Sample_Cloud(SAMPLE_POINT _p, int _nOctaves, uint64_t _nSeed)
{
    float fSum = 0, fAll = 0, fShare = 1;
    for (int i = 0; i < _nOctaves; ++i, fShare *= 0.5f)
    {
        fSum += fShare * Sample_Smooth(_p, _nSeed + static_cast<uint64_t>(i));
        fAll += fShare;
        _p = {_p.u * 2.03f + 7.1f, _p.v * 2.03f - 3.7f};
    }
    return fSum / fAll;
}

/// How light from the upper left shades folds of this size: about -1 to 1.
inline float Sample_Folds(SAMPLE_POINT _p, float _fSize, uint64_t _nSeed)
{
    const SAMPLE_POINT p{_p.u / _fSize, _p.v / _fSize};
    const float fBend = 1.6f * Sample_Smooth({p.u * 0.5f, p.v * 0.5f}, _nSeed + 17);
    const auto fnHeight = [&](float _fOff) {
        return Sample_Cloud({p.u + fBend + _fOff, p.v * 0.45f - fBend + 0.6f * _fOff}, 3, _nSeed);
    };
    return 3.2f * (fnHeight(0.12f) - fnHeight(-0.12f));
}
