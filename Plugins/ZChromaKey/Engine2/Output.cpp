#include "ZChromaKey/Engine2/Output.h"

#include "Image/ImgPixel.h"

namespace
{

/// Opaque: the greatest value of a channel. An odd divisor has no ties, and the products fit 32 bits.
template <uint32_t Opaque, class T> void PremultiplyRow(T* _pRow, int _nWidth)
{
    for (T* p = _pRow; p < _pRow + ptrdiff_t{4} * _nWidth; p += 4)
        for (int n = 0; n < 3; ++n)
            p[n] = static_cast<T>((uint32_t{p[n]} * p[3] + Opaque / 2) / Opaque);
}

} // namespace

void Output_Mask(const UNMIX_RESULT& _result, int _nRow, int _nWidth, uint8_t* _pMask)
{
    if (_result.bWords)
    {
        const uint16_t* const pWords = _result.Words(_nRow);
        for (int x = 0; x < _nWidth; ++x)
            _pMask[x] = Img_From16Bit(pWords[4 * x + 3]);
        return;
    }
    const uint8_t* const pBytes = _result.Bytes(_nRow);
    for (int x = 0; x < _nWidth; ++x)
        _pMask[x] = pBytes[4 * x + 3];
}

void Output_Premultiply(const UNMIX_RESULT& _result, int _nRow, int _nWidth)
{
    if (_result.bWords)
        PremultiplyRow<65535>(_result.Words(_nRow), _nWidth);
    else
        PremultiplyRow<255>(_result.Bytes(_nRow), _nWidth);
}
