#include "ZChromaKey/Keys2/FramePick.h"

#include "Base/ZLog.h"
#include "Helpers/FrameSampler.h"

#include <algorithm>

namespace
{

constexpr int32_t c_nPointReach = 3; // pixels to each side of a point

/// Counts the values of three channels.
class CChannelCounts
{
public:
    void Add(const uint8_t* _pBGRA, int32_t _nPixels)
    {
        for (int32_t n = 0; n < _nPixels; ++n)
            for (int i = 0; i < 3; ++i)
                ++m_arrCounts[i][_pBGRA[4 * n + i]];
        m_nPixels += static_cast<uint64_t>(_nPixels);
    }
    /// The value that half of the pixels do not exceed.
    double Middle(int _nByte) const
    {
        uint64_t nBelow = 0;
        int nValue = 0;
        while (nValue < 255 && 2 * (nBelow += m_arrCounts[_nByte][nValue]) < m_nPixels)
            ++nValue;
        return nValue;
    }

private:
    uint64_t m_nPixels = 0;
    uint32_t m_arrCounts[3][256] = {};
};

/// The middle colour of what a rectangle has of the picture; false where it has nothing.
bool Middle(CFrameSampler* _pSampler, int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2, KEY2_COLOR* _pColor)
{
    const int32_t nLeft = std::max(std::min(_nX1, _nX2), 0);
    const int32_t nTop = std::max(std::min(_nY1, _nY2), 0);
    const int32_t nRight = std::min(std::max(_nX1, _nX2), _pSampler->Width());
    const int32_t nBottom = std::min(std::max(_nY1, _nY2), _pSampler->Height());
    if (nLeft >= nRight || nTop >= nBottom)
        return false;
    CChannelCounts counts;
    for (int32_t y = nTop; y < nBottom; ++y)
        counts.Add(_pSampler->Row(y) + ptrdiff_t{4} * nLeft, nRight - nLeft);
    *_pColor = {counts.Middle(2), counts.Middle(1), counts.Middle(0)};
    return true;
}

} // namespace

HRESULT FramePick_Point(IZFFrame* _pFrame, int32_t _nX, int32_t _nY, KEY2_COLOR* _pColor, const Z_YUV_FORM& _yuv)
{
    CFrameSampler sampler;
    const HRESULT hr = sampler.Open(_pFrame, _yuv);
    if (FAILED(hr))
        return hr;
    if (_nX < 0 || _nY < 0 || _nX >= sampler.Width() || _nY >= sampler.Height())
    {
        ZLog(eZLog_Error, "Key set: the point %d,%d is outside the frame of %d x %d pixels; count from its top left\n",
             _nX, _nY, sampler.Width(), sampler.Height());
        return E_INVALIDARG;
    }
    Middle(&sampler, _nX - c_nPointReach, _nY - c_nPointReach, _nX + c_nPointReach + 1, _nY + c_nPointReach + 1,
           _pColor);
    return S_OK;
}

HRESULT FramePick_Rect(IZFFrame* _pFrame, int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2, KEY2_COLOR* _pColor,
                       const Z_YUV_FORM& _yuv)
{
    CFrameSampler sampler;
    const HRESULT hr = sampler.Open(_pFrame, _yuv);
    if (FAILED(hr) || Middle(&sampler, _nX1, _nY1, _nX2, _nY2, _pColor))
        return hr;
    ZLog(eZLog_Error,
         "Key set: %d,%d,%d,%d holds no pixel of the frame of %d x %d pixels; count from its top left, the second "
         "corner not included\n",
         _nX1, _nY1, _nX2, _nY2, sampler.Width(), sampler.Height());
    return E_INVALIDARG;
}

HRESULT FramePick_Picture(IZFFrame* _pFrame, IMG_PICTURE* _pPicture, const Z_YUV_FORM& _yuv)
{
    CFrameSampler sampler;
    const HRESULT hr = sampler.Open(_pFrame, _yuv);
    if (FAILED(hr))
        return hr;
    IMG_PICTURE picture = {sampler.Width(), sampler.Height(), {}};
    const size_t cbRow = size_t{4} * static_cast<size_t>(picture.nWidth);
    picture.vecBGRA.reserve(cbRow * static_cast<size_t>(picture.nHeight));
    for (int32_t y = 0; y < picture.nHeight; ++y)
    {
        const uint8_t* const pRow = sampler.Row(y);
        picture.vecBGRA.insert(picture.vecBGRA.end(), pRow, pRow + cbRow);
    }
    *_pPicture = std::move(picture);
    return S_OK;
}

HRESULT FramePick_Mask(IZFFrame* _pFrame, IMG_MASK* _pMask, const Z_YUV_FORM& _yuv)
{
    CFrameSampler sampler;
    const HRESULT hr = sampler.Open(_pFrame, _yuv);
    if (FAILED(hr))
        return hr;
    IMG_MASK mask = {sampler.Width(), sampler.Height(), {}};
    mask.vecBytes.reserve(static_cast<size_t>(mask.nWidth) * static_cast<size_t>(mask.nHeight));
    for (int32_t y = 0; y < mask.nHeight; ++y)
    {
        const uint8_t* pPixel = sampler.Row(y);
        for (int32_t x = 0; x < mask.nWidth; ++x, pPixel += 4)
        {
            const int nLargest = std::max({pPixel[0], pPixel[1], pPixel[2]});
            const int nInside = sampler.HasAlpha() ? (nLargest * pPixel[3] + 127) / 255 : nLargest;
            mask.vecBytes.push_back(static_cast<uint8_t>(nInside));
        }
    }
    *_pMask = std::move(mask);
    return S_OK;
}
