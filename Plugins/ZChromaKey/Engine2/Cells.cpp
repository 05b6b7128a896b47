#include "ZChromaKey/Engine2/Cells.h"

#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "ZChromaKey/Engine2/Fineness.h"

#include <cstdlib>
#include <cstring>

void Cells_Pass(const UNMIX_KERNELS& _kernels, const UNMIX_PICTURE& _picture, UNMIX_CELLS& _cells, uint8_t* _pChanged,
                int _nFirst, int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        const size_t nAt = _cells.At(0, y);
        bool bChanged = false;
        CELL_ROW row = {};
        for (int n = 0; n < c_nCell; ++n)
            row.arrRows[n] = _picture.Row(std::min(y * c_nCell + n, _picture.nHeight - 1));
        row.nPixels = _picture.nWidth;
        row.bAlpha = _picture.bAlpha;
        row.pSum = &_cells.vecSum[nAt];
        row.pMin = &_cells.vecMin[nAt];
        row.pMax = &_cells.vecMax[nAt];
        row.pChanged = &bChanged;
        _kernels.pfnCells(row);
        _pChanged[y] = bChanged;
    }
}

CELL_INPUT_ROWS Cells_InputRows(const ZF_VID_PROPS& _vidProps)
{
    const int nHeight = std::abs(_vidProps.nHeight);
    CELL_INPUT_ROWS rows = {};
    rows.nFields = nHeight > 1 && VidProps_FieldOrder(&_vidProps) != 0 ? 2 : 1;
    rows.nCells = ((nHeight + rows.nFields - 1) / rows.nFields + c_nCell - 1) / c_nCell;
    rows.nNoise = (rows.nCells + 1) / 3;
    rows.nFineStep = Fineness_RowStep(rows.nCells);
    rows.nFine = FCC_IsRGB(_vidProps.fccType) ? (rows.nCells + rows.nFineStep - 1) / rows.nFineStep : 0;
    return rows;
}

void Cells_TakePass(const uint8_t* _pCells0, ptrdiff_t _nStride, UNMIX_CELLS& _cells, uint8_t* _pChanged, int _nFirst,
                    int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        const uint8_t* p = _pCells0 + y * _nStride;
        uint64_t nOff = 0;
        for (size_t n = _cells.At(0, y); n < _cells.At(0, y + 1); ++n, p += 16)
        {
            const uint64_t nSum = _cells.vecSum[n];
            const uint32_t nMin = _cells.vecMin[n], nMax = _cells.vecMax[n];
            std::memcpy(&_cells.vecSum[n], p, 8);
            std::memcpy(&_cells.vecMin[n], p + 8, 4);
            std::memcpy(&_cells.vecMax[n], p + 12, 4);
            nOff |= (nSum ^ _cells.vecSum[n]) | (nMin ^ _cells.vecMin[n]) | (nMax ^ _cells.vecMax[n]);
        }
        _pChanged[y] = nOff != 0;
    }
}

void Cells_TakePixels(const uint8_t* _pPixels0, ptrdiff_t _nStride, const UNMIX_CELLS& _cells,
                      const UNMIX_PICTURE& _picture, uint8_t* _pRow0)
{
    for (int y = 1; y < _cells.nHeight && y * c_nCell < _picture.nHeight; y += 3, _pPixels0 += _nStride)
        for (int x = 0; x < _cells.nWidth - 1; ++x)
        {
            uint8_t* const pTo = _pRow0 + y * c_nCell * _picture.nStride + ptrdiff_t{4} * c_nCell * x;
            std::memcpy(pTo, _pPixels0 + ptrdiff_t{16} * x, 4);
            std::memcpy(pTo + 8, _pPixels0 + ptrdiff_t{16} * x + 4, 4);
        }
}
