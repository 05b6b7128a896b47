#include "ZChromaKey/Engine2/Cells.h"

namespace
{
struct CELL
{
    uint64_t nSum = 0;
    uint32_t nMin = 0;
    uint32_t nMax = 0;
};

// Sums of 16 bytes fit 12 bits, so all four are added as one number. Edge pixels count again outside the picture.
CELL CellOf(const UNMIX_PICTURE& _picture, int _nX, int _nY)
{
    int anMin[4] = {255, 255, 255, 255};
    int anMax[4] = {};
    CELL cell;
    for (int y = 0; y < c_nCell; ++y)
    {
        const uint8_t* const pRow = _picture.Row(std::min(_nY * c_nCell + y, _picture.nHeight - 1));
        for (int x = 0; x < c_nCell; ++x)
        {
            const uint8_t* const pPixel = pRow + ptrdiff_t{4} * std::min(_nX * c_nCell + x, _picture.nWidth - 1);
            for (int c = 0; c < 4; ++c)
            {
                const int n = c < 3 || _picture.bAlpha ? pPixel[c] : 255;
                cell.nSum += static_cast<uint64_t>(n) << (16 * c);
                anMin[c] = std::min(anMin[c], n);
                anMax[c] = std::max(anMax[c], n);
            }
        }
    }
    for (int c = 0; c < 4; ++c)
    {
        cell.nMin |= static_cast<uint32_t>(anMin[c]) << (8 * c);
        cell.nMax |= static_cast<uint32_t>(anMax[c]) << (8 * c);
    }
    return cell;
}
} // namespace

void Cells_Pass(const UNMIX_PICTURE& _picture, UNMIX_CELLS& _cells, uint8_t* _pChanged, int _nFirst, int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        bool bChanged = false;
        for (int x = 0; x < _cells.nWidth; ++x)
        {
            const CELL cell = CellOf(_picture, x, y);
            const size_t nAt = _cells.At(x, y);
            bChanged |=
                _cells.vecSum[nAt] != cell.nSum || _cells.vecMin[nAt] != cell.nMin || _cells.vecMax[nAt] != cell.nMax;
            _cells.vecSum[nAt] = cell.nSum;
            _cells.vecMin[nAt] = cell.nMin;
            _cells.vecMax[nAt] = cell.nMax;
        }
        _pChanged[y] = bChanged;
    }
}
