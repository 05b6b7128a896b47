#include "Video/ZFrameWriter.h"

#include "Base/ZBorder.h"
#include "Base/ZHelpers.h"
#include "Image/ImgPlane.h"
#include "Image/ImgPixel.h"
#include "Image/ImgRowReader.h"
#include "Video/ZConverter.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{
void WritePacked(const uint8_t* _pYUVA, int _nWidth, const Z_PAIR_BYTES& _pair, uint8_t* _pOut)
{
    for (int x = 0; x < _nWidth; x += 2, _pYUVA += 8, _pOut += 4)
    {
        const uint8_t* const pSecond = x + 1 < _nWidth ? _pYUVA + 4 : _pYUVA;
        _pOut[_pair.nY0] = _pYUVA[0];
        _pOut[_pair.nY1] = pSecond[0];
        _pOut[_pair.nU] = static_cast<uint8_t>((_pYUVA[1] + pSecond[1] + 1) / 2);
        _pOut[_pair.nV] = static_cast<uint8_t>((_pYUVA[2] + pSecond[2] + 1) / 2);
    }
}

// The samples of UYVY as 10-bit ones, three in a little-endian word, lowest bits first.
void Write_v210(const uint8_t* _pYUVA, int _nWidth, uint8_t* _pOut)
{
    std::vector<uint8_t> vecSamples(static_cast<size_t>(_nWidth) * 2 + 8);
    WritePacked(_pYUVA, _nWidth, Z_PairBytes(eIL_v210), vecSamples.data());
    const int64_t cbRow = Img_RowBytesUsed(eZFCC_v210, _nWidth);
    const uint8_t* pSample = vecSamples.data();
    for (int64_t nByte = 0; nByte < cbRow; nByte += 4, pSample += 3)
    {
        const uint32_t nWord = uint32_t{pSample[0]} << 2 | uint32_t{pSample[1]} << 12 | uint32_t{pSample[2]} << 22;
        for (int n = 0; n < 4; ++n)
            *_pOut++ = static_cast<uint8_t>(nWord >> (8 * n));
    }
}

void WriteRGB(eImgLayout _eLayout, const uint8_t* _pBGRA, int _nWidth, uint8_t* _pOut)
{
    for (int x = 0; x < _nWidth; ++x, _pBGRA += 4)
    {
        const uint32_t nB = _pBGRA[0], nG = _pBGRA[1], nR = _pBGRA[2];
        const uint32_t nWord_r210 = nR << 22 | nG << 12 | nB << 2;
        switch (_eLayout)
        {
        case eIL_RGB8:
            _pOut[x] = static_cast<uint8_t>((nR + 2 * nG + nB + 2) / 4);
            break;
        case eIL_RGB24:
            std::memcpy(_pOut + ptrdiff_t{x} * 3, _pBGRA, 3);
            break;
        case eIL_r210:
            for (int n = 0; n < 4; ++n)
                _pOut[ptrdiff_t{x} * 4 + n] = static_cast<uint8_t>(nWord_r210 >> (24 - 8 * n));
            break;
        case eIL_RGBA32:
            Img_SwapRedBlue(_pBGRA, 1, _pOut + ptrdiff_t{x} * 4);
            break;
        case eIL_ARGB64:
            Img_Widen(_pBGRA, 1, _pOut + ptrdiff_t{x} * 8);
            break;
        default:
            std::memcpy(_pOut + ptrdiff_t{x} * 4, _pBGRA, 4);
        }
    }
}

class CPictureWriter
{
public:
    CPictureWriter(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, const uint8_t* _pBGRA, ptrdiff_t _nStride)
        : m_vidProps(_vidProps)
        , m_vidPtr(_vidPtr)
        , m_pBGRA(_pBGRA)
        , m_nStride(_nStride)
        , m_nRows(static_cast<int>(std::abs(int64_t{_vidProps.nHeight})))
        , m_eMatrix(Img_MatrixOf(_vidProps))
        , m_vecYUVA(static_cast<size_t>(_vidProps.nWidth) * 4)
    {
    }

    void Write()
    {
        const bool bTurn = !ZConvert_IsTopFirst(m_vidProps, m_vidPtr);
        for (int nRow = 0; nRow < m_nRows; ++nRow)
            WriteRow(bTurn ? m_nRows - 1 - nRow : nRow, Img_RowOf(m_vidPtr, 0, nRow));
        if (FCC_IsPlanar(m_vidProps.fccType))
            WriteChroma();
    }

private:
    const uint8_t* SourceRow(int _nRow) const
    {
        return m_pBGRA + _nRow * m_nStride;
    }
    const uint8_t* YuvRow(int _nRow)
    {
        Img_RowToYUV(SourceRow(_nRow), m_vecYUVA.data(), m_vidProps.nWidth, m_eMatrix);
        return m_vecYUVA.data();
    }

    void WriteRow(int _nRow, uint8_t* _pOut)
    {
        const int nWidth = m_vidProps.nWidth;
        const eImgLayout eLayout = FCC_Layout(m_vidProps.fccType);
        if (FCC_IsRGB(m_vidProps.fccType))
            return WriteRGB(eLayout, SourceRow(_nRow), nWidth, _pOut);
        const uint8_t* const pYUVA = YuvRow(_nRow);
        if (Z_IsPairs(eLayout))
            return WritePacked(pYUVA, nWidth, Z_PairBytes(eLayout), _pOut);
        if (eLayout == eIL_v210)
            return Write_v210(pYUVA, nWidth, _pOut);
        for (int x = 0; x < nWidth; ++x)
            PutSample(_pOut, x, pYUVA[ptrdiff_t{x} * 4]);
    }

    // Sample _n of a row of a plane; ten bits are four times the eight.
    void PutSample(uint8_t* _pRow, ptrdiff_t _n, int _nLevel) const
    {
        const ptrdiff_t nBytes = FCC_SampleBytes(m_vidProps.fccType);
        _pRow[_n * nBytes] = 0;
        _pRow[_n * nBytes + nBytes - 1] = static_cast<uint8_t>(_nLevel);
    }

    // Adds what the pixels of one row give to each chroma sample of a row.
    void AddRow(int _nRow, int _nSamples)
    {
        const uint8_t* pYUVA = YuvRow(_nRow);
        for (int n = 0; n < _nSamples; ++n, pYUVA += 8)
        {
            m_vecSumU[n] += pYUVA[1] + pYUVA[5];
            m_vecSumV[n] += pYUVA[2] + pYUVA[6];
        }
    }

    void WriteChroma()
    {
        const eZChroma eChroma = FCC_Chroma(m_vidProps.fccType);
        const bool bInTurns = eChroma == eZCh_Turns;
        const bool bVFirst = eChroma == eZCh_VU;
        const ZF_SIZE& szChroma = m_vidPtr.szVideoPlanes[1];
        const int nSamples = std::min(bInTurns ? szChroma.cx / 2 : szChroma.cx, m_vidProps.nWidth / 2);
        const int nStep = bInTurns ? 2 : 1;
        for (int nRow = 0; nRow < szChroma.cy && nSamples > 0; ++nRow)
        {
            const int nPixels = SumChromaRow(nRow, nSamples);
            uint8_t* const pU = Img_RowOf(m_vidPtr, bVFirst ? 2 : 1, nRow);
            uint8_t* const pV =
                bInTurns ? pU + FCC_SampleBytes(m_vidProps.fccType) : Img_RowOf(m_vidPtr, bVFirst ? 1 : 2, nRow);
            for (int n = 0; n < nSamples; ++n)
            {
                PutSample(pU, ptrdiff_t{n} * nStep, (m_vecSumU[n] + nPixels / 2) / nPixels);
                PutSample(pV, ptrdiff_t{n} * nStep, (m_vecSumV[n] + nPixels / 2) / nPixels);
            }
        }
    }

    // Sums the pixels that share each sample of a chroma row, and answers how many they are.
    int SumChromaRow(int _nChromaRow, int _nSamples)
    {
        m_vecSumU.assign(static_cast<size_t>(_nSamples), 0);
        m_vecSumV.assign(static_cast<size_t>(_nSamples), 0);
        const bool bHalfHeight = m_vidPtr.szVideoPlanes[1].cy < m_nRows;
        const bool bFields = bHalfHeight && VidProps_FieldOrder(&m_vidProps) != 0;
        const int nFirst = !bHalfHeight ? _nChromaRow
                           : bFields    ? _nChromaRow / 2 * 4 + _nChromaRow % 2
                                        : _nChromaRow * 2;
        const int nSecond = nFirst + (bFields ? 2 : 1);
        AddRow(nFirst, _nSamples);
        if (!bHalfHeight || nSecond >= m_nRows)
            return 2;
        AddRow(nSecond, _nSamples);
        return 4;
    }

    const ZF_VID_PROPS& m_vidProps;
    const ZF_VID_PTR& m_vidPtr;
    const uint8_t* m_pBGRA;
    ptrdiff_t m_nStride;
    int m_nRows;
    eZYMatrix m_eMatrix;
    std::vector<uint8_t> m_vecYUVA;
    std::vector<int> m_vecSumU;
    std::vector<int> m_vecSumV;
};
} // namespace

HRESULT ZFrameWriter_Write(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, const uint8_t* _pBGRA,
                           ptrdiff_t _nStride)
{
    if (!_pBGRA)
        return E_POINTER;
    return ZBorder("ZFrameWriter_Write", [&] {
        CImgRowReader reader; // it refuses the planes that cannot be written either
        const HRESULT hr = reader.Init(_vidProps, _vidPtr);
        if (SUCCEEDED(hr))
            CPictureWriter(_vidProps, _vidPtr, _pBGRA, _nStride).Write();
        return hr;
    });
}
