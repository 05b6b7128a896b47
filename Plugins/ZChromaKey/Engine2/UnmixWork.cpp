#include "ZChromaKey/Engine2/UnmixWork.h"

#include "Base/ZBorder.h"
#include "Base/ZVideoProps.h"
#include "Image/ImgPlane.h"

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
    if (m_job.bWrite && m_job.result.vidProps.fccType == eZFCC_ARGB32)
        result = {Img_RowOf(m_job.result.vidPtr, 0, 0), m_job.result.vidPtr.cbVideoRowBytes[0], false};
    else
    {
        m_vecResult.resize(static_cast<size_t>(4 * nWidth) * static_cast<size_t>(nHeight));
        result = {m_vecResult.data(), 4 * nWidth, false};
        m_setup.params.eView = eUV_Result; // only the mask gets out, and it is to stay one
    }
    const HRESULT hr =
        Unmix_Frame(state, m_setup, {m_job.source.vidProps, m_job.source.vidPtr, m_job.eMatrix}, result, m_runner);
    if (SUCCEEDED(hr))
        MaskWrite(result);
    return hr;
}

/// The alpha of the result as the mask.
void CUnmixWork::MaskWrite(const UNMIX_RESULT& _result)
{
    constexpr int c_nRowsPerPart = 32;
    const int32_t nWidth = m_job.result.vidProps.nWidth;
    const int32_t nStride = VidProps_Mask(&m_job.result.vidProps).nRowBytes;
    const auto Write = [&](int _nFirst, int _nRows) {
        for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        {
            const uint8_t* const pPixel = _result.Bytes(y);
            uint8_t* const pMask = m_job.pbMask + ptrdiff_t{nStride} * y;
            for (int32_t x = 0; x < nWidth; ++x)
                pMask[x] = pPixel[4 * x + 3];
        }
    };
    m_runner.Run(std::abs(m_job.result.vidProps.nHeight), c_nRowsPerPart, CRowPass(Write));
}
