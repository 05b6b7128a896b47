#pragma once

#include "ZChromaKey/Engine2/State.h"

#include <cstddef>

/// One picture as the passes see it: a progressive frame, or one field of an interlaced one.
struct UNMIX_PICTURE
{
    const uint8_t* pRow0 = nullptr; ///< B, G, R, A
    ptrdiff_t nStride = 0;
    const uint16_t* pDeep0 = nullptr; ///< the same in 64ths of a level, where it is known better; else null
    ptrdiff_t nDeepStride = 0;        ///< samples
    bool bAlpha = false;              ///< A counts; else it is taken as 255
    bool bDeepSolid = false;          ///< solid cells are in pDeep0 as well, not only mixed ones
    int nWidth = 0;
    int nHeight = 0;

    const uint8_t* Row(int _nRow) const
    {
        return pRow0 + _nRow * nStride;
    }
    const uint16_t* DeepRow(int _nRow) const
    {
        return pDeep0 + _nRow * nDeepStride;
    }
};

/// Step 1: sums, least and greatest values of 4x4 pixels for the cell rows _nFirst to _nFirst + _nRows - 1.
/// _pChanged: a byte a cell row, 0 where all is as it was in the frame before.
void Cells_Pass(const UNMIX_KERNELS& _kernels, const UNMIX_PICTURE& _picture, UNMIX_CELLS& _cells, uint8_t* _pChanged,
                int _nFirst, int _nRows);
