#include "ZChromaKey/Engine2/UnmixScenes.h"
#include "ZChromaKey/Engine2/Screen.h"

#include <gtest/gtest.h>

#include <array>

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
namespace
{
// The formulas once more, in double precision and from their definitions: the discriminant by solving with the matrix
// of how foreground varies, the colour as the minimum of |a F + (1 - a) B - C|^2 + k |F - F'|^2.
using COLOUR = std::array<double, 3>;

double Product(const COLOUR& _a, const COLOUR& _b)
{
    return _a[0] * _b[0] + _a[1] * _b[1] + _a[2] * _b[2];
}

COLOUR Cross(const COLOUR& _a, const COLOUR& _b)
{
    return {_a[1] * _b[2] - _a[2] * _b[1], _a[2] * _b[0] - _a[0] * _b[2], _a[0] * _b[1] - _a[1] * _b[0]};
}

// x where (100 + 0.2^2 F F^T) x = v.
COLOUR Solved(const COLOUR& _fore, const COLOUR& _v)
{
    COLOUR arrRows[3];
    for (size_t n = 0; n < 3; ++n)
        for (size_t m = 0; m < 3; ++m)
            arrRows[n][m] = (n == m ? 100 : 0) + .04 * _fore[n] * _fore[m];
    const double dblAll = Product(arrRows[0], Cross(arrRows[1], arrRows[2]));
    return {Product(_v, Cross(arrRows[1], arrRows[2])) / dblAll, Product(arrRows[0], Cross(_v, arrRows[2])) / dblAll,
            Product(arrRows[0], Cross(arrRows[1], _v)) / dblAll};
}

double Classic(const COLOUR& _v)
{
    return _v[1] - std::max(_v[0], _v[2]);
}

double ReferenceAlpha(const COLOUR& _back, const COLOUR& _fore, double _dblConfidence, const COLOUR& _colour)
{
    const double dblX = _back[1] - (_back[0] + _back[2]) / 2;
    const double dblTrust = std::min(6 * _dblConfidence, 1.0);
    const double dblEnd = .15 * std::min(Classic(_fore), 0.0) * dblTrust;
    double a = std::clamp((dblX - Classic(_colour)) / (dblX - dblEnd), 0.0, 1.0);
    COLOUR e, d, off;
    for (size_t n = 0; n < 3; ++n)
    {
        e[n] = _fore[n] - _back[n];
        d[n] = _colour[n] - _back[n];
    }
    const COLOUR w = Solved(_fore, e);
    const double t = Product(w, d) / Product(w, e);
    for (size_t n = 0; n < 3; ++n)
        off[n] = d[n] - t * e[n];
    const double q = 100 * Product(Solved(_fore, off), off) / 400;
    a += (std::clamp(t, 0.0, 1.0) - a) * dblTrust / (1 + q * q);
    const double p = _back[0] + 2 * _back[1] + _back[2];
    const double f = _dblConfidence * (_fore[0] + 2 * _fore[1] + _fore[2]) +
                     (1 - _dblConfidence) * (_colour[0] + 2 * _colour[1] + _colour[2]);
    a = std::clamp(a + (p > f ? 1.15 : .4) * a * (1 - a) * (p - f) / (p + f + 8), 0.0, 1.0);
    const double dblMax = std::max(_colour[0], std::max(_colour[1], _colour[2]));
    return 1 - (1 - a) * std::clamp((dblMax / _back[1] - .2) / .2, 0.0, 1.0);
}
} // namespace

TEST(UnmixPixels, FormulasAgreeWithTheirDefinitions)
{
    UNMIX_STATE state;
    state.setup = PlainSetup();
    state.arrKeys[0] = Screen_Forms({{60, 160, 60}}); // rho is 0: D is the classic difference
    const PIXEL_RULES rules = Pixels_Rules(state, state.arrKeys[0]);
    for (int n = 0; n < 2000; ++n)
    {
        const auto Level = [&](int _nSeed) { return 128.0 + 112 * static_cast<double>(Grain(n, 5, _nSeed)); };
        const COLOUR back = {60, 160, 60}, fore = {Level(1), Level(2) * .7, Level(3)};
        const double dblConfidence = .5 + .5 * static_cast<double>(Grain(n, 5, 4));
        const double dblMix = Level(5) / 256;
        COLOUR colour;
        for (size_t c = 0; c < 3; ++c)
            colour[c] = back[c] + (fore[c] - back[c]) * dblMix +
                        10 * static_cast<double>(Grain(n, 6, static_cast<uint32_t>(c)));
        const auto Vec = [](const COLOUR& _v, double _w) {
            return VEC4{static_cast<float>(_v[0]), static_cast<float>(_v[1]), static_cast<float>(_v[2]),
                        static_cast<float>(_w)};
        };
        PIXEL_PLACE place;
        place.back = Vec(back, 0);
        place.fore = Vec(fore, dblConfidence);
        const double a = ReferenceAlpha(back, fore, dblConfidence, colour);
        const float fltAlpha = Pixel_Alpha(rules, place, Vec(colour, 0), static_cast<float>(Classic(colour)));
        ASSERT_NEAR(double{fltAlpha}, a, .002) << n;
        const VEC4 out = Pixel_Colour(rules, place, Vec(colour, 0), fltAlpha);
        const double k = (1 - a) * (.02 * dblConfidence + .001);
        const float arrOut[3] = {out.b, out.g, out.r};
        for (size_t c = 0; c < 3 && a > .02; ++c)
        {
            const double dblGuess = fore[c] * dblConfidence + colour[c] * (1 - dblConfidence);
            ASSERT_NEAR(double{arrOut[c]}, (a * (colour[c] - (1 - a) * back[c]) + k * dblGuess) / (a * a + k), .5) << n;
        }
    }
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
