#pragma once

#include "Simd/Simd.h"
#include "ZChromaKey/Engine1/Kernels/KeyKernels.h"
#include "ZChromaKey/Engine1/Kernels/KeyLanes.h"

/// The kernel of key sets for a level of Simd.h; KEY_KERNELS says what it does.
///
/// Four vectors of pixels at a time. Two components of a pixel, or one component of two pixels, are the words of a
/// lane. Keys far from all of these pixels, as most are, cost no more than their sums: they leave alpha as it is. The
/// square root is for soft edges only.

/// Four vectors of pixels: their components 0 and 2, and component 1 of the first and second, third and fourth.
template <class S> struct KEY_BLOCK
{
    typename S::U16 vec02_0, vec02_1, vec02_2, vec02_3;
    typename S::U16 vec1_01, vec1_23;
};

/// One number for each pixel of a block.
template <class S> struct KEY_NUMBERS
{
    typename S::I32 vec0, vec1, vec2, vec3;
};

/// Component 1 of two vectors of pixels, as the low and the high words.
template <class S> ZCK_INLINE typename S::U16 KeyMiddle(typename S::I32 _vecLow, typename S::I32 _vecHigh)
{
    return As<typename S::U16>((ShiftedIn0(_vecLow, 8) & 0xFF) | (_vecHigh & 0xFF00) << 8);
}

/// Takes four vectors of pixels apart.
template <class S> ZCK_INLINE KEY_BLOCK<S> KeyBlock(const KEY_NUMBERS<S>& _pixels)
{
    using U16 = typename S::U16;
    constexpr int c_nMask = 0x00FF00FF;
    return {As<U16>(_pixels.vec0 & c_nMask),          As<U16>(_pixels.vec1 & c_nMask),
            As<U16>(_pixels.vec2 & c_nMask),          As<U16>(_pixels.vec3 & c_nMask),
            KeyMiddle<S>(_pixels.vec0, _pixels.vec1), KeyMiddle<S>(_pixels.vec2, _pixels.vec3)};
}

/// Squares of at most 255^2 are unsigned words, halved they are signed.
template <class U16> ZCK_INLINE U16 HalvedSquares(U16 _vecWords, U16 _vecValues)
{
    const U16 vecDiff = _vecWords - _vecValues;
    return (vecDiff * vecDiff) >> 1;
}

/// The weighted sums of the pixels' halved squares, which fit 31 bits.
template <class S> ZCK_INLINE KEY_NUMBERS<S> KeySums(const KEY_BLOCK<S>& _block, const KEY_LANES& _key)
{
    using I32 = typename S::I32;
    using U16 = typename S::U16;
    const U16 vecValue02 = As<U16>(I32(_key.nValue02));
    const U16 vecValue11 = As<U16>(I32(_key.nValue11));
    const U16 vecWeight02 = As<U16>(I32(_key.nWeight02));
    const U16 vecWeight1Low = As<U16>(I32(_key.nWeight1Low));
    const U16 vecWeight1High = As<U16>(I32(_key.nWeight1High));
    const U16 vec1_01 = HalvedSquares(_block.vec1_01, vecValue11);
    const U16 vec1_23 = HalvedSquares(_block.vec1_23, vecValue11);
    return {MulAdd(HalvedSquares(_block.vec02_0, vecValue02), vecWeight02) + MulAdd(vec1_01, vecWeight1Low),
            MulAdd(HalvedSquares(_block.vec02_1, vecValue02), vecWeight02) + MulAdd(vec1_01, vecWeight1High),
            MulAdd(HalvedSquares(_block.vec02_2, vecValue02), vecWeight02) + MulAdd(vec1_23, vecWeight1Low),
            MulAdd(HalvedSquares(_block.vec02_3, vecValue02), vecWeight02) + MulAdd(vec1_23, vecWeight1High)};
}

/// Alpha of pixels on the soft edge, from their excess less 1. Below 255 before the floor, by choice of the lanes.
template <class S> ZCK_INLINE typename S::I32 SoftAlpha(typename S::I32 _vecBeyond, const KEY_LANES& _key)
{
    using F32 = typename S::F32;
    const F32 vecRoot = Sqrt(ToF32(Max(_vecBeyond + 1, 0)));
    return ToI32(vecRoot * F32(_key.fltScale) + F32(0.5f)) + _key.nFloor;
}

/// A vector's alphas under a key.
template <class S> struct KEY_VIEW
{
    typename S::I32 vecLeast; ///< with the floor where the pixels are inside the key
    typename S::I32 vecBeyond;
    typename S::M32 maskSoft;
};

template <class S>
ZCK_INLINE KEY_VIEW<S> KeyView(typename S::I32 _vecLeast, typename S::I32 _vecSum, const KEY_LANES& _key)
{
    const typename S::I32 vecBeyond = _vecSum - _key.nInside; // below 0: inside
    return {Select(IsNegative(vecBeyond), Min(_vecLeast, _key.nFloor), _vecLeast), vecBeyond,
            Below(vecBeyond, _key.nSoft)};
}

/// The lesser of a vector's alphas and what the key gives on its soft edge.
template <class S> ZCK_INLINE typename S::I32 Softened(const KEY_VIEW<S>& _view, const KEY_LANES& _key)
{
    return Select(_view.maskSoft, Min(_view.vecLeast, SoftAlpha<S>(_view.vecBeyond, _key)), _view.vecLeast);
}

/// The lesser of a block's alphas and what a key gives. Whether any pixel of a single vector is on the soft edge would
/// be a guess to the processor where edges are everywhere, and a wrong one costs more than the roots: only whole
/// blocks go without them.
template <class S>
ZCK_INLINE KEY_NUMBERS<S> Lowered(const KEY_NUMBERS<S>& _least, const KEY_NUMBERS<S>& _sums, const KEY_LANES& _key)
{
    const KEY_VIEW<S> view0 = KeyView<S>(_least.vec0, _sums.vec0, _key);
    const KEY_VIEW<S> view1 = KeyView<S>(_least.vec1, _sums.vec1, _key);
    const KEY_VIEW<S> view2 = KeyView<S>(_least.vec2, _sums.vec2, _key);
    const KEY_VIEW<S> view3 = KeyView<S>(_least.vec3, _sums.vec3, _key);
    if (!Any((view0.maskSoft | view1.maskSoft) | (view2.maskSoft | view3.maskSoft)))
        return {view0.vecLeast, view1.vecLeast, view2.vecLeast, view3.vecLeast};
    return {Softened<S>(view0, _key), Softened<S>(view1, _key), Softened<S>(view2, _key), Softened<S>(view3, _key)};
}

/// The least alpha that the keys give the pixels of a block. Where a key makes a whole block transparent, the keys that
/// follow have nothing to lower.
template <class S> ZCK_INLINE KEY_NUMBERS<S> LeastOf(const KEY_BLOCK<S>& _block, const KEY_LANES* _pKeys, int _nKeys)
{
    using I32 = typename S::I32;
    KEY_NUMBERS<S> least = {255, 255, 255, 255};
    for (const KEY_LANES* pKey = _pKeys; pKey != _pKeys + _nKeys; ++pKey)
    {
        const KEY_NUMBERS<S> sums = KeySums<S>(_block, *pKey);
        const I32 vecLow = Min(Min(sums.vec0, sums.vec1), Min(sums.vec2, sums.vec3));
        if (!Any(Greater(pKey->nOpaque, vecLow)))
            continue;
        const I32 vecHigh = Max(Max(sums.vec0, sums.vec1), Max(sums.vec2, sums.vec3));
        if (pKey->nFloor == 0 && !Any(Greater(vecHigh, pKey->nInside - 1)))
            return {0, 0, 0, 0};
        least = Lowered<S>(least, sums, *pKey);
    }
    return least;
}

template <class S> ZCK_INLINE typename S::U8 PackedAlphas(const KEY_NUMBERS<S>& _alphas)
{
    return PackLanes(_alphas.vec0, _alphas.vec1, _alphas.vec2, _alphas.vec3);
}

struct ROW_KEYS
{
    const KEY_LANES* pKeying;
    int nKeying;
    const KEY_LANES* pExclude;
    int nExclude;
};

/// Alphas of four vectors of pixels.
template <class S> ZCK_INLINE typename S::U8 BlockKey(const KEY_NUMBERS<S>& _pixels, const ROW_KEYS& _keys)
{
    using U8 = typename S::U8;
    const KEY_BLOCK<S> block = KeyBlock<S>(_pixels);
    const U8 vecAlpha = PackedAlphas<S>(LeastOf<S>(block, _keys.pKeying, _keys.nKeying));
    if (_keys.nExclude == 0)
        return vecAlpha;
    return Max(vecAlpha, ~PackedAlphas<S>(LeastOf<S>(block, _keys.pExclude, _keys.nExclude)));
}

/// Has a block of pixels fetched that is keyed in the next row. All of that row at once would have the processor wait
/// until memory has taken the orders.
template <class S> ZCK_INLINE void BlockExpect(const uint8_t* _pPixels)
{
    constexpr size_t c_cbLine = 64;
    for (size_t n = 0; n < 4 * S::c_nBytes; n += c_cbLine)
        S::Prefetch(_pPixels + n);
}

template <class S>
void SpanKey(uint8_t* _pAlpha, const uint8_t* _pPixels, const uint8_t* _pExpect, size_t _nPixels, const ROW_KEYS& _keys)
{
    constexpr size_t c_nLanes = S::c_nLanes;
    size_t n = 0;
    for (; n + S::c_nBytes <= _nPixels; n += S::c_nBytes)
    {
        if (_pExpect)
            BlockExpect<S>(_pExpect + 4 * n);
        const auto Load = [&](size_t _nVector) { return S::LoadI32(_pPixels + 4 * (n + c_nLanes * _nVector)); };
        S::Store(_pAlpha + n, BlockKey<S>({Load(0), Load(1), Load(2), Load(3)}, _keys));
    }
    if (n == _nPixels)
        return;
    const auto LoadRest = [&](size_t _nVector) {
        const size_t nFirst = n + c_nLanes * _nVector;
        return S::LoadI32(_pPixels + 4 * nFirst, nFirst < _nPixels ? _nPixels - nFirst : 0);
    };
    S::Store(_pAlpha + n, _nPixels - n, BlockKey<S>({LoadRest(0), LoadRest(1), LoadRest(2), LoadRest(3)}, _keys));
}

template <class S>
void KeySet(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, size_t _nMerged, const KEY_SET& _set)
{
    KEY_LANES arrKeying[c_nMaxRowKeys];
    KEY_LANES arrExclude[c_nMaxRowKeys];
    KeyLanes_Make(arrKeying, _set.pKeying, _set.nKeying);
    KeyLanes_Make(arrExclude, _set.pExclude, _set.nExclude);
    SpanKey<S>(_pAlpha, _pPixels, _set.pExpect, _nMerged, {arrKeying, _set.nKeying, arrExclude, _set.nExclude});
    SpanKey<S>(_pAlpha + _nMerged, _pPixels + 4 * _nMerged, nullptr, _nPixels - _nMerged,
               {arrKeying, 1, arrExclude, _set.nExclude > 0});
}
