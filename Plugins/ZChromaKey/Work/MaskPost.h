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

    bool IsNeeded() const
    {
        return nMin > 0 || nMax < 255 || nPasses > 0 || bInvert;
    }
};

/// Runs the post-processing in place, row by row. Keeps two rows of memory between frames.
class CMaskPost
{
public:
    /// Takes the memory that Run needs, so that it does not allocate.
    void Reserve(int _nWidth);
    /// Not for planes wider than was reserved.
    void Run(const MASK_PLANE& _plane, const MASK_POST& _post, const PLANE_KERNELS& _kernels) noexcept;

private:
    void Smooth(const MASK_PLANE& _plane, int _nPasses, const PLANE_KERNELS& _kernels) noexcept;
    void SmoothPass(const MASK_PLANE& _plane, const PLANE_KERNELS& _kernels) noexcept;

    std::vector<uint8_t> m_arrRows[2]; // rows above and at the one being written, as they were
};
