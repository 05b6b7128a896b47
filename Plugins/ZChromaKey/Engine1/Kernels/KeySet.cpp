#include "ZChromaKey/Engine1/Kernels/KeyDistance.h"

#include <algorithm>

namespace
{

void KeysMerge(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const KEY_DISTANCE* _pKeys,
               int _nKeys) noexcept
{
    KeyDistance_C(_pAlpha, _pPixels, _nPixels, _pKeys[0]);
    for (int i = 1; i < _nKeys; ++i)
        KeyDistanceMin_C(_pAlpha, _pPixels, _nPixels, _pKeys[i]);
}

void Exclude(uint8_t* _pAlpha, const uint8_t* _pExclusion, size_t _nPixels) noexcept
{
    for (size_t n = 0; n < _nPixels; ++n)
        _pAlpha[n] = std::max(_pAlpha[n], static_cast<uint8_t>(255 - _pExclusion[n]));
}

// Applies all keys of the set, to one piece of the row at a time so that the piece stays in the cache.
void PiecesKey(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const KEY_SET& _set) noexcept
{
    constexpr size_t c_nPiece = 512;
    uint8_t arrExclusion[c_nPiece];
    for (size_t nPixel = 0; nPixel < _nPixels; nPixel += c_nPiece)
    {
        const size_t nCount = std::min(c_nPiece, _nPixels - nPixel);
        KeysMerge(_pAlpha + nPixel, _pPixels + 4 * nPixel, nCount, _set.pKeying, _set.nKeying);
        if (_set.nExclude == 0)
            continue;
        KeysMerge(arrExclusion, _pPixels + 4 * nPixel, nCount, _set.pExclude, _set.nExclude);
        Exclude(_pAlpha + nPixel, arrExclusion, nCount);
    }
}

} // namespace

void KeySet_C(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, size_t _nMerged, const KEY_SET& _set) noexcept
{
    const KEY_SET setFirst = {_set.pKeying, 1, _set.pExclude, std::min(_set.nExclude, 1)};
    PiecesKey(_pAlpha, _pPixels, _nMerged, _set);
    PiecesKey(_pAlpha + _nMerged, _pPixels + 4 * _nMerged, _nPixels - _nMerged, setFirst);
}
