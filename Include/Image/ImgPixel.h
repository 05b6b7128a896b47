#pragma once

#include "Image/ImgKernels.h"

/// Single pixels, for the reference kernels.

/// A 10-bit level as an 8-bit one, rounded to nearest, halves up: in either depth black and white are the same
/// fraction apart from the top codes, which all become 255.
inline uint8_t Img_From10Bit(uint32_t _nLevel)
{
    const uint32_t nRounded = (_nLevel + 2) / 4;
    return static_cast<uint8_t>(nRounded > 255 ? 255 : nRounded);
}

inline uint8_t Img_Clamp8(int _nLevel)
{
    return static_cast<uint8_t>(_nLevel < 0 ? 0 : _nLevel > 255 ? 255 : _nLevel);
}

/// What U and V add to R, G and B, x 8192, with the half that rounds the sum.
struct IMG_CHROMA
{
    int nR;
    int nG;
    int nB;
};

inline IMG_CHROMA Img_Chroma(int _nU, int _nV, const IMG_YUV_COEF& _coef)
{
    constexpr int c_nHalf = 4096;
    const int nU = _nU - 128;
    const int nV = _nV - 128;
    return {c_nHalf + _coef.nRV * nV, c_nHalf + _coef.nGU * nU + _coef.nGV * nV, c_nHalf + _coef.nBU * nU};
}

inline void Img_PutYUV(uint8_t* _pBGRA, int _nY, const IMG_CHROMA& _chroma, const IMG_YUV_COEF& _coef, uint8_t _nAlpha)
{
    const int nLuma = _coef.nY * (_nY - 16);
    _pBGRA[0] = Img_Clamp8((nLuma + _chroma.nB) >> 13);
    _pBGRA[1] = Img_Clamp8((nLuma + _chroma.nG) >> 13);
    _pBGRA[2] = Img_Clamp8((nLuma + _chroma.nR) >> 13);
    _pBGRA[3] = _nAlpha;
}
