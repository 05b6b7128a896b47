#include "ZChromaKey/Engine1/CancelPlane.h"

#include "Base/ZPixelFormats.h"
#include "Image/ImgPixel.h"

#include <cstring>

namespace
{

eCancelLayout CancelLayoutOf(eImgLayout _eLayout) noexcept
{
    if (Z_IsPairs(_eLayout))
        return eCL_Pairs;
    return _eLayout == eIL_RGB24 ? eCL_BGR : _eLayout == eIL_RGBA32 ? eCL_RGBA : eCL_BGRA;
}

/// Where the samples lie in a word of two pixels, in bits.
PAIR_LAYOUT PairLayoutOf(eImgLayout _eLayout) noexcept
{
    const Z_PAIR_BYTES pair = Z_PairBytes(_eLayout);
    return {8 * pair.nY0, 8 * pair.nY1, 8 * pair.nU, 8 * pair.nV};
}

void BGRClean(uint8_t* _pRow, int _nWidth, const CANCEL_SET& _set, const KEY_KERNELS& _kernels,
              uint8_t* _pScratch) noexcept
{
    for (int x = 0; x < _nWidth; ++x)
        std::memcpy(_pScratch + ptrdiff_t{4} * x, _pRow + ptrdiff_t{3} * x, 3);
    _kernels.pfnCancelBGRA(_pScratch, static_cast<size_t>(_nWidth), _set);
    for (int x = 0; x < _nWidth; ++x)
        std::memcpy(_pRow + ptrdiff_t{3} * x, _pScratch + ptrdiff_t{4} * x, 3);
}

void RGBAClean(uint8_t* _pRow, int _nWidth, const CANCEL_SET& _set, const KEY_KERNELS& _kernels) noexcept
{
    Img_SwapRedBlue(_pRow, _nWidth, _pRow);
    _kernels.pfnCancelBGRA(_pRow, static_cast<size_t>(_nWidth), _set);
    Img_SwapRedBlue(_pRow, _nWidth, _pRow);
}

void PairsClean(uint8_t* _pRow, int _nWidth, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set,
                const KEY_KERNELS& _kernels) noexcept
{
    _kernels.pfnCancelPairs(_pRow, static_cast<size_t>(_nWidth / 2), _layout, _set);
    if (_nWidth % 2 == 0)
        return;
    // The second pixel of the last unit is not the picture's: the first one stands in for it.
    uint8_t* const pUnit = _pRow + ptrdiff_t{_nWidth / 2} * 4;
    uint8_t& nBeyond = pUnit[_layout.nY1 / 8];
    const uint8_t nBefore = nBeyond;
    nBeyond = pUnit[_layout.nY0 / 8];
    _kernels.pfnCancelPairs(pUnit, 1, _layout, _set);
    nBeyond = nBefore;
}

} // namespace

void CANCEL_PLANE::RowClean(int _nRow, const CANCEL_SET& _set, const KEY_KERNELS& _kernels,
                            uint8_t* _pScratch) const noexcept
{
    uint8_t* const pRow = pRow0 + _nRow * nStride;
    if (eLayout == eCL_BGRA)
        _kernels.pfnCancelBGRA(pRow, static_cast<size_t>(nWidth), _set);
    else if (eLayout == eCL_BGR)
        BGRClean(pRow, nWidth, _set, _kernels, _pScratch);
    else if (eLayout == eCL_RGBA)
        RGBAClean(pRow, nWidth, _set, _kernels);
    else
        PairsClean(pRow, nWidth, layout, _set, _kernels);
}

bool CancelPlane_IsKnown(uint32_t _fccType) noexcept
{
    return FCC_IsCleaned(_fccType);
}

CANCEL_PLANE CancelPlane_Make(uint32_t _fccType, int _nWidth, uint8_t* _pRow0, ptrdiff_t _nStride) noexcept
{
    const eImgLayout eLayout = FCC_Layout(_fccType);
    return {_pRow0, _nStride, _nWidth, CancelLayoutOf(eLayout), PairLayoutOf(eLayout)};
}
