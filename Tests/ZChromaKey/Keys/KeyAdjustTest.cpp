#include "ZChromaKey/Keys/KeyAdjust.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace
{

CHROMA_KEY_RAW SampleKeys()
{
    CHROMA_KEY_RAW key{};
    key.eType = eCKT_YUV;
    key.nKeysUsed = 2;
    key.arrKeys[0] = {0xFF406080, 0x01100820, 16, 0, 8, 20, 1, 2, 3, 0};
    key.arrKeys[1] = {0xFF8090A0, 0x01040404, 10, 0, 0, 0, 0, 0, 0, 1};
    key.nMaxTransparent = 255;
    return key;
}

bool SameBytes(const CHROMA_KEY_RAW& _a, const CHROMA_KEY_RAW& _b)
{
    return std::memcmp(&_a, &_b, sizeof(_a)) == 0;
}

TEST(KeyAdjust, AtRestLeavesEveryByteAlone)
{
    CHROMA_KEY_RAW key = SampleKeys();
    key.nMaxTransparent = 1000; // odd values of a host are not repaired behind its back
    key.arrKeys[0].nCancelPower = -9999;
    EXPECT_TRUE(SameBytes(KeyAdjust_Apply(key, CK_ADJUST{}), key));
    key.nKeysUsed = -3;
    EXPECT_TRUE(SameBytes(KeyAdjust_Apply(key, CK_ADJUST{}), key));
}

TEST(KeyAdjust, EachAdjustmentChangesWhatItsRowSays)
{
    const CHROMA_KEY_RAW key = SampleKeys();
    const auto Adjusted = [&](eCK_Adjust _eAdjust, double _dblValue) {
        CK_ADJUST adjust{};
        *KeyAdjust_Field(&adjust, _eAdjust) = _dblValue;
        return KeyAdjust_Apply(key, adjust);
    };
    EXPECT_EQ(Adjusted(eCKA_Power, 100).arrKeys[0].nDelta, 0x01402080u) << "four times, the alpha byte alone";
    EXPECT_EQ(Adjusted(eCKA_Power, -100).arrKeys[0].nDelta, 0x01040208u) << "a quarter";
    EXPECT_EQ(Adjusted(eCKA_Power, 100).arrKeys[1].nDelta, key.arrKeys[1].nDelta) << "exclusion has its own power";
    EXPECT_EQ(Adjusted(eCKA_ExcludePower, 100).arrKeys[1].nDelta, 0x01101010u);
    EXPECT_EQ(Adjusted(eCKA_Power_R_H_Y, 100).arrKeys[0].nDelta, 0x01100880u) << "byte 0";
    EXPECT_EQ(Adjusted(eCKA_Power_G_L_U, 100).arrKeys[0].nDelta, 0x01102020u) << "byte 1";
    EXPECT_EQ(Adjusted(eCKA_Power_B_S_V, -100).arrKeys[0].nDelta, 0x01040820u) << "byte 2";
    EXPECT_EQ(Adjusted(eCKA_Smooth, -255).arrKeys[0].nSmoothRange, 0);
    EXPECT_EQ(Adjusted(eCKA_Smooth, 20).arrKeys[0].nSmoothRange, 36);
    EXPECT_EQ(Adjusted(eCKA_Smooth, 20).arrKeys[1].nSmoothRange, 10);
    EXPECT_EQ(Adjusted(eCKA_ExcludeTransparent, 20).arrKeys[1].nSmoothRange, 30);
    EXPECT_EQ(Adjusted(eCKA_Transparent, 100).arrKeys[0].nAlpha, 100);
    EXPECT_EQ(Adjusted(eCKA_Transparent, 100).arrKeys[1].nAlpha, 0);
    EXPECT_EQ(Adjusted(eCKA_MinTransparent, 30).nMinTransparent, 30);
    EXPECT_EQ(Adjusted(eCKA_MaxTransparent, -30).nMaxTransparent, 225);
    const CHROMA_KEY_RAW keyColors = Adjusted(eCKA_Colors, 100);
    EXPECT_EQ(keyColors.bColorCancel, 1);
    EXPECT_EQ(keyColors.arrKeys[0].nCancelRange, 8 - 2 * 16)
        << "the key's own ellipse goes, the longest half-axis is 16";
    EXPECT_EQ(keyColors.arrKeys[0].nCancelPower, 20 + 72) << "grey is sqrt(32^2 + 64^2) away";
    EXPECT_EQ(keyColors.arrKeys[0].nCancelAlpha, 3 + 72 - 128);
    EXPECT_EQ(Adjusted(eCKA_Colors, 50).arrKeys[0].nCancelPower, 20 + 54) << "half and a quarter of the way";
    EXPECT_TRUE(std::memcmp(&keyColors.arrKeys[1], &key.arrKeys[1], sizeof(SINGLE_KEY)) == 0) << "exclusion keys stay";
    EXPECT_EQ(Adjusted(eCKA_Colors_Range, 5).arrKeys[0].nCancelRange, 13);
    EXPECT_EQ(Adjusted(eCKA_Colors_Power, 5).arrKeys[0].nCancelPower, 25);
    EXPECT_EQ(Adjusted(eCKA_Colors_Chroma, 5).arrKeys[0].nCancelChroma, 6);
    EXPECT_EQ(Adjusted(eCKA_Colors_Luma, -5).arrKeys[0].nCancelLuma, -3);
    EXPECT_EQ(Adjusted(eCKA_Colors_Alpha, 5).arrKeys[0].nCancelAlpha, 8);
    EXPECT_TRUE(SameBytes(Adjusted(eCKA_Power, std::nan("")), key));
    EXPECT_TRUE(SameBytes(Adjusted(eCKA_Power, 1e300), Adjusted(eCKA_Power, 100)));
}

} // namespace
