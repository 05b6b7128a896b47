#include "ZChromaKey/Work/MaskPost.h"

#include <algorithm>
#include <cstring>
#include <utility>

void CMaskSmoother::Reserve(int _nWidth)
{
    for (auto* const pRow : {&m_arrAbove, &m_arrRow, &m_arrBelow})
        if (pRow->size() < static_cast<size_t>(_nWidth))
            pRow->resize(static_cast<size_t>(_nWidth));
}

void CMaskSmoother::EdgesKeep(const MASK_PLANE& _plane, int _nFirst, int _nEnd) noexcept
{
    const auto nWidth = static_cast<size_t>(_plane.nWidth);
    // The row above the first of all is the first, and that below the last is the last.
    std::memcpy(m_arrAbove.data(), _plane.Row(std::max(_nFirst - 1, 0)), nWidth);
    std::memcpy(m_arrBelow.data(), _plane.Row(std::min(_nEnd, _plane.nHeight - 1)), nWidth);
}

void CMaskSmoother::Smooth(const MASK_PLANE& _plane, int _nFirst, int _nEnd, const PLANE_KERNELS& _kernels) noexcept
{
    const auto nWidth = static_cast<size_t>(_plane.nWidth);
    uint8_t* pAbove = m_arrAbove.data();
    uint8_t* pRow = m_arrRow.data();
    for (int nRow = _nFirst; nRow < _nEnd; ++nRow)
    {
        std::memcpy(pRow, _plane.Row(nRow), nWidth);
        const uint8_t* const pBelow = nRow + 1 < _nEnd ? _plane.Row(nRow + 1) : m_arrBelow.data();
        _kernels.pfnSmooth(_plane.Row(nRow), pAbove, pRow, pBelow, nWidth);
        std::swap(pAbove, pRow);
    }
}
