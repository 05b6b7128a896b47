#include "ZChromaKey/Engine2/Output.h"

#include "Image/ImgPixel.h"

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
