#include "Helpers/CKBlockKeys.h"

#include "Base/ZHelpers.h"

#include <algorithm>
#include <cstdlib>

namespace CKUtils
{

namespace
{

constexpr uint8_t c_bitGreen = 1;
constexpr uint8_t c_bitBlue = 2;

/// A region of colour space; centres and half-widths of three channels. Alpha is not looked at: whatever it is, it
/// lies in the regions.
struct REGION
{
    double adblValue[3];
    double adblDelta[3];
};

/// How the pixels of a kind of picture are classified.
struct PIXEL_KIND
{
    REGION regGreen;
    REGION regBlue;
    int anByte[3];       // the byte of a pixel that holds channel i of the regions
    double adblRange[3]; // the value that a byte of channel i is divided by
};

// Regions are closed, and are what they are: fully saturated green or blue lies outside those of RGB.
constexpr PIXEL_KIND c_kindHLS = {{{125.0 / 360, 0.5, 0.6}, {30.0 / 360, 0.4, 0.8}},
                                  {{230.0 / 360, 0.5, 0.6}, {25.0 / 360, 0.4, 0.8}},
                                  {0, 1, 2},
                                  {256.0, 255.0, 255.0}};
constexpr PIXEL_KIND c_kindRGB = {
    {{0.3, 0.6, 0.3}, {0.3, 0.3, 0.3}}, {{0.3, 0.3, 0.6}, {0.3, 0.3, 0.3}}, {2, 1, 0}, {255.0, 255.0, 255.0}};
constexpr PIXEL_KIND c_kindVUY = {
    {{0.2, 0.2, 0.5}, {0.3, 0.3, 0.4}}, {{0.2, 0.7, 0.5}, {0.3, 0.3, 0.4}}, {2, 1, 0}, {255.0, 255.0, 255.0}};

/// Any distance of two pixels is below 3 x 255 x 255: greater thresholds say nothing more.
constexpr int32_t c_nMaxThreshold = 256;

const PIXEL_KIND& KindOf(uint32_t _fccType)
{
    if (_fccType == eZFCC_None)
        return c_kindHLS;
    return FCC_IsRGB(_fccType) ? c_kindRGB : c_kindVUY;
}

bool IsIn(const REGION& _region, int _nChannel, double _dblValue)
{
    return _region.adblValue[_nChannel] - _region.adblDelta[_nChannel] <= _dblValue &&
           _dblValue <= _region.adblValue[_nChannel] + _region.adblDelta[_nChannel];
}

} // namespace

CBlockKeys::CBlockKeys(uint32_t _fccType, int32_t _nThreshold)
    : m_bAnySign(_fccType == eZFCC_None)
{
    const int32_t nThreshold = std::abs(std::clamp(_nThreshold, -c_nMaxThreshold, c_nMaxThreshold));
    m_nMaxNeighbour = 3 * nThreshold * nThreshold;
    const PIXEL_KIND& kind = KindOf(_fccType);
    for (int nChannel = 0; nChannel < 3; ++nChannel)
        for (int nValue = 0; nValue < 256; ++nValue)
        {
            const double dblValue = nValue / kind.adblRange[nChannel];
            const int nGreen = IsIn(kind.regGreen, nChannel, dblValue) ? c_bitGreen : 0;
            const int nBlue = IsIn(kind.regBlue, nChannel, dblValue) ? c_bitBlue : 0;
            m_arrClass[kind.anByte[nChannel]][nValue] = static_cast<uint8_t>(nGreen | nBlue);
        }
}

/// The class of all pixels in a box, where the box alone decides it; else 0.
int32_t CBlockKeys::SignOfBox(const PIXEL_BOX& _box) const
{
    uint8_t nHold = c_bitGreen | c_bitBlue; // the regions that hold the box
    uint8_t nMeet = c_bitGreen | c_bitBlue; // the regions that the box may meet
    for (int i = 0; i < 3; ++i)
    {
        nHold &= m_arrClass[i][_box.abMin[i]] & m_arrClass[i][_box.abMax[i]];
        uint8_t nAny = 0;
        for (int nValue = _box.abMin[i]; nValue <= _box.abMax[i]; ++nValue)
            nAny |= m_arrClass[i][nValue];
        nMeet &= nAny;
    }
    if (nHold & c_bitGreen)
        return 1;
    return (nHold & c_bitBlue) && !(nMeet & c_bitGreen) ? -1 : 0;
}

/// The class of a block pixel by pixel; 0 when they have none in common. A pixel in both regions is green.
int32_t CBlockKeys::SignOfPixels(const PIXEL_BLOCK& _block) const
{
    int nClasses = c_bitGreen | c_bitBlue;
    for (int32_t y = 0; y < _block.nHeight && nClasses; ++y)
        for (int32_t x = 1; x < _block.nWidth; ++x)
        {
            const uint8_t* const pbPixel = _block.Row(y) + x * c_nPixelBytes;
            const int nBits = m_arrClass[0][pbPixel[0]] & m_arrClass[1][pbPixel[1]] & m_arrClass[2][pbPixel[2]];
            nClasses &= nBits & ~(nBits << 1);
        }
    return nClasses == c_bitGreen ? 1 : -(nClasses >> 1);
}

bool CBlockKeys::KeyFromBlock(const uint8_t* _pbBlock, int32_t _nWidth, int32_t _nHeight, ptrdiff_t _nRowBytes,
                              CALC_KEY* _pKey, int32_t* _pnSign) const
{
    if (_nWidth < 2 || _nHeight < 1) // nothing right of the first column could be classified
        return false;
    const PIXEL_BLOCK block = {_pbBlock, _nWidth, _nHeight, _nRowBytes};
    const PIXEL_BOX box = BoxOf(block);
    PIXEL_BOX boxAll = box;
    for (int32_t y = 1; y < _nHeight; ++y)
        AddPixel(block.Row(y), &boxAll);
    // Most blocks are decided by the box around their pixels; only the others need a look at each pixel.
    const int32_t nBoxSign = SignOfBox(boxAll);
    const int32_t nSign = nBoxSign ? nBoxSign : SignOfPixels(block);
    if (nSign == 0 || (*_pnSign != 0 && nSign != *_pnSign && !m_bAnySign))
        return false;
    if (Diagonal(boxAll) > m_nMaxNeighbour && !IsFlat(block, m_nMaxNeighbour))
        return false;
    for (int i = 0; i < c_nPixelBytes; ++i)
    {
        const int nByte = i < 3 ? 2 - i : i;
        _pKey->dValue[i] = (box.abMin[nByte] + box.abMax[nByte]) / 510.0;
        _pKey->dDelta[i] = std::max((box.abMax[nByte] - box.abMin[nByte]) / 510.0, c_dblMinDelta);
    }
    _pKey->dWeight = 0;
    *_pnSign = nSign;
    return true;
}

} // namespace CKUtils
