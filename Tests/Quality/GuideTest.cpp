#include "Guide/GuideRows.h"
#include "Kit/Tables.h"
#include "zkhost/Files/PictureFile.h"

#include "Base/ZLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

// The keying guide has a picture of what each parameter does, and each picture shows it.

namespace
{

/// Per mille of bytes that differ by more than an eye overlooks.
int Differing(const PICTURE& _one, const PICTURE& _other)
{
    int nDiffering = 0;
    for (size_t n = 0; n < _one.vecPixels.size(); ++n)
        nDiffering += std::abs(_one.vecPixels[n] - _other.vecPixels.at(n)) > 8;
    return 1000 * nDiffering / static_cast<int>(_one.vecPixels.size());
}

TEST(Guide, EveryParameterHasAPicture)
{
    for (const ZTABLE_ROW& param : Tables_Read(CZModule::Own(), eZTable_Params))
        EXPECT_TRUE(std::ranges::any_of(
            GuideRows_All(), [&](const GUIDE_ROW& _row) { return std::string(_row.pszParam) == param.pszName; }))
            << param.pszName << " has no row in Tools/Guide/GuideRows.cpp";
}

void ExpectToDiffer(const GUIDE_ROW& _row, const std::vector<GUIDE_TILE>& _vecTiles)
{
    ASSERT_GE(_vecTiles.size(), 3u) << _row.pszParam << ": the source and two values";
    for (size_t n = 2; n < _vecTiles.size(); ++n)
        EXPECT_GE(Differing(_vecTiles[n - 1].picture, _vecTiles[n].picture), 20)
            << _vecTiles[n - 1].strLabel << " and " << _vecTiles[n].strLabel << " look the same on " << _row.pszScene;
}

TEST(Guide, EveryValueLooksDifferentAndIsShown)
{
    std::ifstream file(ZCK_DOCS "/KeyingGuide.md");
    const std::string strGuide{std::istreambuf_iterator<char>(file), {}};
    for (const std::string& strSheet : GuideRows_Sheets())
    {
        std::vector<std::vector<GUIDE_TILE>> vecRows;
        for (const GUIDE_ROW& row : GuideRows_All())
            if (strSheet == row.pszSheet)
                ExpectToDiffer(row, vecRows.emplace_back(GuideRow_Tiles(row)));
        const std::string strFile = ZFormat("guide-%s.png", strSheet);
        EXPECT_NE(strGuide.find(ZFormat("](%s)", strFile)), std::string::npos) << "the guide does not show " << strFile;
        EXPECT_EQ(GuideSheet_Draw(vecRows).nHeight, PictureFile_Read(ZFormat("%hs/%s", ZCK_DOCS, strFile)).nHeight)
            << strFile << " has other rows: ./zk guide makes it anew";
    }
}

} // namespace
