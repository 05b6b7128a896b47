#include "Image/ImgRowReader.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Image/ImgPlane.h"

#include <algorithm>
#include <cstdlib>

namespace
{
// Longer rows would drive from the cache what is worked on.
constexpr int64_t c_cbMaxExpect = 32768;

// Wider rows would not fit the 32-bit sizes that callers work with.
constexpr int c_nMaxWidth = 1 << 26;

// Bytes that a kernel touches in a row of plane 0; whole units of two pixels, whole words in v210.
int64_t BytesUsed(eImgLayout _eLayout, int64_t _nWidth)
{
    switch (_eLayout)
    {
    case eIL_RGB24:
        return 3 * _nWidth;
    case eIL_RGB32:
    case eIL_ARGB32:
    case eIL_RGBA32:
    case eIL_r210:
        return 4 * _nWidth;
    case eIL_ARGB64:
        return 8 * _nWidth;
    case eIL_P010:
        return 2 * _nWidth;
    case eIL_v210:
        return _nWidth / 6 * 16 + (2 * (_nWidth % 6) + _nWidth % 2 + 2) / 3 * 4;
    case eIL_YUYV:
    case eIL_UYVY:
    case eIL_YVYU:
        return (_nWidth + 1) / 2 * 4;
    default:
        return _nWidth;
    }
}

HRESULT CheckPlane(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, int _nPlane, int64_t _cbRow,
                   int64_t _nRows)
{
    const int64_t nStride = _vidPtr.cbVideoRowBytes[_nPlane];
    if (_vidPtr.lpVideoPlanes[_nPlane] && (_nRows < 2 || std::abs(nStride) >= _cbRow))
        return S_OK;
    ZLog(eZLog_Error,
         "CImgRowReader::Init: plane %d of %dx%d, format %hs: address 0x%I64X, stride %I64d, %I64d bytes a row; give "
         "the planes that belong to the record\n",
         _nPlane, _vidProps.nWidth, _vidProps.nHeight, FCC_Name(_vidProps.fccType), _vidPtr.lpVideoPlanes[_nPlane],
         nStride, _cbRow);
    return E_INVALIDARG;
}
} // namespace

bool Img_IsReadable(uint32_t _fccType)
{
    return FCC_Layout(_fccType) != eIL_None;
}

int64_t Img_RowBytesUsed(uint32_t _fccType, int32_t _nWidth)
{
    const eImgLayout eLayout = FCC_Layout(_fccType);
    return eLayout != eIL_None && _nWidth > 0 ? BytesUsed(eLayout, _nWidth) : 0;
}

HRESULT CImgRowReader::Init(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, std::optional<eZYMatrix> _eMatrix)
{
    *this = {};
    const eImgLayout eLayout = FCC_Layout(_vidProps.fccType);
    if (eLayout == eIL_None)
        return E_NOTIMPL;
    const int64_t nHeight = std::abs(int64_t{_vidProps.nHeight});
    const ZF_SIZE& szPicture = _vidPtr.szVideoPlanes[0];
    if (_vidProps.nWidth < 1 || _vidProps.nWidth > c_nMaxWidth || nHeight < 1 || nHeight > INT32_MAX ||
        szPicture.cx < _vidProps.nWidth || szPicture.cy < nHeight)
    {
        ZLog(eZLog_Error, "CImgRowReader::Init: a record of %dx%d with planes of %dx%d has no picture to read\n",
             _vidProps.nWidth, _vidProps.nHeight, szPicture.cx, szPicture.cy);
        return E_INVALIDARG;
    }
    m_nHeight = static_cast<int>(nHeight);
    m_eLayout = eLayout;
    m_nChromaDiv = FCC_Subsampling(_vidProps.fccType, 1).cy;
    m_eMatrix = _eMatrix ? *_eMatrix : Img_MatrixOf(_vidProps);
    m_vidRow.nWidth = _vidProps.nWidth;
    m_vidRow.pCoeff = &Img_CoefFromYUV(m_eMatrix);
    const HRESULT hr = InitPlanes(_vidProps, _vidPtr);
    if (FAILED(hr))
        return hr;
    m_bFields = m_nChromaDiv > 1 && VidProps_FieldOrder(&_vidProps) != 0;
    m_cbExpect = static_cast<size_t>(std::min(BytesUsed(eLayout, _vidProps.nWidth), c_cbMaxExpect));
    m_bInPlace = eLayout == eIL_RGB32 || eLayout == eIL_ARGB32;
    m_pfnRead = ImgKernels().apfnRead[eLayout];
    return S_OK;
}

HRESULT CImgRowReader::InitPlanes(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr)
{
    const eZChroma eChroma = FCC_Chroma(_vidProps.fccType);
    HRESULT hr =
        CheckPlane(_vidProps, _vidPtr, 0, BytesUsed(FCC_Layout(_vidProps.fccType), _vidProps.nWidth), m_nHeight);
    m_vidRow.pPlane0 = Img_RowOf(_vidPtr, 0, 0);
    m_anStride[0] = _vidPtr.cbVideoRowBytes[0];
    if (FAILED(hr) || eChroma == eZCh_Packed)
        return hr;

    const bool bInTurns = eChroma == eZCh_Turns;
    const ZF_SIZE& szChroma = _vidPtr.szVideoPlanes[1];
    m_nChromaRows = std::min(szChroma.cy, (m_nHeight - 1) / m_nChromaDiv + 1);
    m_vidRow.nChroma = std::min(bInTurns ? szChroma.cx / 2 : szChroma.cx, (_vidProps.nWidth + 1) / 2);
    if (m_nChromaRows < 1 || m_vidRow.nChroma < 1) // a picture too small for chroma
    {
        m_nChromaRows = m_vidRow.nChroma = 0;
        return S_OK;
    }
    const int nBytes = FCC_SampleBytes(_vidProps.fccType);
    m_nChromaStep = nBytes * (bInTurns ? 2 : 1);
    for (int nPlane = 1; nPlane <= (bInTurns ? 1 : 2) && SUCCEEDED(hr); ++nPlane)
        hr = CheckPlane(_vidProps, _vidPtr, nPlane, int64_t{m_vidRow.nChroma} * m_nChromaStep, m_nChromaRows);
    if (FAILED(hr))
        return hr;
    const int nU = eChroma == eZCh_VU ? 2 : 1;
    const int nV = bInTurns ? 1 : 3 - nU;
    m_vidRow.pU = Img_RowOf(_vidPtr, nU, 0);
    m_vidRow.pV = Img_RowOf(_vidPtr, nV, 0) + (bInTurns ? nBytes : 0);
    m_anStride[1] = _vidPtr.cbVideoRowBytes[nU];
    m_anStride[2] = _vidPtr.cbVideoRowBytes[nV];
    return S_OK;
}

// Fields of 4:2:0 are subsampled each on its own: rows y and y + 2 share a chroma row, and field f has the chroma rows
// f, f + 2, f + 4 ...
int CImgRowReader::ChromaRow(int _nRow) const
{
    if (!m_bFields)
        return std::min(_nRow / m_nChromaDiv, m_nChromaRows - 1);
    const int nField = _nRow & 1;
    const int nLastOfField = m_nChromaRows - 1 - ((m_nChromaRows - 1 - nField) & 1);
    return std::min(_nRow / 4 * 2 + nField, std::max(nLastOfField, 0));
}

void CImgRowReader::ReadRow(int _nRow, uint8_t* _pBGRA, int _nNext) const
{
    ReadSpan(_nRow, 0, m_vidRow.nWidth, _pBGRA, _nNext);
}

void CImgRowReader::ReadSpan(int _nRow, int _nFirst, int _nPixels, uint8_t* _pBGRA, int _nNext) const
{
    IMG_ROW row = RowAt(_nRow);
    SkipPixels(row, _nFirst);
    row.nWidth = _nPixels;
    row.nNext = (_nNext - _nRow) * m_anStride[0];
    if (row.nChroma > 0)
        row.nNextChroma = (ChromaRow(_nNext) - ChromaRow(_nRow)) * m_anStride[1];
    m_pfnRead(row, _pBGRA);
}

// At least one sample of chroma is left, for the last one serves all pixels that have none.
void CImgRowReader::SkipPixels(IMG_ROW& _row, int _nPixels) const
{
    _row.pPlane0 += BytesUsed(m_eLayout, _nPixels);
    if (_row.nChroma == 0)
        return;
    const int nSamples = std::min(_nPixels / 2, _row.nChroma - 1);
    _row.nChroma -= nSamples;
    _row.pU += ptrdiff_t{nSamples} * m_nChromaStep;
    _row.pV += ptrdiff_t{nSamples} * m_nChromaStep;
}

IMG_ROW CImgRowReader::RowAt(int _nRow) const
{
    IMG_ROW row = m_vidRow;
    row.pPlane0 += _nRow * m_anStride[0];
    if (row.nChroma > 0)
    {
        const int64_t nChromaRow = ChromaRow(_nRow);
        row.pU += nChromaRow * m_anStride[1];
        row.pV += nChromaRow * m_anStride[2];
    }
    return row;
}
