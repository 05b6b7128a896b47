#pragma once

#include "Simd/Simd.h"

#include <cmath>
#include <cstring>
#include <type_traits>

namespace
{

/// Vectors as arrays, for any processor; Simd.h says what each name means. Compilers turn the loops, whose length is
/// fixed, into vector code where they have any.
namespace SimdPlain
{

/// Truth values of N elements.
template <size_t N> struct MASK
{
    bool arr[N];

    template <class Op> static ZCK_INLINE MASK Of(Op _fnOp)
    {
        MASK res;
        for (size_t i = 0; i < N; ++i)
            res.arr[i] = _fnOp(i);
        return res;
    }
    friend ZCK_INLINE MASK operator&(const MASK& _a, const MASK& _b)
    {
        return Of([&](size_t _n) { return _a.arr[_n] && _b.arr[_n]; });
    }
    friend ZCK_INLINE MASK operator|(const MASK& _a, const MASK& _b)
    {
        return Of([&](size_t _n) { return _a.arr[_n] || _b.arr[_n]; });
    }
    friend ZCK_INLINE MASK Without(const MASK& _a, const MASK& _b)
    {
        return Of([&](size_t _n) { return _a.arr[_n] && !_b.arr[_n]; });
    }
    friend ZCK_INLINE bool Any(const MASK& _mask)
    {
        bool bAny = false;
        for (size_t i = 0; i < N; ++i)
            bAny |= _mask.arr[i];
        return bAny;
    }
    friend ZCK_INLINE uint32_t Bits(const MASK& _mask)
    {
        uint32_t nBits = 0;
        for (size_t i = 0; i < N; ++i)
            nBits |= uint32_t{_mask.arr[i]} << i;
        return nBits;
    }
};

template <class T, size_t N> struct VECTOR
{
    VECTOR() = default;
    ZCK_INLINE VECTOR(T _number)
    {
        for (size_t i = 0; i < N; ++i)
            arr[i] = _number;
    }
    T arr[N];
    static constexpr size_t c_nNumbers = N;

    /// The vector of _fnOp(element number).
    template <class Op> static ZCK_INLINE VECTOR Of(Op _fnOp)
    {
        VECTOR res;
        for (size_t i = 0; i < N; ++i)
            res.arr[i] = static_cast<T>(_fnOp(i));
        return res;
    }

    // What wraps around is computed without a sign.
    using NUMBER = typename std::conditional<std::is_floating_point<T>::value, T, uint32_t>::type;
    static ZCK_INLINE NUMBER Number(T _number)
    {
        return static_cast<NUMBER>(_number);
    }
    friend ZCK_INLINE VECTOR operator+(const VECTOR& _a, const VECTOR& _b)
    {
        return Of([&](size_t _n) { return Number(_a.arr[_n]) + Number(_b.arr[_n]); });
    }
    friend ZCK_INLINE VECTOR operator-(const VECTOR& _a, const VECTOR& _b)
    {
        return Of([&](size_t _n) { return Number(_a.arr[_n]) - Number(_b.arr[_n]); });
    }
    friend ZCK_INLINE VECTOR operator*(const VECTOR& _a, const VECTOR& _b)
    {
        return Of([&](size_t _n) { return Number(_a.arr[_n]) * Number(_b.arr[_n]); });
    }
    friend ZCK_INLINE VECTOR operator/(const VECTOR& _a, const VECTOR& _b)
    {
        return Of([&](size_t _n) { return _a.arr[_n] / _b.arr[_n]; });
    }
    friend ZCK_INLINE VECTOR operator|(const VECTOR& _a, const VECTOR& _b)
    {
        return Of([&](size_t _n) { return _a.arr[_n] | _b.arr[_n]; });
    }
    friend ZCK_INLINE VECTOR operator&(const VECTOR& _a, const VECTOR& _b)
    {
        return Of([&](size_t _n) { return _a.arr[_n] & _b.arr[_n]; });
    }
    friend ZCK_INLINE VECTOR operator^(const VECTOR& _a, const VECTOR& _b)
    {
        return Of([&](size_t _n) { return _a.arr[_n] ^ _b.arr[_n]; });
    }
    friend ZCK_INLINE VECTOR operator~(const VECTOR& _a)
    {
        return Of([&](size_t _n) { return ~_a.arr[_n]; });
    }
    friend ZCK_INLINE VECTOR operator<<(const VECTOR& _a, int _nBits)
    {
        return Of([&](size_t _n) { return Number(_a.arr[_n]) << _nBits; });
    }
    friend ZCK_INLINE VECTOR operator>>(const VECTOR& _a, int _nBits)
    {
        return Of([&](size_t _n) { return _a.arr[_n] >> _nBits; });
    }
    friend ZCK_INLINE VECTOR Min(const VECTOR& _a, const VECTOR& _b)
    {
        return Of([&](size_t _n) { return _a.arr[_n] < _b.arr[_n] ? _a.arr[_n] : _b.arr[_n]; });
    }
    friend ZCK_INLINE VECTOR Max(const VECTOR& _a, const VECTOR& _b)
    {
        return Of([&](size_t _n) { return _a.arr[_n] > _b.arr[_n] ? _a.arr[_n] : _b.arr[_n]; });
    }
    friend ZCK_INLINE VECTOR Select(const MASK<N>& _mask, const VECTOR& _then, const VECTOR& _else)
    {
        return Of([&](size_t _n) { return _mask.arr[_n] ? _then.arr[_n] : _else.arr[_n]; });
    }
    friend ZCK_INLINE MASK<N> AtLeast(const VECTOR& _a, const VECTOR& _b)
    {
        return MASK<N>::Of([&](size_t _n) { return _a.arr[_n] >= _b.arr[_n]; });
    }
    friend ZCK_INLINE MASK<N> Equal(const VECTOR& _a, const VECTOR& _b)
    {
        return MASK<N>::Of([&](size_t _n) { return _a.arr[_n] == _b.arr[_n]; });
    }
    friend ZCK_INLINE MASK<N> Greater(const VECTOR& _a, const VECTOR& _b)
    {
        return MASK<N>::Of([&](size_t _n) { return _a.arr[_n] > _b.arr[_n]; });
    }
    friend ZCK_INLINE MASK<N> Less(const VECTOR& _a, const VECTOR& _b)
    {
        return MASK<N>::Of([&](size_t _n) { return _a.arr[_n] < _b.arr[_n]; });
    }
    friend ZCK_INLINE MASK<N> IsNegative(const VECTOR& _a)
    {
        return MASK<N>::Of([&](size_t _n) { return _a.arr[_n] < 0; });
    }
    friend ZCK_INLINE MASK<N> Below(const VECTOR& _a, const VECTOR& _nEnd)
    {
        return MASK<N>::Of([&](size_t _n) { return _a.arr[_n] >= 0 && _a.arr[_n] < _nEnd.arr[_n]; });
    }
    friend ZCK_INLINE VECTOR ShiftedIn0(const VECTOR& _a, int _nBits)
    {
        return Of([&](size_t _n) { return Number(_a.arr[_n]) >> _nBits; });
    }
    friend ZCK_INLINE VECTOR Sqrt(const VECTOR& _a)
    {
        return Of([&](size_t _n) { return std::sqrt(_a.arr[_n]); });
    }
    friend ZCK_INLINE VECTOR Abs(const VECTOR& _a)
    {
        if constexpr (std::is_floating_point<T>::value)
            return Of([&](size_t _n) { return std::fabs(_a.arr[_n]); });
        else
            return Of([&](size_t _n) { return _a.arr[_n] < 0 ? 0 - Number(_a.arr[_n]) : Number(_a.arr[_n]); });
    }
};

template <class To, class T, size_t N> ZCK_INLINE To As(const VECTOR<T, N>& _ints)
{
    To res;
    static_assert(sizeof(res) == sizeof(_ints));
    std::memcpy(res.arr, _ints.arr, sizeof(res.arr));
    return res;
}
template <size_t N> ZCK_INLINE VECTOR<uint8_t, N> ElseNone(const MASK<N>& _mask, const VECTOR<uint8_t, N>& _then)
{
    return VECTOR<uint8_t, N>::Of([&](size_t _n) { return _mask.arr[_n] ? _then.arr[_n] : 0; });
}
template <size_t N> ZCK_INLINE VECTOR<uint8_t, N> ElseAll(const MASK<N>& _mask, const VECTOR<uint8_t, N>& _then)
{
    return VECTOR<uint8_t, N>::Of([&](size_t _n) { return _mask.arr[_n] ? _then.arr[_n] : 0xFF; });
}
template <size_t N> ZCK_INLINE VECTOR<uint16_t, N / 2> Even(const VECTOR<uint8_t, N>& _bytes)
{
    return VECTOR<uint16_t, N / 2>::Of([&](size_t _n) { return _bytes.arr[2 * _n]; });
}
template <size_t N> ZCK_INLINE VECTOR<uint16_t, N / 2> Odd(const VECTOR<uint8_t, N>& _bytes)
{
    return VECTOR<uint16_t, N / 2>::Of([&](size_t _n) { return _bytes.arr[2 * _n + 1]; });
}
template <size_t N> ZCK_INLINE VECTOR<uint16_t, N / 2> AddPairs(const VECTOR<uint8_t, N>& _bytes)
{
    return VECTOR<uint16_t, N / 2>::Of([&](size_t _n) { return _bytes.arr[2 * _n] + _bytes.arr[2 * _n + 1]; });
}
template <size_t N>
ZCK_INLINE VECTOR<uint8_t, 2 * N> JoinBytes(const VECTOR<uint16_t, N>& _even, const VECTOR<uint16_t, N>& _odd)
{
    return As<VECTOR<uint8_t, 2 * N>>(_even | _odd << 8);
}
template <size_t N>
ZCK_INLINE VECTOR<int32_t, N / 2> MulAdd(const VECTOR<uint16_t, N>& _a, const VECTOR<uint16_t, N>& _b)
{
    const auto Product = [&](size_t _n) { return static_cast<int16_t>(_a.arr[_n]) * static_cast<int16_t>(_b.arr[_n]); };
    return VECTOR<int32_t, N / 2>::Of(
        [&](size_t _n) { return static_cast<uint32_t>(Product(2 * _n)) + static_cast<uint32_t>(Product(2 * _n + 1)); });
}
template <size_t N>
ZCK_INLINE VECTOR<int32_t, N / 4> AddProducts(const VECTOR<uint8_t, N>& _a, const VECTOR<uint8_t, N>& _b)
{
    const auto Product = [&](size_t _n) { return _a.arr[_n] * static_cast<int8_t>(_b.arr[_n]); };
    return VECTOR<int32_t, N / 4>::Of(
        [&](size_t _n) { return Product(4 * _n) + Product(4 * _n + 1) + Product(4 * _n + 2) + Product(4 * _n + 3); });
}
template <size_t N>
ZCK_INLINE VECTOR<uint16_t, N> MulRound(const VECTOR<uint16_t, N>& _a, const VECTOR<uint16_t, N>& _b)
{
    return VECTOR<uint16_t, N>::Of([&](size_t _n) {
        return (static_cast<int16_t>(_a.arr[_n]) * static_cast<int16_t>(_b.arr[_n]) + 0x4000) >> 15;
    });
}
template <size_t N> ZCK_INLINE VECTOR<uint16_t, N> ClampToByte(const VECTOR<uint16_t, N>& _a)
{
    return VECTOR<uint16_t, N>::Of([&](size_t _n) {
        const auto n = static_cast<int16_t>(_a.arr[_n]);
        return n < 0 ? 0 : n > 255 ? 255 : n;
    });
}
template <size_t N> ZCK_INLINE VECTOR<uint16_t, N> AbsSigned(const VECTOR<uint16_t, N>& _a)
{
    return VECTOR<uint16_t, N>::Of([&](size_t _n) {
        const auto n = static_cast<int16_t>(_a.arr[_n]);
        return n < 0 ? -n : n;
    });
}
template <size_t N> ZCK_INLINE MASK<N> GreaterSigned(const VECTOR<uint16_t, N>& _a, const VECTOR<uint16_t, N>& _b)
{
    return MASK<N>::Of([&](size_t _n) { return static_cast<int16_t>(_a.arr[_n]) > static_cast<int16_t>(_b.arr[_n]); });
}
template <size_t N> ZCK_INLINE VECTOR<uint16_t, N> AddWhere(const MASK<N>& _mask, const VECTOR<uint16_t, N>& _a,
                                                            const VECTOR<uint16_t, N>& _b)
{
    return VECTOR<uint16_t, N>::Of([&](size_t _n) { return _a.arr[_n] + _b.arr[_n] * _mask.arr[_n]; });
}
template <size_t N> ZCK_INLINE VECTOR<uint16_t, N> CountWhere(const MASK<N>& _mask, const VECTOR<uint16_t, N>& _a)
{
    return VECTOR<uint16_t, N>::Of([&](size_t _n) { return _a.arr[_n] + _mask.arr[_n]; });
}
template <size_t N> ZCK_INLINE VECTOR<int32_t, N> AsInts(const VECTOR<float, N>& _floats)
{
    VECTOR<int32_t, N> res;
    std::memcpy(res.arr, _floats.arr, sizeof(res.arr));
    return res;
}
template <size_t N> ZCK_INLINE VECTOR<float, N> AsFloats(const VECTOR<int32_t, N>& _ints)
{
    VECTOR<float, N> res;
    std::memcpy(res.arr, _ints.arr, sizeof(res.arr));
    return res;
}
template <size_t N> ZCK_INLINE VECTOR<float, N> ToF32(const VECTOR<int32_t, N>& _ints)
{
    return VECTOR<float, N>::Of([&](size_t _n) { return _ints.arr[_n]; });
}
template <size_t N> ZCK_INLINE VECTOR<int32_t, N> ToI32(const VECTOR<float, N>& _floats)
{
    return VECTOR<int32_t, N>::Of([&](size_t _n) { return _floats.arr[_n]; });
}

template <size_t N>
ZCK_INLINE VECTOR<uint8_t, N> ShuffleBytes(const VECTOR<uint8_t, N>& _bytes, const uint8_t (&_arrPattern)[16])
{
    return VECTOR<uint8_t, N>::Of([&](size_t _n) {
        const uint8_t nFrom = _arrPattern[_n % 16];
        return nFrom < 16 ? _bytes.arr[_n / 16 * 16 + nFrom] : 0;
    });
}
template <size_t N>
ZCK_INLINE VECTOR<uint8_t, N> LookedUp(const uint8_t (&_arrTable)[16], const VECTOR<uint8_t, N>& _places)
{
    return VECTOR<uint8_t, N>::Of(
        [&](size_t _n) { return _places.arr[_n] < 128 ? _arrTable[_places.arr[_n] % 16] : 0; });
}
/// Number _n of what packing two vectors gives whose blocks of 16 bytes have N numbers.
template <size_t N, class V> ZCK_INLINE auto Packed(const V& _a, const V& _b, size_t _i)
{
    return (_i / N % 2 ? _b : _a).arr[_i / (2 * N) * N + _i % N];
}
template <size_t N>
ZCK_INLINE VECTOR<uint16_t, 2 * N> PackWords(const VECTOR<int32_t, N>& _a, const VECTOR<int32_t, N>& _b)
{
    return VECTOR<uint16_t, 2 * N>::Of([&](size_t _n) {
        const int32_t n = Packed<4>(_a, _b, _n);
        return n < INT16_MIN ? INT16_MIN : n > INT16_MAX ? INT16_MAX : n;
    });
}
template <size_t N>
ZCK_INLINE VECTOR<uint8_t, 2 * N> PackBytes(const VECTOR<uint16_t, N>& _a, const VECTOR<uint16_t, N>& _b)
{
    return VECTOR<uint8_t, 2 * N>::Of([&](size_t _n) {
        const auto n = static_cast<int16_t>(Packed<8>(_a, _b, _n));
        return n < 0 ? 0 : n > 255 ? 255 : n;
    });
}
template <size_t N>
ZCK_INLINE VECTOR<int32_t, N> JoinClamped(const VECTOR<int32_t, N>& _a, const VECTOR<int32_t, N>& _b,
                                          const VECTOR<int32_t, N>& _c, const VECTOR<int32_t, N>& _d)
{
    const auto Byte = [](const VECTOR<int32_t, N>& _vec) { return Min(Max(_vec, 0), 255); };
    return (Byte(_a) | Byte(_b) << 8) | (Byte(_c) << 16 | Byte(_d) << 24);
}
template <size_t N>
ZCK_INLINE VECTOR<uint16_t, 2 * N> HighWords(const VECTOR<int32_t, N>& _a, const VECTOR<int32_t, N>& _b)
{
    return VECTOR<uint16_t, 2 * N>::Of([&](size_t _n) { return (_n % 2 ? _b : _a).arr[_n / 2] >> 16; });
}
template <size_t N> ZCK_INLINE void JoinWords(const VECTOR<uint16_t, 2 * N>& _a, const VECTOR<uint16_t, 2 * N>& _b,
                                              const VECTOR<uint16_t, 2 * N>& _c, const VECTOR<uint16_t, 2 * N>& _d,
                                              VECTOR<int32_t, N>& _first, VECTOR<int32_t, N>& _second)
{
    const auto Word = [](const VECTOR<uint16_t, 2 * N>& _vec, size_t _n) { return int32_t{int16_t(_vec.arr[_n])}; };
    const auto Joined = [&](size_t _n) {
        const auto Of = [&](const VECTOR<uint16_t, 2 * N>& _vec) { return VECTOR<int32_t, 1>{{Word(_vec, _n)}}; };
        return JoinClamped(Of(_a), Of(_b), Of(_c), Of(_d)).arr[0];
    };
    _first = VECTOR<int32_t, N>::Of([&](size_t _n) { return Joined(_n / 4 * 8 + _n % 4); });
    _second = VECTOR<int32_t, N>::Of([&](size_t _n) { return Joined(_n / 4 * 8 + 4 + _n % 4); });
}
template <size_t N>
ZCK_INLINE VECTOR<uint8_t, 4 * N> PackLanes(const VECTOR<int32_t, N>& _a, const VECTOR<int32_t, N>& _b,
                                            const VECTOR<int32_t, N>& _c, const VECTOR<int32_t, N>& _d)
{
    const VECTOR<int32_t, N>* const arrFrom[] = {&_a, &_b, &_c, &_d};
    return VECTOR<uint8_t, 4 * N>::Of([&](size_t _n) { return arrFrom[_n / N]->arr[_n % N]; });
}
template <size_t N> ZCK_INLINE void Interleave(const VECTOR<int32_t, N>& _a, const VECTOR<int32_t, N>& _b,
                                               VECTOR<int32_t, N>& _first, VECTOR<int32_t, N>& _second)
{
    const auto Number = [&](size_t _n) { return (_n % 2 ? _b : _a).arr[_n / 2]; };
    const auto first = VECTOR<int32_t, N>::Of(Number);
    _second = VECTOR<int32_t, N>::Of([&](size_t _n) { return Number(_n + N); });
    _first = first;
}
template <size_t N> ZCK_INLINE void Deinterleave(const VECTOR<int32_t, N>& _a, const VECTOR<int32_t, N>& _b,
                                                 VECTOR<int32_t, N>& _even, VECTOR<int32_t, N>& _odd)
{
    const auto Number = [&](size_t _n) { return _n < N ? _a.arr[_n] : _b.arr[_n - N]; };
    const auto even = VECTOR<int32_t, N>::Of([&](size_t _n) { return Number(2 * _n); });
    _odd = VECTOR<int32_t, N>::Of([&](size_t _n) { return Number(2 * _n + 1); });
    _even = even;
}
template <size_t N> ZCK_INLINE void DeinterleaveBlocks(const VECTOR<int32_t, N>& _a, const VECTOR<int32_t, N>& _b,
                                                       VECTOR<int32_t, N>& _even, VECTOR<int32_t, N>& _odd)
{
    const auto Number = [&](size_t _n, size_t _nOdd) {
        return (_n % 4 < 2 ? _a : _b).arr[_n / 4 * 4 + 2 * (_n % 2) + _nOdd];
    };
    const auto even = VECTOR<int32_t, N>::Of([&](size_t _n) { return Number(_n, 0); });
    _odd = VECTOR<int32_t, N>::Of([&](size_t _n) { return Number(_n, 1); });
    _even = even;
}
template <int Lane, size_t N> ZCK_INLINE VECTOR<float, N> Spread(const VECTOR<float, N>& _a)
{
    return VECTOR<float, N>::Of([&](size_t _n) { return _a.arr[_n / 4 * 4 + Lane]; });
}
template <size_t N> ZCK_INLINE VECTOR<int32_t, N> SplitHalves(const VECTOR<int32_t, N>& _a)
{
    return VECTOR<int32_t, N>::Of([&](size_t _n) { return _a.arr[_n % (N / 2) / 2 * 4 + _n / (N / 2) * 2 + _n % 2]; });
}
template <size_t N> ZCK_INLINE VECTOR<int32_t, N> JoinHalves(const VECTOR<int32_t, N>& _a)
{
    return VECTOR<int32_t, N>::Of([&](size_t _n) { return _a.arr[_n / 4 * 2 + _n % 4 / 2 * (N / 2) + _n % 2]; });
}
template <size_t N> ZCK_INLINE VECTOR<int32_t, N> FirstThree(const VECTOR<int32_t, N>& _a)
{
    return VECTOR<int32_t, N>::Of([&](size_t _n) { return _n < N / 4 * 3 ? _a.arr[_n / 3 * 4 + _n % 3] : 0; });
}

} // namespace SimdPlain

/// Lanes: a multiple of 4, or 1: a pixel at a time, without what works on blocks of 16 bytes.
template <size_t Lanes> struct SIMD_PLAIN_OF
{
    using U8 = SimdPlain::VECTOR<uint8_t, 4 * Lanes>;
    using U16 = SimdPlain::VECTOR<uint16_t, 2 * Lanes>;
    using I32 = SimdPlain::VECTOR<int32_t, Lanes>;
    using F32 = SimdPlain::VECTOR<float, Lanes>;
    using M8 = SimdPlain::MASK<4 * Lanes>;
    using M16 = SimdPlain::MASK<2 * Lanes>;
    using M32 = SimdPlain::MASK<Lanes>;
    static constexpr size_t c_nBytes = 4 * Lanes;
    static constexpr size_t c_nLanes = Lanes;

    template <class V> static ZCK_INLINE V Loaded(const void* _pNumbers, size_t _n)
    {
        V res = {};
        std::memcpy(res.arr, _pNumbers, sizeof(res.arr[0]) * (_n < V::c_nNumbers ? _n : V::c_nNumbers));
        return res;
    }
    template <class V> static ZCK_INLINE void Stored(void* _pNumbers, size_t _n, const V& _vec)
    {
        std::memcpy(_pNumbers, _vec.arr, sizeof(_vec.arr[0]) * (_n < V::c_nNumbers ? _n : V::c_nNumbers));
    }

    static ZCK_INLINE void Prefetch(const uint8_t*)
    {
    }
    static ZCK_INLINE U8 LoadU8(const uint8_t* _pBytes, size_t _n = c_nBytes)
    {
        return Loaded<U8>(_pBytes, _n);
    }
    static ZCK_INLINE I32 LoadI32(const void* _pInts, size_t _n = c_nLanes)
    {
        return Loaded<I32>(_pInts, _n);
    }
    static ZCK_INLINE F32 LoadF32(const float* _pFloats, size_t _n = c_nLanes)
    {
        return Loaded<F32>(_pFloats, _n);
    }
    static ZCK_INLINE void Store(uint8_t* _pBytes, const U8& _bytes)
    {
        Stored(_pBytes, c_nBytes, _bytes);
    }
    static ZCK_INLINE void Store(uint8_t* _pBytes, size_t _n, const U8& _bytes)
    {
        Stored(_pBytes, _n, _bytes);
    }
    static ZCK_INLINE void Store(void* _pInts, const I32& _ints)
    {
        Stored(_pInts, c_nLanes, _ints);
    }
    static ZCK_INLINE void Store(void* _pInts, size_t _n, const I32& _ints)
    {
        Stored(_pInts, _n, _ints);
    }
    static ZCK_INLINE void Store(float* _pFloats, const F32& _floats)
    {
        Stored(_pFloats, c_nLanes, _floats);
    }
    static ZCK_INLINE void Store(float* _pFloats, size_t _n, const F32& _floats)
    {
        Stored(_pFloats, _n, _floats);
    }
    static ZCK_INLINE U16 WidenU16(const uint8_t* _pBytes)
    {
        return U16::Of([&](size_t _n) { return _pBytes[_n]; });
    }
    static ZCK_INLINE I32 WidenI32(const uint8_t* _pBytes, size_t _n = c_nLanes)
    {
        return I32::Of([&](size_t _nLane) { return _nLane < _n ? _pBytes[_nLane] : 0; });
    }
    static ZCK_INLINE I32 WidenI32(const int16_t* _pWords)
    {
        return I32::Of([&](size_t _n) { return _pWords[_n]; });
    }
    static ZCK_INLINE void Narrow(int16_t* _pWords, const I32& _ints)
    {
        for (size_t i = 0; i < Lanes; ++i)
            _pWords[i] = static_cast<int16_t>(_ints.arr[i]);
    }
    static ZCK_INLINE F32 RepeatBlock(const float* _pFloats)
    {
        return F32::Of([&](size_t _n) { return _pFloats[_n % 4]; });
    }
    static ZCK_INLINE I32 LoadBlocks(const void* _pBlocks, ptrdiff_t _nStride)
    {
        I32 res;
        for (size_t i = 0; i < Lanes / 4; ++i)
            std::memcpy(res.arr + 4 * i, static_cast<const uint8_t*>(_pBlocks) + static_cast<ptrdiff_t>(i) * _nStride,
                        16);
        return res;
    }
    static ZCK_INLINE I32 WidenBlocks(const int16_t* _pWords, ptrdiff_t _nStride)
    {
        return I32::Of([&](size_t _n) {
            int16_t nWord;
            const ptrdiff_t nAt = static_cast<ptrdiff_t>(_n / 4) * _nStride + static_cast<ptrdiff_t>(2 * (_n % 4));
            std::memcpy(&nWord, reinterpret_cast<const char*>(_pWords) + nAt, sizeof(nWord));
            return nWord;
        });
    }
    static ZCK_INLINE void StoreBlocks(void* _pBlocks, ptrdiff_t _nStride, const I32& _ints)
    {
        for (size_t i = 0; i < Lanes / 4; ++i)
            std::memcpy(static_cast<uint8_t*>(_pBlocks) + static_cast<ptrdiff_t>(i) * _nStride, _ints.arr + 4 * i, 16);
    }
};
using SIMD_PLAIN = SIMD_PLAIN_OF<8>;

} // namespace
