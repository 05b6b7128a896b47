#include "ZChromaKey/Engine1/KeySlice.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace
{

/// The last that is done to a row of the mask.
void RowFinish(const KEY_JOB& _job, int _nRow) noexcept
{
    const bool bPost = _nRow < _job.nPostRows;
    if (bPost && _job.post.bInvert)
        _job.pPlanes->pfnInvert(_job.alpha.Row(_nRow), static_cast<size_t>(_job.alpha.nWidth));
    if (bPost && _job.bFill)
        _job.LeftOutFill(_nRow);
    if (_job.pixels.pRow0)
        _job.pixels.RowFinish(_job.alpha, _nRow, *_job.pPlanes);
}

/// Row _nRow will be keyed next. One that lies ready is answered, to be fetched block by block beside the keying of the
/// row before; any other is fetched from here.
const uint8_t* RowExpect(const KEY_JOB& _job, int _nRow) noexcept
{
    if (const uint8_t* const pRow = _job.reader.RowInPlace(_nRow))
        return pRow;
    _job.reader.RowExpect(_nRow);
    return nullptr;
}

/// What follows the keying of a row, while it is in the cache; rows that are smoothed first are finished after that.
void RowPost(const KEY_JOB& _job, int _nRow) noexcept
{
    const bool bPost = _nRow < _job.nPostRows;
    if (bPost && _job.post.HasLimits())
        _job.pPlanes->pfnThreshold(_job.alpha.Row(_nRow), static_cast<size_t>(_job.alpha.nWidth), _job.post.nMin,
                                   _job.post.nMax);
    if (!bPost || _job.post.nPasses == 0)
        RowFinish(_job, _nRow);
}

} // namespace

int KeyJob_SmoothSteps(const KEY_JOB& _job) noexcept
{
    return _job.nPostRows > 0 ? 2 * _job.post.nPasses : 0;
}

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
    for (CMaskSmoother& smoother : m_arrSmoothers)
        smoother.Reserve(_nWidth);
}

HRESULT CKeySlice::Process(const KEY_JOB& _job, int _nSlice, const std::atomic<bool>& _bGo) noexcept
{
    if (!RowsKey(_job, _nSlice, _bGo))
        return E_ABORT;
    return _job.plan.nKeying || _job.plan.bColorCancel ? S_OK : S_FALSE;
}

void CKeySlice::SmoothStep(const KEY_JOB& _job, int _nStep, int _nSlice) noexcept
{
    const int nFields = _job.post.bFields ? 2 : 1;
    for (int nField = 0; nField < nFields; ++nField)
    {
        const int nHeight = _job.nPostRows / nFields + (nField < _job.nPostRows % nFields);
        const MASK_PLANE plane = _job.alpha.Slice(nField, nFields, nHeight);
        const int nFirst = static_cast<int>(int64_t{nHeight} * _nSlice / _job.nRowStep);
        const int nEnd = static_cast<int>(int64_t{nHeight} * (_nSlice + 1) / _job.nRowStep);
        if (nFirst == nEnd)
            continue;
        if (_nStep % 2 == 0)
            m_arrSmoothers[nField].EdgesKeep(plane, nFirst, nEnd);
        else
            m_arrSmoothers[nField].Smooth(plane, nFirst, nEnd, *_job.pPlanes);
        for (int nRow = nFirst; nRow < nEnd && _nStep + 1 == KeyJob_SmoothSteps(_job); ++nRow)
            RowFinish(_job, nField + nRow * nFields);
    }
}

bool CKeySlice::RowsKey(const KEY_JOB& _job, int _nSlice, const std::atomic<bool>& _bGo) noexcept
{
    using CLOCK = std::chrono::steady_clock;
    const bool bTimed = ZLog_IsOn(eZLog_Verbose);
    const auto tpStart = bTimed ? CLOCK::now() : CLOCK::time_point();
    for (int i = 0; i < _job.nRows; ++i)
    {
        if (!_bGo.load(std::memory_order_relaxed))
            return false;
        const int nRow = _nSlice + i * _job.nRowStep;
        RowKey(_job, nRow, i + 1 < _job.nRows ? RowExpect(_job, nRow + _job.nRowStep) : nullptr);
        RowClean(_job, nRow);
        RowPost(_job, nRow);
    }
    for (int nRow = _nSlice + _job.nRows * _job.nRowStep; nRow < _job.alpha.nHeight; nRow += _job.nRowStep)
    {
        RowClean(_job, nRow); // the rows that the slices have left over
        RowPost(_job, nRow);
    }
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

void CKeySlice::RowKey(const KEY_JOB& _job, int _nRow, const uint8_t* _pExpect) noexcept
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
    const KEY_SET set = {_job.plan.arrKeying, _job.plan.nKeying, _job.plan.arrExclude, _job.plan.nExclude, _pExpect};
    // Later keys count in whole groups of 16 pixels only; the columns after them keep the first key's result.
    _job.pKernels->pfnKeySet(pAlpha, pPixels, nColumns, static_cast<size_t>(_job.nMergeColumns), set);
}

/// Comes after the keying, which needs the row as it was.
void CKeySlice::RowClean(const KEY_JOB& _job, int _nRow) noexcept
{
    if (_job.cancel.pRow0)
        _job.cancel.RowClean(_nRow, _job.cancelSet, *_job.pKernels, m_arrPixels.data());
}

void CKeyWork::Run(int _nPass, uint32_t _nWorker, const std::atomic<bool>& _bGo) noexcept
{
    CKeySlice& slice = arrSlices[_nWorker];
    const int nSlice = static_cast<int>(_nWorker);
    if (_nPass == 0)
        arrResults[_nWorker] = slice.Process(job, nSlice, _bGo);
    else if (_bGo)
        slice.SmoothStep(job, _nPass - 1, nSlice);
}
