#include "Image/ImgColor.h"

#include "Image/ImgPixel.h"
#include "Image/ImgRowsC.h"

#include "Base/ZHelpers.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace
{
// Hue in sixths of a turn x delta, and delta; where two components share the maximum both sectors agree.
template <class T> T HueSixths(T _r, T _g, T _b, T _max, T _delta)
{
    if (_max == _r)
        return _g >= _b ? _g - _b : 6 * _delta + _g - _b;
    return _max == _g ? 2 * _delta + _b - _r : 4 * _delta + _r - _g;
}

// Numerator / denominator rounded to nearest, halves up. Both stay below 2^24, so a truncated single-precision
// quotient is the same number.
constexpr int Rounded(int _nNumerator, int _nDenominator)
{
    return (2 * _nNumerator + _nDenominator) / (2 * _nDenominator);
}
} // namespace

eZYMatrix Img_MatrixOf(const ZF_VID_PROPS& _vidProps)
{
    if (FCC_IsRGB(_vidProps.fccType))
        return eZYM_601;
    const int64_t nLines = std::abs(int64_t{_vidProps.nHeight});
    const int64_t nLinesSD = _vidProps.nWidth == 720 ? 625 : 576;
    return _vidProps.nWidth > 1024 || nLines > nLinesSD ? eZYM_709 : eZYM_601;
}

eZYMatrix Img_MatrixOf(const ZF_VID_PROPS& _vidProps, const Z_YUV_FORM& _yuv)
{
    if (FCC_IsRGB(_vidProps.fccType))
        return eZYM_601;
    const int32_t eLimited = _yuv.nMatrix > 0 ? _yuv.nMatrix - 1 : Img_MatrixOf(_vidProps);
    return static_cast<eZYMatrix>(eLimited + (_yuv.bFull ? eZYM_Full : 0));
}

void Img_RowToYUV(const uint8_t* _pBGRA, uint8_t* _pYUVA, int _nPixels, eZYMatrix _eMatrix)
{
    ImgKernels().pfnToYUV(_pBGRA, _pYUVA, _nPixels, Img_CoefToYUV(_eMatrix));
}

void Img_RowFromYUV(const uint8_t* _pYUVA, uint8_t* _pBGRA, int _nPixels, eZYMatrix _eMatrix)
{
    ImgKernels().pfnFromYUV(_pYUVA, _pBGRA, _nPixels, Img_CoefFromYUV(_eMatrix));
}

void Img_RowToHLS(const uint8_t* _pBGRA, uint8_t* _pHLSA, int _nPixels)
{
    ImgKernels().pfnToHLS(_pBGRA, _pHLSA, _nPixels);
}

void ImgRow_ToYUV(const uint8_t* _pBGRA, uint8_t* _pYUVA, int _nPixels, const IMG_RGB_COEF& _coef)
{
    const auto fnSum = [](const int16_t* _pnCoef, const uint8_t* _pPixel, int _nOffset) {
        const int nSum = _pnCoef[0] * _pPixel[0] + _pnCoef[1] * _pPixel[1] + _pnCoef[2] * _pPixel[2];
        return static_cast<uint8_t>((nSum + (_nOffset << 15) + (1 << 14)) >> 15);
    };
    for (int x = 0; x < _nPixels; ++x, _pBGRA += 4, _pYUVA += 4)
    {
        const uint8_t arrPixel[4] = {_pBGRA[0], _pBGRA[1], _pBGRA[2], _pBGRA[3]};
        _pYUVA[0] = fnSum(_coef.anY, arrPixel, _coef.nBlack);
        _pYUVA[1] = fnSum(_coef.anU, arrPixel, 128);
        _pYUVA[2] = fnSum(_coef.anV, arrPixel, 128);
        _pYUVA[3] = arrPixel[3];
    }
}

void ImgRow_FromYUV(const uint8_t* _pYUVA, uint8_t* _pBGRA, int _nPixels, const IMG_YUV_COEF& _coef)
{
    for (int x = 0; x < _nPixels; ++x, _pBGRA += 4, _pYUVA += 4)
        Img_PutYUV(_pBGRA, _pYUVA[0], Img_Chroma(_pYUVA[1], _pYUVA[2], _coef), _coef, _pYUVA[3]);
}

void ImgRow_ToHLS(const uint8_t* _pBGRA, uint8_t* _pHLSA, int _nPixels)
{
    for (int x = 0; x < _nPixels; ++x, _pBGRA += 4, _pHLSA += 4)
    {
        const int nB = _pBGRA[0], nG = _pBGRA[1], nR = _pBGRA[2];
        const int nMax = std::max({nR, nG, nB});
        const int nSum = nMax + std::min({nR, nG, nB});
        const int nDelta = 2 * nMax - nSum;
        int nHue = 0;
        int nSaturation = 0;
        if (nDelta > 0)
        {
            nHue = Rounded(256 * HueSixths(nR, nG, nB, nMax, nDelta), 6 * nDelta) & 255;
            nSaturation = Rounded(255 * nDelta, nSum <= 255 ? nSum : 510 - nSum);
        }
        _pHLSA[3] = _pBGRA[3];
        _pHLSA[0] = static_cast<uint8_t>(nHue);
        _pHLSA[1] = static_cast<uint8_t>((nSum + 1) / 2);
        _pHLSA[2] = static_cast<uint8_t>(nSaturation);
    }
}

IMG_COLOR Img_ColorToYUV(const IMG_COLOR& _colRGB, eZYMatrix _eMatrix)
{
    const Z_LUMA& luma = ZMatrix_Luma(_eMatrix);
    const Z_YUV_LEVELS levels = ZMatrix_Levels(_eMatrix);
    const double dblY =
        luma.dblKr * _colRGB.dbl0 + (1 - luma.dblKr - luma.dblKb) * _colRGB.dbl1 + luma.dblKb * _colRGB.dbl2;
    return {(levels.dblBlack + levels.dblLuma * dblY) / 255,
            (128 + levels.dblChroma * (_colRGB.dbl2 - dblY) / (1 - luma.dblKb)) / 255,
            (128 + levels.dblChroma * (_colRGB.dbl0 - dblY) / (1 - luma.dblKr)) / 255};
}

IMG_COLOR Img_ColorFromYUV(const IMG_COLOR& _colYUV, eZYMatrix _eMatrix)
{
    const Z_LUMA& luma = ZMatrix_Luma(_eMatrix);
    const Z_YUV_LEVELS levels = ZMatrix_Levels(_eMatrix);
    const double dblY = (255 * _colYUV.dbl0 - levels.dblBlack) / levels.dblLuma;
    const double dblB = dblY + (255 * _colYUV.dbl1 - 128) / levels.dblChroma * (1 - luma.dblKb);
    const double dblR = dblY + (255 * _colYUV.dbl2 - 128) / levels.dblChroma * (1 - luma.dblKr);
    return {dblR, (dblY - luma.dblKr * dblR - luma.dblKb * dblB) / (1 - luma.dblKr - luma.dblKb), dblB};
}

IMG_COLOR Img_ColorToHLS(const IMG_COLOR& _colRGB)
{
    const double dblMax = std::max({_colRGB.dbl0, _colRGB.dbl1, _colRGB.dbl2});
    const double dblMin = std::min({_colRGB.dbl0, _colRGB.dbl1, _colRGB.dbl2});
    const double dblDelta = dblMax - dblMin;
    const double dblLight = (dblMax + dblMin) / 2;
    const double dblRange = 1 - std::fabs(2 * dblLight - 1);
    if (!(dblDelta > 0))
        return {0, dblLight, 0};
    const double dblHue = HueSixths(_colRGB.dbl0, _colRGB.dbl1, _colRGB.dbl2, dblMax, dblDelta) / (6 * dblDelta);
    return {dblHue >= 1 ? 0 : dblHue, dblLight, dblRange > 0 ? dblDelta / dblRange : 0};
}
