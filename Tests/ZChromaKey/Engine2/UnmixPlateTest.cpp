#include "ZChromaKey/Engine2/UnmixScenes.h"

#include <gtest/gtest.h>

// Plates that are given: pictures of the empty backdrop.

namespace
{
constexpr int c_nPlateTestWidth = 256;
constexpr int c_nPlateTestHeight = 144;

// A green screen with a lamp in one corner and dark in the other.
SCENE_PIXEL ScreenAt(float _fltX, float _fltY, float _fltExposure = 1)
{
    const float flt = _fltExposure * (1.15f - .45f * _fltX - .25f * _fltY);
    return {c_colGreen.b * flt, c_colGreen.g * flt, c_colGreen.r * flt};
}

SCENE EmptyScreen(int _nWidth, int _nHeight, float _fltExposure = 1)
{
    return {_nWidth, _nHeight, [=](int _x, int _y) {
                return ScreenAt((static_cast<float>(_x) + .5f) / static_cast<float>(_nWidth),
                                (static_cast<float>(_y) + .5f) / static_cast<float>(_nHeight), _fltExposure);
            }};
}

// Leaves: strokes so close to each other that no cell shows the screen alone.
float LeavesAlpha(int _nX, int _nY)
{
    const float flt = std::sin(static_cast<float>(_nX) * 1.1f + 2 * std::sin(static_cast<float>(_nY) * .31f));
    return std::clamp(.5f + 1.2f * flt, 0.0f, 1.0f);
}

SCENE Leaves(float _fltExposure = 1)
{
    return {c_nPlateTestWidth, c_nPlateTestHeight, [=](int _x, int _y) {
                const SCENE_PIXEL screen = ScreenAt((static_cast<float>(_x) + .5f) / c_nPlateTestWidth,
                                                    (static_cast<float>(_y) + .5f) / c_nPlateTestHeight, _fltExposure);
                return Mixed({40, 45, 60}, screen, LeavesAlpha(_x, _y));
            }};
}

// The mean |alpha - truth| of the leaves, in levels.
double LeavesError(const std::vector<uint8_t>& _vec)
{
    double dbl = 0;
    for (int y = 0; y < c_nPlateTestHeight; ++y)
        for (int x = 0; x < c_nPlateTestWidth; ++x)
            dbl += std::abs(static_cast<double>(_vec[(static_cast<size_t>(y) * c_nPlateTestWidth + x) * 4 + 3]) -
                            255 * static_cast<double>(LeavesAlpha(x, y)));
    return dbl / (c_nPlateTestWidth * c_nPlateTestHeight);
}

UNMIX_SETUP SetupWith(const SCENE* _pPlate)
{
    UNMIX_SETUP setup;
    setup.nKeys = 1;
    setup.arrKeys[0].arrBGR[0] = c_colGreen.b;
    setup.arrKeys[0].arrBGR[1] = c_colGreen.g;
    setup.arrKeys[0].arrBGR[2] = c_colGreen.r;
    if (_pPlate)
        setup.plate = {_pPlate->vecBGRA.data(), _pPlate->nWidth, _pPlate->nHeight};
    return setup;
}

double GreenOff(const UNMIX_STATE& _state, int _nX, int _nY)
{
    const SCENE_PIXEL want = ScreenAt((static_cast<float>(_nX) + .5f) * 8 / c_nPlateTestWidth,
                                      (static_cast<float>(_nY) + .5f) * 8 / c_nPlateTestHeight);
    return std::abs(static_cast<double>(_state.Plate(_nX, _nY).g - want.g));
}
} // namespace

TEST(UnmixPlate, KeysWhatShowsTheScreenNowhereAlone)
{
    const SCENE empty = EmptyScreen(c_nPlateTestWidth, c_nPlateTestHeight);
    SCENE leaves = Leaves();
    UNMIX_STATE statePlain, state;
    const double dblPlain = LeavesError(Keyed(statePlain, leaves, SetupWith(nullptr)));
    EXPECT_EQ(statePlain.arrFields[0].bitsSure.Count(), 0) << "nothing teaches the plate";
    const double dblGiven = LeavesError(Keyed(state, leaves, SetupWith(&empty)));
    std::printf("leaves: %.1f levels off without a plate, %.1f with it\n", dblPlain, dblGiven);
    EXPECT_LT(dblGiven, .5 * dblPlain);
}
TEST(UnmixPlate, AnySizeIsStretched)
{
    SCENE body = BodyScene(c_nPlateTestWidth, c_nPlateTestHeight);
    CSerialRunner runner;
    std::vector<uint8_t> vecOut(body.vecBGRA.size());
    for (const auto& [nWidth, nHeight] : {std::pair{256, 144}, {128, 72}, {133, 71}, {517, 300}, {64, 400}})
        for (const int eInterlace : {eZI_Progressive, eZI_TopFirst})
        {
            const SCENE plate = EmptyScreen(nWidth, nHeight);
            UNMIX_SETUP setup = SetupWith(&plate);
            setup.params.eLearn = eUN_Hold;
            UNMIX_STATE state;
            ASSERT_EQ(S_OK, Unmix_Frame(state, setup, body.Input(eZFCC_ARGB32, eInterlace),
                                        {vecOut.data(), ptrdiff_t{4} * c_nPlateTestWidth, false}, runner));
            for (int y = 0; y < state.nPlateHeight; ++y)
                for (int x = 0; x < state.nPlateWidth; ++x)
                {
                    EXPECT_NEAR(state.Plate(x, y).g,
                                ScreenAt((static_cast<float>(x) + .5f) * 8 / c_nPlateTestWidth,
                                         (static_cast<float>(y) + .5f) * 8 * static_cast<float>(state.nFields) /
                                             c_nPlateTestHeight)
                                    .g,
                                .8f);
                    EXPECT_EQ(state.Plate(x, y).w, 8);
                }
        }
    const SCENE dot = EmptyScreen(1, 1);
    UNMIX_SETUP setup = SetupWith(&dot);
    setup.params.eLearn = eUN_Hold;
    UNMIX_STATE state;
    Keyed(state, body, setup);
    EXPECT_EQ(state.Plate(16, 9).g, 128);
}
TEST(UnmixPlate, AnotherExposureIsBroughtToThePictures)
{
    // The leaves hide the screen but for a strip: what it tells of the light goes for all of the plate.
    const SCENE dark = EmptyScreen(c_nPlateTestWidth, c_nPlateTestHeight, .7f);
    SCENE leaves = Leaves();
    const SCENE empty = EmptyScreen(c_nPlateTestWidth, c_nPlateTestHeight);
    const size_t nStrip = static_cast<size_t>(40) * c_nPlateTestWidth * 4;
    std::copy_n(empty.vecBGRA.begin(), nStrip, leaves.vecBGRA.begin());
    UNMIX_STATE state;
    Keyed(state, leaves, SetupWith(&dark));
    for (int y = 6; y < state.nPlateHeight; ++y)
        for (int x = 0; x < state.nPlateWidth; ++x)
            EXPECT_LT(GreenOff(state, x, y), 6) << x << ' ' << y;
    EXPECT_EQ(state.nCuts, 0) << "the first picture is no cut";
}
TEST(UnmixPlate, WhatIsNoBackdropInItIsFilledIn)
{
    // A grey stand, and white cloth in green light; later a body stands where the stand was.
    SCENE plate = EmptyScreen(c_nPlateTestWidth, c_nPlateTestHeight);
    for (int y = 60; y < c_nPlateTestHeight; ++y)
        for (int x = 40; x < 90; ++x)
        {
            uint8_t* const p = &plate.vecBGRA[(static_cast<size_t>(y) * c_nPlateTestWidth + x) * 4];
            p[0] = static_cast<uint8_t>(x < 60 ? 110 : 190);
            p[1] = static_cast<uint8_t>(x < 60 ? 110 : 225);
            p[2] = static_cast<uint8_t>(x < 60 ? 110 : 195);
        }
    SCENE leaves = Leaves();
    UNMIX_STATE state;
    const std::vector<uint8_t> vec = Keyed(state, leaves, SetupWith(&plate));
    for (int y = 9; y < state.nPlateHeight; ++y)
        for (int x = 5; x < 11; ++x)
        {
            EXPECT_LT(GreenOff(state, x, y), 14) << x << ' ' << y;
            EXPECT_EQ(state.Plate(x, y).w, 0);
        }
    EXPECT_LT(LeavesError(vec), 14);
}
TEST(UnmixPlate, LearningGoesOnFromItAndRestartsReturnToIt)
{
    const SCENE plate = EmptyScreen(c_nPlateTestWidth, c_nPlateTestHeight);
    SCENE body = BodyScene(c_nPlateTestWidth, c_nPlateTestHeight, 2);
    UNMIX_STATE state;
    const std::vector<uint8_t> vecFirst = Keyed(state, body, SetupWith(&plate));
    const UNMIX_STATE first = state;
    EXPECT_EQ(state.Plate(16, 11).w, 8) << "under the body";
    for (uint32_t n = 0; n < 20; ++n)
    {
        SCENE next = BodyScene(c_nPlateTestWidth, c_nPlateTestHeight, 2, n + 2, .2f);
        Keyed(state, next, SetupWith(&plate));
    }
    EXPECT_NEAR(state.Plate(2, 2).g, c_colGreen.g * (1 - .2f * 20 / c_nPlateTestWidth), 2) << "learnt";
    Unmix_Restart(state);
    EXPECT_TRUE(Keyed(state, body, SetupWith(&plate)) == vecFirst);
    EXPECT_TRUE(UnmixState_Same(state, first));
}
TEST(UnmixPlate, ACutReturnsToIt)
{
    const SCENE plate = EmptyScreen(c_nPlateTestWidth, c_nPlateTestHeight);
    SCENE bright = BodyScene(c_nPlateTestWidth, c_nPlateTestHeight);
    SCENE dim = bright;
    for (size_t n = 0; n < dim.vecBGRA.size(); ++n)
        dim.vecBGRA[n] = static_cast<uint8_t>(n % 4 < 3 ? dim.vecBGRA[n] * 3 / 5 : 255);
    UNMIX_STATE state, alone;
    Keyed(state, bright, SetupWith(&plate));
    EXPECT_TRUE(Keyed(state, dim, SetupWith(&plate)) == Keyed(alone, dim, SetupWith(&plate)));
    EXPECT_EQ(state.nCuts, 1);
    EXPECT_EQ(state.vecPlate, alone.vecPlate);
}
TEST(UnmixPlate, WithoutItLearningBeginsAnew)
{
    const SCENE plate = EmptyScreen(c_nPlateTestWidth, c_nPlateTestHeight), other = EmptyScreen(64, 36, .8f);
    SCENE body = BodyScene(c_nPlateTestWidth, c_nPlateTestHeight);
    UNMIX_STATE state, stateOther, stateNone;
    Keyed(state, body, SetupWith(&plate));
    const std::vector<uint8_t> vecOther = Keyed(stateOther, body, SetupWith(&other));
    EXPECT_TRUE(Keyed(state, body, SetupWith(&other)) == vecOther) << "another plate takes its place";
    EXPECT_EQ(state.vecPlate, stateOther.vecPlate);
    const std::vector<uint8_t> vecNone = Keyed(stateNone, body, SetupWith(nullptr));
    EXPECT_TRUE(Keyed(state, body, SetupWith(nullptr)) == vecNone);
    EXPECT_EQ(state.vecPlate, stateNone.vecPlate);
}
