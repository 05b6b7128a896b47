#pragma once

#include "Image/ImgKernels.h"

/// The row kernels for instruction sets of x86-64 processors, by name; everyone else calls them through ImgKernels().

void ImgRead_RGB32_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_r210_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_v210_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_YUYV_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_UYVY_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_YVYU_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_Planar_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_NV12_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_RGBA32_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_P010_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRow_ToYUV_AVX2(const uint8_t* _pBGRA, uint8_t* _pYUVA, int _nPixels, const IMG_RGB_COEF& _coef);
void ImgRow_FromYUV_AVX2(const uint8_t* _pYUVA, uint8_t* _pBGRA, int _nPixels, const IMG_YUV_COEF& _coef);
void ImgRow_ToHLS_AVX2(const uint8_t* _pBGRA, uint8_t* _pHLSA, int _nPixels);

void ImgRead_RGB32_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_r210_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_v210_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_YUYV_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_UYVY_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_YVYU_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_Planar_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_NV12_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_RGBA32_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_P010_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRow_ToYUV_AVX512(const uint8_t* _pBGRA, uint8_t* _pYUVA, int _nPixels, const IMG_RGB_COEF& _coef);
void ImgRow_FromYUV_AVX512(const uint8_t* _pYUVA, uint8_t* _pBGRA, int _nPixels, const IMG_YUV_COEF& _coef);
void ImgRow_ToHLS_AVX512(const uint8_t* _pBGRA, uint8_t* _pHLSA, int _nPixels);
