#include "ZChromaKey/Engine2/UnmixScenes.h"

#include <gtest/gtest.h>

namespace
{
constexpr int c_nEdgeWidth = 160;
constexpr int c_nEdgeHeight = 128;
constexpr SCENE_PIXEL c_colBody = {107, 107, 107};

// A half plane of grey, right of and below a straight line through the middle; the edge is a pixel wide.
SCENE HalfPlane(float _fltAcross, float _fltDown)
{
    return {c_nEdgeWidth, c_nEdgeHeight, [=](int _x, int _y) {
                const float flt = (static_cast<float>(_x) - c_nEdgeWidth / 2.0f) * _fltAcross +
                                  (static_cast<float>(_y) - c_nEdgeHeight / 2.0f) * _fltDown;
                return Mixed(c_colBody, c_colGreen, std::clamp(flt + .5f, 0.0f, 1.0f));
            }};
}

UNMIX_SETUP EdgeSetup(float _fltChoke, float _fltSoften)
{
    UNMIX_SETUP setup;
    setup.params.fltNoise = 0;
    setup.params.fltChoke = _fltChoke;
    setup.params.fltSoften = _fltSoften;
    return setup;
}

// Pixels' worth of alpha in the middle half of the picture.
double Area(const std::vector<uint8_t>& _vec)
{
    double dbl = 0;
    for (size_t y = c_nEdgeHeight / 4; y < c_nEdgeHeight * 3 / 4; ++y)
        for (size_t x = c_nEdgeWidth / 4; x < c_nEdgeWidth * 3 / 4; ++x)
            dbl += _vec[(y * c_nEdgeWidth + x) * 4 + 3] / 255.0;
    return dbl;
}

double AreaOf(SCENE& _scene, float _fltChoke, float _fltSoften)
{
    UNMIX_STATE state;
    return Area(Keyed(state, _scene, EdgeSetup(_fltChoke, _fltSoften)));
}
} // namespace

TEST(UnmixEdges, ChokeMovesStraightEdgesByThatManyPixels)
{
    struct DIRECTION
    {
        float fltAcross;
        float fltDown;
        double dblLength; // of the edge within what Area counts
    };
    for (const DIRECTION it : {DIRECTION{1, 0, 64}, DIRECTION{0, 1, 80}, DIRECTION{.8f, .6f, 64 / .8},
                               DIRECTION{.9063f, -.4226f, 64 / .9063}})
    {
        SCENE scene = HalfPlane(it.fltAcross, it.fltDown);
        const double dblArea = AreaOf(scene, 0, 0);
        for (const float fltChoke : {2.0f, -2.0f, 1.5f, -.4f, 6.0f, -10.0f})
        {
            const double dblMoved = (dblArea - AreaOf(scene, fltChoke, 0)) / it.dblLength;
            EXPECT_NEAR(dblMoved, double{fltChoke}, std::abs(fltChoke) > 3 ? .2 : .1)
                << it.fltAcross << ' ' << it.fltDown;
        }
    }
}
TEST(UnmixEdges, SoftenKeepsTheAreaAndWidensTheEdge)
{
    SCENE scene = HalfPlane(1, 0);
    const double dblArea = AreaOf(scene, 0, 0);
    for (const float fltSoften : {.5f, 2.0f, 10.0f})
    {
        EXPECT_NEAR(AreaOf(scene, 0, fltSoften), dblArea, 64 * .05) << fltSoften;
        UNMIX_STATE state;
        const std::vector<uint8_t> vec = Keyed(state, scene, EdgeSetup(0, fltSoften));
        int nBetween = 0;
        for (size_t x = 0; x < c_nEdgeWidth; ++x)
        {
            const int nAlpha = vec[(64 * c_nEdgeWidth + x) * 4 + 3];
            nBetween += nAlpha > 0 && nAlpha < 255;
        }
        EXPECT_NEAR(nBetween, 2 * fltSoften + 1, 2) << fltSoften;
    }
}
TEST(UnmixEdges, WhatGrowsHasTheColourOfTheBody)
{
    SCENE scene = HalfPlane(1, 0);
    for (const UNMIX_SETUP& setup : {EdgeSetup(-4, 0), EdgeSetup(0, 4)})
    {
        UNMIX_STATE state;
        const std::vector<uint8_t> vec = Keyed(state, scene, setup);
        const uint8_t* const p = &vec[(64 * c_nEdgeWidth + c_nEdgeWidth / 2 - 3) * 4];
        EXPECT_GT(p[3], 0);
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(p[c], 107, 6) << c;
    }
}
TEST(UnmixEdges, SameForAllThreadsFieldsAndDepths)
{
    SCENE scene = BodyScene(c_nEdgeWidth, c_nEdgeHeight, 4);
    const UNMIX_SETUP setup = EdgeSetup(-1.7f, 1.3f);
    for (const int nInterlace : {int{eZI_Progressive}, int{eZI_TopFirst}})
    {
        const UNMIX_INPUT input = scene.Input(eZFCC_ARGB32, nInterlace);
        std::vector<uint8_t> vecOne(scene.vecBGRA.size()), vecMany(scene.vecBGRA.size());
        std::vector<uint16_t> vecWords(scene.vecBGRA.size());
        UNMIX_STATE one, many, words;
        CSerialRunner serial;
        CThreadRunner threads(3);
        const ptrdiff_t nStride = ptrdiff_t{4} * c_nEdgeWidth;
        ASSERT_EQ(S_OK, Unmix_Frame(one, setup, input, {vecOne.data(), nStride, false}, serial));
        ASSERT_EQ(S_OK, Unmix_Frame(many, setup, input, {vecMany.data(), nStride, false}, threads));
        ASSERT_EQ(S_OK, Unmix_Frame(words, setup, input, {vecWords.data(), 2 * nStride, true}, threads));
        EXPECT_EQ(vecOne, vecMany);
        for (size_t n = 3; n < vecOne.size(); n += 4)
            ASSERT_NEAR(vecOne[n], vecWords[n] / 257.0, 2) << n;
    }
}
TEST(UnmixEdges, NothingIsTakenUnlessWanted)
{
    SCENE scene = HalfPlane(1, 0);
    UNMIX_STATE state;
    Keyed(state, scene, EdgeSetup(0, 0));
    EXPECT_TRUE(state.arrAlpha[0].empty());
    Keyed(state, scene, EdgeSetup(1, 0));
    EXPECT_FALSE(state.arrAlpha[0].empty());
}
