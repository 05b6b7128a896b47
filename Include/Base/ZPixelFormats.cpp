#include "Base/ZPixelFormats.h"

#include "Base/ZAssert.h"
#include "Base/ZSaturate.h"

#include <algorithm>

namespace
{

// clang-format off
constexpr PIXEL_FORMAT c_arrFormats[] = {
    // name    code          bpp RGB   planar row    parsed clean subsampling   layout      chroma       texture    own
    {"RGB8",   eZFCC_RGB8,    8, true,  false, true,  true,  false, {{1,1},{1,1}}, eIL_RGB8,   eZCh_Packed, eZT_Byte,   false},
    {"RGB565", eZFCC_RGB565, 16, true,  false, false, false, false, {{1,1},{1,1}}, eIL_None,   eZCh_Packed, eZT_None,   false},
    {"RGB555", eZFCC_RGB555, 16, true,  false, false, false, false, {{1,1},{1,1}}, eIL_None,   eZCh_Packed, eZT_None,   false},
    {"RGB24",  eZFCC_RGB24,  24, true,  false, true,  true,  true,  {{1,1},{1,1}}, eIL_RGB24,  eZCh_Packed, eZT_None,   false},
    {"RGB32",  eZFCC_RGB32,  32, true,  false, true,  true,  true,  {{1,1},{1,1}}, eIL_RGB32,  eZCh_Packed, eZT_Pixels, false},
    {"ARGB32", eZFCC_ARGB32, 32, true,  false, true,  true,  true,  {{1,1},{1,1}}, eIL_ARGB32, eZCh_Packed, eZT_Pixels, false},
    {"r210",   eZFCC_r210,   32, true,  false, true,  true,  false, {{1,1},{1,1}}, eIL_r210,   eZCh_Packed, eZT_None,   false},
    {"v210",   eZFCC_v210,   20, false, false, true,  true,  false, {{1,1},{1,1}}, eIL_v210,   eZCh_Packed, eZT_None,   false},
    {"YUY2",   eZFCC_YUY2,   16, false, false, true,  true,  true,  {{1,1},{1,1}}, eIL_YUYV,   eZCh_Packed, eZT_Pairs,  false},
    {"UYVY",   eZFCC_UYVY,   16, false, false, true,  true,  true,  {{1,1},{1,1}}, eIL_UYVY,   eZCh_Packed, eZT_Pairs,  false},
    {"HDYC",   eZFCC_HDYC,   16, false, false, true,  true,  true,  {{1,1},{1,1}}, eIL_UYVY,   eZCh_Packed, eZT_Pairs,  false},
    {"YVYU",   eZFCC_YVYU,   16, false, false, true,  true,  true,  {{1,1},{1,1}}, eIL_YVYU,   eZCh_Packed, eZT_None,   false},
    {"IYU2",   eZFCC_IYU2,   24, false, false, false, false, false, {{1,1},{1,1}}, eIL_None,   eZCh_Packed, eZT_None,   false},
    {"YVU9",   eZFCC_YVU9,    9, false, false, false, false, false, {{1,1},{1,1}}, eIL_None,   eZCh_Packed, eZT_None,   false},
    {"I420",   eZFCC_I420,   12, false, true,  true,  true,  false, {{2,2},{2,2}}, eIL_Planar, eZCh_UV,     eZT_420,    false},
    {"YV12",   eZFCC_YV12,   12, false, true,  true,  true,  false, {{2,2},{2,2}}, eIL_Planar, eZCh_VU,     eZT_420,    false},
    {"NV12",   eZFCC_NV12,   16, false, true,  true,  true,  false, {{1,2},{1,1}}, eIL_NV12,   eZCh_Turns,  eZT_420,    false},
    {"I422",   eZFCC_I422,   16, false, true,  true,  false, false, {{2,1},{2,1}}, eIL_Planar, eZCh_UV,     eZT_422,    false},
    {"YV16",   eZFCC_YV16,   16, false, true,  true,  false, false, {{2,1},{2,1}}, eIL_Planar, eZCh_VU,     eZT_422,    false},
    {"Y422",   eZFCC_Y422,   16, false, true,  true,  true,  false, {{1,1},{1,1}}, eIL_Planar, eZCh_UV,     eZT_422,    false},
    {"Y444",   eZFCC_Y444,   24, false, true,  true,  true,  false, {{1,1},{1,1}}, eIL_Planar, eZCh_UV,     eZT_422,    false},
    {"ARGB64", eZFCC_ARGB64, 64, true,  false, true,  true,  false, {{1,1},{1,1}}, eIL_ARGB64, eZCh_Packed, eZT_None,   true},
    {"RGBA32", eZFCC_RGBA32, 32, true,  false, true,  true,  true,  {{1,1},{1,1}}, eIL_RGBA32, eZCh_Packed, eZT_None,   true},
    {"P010",   eZFCC_P010,   24, false, true,  true,  true,  false, {{1,2},{1,1}}, eIL_P010,   eZCh_Turns,  eZT_420Words, true},
    {"P210",   eZFCC_P210,   32, false, true,  true,  true,  false, {{1,1},{1,1}}, eIL_P010,   eZCh_Turns,  eZT_422Words, true},
};
// clang-format on

static_assert(std::ranges::all_of(c_arrFormats, [](const PIXEL_FORMAT& _format) {
    return _format.bPlanar == (_format.eChroma != eZCh_Packed);
}));

int64_t PackedRowSize(const PIXEL_FORMAT& _format, int32_t _nWidth)
{
    const int64_t nBytes = int64_t{_format.nBitsPerPixel} * _nWidth / 8;
    // Masks have strides of whole 8 bytes throughout the system.
    const int64_t nUnit = _format.eLayout == eIL_RGB8 ? 8 : 4;
    return (nBytes + nUnit - 1) & ~(nUnit - 1);
}

int32_t SampleBytes(eImgLayout _eLayout)
{
    return _eLayout == eIL_P010 ? 2 : 1;
}

int64_t RowSize(const PIXEL_FORMAT& _format, int32_t _nWidth)
{
    if (_format.eLayout == eIL_v210)
        return (int64_t{_nWidth} + 47) / 48 * 128;
    if (_format.bPlanar)
        return int64_t{_nWidth} * SampleBytes(_format.eLayout);
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

eImgLayout FCC_Layout(uint32_t _fccType)
{
    const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType);
    return pFormat ? pFormat->eLayout : eIL_None;
}

eZChroma FCC_Chroma(uint32_t _fccType)
{
    const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType);
    return pFormat ? pFormat->eChroma : eZCh_Packed;
}

int32_t FCC_ChromaPlanes(uint32_t _fccType)
{
    const eZChroma eChroma = FCC_Chroma(_fccType);
    return eChroma == eZCh_Packed ? 0 : eChroma == eZCh_Turns ? 1 : 2;
}

int32_t FCC_SampleBytes(uint32_t _fccType)
{
    return SampleBytes(FCC_Layout(_fccType));
}

eZTexture FCC_Texture(uint32_t _fccType)
{
    const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType);
    return pFormat ? pFormat->eTexture : eZT_None;
}

bool FCC_HasTextureWords(uint32_t _fccType)
{
    const eZTexture eTexture = FCC_Texture(_fccType);
    return eTexture == eZT_420Words || eTexture == eZT_422Words;
}

bool FCC_HasAlpha(uint32_t _fccType)
{
    const eImgLayout eLayout = FCC_Layout(_fccType);
    return eLayout == eIL_ARGB32 || eLayout == eIL_ARGB64 || eLayout == eIL_RGBA32;
}

bool FCC_IsCleaned(uint32_t _fccType)
{
    const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType);
    return pFormat && pFormat->bCleaned;
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
    const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType);
    if (pFormat && pFormat->eLayout == eIL_v210)
        return _nRowBytes / 128 * 48;
    if (!pFormat || pFormat->bPlanar)
        return _nRowBytes / FCC_SampleBytes(_fccType);
    return static_cast<int32_t>(int64_t{_nRowBytes} * 8 / pFormat->nBitsPerPixel); // 8 bits or more: never longer
}
