#pragma once

#include "Simd/Simd.h"
#include "ZChromaKey/Engine2/Kernels/ChromaKernels.h"

/// Rows of planes as floats, for a level of Simd.h. Columns are pairs of pixels that share their chroma.
///
/// A layout has c_nMany, the columns that it unpacks at a time (it may write a whole vector), and these members, for
/// columns and samples of a row:
///     Columns(row, column)                  the bytes from a column on
///     LumaMany(row, column, left, right)    both pixels of the columns     LumaAt(row, x)
///     ChromaMany(row, column, blue, red)    blue - luma and red - luma     UAt(row, column), VAt(row, column)

ZCK_INLINE int ChromaClamped(int _n, int _nEnd)
{
    return _n < 0 ? 0 : _n < _nEnd ? _n : _nEnd - 1;
}

ZCK_INLINE float ChromaScaled(int _n, CHROMA_SCALE _scale)
{
    return static_cast<float>(_n) * _scale.fltTimes + _scale.fltAdd;
}

template <class S> ZCK_INLINE void ChromaStore(float* _p, typename S::I32 _ints, CHROMA_SCALE _scale)
{
    S::Store(_p, ToF32(_ints) * _scale.fltTimes + _scale.fltAdd);
}

/// Two numbers in bits 0 to 15 and 16 to 31 of the lanes.
template <class S> ZCK_INLINE void ChromaStorePairs(float* _pLow, float* _pHigh, typename S::I32 _pairs,
                                                    CHROMA_SCALE _low, CHROMA_SCALE _high)
{
    ChromaStore<S>(_pLow, _pairs & 0xFFFF, _low);
    ChromaStore<S>(_pHigh, ShiftedIn0(_pairs, 16), _high);
}

/// Packed 4:2:2 with bytes: a column is a lane.
template <class S> struct CHROMA_PACKED
{
    static constexpr int c_nMany = static_cast<int>(S::c_nLanes);
    const CHROMA_JOB& job;

    static ZCK_INLINE const uint8_t* Columns(const uint8_t* _pRow, int _n)
    {
        return _pRow + ptrdiff_t{4} * _n;
    }
    ZCK_INLINE void LumaMany(const uint8_t* _pRow, int _n, float* _pLeft, float* _pRight) const
    {
        const auto vecUnits = S::LoadI32(Columns(_pRow, _n)) >> (8 * job.samples.nLuma);
        ChromaStorePairs<S>(_pLeft, _pRight, vecUnits & 0x00FF00FF, job.luma, job.luma);
    }
    ZCK_INLINE int LumaAt(const uint8_t* _pRow, int _nX) const
    {
        return _pRow[ptrdiff_t{2} * _nX + job.samples.nLuma];
    }
    ZCK_INLINE void ChromaMany(int _nRow, int _n, float* _pBlue, float* _pRed) const
    {
        const auto vecUnits = S::LoadI32(Row(_nRow) + ptrdiff_t{4} * _n);
        ChromaStore<S>(_pBlue, vecUnits >> (8 * job.samples.nU) & 0xFF, job.blue);
        ChromaStore<S>(_pRed, vecUnits >> (8 * job.samples.nV) & 0xFF, job.red);
    }
    ZCK_INLINE int UAt(int _nRow, int _n) const
    {
        return Row(_nRow)[ptrdiff_t{4} * _n + job.samples.nU];
    }
    ZCK_INLINE int VAt(int _nRow, int _n) const
    {
        return Row(_nRow)[ptrdiff_t{4} * _n + job.samples.nV];
    }
    ZCK_INLINE const uint8_t* Row(int _nRow) const
    {
        return job.samples.arrRow0[0] + _nRow * job.samples.anStride[0];
    }
};

/// Planes of bytes; U and V are in two of them, or in turn in one.
template <class S> struct CHROMA_PLANAR
{
    static constexpr int c_nMany = static_cast<int>(S::c_nLanes);
    const CHROMA_JOB& job;

    static ZCK_INLINE const uint8_t* Columns(const uint8_t* _pRow, int _n)
    {
        return _pRow + ptrdiff_t{2} * _n;
    }
    ZCK_INLINE void LumaMany(const uint8_t* _pRow, int _n, float* _pLeft, float* _pRight) const
    {
        const auto vecPairs = As<typename S::I32>(S::WidenU16(Columns(_pRow, _n)));
        ChromaStorePairs<S>(_pLeft, _pRight, vecPairs, job.luma, job.luma);
    }
    ZCK_INLINE int LumaAt(const uint8_t* _pRow, int _nX) const
    {
        return _pRow[_nX];
    }
    ZCK_INLINE void ChromaMany(int _nRow, int _n, float* _pBlue, float* _pRed) const
    {
        if (job.samples.nChromaStep == 2)
        {
            const auto vecPairs = As<typename S::I32>(S::WidenU16(At(1, _nRow, _n)));
            ChromaStorePairs<S>(_pBlue, _pRed, vecPairs, job.blue, job.red);
            return;
        }
        ChromaStore<S>(_pBlue, S::WidenI32(At(1, _nRow, _n)), job.blue);
        ChromaStore<S>(_pRed, S::WidenI32(At(2, _nRow, _n)), job.red);
    }
    ZCK_INLINE int UAt(int _nRow, int _n) const
    {
        return *At(1, _nRow, _n);
    }
    ZCK_INLINE int VAt(int _nRow, int _n) const
    {
        return *At(2, _nRow, _n);
    }
    ZCK_INLINE const uint8_t* At(int _nPlane, int _nRow, int _n) const
    {
        return job.samples.arrRow0[_nPlane] + _nRow * job.samples.anStride[_nPlane] +
               ptrdiff_t{_n} * job.samples.nChromaStep;
    }
};

/// Planes of words with ten bits in the high ones; U and V are in turn in the second.
template <class S> struct CHROMA_P010
{
    static constexpr int c_nMany = static_cast<int>(S::c_nLanes);
    const CHROMA_JOB& job;

    static ZCK_INLINE const uint8_t* Columns(const uint8_t* _pRow, int _n)
    {
        return _pRow + ptrdiff_t{4} * _n;
    }
    ZCK_INLINE void LumaMany(const uint8_t* _pRow, int _n, float* _pLeft, float* _pRight) const
    {
        ChromaStorePairs<S>(_pLeft, _pRight, Samples(Columns(_pRow, _n)), job.luma, job.luma);
    }
    ZCK_INLINE int LumaAt(const uint8_t* _pRow, int _nX) const
    {
        return SampleAt(_pRow + ptrdiff_t{2} * _nX);
    }
    ZCK_INLINE void ChromaMany(int _nRow, int _n, float* _pBlue, float* _pRed) const
    {
        ChromaStorePairs<S>(_pBlue, _pRed, Samples(At(_nRow, _n)), job.blue, job.red);
    }
    ZCK_INLINE int UAt(int _nRow, int _n) const
    {
        return SampleAt(At(_nRow, _n));
    }
    ZCK_INLINE int VAt(int _nRow, int _n) const
    {
        return SampleAt(At(_nRow, _n) + 2);
    }
    ZCK_INLINE const uint8_t* At(int _nRow, int _n) const
    {
        return job.samples.arrRow0[1] + _nRow * job.samples.anStride[1] + ptrdiff_t{4} * _n;
    }
    static ZCK_INLINE typename S::I32 Samples(const uint8_t* _pWords)
    {
        return (S::LoadI32(_pWords) >> 6) & 0x03FF03FF;
    }
    static ZCK_INLINE int SampleAt(const uint8_t* _pWord)
    {
        return (_pWord[0] | _pWord[1] << 8) >> 6;
    }
};

/// Where those samples of v210 are that lie four apart, from number _nFirst on: three of them in four words. They are
/// left where they are in their words, for the scale takes that in.
struct CHROMA_V210_PLACES
{
    uint8_t arrBytes[16] = {};
    int32_t arrMask[16] = {}; ///< once every fourth lane is left out
    float arrShare[16] = {};

    constexpr explicit CHROMA_V210_PLACES(int _nFirst)
    {
        for (int n = 0; n < 16; ++n)
        {
            const int nSample = _nFirst + 4 * (n % 3), nBit = 10 * (nSample % 3) % 8;
            arrMask[n] = 0x3FF << nBit;
            arrShare[n] = 1 / static_cast<float>(1 << nBit);
            const int nOfBlock = _nFirst + n / 4 * 4; // the last lane of a block is not used
            const int nByte = nOfBlock / 3 * 4 + 10 * (nOfBlock % 3) / 8 + n % 4;
            arrBytes[n] = static_cast<uint8_t>(n % 4 < 2 && n < 12 ? nByte : 0xFF);
        }
    }
};

/// v210: samples U Y V Y U Y ..., of ten bits, three in a word; three columns are four words.
template <class S> struct CHROMA_V210
{
    static constexpr int c_nMany = static_cast<int>(S::c_nLanes) / 4 * 3;
    const CHROMA_JOB& job;

    static ZCK_INLINE const uint8_t* Columns(const uint8_t* _pRow, int _n)
    {
        return _pRow + ptrdiff_t{16} * (_n / 3);
    }
    ZCK_INLINE void LumaMany(const uint8_t* _pRow, int _n, float* _pLeft, float* _pRight) const
    {
        StoreMany<1>(_pLeft, Columns(_pRow, _n), job.luma);
        StoreMany<3>(_pRight, Columns(_pRow, _n), job.luma);
    }
    ZCK_INLINE int LumaAt(const uint8_t* _pRow, int _nX) const
    {
        return SampleAt(_pRow, 2 * _nX + 1);
    }
    ZCK_INLINE void ChromaMany(int _nRow, int _n, float* _pBlue, float* _pRed) const
    {
        StoreMany<0>(_pBlue, Columns(Row(_nRow), _n), job.blue);
        StoreMany<2>(_pRed, Columns(Row(_nRow), _n), job.red);
    }
    ZCK_INLINE int UAt(int _nRow, int _n) const
    {
        return SampleAt(Row(_nRow), 4 * _n);
    }
    ZCK_INLINE int VAt(int _nRow, int _n) const
    {
        return SampleAt(Row(_nRow), 4 * _n + 2);
    }
    ZCK_INLINE const uint8_t* Row(int _nRow) const
    {
        return job.samples.arrRow0[0] + _nRow * job.samples.anStride[0];
    }
    /// Every fourth sample of some words, from number First on. One at a time where vectors are no longer than a block,
    /// for that is the plain level.
    template <int First> static ZCK_INLINE void StoreMany(float* _p, const uint8_t* _pWords, CHROMA_SCALE _scale)
    {
        using I32 = typename S::I32;
        static constexpr CHROMA_V210_PLACES c_places(First);
        if constexpr (c_nMany == 3)
        {
            for (int n = 0; n < c_nMany; ++n)
                _p[n] = ChromaScaled(SampleAt(_pWords, First + 4 * n), _scale);
            return;
        }
        const I32 vecBlocks = As<I32>(ShuffleBytes(As<typename S::U8>(S::LoadI32(_pWords)), c_places.arrBytes));
        const auto vecTimes = S::LoadF32(c_places.arrShare) * _scale.fltTimes;
        S::Store(_p, ToF32(FirstThree(vecBlocks) & S::LoadI32(c_places.arrMask)) * vecTimes + _scale.fltAdd);
    }
    static ZCK_INLINE int SampleAt(const uint8_t* _pRow, int _n)
    {
        const uint8_t* const p = _pRow + ptrdiff_t{4} * (_n / 3);
        return (p[0] | p[1] << 8 | p[2] << 16 | (p[3] & 0x3F) << 24) >> (10 * (_n % 3)) & 0x3FF;
    }
};

/// Pixels B, G, R, A. The chroma of a column is the mean of that of its pixels; what they have of their own stays in
/// the result.
template <class S> struct CHROMA_BGRA
{
    using I32 = typename S::I32;
    static constexpr bool c_bOwnChroma = true;
    static constexpr int c_nMany = static_cast<int>(S::c_nLanes);
    const CHROMA_JOB& job;

    static ZCK_INLINE const uint8_t* Columns(const uint8_t* _pRow, int _n)
    {
        return _pRow + ptrdiff_t{8} * _n;
    }
    ZCK_INLINE void LumaMany(const uint8_t* _pRow, int _n, float* _pLeft, float* _pRight) const
    {
        I32 vecLeft, vecRight;
        LoadColumns(_pRow, _n, vecLeft, vecRight);
        ChromaStore<S>(_pLeft, LumaOf(vecLeft), job.luma);
        ChromaStore<S>(_pRight, LumaOf(vecRight), job.luma);
    }
    ZCK_INLINE int LumaAt(const uint8_t* _pRow, int _nX) const
    {
        const uint8_t* const p = _pRow + ptrdiff_t{4} * _nX;
        return job.anLuma[0] * p[0] + job.anLuma[1] * p[1] + job.anLuma[2] * p[2];
    }
    ZCK_INLINE void ChromaMany(int _nRow, int _n, float* _pBlue, float* _pRed) const
    {
        I32 vecBlue(0), vecRed(0), vecLeft, vecRight;
        for (int y = 0; y < job.samples.nChromaDiv; ++y)
        {
            LoadColumns(PixelRow(_nRow, y), _n, vecLeft, vecRight);
            const I32 vecLuma = LumaOf(vecLeft) + LumaOf(vecRight);
            vecBlue = vecBlue + (((vecLeft & 0xFF) + (vecRight & 0xFF)) << 14) - vecLuma;
            vecRed = vecRed + (((vecLeft >> 16 & 0xFF) + (vecRight >> 16 & 0xFF)) << 14) - vecLuma;
        }
        ChromaStore<S>(_pBlue, vecBlue, job.blue);
        ChromaStore<S>(_pRed, vecRed, job.red);
    }
    ZCK_INLINE int UAt(int _nRow, int _n) const
    {
        return SumAt(_nRow, _n, 0);
    }
    ZCK_INLINE int VAt(int _nRow, int _n) const
    {
        return SumAt(_nRow, _n, 2);
    }

    ZCK_INLINE int SumAt(int _nRow, int _n, int _nChannel) const
    {
        int nSum = 0;
        for (int y = 0; y < job.samples.nChromaDiv; ++y)
            for (int x = 2 * _n; x < 2 * _n + 2; ++x)
            {
                const uint8_t* const pRow = PixelRow(_nRow, y);
                const int nX = ChromaClamped(x, job.samples.nWidth);
                nSum += (pRow[ptrdiff_t{4} * nX + _nChannel] << 14) - LumaAt(pRow, nX);
            }
        return nSum;
    }
    /// Row _nOf of those that share row _nRow of the samples.
    ZCK_INLINE const uint8_t* PixelRow(int _nRow, int _nOf) const
    {
        const int nRow = ChromaClamped(_nRow * job.samples.nChromaDiv + _nOf, job.samples.nHeight);
        return job.samples.arrRow0[0] + nRow * job.samples.anStride[0];
    }
    static ZCK_INLINE void LoadColumns(const uint8_t* _pRow, int _n, I32& _left, I32& _right)
    {
        const uint8_t* const p = Columns(_pRow, _n);
        Deinterleave(S::LoadI32(p), S::LoadI32(p + S::c_nBytes), _left, _right);
    }
    ZCK_INLINE I32 LumaOf(I32 _pixels) const
    {
        using U16 = typename S::U16;
        const auto vecBytes = As<typename S::U8>(_pixels);
        const U16 vecBR = As<U16>(I32(job.anLuma[0] | job.anLuma[2] << 16)), vecG = As<U16>(I32(job.anLuma[1]));
        return MulAdd(Even(vecBytes), vecBR) + MulAdd(Odd(vecBytes), vecG);
    }
};

/// Calls _fnOne(column) for columns outside of 0 to _nWhole - 1 and for the last ones, and _fnMany(column) for _nMany
/// columns at a time, which may be some more than asked for. Where _nMany is a multiple of 3, so are these columns.
template <class Many, class One>
ZCK_INLINE void ForColumns(int _nFirst, int _nEnd, int _nWhole, int _nMany, Many&& _fnMany, One&& _fnOne)
{
    int n = _nFirst;
    for (; n < _nEnd && n < 0; ++n)
        _fnOne(n);
    if (_nMany % 3 == 0)
        n -= n % 3;
    for (; n < _nEnd && n + _nMany <= _nWhole; n += _nMany)
        _fnMany(n);
    for (; n < _nEnd; ++n)
        _fnOne(n);
}

/// Luma of the columns from _nFirst to _nEnd - 1; outside of the picture it is that of its edge. The results begin with
/// column _nBase. The row below is fetched meanwhile.
template <class S, class Layout>
void UnpackLuma(const Layout& _layout, int _nRow, int _nFirst, int _nEnd, int _nBase, float* _pLeft, float* _pRight)
{
    const CHROMA_JOB& job = _layout.job;
    const UNMIX_SAMPLES& samples = job.samples;
    const uint8_t* const pRow = samples.arrRow0[0] + ChromaClamped(_nRow, samples.nHeight) * samples.anStride[0];
    const ptrdiff_t nNext = _nRow >= 0 && _nRow + 1 < samples.nHeight ? samples.anStride[0] : 0;
    const auto One = [&](int _nX) {
        return ChromaScaled(_layout.LumaAt(pRow, ChromaClamped(_nX, samples.nWidth)), job.luma);
    };
    ForColumns(
        _nFirst, _nEnd, samples.nWidth / 2, Layout::c_nMany,
        [&](int _n) {
            S::Prefetch(Layout::Columns(pRow, _n) + nNext);
            _layout.LumaMany(pRow, _n, _pLeft + (_n - _nBase), _pRight + (_n - _nBase));
        },
        [&](int _n) {
            _pLeft[_n - _nBase] = One(2 * _n);
            _pRight[_n - _nBase] = One(2 * _n + 1);
        });
}

/// Chroma in the same way.
template <class Layout>
void UnpackChroma(const Layout& _layout, int _nRow, int _nFirst, int _nEnd, int _nBase, float* _pBlue, float* _pRed)
{
    const CHROMA_JOB& job = _layout.job;
    const UNMIX_SAMPLES& samples = job.samples;
    const int nRow = ChromaClamped(_nRow, samples.nChromaHeight);
    const int nPairs = samples.nWidth / 2;
    ForColumns(
        _nFirst, _nEnd, samples.nChromaWidth < nPairs ? samples.nChromaWidth : nPairs, Layout::c_nMany,
        [&](int _n) { _layout.ChromaMany(nRow, _n, _pBlue + (_n - _nBase), _pRed + (_n - _nBase)); },
        [&](int _n) {
            const int nColumn = ChromaClamped(_n, samples.nChromaWidth);
            _pBlue[_n - _nBase] = ChromaScaled(_layout.UAt(nRow, nColumn), job.blue);
            _pRed[_n - _nBase] = ChromaScaled(_layout.VAt(nRow, nColumn), job.red);
        });
}
