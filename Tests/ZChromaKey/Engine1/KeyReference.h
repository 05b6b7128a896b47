#pragma once

#include "ZChromaKey/Engine1/Kernels/KeyPrepare.h"

#include <cmath>
#include <cstdint>

/// A slow keyer of single pixels to hold the kernels to: sums in 64 bits, and single precision as double rounded after
/// every step, which is exact for these steps. It knows no nOpaque and no blocks. What the key's constants mean is
/// tested on their own (KeyPrepare).
class CKeyReference
{
public:
    CKeyReference(const SINGLE_KEY& _key, bool _bRGB)
        : m_key(KeyDistance_Prepare(_key, _bRGB))
    {
    }
    const KEY_DISTANCE& Constants() const
    {
        return m_key;
    }
    /// Alpha without nAlpha.
    int Alpha(const uint8_t* _pPixel) const
    {
        int64_t nSum = 0;
        for (int c = 0; c < 3; ++c)
        {
            const int64_t nDistance = _pPixel[c] - m_key.arrValue[c];
            nSum += m_key.arrWeight[c] * (nDistance * nDistance / 2);
        }
        return AlphaOf(nSum - m_key.nThreshold);
    }
    /// Alpha of an excess over the threshold.
    int AlphaOf(int64_t _nExcess) const
    {
        if (_nExcess <= 0)
            return 0;
        const double dblRoot = static_cast<float>(std::sqrt(static_cast<double>(static_cast<float>(_nExcess))));
        const double dblAlpha = static_cast<float>(dblRoot * m_key.fltScale);
        return dblAlpha >= 255 ? 255 : static_cast<int>(std::floor(static_cast<float>(dblAlpha + 0.5)));
    }

private:
    KEY_DISTANCE m_key;
};
