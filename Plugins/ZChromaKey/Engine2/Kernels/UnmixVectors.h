#pragma once

#include "Simd/Simd.h"

/// Integer arithmetic on pixels that several kernels share.

namespace
{
namespace UnmixVectors
{

/// a b / 2^15, rounded; both fit 16 bits.
template <class S> ZCK_INLINE typename S::I32 MulRoundInts(typename S::I32 _a, typename S::I32 _b)
{
    using U16 = typename S::U16;
    return (MulAdd(As<U16>(_a), As<U16>(_b & 0xFFFF)) + 16384) >> 15;
}
/// Pixels as pairs of words: blue and green, red and alpha.
template <class S> struct PAIRS
{
    typename S::I32 nBG;
    typename S::I32 nRA;
};
template <class S> ZCK_INLINE PAIRS<S> FromBytes(typename S::I32 _nBGRA)
{
    return {(_nBGRA & 0xFF) | ((_nBGRA & 0xFF00) << 8), (_nBGRA >> 16) & 0xFF};
}
template <class S> ZCK_INLINE PAIRS<S> FromWords(const uint16_t* _pBGRA)
{
    PAIRS<S> pairs;
    Deinterleave(S::LoadI32(_pBGRA), S::LoadI32(_pBGRA + 2 * S::c_nLanes), pairs.nBG, pairs.nRA);
    return pairs;
}
/// A form of pixels, whole.
template <class S> ZCK_INLINE typename S::I32 FormOf(const int32_t (&_anForm)[3], const PAIRS<S>& _pixels)
{
    using I32 = typename S::I32;
    using U16 = typename S::U16;
    const I32 nBG(
        static_cast<int>((_anForm[0] & 0xFFFF) | static_cast<int32_t>(static_cast<uint32_t>(_anForm[1]) << 16)));
    return MulAdd(As<U16>(_pixels.nBG), As<U16>(nBG)) + MulAdd(As<U16>(_pixels.nRA), As<U16>(I32(_anForm[2] & 0xFFFF)));
}
/// The same of bytes. The weights fit signed bytes, and no sum of two products leaves 16 bits: those of 64ths.
template <class S> ZCK_INLINE typename S::I32 FormOfBytes(const int32_t (&_anForm)[3], typename S::I32 _nBGRA)
{
    const int nForm = (_anForm[0] & 0xFF) | (_anForm[1] & 0xFF) << 8 | (_anForm[2] & 0xFF) << 16;
    return AddProducts(As<typename S::U8>(_nBGRA), As<typename S::U8>(typename S::I32(nForm)));
}
} // namespace UnmixVectors
} // namespace
