#include "Base/ZPixelFormats.h"

#include "Base/ZAssert.h"
#include "Base/ZSaturate.h"

namespace
{

// clang-format off
constexpr PIXEL_FORMAT c_arrFormats[] = {
    // name     code          bpp   RGB  planar row size  subsampling of planes 1, 2
    {"RGB8",   eZFCC_RGB8,     8,  true, false,  true, {{1, 1}, {1, 1}}},
    {"RGB565", eZFCC_RGB565,  16,  true, false, false, {{1, 1}, {1, 1}}},
    {"RGB555", eZFCC_RGB555,  16,  true, false, false, {{1, 1}, {1, 1}}},
    {"RGB24",  eZFCC_RGB24,   24,  true, false,  true, {{1, 1}, {1, 1}}},
    {"RGB32",  eZFCC_RGB32,   32,  true, false,  true, {{1, 1}, {1, 1}}},
    {"ARGB32", eZFCC_ARGB32,  32,  true, false,  true, {{1, 1}, {1, 1}}},
    {"r210",   eZFCC_r210,    32,  true, false,  true, {{1, 1}, {1, 1}}},
    {"v210",   eZFCC_v210,    20, false, false,  true, {{1, 1}, {1, 1}}},
    {"YUY2",   eZFCC_YUY2,    16, false, false,  true, {{1, 1}, {1, 1}}},
    {"UYVY",   eZFCC_UYVY,    16, false, false,  true, {{1, 1}, {1, 1}}},
    {"HDYC",   eZFCC_HDYC,    16, false, false,  true, {{1, 1}, {1, 1}}},
    {"YVYU",   eZFCC_YVYU,    16, false, false,  true, {{1, 1}, {1, 1}}},
    {"IYU2",   eZFCC_IYU2,    24, false, false, false, {{1, 1}, {1, 1}}},
    {"YVU9",   eZFCC_YVU9,     9, false, false, false, {{1, 1}, {1, 1}}},
    {"I420",   eZFCC_I420,    12, false,  true,  true, {{2, 2}, {2, 2}}},
    {"YV12",   eZFCC_YV12,    12, false,  true,  true, {{2, 2}, {2, 2}}},
    {"NV12",   eZFCC_NV12,    16, false,  true,  true, {{1, 2}, {1, 1}}},
    {"I422",   eZFCC_I422,    16, false,  true,  true, {{2, 1}, {2, 1}}},
    {"YV16",   eZFCC_YV16,    16, false,  true,  true, {{2, 1}, {2, 1}}},
    {"Y422",   eZFCC_Y422,    16, false,  true,  true, {{1, 1}, {1, 1}}},
    {"Y444",   eZFCC_Y444,    24, false,  true,  true, {{1, 1}, {1, 1}}},
};
// clang-format on

int64_t PackedRowSize(const PIXEL_FORMAT& _format, int32_t _nWidth)
{
    const int64_t nBytes = int64_t{_format.nBitsPerPixel} * _nWidth / 8;
    // Masks have strides of whole 8 bytes throughout the system.
    const int64_t nUnit = _format.fccType == eZFCC_RGB8 ? 8 : 4;
    return (nBytes + nUnit - 1) & ~(nUnit - 1);
}

int64_t RowSize(const PIXEL_FORMAT& _format, int32_t _nWidth)
{
    if (_format.fccType == eZFCC_v210)
        return (int64_t{_nWidth} + 47) / 48 * 128;
    if (_format.bPlanar)
        return _nWidth;
    return _format.bRowSize ? PackedRowSize(_format, _nWidth) : 0;
}

} // namespace

std::span<const PIXEL_FORMAT> FCC_All()
{
    return c_arrFormats;
}

const PIXEL_FORMAT* FCC_Lookup(uint32_t _fccType)
{
    for (const PIXEL_FORMAT& format : c_arrFormats)
        if (format.fccType == _fccType)
            return &format;
    return nullptr;
}

int32_t FCC_BitsPerPixel(uint32_t _fccType)
{
    const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType);
    return pFormat ? pFormat->nBitsPerPixel : 0;
}

bool FCC_IsRGB(uint32_t _fccType)
{
    const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType);
    return pFormat && pFormat->bRGB;
}

bool FCC_IsPlanar(uint32_t _fccType)
{
    const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType);
    return pFormat && pFormat->bPlanar;
}

ZF_SIZE FCC_Subsampling(uint32_t _fccType, int32_t _nPlane)
{
    const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType);
    if (!pFormat || _nPlane < 1 || _nPlane > 2)
        return {1, 1};
    return pFormat->arrSubsampling[_nPlane - 1];
}

int32_t Img_RowSize(uint32_t _fccType, int32_t _nWidth)
{
    const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType);
    const int64_t nBytes = pFormat ? RowSize(*pFormat, _nWidth) : 0;
    return ZSaturate32(nBytes) == nBytes ? static_cast<int32_t>(nBytes) : 0;
}

int32_t Img_RowSizeM(const ZF_VID_PROPS* _pVidProps)
{
    return Z_VERIFY(_pVidProps) ? Img_RowSize(_pVidProps->fccType, _pVidProps->nWidth) : 0;
}

int32_t Img_WidthFromRowBytes(uint32_t _fccType, int32_t _nRowBytes)
{
    if (_fccType == eZFCC_None)
        return 0;
    if (_fccType == eZFCC_v210)
        return _nRowBytes / 128 * 48;
    const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType);
    if (!pFormat || pFormat->bPlanar)
        return _nRowBytes;
    return static_cast<int32_t>(int64_t{_nRowBytes} * 8 / pFormat->nBitsPerPixel); // 8 bits or more: never longer
}
