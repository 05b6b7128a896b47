#include "ZChromaKey/Work/Kernels/PlaneOps.h"

#include <algorithm>
#include <cstring>

namespace
{

// Compilers turn loops of this fixed length over local arrays into vector code even at -O2.
constexpr size_t c_nBlock = 64;

template <class Op> void MapBytes(uint8_t* _pBytes, size_t _nBytes, Op _fnOp)
{
    size_t nByte = 0;
    for (; nByte + c_nBlock <= _nBytes; nByte += c_nBlock)
        for (size_t i = 0; i < c_nBlock; ++i)
            _pBytes[nByte + i] = _fnOp(_pBytes[nByte + i]);
    for (; nByte < _nBytes; ++nByte)
        _pBytes[nByte] = _fnOp(_pBytes[nByte]);
}

// Three neighbouring rows of a mask; Column filters them vertically.
struct THREE_ROWS
{
    const uint8_t* pAbove;
    const uint8_t* pRow;
    const uint8_t* pBelow;

    uint16_t Column(size_t _nPixel) const
    {
        return static_cast<uint16_t>(pAbove[_nPixel] + 2 * pRow[_nPixel] + pBelow[_nPixel]);
    }
};

uint8_t SmoothOne(uint8_t _nPixel, uint16_t _nLeft, uint16_t _nMiddle, uint16_t _nRight)
{
    const int nMean = (_nLeft + 2 * _nMiddle + _nRight + 8) >> 4;
    return static_cast<uint8_t>(_nPixel < c_nLeastSmoothed ? _nPixel : nMean);
}

void SmoothClamped(uint8_t* _pResult, const THREE_ROWS& _rows, size_t _nFirst, size_t _nEnd, size_t _nPixels)
{
    for (size_t n = _nFirst; n < _nEnd; ++n)
        _pResult[n] = SmoothOne(_rows.pRow[n], _rows.Column(n ? n - 1 : 0), _rows.Column(n),
                                _rows.Column(std::min(n + 1, _nPixels - 1)));
}

// A block that has a neighbour on either side.
void SmoothBlock(uint8_t* _pResult, const THREE_ROWS& _rows, size_t _nFirst)
{
    uint16_t arrColumn[c_nBlock + 2];
    uint8_t arrRow[c_nBlock];
    for (size_t i = 0; i < c_nBlock; ++i)
        arrColumn[i] = _rows.Column(_nFirst - 1 + i);
    for (size_t i = c_nBlock; i < c_nBlock + 2; ++i)
        arrColumn[i] = _rows.Column(_nFirst - 1 + i);
    std::memcpy(arrRow, _rows.pRow + _nFirst, c_nBlock);
    for (size_t i = 0; i < c_nBlock; ++i)
        arrRow[i] = SmoothOne(arrRow[i], arrColumn[i], arrColumn[i + 1], arrColumn[i + 2]);
    std::memcpy(_pResult + _nFirst, arrRow, c_nBlock);
}

} // namespace

void Threshold_C(uint8_t* _pAlpha, size_t _nPixels, uint8_t _nMin, uint8_t _nMax) noexcept
{
    MapBytes(_pAlpha, _nPixels, [_nMin, _nMax](uint8_t _nAlpha) {
        const uint8_t nUpper = _nAlpha > _nMax ? uint8_t{255} : _nAlpha;
        return _nAlpha < _nMin ? uint8_t{0} : nUpper;
    });
}

void Invert_C(uint8_t* _pAlpha, size_t _nPixels) noexcept
{
    MapBytes(_pAlpha, _nPixels, [](uint8_t _nAlpha) { return static_cast<uint8_t>(255 - _nAlpha); });
}

void Smooth_C(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow,
              size_t _nPixels) noexcept
{
    const THREE_ROWS rows = {_pAbove, _pRow, _pBelow};
    size_t nPixel = std::min<size_t>(_nPixels, 1);
    SmoothClamped(_pResult, rows, 0, nPixel, _nPixels);
    for (; nPixel + c_nBlock < _nPixels; nPixel += c_nBlock)
        SmoothBlock(_pResult, rows, nPixel);
    SmoothClamped(_pResult, rows, nPixel, _nPixels, _nPixels);
}

void AlphaSet_C(uint8_t* _pPixels, const uint8_t* _pAlpha, size_t _nPixels) noexcept
{
    for (size_t n = 0; n < _nPixels; ++n)
        _pPixels[4 * n + 3] = _pAlpha[n];
}

void AlphaGet_C(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels) noexcept
{
    for (size_t n = 0; n < _nPixels; ++n)
        _pAlpha[n] = _pPixels[4 * n + 3];
}
