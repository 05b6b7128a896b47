#include "zkhost/Files/Picture.h"

#include "Kit/HostError.h"

#include "Base/ZLog.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZPtr.h"
#include "Image/ImgColor.h"
#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"

#include <algorithm>
#include <cstring>

void PICTURE::Resize(int _nWidth, int _nHeight, int _nChannels)
{
    nWidth = _nWidth;
    nHeight = _nHeight;
    nChannels = _nChannels;
    vecPixels.assign(RowBytes() * static_cast<size_t>(_nHeight), 0);
}

void Picture_Fill(PICTURE& _picture, int _nLeft, int _nTop, int _nRight, int _nBottom, uint32_t _nRGB)
{
    for (int y = std::max(_nTop, 0); y < std::min(_nBottom, _picture.nHeight); ++y)
        for (int x = std::max(_nLeft, 0); x < std::min(_nRight, _picture.nWidth); ++x)
        {
            uint8_t* const pPixel = _picture.Row(y) + 4 * x;
            for (int c = 0; c < 3; ++c)
                pPixel[c] = static_cast<uint8_t>(_nRGB >> 8 * c);
            pPixel[3] = 255;
        }
}

std::string Picture_SizeFault(int64_t _nWidth, int64_t _nHeight)
{
    if (_nWidth < 1 || _nHeight < 1)
        return ZFormat("a picture of %d x %d has no pixels", _nWidth, _nHeight);
    if (_nWidth > c_nMaxSide || _nHeight > c_nMaxSide || _nWidth * _nHeight > c_nMaxPixels)
        return ZFormat("%d x %d is too large; the limits are %d a side and %d million pixels", _nWidth, _nHeight,
                       c_nMaxSide, c_nMaxPixels >> 20);
    return {};
}

void Picture_CheckSize(int64_t _nWidth, int64_t _nHeight, const std::string& _strWhere)
{
    const std::string strFault = Picture_SizeFault(_nWidth, _nHeight);
    if (!strFault.empty())
        throw CZHostError(_strWhere + ": " + strFault);
}

namespace
{

void ReadFrame(IZFFrame* _pFrame, PICTURE& _picture, const Z_YUV_FORM& _yuv, ZF_VID_PROPS& _vidProps)
{
    ZF_VID_PTR vidPtr = {};
    CImgRowReader reader;
    HRESULT hr = _pFrame->VideoPropsGet(&_vidProps);
    if (SUCCEEDED(hr))
        hr = _pFrame->VideoPtrGet(eZFP_Flip, &vidPtr);
    if (SUCCEEDED(hr))
        hr = reader.Init(_vidProps, vidPtr, Img_MatrixOf(_vidProps, _yuv));
    if (FAILED(hr))
        throw CZHostError(ZFormat("a frame could not be read (hr=%08X)", hr));
    _picture.Resize(reader.Width(), reader.Height(), 4);
    for (int y = 0; y < reader.Height(); ++y)
        if (const uint8_t* pRow = reader.RowInPlace(y))
            std::memcpy(_picture.Row(y), pRow, _picture.RowBytes());
        else
            reader.ReadRow(y, _picture.Row(y));
}

void MakeOpaque(PICTURE& _picture)
{
    for (size_t i = 3; i < _picture.vecPixels.size(); i += 4)
        _picture.vecPixels[i] = 255;
    _picture.bAlpha = false;
}

} // namespace

void Picture_FromFrame(IZFFrame* _pFrame, PICTURE& _picture, const Z_YUV_FORM& _yuv)
{
    ZF_VID_PROPS vidProps = {};
    ReadFrame(_pFrame, _picture, _yuv, vidProps);
    _picture.bAlpha = FCC_HasAlpha(vidProps.fccType);
    if (vidProps.fccType == eZFCC_RGB32) // its fourth byte means nothing
        MakeOpaque(_picture);
}

bool Picture_FromDeepFrame(IZFFrame* _pFrame, DEEP_PICTURE& _picture)
{
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    if (FAILED(_pFrame->VideoPropsGet(&vidProps)) || vidProps.fccType != eZFCC_ARGB64 ||
        _pFrame->VideoPtrGet(eZFP_Flip, &vidPtr) != S_OK)
        return false;
    _picture.nWidth = vidPtr.szVideoPlanes[0].cx;
    _picture.nHeight = vidPtr.szVideoPlanes[0].cy;
    _picture.vecWords.resize(_picture.RowWords() * static_cast<size_t>(_picture.nHeight));
    for (int y = 0; y < _picture.nHeight; ++y)
        std::memcpy(_picture.vecWords.data() + static_cast<size_t>(y) * _picture.RowWords(), Img_RowOf(vidPtr, 0, y),
                    _picture.RowWords() * sizeof(uint16_t)); // little-endian, as every machine this runs on
    return true;
}

bool Picture_FromMask(IZFFrame* _pResult, PICTURE& _picture)
{
    CZPtr<IUnknown> cpAttached;
    if (_pResult->AttachmentGet(L"mask", cpAttached.Put()) == S_FALSE)
        return false;
    const auto cpMask = ZQuery<IZFFrame>(cpAttached);
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    if (!cpMask || FAILED(cpMask->VideoPropsGet(&vidProps)) || vidProps.fccType != eZFCC_RGB8 ||
        cpMask->VideoPtrGet(eZFP_Flip, &vidPtr) != S_OK)
        throw CZHostError("the mask of a frame could not be read; it is no 8-bit picture in memory");
    _picture.Resize(vidPtr.szVideoPlanes[0].cx, vidPtr.szVideoPlanes[0].cy, 1);
    for (int y = 0; y < _picture.nHeight; ++y)
        std::memcpy(_picture.Row(y), Img_RowOf(vidPtr, 0, y), _picture.RowBytes());
    return true;
}

void Picture_TakeAlpha(const PICTURE& _picture, PICTURE& _mask)
{
    _mask.Resize(_picture.nWidth, _picture.nHeight, 1);
    for (size_t i = 0; i < _mask.vecPixels.size(); ++i)
        _mask.vecPixels[i] = _picture.vecPixels[4 * i + 3];
}

void Picture_PutAlpha(const PICTURE& _mask, PICTURE& _picture)
{
    if (_mask.nWidth != _picture.nWidth || _mask.nHeight != _picture.nHeight)
        throw CZHostError(ZFormat("the mask of %d x %d does not fit its frame of %d x %d", _mask.nWidth, _mask.nHeight,
                                  _picture.nWidth, _picture.nHeight));
    for (size_t i = 0; i < _mask.vecPixels.size(); ++i)
        _picture.vecPixels[4 * i + 3] = _mask.vecPixels[i];
    _picture.bAlpha = true;
}

void Picture_Over(PICTURE& _picture, const PICTURE& _background)
{
    uint8_t* pTop = _picture.vecPixels.data();
    const uint8_t* pBack = _background.vecPixels.data();
    const size_t cbPixels = std::min(_picture.vecPixels.size(), _background.vecPixels.size());
    for (size_t i = 0; i < cbPixels; i += 4)
    {
        const int nAlpha = pTop[i + 3];
        for (size_t c = i; c < i + 3; ++c)
            pTop[c] = static_cast<uint8_t>((pTop[c] * nAlpha + pBack[c] * (255 - nAlpha) + 127) / 255);
        pTop[i + 3] = 255;
    }
    _picture.bAlpha = false;
}

PICTURE Picture_Cropped(const PICTURE& _picture, int _nLeft, int _nTop, int _nWidth, int _nHeight)
{
    PICTURE part;
    part.Resize(_nWidth, _nHeight, _picture.nChannels);
    part.bAlpha = _picture.bAlpha;
    for (int y = 0; y < _nHeight; ++y)
        std::memcpy(part.Row(y), _picture.Row(_nTop + y) + _nLeft * _picture.nChannels, part.RowBytes());
    return part;
}

PICTURE Picture_Scaled(const PICTURE& _picture, int _nWidth, int _nHeight)
{
    PICTURE scaled;
    scaled.Resize(_nWidth, _nHeight, _picture.nChannels);
    scaled.bAlpha = _picture.bAlpha;
    const auto fnFrom = [](int _nTo, int _nToSize, int _nFromSize) {
        return static_cast<int>(int64_t{_nTo} * _nFromSize / _nToSize);
    };
    for (int y = 0; y < _nHeight; ++y)
    {
        const int nTop = fnFrom(y, _nHeight, _picture.nHeight);
        const int nBottom = std::max(fnFrom(y + 1, _nHeight, _picture.nHeight), nTop + 1);
        for (int x = 0; x < _nWidth; ++x)
        {
            const int nLeft = fnFrom(x, _nWidth, _picture.nWidth);
            const int nRight = std::max(fnFrom(x + 1, _nWidth, _picture.nWidth), nLeft + 1);
            const int64_t nPixels = int64_t{nRight - nLeft} * (nBottom - nTop);
            for (int c = 0; c < _picture.nChannels; ++c)
            {
                int64_t nSum = nPixels / 2;
                for (int v = nTop; v < nBottom; ++v)
                    for (int u = nLeft; u < nRight; ++u)
                        nSum += _picture.Row(v)[u * _picture.nChannels + c];
                scaled.Row(y)[x * _picture.nChannels + c] = static_cast<uint8_t>(nSum / nPixels);
            }
        }
    }
    return scaled;
}
