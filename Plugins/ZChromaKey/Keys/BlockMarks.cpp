#include "ZChromaKey/Keys/BlockMarks.h"

#include "Base/ZPtr.h"
#include "Image/ImgPlane.h"

#include <algorithm>
#include <cstring>

namespace
{

uint32_t ColorOf(CKUtils::eCKBlock _eVerdict)
{
    if (_eVerdict == CKUtils::eCKB_Accepted)
        return 0xFFFFFFFF;
    return _eVerdict == CKUtils::eCKB_Refused ? 0xFFFF0000 : 0xFF000000;
}

void DrawFrame(const ZF_VID_PTR& _vidPtr, const CKUtils::CK_BLOCK& _block)
{
    const uint32_t nColor = ColorOf(_block.eVerdict);
    for (int32_t y = _block.nY; y < _block.nY + _block.nHeight; ++y)
    {
        uint8_t* const pRow = Img_RowOf(_vidPtr, 0, y);
        const bool bWhole = y == _block.nY || y == _block.nY + _block.nHeight - 1;
        const int32_t nStep = bWhole ? 1 : std::max(_block.nWidth - 1, 1);
        for (int32_t x = _block.nX; x < _block.nX + _block.nWidth; x += nStep)
            std::memcpy(pRow + ptrdiff_t{4} * x, &nColor, sizeof(nColor));
    }
}

} // namespace

HRESULT BlockMarks_Draw(IZFFrame* _pFrame, const std::vector<CKUtils::CK_BLOCK>& _vecBlocks, IZFFrame** _ppFrame)
{
    *_ppFrame = nullptr;
    const auto cpFrame2 = ZQuery<IZFFrame2>(_pFrame);
    CZPtr<IZFFrame> cpMarked;
    HRESULT hr = cpFrame2 ? cpFrame2->FrameConvert(eZFC_Converted, eZFCC_ARGB32, cpMarked.Put()) : E_NOINTERFACE;
    if (SUCCEEDED(hr) && !cpMarked)
        hr = E_UNEXPECTED; // a success without a frame
    ZF_VID_PTR vidPtr = {};
    if (SUCCEEDED(hr))
        hr = cpMarked->VideoPtrGet(eZFP_Flip | eZFP_Write, &vidPtr);
    if (FAILED(hr))
        return hr;
    for (const CKUtils::CK_BLOCK& block : _vecBlocks)
        if (block.nX >= 0 && block.nY >= 0 && block.nX + block.nWidth <= vidPtr.szVideoPlanes[0].cx &&
            block.nY + block.nHeight <= vidPtr.szVideoPlanes[0].cy)
            DrawFrame(vidPtr, block);
    *_ppFrame = cpMarked.Detach();
    return S_OK;
}
