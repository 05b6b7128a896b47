#include "ZChromaKey/Config/Params2.h"
#include "ZChromaKey/Engine2/UnmixScenes.h"

#include <gtest/gtest.h>

namespace
{
constexpr int c_nWidth = 200;
constexpr int c_nHeight = 120;

const uint8_t* At(const std::vector<uint8_t>& _vec, int _nX, int _nY)
{
    return &_vec[(static_cast<size_t>(_nY) * c_nWidth + _nX) * 4];
}

HRESULT ResultOf(SCENE& _scene, const UNMIX_SETUP& _setup = {}, std::vector<uint8_t>* _pOut = nullptr)
{
    UNMIX_STATE state;
    CSerialRunner runner;
    std::vector<uint8_t> vec(_scene.vecBGRA.size());
    const HRESULT hr =
        Unmix_Frame(state, _setup, _scene.Input(), {vec.data(), ptrdiff_t{4} * _scene.nWidth, false}, runner);
    if (_pOut)
        *_pOut = vec;
    return hr;
}

// Grey, with a body of one colour that comes in from below.
SCENE PulloverScene(SCENE_PIXEL _colour)
{
    return {c_nWidth, c_nHeight, [=](int _x, int _y) {
                return _y > 60 && _x > 30 && _x < 170 ? _colour : SCENE_PIXEL{130, 128, 126};
            }};
}

struct MASK
{
    std::vector<uint8_t> vec = std::vector<uint8_t>(c_nWidth * c_nHeight);

    void Fill(int _nLeft, int _nTop, int _nRight, int _nBottom)
    {
        for (int y = _nTop; y < _nBottom; ++y)
            std::fill_n(&vec[static_cast<size_t>(y) * c_nWidth + _nLeft], _nRight - _nLeft, 255);
    }
    UNMIX_REGION Region() const
    {
        return {vec.data(), c_nWidth};
    }
};
} // namespace

TEST(UnmixOptions, ParametersAreThoseOfTheObjects)
{
    EXPECT_EQ(UnmixParams_Of(Params2_Defaults()), UNMIX_PARAMS());
    size_t nReached = 0;
    for (const KEY2_PARAM& param : Params2_Table())
    {
        KEY2_PARAMS params = Params2_Defaults();
        params.*param.pdblField = param.dblDefault == 1 ? 0 : 1; // in the range of each
        nReached += !(UnmixParams_Of(params) == UNMIX_PARAMS());
    }
    static_assert(sizeof(float) == sizeof(int32_t));
    EXPECT_EQ(nReached, sizeof(UNMIX_PARAMS) / sizeof(float)) << "each member has a parameter of its own";
}
TEST(UnmixOptions, FindsBackdropsOfEveryHue)
{
    for (const SCENE_PIXEL colour : {SCENE_PIXEL{50, 170, 60}, SCENE_PIXEL{190, 60, 40}, SCENE_PIXEL{30, 190, 200},
                                     SCENE_PIXEL{160, 40, 170}, SCENE_PIXEL{190, 180, 40}})
    {
        SCENE scene(c_nWidth, c_nHeight, [=](int _x, int _y) {
            return _y > 40 && _x > 60 && _x < 140 ? SCENE_PIXEL{110, 110, 110} : colour;
        });
        std::vector<uint8_t> vec;
        EXPECT_EQ(S_OK, ResultOf(scene, {}, &vec));
        EXPECT_EQ(At(vec, 20, 60)[3], 0) << colour.b;
        EXPECT_EQ(At(vec, 100, 90)[3], 255) << colour.b;
    }
}
TEST(UnmixOptions, NeverKeysAPulloverUnlessToldTo)
{
    for (const SCENE_PIXEL colour : {SCENE_PIXEL{50, 170, 60}, SCENE_PIXEL{190, 60, 40}})
    {
        SCENE scene = PulloverScene(colour);
        std::vector<uint8_t> vec;
        EXPECT_EQ(S_FALSE, ResultOf(scene, {}, &vec));
        EXPECT_EQ(vec, scene.vecBGRA);
        UNMIX_SETUP setup;
        setup.nKeys = 1;
        setup.arrKeys[0].arrBGR[0] = colour.b;
        setup.arrKeys[0].arrBGR[1] = colour.g;
        setup.arrKeys[0].arrBGR[2] = colour.r;
        EXPECT_EQ(S_OK, ResultOf(scene, setup, &vec));
        EXPECT_EQ(At(vec, 100, 90)[3], 0);
        EXPECT_EQ(At(vec, 100, 20)[3], 255);
    }
    SCENE noise(c_nWidth, c_nHeight, [](int _x, int _y) {
        return SCENE_PIXEL{128 + 127 * Grain(_x, _y, 1), 128 + 127 * Grain(_x, _y, 2), 128 + 127 * Grain(_x, _y, 3)};
    });
    EXPECT_EQ(S_FALSE, ResultOf(noise));
}
TEST(UnmixOptions, TwoKeysTakeTwoBackdrops)
{
    SCENE scene(c_nWidth, c_nHeight, [](int _x, int _y) {
        if (_y > 40 && _x > 70 && _x < 130)
            return SCENE_PIXEL{90, 90, 110};
        return _x < 100 ? c_colGreen : SCENE_PIXEL{190, 70, 40};
    });
    UNMIX_SETUP setup;
    setup.nKeys = 2;
    std::copy_n(std::begin({50.0f, 160.0f, 60.0f}), 3, setup.arrKeys[0].arrBGR);
    std::copy_n(std::begin({190.0f, 70.0f, 40.0f}), 3, setup.arrKeys[1].arrBGR);
    std::vector<uint8_t> vec;
    ASSERT_EQ(S_OK, ResultOf(scene, setup, &vec));
    EXPECT_EQ(At(vec, 20, 80)[3], 0);
    EXPECT_EQ(At(vec, 180, 80)[3], 0);
    EXPECT_EQ(At(vec, 100, 90)[3], 255);
}
TEST(UnmixOptions, ProtectedColourIsSolid)
{
    // A patch of the screen's own hue on the body, where it meets the screen.
    SCENE scene(c_nWidth, c_nHeight, [](int _x, int _y) {
        if (_x > 110 && _x < 150 && _y > 60 && _y < 100)
            return SCENE_PIXEL{60, 120, 70};
        return _y > 30 && _x > 50 && _x < 150 ? c_colCoat : c_colGreen;
    });
    std::vector<uint8_t> vec;
    UNMIX_SETUP setup;
    ResultOf(scene, setup, &vec);
    EXPECT_LT(At(vec, 130, 80)[3], 255);
    setup.nProtected = 1;
    std::copy_n(std::begin({60.0f, 120.0f, 70.0f}), 3, setup.arrProtected[0].arrBGR);
    ResultOf(scene, setup, &vec);
    for (int x = 112; x < 148; ++x)
        EXPECT_EQ(At(vec, x, 80)[3], 255) << x;
    EXPECT_EQ(At(vec, 20, 80)[3], 0);
}
TEST(UnmixOptions, ProtectedBlueClothBeforeBlueKeepsItsColour)
{
    // Cloth of the screen's hue that varies in brightness by a tenth: without protection much of it is open.
    static constexpr SCENE_PIXEL c_colScreen = {190, 75, 35};
    SCENE scene(c_nWidth, c_nHeight, [](int _x, int _y) {
        const float flt = 1 + .1f * Grain(_x / 6, _y / 6, 3);
        return _y > 30 && _x > 50 && _x < 150 ? SCENE_PIXEL{120 * flt, 80 * flt, 60 * flt} : c_colScreen;
    });
    std::vector<uint8_t> vec;
    UNMIX_SETUP setup;
    setup.params.fltSolid = 0; // or core saves it
    ResultOf(scene, setup, &vec);
    EXPECT_LT(At(vec, 100, 80)[3], 230);
    setup.nProtected = 1;
    std::copy_n(std::begin({120.0f, 80.0f, 60.0f}), 3, setup.arrProtected[0].arrBGR);
    ResultOf(scene, setup, &vec);
    for (int x = 54; x < 146; ++x)
    {
        const uint8_t* const pSource = &scene.vecBGRA[(80 * c_nWidth + static_cast<size_t>(x)) * 4];
        EXPECT_EQ(At(vec, x, 80)[3], 255) << x;
        EXPECT_NEAR(At(vec, x, 80)[0], pSource[0], 1) << x;
    }
    EXPECT_EQ(At(vec, 20, 80)[3], 0);
    // Colours that differ from the cloth in one respect save it once the range is that wide there.
    struct CASE
    {
        SCENE_PIXEL colour;
        float UNMIX_PROTECTED::*pfltAxis;
        float fltWide;
    };
    for (const CASE& it :
         {CASE{{120, 60, 60}, &UNMIX_PROTECTED::fltHue, 40}, CASE{{120, 105, 97}, &UNMIX_PROTECTED::fltSaturation, .6f},
          CASE{{50, 33, 25}, &UNMIX_PROTECTED::fltValue, .5f}})
    {
        std::copy_n(std::begin({it.colour.b, it.colour.g, it.colour.r}), 3, setup.arrProtected[0].arrBGR);
        ResultOf(scene, setup, &vec);
        EXPECT_LT(At(vec, 100, 80)[3], 230) << it.colour.g;
        UNMIX_SETUP wide = setup;
        wide.arrProtected[0].*it.pfltAxis = it.fltWide;
        ResultOf(scene, wide, &vec);
        EXPECT_EQ(At(vec, 100, 80)[3], 255) << it.colour.g;
        EXPECT_EQ(At(vec, 20, 80)[3], 0) << it.colour.g;
    }
}
TEST(UnmixOptions, WhatIsBeyondTheForegroundRangeIsSolid)
{
    // Against the screen: 33 degrees off, half as saturated, half as bright.
    struct CASE
    {
        SCENE_PIXEL colour;
        float UNMIX_KEY::*pfltAxis;
        float fltInside;
        float fltOutside;
    };
    for (const CASE& it : {CASE{{120, 170, 60}, &UNMIX_KEY::fltSolidHue, 50, 20},
                           CASE{{110, 165, 115}, &UNMIX_KEY::fltSolidSaturation, .5f, .2f},
                           CASE{{28, 85, 30}, &UNMIX_KEY::fltSolidValue, .9f, .3f}})
    {
        SCENE scene(c_nWidth, c_nHeight,
                    [&](int _x, int _y) { return _y > 40 && _x > 80 && _x < 120 ? it.colour : c_colGreen; });
        UNMIX_SETUP setup;
        setup.nKeys = 1;
        std::copy_n(std::begin({c_colGreen.b, c_colGreen.g, c_colGreen.r}), 3, setup.arrKeys[0].arrBGR);
        setup.params.fltSolid = 0;
        setup.arrKeys[0].fltValue = .2f; // else dark green is a shadow on the screen
        std::vector<uint8_t> vecDefault, vec;
        ResultOf(scene, setup, &vecDefault);
        EXPECT_LT(At(vecDefault, 100, 80)[3], 245) << it.colour.b;
        setup.arrKeys[0].*it.pfltAxis = it.fltInside;
        ResultOf(scene, setup, &vec);
        EXPECT_EQ(At(vec, 100, 80)[3], At(vecDefault, 100, 80)[3]) << it.colour.b;
        setup.arrKeys[0].*it.pfltAxis = it.fltOutside;
        ResultOf(scene, setup, &vec);
        EXPECT_EQ(At(vec, 100, 80)[3], 255) << it.colour.b;
        EXPECT_EQ(At(vec, 20, 80)[3], 0);
    }
}
TEST(UnmixOptions, RegionsRule)
{
    // A grey stand in the screen's part, a mark on the screen, and a hole that is wanted.
    SCENE scene(c_nWidth, c_nHeight, [](int _x, int _y) {
        if (_x > 170 && _y > 80)
            return SCENE_PIXEL{120, 120, 120};
        if ((_x > 16 && _x < 32 && _y > 16 && _y < 32) || (_x > 40 && _x < 48 && _y > 20 && _y < 26))
            return SCENE_PIXEL{230, 230, 230}; // one inside, one that touches nothing but lies outside
        return _y > 30 && _x > 60 && _x < 140 ? c_colCoat : c_colGreen;
    });
    MASK garbage, holdOut, backdrop;
    garbage.Fill(160, 70, c_nWidth, c_nHeight);
    holdOut.Fill(0, 90, 20, 110);
    backdrop.Fill(8, 8, 38, 40);
    backdrop.Fill(90, 20, 110, 60); // the body reaches out of it
    UNMIX_SETUP setup;
    setup.garbage = garbage.Region();
    setup.holdOut = holdOut.Region();
    setup.backdrop = backdrop.Region();
    std::vector<uint8_t> vec;
    ASSERT_EQ(S_OK, ResultOf(scene, setup, &vec));
    EXPECT_EQ(At(vec, 185, 100)[3], 0);
    EXPECT_EQ(At(vec, 10, 100)[3], 255);
    EXPECT_EQ(At(vec, 10, 100)[1], 160);
    EXPECT_EQ(At(vec, 24, 24)[3], 0);
    EXPECT_GT(At(vec, 44, 23)[3], 200);
    EXPECT_EQ(At(vec, 100, 50)[3], 255);
    EXPECT_EQ(At(vec, 100, 100)[3], 255);
}
TEST(UnmixOptions, ShadowsAreDroppedOrKept)
{
    SCENE scene(c_nWidth, c_nHeight, [](int _x, int _y) {
        const float fltX = static_cast<float>(_x) - 50, fltY = static_cast<float>(_y) - 80;
        const float fltShade = 1 - .4f * std::exp(-(fltX * fltX + fltY * fltY) / 500);
        if (_y > 30 && _x > 120 && _x < 170)
            return c_colCoat;
        return SCENE_PIXEL{c_colGreen.b * fltShade, c_colGreen.g * fltShade, c_colGreen.r * fltShade};
    });
    std::vector<uint8_t> vec;
    UNMIX_SETUP setup;
    ResultOf(scene, setup, &vec);
    EXPECT_EQ(At(vec, 50, 80)[3], 0);
    setup.params.fltShadows = 100;
    ResultOf(scene, setup, &vec);
    EXPECT_NEAR(At(vec, 50, 80)[3], 255 * .32, 30);
    EXPECT_EQ(At(vec, 50, 80)[1], 0);
    EXPECT_LT(At(vec, 190, 20)[3], 12);
    EXPECT_EQ(At(vec, 140, 80)[3], 255);
}
TEST(UnmixOptions, ViewsShowWhatTheySay)
{
    SCENE scene = BodyScene(c_nWidth, c_nHeight);
    const int nBody[2] = {100, 72}, nScreen[2] = {6, 6};
    std::vector<uint8_t> vec;
    UNMIX_SETUP setup;
    const auto View = [&](int32_t _eView) {
        setup.params.eView = _eView;
        ResultOf(scene, setup, &vec);
    };
    View(eUV_Matte);
    EXPECT_EQ(At(vec, nBody[0], nBody[1])[0], 255);
    EXPECT_EQ(At(vec, nScreen[0], nScreen[1])[0], 0);
    EXPECT_EQ(At(vec, nScreen[0], nScreen[1])[3], 255);
    View(eUV_Status);
    EXPECT_EQ(At(vec, nBody[0], nBody[1])[1], 200);
    EXPECT_EQ(At(vec, nScreen[0], nScreen[1])[1], 0);
    View(eUV_Plate);
    EXPECT_NEAR(At(vec, nBody[0], nBody[1])[1], c_colGreen.g * .9f, 6);
    View(eUV_Foreground);
    EXPECT_NEAR(At(vec, nBody[0], nBody[1])[2], c_colCoat.r, 2);
    View(eUV_Confidence);
    EXPECT_EQ(At(vec, nBody[0], nBody[1])[0], 255);
    View(eUV_Source);
    EXPECT_EQ(vec, scene.vecBGRA);
}
TEST(UnmixOptions, AlphaOfTheInputIsMultipliedOrReplaced)
{
    SCENE scene = BodyScene(c_nWidth, c_nHeight);
    for (size_t n = 3; n < scene.vecBGRA.size(); n += 4)
        scene.vecBGRA[n] = 128;
    std::vector<uint8_t> vec;
    UNMIX_SETUP setup;
    ResultOf(scene, setup, &vec);
    EXPECT_EQ(At(vec, 100, 72)[3], 128);
    setup.params.eAlpha = eUA_Replace;
    ResultOf(scene, setup, &vec);
    EXPECT_EQ(At(vec, 100, 72)[3], 255);
    MASK holdOut;
    holdOut.Fill(0, 0, 20, 20);
    setup.holdOut = holdOut.Region();
    setup.params.eAlpha = eUA_Multiply;
    ResultOf(scene, setup, &vec);
    EXPECT_EQ(At(vec, 10, 10)[3], 255) << "held out, whatever it came with";
}
TEST(UnmixOptions, ClothOfTheKeysHueStaysClothAndAVeilAVeil)
{
    constexpr SCENE_PIXEL c_colBlue = {190, 70, 30}, c_colDenim = {165, 120, 85};
    SCENE denim(c_nWidth, c_nHeight, [=](int _x, int _y) {
        return _y > 50 && _x > 40 && _x < 160 ? c_colDenim : _y > 20 && _x > 80 && _x < 120 ? c_colCoat : c_colBlue;
    });
    SCENE veil(c_nWidth, c_nHeight, [=](int _x, int _y) { // in folds, a fifth to four fifths opaque
        const float fltOpaque = .5f + .3f * std::sin(static_cast<float>(_x) * .2f);
        return _y > 50 && _x > 40 && _x < 160   ? Mixed({220, 220, 220}, c_colBlue, fltOpaque)
               : _y > 20 && _x > 80 && _x < 120 ? c_colCoat
                                                : c_colBlue;
    });
    std::vector<uint8_t> vec;
    ASSERT_EQ(S_OK, ResultOf(denim, {}, &vec));
    const uint8_t* const p = At(vec, 60, 90);
    EXPECT_EQ(p[3], 255);
    EXPECT_NEAR(p[0], c_colDenim.b, 3);
    EXPECT_NEAR(p[1], c_colDenim.g, 2);
    EXPECT_EQ(At(vec, 10, 10)[3], 0);
    UNMIX_SETUP glass;
    glass.params.fltSolid = 0;
    ResultOf(denim, glass, &vec);
    EXPECT_LT(At(vec, 60, 90)[3], 220) << "whoever keys glass can still have it so";
    ASSERT_EQ(S_OK, ResultOf(veil, {}, &vec));
    for (int x = 60; x < 150; ++x)
        EXPECT_NEAR(At(vec, x, 90)[3], 255 * (.5 + .3 * std::sin(x * .2)), 26) << x;
}
TEST(UnmixOptions, SkinBeforeYellowStaysSkin)
{
    constexpr SCENE_PIXEL c_colSkin = {114, 151, 212}, c_colYellow = {46, 170, 206};
    SCENE scene(c_nWidth, c_nHeight,
                [=](int _x, int _y) { return _y > 30 && _x > 40 && _x < 160 ? c_colSkin : c_colYellow; });
    std::vector<uint8_t> vec;
    ASSERT_EQ(S_OK, ResultOf(scene, {}, &vec));
    EXPECT_EQ(At(vec, 100, 80)[3], 255);
    EXPECT_NEAR(At(vec, 100, 80)[1], c_colSkin.g, 3);
    EXPECT_NEAR(At(vec, 100, 80)[2], c_colSkin.r, 3);
}
TEST(UnmixOptions, SpillGoesAndSkinStays)
{
    // Grey with a green tint on the left of the body, skin on the right.
    SCENE scene(c_nWidth, c_nHeight, [](int _x, int _y) {
        if (_y > 30 && _x > 40 && _x < 160)
            return _x < 100 ? SCENE_PIXEL{100, 112, 100} : SCENE_PIXEL{120, 150, 210};
        return c_colGreen;
    });
    std::vector<uint8_t> vec;
    ResultOf(scene, {}, &vec);
    EXPECT_LE(At(vec, 70, 80)[1], 102);
    EXPECT_NEAR(At(vec, 130, 80)[1], 148, 1); // less the light that any colour has caught
    UNMIX_SETUP setup;
    setup.params.fltSpill = 0;
    ResultOf(scene, setup, &vec);
    EXPECT_EQ(At(vec, 70, 80)[1], 112);
}
