#include "ZChromaKey/Engine2/UnmixWork.h"

#include "Base/ZBorder.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "Image/ImgPlane.h"
#include "ZChromaKey/Engine2/Cells.h"
#include "ZChromaKey/Engine2/Output.h"

#include <algorithm>
#include <cstdlib>

/// Whether the result takes all pixels as they are.
bool CUnmixWork::IsWhole() const
{
    return m_job.bWrite && FCC_HasAlpha(m_job.result.vidProps.fccType);
}

/// Whether it takes clean colours in the format of the input.
bool CUnmixWork::IsCleaned() const
{
    return m_job.bWrite && !IsWhole();
}

void CUnmixWork::Begin(const ENGINE_JOB& _job, const UNMIX_SETUP& _setup)
{
    m_job = _job;
    m_setup = _setup;
    m_nMaskStride = VidProps_Mask(&_job.result.vidProps).nRowBytes;
    const uint32_t fccType = _job.result.vidProps.fccType;
    if (IsWhole())
    {
        m_result = {Img_RowOf(_job.result.vidPtr, 0, 0), _job.result.vidPtr.cbVideoRowBytes[0],
                    fccType == eZFCC_ARGB64};
        return;
    }
    const bool bWords = _job.bWrite && CUnmixClean::WantsWords(fccType);
    const ptrdiff_t cbRow = ptrdiff_t{bWords ? 8 : 4} * _job.source.vidProps.nWidth;
    m_vecResult.resize(static_cast<size_t>(cbRow) * static_cast<size_t>(std::abs(_job.source.vidProps.nHeight)));
    m_result = {m_vecResult.data(), cbRow, bWords};
    m_setup.params.eView = eUV_Result; // the mask is to stay one
}

void CUnmixWork::Begin(const UNMIX_CELL_INPUT& _cells, const UNMIX_SETUP& _setup)
{
    m_cells = _cells;
    m_setup = _setup;
    // A worker that hangs must not read what the caller has let go of.
    const size_t cbRow = size_t{16} * static_cast<size_t>((_cells.vidProps.nWidth + c_nCell - 1) / c_nCell);
    const int nRows = Cells_InputRows(_cells.vidProps).All();
    m_vecCells.resize(cbRow * static_cast<size_t>(nRows));
    for (int y = 0; y < nRows; ++y)
        std::copy_n(_cells.pRow0 + y * _cells.nStride, cbRow, m_vecCells.data() + static_cast<size_t>(y) * cbRow);
    m_cells.pRow0 = m_vecCells.data();
    m_cells.nStride = static_cast<ptrdiff_t>(cbRow);
}

void CUnmixWork::Next(eUnmixTask _eTask, uint32_t _nWorkers)
{
    m_eTask = _eTask;
    m_runner.Begin(_nWorkers);
}

void CUnmixWork::Run(int /*_nPass*/, uint32_t _nWorker, const std::atomic<bool>& /*_bGo*/) noexcept
{
    if (_nWorker > 0)
        return m_runner.Serve(_nWorker);
    m_hr = ZBorder("CUnmixEngine::Process", [this] { return Key(); });
    m_runner.End();
}

HRESULT CUnmixWork::Key()
{
    if (m_eTask == eUT_Cells)
        return Unmix_LearnCells(state, m_setup, m_cells, m_runner);
    if (m_eTask == eUT_Learn || m_eTask == eUT_Open)
        return Learn();
    return Write();
}

HRESULT CUnmixWork::Learn()
{
    const HRESULT hr = Unmix_Learn(state, m_setup, Input(), m_runner);
    const bool bDeep = m_eTask == eUT_Open || IsCleaned(); // clean colours are compared with what samples say
    return SUCCEEDED(hr) ? Unmix_Open(state, Input(), m_runner, bDeep ? eUO_Deep : eUO_Bytes, &m_picture) : hr;
}

HRESULT CUnmixWork::Write()
{
    const auto Rows = [this](int _nFirst, int _nRows) {
        for (int y = _nFirst; y < _nFirst + _nRows; ++y)
            FinishRow(y);
    };
    const CRowPass taker(Rows);
    UNMIX_RESULT result = m_result;
    result.pTaker = &taker;
    result.bKeepDeep = IsCleaned();
    const HRESULT hr = m_eTask == eUT_Frame
                           ? Unmix_Frame(state, m_setup, Input(), result, m_runner)
                           : Unmix_Write(state, Input(), result, m_runner, m_eTask == eUT_Write ? eUW_All : eUW_Finish);
    return hr == S_OK && IsCleaned() ? Clean() : hr;
}

/// The clean colours in the format of the input.
HRESULT CUnmixWork::Clean()
{
    CUnmixClean clean;
    const HRESULT hr =
        clean.Init(state, Input(), {m_job.result.vidProps, m_job.result.vidPtr, m_job.eMatrix}, m_result);
    if (FAILED(hr))
        return hr == E_NOTIMPL ? S_OK : hr; // grey has no colours
    const auto Groups = [&](int _nFirst, int _nGroups) { clean.Pass(_nFirst, _nGroups); };
    m_runner.Run(clean.Groups(), c_nPassPart, CRowPass(Groups));
    return S_OK;
}

/// Puts a row of the result into the forms that the job asks for: its alpha as the mask, its colours premultiplied, its
/// bytes in the order of the format.
void CUnmixWork::FinishRow(int _nRow) const
{
    const ZF_VID_PROPS& vidProps = m_job.result.vidProps;
    Output_Mask(m_result, _nRow, vidProps.nWidth, m_job.pbMask + m_nMaskStride * _nRow,
                _nRow + 1 < std::abs(vidProps.nHeight) ? m_nMaskStride : 0);
    if (m_job.bPremultiply && FCC_HasAlpha(vidProps.fccType))
        Output_Premultiply(m_result, _nRow, vidProps.nWidth);
    if (m_job.bWrite && vidProps.fccType == eZFCC_RGBA32)
        Output_Swap(m_result, _nRow, vidProps.nWidth);
}
