#pragma once

#include "Base/ZCpu.h"
#include "Base/ZPixelLayout.h"

#include <cstddef>
#include <cstdint>

/// The row kernels and the table that they are called through.
///
/// The table is filled with the plain C++ kernels, which are the reference; faster ones replace single entries and
/// give the same bytes. Kernels do not allocate, log or throw, and may run on any number of threads.

/// Integer coefficients of YUV to RGB, x 8192. They fit 16 bits, so that pairs of products can be summed in 32.
struct IMG_YUV_COEF
{
    int16_t nY;     ///< luma, for R, G and B
    int16_t nRV;    ///< V for R
    int16_t nGU;    ///< U for G
    int16_t nGV;    ///< V for G
    int16_t nBU;    ///< U for B
    int16_t nBlack; ///< Y of black
};

/// Integer coefficients of RGB to YUV, x 32768, each applied to B, G, R.
struct IMG_RGB_COEF
{
    int16_t anY[3];
    int16_t anU[3];
    int16_t anV[3];
    int16_t nBlack; ///< Y of black
};

/// Coefficients of a matrix (eZYMatrix).
const IMG_YUV_COEF& Img_CoefFromYUV(int32_t _eMatrix);
const IMG_RGB_COEF& Img_CoefToYUV(int32_t _eMatrix);

/// One row of a picture as a reading kernel sees it.
struct IMG_ROW
{
    const uint8_t* pPlane0; ///< packed pixels, or Y
    const uint8_t* pU;      ///< planar formats: U of this row (eIL_NV12, eIL_P010: U V pairs); null where there is none
    const uint8_t* pV;      ///< planar formats: V of this row; null where there is none
    int32_t nWidth;         ///< pixels to read
    int32_t nChroma;        ///< planar formats: samples in a chroma row; 0 = chroma is neutral
    const IMG_YUV_COEF* pCoeff; ///< how YUV becomes RGB
    /// Bytes from a sample to the one below it in the row that is read next, which vector kernels have fetched
    /// meanwhile: of plane 0, and of U and V. 0: nothing is.
    ptrdiff_t nNext = 0;
    ptrdiff_t nNextChroma = 0;
};

/// Writes the row as bytes B, G, R, A.
using PFN_IMG_READ = void (*)(const IMG_ROW& _row, uint8_t* _pBGRA);
using PFN_IMG_TO_YUV = void (*)(const uint8_t* _pBGRA, uint8_t* _pYUVA, int _nPixels, const IMG_RGB_COEF& _coef);
using PFN_IMG_FROM_YUV = void (*)(const uint8_t* _pYUVA, uint8_t* _pBGRA, int _nPixels, const IMG_YUV_COEF& _coef);
using PFN_IMG_TO_HLS = void (*)(const uint8_t* _pBGRA, uint8_t* _pHLSA, int _nPixels);

struct IMG_KERNELS
{
    PFN_IMG_READ apfnRead[eIL_Count];
    PFN_IMG_TO_YUV pfnToYUV;
    PFN_IMG_FROM_YUV pfnFromYUV;
    PFN_IMG_TO_HLS pfnToHLS;
};

/// Fills the table with the fastest kernels that need no more than the given level.
void ImgKernels_Init(IMG_KERNELS* _pTable, eSIMD_Level _eMax);
/// The table in use.
const IMG_KERNELS& ImgKernels();
