#include "Quality/QualitySheet.h"

#include "zkhost/Files/Label.h"

#include <algorithm>
#include <cstdlib>

namespace
{

constexpr int c_nTileWidth = 300;
constexpr int c_nTileHeight = 190;
constexpr int c_nGap = 6;
constexpr int c_nHeader = 26;
constexpr int c_nTitle = 18; // above each row
constexpr int c_nSearchStep = 10;
constexpr size_t c_nShown = 1; // the keyer whose errors are looked for: the second generation
constexpr uint32_t c_nPaper = 0x1E2126;
constexpr uint32_t c_nInk = 0xE8EAED;

int RowTop(int _nRow)
{
    return c_nHeader + _nRow * (c_nTileHeight + c_nTitle + c_nGap);
}

/// How much there is to see in a part: alpha of one half, and what a keyer got wrong.
int64_t Interest(const PICTURE& _truth, const PICTURE& _keyed, int _nLeft, int _nTop)
{
    int64_t nSum = 0;
    for (int y = _nTop; y < _nTop + c_nTileHeight; y += 2)
        for (int x = _nLeft; x < _nLeft + c_nTileWidth; x += 2)
        {
            const int nAlpha = _truth.Row(y)[4 * x + 3];
            nSum += nAlpha * (255 - nAlpha) / 255 + 4 * std::abs(_keyed.Row(y)[4 * x + 3] - nAlpha);
        }
    return nSum;
}

} // namespace

CQualitySheet::CQualitySheet(std::vector<std::string> _vecColumns, int _nRows)
    : m_vecColumns(std::move(_vecColumns))
{
    const int nColumns = static_cast<int>(m_vecColumns.size());
    m_sheet.Resize(c_nGap + nColumns * (c_nTileWidth + c_nGap), RowTop(_nRows), 4);
    Picture_Fill(m_sheet, 0, 0, m_sheet.nWidth, m_sheet.nHeight, c_nPaper);
    for (int i = 0; i < nColumns; ++i)
        Label_Draw(m_sheet, c_nGap + i * (c_nTileWidth + c_nGap), 8, 2, c_nInk, m_vecColumns[static_cast<size_t>(i)]);
}

void CQualitySheet::Put(int _nColumn, const PICTURE& _picture, int _nLeft, int _nTop)
{
    const int nLeft = c_nGap + _nColumn * (c_nTileWidth + c_nGap), nTop = RowTop(m_nRow) + c_nTitle;
    for (int y = 0; y < std::min(c_nTileHeight, _picture.nHeight - _nTop); ++y)
        for (int x = 0; x < std::min(c_nTileWidth, _picture.nWidth - _nLeft); ++x)
            std::copy_n(_picture.Row(_nTop + y) + 4 * (_nLeft + x), 3, m_sheet.Row(nTop + y) + 4 * (nLeft + x));
}

void CQualitySheet::Row(const HARD_CLIP& _clip, const std::vector<PICTURE>& _vecKeyed)
{
    const PICTURE& truth = _clip.vecTruths.front();
    const uint32_t nGround = HardClip_Ground(*_clip.pScene);
    int nLeft = 0, nTop = 0;
    int64_t nBest = -1;
    for (int y = 0; y + c_nTileHeight <= truth.nHeight; y += c_nSearchStep)
        for (int x = 0; x + c_nTileWidth <= truth.nWidth; x += c_nSearchStep)
            if (const int64_t nInterest = Interest(truth, _vecKeyed.at(c_nShown), x, y); nInterest > nBest)
            {
                nBest = nInterest;
                nLeft = x;
                nTop = y;
            }
    Label_Draw(m_sheet, c_nGap, RowTop(m_nRow) + 5, 1, c_nInk, _clip.pScene->pszName);
    Put(0, _clip.vecPictures.front(), nLeft, nTop);
    Put(1, HardClip_Over(truth, nGround, _clip.pScene->bLinear), nLeft, nTop);
    for (size_t n = 0; n < _vecKeyed.size(); ++n)
        Put(static_cast<int>(n) + 2, HardClip_Over(_vecKeyed[n], nGround, false), nLeft, nTop);
    ++m_nRow;
}
