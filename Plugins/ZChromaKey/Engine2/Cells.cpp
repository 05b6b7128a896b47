#include "ZChromaKey/Engine2/Cells.h"

#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "ZChromaKey/Engine2/Fineness.h"

#include <cstdlib>
#include <cstring>

// A pixel, and another so many bytes from it.
static UNMIX_PAIR PairOf(const uint8_t* _pPixel, int _nOther)
{
    UNMIX_PAIR pair;
    std::memcpy(pair.arrFirst, _pPixel, 4);
    std::memcpy(pair.arrSecond, _pPixel + _nOther, 4);
    return pair;
}

void UNMIX_PICTURE::CellRows(int _nY, int _nX, int _nPixels, uint8_t* _pRoom, const uint8_t* (&_arrRows)[c_nCell]) const
{
    const auto Frame = [&](int _nRow) { return nFirst + nStep * std::min(_nRow, nHeight - 1); };
    for (int n = 0; n < c_nCell; ++n)
    {
        const int nRow = _nY * c_nCell + n;
        if (!pReader)
        {
            _arrRows[n] = Row(std::min(nRow, nHeight - 1)) + ptrdiff_t{4} * _nX;
            continue;
        }
        uint8_t* const pRow = _pRoom + ptrdiff_t{4} * _nPixels * n;
        pReader->ReadSpan(Frame(nRow), _nX, _nPixels, pRow, Frame(nRow + 1));
        _arrRows[n] = pRow;
    }
}

// Cells of a row from pixel _nX on, a multiple of three cells; whether any of them has changed.
static bool PassPixels(const UNMIX_KERNELS& _kernels, const UNMIX_PICTURE& _picture, UNMIX_CELLS& _cells, int _nX,
                       int _nPixels, int _nY)
{
    uint8_t arrRoom[4 * c_nCell * c_nReadPixels];
    const int nFirst = _nX / c_nCell, nEnd = nFirst + (_nPixels + c_nCell - 1) / c_nCell;
    const size_t nAt = _cells.At(nFirst, _nY);
    bool bChanged = false;
    CELL_ROW row = {};
    _picture.CellRows(_nY, _nX, _nPixels, arrRoom, row.arrRows);
    row.nNext = (_nY + 2) * c_nCell <= _picture.nHeight && !_picture.pReader ? c_nCell * _picture.nStride : 0;
    row.nPixels = _nPixels;
    row.bAlpha = _picture.bAlpha;
    row.pSum = &_cells.vecSum[nAt];
    row.pMin = &_cells.vecMin[nAt];
    row.pMax = &_cells.vecMax[nAt];
    row.pChanged = &bChanged;
    _kernels.pfnCells(row);
    if (UNMIX_CELLS::HasPairs(_nY))
        for (int x = nFirst + 1; x < std::min(nEnd, _cells.nWidth - 1); x += 3)
            _cells.Pair(x, _nY) = PairOf(row.arrRows[0] + ptrdiff_t{16} * (x - nFirst), 8);
    return bChanged;
}

void Cells_Pass(const UNMIX_KERNELS& _kernels, const UNMIX_PICTURE& _picture, UNMIX_CELLS& _cells, uint8_t* _pChanged,
                int _nFirst, int _nRows)
{
    const int nMost = _picture.pReader ? c_nReadPixels : _picture.nWidth;
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        bool bChanged = false;
        for (int x = 0; x < _picture.nWidth; x += nMost)
            bChanged |= PassPixels(_kernels, _picture, _cells, x, std::min(nMost, _picture.nWidth - x), y);
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

void Cells_TakePairs(const uint8_t* _pPixels0, ptrdiff_t _nStride, UNMIX_CELLS& _cells)
{
    for (int y = 1; y < _cells.nHeight; y += 3, _pPixels0 += _nStride)
        for (int x = 1; x < _cells.nWidth - 1; x += 3)
            _cells.Pair(x, y) = PairOf(_pPixels0 + ptrdiff_t{16} * x, 4);
}
