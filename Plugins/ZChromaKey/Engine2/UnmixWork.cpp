#include "ZChromaKey/Engine2/UnmixWork.h"

#include "Base/ZBorder.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "Image/ImgPlane.h"
#include "ZChromaKey/Engine2/Output.h"

#include <cstdlib>

void CUnmixWork::Begin(const ENGINE_JOB& _job, const UNMIX_SETUP& _setup, uint32_t _nWorkers)
{
    m_job = _job;
    m_setup = _setup;
    m_runner.Begin(_nWorkers);
}

void CUnmixWork::Run(int /*_nPass*/, uint32_t _nWorker, const std::atomic<bool>& /*_bGo*/) noexcept
{
    if (_nWorker > 0)
        return m_runner.Serve();
    m_hr = ZBorder("CUnmixEngine::Process", [this] { return Key(); });
    m_runner.End();
}

HRESULT CUnmixWork::Key()
{
    const ptrdiff_t nWidth = m_job.source.vidProps.nWidth;
    const int32_t nHeight = std::abs(m_job.source.vidProps.nHeight);
    UNMIX_RESULT result;
    const uint32_t fccType = m_job.result.vidProps.fccType;
    const bool bWhole = m_job.bWrite && FCC_HasAlpha(fccType);
    if (bWhole)
        result = {Img_RowOf(m_job.result.vidPtr, 0, 0), m_job.result.vidPtr.cbVideoRowBytes[0],
                  fccType == eZFCC_ARGB64};
    else
    {
        const bool bWords = m_job.bWrite && CUnmixClean::WantsWords(fccType);
        const ptrdiff_t cbRow = (bWords ? 8 : 4) * nWidth;
        m_vecResult.resize(static_cast<size_t>(cbRow) * static_cast<size_t>(nHeight));
        result = {m_vecResult.data(), cbRow, bWords};
        m_setup.params.eView = eUV_Result; // the mask is to stay one
    }
    const HRESULT hr =
        Unmix_Frame(state, m_setup, {m_job.source.vidProps, m_job.source.vidPtr, m_job.eMatrix}, result, m_runner);
    if (SUCCEEDED(hr))
        Finish(result);
    return hr == S_OK && m_job.bWrite && !bWhole ? Clean(result) : hr;
}

/// The clean colours in the format of the input.
HRESULT CUnmixWork::Clean(const UNMIX_RESULT& _result)
{
    constexpr int c_nGroupsPerPart = 8;
    CUnmixClean clean;
    const HRESULT hr = clean.Init(state, {m_job.source.vidProps, m_job.source.vidPtr, m_job.eMatrix},
                                  {m_job.result.vidProps, m_job.result.vidPtr, m_job.eMatrix}, _result);
    if (FAILED(hr))
        return hr == E_NOTIMPL ? S_OK : hr; // grey has no colours
    const auto Groups = [&](int _nFirst, int _nGroups) { clean.Pass(_nFirst, _nGroups); };
    m_runner.Run(clean.Groups(), c_nGroupsPerPart, CRowPass(Groups));
    return S_OK;
}

/// Puts the result into the forms that the job asks for: its alpha as the mask, its colours premultiplied, its bytes in
/// the order of the format.
void CUnmixWork::Finish(const UNMIX_RESULT& _result)
{
    constexpr int c_nRowsPerPart = 32;
    const int32_t nWidth = m_job.result.vidProps.nWidth;
    const int32_t nStride = VidProps_Mask(&m_job.result.vidProps).nRowBytes;
    const bool bPremultiply = m_job.bPremultiply && FCC_HasAlpha(m_job.result.vidProps.fccType);
    const bool bSwap = m_job.bWrite && m_job.result.vidProps.fccType == eZFCC_RGBA32;
    const auto Rows = [&](int _nFirst, int _nRows) {
        for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        {
            Output_Mask(_result, y, nWidth, m_job.pbMask + ptrdiff_t{nStride} * y);
            if (bPremultiply)
                Output_Premultiply(_result, y, nWidth);
            if (bSwap)
                Output_Swap(_result, y, nWidth);
        }
    };
    m_runner.Run(std::abs(m_job.result.vidProps.nHeight), c_nRowsPerPart, CRowPass(Rows));
}
