#pragma once

#include "Interfaces/ZVideoTypes.h"
#include "ZChromaKey/Engine1/Kernels/KeyKernels.h"

#include <cstddef>
#include <cstdint>

/// How a picture's pixels lie where colour cancel writes them.
enum eCancelLayout : int32_t
{
    eCL_BGRA,
    eCL_BGR,
    eCL_RGBA,
    eCL_Pairs, ///< packed 4:2:2
};

/// A picture whose colours are cleaned in place.
struct CANCEL_PLANE
{
    uint8_t* pRow0; ///< null: no such picture
    ptrdiff_t nStride;
    int nWidth;
    eCancelLayout eLayout;
    PAIR_LAYOUT layout;

    /// _pScratch: 4 bytes a pixel.
    void RowClean(int _nRow, const CANCEL_SET& _set, const KEY_KERNELS& _kernels, uint8_t* _pScratch) const noexcept;
};

/// Whether colours can be cleaned in a format: RGB24, RGB32, ARGB32, RGBA32, UYVY, HDYC, YUY2, YVYU.
bool CancelPlane_IsKnown(uint32_t _fccType) noexcept;

/// The picture of a format that is known, borrowed.
CANCEL_PLANE CancelPlane_Make(uint32_t _fccType, int _nWidth, uint8_t* _pRow0, ptrdiff_t _nStride) noexcept;
