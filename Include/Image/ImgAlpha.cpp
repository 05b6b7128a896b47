#include "Image/ImgAlpha.h"

#include "Image/ImgPixel.h"

namespace
{

/// Opaque: the greatest value of a channel. An odd divisor has no ties, and the products fit 32 bits.
template <uint32_t Opaque> uint32_t Product(uint32_t _nA, uint32_t _nB)
{
    return (_nA * _nB + Opaque / 2) / Opaque;
}

template <uint32_t Opaque, class T> void PremultiplyRow(T* _pPixels, int _nPixels)
{
    for (T* p = _pPixels; p < _pPixels + ptrdiff_t{4} * _nPixels; p += 4)
        for (int n = 0; n < 3; ++n)
            p[n] = static_cast<T>(Product<Opaque>(p[n], p[3]));
}

} // namespace

void Img_RowPremultiply(uint8_t* _pPixels, int _nPixels)
{
    PremultiplyRow<255>(_pPixels, _nPixels);
}

void Img_RowPremultiply(uint16_t* _pPixels, int _nPixels)
{
    PremultiplyRow<65535>(_pPixels, _nPixels);
}

void Img_MaskMultiply(uint8_t* _pMask, const uint8_t* _pPixels, int _nPixels)
{
    for (int n = 0; n < _nPixels; ++n)
        _pMask[n] = static_cast<uint8_t>(Product<255>(_pMask[n], _pPixels[4 * n + 3]));
}

void Img_MaskMultiply(uint8_t* _pMask, uint16_t* _pPixels, int _nPixels)
{
    for (int n = 0; n < _nPixels; ++n)
    {
        uint16_t& nAlpha = _pPixels[4 * n + 3];
        nAlpha = static_cast<uint16_t>(Product<255>(_pMask[n], nAlpha));
        _pMask[n] = Img_From16Bit(nAlpha);
    }
}
