#pragma once

#include "Base/ZHelpers.h"

/// The pixel formats that are read, written and framed.
inline constexpr uint32_t c_arrTestFormats[] = {
    eZFCC_RGB8, eZFCC_RGB24, eZFCC_RGB32, eZFCC_ARGB32, eZFCC_r210,   eZFCC_v210, eZFCC_YUY2,
    eZFCC_UYVY, eZFCC_HDYC,  eZFCC_YVYU,  eZFCC_I420,   eZFCC_YV12,   eZFCC_NV12, eZFCC_I422,
    eZFCC_YV16, eZFCC_Y422,  eZFCC_Y444,  eZFCC_ARGB64, eZFCC_RGBA32, eZFCC_P010, eZFCC_P210,
};

/// A record with all other fields 0.
inline ZF_VID_PROPS Record(uint32_t _fccType, int32_t _nWidth, int32_t _nHeight, int32_t _nRowBytes = 0,
                           int32_t _eInterlace = eZI_NotSet, double _dblRate = 0)
{
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = _fccType;
    vidProps.nWidth = _nWidth;
    vidProps.nHeight = _nHeight;
    vidProps.nRowBytes = _nRowBytes;
    vidProps.eInterlace = _eInterlace;
    vidProps.dblRate = _dblRate;
    return vidProps;
}
