#include "ZChromaKey/Engine1/RandomInput.h"
#include "ZChromaKey/Engine2/Fineness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{
constexpr int c_nFineWidth = 160, c_nFineHeight = 96;

// A plane of noise that _nAcross x _nDown pixels share, blurred by 1 2 1 along the axes where they do.
std::vector<double> SharedNoise(int _nAcross, int _nDown, bool _bSmooth, CRandom& _rnd)
{
    std::vector<double> vec(c_nFineWidth * c_nFineHeight);
    for (int y = 0; y < c_nFineHeight; ++y)
        for (int x = 0; x < c_nFineWidth; ++x)
        {
            const bool bNew = x % _nAcross == 0 && y % _nDown == 0;
            vec[y * c_nFineWidth + x] = bNew ? static_cast<double>(_rnd() % 61) - 30
                                             : vec[y / _nDown * _nDown * c_nFineWidth + x / _nAcross * _nAcross];
        }
    const auto Blur = [&](int _nStep) {
        const std::vector<double> vecFrom = vec;
        for (size_t n = _nStep; n + _nStep < vec.size(); ++n)
            vec[n] = (vecFrom[n - _nStep] + 2 * vecFrom[n] + vecFrom[n + _nStep]) / 4;
    };
    if (_bSmooth && _nAcross > 1)
        Blur(1);
    if (_bSmooth && _nDown > 1)
        Blur(c_nFineWidth);
    return vec;
}

CHROMA_FINENESS FinenessOf(int _nAcross, int _nDown, bool _bSmooth)
{
    CRandom rnd(7);
    const std::vector<double> vecLuma = SharedNoise(1, 1, false, rnd),
                              vecU = SharedNoise(_nAcross, _nDown, _bSmooth, rnd),
                              vecV = SharedNoise(_nAcross, _nDown, _bSmooth, rnd);
    std::vector<uint8_t> vecPixels;
    const auto Put = [&](double _dbl) { vecPixels.push_back(static_cast<uint8_t>(std::lround(128 + _dbl))); };
    for (size_t n = 0; n < vecLuma.size(); ++n)
    {
        Put(vecLuma[n] + vecU[n]);
        Put(vecLuma[n] - (.0722 * vecU[n] + .2126 * vecV[n]) / .7152);
        Put(vecLuma[n] + vecV[n]);
        vecPixels.push_back(255);
    }
    UNMIX_STATE state;
    UnmixState_Resize(state, c_nFineWidth, c_nFineHeight, 1);
    FIELD_STATE& field = state.arrFields[0];
    for (int y = 0; y < field.cells.nHeight; ++y)
        for (int x = 0; x < field.cells.nWidth; ++x)
            field.bitsMixed.Set(x, y, true);
    UNMIX_PICTURE picture;
    picture.pRow0 = vecPixels.data();
    picture.nStride = ptrdiff_t{4} * c_nFineWidth;
    picture.nWidth = c_nFineWidth;
    picture.nHeight = c_nFineHeight;
    Fineness_Pass(state, field, picture, 0, field.cells.nHeight);
    Fineness_Learn(state);
    return Fineness_Of(state);
}

TEST(Fineness, TellsHowChromaWasShared)
{
    EXPECT_EQ(FinenessOf(1, 1, false).fltShared, 0);

    const CHROMA_FINENESS smooth = FinenessOf(2, 2, true), smoothRows = FinenessOf(2, 1, true);
    EXPECT_GT(smooth.fltShared, .5f);
    EXPECT_TRUE(smooth.bRowsShare && !smooth.bRepeated);
    EXPECT_GT(smoothRows.fltShared, .5f);
    EXPECT_TRUE(!smoothRows.bRowsShare && !smoothRows.bRepeated);

    const CHROMA_FINENESS repeated = FinenessOf(2, 2, false), repeatedRows = FinenessOf(2, 1, false);
    EXPECT_EQ(repeated.fltShared, 1);
    EXPECT_TRUE(repeated.bRowsShare && repeated.bRepeated);
    EXPECT_EQ(repeatedRows.fltShared, 1);
    EXPECT_TRUE(!repeatedRows.bRowsShare && repeatedRows.bRepeated);
}

TEST(Fineness, SaysNothingOfFewCells)
{
    UNMIX_STATE state;
    UnmixState_Resize(state, 64, 64, 1);
    EXPECT_EQ(Fineness_Of(state).fltShared, 0);
    state.fineness.fltCells = 31;
    EXPECT_EQ(Fineness_Of(state).fltShared, 0);
    state.fineness.fltCells = 32; // of grey: no chroma that differs
    EXPECT_EQ(Fineness_Of(state).fltShared, 0);
}
} // namespace
