#include "DirectX/Shaders/KeyConstants.h"
#include "DirectX/Shaders/SmoothShader.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>

namespace
{

using VEC4 = std::array<float, 4>;

CHROMA_KEY_RAW OneKey(int32_t _eType, const SINGLE_KEY& _key)
{
    CHROMA_KEY_RAW key = {};
    key.eType = _eType;
    key.nKeysUsed = 1;
    key.arrKeys[0] = _key;
    key.nMaxTransparent = 255;
    return key;
}

CK_SETTINGS Fill(const CHROMA_KEY_RAW& _key, bool _bSnap = false)
{
    CK_SETTINGS settings;
    std::memset(&settings, 0xCD, sizeof(settings));
    Shader_FillKeys(_key, 719, -576, _bSnap, &settings);
    return settings;
}

void ExpectNear(const float (&_pfValue)[4], const VEC4& _expected, const char* _pszWhat)
{
    for (size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(_pfValue[i], _expected[i], 1e-6) << _pszWhat << " " << i;
}

TEST(KeyConstants, CentresByType)
{
    constexpr SINGLE_KEY key = {0xFF804020, 0x00102030, 64, 100, 32, 96, -64, 16, 128, 7};
    struct CASE
    {
        int32_t eType;
        VEC4 pos, yvu_pos, dist;
    };
    const CASE arrCases[] = {
        {eCKT_RGB,
         {0.125f, 0.25f, 0.5f, 0.99609375f},
         {0.269625f, -0.072625f, 0.12825f, 0.99609375f},
         {0.1875f, 0.125f, 0.0625f, 0}},
        // hue 45 degrees, lightness 1/4, saturation 1/2: R 0.375, G 0.3125, B 0.125
        {eCKT_HLS,
         {0.125f, 0.25f, 0.5f, 0.99609375f},
         {0.328625f, 0.04075f, -0.0915625f, 0.99609375f},
         {0.1875f, 0.125f, 0.0625f, 0}},
        {eCKT_YUV, {0.125f, 0.5f, 0.25f, 0.99609375f}, {0.125f, 0, -0.25f, 0.99609375f}, {0.1875f, 0.0625f, 0.125f, 0}},
    };
    for (const CASE& entry : arrCases)
    {
        SCOPED_TRACE(entry.eType);
        const CK_SETTINGS settings = Fill(OneKey(entry.eType, key));
        EXPECT_EQ(settings.ipar[0], entry.eType);
        ExpectNear(settings.keys[0].pos, entry.pos, "pos");
        ExpectNear(settings.keys[0].yvu_pos, entry.yvu_pos, "yvu_pos");
        ExpectNear(settings.keys[0].dist, entry.dist, "dist");
        ExpectNear(settings.keys[0].scal, {0.25f, 0.390625f, 0.0625f, 0.75f}, "scal");
        ExpectNear(settings.keys[0].scal1, {-0.5f, 0.0625f, 1, -1}, "scal1");
    }
}

TEST(KeyConstants, Snapping)
{
    struct CASE
    {
        int32_t eType;
        uint32_t nValue;
        VEC4 pos;
    };
    const CASE arrCases[] = {
        {eCKT_RGB, 0x8020C030, {0, 1, 0, 0.5f}},
        {eCKT_RGB, 0x80808080, {1, 0, 0, 0.5f}}, // as far from all three: the first
        {eCKT_HLS, 0x80F080AB, {2 / 3.0f, 0.5f, 1, 0.5f}},
        {eCKT_YUV, 0x80223691, {0.5665f, 0.132f, 0.209f, 0.5f}}, // green in bytes Y, U, V; then Y, V, U
    };
    for (const CASE& entry : arrCases)
    {
        SCOPED_TRACE(entry.nValue);
        const CK_SETTINGS settings =
            Fill(OneKey(entry.eType, {entry.nValue, 0x00000010, 0, 0, 0, 0, 0, 0, 0, 0}), true);
        ExpectNear(settings.keys[0].pos, entry.pos, "pos");
        ExpectNear(settings.keys[0].dist, {0.0625f, 0, 0, 0}, "dist");
    }
}

TEST(KeyConstants, SwitchesAndSizes)
{
    CHROMA_KEY_RAW key = OneKey(eCKT_RGB, {1, 1, 0, 0, 0, 0, 0, 0, 0, 0});
    key.nMinTransparent = 51;
    key.nMaxTransparent = 204;
    key.nInterlacedVideo = 3;
    key.nInverseKey = 5;
    const CK_SETTINGS settings = Fill(key);
    EXPECT_EQ(settings.ipar[2], 3);
    EXPECT_EQ(settings.ipar[3], 5);
    ExpectNear(settings.fpar, {0.2f, 0.8f, 720, 576}, "fpar");
    for (const auto& [nCount, nExpected] : {std::pair{40, 16}, {-3, 0}, {0, 0}, {INT_MIN, 0}, {2, 2}})
    {
        key.nKeysUsed = nCount;
        EXPECT_EQ(Fill(key).ipar[1], nExpected) << nCount;
    }
    ExpectNear(settings.keys[1].pos, {}, "unused");
    ExpectNear(settings.keys[15].scal1, {}, "unused");
}

TEST(KeyConstants, DeadKeysMatchNothing)
{
    for (const SINGLE_KEY& dead : {SINGLE_KEY{0xFF00FF00, 0, 9, 0, 9, 9, 9, 9, 9, 1}, // no width
                                   SINGLE_KEY{0xFF00FF00, 0x101010, 9, 255, 9, 9, 9, 9, 9, 1}})
    {
        CHROMA_KEY_RAW key = OneKey(eCKT_YUV, dead);
        key.bColorCancel = 1;
        const CK_SETTINGS settings = Fill(key, true);
        EXPECT_EQ(settings.ipar[1], 1);
        ExpectNear(settings.keys[0].pos, {-8, -8, -8, -8}, "pos");
        ExpectNear(settings.keys[0].dist, {1 / 256.0f, 1 / 256.0f, 1 / 256.0f, 1 / 256.0f}, "dist");
        ExpectNear(settings.keys[0].scal1, {}, "scal1");
        EXPECT_FALSE(Shader_NeedsCancel(key));
    }
}

TEST(KeyConstants, CancelIsNeededForLiveKeysThatCancel)
{
    CHROMA_KEY_RAW key = OneKey(eCKT_RGB, {0xFF00FF00, 0x101010, 9, 0, 9, 0, 0, 0, 0, 0});
    key.bColorCancel = 1;
    EXPECT_FALSE(Shader_NeedsCancel(key)); // a range alone changes nothing
    key.arrKeys[0].nCancelLuma = -1;
    EXPECT_TRUE(Shader_NeedsCancel(key));
    key.nKeysUsed = 0;
    EXPECT_FALSE(Shader_NeedsCancel(key));
    key.nKeysUsed = 1;
    key.nInverseKey = 1;
    for (const int32_t nReverseKey : {1, -1})
    {
        key.arrKeys[0].nReverseKey = nReverseKey;
        EXPECT_FALSE(Shader_NeedsCancel(key) || Shader_NeedsInverse(key)) << nReverseKey;
    }
    key.arrKeys[0].nReverseKey = 0;
    EXPECT_TRUE(Shader_NeedsInverse(key));
    key.bColorCancel = 0;
    EXPECT_FALSE(Shader_NeedsCancel(key));
}

TEST(KeyConstants, SmoothingPassesAreLimited)
{
    for (const auto& [nAmount, nPasses] : {std::pair{-1, 0}, {0, 0}, {3, 3}, {99, 10}})
        EXPECT_EQ(Shader_SmoothPasses(nAmount), nPasses);
}

} // namespace
