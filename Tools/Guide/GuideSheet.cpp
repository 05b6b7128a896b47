#include "Guide/GuideSheet.h"

#include "zkhost/Files/Label.h"

#include <algorithm>

namespace
{

constexpr int c_nColumns = 4;
constexpr int c_nGap = 6;
constexpr int c_nLabel = 20; // above each tile
constexpr uint32_t c_nPaper = 0x1E2126;
constexpr uint32_t c_nInk = 0xE8EAED;

int LinesOf(const std::vector<GUIDE_TILE>& _vecTiles)
{
    return (static_cast<int>(_vecTiles.size()) + c_nColumns - 1) / c_nColumns;
}

int LineTop(int _nLine)
{
    return c_nGap + _nLine * (c_nLabel + c_nGuideTileHeight + c_nGap);
}

void Put(PICTURE& _sheet, int _nColumn, int _nLine, const GUIDE_TILE& _tile)
{
    const int nLeft = c_nGap + _nColumn * (c_nGuideTileWidth + c_nGap), nTop = LineTop(_nLine);
    const int nChannels = _tile.picture.nChannels;
    Label_Draw(_sheet, nLeft, nTop + 2, 2, c_nInk, _tile.strLabel);
    for (int y = 0; y < c_nGuideTileHeight; ++y)
        for (int x = 0; x < c_nGuideTileWidth; ++x)
        {
            const uint8_t* const pFrom = _tile.picture.Row(y) + nChannels * x;
            uint8_t* const pTo = _sheet.Row(nTop + c_nLabel + y) + 4 * (nLeft + x);
            for (int c = 0; c < 3; ++c)
                pTo[c] = pFrom[nChannels == 1 ? 0 : c];
        }
}

} // namespace

PICTURE GuideSheet_Draw(const std::vector<std::vector<GUIDE_TILE>>& _vecRows)
{
    int nLines = 0;
    for (const std::vector<GUIDE_TILE>& vecTiles : _vecRows)
        nLines += LinesOf(vecTiles);
    PICTURE sheet;
    sheet.Resize(c_nGap + c_nColumns * (c_nGuideTileWidth + c_nGap), LineTop(nLines), 4);
    Picture_Fill(sheet, 0, 0, sheet.nWidth, sheet.nHeight, c_nPaper);
    int nLine = 0;
    for (const std::vector<GUIDE_TILE>& vecTiles : _vecRows)
    {
        for (size_t n = 0; n < vecTiles.size(); ++n)
            Put(sheet, static_cast<int>(n) % c_nColumns, nLine + static_cast<int>(n) / c_nColumns, vecTiles[n]);
        nLine += LinesOf(vecTiles);
    }
    return sheet;
}
