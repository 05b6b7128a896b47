#include "zkhost/Ui/FrameView.h"

#include "Kit/HostError.h"

#include "Base/ZLog.h"
#include "Image/ImgRowReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace
{

/// The pixels of one side that a pixel of the view covers, and how much of each, in 256ths.
struct COVER
{
    int nFirst;
    std::vector<uint16_t> vecShares;
};

constexpr int c_nWhole = 256;

/// Which pixels of _nFrom each of _nTo covers: all of them by their shares, or the nearest one where the picture grows.
std::vector<COVER> Covers(int _nFrom, int _nTo)
{
    std::vector<COVER> vecCovers(static_cast<size_t>(_nTo));
    for (int i = 0; i < _nTo; ++i)
    {
        COVER& cover = vecCovers[static_cast<size_t>(i)];
        if (_nTo >= _nFrom)
        {
            cover = {static_cast<int>((int64_t{2} * i + 1) * _nFrom / (2 * _nTo)), {c_nWhole}};
            continue;
        }
        const double dblScale = static_cast<double>(_nFrom) / _nTo;
        const double dblBegin = i * dblScale;
        const double dblEnd = std::min((i + 1) * dblScale, static_cast<double>(_nFrom));
        cover.nFirst = static_cast<int>(dblBegin);
        int nGiven = 0; // the shares come to a whole, however they are rounded
        for (int n = cover.nFirst; n < dblEnd; ++n)
        {
            const double dblTo = std::min(n + 1.0, dblEnd);
            const auto nUpTo = static_cast<int>(std::lround((dblTo - dblBegin) / (dblEnd - dblBegin) * c_nWhole));
            cover.vecShares.push_back(static_cast<uint16_t>(nUpTo - nGiven));
            nGiven = nUpTo;
        }
    }
    return vecCovers;
}

CImgRowReader ReaderOf(IZFFrame* _pFrame, const Z_YUV_FORM& _yuv)
{
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    CImgRowReader reader;
    HRESULT hr = _pFrame->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr))
        hr = _pFrame->VideoPtrGet(eZFP_Flip, &vidPtr);
    if (SUCCEEDED(hr))
        hr = reader.Init(vidProps, vidPtr, Img_MatrixOf(vidProps, _yuv));
    if (FAILED(hr))
        throw CZHostError(ZFormat("a frame could not be read (hr=%08X)", hr));
    return reader;
}

/// Rows of the view at full size: what is keyed over what is behind, or the source.
class CZViewRows
{
public:
    CZViewRows(IZFFrame* _pSource, IZFFrame* _pResult, const VIEW_WISH& _wish)
        : m_wish(_wish)
        , m_source(ReaderOf(_pSource, _wish.yuv))
        , m_result(ReaderOf(_pResult, {}))
        , m_vecRow(static_cast<size_t>(m_result.Width()) * 4)
        , m_vecBehind(m_vecRow.size())
        , m_nSquare(std::max(1, static_cast<int>(std::lround(12.0 * _wish.rect.nWidth / _wish.nWidth))))
    {
        const double dblWipe = std::clamp(_wish.dblWipe, 0.0, 1.0);
        m_nSourceEnd = static_cast<int>(std::lround(dblWipe * _wish.rect.nWidth));
        if (m_source.Width() != m_result.Width() || m_source.Height() != m_result.Height())
            m_nSourceEnd = 0; // the borders were cut off
    }
    int Width() const
    {
        return m_result.Width();
    }
    int Height() const
    {
        return m_result.Height();
    }
    /// Row _nRow of the rectangle as B, G, R, anything.
    void Read(int _nRow, uint8_t* _pOut)
    {
        const int nRow = m_wish.rect.nTop + _nRow;
        const size_t nBegin = static_cast<size_t>(m_wish.rect.nLeft) * 4;
        const auto nSource = static_cast<size_t>(m_nSourceEnd) * 4;
        const size_t nEnd = static_cast<size_t>(m_wish.rect.nWidth) * 4;
        if (nSource > 0)
            std::memcpy(_pOut, m_source.Row(nRow, m_vecRow.data()) + nBegin, nSource);
        if (nSource < nEnd)
            Lay(m_result.Row(nRow, m_vecRow.data()) + nBegin + nSource, Behind(nRow) + nBegin + nSource, nEnd - nSource,
                _pOut + nSource);
    }

private:
    const uint8_t* Behind(int _nRow)
    {
        if (m_wish.eOver == eShowOver::Picture && m_wish.pBackground)
            return m_wish.pBackground->Row(_nRow);
        const bool bChecker = m_wish.eOver == eShowOver::Checker;
        const int nSquares = bChecker ? (_nRow / m_nSquare) % 2 : 0;
        if (nSquares == m_nSquares)
            return m_vecBehind.data();
        m_nSquares = nSquares;
        for (int x = 0; x < Width(); ++x)
        {
            const bool bDark = bChecker && (x / m_nSquare + nSquares) % 2;
            const uint32_t nRGB = !bChecker ? m_wish.nRGB : bDark ? 0x787878 : 0xB4B4B4;
            for (int c = 0; c < 3; ++c)
                m_vecBehind[4 * static_cast<size_t>(x) + static_cast<size_t>(c)] = static_cast<uint8_t>(nRGB >> 8 * c);
        }
        return m_vecBehind.data();
    }
    void Lay(const uint8_t* _pTop, const uint8_t* _pBehind, size_t _cbRow, uint8_t* _pOut) const
    {
        if (m_wish.eOver == eShowOver::Nothing)
            std::memcpy(_pOut, _pTop, _cbRow);
        else if (m_wish.eOver == eShowOver::Alpha)
            for (size_t i = 0; i < _cbRow; i += 4)
                std::memset(_pOut + i, _pTop[i + 3], 4);
        else
            for (size_t i = 0; i < _cbRow; i += 4) // as Picture_Over does
            {
                const int nAlpha = _pTop[i + 3];
                for (size_t c = i; c < i + 3; ++c)
                    _pOut[c] = static_cast<uint8_t>((_pTop[c] * nAlpha + _pBehind[c] * (255 - nAlpha) + 127) / 255);
            }
    }

    const VIEW_WISH& m_wish;
    CImgRowReader m_source;
    CImgRowReader m_result;
    std::vector<uint8_t> m_vecRow;
    std::vector<uint8_t> m_vecBehind;
    int m_nSquare;
    int m_nSquares = -1; ///< which of the two rows of squares m_vecBehind has
    int m_nSourceEnd = 0;
};

/// The mean of the rows that a row of the view covers, times 256.
void MeanOfRows(CZViewRows& _rows, const COVER& _cover, std::vector<uint8_t>& _vecRow, std::vector<uint16_t>& _vecMean)
{
    std::ranges::fill(_vecMean, uint16_t{0});
    for (size_t i = 0; i < _cover.vecShares.size(); ++i)
    {
        const unsigned nShare = _cover.vecShares[i];
        if (nShare == 0)
            continue;
        _rows.Read(_cover.nFirst + static_cast<int>(i), _vecRow.data());
        for (size_t n = 0; n < _vecRow.size(); ++n)
            _vecMean[n] = static_cast<uint16_t>(_vecMean[n] + _vecRow[n] * nShare);
    }
}

void PutPixel(const COVER& _cover, const uint16_t* _pMean, uint8_t* _pOut)
{
    std::array<uint32_t, 3> arrSums = {};
    for (size_t i = 0; i < _cover.vecShares.size(); ++i)
        for (size_t c = 0; c < 3; ++c)
            arrSums[c] += _pMean[(static_cast<size_t>(_cover.nFirst) + i) * 4 + c] * uint32_t{_cover.vecShares[i]};
    for (size_t c = 0; c < 3; ++c)
        _pOut[c] = static_cast<uint8_t>((arrSums[2 - c] + 0x8000) >> 16);
    _pOut[3] = 255;
}

} // namespace

void FrameView_Make(IZFFrame* _pSource, IZFFrame* _pResult, const VIEW_WISH& _wish, std::string& _strPixels)
{
    CZViewRows rows(_pSource, _pResult, _wish);
    const VIEW_RECT& rect = _wish.rect;
    if (rect.nLeft < 0 || rect.nTop < 0 || rect.nWidth < 1 || rect.nHeight < 1 ||
        rect.nLeft > rows.Width() - rect.nWidth || rect.nTop > rows.Height() - rect.nHeight)
        throw CZHostError(ZFormat("the part %d,%d %d x %d is not in the picture of %d x %d", rect.nLeft, rect.nTop,
                                  rect.nWidth, rect.nHeight, rows.Width(), rows.Height()));
    Picture_CheckSize(_wish.nWidth, _wish.nHeight, "the view");
    const std::vector<COVER> vecColumns = Covers(rect.nWidth, _wish.nWidth);
    const std::vector<COVER> vecRows = Covers(rect.nHeight, _wish.nHeight);
    std::vector<uint8_t> vecRow(static_cast<size_t>(rect.nWidth) * 4);
    std::vector<uint16_t> vecMean(vecRow.size());
    _strPixels.resize(static_cast<size_t>(_wish.nWidth) * static_cast<size_t>(_wish.nHeight) * 4);
    auto* pOut = reinterpret_cast<uint8_t*>(_strPixels.data());
    for (const COVER& cover : vecRows)
    {
        MeanOfRows(rows, cover, vecRow, vecMean);
        for (const COVER& column : vecColumns)
        {
            PutPixel(column, vecMean.data(), pOut);
            pOut += 4;
        }
    }
}
