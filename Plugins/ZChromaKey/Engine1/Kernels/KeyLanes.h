#pragma once

#include "ZChromaKey/Engine1/Kernels/KeyKernels.h"

/// A key's constants as they lie in every 32-bit lane of a vector, two words each.
struct KEY_LANES
{
    int32_t nValue02;
    int32_t nValue11;
    int32_t nWeight02;
    int32_t nWeight1Low;
    int32_t nWeight1High;
    int32_t nOpaque; ///< least sum whose alpha is 255
    int32_t nInside; ///< least sum outside the key
    int32_t nSoft;   ///< number of sums between the two
    int32_t nFloor;
    float fltScale;
};

/// The constants of some keys, at most c_nMaxRowKeys. Computed once a row, so it need not be vector code.
void KeyLanes_Make(KEY_LANES* _pLanes, const KEY_DISTANCE* _pKeys, int _nKeys) noexcept;
