#include "Bench/BenchPlain.h"

#include "Image/ImgColor.h"
#include "Image/ImgKernels.h"
#include "Image/ImgPlane.h"
#include "ZChromaKey/Engine1/KeyPlan.h"
#include "ZChromaKey/Engine1/KeySlice.h"
#include "ZChromaKey/Work/MaskPost.h"

#include <cstdlib>

namespace
{

eImgLayout LayoutOf(uint32_t _fccType)
{
    switch (_fccType)
    {
    case eZFCC_UYVY:
        return eIL_UYVY;
    case eZFCC_NV12:
        return eIL_NV12;
    case eZFCC_v210:
        return eIL_v210;
    default:
        return eIL_RGB32;
    }
}

IMG_ROW RowOf(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, int _nRow)
{
    IMG_ROW row = {
        Img_RowOf(_vidPtr, 0, _nRow), nullptr, nullptr, _vidProps.nWidth, 0, &Img_CoefFromYUV(Img_MatrixOf(_vidProps))};
    if (_vidProps.fccType == eZFCC_NV12)
    {
        row.pU = Img_RowOf(_vidPtr, 1, _nRow / 2);
        row.pV = row.pU + 1;
        row.nChroma = (_vidProps.nWidth + 1) / 2;
    }
    return row;
}

} // namespace

std::vector<uint8_t> BenchPlain_Mask(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr,
                                     const CHROMA_KEY_RAW& _rawKey)
{
    IMG_KERNELS image;
    KEY_KERNELS keys;
    PLANE_KERNELS planes;
    ImgKernels_Init(&image, eSIMD_None);
    KeyKernels_Init(&keys, eSIMD_None);
    PlaneKernels_Init(&planes, eSIMD_None);
    const int nWidth = _vidProps.nWidth;
    const int nHeight = std::abs(_vidProps.nHeight);
    const auto nColumns = static_cast<size_t>(KeySlice_Columns(nWidth, nWidth));
    const auto nMerged = static_cast<size_t>(KeySlice_MergeColumns(nWidth, static_cast<int>(nColumns)));
    const KEY_PLAN plan = KeyPlan_Make(_rawKey);
    const KEY_SET set = {plan.arrKeying, plan.nKeying, plan.arrExclude, plan.nExclude};
    std::vector<uint8_t> arrPixels(4 * static_cast<size_t>(nWidth));
    std::vector<uint8_t> arrMask(static_cast<size_t>(nWidth) * static_cast<size_t>(nHeight), 255);
    const MASK_PLANE plane = {arrMask.data(), nWidth, nWidth, nHeight};
    for (int nRow = 0; nRow < nHeight; ++nRow)
    {
        image.apfnRead[LayoutOf(_vidProps.fccType)](RowOf(_vidProps, _vidPtr, nRow), arrPixels.data());
        if (_rawKey.eType == eCKT_HLS)
            image.pfnToHLS(arrPixels.data(), arrPixels.data(), nWidth);
        if (_rawKey.eType == eCKT_YUV)
            image.pfnToYUV(arrPixels.data(), arrPixels.data(), nWidth, Img_CoefToYUV(Img_MatrixOf(_vidProps)));
        keys.pfnKeySet(plane.Row(nRow), arrPixels.data(), nColumns, nMerged, set);
    }
    CMaskSmoother smoother; // of all that finishes a mask, cases ask for this alone
    smoother.Reserve(nWidth);
    for (int nPass = 0; nPass < _rawKey.nEdgesSmooth; ++nPass)
    {
        smoother.EdgesKeep(plane, 0, nHeight);
        smoother.Smooth(plane, 0, nHeight, planes);
    }
    return arrMask;
}
