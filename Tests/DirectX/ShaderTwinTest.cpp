// The formulas that rendered pixels are held against, at the places where formulas break.

#include "Interfaces/ZVideoTypes.h"
#include "Support/ShaderTwin.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace
{

using ShaderTwin::COLOR;
using ShaderTwin::PICTURE;

void ExpectNear(const COLOR& _color, const COLOR& _expected, double _dblTolerance, const char* _pszWhat)
{
    for (size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(_color[i], _expected[i], _dblTolerance) << _pszWhat << " " << i;
}

TEST(ShaderTwin, ColourSpacesOfSpecialColours)
{
    struct CASE
    {
        const char* pszName;
        COLOR rgb, hls;
    };
    const CASE arrCases[] = {
        {"black", {0, 0, 0}, {0, 0, 0}},
        {"grey", {0.5, 0.5, 0.5}, {0, 0.5, 0}},
        {"white", {1, 1, 1}, {0, 1, 0}},
        {"red", {1, 0, 0}, {0, 0.5, 1}},
        {"yellow", {1, 1, 0}, {1 / 6.0, 0.5, 1}},
        {"green", {0, 1, 0}, {2 / 6.0, 0.5, 1}},
        {"cyan", {0, 1, 1}, {3 / 6.0, 0.5, 1}},
        {"blue", {0, 0, 1}, {4 / 6.0, 0.5, 1}},
        {"magenta", {1, 0, 1}, {5 / 6.0, 0.5, 1}},
        {"rose", {1, 0, 0.5}, {-1 / 12.0, 0.5, 1}}, // the magenta side of red has a negative hue
        {"dark orange", {0.5, 0.25, 0}, {1 / 12.0, 0.25, 1}},
    };
    for (const CASE& entry : arrCases)
    {
        ExpectNear(ShaderTwin::HLSFromRGB(entry.rgb), entry.hls, 1e-12, entry.pszName);
        ExpectNear(ShaderTwin::RGBFromHLS(entry.hls), entry.rgb, 1e-12, entry.pszName);
        ExpectNear(ShaderTwin::RGBFromYVU(ShaderTwin::YVUFromRGB(entry.rgb)), entry.rgb, 0.005, entry.pszName);
    }
}

/// A key in RGB: green 0.5, blue 0.25; half-widths 1/8 and 1/4; softness 1/4.
CK_SETTINGS OneKey()
{
    CK_SETTINGS settings = {};
    settings.ipar[0] = eCKT_RGB;
    settings.ipar[1] = 1;
    settings.keys[0] = {
        {0, 0.5f, 0.25f, 0}, {0.3f, -0.2f, 0.1f, 0}, {0, 0.125f, 0.25f, 0}, {0.25f, 0, 0, 0}, {0, 0, 0, 1}};
    settings.fpar[1] = 1;
    return settings;
}

TEST(ShaderTwin, AlphaAtTheEdgesOfAKey)
{
    struct CASE
    {
        const char* pszName;
        double dblGreen, dblBlue, dblAlpha;
        void (*pfnChange)(CK_SETTINGS* _pSettings);
    };
    const auto None = [](CK_SETTINGS*) {};
    const auto Hard = [](CK_SETTINGS* _pSettings) { _pSettings->keys[0].scal[0] = 0; };
    const auto NoWidth = [](CK_SETTINGS* _pSettings) { _pSettings->keys[0].dist[1] = _pSettings->keys[0].dist[2] = 0; };
    const auto Inverse = [](CK_SETTINGS* _pSettings) { _pSettings->keys[0].scal1[3] = -1; };
    const auto Both = [](CK_SETTINGS* _pSettings) { // keyed by the first, kept by the second
        _pSettings->ipar[1] = 2;
        _pSettings->keys[1] = _pSettings->keys[0];
        _pSettings->keys[1].scal1[3] = -1;
    };
    const auto Inverted = [](CK_SETTINGS* _pSettings) { _pSettings->ipar[3] = 1; };
    const auto InverseInverted = [](CK_SETTINGS* _pSettings) {
        _pSettings->keys[0].scal1[3] = -1;
        _pSettings->ipar[3] = 1;
    };
    const auto NoKeys = [](CK_SETTINGS* _pSettings) { _pSettings->ipar[1] = 0, _pSettings->ipar[3] = 1; };
    const auto Thresholds = [](CK_SETTINGS* _pSettings) {
        _pSettings->fpar[0] = 0.25f;
        _pSettings->fpar[1] = 0.75f;
    };
    const auto MaxZero = [](CK_SETTINGS* _pSettings) { _pSettings->fpar[1] = 0; };
    const CASE arrCases[] = {
        {"centre", 0.5, 0.25, 0, None},
        {"inside", 0.59, 0.3, 0, None},
        {"on the ellipse", 0.625, 0.25, 0, None},
        {"on the ellipse", 0.5, 0.5, 0, None},
        {"half way out", 0.75, 0.25, 0.5, None},
        {"outer end", 0.875, 0.25, 1, None},
        {"far", 0, 1, 1, None},
        {"on a hard edge", 0.625, 0.25, 0, Hard},
        {"off a hard edge", 0.626, 0.25, 1, Hard},
        {"centre of no width", 0.5, 0.25, 0, NoWidth},
        {"off no width", 0.5 + 1 / 256.0 + 0.125, 0.25, 0.5, NoWidth},
        {"inverse alone changes nothing", 0.5, 0.25, 1, Inverse},
        {"kept by the inverse key", 0.5, 0.25, 1, Both},
        {"both ramps meet", 0.75, 0.25, 0.5, Both},
        {"inverted", 0.5, 0.25, 1, Inverted},
        {"inverted far", 0, 1, 0, Inverted},
        {"no keying key to invert", 0.5, 0.25, 1, InverseInverted},
        {"no keys", 0.5, 0.25, 1, NoKeys},
        {"below the lower threshold", 0.625 + 0.06, 0.25, 0, Thresholds},
        {"on the lower threshold", 0.625 + 0.0625, 0.25, 0.25, Thresholds},
        {"on the upper threshold", 0.625 + 0.1875, 0.25, 0.75, Thresholds},
        {"above the upper threshold", 0.625 + 0.19, 0.25, 1, Thresholds},
        {"upper threshold zero", 0.63, 0.25, 1, MaxZero},
        {"upper threshold zero inside", 0.6, 0.25, 0, MaxZero},
    };
    for (const CASE& entry : arrCases)
    {
        CK_SETTINGS settings = OneKey();
        entry.pfnChange(&settings);
        EXPECT_NEAR(ShaderTwin::Alpha(settings, {0.7, entry.dblGreen, entry.dblBlue}), entry.dblAlpha, 1e-9)
            << entry.pszName;
    }
}

TEST(ShaderTwin, CancelMovesColoursNearTheKey)
{
    CK_SETTINGS settings = OneKey();
    CK_SHADER_KEY& key = settings.keys[0];
    key.scal[3] = 0.5f; // power 1/4
    const COLOR yvu = {0.5, 0.4, 0.6};
    // On the centre there is no direction: only the key's own chroma is added.
    ExpectNear(ShaderTwin::Cancel(settings, {0, 0.5, 0.25}, yvu), {0.5, 0.35, 0.625}, 1e-6, "centre");
    // 1/16 off along the first chroma component: pushed by the rest of the power, 3/16.
    ExpectNear(ShaderTwin::Cancel(settings, {0, 0.5625, 0.25}, yvu), {0.5, 0.5375, 0.625}, 1e-6, "inside");
    ExpectNear(ShaderTwin::Cancel(settings, {0, 1, 1}, yvu), yvu, 0, "far");
    key.scal1[0] = -1; // no chroma
    key.scal1[1] = 0.5f;
    ExpectNear(ShaderTwin::Cancel(settings, {0, 0.5625, 0.25}, yvu), {0.75, 0.5, 0.5}, 1e-6, "gains");
    key.scal1[3] = -1; // an inverse key answers for the pixel's own colour
    ExpectNear(ShaderTwin::Cancel(settings, {0, 0.5625, 0.25}, yvu), yvu, 1e-12, "inverse");
    key.scal1[2] = -1; // no width: what lies outside the ellipse is not touched
    key.scal1[3] = 1;
    ExpectNear(ShaderTwin::Cancel(settings, {0, 0.63, 0.25}, yvu), yvu, 0, "no width");
    key.scal[2] = 0.125f; // but the margin widens the ellipse
    ExpectNear(ShaderTwin::Cancel(settings, {0, 0.63, 0.25}, yvu), {0.75, 0.5, 0.5}, 1e-6, "margin");
}

TEST(ShaderTwin, SmoothingKeepsFlatAlphaAndStaysInItsField)
{
    PICTURE picture = ShaderTwin::Make(eZFCC_ARGB32, 5, 6);
    for (double& dblByte : picture.arrBytes)
        dblByte = 1;
    picture.Byte(2, 4 * 2 + 3) = 0; // a hole
    const PICTURE frame = ShaderTwin::Smooth(picture, false, {});
    const PICTURE fields = ShaderTwin::Smooth(picture, true, {});
    EXPECT_DOUBLE_EQ(frame.Byte(5, 3), 1);
    EXPECT_DOUBLE_EQ(frame.Byte(2, 4 * 2 + 3), 0); // clear pixels stay clear
    EXPECT_DOUBLE_EQ(frame.Byte(2, 4 * 1 + 3), 0.875);
    EXPECT_DOUBLE_EQ(frame.Byte(3, 4 * 1 + 3), 0.9375);
    EXPECT_DOUBLE_EQ(frame.Byte(2, 4 * 1), 1); // straight colour
    EXPECT_DOUBLE_EQ(ShaderTwin::Smooth(picture, false, {true, false}).Byte(2, 4 * 1), 0.875);
    EXPECT_DOUBLE_EQ(fields.Byte(3, 4 * 2 + 3), 1);
    EXPECT_DOUBLE_EQ(fields.Byte(4, 4 * 2 + 3), 0.875);
}

TEST(ShaderTwin, FormatsKeepWhereSamplesLie)
{
    // Every luma its own value, chroma by columns and rows: through each format and back nothing moves.
    PICTURE picture = ShaderTwin::Make(eZFCC_UYVY, 8, 4);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 8; ++x)
        {
            picture.Byte(y, 2 * x + 1) = (1 + 8 * y + x) / 64.0;
            const int nPair = x / 2 + 4 * (y / 2);
            picture.Byte(y, 2 * x) = ((x % 2 ? 40 : 20) + nPair) / 64.0;
        }
    for (const uint32_t fccType : {eZFCC_YUY2, eZFCC_YVYU, eZFCC_NV12, eZFCC_YV12, eZFCC_I420, eZFCC_YV16, eZFCC_I422})
    {
        const PICTURE other = ShaderTwin::Convert({eZFCC_UYVY, fccType, false, eSYM_601}, picture, 8, 4);
        const PICTURE back = ShaderTwin::Convert({fccType, eZFCC_UYVY, false, eSYM_601}, other, 8, 4);
        for (size_t i = 0; i < picture.arrBytes.size(); ++i)
            ASSERT_NEAR(back.arrBytes[i], picture.arrBytes[i], 1e-12) << fccType << " byte " << i;
    }
    const PICTURE yv12 = ShaderTwin::Convert({eZFCC_UYVY, eZFCC_YV12, false, eSYM_601}, picture, 8, 4);
    ASSERT_EQ(yv12.arrBytes.size(), 48u);
    EXPECT_DOUBLE_EQ(yv12.arrBytes[32], 40 / 64.0); // V, then U
    EXPECT_DOUBLE_EQ(yv12.arrBytes[40], 20 / 64.0);
    const PICTURE nv12 = ShaderTwin::Convert({eZFCC_UYVY, eZFCC_NV12, false, eSYM_601}, picture, 8, 4);
    EXPECT_DOUBLE_EQ(nv12.arrBytes[32], 20 / 64.0); // U, V by turns
    EXPECT_DOUBLE_EQ(nv12.arrBytes[33], 40 / 64.0);
}

TEST(ShaderTwin, PackedMasksNeighbourOrRepeat)
{
    CK_SETTINGS settings = OneKey();
    settings.ipar[0] = eCKT_YUV;
    settings.fpar[2] = 8;
    settings.keys[0].pos[1] = settings.keys[0].pos[2] = 0.5f;
    settings.keys[0].scal[0] = 0;
    for (const auto& [eInput, fccType] :
         {std::pair{eKI_UYVY, eZFCC_UYVY}, {eKI_YUY2, eZFCC_YUY2}, {eKI_HDYC, eZFCC_HDYC}})
    {
        PICTURE picture = ShaderTwin::Make(fccType, 8, 1);
        for (int x : {0, 1, 6, 7}) // the first and the last texel are on the key
            for (int i : {0, 1})
                picture.Byte(0, 2 * x + i) = 0.5;
        const PICTURE mask = ShaderTwin::Key({eCKT_YUV, eInput, eKO_Mask, false, eSYM_601}, settings, picture);
        const std::vector<double> arrExpected = eInput == eKI_HDYC ? std::vector<double>{0, 0, 0, 0, 1, 1, 1, 1}
                                                                   : std::vector<double>{0, 0, 1, 1, 1, 1, 0, 0};
        EXPECT_EQ(mask.arrBytes, arrExpected) << eInput;
    }
}

} // namespace
