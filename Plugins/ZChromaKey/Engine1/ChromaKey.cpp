#include "ZChromaKey/Engine1/ChromaKey.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "Base/ZHelpers.h"
#include "Image/ImgPlane.h"
#include "ZChromaKey/Engine1/Kernels/ColorCancelPrepare.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

HRESULT CChromaKey::ThreadsSet(uint32_t _nThreads)
{
    if (_nThreads == m_nThreads)
        return S_FALSE;
    m_pool.Stop();
    m_nThreads = std::clamp(_nThreads, 1u, c_nMaxFrameThreads);
    return S_OK;
}

HRESULT CChromaKey::ProcessFrame(const ZF_VID_PTR* _pInput, uint8_t* _pbAlpha1Ch, const ZF_VID_PROPS* _pInputProps,
                                 const CHROMA_KEY_RAW* _pChromaKey)
{
    if (!Z_VERIFY_TEXT(_pInput && _pInput->lpVideoPlanes[0] && _pbAlpha1Ch && _pInputProps && _pChromaKey,
                       "_pbInput && _pbAlpha1Ch && _pInputProps && _pChromaKey"))
        return E_POINTER;
    return ZBorder("CChromaKey::ProcessFrame", [&] {
        m_rawKey = *_pChromaKey;
        m_rawKey.nKeysUsed = std::clamp(m_rawKey.nKeysUsed, 0, Z_MAX_KEYS);
        m_bInterlaced = VidProps_FieldOrder(_pInputProps) != 0;
        if (!KeyType_HasSpace(m_rawKey.eType))
            return S_FALSE;
        if (const HRESULT hr = JobMake(*_pInput, _pbAlpha1Ch, *_pInputProps); FAILED(hr))
            return hr;
        if (m_bFill)
            LeftOutFill();
        return SlicesRun();
    });
}

HRESULT CChromaKey::JobMake(const ZF_VID_PTR& _vidInput, uint8_t* _pbAlpha1Ch, const ZF_VID_PROPS& _vidProps)
{
    if (!m_spWork)
        m_spWork = std::make_shared<CKeyWork>();
    KEY_JOB& job = m_spWork->job;
    if (const HRESULT hr = job.reader.Init(_vidProps, _vidInput, m_eMatrix); FAILED(hr))
        return hr;
    job.alpha = {_pbAlpha1Ch, VidProps_Mask(&_vidProps).nRowBytes, job.reader.Width(), job.reader.Height()};
    if (!Z_VERIFY(job.alpha.nStride >= job.alpha.nWidth))
        return E_INVALIDARG;
    const int nThreads = static_cast<int>(m_nThreads);
    const int64_t nStride = _vidInput.cbVideoRowBytes[0];
    // Pixels that are read where they lie have their own row step; converted ones have rows without padding.
    const int64_t nRowPixels = job.reader.IsInPlace() ? std::abs(nStride) / 4 : int64_t{job.alpha.nWidth};
    job.nColumns = KeySlice_Columns(job.alpha.nWidth, nThreads * nRowPixels);
    job.nMergeColumns = KeySlice_MergeColumns(job.alpha.nWidth, job.nColumns);
    job.nRowStep = nThreads;
    job.nRows = job.alpha.nHeight / nThreads; // the remainder at the bottom is not keyed

    job.eType = static_cast<eCK_Type>(m_rawKey.eType);
    job.eMatrix = job.reader.Matrix();
    job.plan = KeyPlan_Make(m_rawKey);
    job.pKernels = &KeyKernels();
    job.pPlanes = &PlaneKernels();
    job.bFill = m_bFill;
    job.post = MaskPost_Make(m_rawKey, m_bInterlaced || m_rawKey.nInterlacedVideo);
    job.nPostRows = job.post.IsNeeded() && (job.plan.nKeying || job.plan.bColorCancel) ? job.alpha.nHeight : 0;
    if (m_bInterlaced && nThreads == 2) // the slices are the fields
        job.nPostRows = std::min(job.nPostRows, 2 * job.nRows);

    uint8_t* const pRow0 = Img_Pointer(_vidInput.lpVideoPlanes[0]);
    job.cancel = {};
    if (m_bClean && job.plan.bColorCancel && CancelPlane_IsKnown(_vidProps.fccType))
    {
        job.cancel = CancelPlane_Make(_vidProps.fccType, job.alpha.nWidth, pRow0, static_cast<ptrdiff_t>(nStride));
        job.cancelSet = ColorCancel_Prepare(m_rawKey, job.eMatrix);
    }

    const bool bWords = FCC_Layout(_vidProps.fccType) == eIL_ARGB64;
    job.pixels = {FCC_HasAlpha(_vidProps.fccType) ? pRow0 : nullptr, static_cast<ptrdiff_t>(nStride), bWords,
                  m_bMultiply, m_bPremultiply};
    return S_OK;
}

void CChromaKey::LeftOutFill() const
{
    const KEY_JOB& job = m_spWork->job;
    for (int nRow = 0; nRow < job.alpha.nHeight; ++nRow)
        job.LeftOutFill(nRow);
}

HRESULT CChromaKey::SlicesRun()
{
    if (const HRESULT hr = m_pool.Prepare(m_nThreads); FAILED(hr))
        return hr;
    for (uint32_t i = 0; i < m_nThreads; ++i)
        m_spWork->arrSlices[i].Reserve(m_spWork->job.alpha.nWidth);
    if (const HRESULT hr = m_pool.Run(m_spWork, 1 + KeyJob_SmoothSteps(m_spWork->job)); FAILED(hr))
    {
        m_spWork.reset(); // a worker that hangs may still use it
        return hr;
    }
    // The first slice's failure, else the second slice's result; the others are of no account.
    const HRESULT hrFirst = m_spWork->arrResults[0];
    return FAILED(hrFirst) || m_nThreads < 2 ? hrFirst : m_spWork->arrResults[1];
}
