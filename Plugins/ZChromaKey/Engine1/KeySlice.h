#pragma once

#include "Image/ImgRowReader.h"
#include "ZChromaKey/Engine1/AlphaPlane.h"
#include "ZChromaKey/Engine1/CancelPlane.h"
#include "ZChromaKey/Engine1/KeyPlan.h"
#include "ZChromaKey/Work/MaskPost.h"
#include "ZChromaKey/Work/RowPool.h"

#include <array>
#include <atomic>
#include <cstring>
#include <vector>

/// What the workers need to key their slices of a frame. All by value but for the pixels.
struct KEY_JOB
{
    CImgRowReader reader; ///< the picture
    MASK_PLANE alpha;     ///< the mask of the whole frame
    ALPHA_PLANE pixels;   ///< where the finished mask goes as well
    eCK_Type eType;       ///< RGB, HLS or YUV
    eZYMatrix eMatrix;
    int nColumns;      ///< columns that are keyed
    int nMergeColumns; ///< columns in which a second key counts
    int nRowStep;      ///< slice i has the rows i, i + nRowStep ..., nRows of them
    int nRows;
    MASK_POST post;
    int nPostRows; ///< rows that the post-processing takes in, from the top; 0: none
    KEY_PLAN plan;
    CANCEL_PLANE cancel;  ///< the picture whose colours the slice cleans, rows that are not keyed included
    CANCEL_SET cancelSet; ///< with what
    const KEY_KERNELS* pKernels;
    const PLANE_KERNELS* pPlanes;
    bool bFill; ///< what is not keyed is opaque, whatever is done to the mask

    /// Makes opaque what is not keyed of a row.
    void LeftOutFill(int _nRow) const
    {
        const int nFirst = _nRow < nRows * nRowStep ? nColumns : 0;
        std::memset(alpha.Row(_nRow) + nFirst, 255, static_cast<size_t>(alpha.nWidth - nFirst));
    }
};

/// The steps of smoothing that follow the keying, two a pass; every worker takes its share of the rows in each.
int KeyJob_SmoothSteps(const KEY_JOB& _job) noexcept;

/// The columns that the keying takes in: whole groups of 8 pixels of the width rounded up to 4, but not more than the
/// row step in pixels; none of a picture less than 8 wide.
int KeySlice_Columns(int _nWidth, int64_t _nRowStepPixels) noexcept;
/// The columns in which keys are merged: whole groups of 16 pixels.
int KeySlice_MergeColumns(int _nWidth, int _nColumns) noexcept;

/// Keys one slice, a row at a time: every row is converted into a buffer that stays in the cache, and keyed there for
/// all keys, so no picture-sized memory is needed. The buffers are kept between frames.
class CKeySlice
{
public:
    /// Takes the memory that the frame needs, so that nothing allocates later.
    void Reserve(int _nWidth);
    /// S_OK; S_FALSE: no key that keys and no colour cancel, the slice was set to 255; E_ABORT: _bGo became false.
    HRESULT Process(const KEY_JOB& _job, int _nSlice, const std::atomic<bool>& _bGo) noexcept;
    /// One step of smoothing, of the share that slice _nSlice has of the rows: as many in a row as it has keyed.
    void SmoothStep(const KEY_JOB& _job, int _nStep, int _nSlice) noexcept;

private:
    bool RowsKey(const KEY_JOB& _job, int _nSlice, const std::atomic<bool>& _bGo) noexcept;
    void RowKey(const KEY_JOB& _job, int _nRow, const uint8_t* _pExpect) noexcept;
    void RowClean(const KEY_JOB& _job, int _nRow) noexcept;
    const uint8_t* RowConvert(const KEY_JOB& _job, int _nRow) noexcept;

    std::vector<uint8_t> m_arrPixels;
    CMaskSmoother m_arrSmoothers[2]; // of the whole mask, or of its fields
};

/// The keying of one frame: a pass in which each worker keys one slice, then the steps of smoothing.
class CKeyWork final : public CRowWork
{
public:
    void Run(int _nPass, uint32_t _nWorker, const std::atomic<bool>& _bGo) noexcept override;

    KEY_JOB job = {};
    std::array<CKeySlice, c_nMaxFrameThreads> arrSlices;
    std::array<HRESULT, c_nMaxFrameThreads> arrResults = {}; ///< of CKeySlice::Process
};
