#include "Bench/BenchRow.h"

void BenchRow_C(uint8_t* _pMask, const uint8_t* _pPixels, size_t _nPixels) noexcept
{
    for (size_t n = 0; n < _nPixels; ++n)
        _pMask[n] = static_cast<uint8_t>(~_pPixels[4 * n]);
}

void BenchCopy_C(uint8_t* _pResult, const uint8_t* _pPixels, size_t _nPixels) noexcept
{
    for (size_t n = 0; n < 4 * _nPixels; ++n)
        _pResult[n] = static_cast<uint8_t>(~_pPixels[n]);
}
