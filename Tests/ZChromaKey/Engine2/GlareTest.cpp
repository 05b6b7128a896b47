#include "ZChromaKey/Engine2/Glare.h"
#include "ZChromaKey/Engine2/Pixels.h"
#include "ZChromaKey/Engine2/Screen.h"
#include "ZChromaKey/Engine2/UnmixScenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace
{
// The steps of glare of a picture of so many cells of 4x4 pixels, of which _sure says which are sure backdrop.
std::vector<uint8_t> GlareOf(int _nCellsX, int _nCellsY, const std::function<bool(int, int)>& _sure, int _nFields = 1)
{
    UNMIX_STATE state;
    UnmixState_Resize(state, _nCellsX * c_nCell, _nCellsY * c_nCell * _nFields, _nFields);
    FIELD_STATE& field = state.arrFields[_nFields - 1];
    for (int y = 0; y < _nCellsY; ++y)
        for (int x = 0; x < _nCellsX; ++x)
            field.bitsSure.Set(x, y, _sure(x, y));
    Glare_Pass(state, field, 0, state.nPlateHeight);
    Glare_Finish(state, field);
    return field.vecGlare;
}
} // namespace

TEST(Glare, IsTheShareOfBackdropUnderATent)
{
    // 320x180 plate cells: the tent reaches 23 each way.
    const std::vector<uint8_t> vec = GlareOf(640, 360, [](int _x, int) { return _x < 300; });
    for (int x = 0; x < 320; ++x)
    {
        double dblShare = 0;
        for (int n = -22; n <= 22; ++n)
            dblShare += x + n < 150 ? (23 - std::abs(n)) / (23.0 * 23.0) : 0;
        for (const int y : {0, 90, 179})
            ASSERT_NEAR(vec[static_cast<size_t>(y) * 320 + x], c_nGlareSteps * dblShare, .51) << x << ' ' << y;
    }
    for (const int nCells : {1, 2, 9})
    {
        const size_t nPlates = static_cast<size_t>((nCells + 1) / 2);
        EXPECT_EQ(GlareOf(
                      nCells, 2, [](int, int) { return true; }, 2),
                  std::vector<uint8_t>(nPlates, c_nGlareSteps));
        EXPECT_EQ(GlareOf(2, nCells, [](int, int) { return false; }), std::vector<uint8_t>(nPlates, 0));
    }
}
TEST(Glare, LiesAlikeInAPictureAndOneTurnedOver)
{
    const auto Sure = [](int _x, int _y) { return Grain(_x / 16, _y / 16, 3) > 0; };
    const std::vector<uint8_t> vec = GlareOf(202, 130, Sure);
    const std::vector<uint8_t> vecTurned = GlareOf(130, 202, [&](int _x, int _y) { return Sure(_y, _x); });
    EXPECT_GT(*std::max_element(vec.begin(), vec.end()), 9);
    for (size_t y = 0; y < 65; ++y)
        for (size_t x = 0; x < 101; ++x)
            ASSERT_EQ(vec[y * 101 + x], vecTurned[x * 65 + y]) << x << ' ' << y;
}
TEST(Glare, GoesFromSolidPixelsAlone)
{
    UNMIX_STATE state;
    state.arrKeys[0] = Screen_Forms({{c_colGreen.b, c_colGreen.g, c_colGreen.r}});
    const PIXEL_RULES rules = Pixels_Rules(state, state.arrKeys[0]);
    // Backdrop all around puts a tenth of the key's chroma on top.
    const float fltWhole = c_nGlareSteps * rules.limit.fltGlare;
    EXPECT_NEAR(fltWhole * rules.limit.arrTake[1], .1f * (c_colGreen.g - c_colGreen.b), .1f);
    PIXEL_PLACE place;
    place.back = place.fore = {c_colCoat.b, c_colCoat.g, c_colCoat.r, 1};
    PIXEL_PLACE placeNear = place;
    placeNear.fltGlare = 4;
    const auto Taken = [&](float _fltAlpha) {
        return Pixel_Colour(rules, place, place.fore, _fltAlpha).g -
               Pixel_Colour(rules, placeNear, place.fore, _fltAlpha).g;
    };
    EXPECT_EQ(Taken(.8f), 0);
    EXPECT_NEAR(Taken(.875f), 2 * rules.limit.arrTake[1], .01f);
    EXPECT_NEAR(Taken(1), 4 * rules.limit.arrTake[1], .01f);
    // Cloth of the key's hue, and skin before yellow, keep what they have.
    KEY_FORMS keyCloth = state.arrKeys[0], keyYellow = Screen_Forms({{40, 170, 190}});
    keyCloth.fltCloth = .3f;
    keyYellow.fltWedge = 2;
    EXPECT_EQ(Pixels_Limiter(keyCloth, {}).nGlare, 0);
    EXPECT_EQ(Pixels_Limiter(keyYellow, {}).nGlare, 0);
}
TEST(Glare, LeavesABodyBesideTheScreen)
{
    // The body's own colour is warm, so that no tint can be seen in a single pixel; 8 % of the screen's light lies on
    // it at its edges and less and less further in.
    constexpr SCENE_PIXEL c_colWarm = {70, 95, 150};
    constexpr int c_nWidth = 640, c_nHeight = 360, c_nLeft = 200;
    const auto Light = [](int _x) {
        const auto fltInside = static_cast<float>(std::min(_x - c_nLeft, c_nWidth - c_nLeft - 1 - _x));
        return .08f * std::max(1 - fltInside / 40, 0.0f);
    };
    SCENE scene(c_nWidth, c_nHeight, [&](int _x, int) {
        if (_x < c_nLeft || _x >= c_nWidth - c_nLeft)
            return c_colGreen;
        return SCENE_PIXEL{c_colWarm.b, c_colWarm.g + 110 * Light(_x), c_colWarm.r};
    });
    UNMIX_STATE state;
    const std::vector<uint8_t> vec = Keyed(state, scene, GreenSetup());
    for (int x = c_nLeft + 4; x < c_nWidth / 2; ++x)
    {
        const uint8_t* const p = &vec[(180 * c_nWidth + static_cast<size_t>(x)) * 4];
        EXPECT_EQ(p[3], 255) << x;
        EXPECT_NEAR(p[1], c_colWarm.g, x < c_nLeft + 20 ? 5 : 3) << x;
    }
}
