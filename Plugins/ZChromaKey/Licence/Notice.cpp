#include "ZChromaKey/Licence/Notice.h"

#include "Base/ZHelpers.h"
#include "Image/ImgRowReader.h"
#include "Video/ZFrameWriter.h"
#include "ZChromaKey/Licence/NoticeFont.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace
{

constexpr std::string_view c_svNotice = "Evaluation copy";
constexpr int c_nCellX = c_nGlyphWidth + 1;
constexpr int c_nCellY = c_nGlyphHeight + 1;
constexpr int c_nMargin = 3; // dots around the text
constexpr int c_nShare = 3;  // the plate takes one of so many parts of the width or the height
constexpr int c_nUnitX = 6;  // pixels: a word of v210, and whole chroma samples
constexpr int c_nUnitY = 4;  // rows: a chroma row of each field

constexpr uint8_t c_arrPlate[4] = {0, 0, 0, 128};
constexpr uint8_t c_arrLetter[4] = {255, 255, 255, 255};

/// Breaks a text at its last blank that fits, or where it must.
void Break(std::string_view _svText, size_t _nLetters, std::vector<std::string>* _pvecLines)
{
    while (!_svText.empty())
    {
        const size_t nBlank = _svText.rfind(' ', _nLetters);
        const bool bBlank = nBlank != std::string_view::npos && nBlank > 0;
        const size_t nLine = _svText.size() <= _nLetters ? _svText.size() : bBlank ? nBlank : _nLetters;
        _pvecLines->emplace_back(_svText.substr(0, nLine));
        _svText.remove_prefix(nLine);
        _svText.remove_prefix(std::min(_svText.find_first_not_of(' '), _svText.size()));
    }
}

int RoundUp(int _nValue, int _nUnit)
{
    return (_nValue + _nUnit - 1) / _nUnit * _nUnit;
}

/// The text in dots: each line in the middle.
struct DOTS
{
    std::vector<std::string> vecLines;
    int nColumns;
    int nRows;

    explicit DOTS(std::vector<std::string> _vecLines)
        : vecLines(std::move(_vecLines))
        , nColumns(0)
        , nRows(static_cast<int>(vecLines.size()) * c_nCellY - (c_nCellY - c_nGlyphHeight) + 2 * c_nMargin)
    {
        for (const std::string& strLine : vecLines)
            nColumns = std::max(nColumns, WidthOf(strLine) + 2 * c_nMargin);
    }
    static int WidthOf(const std::string& _strLine)
    {
        return static_cast<int>(_strLine.size()) * c_nCellX - (c_nCellX - c_nGlyphWidth);
    }
    bool IsSet(int _nColumn, int _nRow) const
    {
        const int nY = _nRow - c_nMargin;
        if (nY < 0 || nY / c_nCellY >= static_cast<int>(vecLines.size()) || nY % c_nCellY >= c_nGlyphHeight)
            return false;
        const std::string& strLine = vecLines[static_cast<size_t>(nY / c_nCellY)];
        const int nX = _nColumn - (nColumns - WidthOf(strLine)) / 2;
        if (nX < 0 || nX / c_nCellX >= static_cast<int>(strLine.size()) || nX % c_nCellX >= c_nGlyphWidth)
            return false;
        return NoticeFont_IsSet(strLine[static_cast<size_t>(nX / c_nCellX)], nX % c_nCellX, nY % c_nCellY);
    }
};

/// In the middle from side to side, and in the lower half, so that it is in the way of faces less.
Z_PART PartOf(int _nWidth, int _nHeight, int _nPlateWidth, int _nPlateHeight)
{
    const int nX = _nPlateWidth < _nWidth ? (_nWidth - _nPlateWidth) / 2 / c_nUnitX * c_nUnitX : 0;
    const int nY = _nPlateHeight < _nHeight ? (_nHeight - _nPlateHeight) * 3 / 4 / c_nUnitY * c_nUnitY : 0;
    return {nX, nY, std::min(nX + _nPlateWidth, _nWidth), std::min(nY + _nPlateHeight, _nHeight)};
}

NOTICE_PLATE PlateMake(std::string_view _svProduct, int _nWidth, int _nHeight)
{
    const int nLetters = (_nWidth - 2 * c_nMargin) / c_nCellX;
    const DOTS dots(Notice_Lines(_svProduct, static_cast<size_t>(std::max(nLetters, 1))));
    const int nScale = std::max(std::min(_nWidth / c_nShare / dots.nColumns, _nHeight / c_nShare / dots.nRows), 1);
    NOTICE_PLATE plate;
    plate.part =
        PartOf(_nWidth, _nHeight, RoundUp(dots.nColumns * nScale, c_nUnitX), RoundUp(dots.nRows * nScale, c_nUnitY));
    const size_t cbPlate = size_t{4} * static_cast<size_t>(plate.Width()) * static_cast<size_t>(plate.Height());
    plate.vecBGRA.reserve(cbPlate);
    plate.vecMask.reserve(cbPlate);
    for (int nY = 0; nY < plate.Height(); ++nY)
        for (int nX = 0; nX < plate.Width(); ++nX)
        {
            const auto& arrPixel = dots.IsSet(nX / nScale, nY / nScale) ? c_arrLetter : c_arrPlate;
            plate.vecBGRA.insert(plate.vecBGRA.end(), arrPixel, arrPixel + 4);
            plate.vecMask.insert(plate.vecMask.end(), 4, arrPixel[3]);
        }
    return plate;
}

/// Whether no word of a format of words lies at an odd address.
bool WordsAreWhole(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr)
{
    return FCC_Layout(_vidProps.fccType) != eIL_ARGB64 ||
           ((_vidPtr.lpVideoPlanes[0] | int64_t{_vidPtr.cbVideoRowBytes[0]}) & 1) == 0;
}

} // namespace

std::vector<std::string> Notice_Lines(std::string_view _svProduct, size_t _nLetters)
{
    std::vector<std::string> vecLines;
    Break(c_svNotice, _nLetters, &vecLines);
    Break(_svProduct, _nLetters, &vecLines);
    return vecLines;
}

const NOTICE_PLATE& CNotice::Plate(int _nWidth, int _nHeight)
{
    if (_nWidth != m_nWidth || _nHeight != m_nHeight)
    {
        m_nWidth = 0; // nothing is kept while another one is made
        m_plate = PlateMake(m_strProduct, _nWidth, _nHeight);
        m_nWidth = _nWidth;
        m_nHeight = _nHeight;
    }
    return m_plate;
}

HRESULT CNotice::Draw(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, bool _bMask)
{
    const HRESULT hr = CImgRowReader().Init(_vidProps, _vidPtr); // refuses planes that cannot be written either
    if (FAILED(hr))
        return hr;
    if (!WordsAreWhole(_vidProps, _vidPtr))
        return E_INVALIDARG;
    const NOTICE_PLATE& plate = Plate(_vidProps.nWidth, std::abs(_vidProps.nHeight));
    Z_PART part = plate.part;
    if (!ZPart_Fit(_vidProps, &part) || ZPart_Byte(_vidProps.fccType, part.nX1) < 0)
        return E_UNEXPECTED;
    const ZF_VID_PROPS vidPropsPart = ZPart_Props(_vidProps, part);
    const ZF_VID_PTR vidPtrPart = ZPart_Ptr(_vidProps, _vidPtr, vidPropsPart, part);
    const auto& vecPixels = _bMask ? plate.vecMask : plate.vecBGRA;
    return ZFrameWriter_Write(vidPropsPart, vidPtrPart, vecPixels.data(), ptrdiff_t{4} * plate.Width());
}
