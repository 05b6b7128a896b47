#pragma once

#include "Image/ImgRowReader.h"
#include "Interfaces/ZVideoTypes.h"
#include "ZChromaKey/Engine2/State.h"

#include <cstddef>

/// One picture as the passes see it: a progressive frame, or one field of an interlaced one.
struct UNMIX_PICTURE
{
    const uint8_t* pRow0 = nullptr; ///< B, G, R, A
    ptrdiff_t nStride = 0;
    /// Reads the rows for each pass that needs them, nFirst, nFirst + nStep ... of the frame; null: they lie at pRow0.
    const CImgRowReader* pReader = nullptr;
    int nFirst = 0;
    int nStep = 1;
    const uint16_t* pDeep0 = nullptr; ///< the same in 64ths of a level, where it is known better; else null
    ptrdiff_t nDeepStride = 0;        ///< samples
    int nDeepFirst = 0;               ///< the row that is at pDeep0
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
        return pDeep0 + (_nRow - nDeepFirst) * nDeepStride;
    }
    /// The pixels of a row of cells from column _nX on, a multiple of c_nCell; rows below the picture repeat its last.
    /// What has to be read is put into _pRoom, which has room for c_nCell rows of so many pixels.
    void CellRows(int _nY, int _nX, int _nPixels, uint8_t* _pRoom, const uint8_t* (&_arrRows)[c_nCell]) const;
};

/// The most pixels that are read of a row at a time: those of a row of cells stay in the first cache. Whole units of
/// every format that is read, whole vectors, and cells in threes.
inline constexpr int c_nReadPixels = 768;
static_assert(c_nReadPixels % 192 == 0);

/// Step 1: sums, least and greatest values of 4x4 pixels for the cell rows _nFirst to _nFirst + _nRows - 1.
/// _pChanged: a byte a cell row, 0 where all is as it was in the frame before.
void Cells_Pass(const UNMIX_KERNELS& _kernels, const UNMIX_PICTURE& _picture, UNMIX_CELLS& _cells, uint8_t* _pChanged,
                int _nFirst, int _nRows);

/// The rows that an UNMIX_CELL_INPUT has for each field of a picture.
struct CELL_INPUT_ROWS
{
    int nFields;
    int nCells;    ///< rows of cells
    int nNoise;    ///< rows with pixels that noise is measured in
    int nFine;     ///< rows with pixels that fineness is measured in: of RGB
    int nFineStep; ///< rows of cells from one of the latter to the next

    int OfField() const
    {
        return nCells + nNoise + nFine;
    }
    int All() const
    {
        return nFields * OfField();
    }
};
CELL_INPUT_ROWS Cells_InputRows(const ZF_VID_PROPS& _vidProps);
/// The same out of cells that were made elsewhere, 16 bytes each as UNMIX_CELL_INPUT has them. _pCells0: the first row
/// of the field.
void Cells_TakePass(const uint8_t* _pCells0, ptrdiff_t _nStride, UNMIX_CELLS& _cells, uint8_t* _pChanged, int _nFirst,
                    int _nRows);
/// Takes the pixels that come after the cells.
void Cells_TakePairs(const uint8_t* _pPixels0, ptrdiff_t _nStride, UNMIX_CELLS& _cells);
