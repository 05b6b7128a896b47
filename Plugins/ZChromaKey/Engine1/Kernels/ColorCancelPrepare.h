#pragma once

#include "Base/ZMatrix.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "ZChromaKey/Engine1/Kernels/ColorCancel.h"

/// One key's constants in the form that the formulas of colour cancel use, on CPU and GPU: five records of four floats.
struct CANCEL_CONSTANTS
{
    float arrPos[4];    ///< the centre, in components of the key's space: R, G, B; H, L, S; or Y, V, U
    float arrYVUPos[4]; ///< the centre as Y, V, U, chroma around 0
    float arrDist[4];   ///< the half-widths, like arrPos
    float arrScal[4];   ///< softness, least alpha, cancel range, twice the power
    float arrScal1[4];  ///< chroma gain - 1, luma gain - 1, cancel width, -1 for an exclusion key and else 1
};
static_assert(sizeof(CANCEL_CONSTANTS) == 80);

const YVU_MATRIX& ColorCancel_Matrix(eZYMatrix _eMatrix) noexcept;

/// The constants of one key. _eType: RGB, HLS or YUV. Bytes of the key's words count as 256ths on purpose, though
/// those of a picture are 255ths.
CANCEL_CONSTANTS ColorCancel_Constants(const SINGLE_KEY& _key, eCK_Type _eType, const YVU_MATRIX& _matrix) noexcept;

/// The keys of a set for the kernels: those with a delta, whatever their nAlpha, for a key that leaves alpha alone may
/// still clean colours. _eType: RGB, HLS or YUV. A half-axis is at least 1/256.
CANCEL_SET ColorCancel_Prepare(const CHROMA_KEY_RAW& _rawKey, eZYMatrix _eMatrix) noexcept;
