#include "Image/ImgKernels.h"

#include "Image/ImgRowsC.h"
#include "Image/x86/ImgKernels_x86.h"

namespace
{
// From Kr, Kg, Kb = 0.299, 0.587, 0.114 and 0.2126, 0.7152, 0.0722, scaled by 255 / 219 for luma and 255 / 224 for
// chroma, rounded to nearest.
constexpr IMG_YUV_COEF c_arrFromYUV[2] = {
    {9539, 13075, -3209, -6660, 16525},
    {9539, 14686, -1747, -4366, 17305},
};
// The inverse, for B, G, R, rounded to nearest. Where the three of a row do not add up to 0, the rest is far too small
// to colour a grey.
constexpr IMG_RGB_COEF c_arrToYUV[2] = {
    {{3208, 16519, 8414}, {14392, -9535, -4857}, {-2341, -12052, 14392}},
    {{2032, 20127, 5983}, {14392, -11094, -3298}, {-1320, -13073, 14392}},
};

#if defined(ZCK_X86)
void Init_AVX2(IMG_KERNELS* _pTable)
{
    _pTable->apfnRead[eIL_r210] = ImgRead_r210_AVX2;
    _pTable->apfnRead[eIL_v210] = ImgRead_v210_AVX2;
    _pTable->apfnRead[eIL_YUYV] = ImgRead_YUYV_AVX2;
    _pTable->apfnRead[eIL_UYVY] = ImgRead_UYVY_AVX2;
    _pTable->apfnRead[eIL_YVYU] = ImgRead_YVYU_AVX2;
    _pTable->apfnRead[eIL_Planar] = ImgRead_Planar_AVX2;
    _pTable->apfnRead[eIL_NV12] = ImgRead_NV12_AVX2;
    _pTable->pfnToYUV = ImgRow_ToYUV_AVX2;
    _pTable->pfnFromYUV = ImgRow_FromYUV_AVX2;
    _pTable->pfnToHLS = ImgRow_ToHLS_AVX2;
}

void Init_AVX512(IMG_KERNELS* _pTable)
{
    _pTable->apfnRead[eIL_r210] = ImgRead_r210_AVX512;
    _pTable->apfnRead[eIL_v210] = ImgRead_v210_AVX512;
    _pTable->apfnRead[eIL_YUYV] = ImgRead_YUYV_AVX512;
    _pTable->apfnRead[eIL_UYVY] = ImgRead_UYVY_AVX512;
    _pTable->apfnRead[eIL_YVYU] = ImgRead_YVYU_AVX512;
    _pTable->apfnRead[eIL_Planar] = ImgRead_Planar_AVX512;
    _pTable->apfnRead[eIL_NV12] = ImgRead_NV12_AVX512;
    _pTable->pfnToYUV = ImgRow_ToYUV_AVX512;
    _pTable->pfnFromYUV = ImgRow_FromYUV_AVX512;
    _pTable->pfnToHLS = ImgRow_ToHLS_AVX512;
}
#endif

IMG_KERNELS MakeTable()
{
    IMG_KERNELS table;
    ImgKernels_Init(&table, ZCpu_Level());
    return table;
}
} // namespace

const IMG_YUV_COEF& Img_CoefFromYUV(int32_t _eMatrix)
{
    return c_arrFromYUV[_eMatrix != 0];
}

const IMG_RGB_COEF& Img_CoefToYUV(int32_t _eMatrix)
{
    return c_arrToYUV[_eMatrix != 0];
}

void ImgKernels_Init(IMG_KERNELS* _pTable, [[maybe_unused]] eSIMD_Level _eMax)
{
    *_pTable = {{ImgRead_RGB8, ImgRead_RGB24, ImgRead_RGB32, ImgRead_ARGB32, ImgRead_r210, ImgRead_v210, ImgRead_YUYV,
                 ImgRead_UYVY, ImgRead_YVYU, ImgRead_Planar, ImgRead_NV12},
                ImgRow_ToYUV,
                ImgRow_FromYUV,
                ImgRow_ToHLS};
#if defined(ZCK_X86)
    if (_eMax >= eSIMD_AVX2)
        Init_AVX2(_pTable);
    if (_eMax >= eSIMD_AVX512)
        Init_AVX512(_pTable);
#endif
}

const IMG_KERNELS& ImgKernels()
{
    static const IMG_KERNELS s_table = MakeTable();
    return s_table;
}
