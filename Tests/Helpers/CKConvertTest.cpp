#include "Helpers/CKConvert.h"

#include <gtest/gtest.h>

#include <random>

namespace
{

constexpr eCK_Type c_arrTypes[] = {eCKT_RGB, eCKT_HLS, eCKT_YUV};

CHROMA_KEY_RAW OneKey(eCK_Type _eType, uint32_t _nValue, uint32_t _nDelta)
{
    CHROMA_KEY_RAW key{};
    key.eType = _eType;
    key.nKeysUsed = 1;
    key.arrKeys[0].nValue = _nValue;
    key.arrKeys[0].nDelta = _nDelta;
    return key;
}

int ByteOf(uint32_t _nWord, int _nByte)
{
    return static_cast<int>(_nWord >> (8 * _nByte) & 0xFF);
}

TEST(CKConvert, KnownColours)
{
    // RGB words have red in byte 0, HLS and YUV words hue and luma.
    const CHROMA_KEY_RAW keyGreen = OneKey(eCKT_RGB, 0xFF00FF00, 0x01101010);
    const SINGLE_KEY hls = CKUtils::ConvertKeys(keyGreen, eCKT_HLS, eZYM_601).arrKeys[0];
    EXPECT_EQ(hls.nValue, 0xFFFF8055u) << "a third of a turn, half light, full saturation";
    const SINGLE_KEY yuv = CKUtils::ConvertKeys(keyGreen, eCKT_YUV, eZYM_601).arrKeys[0];
    EXPECT_EQ(yuv.nValue, 0xFF223691u) << "Y 145, U 54, V 34";
    EXPECT_EQ(CKUtils::ConvertKeys(keyGreen, eCKT_YUV, eZYM_709).arrKeys[0].nValue, 0xFF1A2AADu) << "173, 42, 26";
    EXPECT_EQ(CKUtils::ConvertKeys(OneKey(eCKT_HLS, 0xFFFF80AB, 0x01010101), eCKT_RGB, eZYM_601).arrKeys[0].nValue,
              0xFFFF0103u)
        << "blue: hue 171 of 256 is a little past two thirds, lightness 128 a little above half";
    EXPECT_EQ(CKUtils::ConvertKeys(OneKey(eCKT_RGB, 0xFF808080, 0), eCKT_YUV, eZYM_601).arrKeys[0].nDelta, 0u);
}

TEST(CKConvert, ThereAndBackStaysClose)
{
    std::mt19937 rng(3);
    for (int n = 0; n < 2000; ++n)
        for (const eCK_Type eFrom : c_arrTypes)
            for (const eCK_Type eTo : c_arrTypes)
            {
                uint32_t nWord = 0xFF000000;
                for (int i = 0; i < 3; ++i)
                    nWord |= static_cast<uint32_t>(70 + rng() % 100) << (8 * i); // inside every space
                CHROMA_KEY_RAW keyRGB = OneKey(eCKT_RGB, nWord, 0x01080808);
                const CHROMA_KEY_RAW key = CKUtils::ConvertKeys(keyRGB, eFrom, eZYM_709);
                const CHROMA_KEY_RAW keyBack =
                    CKUtils::ConvertKeys(CKUtils::ConvertKeys(key, eTo, eZYM_709), eCKT_RGB, eZYM_709);
                for (int i = 0; i < 3; ++i)
                    ASSERT_NEAR(ByteOf(keyBack.arrKeys[0].nValue, i), ByteOf(nWord, i), 4)
                        << eFrom << " to " << eTo << " of " << std::hex << nWord;
            }
}

TEST(CKConvert, LeavesWhatHasNoSpaceAndOddCountsAlone)
{
    CHROMA_KEY_RAW key = OneKey(eCKT_YUV, 0x12345678, 0x01020304);
    for (const eCK_Type eType : {eCKT_Alpha, eCKT_None, eCKT_Auto, eCKT_YUV})
        EXPECT_EQ(CKUtils::ConvertKeys(key, eType, eZYM_601).arrKeys[0].nValue, 0x12345678u);
    key.nKeysUsed = -3;
    EXPECT_EQ(CKUtils::ConvertKeys(key, eCKT_RGB, eZYM_601).nKeysUsed, -3);
    key.nKeysUsed = 1000;
    EXPECT_EQ(CKUtils::ConvertKeys(key, eCKT_RGB, eZYM_601).nKeysUsed, 1000);
}

} // namespace
