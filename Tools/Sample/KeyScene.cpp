#include "Sample/KeyScene.h"

#include "Kit/HostError.h"
#include "zkhost/Files/Stream.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Image/ImgColor.h"
#include "Video/ZFrameWriter.h"

#include <algorithm>

namespace
{

constexpr int c_nMinStripe = 16; // pixels; narrower ones would be all edge
constexpr int c_nEdge = 4;
constexpr uint32_t c_nNoise = 5; // levels
constexpr uint8_t c_arrFigure[4] = {60, 50, 200, 255};

struct STRIPE_COLOR
{
    uint8_t arrBGRA[4];
};

/// Greens, each key its own.
STRIPE_COLOR ColorOf(int _nKey)
{
    return {{static_cast<uint8_t>(40 + _nKey % 4 * 10), static_cast<uint8_t>(150 + _nKey / 4 * 15),
             static_cast<uint8_t>(30 + _nKey % 4 * 8), 255}};
}

/// Columns of a stripe: those that fit, so that a narrow picture shows the first keys only.
int StripeWidth(int _nWidth, int _nKeys)
{
    const int nStripes = std::clamp(_nWidth / 2 / c_nMinStripe, 1, _nKeys);
    return _nWidth / 2 / nStripes;
}

/// The key that a column belongs to; -1 on the right half.
int KeyAt(int _nX, int _nWidth, int _nKeys)
{
    const int nStripe = StripeWidth(_nWidth, _nKeys);
    return _nX < _nWidth / 2 ? std::min(_nX / nStripe, _nWidth / 2 / nStripe - 1) : -1;
}

} // namespace

PICTURE KeyScene_Picture(int _nWidth, int _nHeight, int _nKeys, eKeyScene _eScene)
{
    PICTURE picture;
    picture.Resize(_nWidth, _nHeight, 4);
    uint32_t nRandom = 1;
    const auto fnNoise = [&](uint32_t _nRange) {
        nRandom = nRandom * 1664525u + 1013904223u;
        return (nRandom >> 24) % _nRange;
    };
    for (int y = 0; y < _nHeight; ++y)
        for (int x = 0; x < _nWidth; ++x)
        {
            const int nKey = KeyAt(x, _nWidth, _nKeys);
            const STRIPE_COLOR color = ColorOf(std::max(nKey, 0));
            const uint8_t* pColor = nKey < 0 ? c_arrFigure : color.arrBGRA;
            uint8_t* pPixel = picture.Row(y) + 4 * x;
            for (int c = 0; c < 3; ++c)
                pPixel[c] = static_cast<uint8_t>(_eScene == eKS_Random ? fnNoise(256)
                                                                       : pColor[c] + fnNoise(c_nNoise) - c_nNoise / 2);
            pPixel[3] = 255;
        }
    return picture;
}

CZPtr<IZFFrame> KeyScene_Frame(const PICTURE& _picture, uint32_t _fccType, CZFramePool* _pPoolOrNull)
{
    const int nHeight = FCC_IsRGB(_fccType) ? -_picture.nHeight : _picture.nHeight; // RGB top-down
    CZPtr<CZFrame> cpFrame;
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    HRESULT hr =
        ZFrame_Create(Stream_Props(_fccType, _picture.nWidth, nHeight, eZI_Progressive), cpFrame.Put(), _pPoolOrNull);
    if (SUCCEEDED(hr))
        hr = cpFrame->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr) && (vidProps.nWidth != _picture.nWidth || vidProps.nHeight != nHeight))
        throw CZUsageError(ZFormat("%d x %d cannot be kept as %s, which needs an even width or height", _picture.nWidth,
                                   _picture.nHeight, FCC_Name(_fccType)));
    if (SUCCEEDED(hr))
        hr = cpFrame->VideoPtrGet(eZFP_Write, &vidPtr);
    if (SUCCEEDED(hr))
        hr = ZFrameWriter_Write(vidProps, vidPtr, _picture.Row(0), static_cast<ptrdiff_t>(_picture.RowBytes()));
    if (hr == E_NOTIMPL)
        throw CZUsageError(ZFormat("frames cannot be written as %s", FCC_Name(_fccType)));
    if (FAILED(hr))
        throw CZHostError(ZFormat("no frame of %d x %d could be made (hr=%08X); is there enough memory?",
                                  _picture.nWidth, _picture.nHeight, hr));
    return CZPtr<IZFFrame>::Adopt(cpFrame.Detach());
}

eCK_Type KeyScene_Type(uint32_t _fccType)
{
    return FCC_IsRGB(_fccType) ? eCKT_RGB : eCKT_YUV;
}

CHROMA_KEY_RAW KeyScene_Keys(const ZF_VID_PROPS& _vidProps, eCK_Type _eType, int _nKeys)
{
    CHROMA_KEY_RAW keys = {};
    keys.eType = _eType;
    keys.nKeysUsed = _nKeys;
    keys.nMaxTransparent = 255;
    for (int i = 0; i < _nKeys; ++i)
    {
        const STRIPE_COLOR color = ColorOf(i);
        uint8_t arrWord[4] = {color.arrBGRA[2], color.arrBGRA[1], color.arrBGRA[0], 0};
        if (_eType == eCKT_YUV)
            Img_RowToYUV(color.arrBGRA, arrWord, 1, Img_MatrixOf(_vidProps));
        if (_eType == eCKT_HLS)
            Img_RowToHLS(color.arrBGRA, arrWord, 1);
        keys.arrKeys[i].nValue = arrWord[0] | uint32_t{arrWord[1]} << 8 | uint32_t{arrWord[2]} << 16;
        keys.arrKeys[i].nDelta = 0x202020;
        keys.arrKeys[i].nSmoothRange = 40;
    }
    return keys;
}

void KeyScene_Check(const PICTURE& _mask, int _nKeys)
{
    for (int y = 0; y < _mask.nHeight; ++y)
        for (int x = c_nEdge; x < _mask.nWidth - c_nEdge; ++x)
        {
            const int nKey = KeyAt(x, _mask.nWidth, _nKeys);
            const bool bEdge = KeyAt(x - c_nEdge, _mask.nWidth, _nKeys) != KeyAt(x + c_nEdge, _mask.nWidth, _nKeys);
            const int nRight = nKey < 0 ? 255 : 0;
            if (!bEdge && _mask.Row(y)[x] != nRight)
                throw CZHostError(ZFormat("the mask is wrong at %d,%d: %d instead of %d; measuring it means nothing", x,
                                          y, _mask.Row(y)[x], nRight));
        }
}
