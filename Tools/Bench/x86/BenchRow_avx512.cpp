#include "Bench/BenchRow.h"

#include <immintrin.h>

void BenchRow_AVX512(uint8_t* _pMask, const uint8_t* _pPixels, size_t _nPixels) noexcept
{
    constexpr size_t c_nBlock = 64;
    size_t n = 0;
    for (; n + c_nBlock <= _nPixels; n += c_nBlock)
    {
        const __m512i vecByte = _mm512_set1_epi32(255);
        const auto fnLoad = [&](size_t _nVector) {
            return _mm512_andnot_si512(_mm512_loadu_si512(_pPixels + 4 * n + 64 * _nVector), vecByte);
        };
        const __m512i vecLow = _mm512_packs_epi32(fnLoad(0), fnLoad(1));
        const __m512i vecHigh = _mm512_packs_epi32(fnLoad(2), fnLoad(3));
        const __m512i vecOrder = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
        _mm512_storeu_si512(_pMask + n, _mm512_permutexvar_epi32(vecOrder, _mm512_packus_epi16(vecLow, vecHigh)));
    }
    BenchRow_C(_pMask + n, _pPixels + 4 * n, _nPixels - n);
}
