#include "ZChromaKey/Engine2/Cells.h"

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
