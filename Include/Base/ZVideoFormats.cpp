#include "Base/ZVideoFormats.h"

#include <iterator>

namespace
{

/// One row: the enumerator gives both the index and its name as text.
#define Z_ROW(name, text, ...)                                                                                         \
    {                                                                                                                  \
        eZVF_##name, text, "eZVF_" #name, __VA_ARGS__                                                                  \
    }

// clang-format off
constexpr VIDEO_FORMAT c_arrVideoFormats[] = {
    //    enumerator      short name       rate,      interlace,       width height   aspect  class lines
    Z_ROW(Custom,         "Custom",           0,    1, eZI_NotSet,         0,    0,   0,   0, -1,  0),
    Z_ROW(NTSC,           "NTSC",         30000, 1001, eZI_BottomFirst,  720,  486,   4,   3,  0, 39),
    Z_ROW(NTSC_2398p,     "NTSC-23p",     24000, 1001, eZI_Progressive,  720,  486,   4,   3,  0, 39),
    Z_ROW(NTSC_16x9,      "NTSC-16x9",    30000, 1001, eZI_BottomFirst,  720,  486,  16,   9,  0, 39),
    Z_ROW(PAL,            "PAL",             25,    1, eZI_TopFirst,     720,  576,   4,   3,  0, 49),
    Z_ROW(PAL_16x9,       "PAL-16x9",        25,    1, eZI_TopFirst,     720,  576,  16,   9,  0, 49),
    Z_ROW(HD720_50p,      "HD720-50p",       50,    1, eZI_Progressive, 1280,  720,  16,   9,  1, 30),
    Z_ROW(HD720_5994p,    "HD720-59p",    60000, 1001, eZI_Progressive, 1280,  720,  16,   9,  1, 30),
    Z_ROW(HD720_60p,      "HD720-60p",       60,    1, eZI_Progressive, 1280,  720,  16,   9,  1, 30),
    Z_ROW(HD1080_2398p,   "HD1080-23p",   24000, 1001, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_24p,     "HD1080-24p",      24,    1, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_25p,     "HD1080-25p",      25,    1, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_2997p,   "HD1080-29p",   30000, 1001, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_30p,     "HD1080-30p",      30,    1, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_50i,     "HD1080-50i",      25,    1, eZI_TopFirst,    1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_5994i,   "HD1080-59i",   30000, 1001, eZI_TopFirst,    1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_60i,     "HD1080-60i",      30,    1, eZI_TopFirst,    1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_50p,     "HD1080-50p",      50,    1, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_5994p,   "HD1080-59p",   60000, 1001, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_60p,     "HD1080-60p",      60,    1, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_9590p,   "HD1080-95p",   96000, 1001, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_96p,     "HD1080-96p",      96,    1, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_100p,    "HD1080-100p",    100,    1, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_11988p,  "HD1080-119p", 120000, 1001, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(HD1080_120p,    "HD1080-120p",    120,    1, eZI_Progressive, 1920, 1080,  16,   9,  1, 45),
    Z_ROW(2K_DCI_2398p,   "2K-DCI-23p",   24000, 1001, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_24p,     "2K-DCI-24p",      24,    1, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_25p,     "2K-DCI-25p",      25,    1, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_2997p,   "2K-DCI-29p",   30000, 1001, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_30p,     "2K-DCI-30p",      30,    1, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_4795p,   "2K-DCI-47p",   48000, 1001, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_48p,     "2K-DCI-48p",      48,    1, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_50p,     "2K-DCI-50p",      50,    1, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_5994p,   "2K-DCI-59p",   60000, 1001, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_60p,     "2K-DCI-60p",      60,    1, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_9590p,   "2K-DCI-95p",   96000, 1001, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_96p,     "2K-DCI-96p",      96,    1, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_100p,    "2K-DCI-100p",    100,    1, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_11988p,  "2K-DCI-119p", 120000, 1001, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_DCI_120p,    "2K-DCI-120p",    120,    1, eZI_Progressive, 2048, 1080, 256, 135,  2,  0),
    Z_ROW(2K_2398p,       "2K-23p",       24000, 1001, eZI_Progressive, 2048, 1556, 239, 100,  2,  0),
    Z_ROW(2K_24p,         "2K-24p",          24,    1, eZI_Progressive, 2048, 1556, 239, 100,  2,  0),
    Z_ROW(2K_25p,         "2K-25p",          25,    1, eZI_Progressive, 2048, 1556, 239, 100,  2,  0),
    Z_ROW(4K_UHD_50i,     "4K-UHD-50i",      25,    1, eZI_TopFirst,    3840, 2160,  16,   9,  4,  0),
    Z_ROW(4K_UHD_5994i,   "4K-UHD-59i",   30000, 1001, eZI_TopFirst,    3840, 2160,  16,   9,  4,  0),
    Z_ROW(4K_UHD_60i,     "4K-UHD-60i",      30,    1, eZI_TopFirst,    3840, 2160,  16,   9,  4,  0),
    Z_ROW(4K_UHD_2398p,   "4K-UHD-23p",   24000, 1001, eZI_Progressive, 3840, 2160,  16,   9,  4,  0),
    Z_ROW(4K_UHD_24p,     "4K-UHD-24p",      24,    1, eZI_Progressive, 3840, 2160,  16,   9,  4,  0),
    Z_ROW(4K_UHD_25p,     "4K-UHD-25p",      25,    1, eZI_Progressive, 3840, 2160,  16,   9,  4,  0),
    Z_ROW(4K_UHD_2997p,   "4K-UHD-29p",   30000, 1001, eZI_Progressive, 3840, 2160,  16,   9,  4,  0),
    Z_ROW(4K_UHD_30p,     "4K-UHD-30p",      30,    1, eZI_Progressive, 3840, 2160,  16,   9,  4,  0),
    Z_ROW(4K_DCI_2398p,   "4K-DCI-23p",   24000, 1001, eZI_Progressive, 4096, 2160, 256, 135,  4,  0),
    Z_ROW(4K_DCI_24p,     "4K-DCI-24p",      24,    1, eZI_Progressive, 4096, 2160, 256, 135,  4,  0),
    Z_ROW(4K_DCI_25p,     "4K-DCI-25p",      25,    1, eZI_Progressive, 4096, 2160, 256, 135,  4,  0),
    Z_ROW(4K_DCI_2997p,   "4K-DCI-29p",   30000, 1001, eZI_Progressive, 4096, 2160, 256, 135,  4,  0),
    Z_ROW(4K_DCI_30p,     "4K-DCI-30p",      30,    1, eZI_Progressive, 4096, 2160, 256, 135,  4,  0),
    Z_ROW(4K_DCI_4795p,   "4K-DCI-47p",   48000, 1001, eZI_Progressive, 4096, 2160, 256, 135,  4,  0),
    Z_ROW(4K_DCI_48p,     "4K-DCI-48p",      48,    1, eZI_Progressive, 4096, 2160, 256, 135,  4,  0),
    Z_ROW(4K_UHD_50p,     "4K-UHD-50p",      50,    1, eZI_Progressive, 3840, 2160,  16,   9,  8,  0),
    Z_ROW(4K_UHD_5994p,   "4K-UHD-59p",   60000, 1001, eZI_Progressive, 3840, 2160,  16,   9,  8,  0),
    Z_ROW(4K_UHD_60p,     "4K-UHD-60p",      60,    1, eZI_Progressive, 3840, 2160,  16,   9,  8,  0),
    Z_ROW(4K_UHD_9590p,   "4K-UHD-95p",   96000, 1001, eZI_Progressive, 3840, 2160,  16,   9,  8,  0),
    Z_ROW(4K_UHD_96p,     "4K-UHD-96p",      96,    1, eZI_Progressive, 3840, 2160,  16,   9,  8,  0),
    Z_ROW(4K_UHD_100p,    "4K-UHD-100p",    100,    1, eZI_Progressive, 3840, 2160,  16,   9,  8,  0),
    Z_ROW(4K_UHD_11988p,  "4K-UHD-119p", 120000, 1001, eZI_Progressive, 3840, 2160,  16,   9,  8,  0),
    Z_ROW(4K_UHD_120p,    "4K-UHD-120p",    120,    1, eZI_Progressive, 3840, 2160,  16,   9,  8,  0),
    Z_ROW(4K_DCI_50p,     "4K-DCI-50p",      50,    1, eZI_Progressive, 4096, 2160, 256, 135,  8,  0),
    Z_ROW(4K_DCI_5994p,   "4K-DCI-59p",   60000, 1001, eZI_Progressive, 4096, 2160, 256, 135,  8,  0),
    Z_ROW(4K_DCI_60p,     "4K-DCI-60p",      60,    1, eZI_Progressive, 4096, 2160, 256, 135,  8,  0),
    Z_ROW(4K_DCI_9590p,   "4K-DCI-95p",   96000, 1001, eZI_Progressive, 4096, 2160, 256, 135,  8,  0),
    Z_ROW(4K_DCI_96p,     "4K-DCI-96p",      96,    1, eZI_Progressive, 4096, 2160, 256, 135,  8,  0),
    Z_ROW(4K_DCI_100p,    "4K-DCI-100p",    100,    1, eZI_Progressive, 4096, 2160, 256, 135,  8,  0),
    Z_ROW(4K_DCI_11988p,  "4K-DCI-119p", 120000, 1001, eZI_Progressive, 4096, 2160, 256, 135,  8,  0),
    Z_ROW(4K_DCI_120p,    "4K-DCI-120p",    120,    1, eZI_Progressive, 4096, 2160, 256, 135,  8,  0),
    Z_ROW(8K_UHD_2398p,   "8K-UHD-2398p", 24000, 1001, eZI_Progressive, 7680, 4320,  16,   9, 16,  0),
    Z_ROW(8K_UHD_24p,     "8K-UHD-24p",      24,    1, eZI_Progressive, 7680, 4320,  16,   9, 16,  0),
    Z_ROW(8K_UHD_25p,     "8K-UHD-25p",      25,    1, eZI_Progressive, 7680, 4320,  16,   9, 16,  0),
    Z_ROW(8K_UHD_2997p,   "8K-UHD-2997p", 30000, 1001, eZI_Progressive, 7680, 4320,  16,   9, 16,  0),
    Z_ROW(8K_UHD_30p,     "8K-UHD-30p",      30,    1, eZI_Progressive, 7680, 4320,  16,   9, 16,  0),
    Z_ROW(8K_UHD_4795p,   "8K-UHD-4795p", 48000, 1001, eZI_Progressive, 7680, 4320,  16,   9, 16,  0),
    Z_ROW(8K_UHD_48p,     "8K-UHD-48p",      48,    1, eZI_Progressive, 7680, 4320,  16,   9, 16,  0),
    Z_ROW(8K_UHD_50p,     "8K-UHD-50p",      50,    1, eZI_Progressive, 7680, 4320,  16,   9, 16,  0),
    Z_ROW(8K_UHD_5994p,   "8K-UHD-5994p", 60000, 1001, eZI_Progressive, 7680, 4320,  16,   9, 16,  0),
    Z_ROW(8K_UHD_60p,     "8K-UHD-60p",      60,    1, eZI_Progressive, 7680, 4320,  16,   9, 16,  0),
    Z_ROW(8K_DCI_2398p,   "8K-DCI-2398p", 24000, 1001, eZI_Progressive, 8192, 4320, 256, 135, 32,  0),
    Z_ROW(8K_DCI_24p,     "8K-DCI-24p",      24,    1, eZI_Progressive, 8192, 4320, 256, 135, 32,  0),
    Z_ROW(8K_DCI_25p,     "8K-DCI-25p",      25,    1, eZI_Progressive, 8192, 4320, 256, 135, 32,  0),
    Z_ROW(8K_DCI_2997p,   "8K-DCI-2997p", 30000, 1001, eZI_Progressive, 8192, 4320, 256, 135, 32,  0),
    Z_ROW(8K_DCI_30p,     "8K-DCI-30p",      30,    1, eZI_Progressive, 8192, 4320, 256, 135, 32,  0),
    Z_ROW(8K_DCI_4795p,   "8K-DCI-4795p", 48000, 1001, eZI_Progressive, 8192, 4320, 256, 135, 32,  0),
    Z_ROW(8K_DCI_48p,     "8K-DCI-48p",      48,    1, eZI_Progressive, 8192, 4320, 256, 135, 32,  0),
    Z_ROW(8K_DCI_50p,     "8K-DCI-50p",      50,    1, eZI_Progressive, 8192, 4320, 256, 135, 32,  0),
    Z_ROW(8K_DCI_5994p,   "8K-DCI-5994p", 60000, 1001, eZI_Progressive, 8192, 4320, 256, 135, 32,  0),
    Z_ROW(8K_DCI_60p,     "8K-DCI-60p",      60,    1, eZI_Progressive, 8192, 4320, 256, 135, 32,  0),
    Z_ROW(Disabled,       "Disabled",         0,    1, eZI_NotSet,         0,    0,   0,   0, -1,  0),
};
// clang-format on
#undef Z_ROW

static_assert(std::size(c_arrVideoFormats) == eZVF_Disabled + 1);

/// The row that the low 8 bits name; other bits carry flags.
const VIDEO_FORMAT* RowOf(int32_t _eVideoFormat)
{
    return VidFormat_Lookup(_eVideoFormat & 0xFF);
}

} // namespace

std::span<const VIDEO_FORMAT> VidFormat_All()
{
    return c_arrVideoFormats;
}

const VIDEO_FORMAT* VidFormat_Lookup(int32_t _eVideoFormat)
{
    const bool bInTable = _eVideoFormat >= 0 && _eVideoFormat < static_cast<int32_t>(std::size(c_arrVideoFormats));
    return bInTable ? &c_arrVideoFormats[_eVideoFormat] : nullptr;
}

double VidFormat_Rate(int32_t _eVideoFormat)
{
    const VIDEO_FORMAT* pRow = RowOf(_eVideoFormat);
    return pRow ? static_cast<double>(pRow->nRate) / pRow->nRateBase : 0;
}

ZF_SIZE VidFormat_Size(int32_t _eVideoFormatAndFlags)
{
    const VIDEO_FORMAT* pRow = RowOf(_eVideoFormatAndFlags);
    if (!pRow)
        return {};
    const bool bDouble = _eVideoFormatAndFlags & c_nVidFormatDouble;
    const bool bDoubleWidth = bDouble && (_eVideoFormatAndFlags & c_nVidFormatDoubleWidth);
    const bool bDoubleHeight = bDouble && (_eVideoFormatAndFlags & c_nVidFormatDoubleHeight);
    return {pRow->nWidth * (bDoubleWidth ? 2 : 1), pRow->nHeight * (bDoubleHeight ? 2 : 1)};
}

ZF_SIZE VidFormat_Aspect(int32_t _eVideoFormat)
{
    const VIDEO_FORMAT* pRow = RowOf(_eVideoFormat);
    return pRow ? ZF_SIZE{pRow->nAspectX, pRow->nAspectY} : ZF_SIZE{};
}

int32_t VidFormat_Interlace(int32_t _eVideoFormat)
{
    const VIDEO_FORMAT* pRow = RowOf(_eVideoFormat);
    return pRow ? pRow->eInterlace : eZI_NotSet;
}

int32_t VidFormat_SizeClass(int32_t _eVideoFormat)
{
    const VIDEO_FORMAT* pRow = RowOf(_eVideoFormat);
    return pRow ? pRow->nSizeClass : -1;
}

int32_t VidFormat_ExtraLines(int32_t _eVideoFormat)
{
    const VIDEO_FORMAT* pRow = RowOf(_eVideoFormat);
    return pRow ? pRow->nExtraLines : 0;
}
