#pragma once

#include "Interfaces/ChromaKeyTypes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

/// A slow keyer of single pixels, written from the definition in 64-bit and double arithmetic, to hold the fast one to.
class CKeyReference
{
public:
    CKeyReference(const SINGLE_KEY& _key, bool _bRGB)
    {
        std::array<int64_t, 3> arrAxis;
        for (unsigned c = 0; c < 3; ++c)
        {
            const unsigned nByte = _bRGB ? 2 - c : c; // words hold R, G, B, pixels B, G, R
            m_arrCentre[c] = std::min<int64_t>(std::max<int64_t>(_key.nValue >> (8 * nByte) & 255, 1), 254);
            arrAxis[c] = std::max<int64_t>(_key.nDelta >> (8 * nByte) & 255, 1);
        }
        const int64_t nP = arrAxis[0] * arrAxis[0] * arrAxis[1] * arrAxis[1] * arrAxis[2] * arrAxis[2];
        const auto fnShare = [nP](int64_t _nAxis) {
            const int64_t nQuotient = nP / (_nAxis * _nAxis);
            return static_cast<double>(nQuotient);
        };
        const int64_t nHalf = nP / 2;
        double dblScale = std::fmax(0.001, static_cast<double>(nHalf) / 1073741822.0);
        for (const int64_t nAxis : arrAxis)
            dblScale = std::fmax(dblScale, fnShare(nAxis) / 16382.0);
        m_nLevel = std::llround(static_cast<double>(nP) / dblScale);
        const double dblSmooth = _key.nSmoothRange > 0 ? _key.nSmoothRange : 0;
        m_dblEdge = 0;
        for (unsigned c = 0; c < 3; ++c)
        {
            m_arrWeight[c] = std::llround(fnShare(arrAxis[c]) / dblScale);
            const double dblOuter = dblSmooth + static_cast<double>(arrAxis[c]);
            m_dblEdge += dblOuter * dblOuter * static_cast<double>(m_arrWeight[c]);
        }
        m_dblEdge = m_dblEdge / 3 - static_cast<double>(m_nLevel);
    }

    /// Alpha without nAlpha. Rounding to single precision happens where the definition has single precision.
    int Alpha(const uint8_t* _pPixel) const
    {
        int64_t nSum = 0;
        for (unsigned c = 0; c < 3; ++c)
            nSum += m_arrWeight[c] * ((_pPixel[c] - m_arrCentre[c]) * (_pPixel[c] - m_arrCentre[c]) / 2);
        const int64_t nExcess = nSum - m_nLevel / 2;
        if (nExcess <= 0)
            return 0;
        // The root of a single in double, rounded to single, is the correctly rounded single root.
        const double dblRoot = static_cast<float>(std::sqrt(static_cast<double>(static_cast<float>(nExcess))));
        const double dblScale = static_cast<float>(m_dblEdge > 0 ? 512 / std::sqrt(2 * m_dblEdge) : 1000);
        const double dblAlpha = static_cast<float>(dblRoot * dblScale);
        return dblAlpha >= 255 ? 255 : static_cast<int>(std::floor(static_cast<float>(dblAlpha + 0.5)));
    }

private:
    std::array<int64_t, 3> m_arrCentre;
    std::array<int64_t, 3> m_arrWeight;
    int64_t m_nLevel; ///< of the whole squares
    double m_dblEdge;
};
