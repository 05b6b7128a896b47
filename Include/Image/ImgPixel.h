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

/// A level of 16 bits as one of 8, rounded to nearest; 65535 is 255.
inline uint8_t Img_From16Bit(uint32_t _nLevel)
{
    return static_cast<uint8_t>((_nLevel + 128) / 257);
}
/// A level of 8 bits as one of 16; Img_From16Bit gives it back.
inline uint16_t Img_To16Bit(uint32_t _nLevel)
{
    return static_cast<uint16_t>(_nLevel * 257);
}

/// Bytes B, G, R, A as little-endian words; _pOut may end where _pBGRA does.
inline void Img_Widen(const uint8_t* _pBGRA, int _nPixels, uint8_t* _pOut)
{
    for (int n = 0; n < 4 * _nPixels; ++n, _pOut += 2)
        _pOut[0] = _pOut[1] = _pBGRA[n]; // the bytes of a level times 257
}

/// Bytes B, G, R, A as R, G, B, A, or the other way round; both may be the same memory.
inline void Img_SwapRedBlue(const uint8_t* _pPixels, int _nPixels, uint8_t* _pOut)
{
    for (int n = 0; n < _nPixels; ++n, _pPixels += 4, _pOut += 4)
    {
        const uint8_t nFirst = _pPixels[0];
        _pOut[0] = _pPixels[2];
        _pOut[1] = _pPixels[1];
        _pOut[2] = nFirst;
        _pOut[3] = _pPixels[3];
    }
}

/// The ten high bits of a little-endian word.
inline uint32_t Img_HighTenBits(const uint8_t* _pWord)
{
    return (_pWord[0] | uint32_t{_pWord[1]} << 8) >> 6;
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
    const int nLuma = _coef.nY * (_nY - _coef.nBlack);
    _pBGRA[0] = Img_Clamp8((nLuma + _chroma.nB) >> 13);
    _pBGRA[1] = Img_Clamp8((nLuma + _chroma.nG) >> 13);
    _pBGRA[2] = Img_Clamp8((nLuma + _chroma.nR) >> 13);
    _pBGRA[3] = _nAlpha;
}
