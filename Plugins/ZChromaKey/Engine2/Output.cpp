#include "ZChromaKey/Engine2/Output.h"

#include "Base/ZPixelFormats.h"
#include "Image/ImgPixel.h"
#include "Image/ImgPlane.h"
#include "ZChromaKey/Engine2/Kernels/UnmixKernels.h"

#include <algorithm>
#include <cstdlib>

namespace
{

/// Opaque: the greatest value of a channel. An odd divisor has no ties, and the products fit 32 bits.
template <uint32_t Opaque, class T> void PremultiplyRow(T* _pRow, int _nWidth)
{
    for (T* p = _pRow; p < _pRow + ptrdiff_t{4} * _nWidth; p += 4)
        for (int n = 0; n < 3; ++n)
            p[n] = static_cast<T>((uint32_t{p[n]} * p[3] + Opaque / 2) / Opaque);
}

} // namespace

void Output_Mask(const UNMIX_RESULT& _result, int _nRow, int _nWidth, uint8_t* _pMask)
{
    if (_result.bWords)
    {
        const uint16_t* const pWords = _result.Words(_nRow);
        for (int x = 0; x < _nWidth; ++x)
            _pMask[x] = Img_From16Bit(pWords[4 * x + 3]);
        return;
    }
    UnmixKernels().pfnMask({_result.Bytes(_nRow), _pMask, _nWidth});
}

void Output_Premultiply(const UNMIX_RESULT& _result, int _nRow, int _nWidth)
{
    if (_result.bWords)
        PremultiplyRow<65535>(_result.Words(_nRow), _nWidth);
    else
        PremultiplyRow<255>(_result.Bytes(_nRow), _nWidth);
}

bool CUnmixClean::WantsWords(uint32_t _fccType)
{
    const eImgLayout eLayout = FCC_Layout(_fccType);
    return eLayout == eIL_v210 || eLayout == eIL_r210;
}

HRESULT CUnmixClean::Init(const UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_INPUT& _target,
                          const UNMIX_RESULT& _result)
{
    m_pState = &_state;
    m_result = _result;
    m_nWidth = _input.vidProps.nWidth;
    m_nHeight = std::abs(_input.vidProps.nHeight);
    const bool bInPlace = FCC_Layout(_input.vidProps.fccType) == eIL_RGB32;
    m_pRow0 = bInPlace ? Img_RowOf(_input.vidPtr, 0, 0) : _state.vecPicture.data();
    m_nStride = bInPlace ? ptrdiff_t{_input.vidPtr.cbVideoRowBytes[0]} : ptrdiff_t{4} * m_nWidth;
    const UNMIX_SAMPLES samples = Chroma_Samples(_input.vidProps, _input.vidPtr, eZYM_601);
    for (int n = 0; n < _state.nFields; ++n)
        m_arrDeep[n] = Chroma_Field(samples, n, _state.nFields).eLayout != UNMIX_SAMPLES::eNone;
    m_bDeepSolid = samples.IsDeep();
    return m_patcher.Init(_target.vidProps, _target.vidPtr, _target.eMatrix.value_or(Img_MatrixOf(_target.vidProps)));
}

void CUnmixClean::Pass(int _nFirst, int _nGroups) const
{
    for (int nGroup = _nFirst; nGroup < _nFirst + _nGroups; ++nGroup)
        for (int x = 0; x < m_nWidth; x += IMG_PATCH::c_nWidth)
        {
            IMG_PATCH patch = {x, nGroup * IMG_PATCH::c_nHeight, nullptr, m_result.nStride, m_result.bWords, {}};
            patch.pPixels = m_result.Bytes(patch.nY) + ptrdiff_t{m_result.bWords ? 8 : 4} * x;
            const int nPixels = std::min(IMG_PATCH::c_nWidth, m_nWidth - x);
            uint64_t nAny = 0;
            for (int nRow = 0; nRow < std::min(IMG_PATCH::c_nHeight, m_nHeight - patch.nY); ++nRow)
                nAny |= patch.arrChanged[nRow] = Changed(x, patch.nY + nRow, nPixels);
            if (nAny != 0)
                m_patcher.Put(patch);
        }
}

/// The pixels of a row whose colour is new, from column _nX, the first one of a cell.
uint64_t CUnmixClean::Changed(int _nX, int _nY, int _nPixels) const
{
    uint64_t nChanged = 0;
    for (int nCell = 0; nCell < _nPixels; nCell += c_nCell)
    {
        const bool bDeep = IsDeep(_nX + nCell, _nY);
        for (int n = nCell; n < std::min(nCell + c_nCell, _nPixels); ++n)
        {
            const ptrdiff_t nAt = ptrdiff_t{4} * (_nX + n);
            const bool bNew = m_result.bWords ? IsNew(m_result.Words(_nY) + nAt, _nX + n, _nY, bDeep)
                                              : IsNew(m_result.Bytes(_nY) + nAt, _nX + n, _nY, bDeep);
            nChanged |= uint64_t{bNew} << n;
        }
    }
    return nChanged;
}

/// Whether the pixels of a cell were read from the planes, not by the 8-bit reader.
bool CUnmixClean::IsDeep(int _nX, int _nY) const
{
    const int nField = _nY % m_pState->nFields;
    const FIELD_STATE& field = m_pState->arrFields[nField];
    const int nX = _nX / c_nCell;
    const int nY = _nY / m_pState->nFields / c_nCell;
    return m_arrDeep[nField] && (field.bitsMixed.Get(nX, nY) || (m_bDeepSolid && field.bitsSolid.Get(nX, nY)));
}

template <class T> bool CUnmixClean::IsNew(const T* _pResult, int _nX, int _nY, bool _bDeep) const
{
    constexpr bool c_bWords = sizeof(T) == 2;
    constexpr int c_nStep = c_bWords ? 65 : 1; // of 10 bits, or 8
    if (_pResult[3] == 0)
        return false; // there is nothing to be seen
    for (int n = 0; n < 3; ++n)
    {
        int nSource = 0;
        if (_bDeep)
        {
            const int nDeep = m_pState->vecDeep[size_t{4} * (static_cast<size_t>(_nY) * m_nWidth + _nX) + n];
            nSource = c_bWords ? (nDeep * 257 + 32) / 64 : (nDeep + 32) / 64;
        }
        else
            nSource = m_pRow0[_nY * m_nStride + 4 * _nX + n] * (c_bWords ? 257 : 1);
        if (std::abs(_pResult[n] - nSource) > c_nStep)
            return true;
    }
    return false;
}
