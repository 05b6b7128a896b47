#include "Image/ImgRowsRead.h"
#include "Image/x86/ImgKernels_x86.h"
#include "Simd/Simd_avx2.h"

void ImgRead_RGB32_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    MapPixels<SIMD_AVX2>(_row.pPlane0, _pBGRA, _row.nWidth, MADE_OPAQUE<SIMD_AVX2>());
}

void ImgRead_r210_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    MapPixels<SIMD_AVX2>(_row.pPlane0, _pBGRA, _row.nWidth, FROM_R210<SIMD_AVX2>());
}

void ImgRead_v210_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadV210<SIMD_AVX2>(_row, _pBGRA);
}

void ImgRead_YUYV_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadYUYV<SIMD_AVX2>(_row, _pBGRA);
}

void ImgRead_UYVY_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadUYVY<SIMD_AVX2>(_row, _pBGRA);
}

void ImgRead_YVYU_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadYVYU<SIMD_AVX2>(_row, _pBGRA);
}

void ImgRead_Planar_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPlanar<SIMD_AVX2>(_row, _pBGRA);
}

void ImgRead_NV12_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadNV12<SIMD_AVX2>(_row, _pBGRA);
}

void ImgRead_RGBA32_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    MapPixels<SIMD_AVX2>(_row.pPlane0, _pBGRA, _row.nWidth, FROM_RGBA32<SIMD_AVX2>());
}

void ImgRead_P010_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadP010<SIMD_AVX2>(_row, _pBGRA);
}

void ImgRow_ToYUV_AVX2(const uint8_t* _pBGRA, uint8_t* _pYUVA, int _nPixels, const IMG_RGB_COEF& _coef)
{
    MapPixels<SIMD_AVX2>(_pBGRA, _pYUVA, _nPixels, TO_YUV<SIMD_AVX2>(_coef));
}

void ImgRow_FromYUV_AVX2(const uint8_t* _pYUVA, uint8_t* _pBGRA, int _nPixels, const IMG_YUV_COEF& _coef)
{
    MapPixels<SIMD_AVX2>(_pYUVA, _pBGRA, _nPixels, FROM_YUV<SIMD_AVX2>(_coef));
}

void ImgRow_ToHLS_AVX2(const uint8_t* _pBGRA, uint8_t* _pHLSA, int _nPixels)
{
    MapPixels<SIMD_AVX2>(_pBGRA, _pHLSA, _nPixels, TO_HLS<SIMD_AVX2>());
}
