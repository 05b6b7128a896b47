#include "ZChromaKey/Frame/TimeOverlay.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Base/ZSaturate.h"
#include "Image/ImgPlane.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace
{

constexpr int c_nGlyphWidth = 5;
constexpr int c_nGlyphHeight = 7;
constexpr int c_nCell = c_nGlyphWidth + 1;
constexpr int c_nMargin = 2; // pixels of the font around the text
constexpr int c_nRowsPerFontPixel = 180;
constexpr std::string_view c_svGlyphs = "0123456789:;.";

/// Rows of the glyphs from the top; bit 4 is the left column.
constexpr uint8_t c_arrFont[c_svGlyphs.size()][c_nGlyphHeight] = {
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}, {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}, {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}, {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}, {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}, {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C},
    {0x00, 0x04, 0x04, 0x00, 0x04, 0x04, 0x00}, {0x00, 0x04, 0x04, 0x00, 0x04, 0x04, 0x08},
    {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C}};

/// How black and white pixels of a format are written.
struct INK
{
    int nBytes;     ///< of a pixel in plane 0
    int nLuma;      ///< the byte that tells black from white; the other one is chroma
    uint8_t nBlack; ///< every byte of RGB, luma else
    uint8_t nWhite;
};

std::optional<INK> InkOf(uint32_t _fccType)
{
    switch (_fccType)
    {
    case eZFCC_RGB32:
    case eZFCC_ARGB32:
        return INK{4, 0, 0, 255};
    case eZFCC_UYVY:
    case eZFCC_HDYC:
        return INK{2, 1, 16, 235};
    case eZFCC_YUY2:
        return INK{2, 0, 16, 235};
    case eZFCC_RGB8: // a mask
        return INK{1, 0, 255, 255};
    case eZFCC_NV12:
    case eZFCC_I420:
    case eZFCC_YV12:
        return INK{1, 0, 16, 235}; // luma alone tells black from white
    default:
        return {};
    }
}

void PixelSet(const INK& _ink, uint8_t* _pPixel, bool _bWhite)
{
    const uint8_t nValue = _bWhite ? _ink.nWhite : _ink.nBlack;
    if (_ink.nBytes == 4)
    {
        std::fill_n(_pPixel, 3, nValue);
        _pPixel[3] = 255;
        return;
    }
    _pPixel[_ink.nLuma] = nValue;
    if (_ink.nBytes == 2)
        _pPixel[1 - _ink.nLuma] = 128;
}

/// A pixel of the font, counted from the corner of the box.
bool IsWhite(const std::string& _strText, int _nX, int _nY)
{
    const int nX = _nX - c_nMargin;
    const int nY = _nY - c_nMargin;
    if (nX < 0 || nY < 0 || nY >= c_nGlyphHeight || nX % c_nCell >= c_nGlyphWidth)
        return false;
    const auto nChar = static_cast<size_t>(nX / c_nCell);
    const size_t nGlyph = nChar < _strText.size() ? c_svGlyphs.find(_strText[nChar]) : std::string_view::npos;
    return nGlyph != std::string_view::npos && (c_arrFont[nGlyph][nY] >> (c_nGlyphWidth - 1 - nX % c_nCell) & 1);
}

HRESULT DrawBox(IZFFrame* _pFrame, const std::string& _strText)
{
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    HRESULT hr = _pFrame->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr))
        hr = _pFrame->VideoPtrGet(eZFP_Flip | eZFP_Write, &vidPtr);
    const auto ink = InkOf(vidProps.fccType);
    if (FAILED(hr) || !ink || !vidPtr.lpVideoPlanes[0])
        return FAILED(hr) ? hr : E_NOTIMPL;
    const int nHeight = ZAbs32(vidProps.nHeight);
    const int nScale = std::max(nHeight / c_nRowsPerFontPixel, 1);
    const int nColumns = (static_cast<int>(_strText.size()) * c_nCell - 1 + 2 * c_nMargin) * nScale;
    const int nRows = (c_nGlyphHeight + 2 * c_nMargin) * nScale;
    for (int nY = 0; nY < std::min(nRows, nHeight); ++nY)
        for (int nX = 0; nX < std::min(nColumns, vidProps.nWidth); ++nX)
            PixelSet(*ink, Img_RowOf(vidPtr, 0, nY) + ptrdiff_t{ink->nBytes} * nX,
                     IsWhite(_strText, nX / nScale, nY / nScale));
    return S_OK;
}

/// Puts a copy with pixels of its own in a frame's place.
HRESULT MakeOwn(CZPtr<IZFFrame>* _pcpFrame)
{
    const auto cpFrame2 = ZQuery<IZFFrame2>(*_pcpFrame);
    CZPtr<IZFFrame> cpOwn;
    const HRESULT hr = cpFrame2 ? cpFrame2->FrameClone(eZFC_Converted, cpOwn.Put()) : E_NOINTERFACE;
    if (SUCCEEDED(hr) && cpOwn)
        *_pcpFrame = std::move(cpOwn);
    return hr;
}

} // namespace

HRESULT TimeOverlay_Draw(const char* _pszClass, CZPtr<IZFFrame>* _pcpFrame)
{
    ZF_TIMECODE timeCode = {};
    (*_pcpFrame)->TimeCodeGet(&timeCode);
    const std::string strText = TimeCode_Text(&timeCode);
    HRESULT hr = DrawBox(_pcpFrame->Get(), strText);
    if (hr == E_ACCESSDENIED)
    {
        hr = MakeOwn(_pcpFrame);
        if (SUCCEEDED(hr))
            hr = DrawBox(_pcpFrame->Get(), strText);
    }
    CZPtr<IUnknown> cpMask;
    if (SUCCEEDED(hr) && (*_pcpFrame)->AttachmentGet(L"mask", cpMask.Put()) == S_OK)
        if (const auto cpMaskFrame = ZQuery<IZFFrame>(cpMask))
            hr = DrawBox(cpMaskFrame.Get(), strText);
    if (FAILED(hr))
        ZLog(eZLog_Verbose, "%hs: the time cannot be drawn onto this frame, hr=%08X\n", _pszClass, hr);
    return hr;
}
