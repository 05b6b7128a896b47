#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "Support/GuardedPlane.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>

/// Numbers that follow from the seed, the same everywhere.
class CRandom
{
public:
    explicit CRandom(uint32_t _nSeed)
        : m_engine(_nSeed)
    {
    }
    uint32_t operator()()
    {
        return static_cast<uint32_t>(m_engine());
    }
    /// One of the values of a table.
    template <class T, size_t N> T OneOf(const T (&_arrValues)[N])
    {
        return _arrValues[(*this)() % N];
    }

private:
    std::mt19937 m_engine;
};

/// Random bytes, ends of the range, greys, and pixels near a colour, whose bytes lie as in memory, in runs.
inline void FillPixels(CGuardedPlane& _plane, uint32_t _nNear, CRandom& _rnd)
{
    for (int nRow = 0; nRow < _plane.Rows(); ++nRow)
        for (size_t n = 0; n < _plane.RowBytes(); ++n)
        {
            const int nNear = static_cast<int>(_nNear >> (8 * (n % 4)) & 255) + static_cast<int>(_rnd() % 41) - 20;
            const size_t nRun = n / 12 % 6;
            uint8_t* const pByte = _plane.Row(nRow) + n;
            *pByte = nRun == 0                ? static_cast<uint8_t>(_rnd())
                     : nRun == 1              ? static_cast<uint8_t>(_rnd() % 2 ? 255 : 0)
                     : nRun == 2 && n % 4 > 0 ? pByte[-1]
                                              : static_cast<uint8_t>(std::clamp(nNear, 0, 255));
        }
}

/// Keys around one colour and anywhere, dead and exclusion keys among them, with parameters of all sizes, their ends
/// and zeros often. No floors, no finishing, all colours cleaned.
inline CHROMA_KEY_RAW RandomKeySet(CRandom& _rnd, int32_t _eType, int32_t _nKeys, uint32_t _nColour)
{
    const uint32_t arrDeltas[] = {0x201830, 0x0A0A0A, 0x404040, 0x00FF01, 0, 0xFF000000};
    const int32_t arrCancel[] = {0, 0, 40, 90, 255, -30, -128, -255};
    CHROMA_KEY_RAW rawKey = {};
    rawKey.eType = _eType;
    rawKey.nKeysUsed = _nKeys;
    for (SINGLE_KEY& key : rawKey.arrKeys)
    {
        key.nValue = _rnd() % 3 ? _nColour + (_rnd() & 0x070707) : _rnd();
        key.nDelta = _rnd.OneOf(arrDeltas);
        key.nSmoothRange = static_cast<int32_t>(_rnd() % 80);
        key.nReverseKey = _rnd() % 4 == 0;
        for (int32_t* const pnCancel :
             {&key.nCancelRange, &key.nCancelPower, &key.nCancelChroma, &key.nCancelLuma, &key.nCancelAlpha})
            *pnCancel = _rnd.OneOf(arrCancel);
    }
    rawKey.nMaxTransparent = 255;
    rawKey.bColorCancel = 1;
    return rawKey;
}
