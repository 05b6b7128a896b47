#include "ZChromaKey/Engine1/Kernels/ColorCancel.h"

#include "ZChromaKey/Engine1/Kernels/ColorCancelRow.h"

#include <cmath>
#include <cstring>

namespace
{

struct FLOAT_1
{
    FLOAT_1() = default;
    FLOAT_1(float _flt) // NOLINT(google-explicit-constructor): numbers in formulas
    : flt(_flt)
    {
    }
    float flt;
};

struct WORD_1
{
    uint32_t nWord;
};

struct MASK_1
{
    bool bMask;
};

FLOAT_1 operator+(FLOAT_1 _a, FLOAT_1 _b)
{
    return _a.flt + _b.flt;
}
FLOAT_1 operator-(FLOAT_1 _a, FLOAT_1 _b)
{
    return _a.flt - _b.flt;
}
FLOAT_1 operator*(FLOAT_1 _a, FLOAT_1 _b)
{
    return _a.flt * _b.flt;
}
FLOAT_1 operator/(FLOAT_1 _a, FLOAT_1 _b)
{
    return _a.flt / _b.flt;
}
FLOAT_1 Sqrt(FLOAT_1 _flt)
{
    return std::sqrt(_flt.flt);
}
FLOAT_1 Abs(FLOAT_1 _flt)
{
    return std::fabs(_flt.flt);
}
FLOAT_1 Min(FLOAT_1 _a, FLOAT_1 _b)
{
    return _a.flt < _b.flt ? _a : _b;
}
FLOAT_1 Max(FLOAT_1 _a, FLOAT_1 _b)
{
    return _a.flt > _b.flt ? _a : _b;
}
MASK_1 Less(FLOAT_1 _a, FLOAT_1 _b)
{
    return {_a.flt < _b.flt};
}
MASK_1 operator|(MASK_1 _a, MASK_1 _b)
{
    return {_a.bMask || _b.bMask};
}
bool Any(MASK_1 _mask)
{
    return _mask.bMask;
}
FLOAT_1 Select(MASK_1 _mask, FLOAT_1 _then, FLOAT_1 _else)
{
    return _mask.bMask ? _then : _else;
}
WORD_1 Select(MASK_1 _mask, WORD_1 _then, WORD_1 _else)
{
    return _mask.bMask ? _then : _else;
}
WORD_1 operator|(WORD_1 _a, WORD_1 _b)
{
    return {_a.nWord | _b.nWord};
}
WORD_1 operator&(WORD_1 _a, WORD_1 _b)
{
    return {_a.nWord & _b.nWord};
}

/// One pixel at a time: the reference.
struct LEVEL_1
{
    using FLT = FLOAT_1;
    using INT = WORD_1;
    using MASK = MASK_1;
    static constexpr size_t c_nLanes = 1;

    static INT Load(const uint8_t* _pWords, size_t)
    {
        WORD_1 word;
        std::memcpy(&word.nWord, _pWords, sizeof(word.nWord));
        return word;
    }
    static void Store(uint8_t* _pWords, size_t, INT _word)
    {
        std::memcpy(_pWords, &_word.nWord, sizeof(_word.nWord));
    }
    static INT Word(uint32_t _nWord)
    {
        return {_nWord};
    }
    static FLT Byte(INT _word, int32_t _nBit)
    {
        return static_cast<float>(_word.nWord >> _nBit & 0xFF);
    }
    static INT Place(FLT _flt, int32_t _nBit)
    {
        // This very rounding is part of the kernel's definition. NOLINTNEXTLINE(bugprone-incorrect-roundings)
        return {static_cast<uint32_t>(static_cast<int32_t>(_flt.flt * 255.0f + 0.5f)) << _nBit};
    }
};

} // namespace

void CancelBGRA_C(uint8_t* _pPixels, size_t _nPixels, const CANCEL_SET& _set) noexcept
{
    CancelBGRA<LEVEL_1>(_pPixels, _nPixels, _set);
}

void CancelPairs_C(uint8_t* _pPairs, size_t _nPairs, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set) noexcept
{
    CancelPairs<LEVEL_1>(_pPairs, _nPairs, _layout, _set);
}
