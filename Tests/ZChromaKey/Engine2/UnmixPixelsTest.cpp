#include "ZChromaKey/Engine2/UnmixScenes.h"
#include "ZChromaKey/Engine2/Screen.h"

#include <gtest/gtest.h>

namespace
{
// Columns of growing alpha between solid body on the right and backdrop on the left, plain colours: every step of the
// engine has a closed answer.
constexpr int c_nRampWidth = 256;
constexpr int c_nRampFirst = 96;
constexpr int c_nRampLast = 160;

float RampAlpha(int _nX)
{
    return std::clamp(static_cast<float>(_nX - c_nRampFirst) / (c_nRampLast - c_nRampFirst), 0.0f, 1.0f);
}
} // namespace

TEST(UnmixPixels, DifferenceIsTheClassicOneForGreenAndBlue)
{
    UNMIX_KEY key;
    for (const bool bBlue : {false, true})
    {
        key.arrBGR[0] = bBlue ? 180.0f : 40.0f;
        key.arrBGR[1] = bBlue ? 60.0f : 170.0f;
        key.arrBGR[2] = 50;
        const KEY_FORMS forms = Screen_Forms(key);
        for (int n = 0; n < 500; ++n)
        {
            const auto b = static_cast<float>(n * 37 % 256), g = static_cast<float>(n * 91 % 256),
                       r = static_cast<float>(n * 53 % 256);
            const float flt = forms.X(b, g, r) - std::abs(forms.Z(b, g, r));
            EXPECT_NEAR(flt, bBlue ? b - std::max(g, r) : g - std::max(b, r), .01f) << b << ' ' << g << ' ' << r;
        }
    }
}
TEST(UnmixPixels, FormsAreZeroOnGreyForEveryHue)
{
    for (int n = 0; n < 36; ++n)
    {
        const float fltTurn = static_cast<float>(n) * .1745f;
        UNMIX_KEY key;
        for (int c = 0; c < 3; ++c)
            key.arrBGR[c] = 128 + 80 * std::cos(fltTurn + 2.0944f * static_cast<float>(c));
        const KEY_FORMS forms = Screen_Forms(key);
        EXPECT_EQ(forms.anX[0] + forms.anX[1] + forms.anX[2], 0);
        EXPECT_EQ(forms.anZ[0] + forms.anZ[1] + forms.anZ[2], 0);
        EXPECT_GT(forms.fltX, 60) << n;
        EXPECT_LT(std::abs(forms.fltSlope), .3f) << n; // within the 25 degrees that snap to green and blue
    }
}
// As bright as the backdrop, so that linear light mixes it like coded values.
constexpr SCENE_PIXEL c_colEven = {100, 80, 170};

UNMIX_SETUP PlainSetup()
{
    UNMIX_SETUP setup;
    setup.params.fltCleanBackdrop = setup.params.fltCleanForeground = 0;
    setup.params.fltSpill = setup.params.fltSolid = setup.params.fltNoise = 0;
    return setup;
}

TEST(UnmixPixels, RampOverAKnownPlateGivesAlphaAndColour)
{
    UNMIX_STATE state;
    state.setup = PlainSetup();
    state.arrKeys[0] = Screen_Forms({{c_colGreen.b, c_colGreen.g, c_colGreen.r}});
    const PIXEL_RULES rules = Pixels_Rules(state, state.arrKeys[0]);
    PIXEL_PLACE place;
    place.back = {c_colGreen.b, c_colGreen.g, c_colGreen.r, 0};
    place.fore = {c_colEven.b, c_colEven.g, c_colEven.r, 1};
    for (int x = c_nRampFirst + 4; x < c_nRampLast; ++x)
    {
        // The formulas by themselves: alpha within a level, colour within two.
        const float fltTrue = RampAlpha(x);
        const SCENE_PIXEL pixel = Mixed(c_colEven, c_colGreen, fltTrue);
        const VEC4 colour = {pixel.b, pixel.g, pixel.r, 0};
        const float fltDifference =
            state.arrKeys[0].X(pixel.b, pixel.g, pixel.r) - std::abs(state.arrKeys[0].Z(pixel.b, pixel.g, pixel.r));
        const float fltAlpha = Pixel_Alpha(rules, place, colour, fltDifference);
        EXPECT_NEAR(255 * fltAlpha, 255 * fltTrue, 1) << x;
        const VEC4 out = Pixel_Colour(rules, place, colour, fltAlpha);
        EXPECT_NEAR(out.b, c_colEven.b, 2) << x;
        EXPECT_NEAR(out.g, c_colEven.g, 2) << x;
        EXPECT_NEAR(out.r, c_colEven.r, 2) << x;
    }
}
TEST(UnmixPixels, AKeyWithoutAHueGivesNumbers)
{
    UNMIX_STATE state;
    state.setup = PlainSetup();
    state.arrKeys[0] = Screen_Forms({{128, 128, 128}});
    PIXEL_PLACE place;
    place.back = place.fore = {128, 128, 128, 1};
    EXPECT_GE(Pixel_Alpha(Pixels_Rules(state, state.arrKeys[0]), place, {10, 200, 30, 0}, 0), 0);
}
TEST(UnmixPixels, RampInAPictureGivesAlphaAndColour)
{
    // Grey, so that the difference alone tells alpha; the engine knows the body from beside the ramp only.
    static constexpr SCENE_PIXEL c_colGrey = {107, 107, 107};
    SCENE scene(c_nRampWidth, 128, [](int _x, int) { return Mixed(c_colGrey, c_colGreen, RampAlpha(_x)); });
    UNMIX_STATE state;
    const std::vector<uint8_t> vec = Keyed(state, scene, PlainSetup());
    for (int x = 8; x < c_nRampWidth; ++x)
    {
        const uint8_t* const p = &vec[(64 * c_nRampWidth + static_cast<size_t>(x)) * 4];
        EXPECT_NEAR(p[3], 255 * RampAlpha(x), 4) << x; // in bytes a level of green is two of alpha
        for (int c = 0; c < 3 && RampAlpha(x) > .1f; ++c)
            EXPECT_NEAR(p[c], 107, RampAlpha(x) > .5f ? 3 : 8) << x;
    }
}
