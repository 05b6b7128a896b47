#include "Image/ImgPatch.h"

#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "Image/ImgPlane.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

/// A colour of 16 bits a channel.
struct CImgPatcher::COLOUR
{
    uint64_t nB;
    uint64_t nG;
    uint64_t nR;
    uint64_t nA;

    static COLOUR Of(const IMG_PATCH& _patch, int _nX, int _nY)
    {
        const uint8_t* const pRow = static_cast<const uint8_t*>(_patch.pPixels) + (_nY - _patch.nY) * _patch.nStride;
        const ptrdiff_t nAt = ptrdiff_t{4} * (_nX - _patch.nX);
        if (_patch.bWords)
        {
            const auto* const p = reinterpret_cast<const uint16_t*>(pRow) + nAt;
            return {p[0], p[1], p[2], p[3]};
        }
        const uint8_t* const p = pRow + nAt;
        return {p[0] * 257u, p[1] * 257u, p[2] * 257u, p[3] * 257u};
    }
    /// 34 bits at the most for the four pixels that share chroma.
    void AddWeighted(const COLOUR& _colour)
    {
        nB += _colour.nB * _colour.nA;
        nG += _colour.nG * _colour.nA;
        nR += _colour.nR * _colour.nA;
        nA += _colour.nA;
    }
    COLOUR Mean() const
    {
        return {(nB + nA / 2) / nA, (nG + nA / 2) / nA, (nR + nA / 2) / nA, 0};
    }
};

/// The rows of a block that share a row of chroma samples.
struct CImgPatcher::SHARERS
{
    int arrRows[2];
    int nRows;
    int nChromaRow;
};

namespace
{

/// Sample _n of a row of v210: three in a little-endian word, the first in the lowest bits.
void PutSample_v210(uint8_t* _pRow, int _n, int _nValue)
{
    uint8_t* const p = _pRow + ptrdiff_t{4} * (_n / 3);
    const int nShift = 10 * (_n % 3);
    uint32_t nWord = uint32_t{p[3]} << 24 | uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0];
    nWord = (nWord & ~(uint32_t{0x3FF} << nShift)) | static_cast<uint32_t>(_nValue) << nShift;
    for (int n = 0; n < 4; ++n)
        p[n] = static_cast<uint8_t>(nWord >> (8 * n));
}

/// A sample in the ten high bits of a little-endian word.
void PutSample_P010(uint8_t* _pWord, int _nValue)
{
    _pWord[0] = static_cast<uint8_t>(_nValue << 6);
    _pWord[1] = static_cast<uint8_t>(_nValue >> 2);
}

/// A channel in steps of a 1 / _nSteps level, rounded to nearest.
uint32_t Level(uint64_t _nChannel, uint32_t _nSteps)
{
    return (static_cast<uint32_t>(_nChannel) * _nSteps + 128) / 257;
}

} // namespace

HRESULT CImgPatcher::Init(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, eZYMatrix _eMatrix)
{
    *this = {};
    const eImgLayout eLayout = FCC_Layout(_vidProps.fccType);
    if (eLayout == eIL_None || eLayout == eIL_RGB8 || FCC_HasAlpha(_vidProps.fccType))
        return E_NOTIMPL;
    m_bRGB = FCC_IsRGB(_vidProps.fccType);
    m_eLayout = eLayout;
    m_pair = Z_PairBytes(eLayout);
    m_nWidth = _vidProps.nWidth;
    m_nHeight = std::abs(_vidProps.nHeight);
    m_nSteps = eLayout == eIL_v210 || eLayout == eIL_r210 || eLayout == eIL_P010 ? 4 : 1;
    m_pCoef = &Img_CoefToYUV(_eMatrix);
    const eZChroma eChroma = FCC_Chroma(_vidProps.fccType);
    const bool bInTurns = eChroma == eZCh_Turns;
    for (int nPlane = 0; nPlane < 3; ++nPlane)
    {
        const int nFrom = eChroma == eZCh_VU && nPlane > 0 ? 3 - nPlane : bInTurns && nPlane == 2 ? 1 : nPlane;
        m_arrRow0[nPlane] = Img_RowOf(_vidPtr, nFrom, 0); // null in formats without that plane
        m_anStride[nPlane] = _vidPtr.cbVideoRowBytes[nFrom];
    }
    if (eChroma == eZCh_Packed)
        return S_OK;
    if (bInTurns && m_arrRow0[2])
        m_arrRow0[2] += FCC_SampleBytes(_vidProps.fccType);
    const ZF_SIZE& szChroma = _vidPtr.szVideoPlanes[1];
    m_nChroma = std::min(bInTurns ? szChroma.cx / 2 : szChroma.cx, (m_nWidth + 1) / 2);
    m_nChromaRows = szChroma.cy;
    m_nSharing = FCC_Subsampling(_vidProps.fccType, 1).cy;
    m_nApart = m_nSharing > 1 && VidProps_FieldOrder(&_vidProps) != 0 ? 2 : 1;
    return S_OK;
}

void CImgPatcher::Put(const IMG_PATCH& _patch) const
{
    const int nRows = std::min(IMG_PATCH::c_nHeight, m_nHeight - _patch.nY);
    if (m_bRGB)
    {
        for (int nRow = 0; nRow < nRows; ++nRow)
            PutRGB(_patch, nRow);
        return;
    }
    if (m_nSharing == 1)
    {
        for (int nRow = 0; nRow < nRows; ++nRow)
            PutShared(_patch, {{nRow, 0}, 1, _patch.nY + nRow});
        return;
    }
    for (int n = 0; n < 2; ++n) // rows 0, 1 and 2, 3; with fields 0, 2 and 1, 3
    {
        const int nFirst = m_nApart == 2 ? n : 2 * n;
        if (nFirst < nRows)
            PutShared(_patch, {{nFirst, nFirst + m_nApart}, nFirst + m_nApart < nRows ? 2 : 1, _patch.nY / 2 + n});
    }
}

void CImgPatcher::PutRGB(const IMG_PATCH& _patch, int _nRow) const
{
    const ptrdiff_t cbPixel = m_eLayout == eIL_RGB24 ? 3 : 4;
    uint8_t* const pRow = Row(0, _patch.nY + _nRow) + cbPixel * _patch.nX;
    for (uint64_t nLeft = _patch.arrChanged[_nRow]; nLeft != 0; nLeft &= nLeft - 1)
    {
        const int n = std::countr_zero(nLeft);
        PutPixelRGB(pRow + cbPixel * n, COLOUR::Of(_patch, _patch.nX + n, _patch.nY + _nRow));
    }
}

void CImgPatcher::PutPixelRGB(uint8_t* _pPixel, const COLOUR& _colour) const
{
    if (m_eLayout != eIL_r210)
    {
        _pPixel[0] = static_cast<uint8_t>(Level(_colour.nB, 1));
        _pPixel[1] = static_cast<uint8_t>(Level(_colour.nG, 1));
        _pPixel[2] = static_cast<uint8_t>(Level(_colour.nR, 1));
        return;
    }
    const uint32_t nWord = Level(_colour.nR, 4) << 20 | Level(_colour.nG, 4) << 10 | Level(_colour.nB, 4);
    _pPixel[0] = static_cast<uint8_t>((_pPixel[0] & 0xC0) | nWord >> 24); // two bits that are not used
    for (int n = 1; n < 4; ++n)
        _pPixel[n] = static_cast<uint8_t>(nWord >> (24 - 8 * n));
}

void CImgPatcher::PutShared(const IMG_PATCH& _patch, const SHARERS& _sharers) const
{
    const uint64_t nFirst = _patch.arrChanged[_sharers.arrRows[0]];
    const uint64_t nSecond = _sharers.nRows > 1 ? _patch.arrChanged[_sharers.arrRows[1]] : 0;
    for (int n = 0; n < IMG_PATCH::c_nWidth; n += 2)
    {
        if (((nFirst | nSecond) >> n & 3) == 0)
            continue;
        COLOUR sum = {};
        for (int nRow = 0; nRow < _sharers.nRows; ++nRow)
            for (int x = _patch.nX + n; x < std::min(_patch.nX + n + 2, m_nWidth); ++x)
            {
                const int y = _patch.nY + _sharers.arrRows[nRow];
                const COLOUR colour = COLOUR::Of(_patch, x, y);
                if ((nRow == 0 ? nFirst : nSecond) >> (x - _patch.nX) & 1)
                    PutLuma(x, y, colour);
                sum.AddWeighted(colour);
            }
        if (sum.nA > 0)
            PutChroma((_patch.nX + n) / 2, _sharers.nChromaRow, sum.Mean());
    }
}

void CImgPatcher::PutLuma(int _nX, int _nY, const COLOUR& _colour) const
{
    const int nLuma = Sample(m_pCoef->anY, m_pCoef->nBlack, _colour);
    uint8_t* const pRow = Row(0, _nY);
    if (m_eLayout == eIL_v210)
        PutSample_v210(pRow, 2 * _nX + 1, nLuma);
    else if (Z_IsPairs(m_eLayout))
        pRow[ptrdiff_t{4} * (_nX / 2) + (_nX % 2 ? m_pair.nY1 : m_pair.nY0)] = static_cast<uint8_t>(nLuma);
    else if (m_eLayout == eIL_P010)
        PutSample_P010(pRow + ptrdiff_t{2} * _nX, nLuma);
    else
        pRow[_nX] = static_cast<uint8_t>(nLuma);
}

void CImgPatcher::PutChroma(int _nPair, int _nChromaRow, const COLOUR& _colour) const
{
    const int nU = Sample(m_pCoef->anU, 128, _colour);
    const int nV = Sample(m_pCoef->anV, 128, _colour);
    if (m_eLayout == eIL_v210)
    {
        PutSample_v210(Row(0, _nChromaRow), 4 * _nPair, nU);
        PutSample_v210(Row(0, _nChromaRow), 4 * _nPair + 2, nV);
    }
    else if (Z_IsPairs(m_eLayout))
    {
        uint8_t* const pUnit = Row(0, _nChromaRow) + ptrdiff_t{4} * _nPair;
        pUnit[m_pair.nU] = static_cast<uint8_t>(nU);
        pUnit[m_pair.nV] = static_cast<uint8_t>(nV);
    }
    else if (_nPair >= m_nChroma || _nChromaRow >= m_nChromaRows)
        return;
    else if (m_eLayout == eIL_P010)
    {
        PutSample_P010(Row(1, _nChromaRow) + ptrdiff_t{4} * _nPair, nU);
        PutSample_P010(Row(2, _nChromaRow) + ptrdiff_t{4} * _nPair, nV);
    }
    else
    {
        const ptrdiff_t nAt = ptrdiff_t{_nPair} * (m_eLayout == eIL_NV12 ? 2 : 1);
        Row(1, _nChromaRow)[nAt] = static_cast<uint8_t>(nU);
        Row(2, _nChromaRow)[nAt] = static_cast<uint8_t>(nV);
    }
}

/// A row of the matrix, and what is added to it, in levels: coefficients are 32768ths, channels 257ths of a level.
int CImgPatcher::Sample(const int16_t* _pnCoef, int _nOffset, const COLOUR& _colour) const
{
    constexpr int64_t c_nLevel = int64_t{32768} * 257;
    const int64_t nSum = _pnCoef[0] * static_cast<int64_t>(_colour.nB) + _pnCoef[1] * static_cast<int64_t>(_colour.nG) +
                         _pnCoef[2] * static_cast<int64_t>(_colour.nR);
    return static_cast<int>(((nSum + _nOffset * c_nLevel) * m_nSteps + c_nLevel / 2) / c_nLevel);
}
