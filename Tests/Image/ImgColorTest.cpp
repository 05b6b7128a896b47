#include "Image/ImgColor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace
{
// All colours whose components are multiples of 5, in the order B, G, R, and an alpha that tells them apart.
std::vector<uint8_t> ColorGrid()
{
    std::vector<uint8_t> vecPixels;
    for (int nB = 0; nB <= 255; nB += 5)
        for (int nG = 0; nG <= 255; nG += 5)
            for (int nR = 0; nR <= 255; nR += 5)
                for (int nByte : {nB, nG, nR, (nB + nG * 3 + nR * 7) & 255})
                    vecPixels.push_back(static_cast<uint8_t>(nByte));
    return vecPixels;
}

IMG_COLOR Fractions(int _n0, int _n1, int _n2)
{
    return {_n0 / 255.0, _n1 / 255.0, _n2 / 255.0};
}

constexpr auto c_eFull601 = static_cast<eZYMatrix>(eZYM_Full + eZYM_601);

} // namespace

// The levels that the standards give for full colours, 8-bit: the only place where the numbers come from outside.
TEST(ImgColor, FullColoursHaveTheLevelsOfTheStandards)
{
    const struct
    {
        eZYMatrix eMatrix;
        uint8_t arrBGRA[4];
        uint8_t arrYUV[3];
    } arrCases[] = {
        {eZYM_601, {0, 0, 255, 7}, {81, 90, 240}},       {eZYM_601, {0, 255, 0, 7}, {145, 54, 34}},
        {eZYM_601, {255, 0, 0, 7}, {41, 240, 110}},      {eZYM_601, {255, 255, 255, 7}, {235, 128, 128}},
        {eZYM_601, {0, 0, 0, 7}, {16, 128, 128}},        {eZYM_709, {0, 0, 255, 7}, {63, 102, 240}},
        {eZYM_709, {0, 255, 0, 7}, {173, 42, 26}},       {eZYM_709, {255, 0, 0, 7}, {32, 240, 118}},
        {eZYM_709, {255, 255, 255, 7}, {235, 128, 128}}, {eZYM_709, {0, 0, 0, 7}, {16, 128, 128}},
        {eZYM_2020, {0, 255, 0, 7}, {164, 47, 25}},      {c_eFull601, {255, 0, 0, 7}, {29, 255, 107}},
        {c_eFull601, {0, 255, 0, 7}, {150, 44, 21}},     {c_eFull601, {255, 255, 255, 7}, {255, 128, 128}},
        {c_eFull601, {0, 0, 0, 7}, {0, 128, 128}},
    };
    for (const auto& test : arrCases)
    {
        SCOPED_TRACE(&test - arrCases);
        uint8_t arrPixel[4];
        Img_RowToYUV(test.arrBGRA, arrPixel, 1, test.eMatrix);
        EXPECT_EQ(std::memcmp(arrPixel, test.arrYUV, 3), 0)
            << int(arrPixel[0]) << " " << int(arrPixel[1]) << " " << int(arrPixel[2]);
        EXPECT_EQ(arrPixel[3], 7);
        Img_RowFromYUV(arrPixel, arrPixel, 1, test.eMatrix); // in place
        for (int n = 0; n < 4; ++n)
            EXPECT_NEAR(arrPixel[n], test.arrBGRA[n], 2);
    }
}

// The largest distance of a row's components from the colours that doubles give, within the levels of a byte.
// _fnExact: of a pixel, its components in the order of the bytes.
template <class Fn>
double WorstOf(const std::vector<uint8_t>& _vecFrom, const std::vector<uint8_t>& _vecTo, Fn&& _fnExact)
{
    double dblWorst = 0;
    for (size_t n = 0; n < _vecFrom.size(); n += 4)
    {
        const IMG_COLOR col = _fnExact(&_vecFrom[n]);
        const double arrLevels[3] = {col.dbl0, col.dbl1, col.dbl2};
        for (size_t c = 0; c < 3; ++c)
            dblWorst = std::max(dblWorst, std::fabs(_vecTo[n + c] - std::clamp(255 * arrLevels[c], 0.0, 255.0)));
    }
    return dblWorst;
}

TEST(ImgColor, RowsOfYUVKeepTheirBounds)
{
    const std::vector<uint8_t> vecGrid = ColorGrid(); // as YUV, any bytes: also outside the studio range
    const int nPixels = static_cast<int>(vecGrid.size() / 4);
    std::vector<uint8_t> vecTo(vecGrid.size());
    for (int nMatrix = 0; nMatrix < eZYM_Count; ++nMatrix)
    {
        const auto eMatrix = static_cast<eZYMatrix>(nMatrix);
        Img_RowToYUV(vecGrid.data(), vecTo.data(), nPixels, eMatrix);
        EXPECT_LE(WorstOf(vecGrid, vecTo,
                          [&](const uint8_t* _p) { return Img_ColorToYUV(Fractions(_p[2], _p[1], _p[0]), eMatrix); }),
                  0.51);
        for (size_t n = 0; n < vecGrid.size(); n += 4)
        {
            const bool bGrey = vecGrid[n] == vecGrid[n + 1] && vecGrid[n + 1] == vecGrid[n + 2];
            ASSERT_TRUE(!bGrey || (vecTo[n + 1] == 128 && vecTo[n + 2] == 128)) << "grey " << int{vecGrid[n]};
            ASSERT_EQ(vecTo[n + 3], vecGrid[n + 3]) << "alpha";
        }
        Img_RowFromYUV(vecGrid.data(), vecTo.data(), nPixels, eMatrix);
        EXPECT_LE(WorstOf(vecGrid, vecTo,
                          [&](const uint8_t* _p) {
                              const IMG_COLOR col = Img_ColorFromYUV(Fractions(_p[0], _p[1], _p[2]), eMatrix);
                              return IMG_COLOR{col.dbl2, col.dbl1, col.dbl0};
                          }),
                  0.53);
    }
}

TEST(ImgColor, RowToHLSIsCorrectlyRounded)
{
    std::vector<uint8_t> vecGrid = ColorGrid();
    vecGrid.insert(vecGrid.end(), {1, 0, 255, 77}); // just below a whole turn, which is none
    std::vector<uint8_t> vecHLSA = vecGrid;
    Img_RowToHLS(vecHLSA.data(), vecHLSA.data(), static_cast<int>(vecGrid.size() / 4)); // in place
    const auto fnExact = [](const uint8_t* _p) {
        IMG_COLOR col = Img_ColorToHLS(Fractions(_p[2], _p[1], _p[0]));
        const double dblHue = 256 * col.dbl0;
        col.dbl0 = dblHue < 255.5 ? dblHue / 255 : 0;
        return col;
    };
    EXPECT_LE(WorstOf(vecGrid, vecHLSA, fnExact), 0.5 + 1e-9);
    for (size_t n = 3; n < vecGrid.size(); n += 4)
        ASSERT_EQ(vecHLSA[n], vecGrid[n]) << "alpha";
}

TEST(ImgColor, MatrixFollowsSizeAndFamily)
{
    const struct
    {
        uint32_t fccType;
        int nWidth;
        int nHeight;
        eZYMatrix eMatrix;
    } arrCases[] = {
        {eZFCC_ARGB32, 1920, -1080, eZYM_601}, {eZFCC_r210, 3840, -2160, eZYM_601}, {eZFCC_UYVY, 720, 576, eZYM_601},
        {eZFCC_HDYC, 720, 576, eZYM_601},      {eZFCC_UYVY, 720, 608, eZYM_601},    {eZFCC_UYVY, 720, 626, eZYM_709},
        {eZFCC_I420, 1024, 576, eZYM_601},     {eZFCC_I420, 1025, 576, eZYM_709},   {eZFCC_I420, 768, 577, eZYM_709},
        {eZFCC_HDYC, 1920, 1080, eZYM_709},    {eZFCC_v210, 1280, 720, eZYM_709},
    };
    for (const auto& test : arrCases)
    {
        ZF_VID_PROPS vidProps = {};
        vidProps.fccType = test.fccType;
        vidProps.nWidth = test.nWidth;
        vidProps.nHeight = test.nHeight;
        EXPECT_EQ(Img_MatrixOf(vidProps), test.eMatrix) << test.nWidth << "x" << test.nHeight;
        const bool bRGB = (test.fccType == eZFCC_ARGB32 || test.fccType == eZFCC_r210);
        EXPECT_EQ(Img_MatrixOf(vidProps, {}), test.eMatrix);
        EXPECT_EQ(Img_MatrixOf(vidProps, {3, false}), bRGB ? eZYM_601 : eZYM_2020);
        EXPECT_EQ(Img_MatrixOf(vidProps, {0, true}), bRGB ? eZYM_601 : eZYM_Full + test.eMatrix) << "by size";
    }
}
