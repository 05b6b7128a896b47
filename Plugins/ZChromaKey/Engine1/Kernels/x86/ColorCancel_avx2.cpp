#include "ZChromaKey/Engine1/Kernels/ColorCancelRow.h"
#include "ZChromaKey/Engine1/Kernels/x86/KeyKernels_x86.h"

#include <immintrin.h>

namespace
{

struct FLOAT_8
{
    FLOAT_8() = default;
    FLOAT_8(__m256 _vec) // NOLINT(google-explicit-constructor): numbers in formulas
    : vec(_vec)
    {
    }
    FLOAT_8(float _flt) // NOLINT(google-explicit-constructor): numbers in formulas
    : vec(_mm256_set1_ps(_flt))
    {
    }
    __m256 vec;
};

struct WORD_8
{
    __m256i vec;
};

/// All bits of a lane, or none.
struct MASK_8
{
    __m256 vec;
};

FLOAT_8 operator+(FLOAT_8 _a, FLOAT_8 _b)
{
    return _mm256_add_ps(_a.vec, _b.vec);
}
FLOAT_8 operator-(FLOAT_8 _a, FLOAT_8 _b)
{
    return _mm256_sub_ps(_a.vec, _b.vec);
}
FLOAT_8 operator*(FLOAT_8 _a, FLOAT_8 _b)
{
    return _mm256_mul_ps(_a.vec, _b.vec);
}
FLOAT_8 operator/(FLOAT_8 _a, FLOAT_8 _b)
{
    return _mm256_div_ps(_a.vec, _b.vec);
}
FLOAT_8 Sqrt(FLOAT_8 _flt)
{
    return _mm256_sqrt_ps(_flt.vec);
}
FLOAT_8 Abs(FLOAT_8 _flt)
{
    return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), _flt.vec);
}
FLOAT_8 Min(FLOAT_8 _a, FLOAT_8 _b)
{
    return _mm256_min_ps(_a.vec, _b.vec);
}
FLOAT_8 Max(FLOAT_8 _a, FLOAT_8 _b)
{
    return _mm256_max_ps(_a.vec, _b.vec);
}
MASK_8 Less(FLOAT_8 _a, FLOAT_8 _b)
{
    return {_mm256_cmp_ps(_a.vec, _b.vec, _CMP_LT_OQ)};
}
MASK_8 operator|(MASK_8 _a, MASK_8 _b)
{
    return {_mm256_or_ps(_a.vec, _b.vec)};
}
bool Any(MASK_8 _mask)
{
    return _mm256_movemask_ps(_mask.vec) != 0;
}
FLOAT_8 Select(MASK_8 _mask, FLOAT_8 _then, FLOAT_8 _else)
{
    return _mm256_blendv_ps(_else.vec, _then.vec, _mask.vec);
}
WORD_8 Select(MASK_8 _mask, WORD_8 _then, WORD_8 _else)
{
    return {_mm256_blendv_epi8(_else.vec, _then.vec, _mm256_castps_si256(_mask.vec))};
}
WORD_8 operator|(WORD_8 _a, WORD_8 _b)
{
    return {_mm256_or_si256(_a.vec, _b.vec)};
}
WORD_8 operator&(WORD_8 _a, WORD_8 _b)
{
    return {_mm256_and_si256(_a.vec, _b.vec)};
}

struct LEVEL_8
{
    using FLT = FLOAT_8;
    using INT = WORD_8;
    using MASK = MASK_8;
    static constexpr size_t c_nLanes = 8;

    static __m256i First(size_t _nWords)
    {
        const int nWords = _nWords < c_nLanes ? static_cast<int>(_nWords) : static_cast<int>(c_nLanes);
        return _mm256_cmpgt_epi32(_mm256_set1_epi32(nWords), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
    }
    static INT Load(const uint8_t* _pWords, size_t _nWords)
    {
        return {_mm256_maskload_epi32(reinterpret_cast<const int*>(_pWords), First(_nWords))};
    }
    static void Store(uint8_t* _pWords, size_t _nWords, INT _words)
    {
        _mm256_maskstore_epi32(reinterpret_cast<int*>(_pWords), First(_nWords), _words.vec);
    }
    static INT Word(uint32_t _nWord)
    {
        return {_mm256_set1_epi32(static_cast<int>(_nWord))};
    }
    static FLT Byte(INT _words, int32_t _nBit)
    {
        const __m256i vecBytes = _mm256_srl_epi32(_words.vec, _mm_cvtsi32_si128(_nBit));
        return _mm256_cvtepi32_ps(_mm256_and_si256(vecBytes, _mm256_set1_epi32(0xFF)));
    }
    static INT Place(FLT _flt, int32_t _nBit)
    {
        const FLT fltByte = _flt * FLT(255.0f) + FLT(0.5f);
        return {_mm256_sll_epi32(_mm256_cvttps_epi32(fltByte.vec), _mm_cvtsi32_si128(_nBit))};
    }
};

} // namespace

void CancelBGRA_AVX2(uint8_t* _pPixels, size_t _nPixels, const CANCEL_SET& _set) noexcept
{
    CancelBGRA<LEVEL_8>(_pPixels, _nPixels, _set);
}

void CancelPairs_AVX2(uint8_t* _pPairs, size_t _nPairs, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set) noexcept
{
    CancelPairs<LEVEL_8>(_pPairs, _nPairs, _layout, _set);
}
