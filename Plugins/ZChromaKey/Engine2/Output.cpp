#include "ZChromaKey/Engine2/Output.h"

#include "Base/ZPixelFormats.h"
#include "Image/ImgAlpha.h"
#include "Image/ImgPixel.h"
#include "Image/ImgPlane.h"
#include "ZChromaKey/Engine2/Edges.h"
#include "ZChromaKey/Engine2/Kernels/UnmixKernels.h"

#include <algorithm>
#include <cstdlib>

void Output_Mask(const UNMIX_RESULT& _result, int _nRow, int _nWidth, uint8_t* _pMask, ptrdiff_t _nNext)
{
    if (_result.bWords)
    {
        const uint16_t* const pWords = _result.Words(_nRow);
        for (int x = 0; x < _nWidth; ++x)
            _pMask[x] = Img_From16Bit(pWords[4 * x + 3]);
        return;
    }
    UnmixKernels().pfnMask({_result.Bytes(_nRow), _pMask, _nWidth, _nNext});
}

void Output_Premultiply(const UNMIX_RESULT& _result, int _nRow, int _nWidth)
{
    if (_result.bWords)
        Img_RowPremultiply(_result.Words(_nRow), _nWidth);
    else
        Img_RowPremultiply(_result.Bytes(_nRow), _nWidth);
}

void Output_Swap(const UNMIX_RESULT& _result, int _nRow, int _nWidth)
{
    Img_SwapRedBlue(_result.Bytes(_nRow), _nWidth, _result.Bytes(_nRow));
}

bool CUnmixClean::WantsWords(uint32_t _fccType)
{
    const eImgLayout eLayout = FCC_Layout(_fccType);
    return eLayout == eIL_v210 || eLayout == eIL_r210 || eLayout == eIL_P010;
}

HRESULT CUnmixClean::Init(UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_INPUT& _target,
                          const UNMIX_RESULT& _result)
{
    m_pState = &_state;
    m_result = _result;
    m_nWidth = _input.vidProps.nWidth;
    m_nHeight = std::abs(_input.vidProps.nHeight);
    if (const HRESULT hr = m_reader.Init(_input.vidProps, _input.vidPtr, _input.eMatrix); FAILED(hr))
        return hr;
    _state.rooms.Make(size_t{4} * IMG_PATCH::c_nHeight * static_cast<size_t>(m_nWidth));
    const UNMIX_SAMPLES samples = Chroma_Samples(_input.vidProps, _input.vidPtr, eZYM_601);
    for (int n = 0; n < _state.nFields; ++n)
        m_arrDeep[n] = Chroma_Field(samples, n, _state.nFields).eLayout != UNMIX_SAMPLES::eNone;
    m_bDeepSolid = samples.IsDeep();
    return m_patcher.Init(_target.vidProps, _target.vidPtr, _target.eMatrix.value_or(Img_MatrixOf(_target.vidProps)));
}

void CUnmixClean::Pass(int _nFirst, int _nGroups) const
{
    const CPassRooms::ROOM room(m_pState->rooms);
    for (int nGroup = _nFirst; nGroup < _nFirst + _nGroups; ++nGroup)
        PassGroup(nGroup, room.Bytes());
}

void CUnmixClean::PassGroup(int _nGroup, uint8_t* _pRoom) const
{
    static_assert(IMG_PATCH::c_nHeight == c_nCell);
    const int nFirst = _nGroup * IMG_PATCH::c_nHeight, nRows = std::min(IMG_PATCH::c_nHeight, m_nHeight - nFirst);
    const uint8_t* arrRows[IMG_PATCH::c_nHeight] = {};
    for (int n = 0; n < nRows; ++n)
        if (!IsRowUnseen(nFirst + n))
            arrRows[n] = m_reader.Row(nFirst + n, _pRoom + ptrdiff_t{4} * m_nWidth * n);
    for (int x = 0; x < m_nWidth; x += IMG_PATCH::c_nWidth)
    {
        IMG_PATCH patch = {x, nFirst, nullptr, m_result.nStride, m_result.bWords, {}};
        patch.pPixels = m_result.Bytes(nFirst) + ptrdiff_t{m_result.bWords ? 8 : 4} * x;
        const int nPixels = std::min(IMG_PATCH::c_nWidth, m_nWidth - x);
        uint64_t nAny = 0;
        for (int n = 0; n < nRows; ++n)
            nAny |= patch.arrChanged[n] = Changed(arrRows[n], x, nFirst + n, nPixels);
        if (nAny != 0)
            m_patcher.Put(patch);
    }
}

/// The pixels of a row whose colour is new, from column _nX, a multiple of 64. _pRow: as the 8-bit reader gives it,
/// null where all of it is unseen.
uint64_t CUnmixClean::Changed(const uint8_t* _pRow, int _nX, int _nY, int _nPixels) const
{
    if (IsUnseen(_nX, _nY, _nPixels))
        return 0;
    const ptrdiff_t nAt = ptrdiff_t{m_nWidth} * _nY + _nX;
    CHANGED_RUN run = {m_result.Bytes(_nY) + ptrdiff_t{m_result.bWords ? 8 : 4} * _nX, m_result.bWords,
                       _pRow + ptrdiff_t{4} * _nX, nullptr, _nPixels};
    uint64_t nChanged = 0;
    m_pState->pKernels->pfnChanged(run, nChanged);
    const uint64_t nDeep = Deep(_nX, _nY);
    if (nDeep == 0)
        return nChanged;
    uint64_t nDeepChanged = 0;
    run.pDeep = m_pState->vecDeep.data() + 4 * nAt;
    m_pState->pKernels->pfnChanged(run, nDeepChanged);
    return (nChanged & ~nDeep) | (nDeepChanged & nDeep);
}

/// The cells of a row, as the field's passes left them, from the cell of a pixel on: 16 bits.
uint64_t CUnmixClean::CellsAt(const CBitRows& _bits, int _nX, int _nY) const
{
    const int nX = _nX / c_nCell;
    return _bits.Row(_nY / m_pState->nFields / c_nCell)[nX >> 6] >> (nX & 63) & 0xFFFF;
}

/// Whether the pixels are all of the backdrop, where nothing is seen but shadows and edges that were moved outwards.
bool CUnmixClean::IsUnseen(int _nX, int _nY, int _nPixels) const
{
    const uint64_t nBackdrop = CellsAt(m_pState->arrFields[_nY % m_pState->nFields].bitsBackdrop, _nX, _nY);
    const uint64_t nAll = (uint64_t{1} << (_nPixels + c_nCell - 1) / c_nCell) - 1;
    return (nBackdrop & nAll) == nAll && m_pState->setup.params.fltShadows == 0 && !Edges_Wanted(*m_pState);
}

bool CUnmixClean::IsRowUnseen(int _nY) const
{
    bool bUnseen = true;
    for (int x = 0; x < m_nWidth && bUnseen; x += IMG_PATCH::c_nWidth)
        bUnseen = IsUnseen(x, _nY, std::min(IMG_PATCH::c_nWidth, m_nWidth - x));
    return bUnseen;
}

/// The pixels of 64 that were read from the planes, not by the 8-bit reader: those of whole cells.
uint64_t CUnmixClean::Deep(int _nX, int _nY) const
{
    const int nField = _nY % m_pState->nFields;
    if (!m_arrDeep[nField])
        return 0;
    const FIELD_STATE& field = m_pState->arrFields[nField];
    const uint64_t nCells =
        CellsAt(field.bitsMixed, _nX, _nY) | (m_bDeepSolid ? CellsAt(field.bitsSolid, _nX, _nY) : 0);
    uint64_t nPixels = 0;
    for (int n = 0; n < 16; ++n)
        nPixels |= (nCells >> n & 1) * uint64_t{15} << 4 * n;
    return nPixels;
}
