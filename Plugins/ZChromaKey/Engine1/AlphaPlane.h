#pragma once

#include "ZChromaKey/Work/MaskPost.h"

#include <cstddef>
#include <cstdint>

/// The pixels of a picture whose alpha becomes the mask.
struct ALPHA_PLANE
{
    uint8_t* pRow0; ///< null: no such picture
    ptrdiff_t nStride;
    bool bWords;       ///< 16 bits a channel, else 8; alpha is the fourth
    bool bMultiply;    ///< mask and alpha become the product of both; else alpha becomes the mask
    bool bPremultiply; ///< then colours are multiplied by alpha

    /// The last that is done to a row, once.
    void RowFinish(const MASK_PLANE& _mask, int _nRow, const PLANE_KERNELS& _kernels) const noexcept;
};
