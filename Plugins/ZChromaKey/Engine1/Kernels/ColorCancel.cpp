#include "ZChromaKey/Engine1/Kernels/ColorCancel.h"

#include "Simd/Simd_plain.h"
#include "ZChromaKey/Engine1/Kernels/ColorCancelRow.h"

void CancelBGRA_C(uint8_t* _pPixels, size_t _nPixels, const CANCEL_SET& _set) noexcept
{
    CancelBGRA<SIMD_PLAIN_OF<1>>(_pPixels, _nPixels, _set);
}

void CancelPairs_C(uint8_t* _pPairs, size_t _nPairs, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set) noexcept
{
    CancelPairs<SIMD_PLAIN_OF<1>>(_pPairs, _nPairs, _layout, _set);
}
