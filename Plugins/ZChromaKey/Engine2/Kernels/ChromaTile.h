#pragma once

#include "ZChromaKey/Engine2/Kernels/ChromaBits.h"
#include "ZChromaKey/Engine2/Kernels/ChromaUnpack.h"

/// The rebuilding of chroma (Chroma.h) for a level of Simd.h.
///
/// A picture is taken in tiles 64 cells wide, from top to bottom. Of each row of samples only those columns are looked
/// at that needed cells ask for: a pixel takes the samples next to it, and their factors take those next to them. What
/// is known of a row is kept until the last row that takes it is done.

/// A number for each column of a tile, and for some before and after it; vectors may write a little farther.
struct CHROMA_STRIP
{
    static constexpr int c_nBefore = 16;
    float arr[c_nBefore + 2 * c_nChromaTile + 32];
};

/// What is known of a row of samples.
struct CHROMA_ROW
{
    enum eSum
    {
        eY,
        eU,
        eV,
        eYY,
        eYU,
        eYV,
        eAlpha,
        eSums
    };
    CHROMA_STRIP arrSample[3];   ///< luma, blue - luma, red - luma
    CHROMA_STRIP arrSums[eSums]; ///< over three columns, weights 1 2 1, of differences from the plate, and products
    CHROMA_STRIP arrFactor[2];   ///< of blue - luma and red - luma
};

/// All that is known of a tile at a time. As little as can be, for it is to stay in the first cache.
struct CHROMA_STRIPS
{
    CHROMA_STRIP arrLuma[8][2]; ///< by row of pixels: of left and of right ones
    CHROMA_ROW arrRows[3];
    CHROMA_STRIP arrOff[4];
    CHROMA_STRIP arrBetween[5];
    /// Rows of the plate between the middles of its cells: luma, blue - luma, red - luma, and arrAcross of the key.
    CHROMA_STRIP arrPlate[2][4];
};
constexpr size_t c_nChromaLine = 64; ///< bytes of the cache; vectors across two of them are slow
static_assert(sizeof(CHROMA_STRIP) % c_nChromaLine == 0);

/// What arrPlate has of a row of the plate.
struct CHROMA_PLATE_KNOWN
{
    int nRow = -1;
    uint64_t nCells = 0;
};

/// Vectors of pixels that follow each other; only the first _nPixels are written.
template <class S, size_t N>
ZCK_INLINE void ChromaStorePixels(uint16_t* _pOut, int _nPixels, const typename S::I32 (&_arrVectors)[N])
{
    const auto nLanes = static_cast<size_t>(_nPixels) * 2;
    for (size_t n = 0; n < N && S::c_nLanes * n < nLanes; ++n, _pOut += 2 * S::c_nLanes)
        if (S::c_nLanes * (n + 1) <= nLanes)
            S::Store(_pOut, _arrVectors[n]);
        else
            S::Store(_pOut, nLanes - S::c_nLanes * n, _arrVectors[n]);
}

template <class S, class Layout> class CChromaTile
{
    using I32 = typename S::I32;
    using F32 = typename S::F32;
    static constexpr int c_nLanes = static_cast<int>(S::c_nLanes);

public:
    explicit CChromaTile(const CHROMA_JOB& _job)
        : m_job(_job)
        , m_layout{_job}
        , m_nDiv(_job.samples.nChromaDiv)
        , m_nLumaMask(m_nDiv == 2 ? 7 : 1)
        , m_strips(*reinterpret_cast<CHROMA_STRIPS*>(m_arrRoom + c_nChromaLine -
                                                     reinterpret_cast<uintptr_t>(m_arrRoom) % c_nChromaLine))
    {
    }
    CChromaTile(const CChromaTile&) = delete; // m_strips is of this one
    CChromaTile& operator=(const CChromaTile&) = delete;
    /// Rows of cells of the tile that word _nWord of their bits is about.
    void Rebuild(int _nWord, int _nFirst, int _nRows)
    {
        m_nCell0 = _nWord * c_nChromaTile;
        m_arrKnown[0].nRow = m_arrKnown[1].nRow = -1;
        const int nSampleRows = 4 / m_nDiv;
        for (CChromaNeeds needs(m_job, _nWord, _nFirst, _nRows); !needs.IsOver(); needs.Next())
            for (int j = needs.Row() * nSampleRows; needs.IsAny() && j < (needs.Row() + 1) * nSampleRows; ++j)
            {
                SampleRow(j, needs.Of(FirstPixel(j - 1), LastPixel(j + 1)));
                FactorRow(j - 1, needs.Of(FirstPixel(j - 1), LastPixel(j - 1)));
                for (int y = FirstPixel(j - 1); y < FirstPixel(j); ++y)
                    if (y < m_job.samples.nHeight)
                        PixelRow(y, needs.Of(y, y));
            }
    }

private:
    // Rows of pixels that a row of samples and its factors are taken for.
    int FirstPixel(int _nRow) const
    {
        return m_nDiv * _nRow - (m_nDiv - 1);
    }
    int LastPixel(int _nRow) const
    {
        return m_nDiv * _nRow + 2 * (m_nDiv - 1);
    }
    // Where vectors over columns begin: where there are many, at a place that does not have them lie across two lines.
    // What is before the first column is then worked out again, from what it was, or is not taken.
    static int Aligned(int _nFirst, int _nEnd)
    {
        return _nEnd - _nFirst > 4 * c_nLanes ? _nFirst & -c_nLanes : _nFirst;
    }
    // The place in a strip of a cell's first column.
    static int Column(int _nCell)
    {
        return 2 * _nCell + CHROMA_STRIP::c_nBefore;
    }
    CHROMA_ROW& Row(int _nRow)
    {
        return m_strips.arrRows[(_nRow + 12) % 3]; // rows begin with those of a cell above the picture
    }
    CHROMA_STRIP* Luma(int _nPixelRow)
    {
        return m_strips.arrLuma[_nPixelRow & m_nLumaMask];
    }

    void PlateCell(float (&_arr)[4], int _nX, int _nRow) const
    {
        const ptrdiff_t nAt = ptrdiff_t{_nRow} * m_job.nPlateWidth + ChromaClamped(_nX, m_job.nPlateWidth);
        const float* const p = m_job.pPlate + 4 * nAt;
        const float fltLuma = m_job.arrLuma[0] * p[0] + m_job.arrLuma[1] * p[1] + m_job.arrLuma[2] * p[2];
        _arr[0] = fltLuma * m_job.fltPlate + m_job.fltHalf;
        _arr[1] = (p[0] - fltLuma) * m_job.fltPlate;
        _arr[2] = (p[2] - fltLuma) * m_job.fltPlate;
        _arr[3] = m_job.arrAcross[m_job.pOwner[nAt]];
    }
    // Four columns lie between the middles of two cells.
    const CHROMA_STRIP* PlateRow(int _nRow, uint64_t _nCells)
    {
        static constexpr float c_arrOther[4] = {.125f, .375f, .625f, .875f};
        CHROMA_STRIP* const pStrips = m_strips.arrPlate[_nRow & 1];
        CHROMA_PLATE_KNOWN& known = m_arrKnown[_nRow & 1];
        known.nCells = known.nRow == _nRow ? known.nCells : 0;
        known.nRow = _nRow;
        ForBitRuns(_nCells & ~known.nCells, [&](int _nFirst, int _nEnd) {
            float arrLeft[4], arrRight[4];
            PlateCell(arrRight, m_nCell0 / 2 + (_nFirst >> 1) - 1, _nRow);
            for (int n = (_nFirst >> 1) - 1; n <= (2 * _nEnd - 1) >> 2; ++n)
            {
                for (int i = 0; i < 4; ++i)
                    arrLeft[i] = arrRight[i];
                PlateCell(arrRight, m_nCell0 / 2 + n + 1, _nRow);
                for (int i = 0; i < 4; ++i)
                {
                    float* const p = pStrips[i].arr + CHROMA_STRIP::c_nBefore + 4 * n + 2;
                    for (int x = 0; x < 4; ++x)
                        p[x] = arrLeft[i] + (arrRight[i] - arrLeft[i]) * c_arrOther[x];
                }
            }
        });
        known.nCells |= _nCells;
        return pStrips;
    }

    void Unpack(int _nRow, int _nFirst, int _nEnd)
    {
        const int nBase = 2 * m_nCell0 - CHROMA_STRIP::c_nBefore;
        for (int y = _nRow * m_nDiv; y < (_nRow + 1) * m_nDiv; ++y)
            UnpackLuma<S>(m_layout, y, nBase + _nFirst, nBase + _nEnd, nBase, Luma(y)[0].arr, Luma(y)[1].arr);
        CHROMA_STRIP* const pSample = Row(_nRow).arrSample;
        UnpackChroma(m_layout, _nRow, nBase + _nFirst, nBase + _nEnd, nBase, pSample[1].arr, pSample[2].arr);
    }
    F32 LumaSum(int _nPixelRow, int _n)
    {
        return S::LoadF32(Luma(_nPixelRow)[0].arr + _n) + S::LoadF32(Luma(_nPixelRow)[1].arr + _n);
    }
    // How much of the plate's chroma is gone: 1 less the part of the sample's along it, less what is across it.
    F32 AlphaOf(F32 _vecU, F32 _vecV, F32 _vecPlateU, F32 _vecPlateV, F32 _vecAcross) const
    {
        const F32 vecAlong = _vecU * _vecPlateU + _vecV * _vecPlateV;
        const F32 vecOff = Abs(_vecU * _vecPlateV - _vecV * _vecPlateU) * _vecAcross;
        const F32 vecTint = Max(_vecPlateU * _vecPlateU + _vecPlateV * _vecPlateV, m_job.fltLeastTint);
        return Min(Max(F32(1) - (vecAlong - vecOff) / vecTint, 0), 1);
    }
    // Samples less the plate, and alpha.
    void Differences(int _nRow, int _nFirst, int _nEnd, const CHROMA_STRIP* _pAbove, const CHROMA_STRIP* _pBelow,
                     float _fltBelow)
    {
        CHROMA_STRIP* const pSample = Row(_nRow).arrSample;
        const CHROMA_STRIP& across = (_fltBelow < .5f ? _pAbove : _pBelow)[3];
        const F32 vecBelow = _fltBelow;
        for (int n = Aligned(_nFirst, _nEnd); n < _nEnd; n += c_nLanes)
        {
            const auto Plate = [&](int _i) {
                const F32 vecAbove = S::LoadF32(_pAbove[_i].arr + n);
                return vecAbove + (S::LoadF32(_pBelow[_i].arr + n) - vecAbove) * vecBelow;
            };
            F32 vecLuma = LumaSum(_nRow * m_nDiv, n);
            if (m_nDiv == 2)
                vecLuma = vecLuma + LumaSum(_nRow * m_nDiv + 1, n);
            vecLuma = vecLuma * m_job.fltLumaSum;
            const F32 vecU = S::LoadF32(pSample[1].arr + n), vecV = S::LoadF32(pSample[2].arr + n);
            const F32 vecPlateU = Plate(1), vecPlateV = Plate(2);
            S::Store(pSample[0].arr + n, vecLuma);
            S::Store(m_strips.arrOff[0].arr + n, vecLuma - Plate(0));
            S::Store(m_strips.arrOff[1].arr + n, vecU - vecPlateU);
            S::Store(m_strips.arrOff[2].arr + n, vecV - vecPlateV);
            S::Store(m_strips.arrOff[3].arr + n, AlphaOf(vecU, vecV, vecPlateU, vecPlateV, S::LoadF32(across.arr + n)));
        }
    }
    void Sums(int _nRow, int _nFirst, int _nEnd)
    {
        CHROMA_STRIP* const pSums = Row(_nRow).arrSums;
        const int nAligned = Aligned(_nFirst, _nEnd);
        // Each column takes the one before it as well, so a vector must not begin with the first of a strip.
        for (int n = nAligned > 0 ? nAligned : _nFirst; n < _nEnd; n += c_nLanes)
        {
            const auto Off = [&](int _i, int _nAt) { return S::LoadF32(m_strips.arrOff[_i].arr + _nAt); };
            const F32 vecY0 = Off(0, n - 1), vecY1 = Off(0, n) + Off(0, n), vecY2 = Off(0, n + 1);
            const auto Weighted = [&](CHROMA_ROW::eSum _eSum, int _i) {
                const F32 vec = Off(_i, n);
                S::Store(pSums[_eSum].arr + n, Off(_i, n - 1) + (vec + vec) + Off(_i, n + 1));
            };
            const auto Product = [&](CHROMA_ROW::eSum _eSum, int _i) {
                S::Store(pSums[_eSum].arr + n, vecY0 * Off(_i, n - 1) + vecY1 * Off(_i, n) + vecY2 * Off(_i, n + 1));
            };
            S::Store(pSums[CHROMA_ROW::eY].arr + n, vecY0 + vecY1 + vecY2);
            Weighted(CHROMA_ROW::eU, 1);
            Weighted(CHROMA_ROW::eV, 2);
            Weighted(CHROMA_ROW::eAlpha, 3);
            Product(CHROMA_ROW::eYY, 0);
            Product(CHROMA_ROW::eYU, 1);
            Product(CHROMA_ROW::eYV, 2);
        }
    }
    void SampleRow(int _nRow, uint64_t _nCells)
    {
        const int nLast = m_job.nPlateHeight - 1;
        const float fltAt = (static_cast<float>(_nRow) + .5f) * static_cast<float>(m_nDiv) * .125f - .5f;
        const float fltY = fltAt < 0 ? 0 : fltAt < static_cast<float>(nLast) ? fltAt : static_cast<float>(nLast);
        const int nY = static_cast<int>(fltY);
        const CHROMA_STRIP* const pAbove = PlateRow(nY, _nCells);
        const CHROMA_STRIP* const pBelow = PlateRow(nY < nLast ? nY + 1 : nLast, _nCells);
        ForBitRuns(_nCells, [&](int _nFirst, int _nEnd) {
            Unpack(_nRow, Column(_nFirst) - 2, Column(_nEnd) + 2);
            Differences(_nRow, Column(_nFirst) - 2, Column(_nEnd) + 2, pAbove, pBelow, fltY - static_cast<float>(nY));
            Sums(_nRow, Column(_nFirst) - 1, Column(_nEnd) + 1);
        });
    }

    void Factors(int _nRow, int _nFirst, int _nEnd)
    {
        const CHROMA_STRIP* const pAbove = Row(_nRow - 1).arrSums;
        const CHROMA_STRIP* const pHere = Row(_nRow).arrSums;
        const CHROMA_STRIP* const pBelow = Row(_nRow + 1).arrSums;
        CHROMA_STRIP* const pFactor = Row(_nRow).arrFactor;
        const F32 vecLimit = m_job.fltFactor * c_fltMostFactor;
        for (int n = Aligned(_nFirst, _nEnd); n < _nEnd; n += c_nLanes)
        {
            const auto Sum = [&](CHROMA_ROW::eSum _eSum) {
                const F32 vec = S::LoadF32(pHere[_eSum].arr + n);
                return S::LoadF32(pAbove[_eSum].arr + n) + (vec + vec) + S::LoadF32(pBelow[_eSum].arr + n);
            };
            const F32 vecAlpha = Sum(CHROMA_ROW::eAlpha), vecY = Sum(CHROMA_ROW::eY);
            const F32 vecFree = Min(vecAlpha * (1 / 128.0f), 1 / 16.0f) * vecY; // the weights have the sum 16
            const F32 vecVariance = Max(Sum(CHROMA_ROW::eYY) - vecFree * vecY, 0) + m_job.fltFloor;
            const F32 vecShare = F32(m_job.fltFactor) / vecVariance;
            const auto Put = [&](int _i, CHROMA_ROW::eSum _eSum, CHROMA_ROW::eSum _eProduct) {
                const F32 vec = (Sum(_eProduct) - vecFree * Sum(_eSum)) * vecShare;
                S::Store(pFactor[_i].arr + n, Min(Max(vec, F32(0) - vecLimit), vecLimit));
            };
            Put(0, CHROMA_ROW::eU, CHROMA_ROW::eYU);
            Put(1, CHROMA_ROW::eV, CHROMA_ROW::eYV);
        }
    }
    void FactorRow(int _nRow, uint64_t _nCells)
    {
        ForBitRuns(_nCells, [&](int _nFirst, int _nEnd) { Factors(_nRow, Column(_nFirst) - 1, Column(_nEnd) + 1); });
    }

    // Samples and factors of a row of pixels between two rows of samples, three parts of the nearer one.
    void Between(int _nY, int _nFirst, int _nEnd)
    {
        const int nAbove = (_nY - 1) >> 1;
        const CHROMA_ROW& near = Row(_nY & 1 ? nAbove : nAbove + 1);
        const CHROMA_ROW& far = Row(_nY & 1 ? nAbove + 1 : nAbove);
        for (int n = Aligned(_nFirst, _nEnd); n < _nEnd; n += c_nLanes)
            for (int i = 0; i < 5; ++i)
            {
                const CHROMA_STRIP& stripNear = i < 3 ? near.arrSample[i] : near.arrFactor[i - 3];
                const CHROMA_STRIP& stripFar = i < 3 ? far.arrSample[i] : far.arrFactor[i - 3];
                S::Store(m_strips.arrBetween[i].arr + n,
                         S::LoadF32(stripNear.arr + n) * 3.0f + S::LoadF32(stripFar.arr + n));
            }
    }
    static I32 Level(F32 _vec)
    {
        return ToI32(Min(Max(_vec, 0), 255 * 64 + .5f));
    }
    // The pixels to one side of the samples' middles: blue and green in the halves of lanes, red and alpha.
    struct SIDE
    {
        I32 vecBG;
        I32 vecRA;
    };
    SIDE Side(const CHROMA_STRIP* const (&_arrFrom)[5], const float* _pLuma, int _n, int _nOther) const
    {
        const auto At = [&](int _i) {
            return S::LoadF32(_arrFrom[_i]->arr + _n) * 3.0f + S::LoadF32(_arrFrom[_i]->arr + _n + _nOther);
        };
        const F32 vecLuma = S::LoadF32(_pLuma + _n);
        const F32 vecDetail = vecLuma - At(0);
        const F32 vecU = At(1) + At(3) * vecDetail;
        const F32 vecV = At(2) + At(4) * vecDetail;
        const F32 vecGreen = vecLuma - (vecU * m_job.arrGreen[0] + vecV * m_job.arrGreen[1]);
        return {Level(vecLuma + vecU) | Level(vecGreen) << 16, Level(vecLuma + vecV) | (255 * 64) << 16};
    }
    // The same for pixels that have chroma of their own: where it is smooth it is kept.
    SIDE OwnSide(I32 _vecPixels, const CHROMA_STRIP* const (&_arrFrom)[5], const float* _pLuma, int _n,
                 int _nOther) const
    {
        if (!m_job.samples.bSmooth)
            return Side(_arrFrom, _pLuma, _n, _nOther);
        const auto At = [&](int _i) {
            return S::LoadF32(_arrFrom[_i]->arr + _n) * 3.0f + S::LoadF32(_arrFrom[_i]->arr + _n + _nOther);
        };
        const auto Own = [&](int _nShift) { return ToF32(_vecPixels >> _nShift & 0xFF) * 64.0f + .5f; };
        const F32 vecDetail = S::LoadF32(_pLuma + _n) - At(0);
        const F32 vecU = At(3) * vecDetail, vecV = At(4) * vecDetail;
        const F32 vecGreen = Own(8) - (vecU * m_job.arrGreen[0] + vecV * m_job.arrGreen[1]);
        return {Level(Own(0) + vecU) | Level(vecGreen) << 16, Level(Own(16) + vecV) | (255 * 64) << 16};
    }
    // The pixels of columns from _n on, of row _nY.
    void Sides(int _nY, int _n, const CHROMA_STRIP* const (&_arrFrom)[5], SIDE& _left, SIDE& _right)
    {
        const float* const pLeft = Luma(_nY)[0].arr;
        const float* const pRight = Luma(_nY)[1].arr;
        if constexpr (requires { Layout::c_bOwnChroma; })
        {
            const int nX = 2 * (2 * m_nCell0 - CHROMA_STRIP::c_nBefore + _n);
            const int nLeft = m_job.samples.nWidth - nX;
            const uint8_t* const p = m_job.samples.arrRow0[0] + _nY * m_job.samples.anStride[0] + ptrdiff_t{4} * nX;
            const auto Load = [&](int _nFrom) {
                const int nPixels = nLeft - _nFrom < 0 ? 0 : nLeft - _nFrom < c_nLanes ? nLeft - _nFrom : c_nLanes;
                return S::LoadI32(p + ptrdiff_t{4} * _nFrom, static_cast<size_t>(nPixels));
            };
            I32 vecLeft, vecRight;
            Deinterleave(Load(0), Load(c_nLanes), vecLeft, vecRight);
            _left = OwnSide(vecLeft, _arrFrom, pLeft, _n, -1);
            _right = OwnSide(vecRight, _arrFrom, pRight, _n, 1);
        }
        else
        {
            _left = Side(_arrFrom, pLeft, _n, -1);
            _right = Side(_arrFrom, pRight, _n, 1);
        }
    }
    void Pixels(int _nY, int _nFirst, int _nEnd, const CHROMA_STRIP* const (&_arrFrom)[5])
    {
        const int nBase = 2 * m_nCell0 - CHROMA_STRIP::c_nBefore;
        const int nWidth = m_job.samples.nWidth;
        uint16_t* const pRow = m_job.pDeep0 + (_nY - m_job.nDeepFirst) * m_job.nDeepStride;
        const ptrdiff_t nNext = _nY + 1 < m_job.samples.nHeight ? m_job.nDeepStride : 0;
        for (int n = _nFirst; n < _nEnd; n += c_nLanes)
        {
            SIDE left, right;
            Sides(_nY, n, _arrFrom, left, right);
            I32 vecBG[2], vecRA[2], vec[4];
            Interleave(left.vecBG, right.vecBG, vecBG[0], vecBG[1]);
            Interleave(left.vecRA, right.vecRA, vecRA[0], vecRA[1]);
            Interleave(vecBG[0], vecRA[0], vec[0], vec[1]);
            Interleave(vecBG[1], vecRA[1], vec[2], vec[3]);
            const int nX = 2 * (nBase + n);
            for (int k = 0; k < 16 * c_nLanes; k += 64)
                S::Prefetch(reinterpret_cast<const uint8_t*>(pRow + ptrdiff_t{4} * nX + nNext) + k);
            const int nEndX = 2 * (nBase + _nEnd) < nWidth ? 2 * (nBase + _nEnd) : nWidth;
            ChromaStorePixels<S>(pRow + ptrdiff_t{4} * nX, nEndX - nX, vec);
        }
    }
    void PixelRow(int _nY, uint64_t _nCells)
    {
        const CHROMA_ROW& row = Row(_nY);
        const CHROMA_STRIP* arrFrom[5];
        for (int i = 0; i < 5; ++i)
            arrFrom[i] = m_nDiv == 2 ? &m_strips.arrBetween[i] : i < 3 ? &row.arrSample[i] : &row.arrFactor[i - 3];
        ForBitRuns(_nCells, [&](int _nFirst, int _nEnd) {
            if (m_nDiv == 2)
                Between(_nY, Column(_nFirst) - 1, Column(_nEnd) + 1);
            Pixels(_nY, Column(_nFirst), Column(_nEnd), arrFrom);
        });
    }

    static constexpr float c_fltMostFactor = 3; // factors beyond are noise

    const CHROMA_JOB& m_job;
    Layout m_layout;
    int m_nDiv;
    int m_nLumaMask;
    int m_nCell0 = 0;
    CHROMA_PLATE_KNOWN m_arrKnown[2];
    // The strips begin with a line of the cache. Not by alignas, which stacks of Windows do not heed.
    uint8_t m_arrRoom[sizeof(CHROMA_STRIPS) + c_nChromaLine] = {};
    CHROMA_STRIPS& m_strips;
};
