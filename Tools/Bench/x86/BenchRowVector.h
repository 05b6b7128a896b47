#pragma once

#include "Bench/BenchRow.h"

#include "Simd/Simd.h"

/// The streaming pass for a level of Simd.h; the rest of the row is the plain one's.
template <class S> void BenchRow(uint8_t* _pMask, const uint8_t* _pPixels, size_t _nPixels)
{
    size_t n = 0;
    for (; n + S::c_nBytes <= _nPixels; n += S::c_nBytes)
    {
        const auto Load = [&](size_t _nVector) {
            return S::LoadI32(_pPixels + 4 * (n + S::c_nLanes * _nVector)) & 255;
        };
        S::Store(_pMask + n, ~PackLanes(Load(0), Load(1), Load(2), Load(3)));
    }
    BenchRow_C(_pMask + n, _pPixels + 4 * n, _nPixels - n);
}

template <class S> void BenchCopy(uint8_t* _pResult, const uint8_t* _pPixels, size_t _nPixels)
{
    size_t n = 0;
    for (; n + S::c_nLanes <= _nPixels; n += S::c_nLanes)
        S::Store(_pResult + 4 * n, ~S::LoadU8(_pPixels + 4 * n));
    BenchCopy_C(_pResult + 4 * n, _pPixels + 4 * n, _nPixels - n);
}
