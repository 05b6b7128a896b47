#include "ZChromaKey/Keys2/FramePick.h"

#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"
#include "Support/TestProps.h"

#include <gtest/gtest.h>

namespace
{

/// A green picture with stray white pixels and a red right quarter.
CZPtr<CZFrame> Speckled(uint32_t _fccType, int _nHeight = 32)
{
    std::vector<uint8_t> vecBGRA;
    for (int y = 0; y < std::abs(_nHeight); ++y)
        for (int x = 0; x < 64; ++x)
        {
            const bool bStray = (7 * x + 3 * y) % 5 == 0;
            const bool bRed = x >= 48;
            for (const int nValue :
                 {bStray ? 255 : 20, bStray ? 255 : (bRed ? 30 : 180), bStray || bRed ? 255 : 40, 255})
                vecBGRA.push_back(static_cast<uint8_t>(nValue));
        }
    return TestFrame_Of(vecBGRA, _fccType, 64, _nHeight);
}

void ExpectColor(const KEY2_COLOR& _color, double _dblRed, double _dblGreen, double _dblBlue, double _dblNear)
{
    EXPECT_NEAR(_color.dblRed, _dblRed, _dblNear);
    EXPECT_NEAR(_color.dblGreen, _dblGreen, _dblNear);
    EXPECT_NEAR(_color.dblBlue, _dblBlue, _dblNear);
}

TEST(FramePick, TakesTheMiddleOfEachChannelFromTheTopLeft)
{
    for (const auto& [fccType, nHeight, dblNear] :
         {std::tuple{eZFCC_ARGB32, -32, 0.0}, {eZFCC_RGB24, 32, 0.0}, {eZFCC_r210, -32, 1.0}})
    {
        SCOPED_TRACE(FCC_Name(fccType));
        const auto cpFrame = Speckled(fccType, nHeight);
        KEY2_COLOR color = {};
        for (const auto& [nX, nY] : {std::pair{10, 10}, {0, 0}, {0, 31}, {44, 31}})
        {
            ASSERT_EQ(FramePick_Point(cpFrame.Get(), nX, nY, &color), S_OK);
            ExpectColor(color, 40, 180, 20, dblNear);
        }
        ASSERT_EQ(FramePick_Point(cpFrame.Get(), 63, 0, &color), S_OK);
        ExpectColor(color, 255, 30, 20, dblNear);
        ASSERT_EQ(FramePick_Rect(cpFrame.Get(), 1000, -5, 50, 40, &color), S_OK) << "either corner, cut at the picture";
        ExpectColor(color, 255, 30, 20, dblNear);
        ASSERT_EQ(FramePick_Rect(cpFrame.Get(), 0, 0, 64, 32, &color), S_OK);
        ExpectColor(color, 40, 180, 20, dblNear);
    }
}

TEST(FramePick, RefusesWhatIsNotThere)
{
    const CLogCatcher log;
    const auto cpFrame = Speckled(eZFCC_RGB32);
    KEY2_COLOR color = {1, 2, 3};
    for (const auto& [nX, nY] : {std::pair{-1, 0}, {0, -1}, {64, 0}, {0, 32}, {INT32_MAX, INT32_MIN}})
        EXPECT_EQ(FramePick_Point(cpFrame.Get(), nX, nY, &color), E_INVALIDARG);
    EXPECT_EQ(log.Count("outside the frame of 64 x 32 pixels", eZLog_Error), 5u);
    EXPECT_EQ(FramePick_Rect(cpFrame.Get(), 5, 5, 5, 9, &color), E_INVALIDARG) << "the second corner is not included";
    EXPECT_EQ(FramePick_Rect(cpFrame.Get(), 64, 0, INT32_MAX, INT32_MAX, &color), E_INVALIDARG);
    EXPECT_EQ(FramePick_Point(nullptr, 0, 0, &color), E_POINTER);
    const auto cpTexture = CHookFrame::Make(
        cpFrame.Get(), [](const std::string& _strMethod) { return _strMethod == "VideoPtrGet" ? S_FALSE : S_OK; });
    IMG_PICTURE picture;
    IMG_MASK mask;
    EXPECT_EQ(FramePick_Point(cpTexture.Get(), 0, 0, &color), E_INVALIDARG);
    EXPECT_EQ(FramePick_Picture(cpTexture.Get(), &picture), E_INVALIDARG);
    EXPECT_EQ(FramePick_Mask(cpTexture.Get(), &mask), E_INVALIDARG);
    EXPECT_EQ(log.Count("without a picture in system memory", eZLog_Error), 3u);
    EXPECT_EQ(color.dblBlue, 3);
}

TEST(FramePick, CopiesPicturesAndReadsMasks)
{
    const std::vector<uint8_t> vecBGRA = {0,  0, 0, 255, 255, 255, 255, 255, 9,   90, 3,  255,
                                          10, 0, 0, 0,   255, 255, 255, 128, 200, 0,  40, 51};
    IMG_PICTURE picture;
    IMG_MASK mask;
    const auto cpAlpha = TestFrame_Of(vecBGRA, eZFCC_ARGB32, 3, 2);
    ASSERT_EQ(FramePick_Picture(cpAlpha.Get(), &picture), S_OK);
    EXPECT_EQ(picture.vecBGRA, vecBGRA);
    EXPECT_EQ(picture.nWidth * 10 + picture.nHeight, 32);
    ASSERT_EQ(FramePick_Mask(cpAlpha.Get(), &mask), S_OK);
    EXPECT_EQ(mask.vecBytes, (std::vector<uint8_t>{0, 255, 90, 0, 128, 40}));
    ASSERT_EQ(FramePick_Mask(TestFrame_Of(vecBGRA, eZFCC_RGB24, 3, 2).Get(), &mask), S_OK);
    EXPECT_EQ(mask.vecBytes, (std::vector<uint8_t>{0, 255, 90, 10, 255, 200})) << "without alpha";
}

} // namespace
