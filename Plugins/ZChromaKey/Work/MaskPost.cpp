#include "ZChromaKey/Work/MaskPost.h"

#include <algorithm>
#include <cstring>

void CMaskPost::Reserve(int _nWidth)
{
    for (auto& arrRow : m_arrRows)
        if (arrRow.size() < static_cast<size_t>(_nWidth))
            arrRow.resize(static_cast<size_t>(_nWidth));
}

void CMaskPost::Run(const MASK_PLANE& _plane, const MASK_POST& _post, const PLANE_KERNELS& _kernels) noexcept
{
    const auto nWidth = static_cast<size_t>(_plane.nWidth);
    if (_post.nMin > 0 || _post.nMax < 255)
        for (int nRow = 0; nRow < _plane.nHeight; ++nRow)
            _kernels.pfnThreshold(_plane.Row(nRow), nWidth, _post.nMin, _post.nMax);
    if (_post.bFields)
    {
        Smooth(_plane.Slice(0, 2, _plane.nHeight - _plane.nHeight / 2), _post.nPasses, _kernels);
        if (_plane.nHeight > 1)
            Smooth(_plane.Slice(1, 2, _plane.nHeight / 2), _post.nPasses, _kernels);
    }
    else
    {
        Smooth(_plane, _post.nPasses, _kernels);
    }
    if (_post.bInvert)
        for (int nRow = 0; nRow < _plane.nHeight; ++nRow)
            _kernels.pfnInvert(_plane.Row(nRow), nWidth);
}

void CMaskPost::Smooth(const MASK_PLANE& _plane, int _nPasses, const PLANE_KERNELS& _kernels) noexcept
{
    for (int nPass = 0; nPass < _nPasses && _plane.nHeight > 0; ++nPass)
        SmoothPass(_plane, _kernels);
}

void CMaskPost::SmoothPass(const MASK_PLANE& _plane, const PLANE_KERNELS& _kernels) noexcept
{
    const auto nWidth = static_cast<size_t>(_plane.nWidth);
    uint8_t* pAbove = m_arrRows[0].data();
    uint8_t* pRow = m_arrRows[1].data();
    std::memcpy(pAbove, _plane.Row(0), nWidth); // the row above the first is the first
    for (int nRow = 0; nRow < _plane.nHeight; ++nRow)
    {
        std::memcpy(pRow, _plane.Row(nRow), nWidth);
        const bool bLast = nRow + 1 == _plane.nHeight;
        _kernels.pfnSmooth(_plane.Row(nRow), pAbove, pRow, bLast ? pRow : _plane.Row(nRow + 1), nWidth);
        std::swap(pAbove, pRow);
    }
}
