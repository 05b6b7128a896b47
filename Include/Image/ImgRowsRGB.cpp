#include "Image/ImgPixel.h"
#include "Image/ImgRowsC.h"

#include <cstring>

void ImgRead_RGB8(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    for (int x = 0; x < _row.nWidth; ++x, _pBGRA += 4)
    {
        _pBGRA[0] = _pBGRA[1] = _pBGRA[2] = _row.pPlane0[x];
        _pBGRA[3] = 255;
    }
}

void ImgRead_RGB24(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    const uint8_t* pPixel = _row.pPlane0;
    for (int x = 0; x < _row.nWidth; ++x, _pBGRA += 4, pPixel += 3)
    {
        std::memcpy(_pBGRA, pPixel, 3);
        _pBGRA[3] = 255;
    }
}

void ImgRead_RGB32(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    const uint8_t* pPixel = _row.pPlane0;
    for (int x = 0; x < _row.nWidth; ++x, _pBGRA += 4, pPixel += 4)
    {
        std::memcpy(_pBGRA, pPixel, 4);
        _pBGRA[3] = 255;
    }
}

void ImgRead_ARGB32(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    std::memcpy(_pBGRA, _row.pPlane0, size_t{4} * static_cast<uint32_t>(_row.nWidth));
}

void ImgRead_r210(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    const uint8_t* pPixel = _row.pPlane0;
    for (int x = 0; x < _row.nWidth; ++x, _pBGRA += 4, pPixel += 4)
    {
        const uint32_t nWord =
            uint32_t{pPixel[0]} << 24 | uint32_t{pPixel[1]} << 16 | uint32_t{pPixel[2]} << 8 | pPixel[3];
        _pBGRA[0] = Img_From10Bit(nWord & 0x3FF);
        _pBGRA[1] = Img_From10Bit(nWord >> 10 & 0x3FF);
        _pBGRA[2] = Img_From10Bit(nWord >> 20 & 0x3FF);
        _pBGRA[3] = 255;
    }
}

void ImgRead_ARGB64(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    const uint8_t* pWord = _row.pPlane0;
    for (int n = 0; n < 4 * _row.nWidth; ++n, pWord += 2)
        _pBGRA[n] = Img_From16Bit(pWord[0] | uint32_t{pWord[1]} << 8);
}

void ImgRead_RGBA32(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    Img_SwapRedBlue(_row.pPlane0, _row.nWidth, _pBGRA);
}
