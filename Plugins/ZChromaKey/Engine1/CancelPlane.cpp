#include "ZChromaKey/Engine1/CancelPlane.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace
{

struct CANCEL_FORMAT
{
    uint32_t fccType;
    eCancelLayout eLayout;
    PAIR_LAYOUT layout;
};

constexpr CANCEL_FORMAT c_arrFormats[] = {
    {eZFCC_RGB32, eCL_BGRA, {}},
    {eZFCC_ARGB32, eCL_BGRA, {}},
    {eZFCC_RGB24, eCL_BGR, {}},
    {eZFCC_UYVY, eCL_Pairs, {8, 24, 0, 16}},
    {eZFCC_HDYC, eCL_Pairs, {8, 24, 0, 16}},
    {eZFCC_YUY2, eCL_Pairs, {0, 16, 8, 24}},
    {eZFCC_YVYU, eCL_Pairs, {0, 16, 24, 8}},
};

const CANCEL_FORMAT* FindFormat(uint32_t _fccType)
{
    const auto* const pEnd = std::end(c_arrFormats);
    const auto* const pFound = std::find_if(std::begin(c_arrFormats), pEnd,
                                            [=](const CANCEL_FORMAT& _format) { return _format.fccType == _fccType; });
    return pFound == pEnd ? nullptr : pFound;
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
    else
        PairsClean(pRow, nWidth, layout, _set, _kernels);
}

bool CancelPlane_IsKnown(uint32_t _fccType) noexcept
{
    return FindFormat(_fccType) != nullptr;
}

CANCEL_PLANE CancelPlane_Make(uint32_t _fccType, int _nWidth, uint8_t* _pRow0, ptrdiff_t _nStride) noexcept
{
    const CANCEL_FORMAT& format = *FindFormat(_fccType);
    return {_pRow0, _nStride, _nWidth, format.eLayout, format.layout};
}
