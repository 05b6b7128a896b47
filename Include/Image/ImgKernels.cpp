#include "Image/ImgKernels.h"

#include "Base/ZMatrix.h"
#include "Image/ImgRowsC.h"
#include "Image/x86/ImgKernels_x86.h"

#include <algorithm>
#include <iterator>

namespace
{
constexpr int16_t BlackOf(int32_t _eMatrix)
{
    return static_cast<int16_t>(ZMatrix_Levels(_eMatrix).dblBlack);
}

constexpr IMG_YUV_COEF FromYUV(int32_t _eMatrix)
{
    const Z_EXACT_MATRIX exact = ZMatrix_Exact(_eMatrix);
    const auto fnScaled = [](double _dblValue) { return ZMatrix_Scaled(_dblValue, 8192); };
    return {fnScaled(exact.dblY),  fnScaled(exact.dblRV), fnScaled(exact.dblGU),
            fnScaled(exact.dblGV), fnScaled(exact.dblBU), BlackOf(_eMatrix)};
}

// Where the three of a row do not add up to 0, the rest is far too small to colour a grey.
constexpr IMG_RGB_COEF ToYUV(int32_t _eMatrix)
{
    const Z_EXACT_MATRIX exact = ZMatrix_Exact(_eMatrix);
    const auto fnScaled = [](double _dblValue) { return ZMatrix_Scaled(_dblValue, 32768); };
    // In full range the purest blue and red are at 255.5, which is to be 255.
    const auto fnChroma = [](double _dblValue) { return std::min<int16_t>(ZMatrix_Scaled(_dblValue, 32768), 16383); };
    return {{fnScaled(exact.arrY[2]), fnScaled(exact.arrY[1]), fnScaled(exact.arrY[0])},
            {fnChroma(exact.arrU[2]), fnChroma(exact.arrU[1]), fnChroma(exact.arrU[0])},
            {fnChroma(exact.arrV[2]), fnChroma(exact.arrV[1]), fnChroma(exact.arrV[0])},
            BlackOf(_eMatrix)};
}

constexpr IMG_YUV_COEF c_arrFromYUV[] = {FromYUV(0), FromYUV(1), FromYUV(2), FromYUV(3), FromYUV(4), FromYUV(5)};
constexpr IMG_RGB_COEF c_arrToYUV[] = {ToYUV(0), ToYUV(1), ToYUV(2), ToYUV(3), ToYUV(4), ToYUV(5)};
static_assert(std::size(c_arrFromYUV) == eZYM_Count && std::size(c_arrToYUV) == eZYM_Count);

#if defined(ZCK_X86)
void Init_AVX2(IMG_KERNELS* _pTable)
{
    _pTable->apfnRead[eIL_RGB32] = ImgRead_RGB32_AVX2;
    _pTable->apfnRead[eIL_r210] = ImgRead_r210_AVX2;
    _pTable->apfnRead[eIL_v210] = ImgRead_v210_AVX2;
    _pTable->apfnRead[eIL_YUYV] = ImgRead_YUYV_AVX2;
    _pTable->apfnRead[eIL_UYVY] = ImgRead_UYVY_AVX2;
    _pTable->apfnRead[eIL_YVYU] = ImgRead_YVYU_AVX2;
    _pTable->apfnRead[eIL_Planar] = ImgRead_Planar_AVX2;
    _pTable->apfnRead[eIL_NV12] = ImgRead_NV12_AVX2;
    _pTable->apfnRead[eIL_RGBA32] = ImgRead_RGBA32_AVX2;
    _pTable->apfnRead[eIL_P010] = ImgRead_P010_AVX2;
    _pTable->pfnToYUV = ImgRow_ToYUV_AVX2;
    _pTable->pfnFromYUV = ImgRow_FromYUV_AVX2;
    _pTable->pfnToHLS = ImgRow_ToHLS_AVX2;
}

void Init_AVX512(IMG_KERNELS* _pTable)
{
    _pTable->apfnRead[eIL_RGB32] = ImgRead_RGB32_AVX512;
    _pTable->apfnRead[eIL_r210] = ImgRead_r210_AVX512;
    _pTable->apfnRead[eIL_v210] = ImgRead_v210_AVX512;
    _pTable->apfnRead[eIL_YUYV] = ImgRead_YUYV_AVX512;
    _pTable->apfnRead[eIL_UYVY] = ImgRead_UYVY_AVX512;
    _pTable->apfnRead[eIL_YVYU] = ImgRead_YVYU_AVX512;
    _pTable->apfnRead[eIL_Planar] = ImgRead_Planar_AVX512;
    _pTable->apfnRead[eIL_NV12] = ImgRead_NV12_AVX512;
    _pTable->apfnRead[eIL_RGBA32] = ImgRead_RGBA32_AVX512;
    _pTable->apfnRead[eIL_P010] = ImgRead_P010_AVX512;
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
    return c_arrFromYUV[_eMatrix];
}

const IMG_RGB_COEF& Img_CoefToYUV(int32_t _eMatrix)
{
    return c_arrToYUV[_eMatrix];
}

void ImgKernels_Init(IMG_KERNELS* _pTable, [[maybe_unused]] eSIMD_Level _eMax)
{
    *_pTable = {{ImgRead_RGB8, ImgRead_RGB24, ImgRead_RGB32, ImgRead_ARGB32, ImgRead_r210, ImgRead_v210, ImgRead_YUYV,
                 ImgRead_UYVY, ImgRead_YVYU, ImgRead_Planar, ImgRead_NV12, ImgRead_ARGB64, ImgRead_RGBA32,
                 ImgRead_P010},
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
