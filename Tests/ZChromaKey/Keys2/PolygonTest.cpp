#include "ZChromaKey/Keys2/Polygon.h"

#include "ZChromaKey/Keys2/Regions.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

/// The rows of a mask: # is inside.
std::vector<std::string> Rows(const char* _pszPolygon, int32_t _nWidth, int32_t _nHeight)
{
    std::string strReason;
    const auto spRegion = Region_OfPolygon(_pszPolygon, _nWidth, _nHeight, &strReason);
    if (!spRegion)
        return {strReason};
    std::vector<std::string> vecRows(static_cast<size_t>(_nHeight));
    auto itByte = spRegion->mask.vecBytes.begin();
    for (std::string& strRow : vecRows)
        for (int32_t x = 0; x < _nWidth; ++x)
            strRow += *itByte++ == 255 ? '#' : '.';
    return vecRows;
}

using ROWS = std::vector<std::string>;

TEST(Polygon, HoldsThePixelsWhoseCentresAreInside)
{
    EXPECT_EQ(Rows("1,1 4,1 4,3 1,3", 5, 4), (ROWS{".....", ".###.", ".###.", "....."}));
    EXPECT_EQ(Rows(" 4,3;1,3\n1,1;\t4,1 ", 5, 4), (ROWS{".....", ".###.", ".###.", "....."})) << "either way round";
    EXPECT_EQ(Rows("0.6,0 2.4,0 2.4,1 0.6,1", 3, 1), (ROWS{".#."}));
    EXPECT_EQ(Rows("0,0 4,0 0,4", 4, 4), (ROWS{"###.", "##..", "#...", "...."})) << "a centre on the line is outside";
    EXPECT_EQ(Rows("-100,-100 100,-100 100,100 -100,100", 3, 2), (ROWS{"###", "###"})) << "cut at the picture";
    EXPECT_EQ(Rows("0,0 6,0 6,3 0,3 0,0 2,1 2,2 4,2 4,1 2,1", 6, 3), (ROWS{"######", "##..##", "######"})) << "a hole";
    EXPECT_EQ(Rows("5,5 9,5 9,9", 3, 1), (ROWS{"..."}));
}

TEST(Polygon, GarbageIsRefusedWithPlaceAndReason)
{
    const std::pair<std::string, const char*> arrCases[] = {
        {"", "character 1: the text ends after 0 corners"},
        {"1,2 3,4", "character 8: the text ends after 2 corners, a polygon has at least 3"},
        {"1,2 3,4 5", "character 9: \"5\""},
        {"1,2 3;4 5,6", "character 5: \"3\""},
        {"1,2 x,4 5,6", "character 5: \"x,4\""},
        {"1,2 3,4 5,6,7", "character 9: \"5,6,7\""},
        {"1,2 3,4 nan,1", "character 9: \"nan,1\""},
        {"1,2 3,4 1e9,1", "character 9: \"1e9,1\""},
        {"1,2 3,4 5,6 ]]>", "character 13: \"]]>\""},
    };
    for (const auto& [strPolygon, pszReason] : arrCases)
        EXPECT_EQ(Rows(strPolygon.c_str(), 8, 8).at(0).find(pszReason), 0u)
            << strPolygon << ": " << Rows(strPolygon.c_str(), 8, 8).at(0);
    std::string strLong;
    for (int n = 0; n < 4097; ++n)
        strLong += "1,1 ";
    EXPECT_EQ(Rows(strLong.c_str(), 8, 8).at(0).find("character 16385: "), 0u);
    const std::string strMany = strLong.substr(0, 4096 * 4); // as many as there may be
    EXPECT_EQ(Rows(strMany.c_str(), 2, 8192).size(), 8192u);
    EXPECT_EQ(Rows(strMany.c_str(), 2, 8193).at(0).find("a polygon of 4096 corners in 8193 rows"), 0u)
        << "documents come from anywhere";
    for (const int32_t nWidth : {0, -1, 1 << 30})
        EXPECT_EQ(Rows("0,0 4,0 0,4", nWidth, 8).at(0).find("a polygon in a picture of "), 0u) << nWidth;
}

} // namespace
