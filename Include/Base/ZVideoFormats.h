#pragma once

#include "Interfaces/ZVideoTypes.h"

#include <span>

/// One row of the video-format table.
struct VIDEO_FORMAT
{
    int32_t eVideoFormat; ///< eZVideoFormat; also the index of the row
    const char* pszName;  ///< "HD1080-59p"
    const char* pszEnum;  ///< "eZVF_HD1080_5994p"
    int32_t nRate;        ///< frames per second: nRate / nRateBase
    int32_t nRateBase;    ///< 1 or 1001
    int32_t eInterlace;   ///< eZInterlace, the default
    int32_t nWidth;       ///< pixels
    int32_t nHeight;      ///< active lines
    int16_t nAspectX;     ///< display aspect
    int16_t nAspectY;
    int32_t nSizeClass;  ///< 0 = SD, then growing with the data rate; -1 = no picture
    int32_t nExtraLines; ///< blanking lines that detection tolerates above the active ones
};

/// The video-format table, for those who walk it: 95 rows, eZVF_Custom to eZVF_Disabled.
std::span<const VIDEO_FORMAT> VidFormat_All();
/// The row of a format; null outside the table.
const VIDEO_FORMAT* VidFormat_Lookup(int32_t _eVideoFormat);

/// Flags above the format for VidFormat_Size.
inline constexpr int32_t c_nVidFormatDouble = 0x1000;      ///< the two below count
inline constexpr int32_t c_nVidFormatDoubleWidth = 0x200;  ///< twice as wide
inline constexpr int32_t c_nVidFormatDoubleHeight = 0x400; ///< twice as high

/// Fields of the row that the low 8 bits name; 0 (class: -1) where there is none.
double VidFormat_Rate(int32_t _eVideoFormat); ///< frames per second
ZF_SIZE VidFormat_Size(int32_t _eVideoFormatAndFlags);
ZF_SIZE VidFormat_Aspect(int32_t _eVideoFormat); ///< display aspect, cx : cy
int32_t VidFormat_Interlace(int32_t _eVideoFormat);
int32_t VidFormat_SizeClass(int32_t _eVideoFormat);
int32_t VidFormat_ExtraLines(int32_t _eVideoFormat);
