#include "ZChromaKey/Engine1/Kernels/ColorCancelRow.h"
#include "ZChromaKey/Engine1/Kernels/x86/KeyKernels_x86.h"

#include <immintrin.h>

namespace
{

struct FLOAT_16
{
    FLOAT_16() = default;
    FLOAT_16(__m512 _vec) // NOLINT(google-explicit-constructor): numbers in formulas
    : vec(_vec)
    {
    }
    FLOAT_16(float _flt) // NOLINT(google-explicit-constructor): numbers in formulas
    : vec(_mm512_set1_ps(_flt))
    {
    }
    __m512 vec;
};

struct WORD_16
{
    __m512i vec;
};

struct MASK_16
{
    __mmask16 nMask;
};

FLOAT_16 operator+(FLOAT_16 _a, FLOAT_16 _b)
{
    return _mm512_add_ps(_a.vec, _b.vec);
}
FLOAT_16 operator-(FLOAT_16 _a, FLOAT_16 _b)
{
    return _mm512_sub_ps(_a.vec, _b.vec);
}
FLOAT_16 operator*(FLOAT_16 _a, FLOAT_16 _b)
{
    return _mm512_mul_ps(_a.vec, _b.vec);
}
FLOAT_16 operator/(FLOAT_16 _a, FLOAT_16 _b)
{
    return _mm512_div_ps(_a.vec, _b.vec);
}
FLOAT_16 Sqrt(FLOAT_16 _flt)
{
    return _mm512_sqrt_ps(_flt.vec);
}
FLOAT_16 Abs(FLOAT_16 _flt)
{
    return _mm512_abs_ps(_flt.vec);
}
FLOAT_16 Min(FLOAT_16 _a, FLOAT_16 _b)
{
    return _mm512_min_ps(_a.vec, _b.vec);
}
FLOAT_16 Max(FLOAT_16 _a, FLOAT_16 _b)
{
    return _mm512_max_ps(_a.vec, _b.vec);
}
MASK_16 Less(FLOAT_16 _a, FLOAT_16 _b)
{
    return {_mm512_cmp_ps_mask(_a.vec, _b.vec, _CMP_LT_OQ)};
}
MASK_16 operator|(MASK_16 _a, MASK_16 _b)
{
    return {static_cast<__mmask16>(_a.nMask | _b.nMask)};
}
bool Any(MASK_16 _mask)
{
    return _mask.nMask != 0;
}
FLOAT_16 Select(MASK_16 _mask, FLOAT_16 _then, FLOAT_16 _else)
{
    return _mm512_mask_mov_ps(_else.vec, _mask.nMask, _then.vec);
}
WORD_16 Select(MASK_16 _mask, WORD_16 _then, WORD_16 _else)
{
    return {_mm512_mask_mov_epi32(_else.vec, _mask.nMask, _then.vec)};
}
WORD_16 operator|(WORD_16 _a, WORD_16 _b)
{
    return {_mm512_or_si512(_a.vec, _b.vec)};
}
WORD_16 operator&(WORD_16 _a, WORD_16 _b)
{
    return {_mm512_and_si512(_a.vec, _b.vec)};
}

struct LEVEL_16
{
    using FLT = FLOAT_16;
    using INT = WORD_16;
    using MASK = MASK_16;
    static constexpr size_t c_nLanes = 16;

    static __mmask16 First(size_t _nWords)
    {
        return static_cast<__mmask16>(_nWords < c_nLanes ? (1u << _nWords) - 1 : 0xFFFF);
    }
    static INT Load(const uint8_t* _pWords, size_t _nWords)
    {
        return {_mm512_maskz_loadu_epi32(First(_nWords), _pWords)};
    }
    static void Store(uint8_t* _pWords, size_t _nWords, INT _words)
    {
        _mm512_mask_storeu_epi32(_pWords, First(_nWords), _words.vec);
    }
    static INT Word(uint32_t _nWord)
    {
        return {_mm512_set1_epi32(static_cast<int>(_nWord))};
    }
    static FLT Byte(INT _words, int32_t _nBit)
    {
        const __m512i vecBytes = _mm512_srl_epi32(_words.vec, _mm_cvtsi32_si128(_nBit));
        return _mm512_cvtepi32_ps(_mm512_and_si512(vecBytes, _mm512_set1_epi32(0xFF)));
    }
    static INT Place(FLT _flt, int32_t _nBit)
    {
        const FLT fltByte = _flt * FLT(255.0f) + FLT(0.5f);
        return {_mm512_sll_epi32(_mm512_cvttps_epi32(fltByte.vec), _mm_cvtsi32_si128(_nBit))};
    }
};

} // namespace

void CancelBGRA_AVX512(uint8_t* _pPixels, size_t _nPixels, const CANCEL_SET& _set) noexcept
{
    CancelBGRA<LEVEL_16>(_pPixels, _nPixels, _set);
}

void CancelPairs_AVX512(uint8_t* _pPairs, size_t _nPairs, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set) noexcept
{
    CancelPairs<LEVEL_16>(_pPairs, _nPairs, _layout, _set);
}
