#include "Bench/BenchRow.h"

#include <immintrin.h>

void BenchRow_AVX2(uint8_t* _pMask, const uint8_t* _pPixels, size_t _nPixels) noexcept
{
    constexpr size_t c_nBlock = 32;
    size_t n = 0;
    for (; n + c_nBlock <= _nPixels; n += c_nBlock)
    {
        const auto fnLoad = [&](size_t _nVector) {
            const auto* const pVector = reinterpret_cast<const __m256i*>(_pPixels + 4 * n) + _nVector;
            return _mm256_andnot_si256(_mm256_loadu_si256(pVector), _mm256_set1_epi32(255));
        };
        const __m256i vecLow = _mm256_packs_epi32(fnLoad(0), fnLoad(1));
        const __m256i vecHigh = _mm256_packs_epi32(fnLoad(2), fnLoad(3));
        const __m256i vecOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(_pMask + n),
                            _mm256_permutevar8x32_epi32(_mm256_packus_epi16(vecLow, vecHigh), vecOrder));
    }
    BenchRow_C(_pMask + n, _pPixels + 4 * n, _nPixels - n);
}
