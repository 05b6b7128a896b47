#include "Bench/LibYuv.h"

#include "Base/ZCpu.h"
#include "Image/ImgPlane.h"

#include <cstdlib>
#include <libyuv.h>
#include <libyuv/cpu_id.h>

namespace
{

using PFN_PLANAR = int (*)(const uint8_t*, int, const uint8_t*, int, const uint8_t*, int, uint8_t*, int, int, int);

/// Y444 is addressed with half-width chroma, so it is 4:2:2 to libyuv.
PFN_PLANAR PlanarOf(uint32_t _fccType)
{
    if (_fccType == eZFCC_I420)
        return libyuv::I420ToARGB;
    return _fccType == eZFCC_I422 || _fccType == eZFCC_Y444 ? libyuv::I422ToARGB : nullptr;
}

bool IsPacked(uint32_t _fccType)
{
    return _fccType == eZFCC_UYVY || _fccType == eZFCC_YUY2 || _fccType == eZFCC_NV12;
}

} // namespace

bool LibYuv_Has(uint32_t _fccType)
{
    // Level against level: libyuv gets no more instructions than we may use.
    if (ZCpu_Level() == eSIMD_None)
        libyuv::MaskCpuFlags(libyuv::kCpuInitialized);
    if (ZCpu_Level() == eSIMD_AVX2)
        libyuv::MaskCpuFlags(~(libyuv::kCpuHasAVX512BW | libyuv::kCpuHasAVX512VL | libyuv::kCpuHasAVX512VNNI |
                               libyuv::kCpuHasAVX512VBMI | libyuv::kCpuHasAVX512VBMI2 | libyuv::kCpuHasAVX512VBITALG));
    return IsPacked(_fccType) || PlanarOf(_fccType);
}

HRESULT LibYuv_ToBGRA(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, const ZF_VID_PROPS& /*_vidPropsOut*/,
                      const ZF_VID_PTR& _vidPtrOut)
{
    const auto fnPlane = [&](int _nPlane) { return Img_RowOf(_vidPtr, _nPlane, 0); };
    const auto fnStride = [&](int _nPlane) { return static_cast<int>(_vidPtr.cbVideoRowBytes[_nPlane]); };
    uint8_t* const pOut = Img_RowOf(_vidPtrOut, 0, 0);
    const int nStrideOut = static_cast<int>(_vidPtrOut.cbVideoRowBytes[0]);
    const int nWidth = _vidProps.nWidth, nHeight = std::abs(_vidProps.nHeight);
    int nFault = 1;
    if (const PFN_PLANAR pfnPlanar = PlanarOf(_vidProps.fccType))
        nFault = pfnPlanar(fnPlane(0), fnStride(0), fnPlane(1), fnStride(1), fnPlane(2), fnStride(2), pOut, nStrideOut,
                           nWidth, nHeight);
    else if (_vidProps.fccType == eZFCC_UYVY)
        nFault = libyuv::UYVYToARGB(fnPlane(0), fnStride(0), pOut, nStrideOut, nWidth, nHeight);
    else if (_vidProps.fccType == eZFCC_YUY2)
        nFault = libyuv::YUY2ToARGB(fnPlane(0), fnStride(0), pOut, nStrideOut, nWidth, nHeight);
    else if (_vidProps.fccType == eZFCC_NV12)
        nFault =
            libyuv::NV12ToARGB(fnPlane(0), fnStride(0), fnPlane(1), fnStride(1), pOut, nStrideOut, nWidth, nHeight);
    return nFault ? E_NOTIMPL : S_OK;
}
