#pragma once

#include "Image/ImgKernels.h"

/// The reference kernels, by name; everyone else calls them through ImgKernels().

void ImgRead_RGB8(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_RGB24(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_RGB32(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_ARGB32(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_r210(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_v210(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_YUYV(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_UYVY(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_YVYU(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_Planar(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_NV12(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_ARGB64(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_RGBA32(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRead_P010(const IMG_ROW& _row, uint8_t* _pBGRA);
void ImgRow_ToYUV(const uint8_t* _pBGRA, uint8_t* _pYUVA, int _nPixels, const IMG_RGB_COEF& _coef);
void ImgRow_FromYUV(const uint8_t* _pYUVA, uint8_t* _pBGRA, int _nPixels, const IMG_YUV_COEF& _coef);
void ImgRow_ToHLS(const uint8_t* _pBGRA, uint8_t* _pHLSA, int _nPixels);
