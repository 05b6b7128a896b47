#pragma once

#include "ZChromaKey/Work/Kernels/PlaneKernels.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// An 8-bit plane, or every n-th row of one.
struct MASK_PLANE
{
    uint8_t* pRow0;
    ptrdiff_t nStride; ///< bytes from row to row
    int nWidth;
    int nHeight;

    uint8_t* Row(int _nRow) const
    {
        return pRow0 + _nRow * nStride;
    }
    /// Rows _nFirst, _nFirst + _nStep ... of this plane, _nRows of them.
    MASK_PLANE Slice(int _nFirst, int _nStep, int _nRows) const
    {
        return {Row(_nFirst), nStride * _nStep, nWidth, _nRows};
    }
};

/// What is done to a finished mask, in this order: thresholds, smoothing, inversion.
struct MASK_POST
{
    uint8_t nMin; ///< values below become 0
    uint8_t nMax; ///< else values above become 255
    int nPasses;  ///< smoothing passes, 0 to 10
    bool bFields; ///< smooth within the fields, rows 0, 2, 4 ... and 1, 3, 5 ...
    bool bInvert;

    bool HasLimits() const
    {
        return nMin > 0 || nMax < 255;
    }

    bool IsNeeded() const
    {
        return HasLimits() || nPasses > 0 || bInvert;
    }
};

/// Smooths some rows of a mask in place, beside others that smooth its other rows. Each pass takes two steps, and none
/// begins one before all have done the step before. Keeps three rows of memory between frames.
class CMaskSmoother
{
public:
    /// Takes the memory for planes of this width, so that smoothing does not allocate.
    void Reserve(int _nWidth);
    /// The first step: keeps the rows around the rows _nFirst to _nEnd - 1 as they are. There is at least one.
    void EdgesKeep(const MASK_PLANE& _plane, int _nFirst, int _nEnd) noexcept;
    /// The second step: one pass over these rows.
    void Smooth(const MASK_PLANE& _plane, int _nFirst, int _nEnd, const PLANE_KERNELS& _kernels) noexcept;

private:
    std::vector<uint8_t> m_arrAbove; // rows as they were: above the one being written, that one, and below the last
    std::vector<uint8_t> m_arrRow;
    std::vector<uint8_t> m_arrBelow;
};
