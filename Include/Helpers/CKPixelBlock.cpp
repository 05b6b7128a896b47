#include "Helpers/CKPixelBlock.h"

#include <algorithm>

namespace CKUtils
{

namespace
{

/// Four pixels are looked at together, in loops of fixed length that compilers turn into vector code.
constexpr int c_nGroup = 4 * c_nPixelBytes;

int32_t Distance(const uint8_t* _pbPixel1, const uint8_t* _pbPixel2)
{
    const int32_t n0 = _pbPixel1[0] - _pbPixel2[0];
    const int32_t n1 = _pbPixel1[1] - _pbPixel2[1];
    const int32_t n2 = _pbPixel1[2] - _pbPixel2[2];
    return n0 * n0 + n1 * n1 + n2 * n2;
}

/// Raises each byte of _pbMax to the difference of two others.
template <int Bytes> void AddDifferences(const uint8_t* _pb1, const uint8_t* _pb2, uint8_t* _pbMax)
{
    for (int i = 0; i < Bytes; ++i)
    {
        const uint8_t nHigh = _pb1[i] > _pb2[i] ? _pb1[i] : _pb2[i];
        const uint8_t nLow = _pb1[i] > _pb2[i] ? _pb2[i] : _pb1[i];
        const auto nDiff = static_cast<uint8_t>(nHigh - nLow);
        _pbMax[i] = nDiff > _pbMax[i] ? nDiff : _pbMax[i];
    }
}

/// A bound for squared distances: the greatest difference of each channel, wherever they are.
int32_t DistanceBound(const uint8_t (&_abMax)[c_nGroup])
{
    int32_t arrMax[c_nPixelBytes] = {};
    for (int i = 0; i < c_nGroup; ++i)
        arrMax[i % c_nPixelBytes] = std::max<int32_t>(arrMax[i % c_nPixelBytes], _abMax[i]);
    return arrMax[0] * arrMax[0] + arrMax[1] * arrMax[1] + arrMax[2] * arrMax[2];
}

/// The differences of some pixels of a row to their neighbours and to the block's first pixel, greatest per byte.
struct DIFFERENCES
{
    uint8_t abNear[c_nGroup];
    uint8_t abFar[c_nGroup];
};

template <int Bytes>
void AddPixels(const uint8_t* _pb, const uint8_t* _pbUp, const uint8_t* _pbFirst, DIFFERENCES* _pMax)
{
    AddDifferences<Bytes>(_pb, _pb - c_nPixelBytes, _pMax->abNear);
    AddDifferences<Bytes>(_pb, _pbUp, _pMax->abNear);
    AddDifferences<Bytes>(_pb, _pbUp - c_nPixelBytes, _pMax->abNear);
    AddDifferences<Bytes>(_pb, _pbFirst, _pMax->abFar);
}

/// True when channel-wise differences alone prove a row flat, as they mostly do.
bool IsRowSurelyFlat(const uint8_t* _pbRow, const uint8_t* _pbAbove, const PIXEL_BLOCK& _block, int32_t _nMaxNeighbour)
{
    uint8_t abFirst[c_nGroup];
    for (int i = 0; i < c_nGroup; ++i)
        abFirst[i] = _block.pbFirst[i % c_nPixelBytes];
    DIFFERENCES diffMax = {};
    int32_t x = 1;
    for (; x + 4 <= _block.nWidth; x += 4)
        AddPixels<c_nGroup>(_pbRow + x * c_nPixelBytes, _pbAbove + x * c_nPixelBytes, abFirst, &diffMax);
    for (; x < _block.nWidth; ++x)
        AddPixels<c_nPixelBytes>(_pbRow + x * c_nPixelBytes, _pbAbove + x * c_nPixelBytes, abFirst, &diffMax);
    return DistanceBound(diffMax.abNear) <= _nMaxNeighbour && DistanceBound(diffMax.abFar) <= 4 * _nMaxNeighbour;
}

bool IsRowFlat(const uint8_t* _pbRow, const uint8_t* _pbAbove, const PIXEL_BLOCK& _block, int32_t _nMaxNeighbour)
{
    for (int32_t x = 1; x < _block.nWidth; ++x)
    {
        const uint8_t* const pb = _pbRow + x * c_nPixelBytes;
        const uint8_t* const pbUp = _pbAbove + x * c_nPixelBytes;
        if (Distance(pb, _block.pbFirst) > 4 * _nMaxNeighbour || Distance(pb, pb - c_nPixelBytes) > _nMaxNeighbour ||
            Distance(pb, pbUp) > _nMaxNeighbour || Distance(pb, pbUp - c_nPixelBytes) > _nMaxNeighbour)
            return false;
    }
    return true;
}

} // namespace

void AddPixel(const uint8_t* _pbPixel, PIXEL_BOX* _pBox)
{
    for (int i = 0; i < c_nPixelBytes; ++i)
    {
        _pBox->abMin[i] = std::min(_pBox->abMin[i], _pbPixel[i]);
        _pBox->abMax[i] = std::max(_pBox->abMax[i], _pbPixel[i]);
    }
}

PIXEL_BOX BoxOf(const PIXEL_BLOCK& _block)
{
    uint8_t abMin[c_nGroup];
    uint8_t abMax[c_nGroup];
    for (int i = 0; i < c_nGroup; ++i)
        abMin[i] = abMax[i] = _block.pbFirst[i % c_nPixelBytes];
    PIXEL_BOX box;
    std::copy_n(_block.pbFirst, c_nPixelBytes, box.abMin);
    std::copy_n(_block.pbFirst, c_nPixelBytes, box.abMax);
    for (int32_t y = 0; y < _block.nHeight; ++y)
    {
        const uint8_t* pbPixel = _block.Row(y) + c_nPixelBytes;
        int32_t nLeft = _block.nWidth - 1;
        for (; nLeft >= 4; nLeft -= 4, pbPixel += c_nGroup)
            for (int i = 0; i < c_nGroup; ++i)
            {
                const uint8_t nByte = pbPixel[i];
                abMin[i] = nByte < abMin[i] ? nByte : abMin[i];
                abMax[i] = nByte > abMax[i] ? nByte : abMax[i];
            }
        for (; nLeft > 0; --nLeft, pbPixel += c_nPixelBytes)
            AddPixel(pbPixel, &box);
    }
    for (int i = 0; i < c_nGroup; i += c_nPixelBytes)
    {
        AddPixel(abMin + i, &box);
        AddPixel(abMax + i, &box);
    }
    return box;
}

int32_t Diagonal(const PIXEL_BOX& _box)
{
    int32_t nSum = 0;
    for (int i = 0; i < 3; ++i)
        nSum += (_box.abMax[i] - _box.abMin[i]) * (_box.abMax[i] - _box.abMin[i]);
    return nSum;
}

bool IsFlat(const PIXEL_BLOCK& _block, int32_t _nMaxNeighbour)
{
    for (int32_t y = 0; y < _block.nHeight; ++y)
    {
        const uint8_t* const pbRow = _block.Row(y);
        const uint8_t* const pbAbove = _block.Row(y ? y - 1 : 0); // row 0 has nothing above but itself
        if (!IsRowSurelyFlat(pbRow, pbAbove, _block, _nMaxNeighbour) &&
            !IsRowFlat(pbRow, pbAbove, _block, _nMaxNeighbour))
            return false;
    }
    return true;
}

} // namespace CKUtils
