#include "ZChromaKey/Engine1/KeySlice.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <chrono>
#include <cstring>

int KeySlice_Columns(int _nWidth, int64_t _nRowStepPixels) noexcept
{
    if (_nWidth < 8)
        return 0;
    const int64_t nProcessed = std::min((int64_t{_nWidth} + 3) / 4 * 4, _nRowStepPixels);
    return static_cast<int>(std::min<int64_t>(nProcessed / 8 * 8, _nWidth));
}

int KeySlice_MergeColumns(int _nWidth, int _nColumns) noexcept
{
    return std::min(_nWidth / 16 * 16, _nColumns);
}

void CKeySlice::Reserve(int _nWidth)
{
    const auto nWidth = static_cast<size_t>(_nWidth);
    if (m_arrPixels.size() < 4 * nWidth)
        m_arrPixels.resize(4 * nWidth);
    m_maskPost.Reserve(_nWidth);
}

HRESULT CKeySlice::Process(const KEY_JOB& _job, int _nSlice, const std::atomic<bool>& _bGo) noexcept
{
    const bool bNothing = !_job.plan.nKeying && !_job.plan.bColorCancel;
    const bool bPost = _job.bPost && _job.post.IsNeeded() && !bNothing;
    if (!RowsKey(_job, _nSlice, _bGo, bPost ? ARGB_PLANE{} : _job.argb))
        return E_ABORT;
    if (bPost)
    {
        m_maskPost.Run(_job.alpha.Slice(_nSlice, _job.nRowStep, _job.nRows), _job.post, *_job.pPlanes);
        for (int nRow = _nSlice; nRow < _job.nRows * _job.nRowStep; nRow += _job.nRowStep)
        {
            if (_job.bFill)
                _job.ColumnsFill(nRow);
            if (_job.argb.pRow0)
                _job.argb.AlphaSet(_job.alpha, nRow, *_job.pPlanes);
        }
    }
    return bNothing ? S_FALSE : S_OK;
}

bool CKeySlice::RowsKey(const KEY_JOB& _job, int _nSlice, const std::atomic<bool>& _bGo,
                        const ARGB_PLANE& _argb) noexcept
{
    using CLOCK = std::chrono::steady_clock;
    const bool bTimed = ZLog_IsOn(eZLog_Verbose);
    const auto tpStart = bTimed ? CLOCK::now() : CLOCK::time_point();
    for (int i = 0; i < _job.nRows; ++i)
    {
        if (!_bGo.load(std::memory_order_relaxed))
            return false;
        const int nRow = _nSlice + i * _job.nRowStep;
        if (i + 1 < _job.nRows)
            _job.reader.RowExpect(nRow + _job.nRowStep);
        RowKey(_job, nRow);
        RowClean(_job, nRow);
        if (_argb.pRow0)
            _argb.AlphaSet(_job.alpha, nRow, *_job.pPlanes);
    }
    for (int nRow = _nSlice + _job.nRows * _job.nRowStep; nRow < _job.alpha.nHeight; nRow += _job.nRowStep)
        RowClean(_job, nRow);
    if (bTimed)
        ZLog(eZLog_Verbose, "[MMXGetAlphaCenter_AC4C1 + Min (%d keys)] %.3f ms\n", _job.plan.nKeying,
             std::chrono::duration<double, std::milli>(CLOCK::now() - tpStart).count());
    return true;
}

const uint8_t* CKeySlice::RowConvert(const KEY_JOB& _job, int _nRow) noexcept
{
    uint8_t* const pScratch = m_arrPixels.data();
    const uint8_t* const pBGRA = _job.reader.Row(_nRow, pScratch);
    if (_job.eType == eCKT_RGB)
        return pBGRA;
    if (_job.eType == eCKT_HLS)
        Img_RowToHLS(pBGRA, pScratch, _job.nColumns);
    else
        Img_RowToYUV(pBGRA, pScratch, _job.nColumns, _job.eMatrix);
    return pScratch;
}

void CKeySlice::RowKey(const KEY_JOB& _job, int _nRow) noexcept
{
    uint8_t* const pAlpha = _job.alpha.Row(_nRow);
    const auto nColumns = static_cast<size_t>(_job.nColumns);
    if (_job.plan.nKeying == 0)
    {
        std::memset(pAlpha, 255, static_cast<size_t>(_job.alpha.nWidth));
        return;
    }
    if (nColumns == 0)
        return;
    const uint8_t* const pPixels = RowConvert(_job, _nRow);
    const KEY_SET set = {_job.plan.arrKeying, _job.plan.nKeying, _job.plan.arrExclude, _job.plan.nExclude};
    // Later keys count in whole groups of 16 pixels only; the columns after them keep the first key's result.
    _job.pKernels->pfnKeySet(pAlpha, pPixels, nColumns, static_cast<size_t>(_job.nMergeColumns), set);
}

/// Comes after the keying, which needs the row as it was.
void CKeySlice::RowClean(const KEY_JOB& _job, int _nRow) noexcept
{
    if (_job.cancel.pRow0)
        _job.cancel.RowClean(_nRow, _job.cancelSet, *_job.pKernels, m_arrPixels.data());
}

void CKeyWork::Run(int /*_nPass*/, uint32_t _nWorker, const std::atomic<bool>& _bGo) noexcept
{
    arrResults[_nWorker] = arrSlices[_nWorker].Process(job, static_cast<int>(_nWorker), _bGo);
}
