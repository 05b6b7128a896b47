#include "Base/ZAssert.h"
#include "Base/ZSaturate.h"
#include "Base/ZVideoFormats.h"
#include "Base/ZVideoProps.h"

#include <cmath>
#include <span>

namespace
{

// clang-format off
// Candidates in the order in which they are tried; the first match wins. The order breaks ties on purpose: where a
// record sets no interlace, 1920 prefers the interlaced format of a rate and 3840 the progressive one.
constexpr uint8_t c_arrPAL[] = {4};
constexpr uint8_t c_arrNTSC[] = {1, 2};
constexpr uint8_t c_arr1280[] = {7, 8, 6};
constexpr uint8_t c_arr1920[] = {9, 10, 14, 11, 15, 12, 16, 13, 17, 18, 19, 20, 21, 22, 23, 24};
constexpr uint8_t c_arr2048x1080[] = {25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39};
constexpr uint8_t c_arr2048x1556[] = {40, 41, 42};
constexpr uint8_t c_arr3840[] = {46, 47, 48, 49, 50, 43, 44, 45, 58, 59, 60, 61, 62, 63, 64, 65};
constexpr uint8_t c_arr4096[] = {51, 52, 53, 54, 55, 56, 57, 66, 67, 68, 69, 70, 71, 72, 73};
constexpr uint8_t c_arr7680[] = {75, 74, 76, 78, 77, 80, 79, 81, 83, 82};
constexpr uint8_t c_arr8192[] = {85, 84, 86, 88, 87, 90, 89, 91, 93, 92};

/// Formats of one size. Heights up to nMaxHeight plus the extra lines of the format nReference belong to it.
struct FORMAT_FAMILY
{
    int32_t nWidth;
    int32_t nMinHeight;
    int32_t nMaxHeight;
    int32_t nReference;
    std::span<const uint8_t> arrFormats;
};

const FORMAT_FAMILY c_arrFamilies[] = {
    { 720,  576,  576,  1, c_arrPAL}, // with the extra lines of NTSC, on purpose
    { 720,  480,  486,  1, c_arrNTSC},
    {1280,  720,  720,  8, c_arr1280},
    {1920, 1080, 1080, 14, c_arr1920},
    {2048, 1080, 1080, 25, c_arr2048x1080},
    {2048, 1556, 1556, 40, c_arr2048x1556},
    {3840, 2160, 2160, 43, c_arr3840},
    {4096, 2160, 2160, 51, c_arr4096},
    {7680, 4320, 4320, 74, c_arr7680},
    {8192, 4320, 4320, 84, c_arr8192},
};
// clang-format on

bool IsSizeOf(const FORMAT_FAMILY& _family, const ZF_VID_PROPS& _vidProps, bool _bExact)
{
    const int32_t nHeight = ZAbs32(_vidProps.nHeight);
    const int32_t nTolerance = _bExact ? 0 : VidFormat_ExtraLines(_family.nReference);
    return _vidProps.nWidth == _family.nWidth && nHeight >= _family.nMinHeight &&
           nHeight <= _family.nMaxHeight + nTolerance;
}

/// A picture that is played backwards has the format of one played forwards.
bool IsTimeOf(int32_t _eVideoFormat, const ZF_VID_PROPS& _vidProps)
{
    return std::abs(std::abs(_vidProps.dblRate) - VidFormat_Rate(_eVideoFormat)) < 0.01 &&
           (_vidProps.eInterlace == 0 || _vidProps.eInterlace == VidFormat_Interlace(_eVideoFormat));
}

/// The wide form of a format, where it has one and the picture is wide.
int32_t Widened(int32_t _eVideoFormat, const ZF_VID_PROPS& _vidProps)
{
    if (VidProps_DisplayAspect(&_vidProps) <= 1.4)
        return _eVideoFormat;
    if (_eVideoFormat == eZVF_PAL)
        return eZVF_PAL_16x9;
    return _eVideoFormat == eZVF_NTSC ? int32_t{eZVF_NTSC_16x9} : _eVideoFormat;
}

} // namespace

int32_t VidProps_DetectFormat(const ZF_VID_PROPS* _pVidProps, bool _bExact)
{
    if (!Z_VERIFY(_pVidProps))
        return 0;
    for (const FORMAT_FAMILY& family : c_arrFamilies)
        if (IsSizeOf(family, *_pVidProps, _bExact))
            for (const int32_t eVideoFormat : family.arrFormats)
                if (IsTimeOf(eVideoFormat, *_pVidProps))
                    return Widened(eVideoFormat, *_pVidProps);
    return 0;
}
