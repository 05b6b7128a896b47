#include "ZChromaKey/Engine1/AlphaPlane.h"

#include "Image/ImgAlpha.h"
#include "Image/ImgPixel.h"

namespace
{

void WordsFinish(const ALPHA_PLANE& _plane, uint16_t* _pRow, uint8_t* _pMask, int _nWidth)
{
    if (_plane.bMultiply)
        Img_MaskMultiply(_pMask, _pRow, _nWidth);
    else
        for (int x = 0; x < _nWidth; ++x)
            _pRow[4 * x + 3] = Img_To16Bit(_pMask[x]);
    if (_plane.bPremultiply)
        Img_RowPremultiply(_pRow, _nWidth);
}

} // namespace

void ALPHA_PLANE::RowFinish(const MASK_PLANE& _mask, int _nRow, const PLANE_KERNELS& _kernels) const noexcept
{
    uint8_t* const pRow = pRow0 + _nRow * nStride;
    uint8_t* const pMask = _mask.Row(_nRow);
    if (bWords)
        return WordsFinish(*this, reinterpret_cast<uint16_t*>(pRow), pMask, _mask.nWidth);
    if (bMultiply)
        Img_MaskMultiply(pMask, pRow, _mask.nWidth);
    _kernels.pfnAlphaSet(pRow, pMask, static_cast<size_t>(_mask.nWidth));
    if (bPremultiply)
        Img_RowPremultiply(pRow, _mask.nWidth);
}
