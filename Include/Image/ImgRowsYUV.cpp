#include "Image/ImgPixel.h"
#include "Image/ImgRowsC.h"

#include <algorithm>
#include <cstddef>

namespace
{
// One or two pixels that share their chroma.
inline void PutPair(uint8_t* _pBGRA, int _nPixels, const uint8_t* _pY0, const uint8_t* _pY1, int _nU, int _nV,
                    const IMG_YUV_COEF& _coef)
{
    const IMG_CHROMA chroma = Img_Chroma(_nU, _nV, _coef);
    Img_PutYUV(_pBGRA, *_pY0, chroma, _coef, 255);
    if (_nPixels > 1)
        Img_PutYUV(_pBGRA + 4, *_pY1, chroma, _coef, 255);
}

// Packed 4:2:2; the offsets of the first Y, of U and of V in a unit of two pixels.
template <int Y, int U, int V> void ReadPacked(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    const uint8_t* pUnit = _row.pPlane0;
    for (int x = 0; x < _row.nWidth; x += 2, pUnit += 4, _pBGRA += 8)
        PutPair(_pBGRA, _row.nWidth - x, pUnit + Y, pUnit + Y + 2, pUnit[U], pUnit[V], *_row.pCoeff);
}

// Half-width chroma in planes of its own, samples Step bytes apart.
template <int Step> void ReadPlanar(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    const uint8_t* pY = _row.pPlane0;
    for (int x = 0; x < _row.nWidth; x += 2, pY += 2, _pBGRA += 8)
    {
        int nU = 128;
        int nV = 128;
        if (_row.nChroma > 0)
        {
            const ptrdiff_t nSample = ptrdiff_t{std::min(x / 2, _row.nChroma - 1)} * Step;
            nU = _row.pU[nSample];
            nV = _row.pV[nSample];
        }
        PutPair(_pBGRA, _row.nWidth - x, pY, pY + 1, nU, nV, *_row.pCoeff);
    }
}

// Unpacks words of three 10-bit samples, the first in the lowest bits, to samples of 8 bits.
void UnpackWords(const uint8_t* _pWords, int _nWords, uint8_t* _pSamples)
{
    for (int n = 0; n < _nWords; ++n, _pWords += 4, _pSamples += 3)
    {
        const uint32_t nWord =
            uint32_t{_pWords[3]} << 24 | uint32_t{_pWords[2]} << 16 | uint32_t{_pWords[1]} << 8 | _pWords[0];
        _pSamples[0] = Img_From10Bit(nWord & 0x3FF);
        _pSamples[1] = Img_From10Bit(nWord >> 10 & 0x3FF);
        _pSamples[2] = Img_From10Bit(nWord >> 20 & 0x3FF);
    }
}
} // namespace

void ImgRead_YUYV(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<0, 1, 3>(_row, _pBGRA);
}

void ImgRead_UYVY(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<1, 0, 2>(_row, _pBGRA);
}

void ImgRead_YVYU(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<0, 3, 1>(_row, _pBGRA);
}

void ImgRead_Planar(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPlanar<1>(_row, _pBGRA);
}

void ImgRead_NV12(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPlanar<2>(_row, _pBGRA);
}

// Samples run U Y V Y through groups of six pixels in four words.
void ImgRead_v210(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    const uint8_t* pGroup = _row.pPlane0;
    for (int x = 0; x < _row.nWidth; x += 6, pGroup += 16)
    {
        const int nPixels = std::min(6, _row.nWidth - x);
        uint8_t arrSamples[12] = {};
        UnpackWords(pGroup, (2 * nPixels + nPixels % 2 + 2) / 3, arrSamples); // a last single pixel needs its V as well
        for (int n = 0; n < nPixels; n += 2, _pBGRA += 8)
        {
            const uint8_t* const pPair = arrSamples + 2 * n;
            PutPair(_pBGRA, nPixels - n, pPair + 1, pPair + 3, pPair[0], pPair[2], *_row.pCoeff);
        }
    }
}

void ImgRead_P010(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    const auto fnLevel = [](const uint8_t* _pWord) { return Img_From10Bit(Img_HighTenBits(_pWord)); };
    const uint8_t* pY = _row.pPlane0;
    for (int x = 0; x < _row.nWidth; x += 2, pY += 4, _pBGRA += 8)
    {
        const ptrdiff_t nSample = ptrdiff_t{std::min(x / 2, _row.nChroma - 1)} * 4;
        const int nU = _row.nChroma > 0 ? fnLevel(_row.pU + nSample) : 128;
        const int nV = _row.nChroma > 0 ? fnLevel(_row.pV + nSample) : 128;
        const uint8_t arrY[2] = {fnLevel(pY), fnLevel(x + 1 < _row.nWidth ? pY + 2 : pY)};
        PutPair(_pBGRA, _row.nWidth - x, arrY, arrY + 1, nU, nV, *_row.pCoeff);
    }
}
