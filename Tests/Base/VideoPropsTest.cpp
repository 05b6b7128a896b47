#include "Base/ZVideoProps.h"

#include "Support/TestProps.h"

#include <gtest/gtest.h>

TEST(VideoProps, MasksHaveRoomForTheirRows)
{
    const struct
    {
        ZF_VID_PROPS vidFrame;
        int32_t nWidth, nHeight, nRowBytes;
    } c_arrCases[] = {
        {Record(eZFCC_UYVY, 1919, 1080, 3840), 1918, -1080, 1920},
        {Record(eZFCC_UYVY, 100, 50, 204), 100, -50, 104},
        {Record(eZFCC_RGB32, 1919, -1080, -7676), 1919, -1080, 1920},
        {Record(eZFCC_RGB32, 10, 4, 68), 10, -4, 24},
        {Record(eZFCC_I420, 100, 50, 100), 100, -50, 104},
        {Record(eZFCC_I420, 100, 50, 0), 100, -50, 104},
        {Record(eZFCC_UYVY, 100, 50, 20), 100, -50, 104},
        {Record(eZFCC_None, 100, 50, 100), 100, -50, 104},
        {Record(eZFCC_NV12, 2, INT32_MIN, INT32_MIN), 2, INT32_MIN, INT32_MAX - 7},
    };
    for (const auto& c : c_arrCases)
    {
        SCOPED_TRACE(testing::Message() << std::hex << c.vidFrame.fccType << std::dec << " " << c.vidFrame.nRowBytes);
        const ZF_VID_PROPS vidMask = VidProps_Mask(&c.vidFrame);
        EXPECT_EQ(vidMask.fccType, eZFCC_RGB8);
        EXPECT_EQ(vidMask.nWidth, c.nWidth);
        EXPECT_EQ(vidMask.nHeight, c.nHeight);
        EXPECT_EQ(vidMask.nRowBytes, c.nRowBytes);
    }
    ZF_VID_PROPS vidFrame = VidProps_FromFormat(eZVF_PAL, 0, 0);
    vidFrame.nGPUFlags = 7;
    EXPECT_EQ(VidProps_Mask(&vidFrame).eInterlace, eZI_TopFirst);
    EXPECT_EQ(VidProps_Mask(&vidFrame).nGPUFlags, 7u);
}

TEST(VideoProps, OrderAndAspect)
{
    ZF_VID_PROPS vidProps = {};
    const int c_arrOrders[] = {0, 1, -1, 0, 0, 0, 0};
    for (vidProps.eInterlace = 0; vidProps.eInterlace < 7; ++vidProps.eInterlace)
        EXPECT_EQ(VidProps_FieldOrder(&vidProps), c_arrOrders[vidProps.eInterlace]);
    vidProps = {};
    for (const auto& [eVideoFormat, nOrder] : {std::pair{1, -1}, {4, 1}, {8, 0}, {94, 0}, {200, 0}})
    {
        vidProps.eVideoFormat = eVideoFormat;
        EXPECT_EQ(VidProps_FieldOrder(&vidProps), nOrder) << eVideoFormat;
    }

    vidProps = {};
    EXPECT_EQ(VidProps_DisplayAspect(&vidProps), 1.7777777777777777);
    EXPECT_EQ(VidProps_PixelAspect(&vidProps), 1.0);
    vidProps = Record(eZFCC_UYVY, 720, -576);
    EXPECT_EQ(VidProps_DisplayAspect(&vidProps), 1.25);
    EXPECT_EQ(VidProps_PixelAspect(&vidProps), 1.0);
    vidProps.nAspectX = 4;
    EXPECT_EQ(VidProps_DisplayAspect(&vidProps), 1.25);
    vidProps.nAspectY = 3;
    EXPECT_DOUBLE_EQ(VidProps_DisplayAspect(&vidProps), 4.0 / 3);
    EXPECT_DOUBLE_EQ(VidProps_PixelAspect(&vidProps), 16.0 / 15);
}

TEST(VideoProps, IsSet)
{
    // format, code, width, height, stride, interlace, aspect, rate -> not strict, strict
    const struct
    {
        ZF_VID_PROPS vidProps;
        bool bSet, bStrict;
    } c_arrCases[] = {
        {{}, false, false},
        {{94, eZFCC_UYVY, 4, 4, 8, 1, 4, 3, 25, 0, 0}, false, false},
        {{4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, true, true},
        {{-4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, true, false},
        {{0, eZFCC_UYVY, 0, 0, 0, 0, 0, 0, 0, 0, 0}, true, false},
        {{0, eZFCC_UYVY, 4, -4, 0, 0, 0, 0, 0, 0, 0}, true, true},
        {{0, 0, 4, -4, 0, 0, 0, 0, 0, 0, 0}, true, false},
        {{0, 0, -4, 4, 0, 0, 0, 0, 0, 0, 0}, false, false},
        {{0, 0, 0, 0, 0, 0, 4, 3, 0, 0, 0}, true, false},
        {{0, 0, 0, 0, 0, 0, 0, 0, 25, 0, 0}, true, false},
        {{0, 0, 0, 0, 9, 0, 0, 0, -25, 1, 1}, false, false},
        {{0, 0, 0, 0, 0, 5, 0, 0, 0, 0, 0}, true, false},
    };
    for (const auto& c : c_arrCases)
    {
        SCOPED_TRACE(&c - c_arrCases);
        EXPECT_EQ(VidProps_IsSet(&c.vidProps, false), c.bSet);
        EXPECT_EQ(VidProps_IsSet(&c.vidProps, true), c.bStrict);
    }
}

TEST(VideoProps, Same)
{
    const ZF_VID_PROPS vidPal = {4, eZFCC_UYVY, 720, 576, 1440, 1, 4, 3, 25, 0, 0};
    const ZF_VID_PROPS vidSmall = {0, eZFCC_RGB32, 64, 48, 256, 3, 4, 3, 25, 0, 0};
    // other record -> levels 0 to 3
    const struct
    {
        ZF_VID_PROPS a, b;
        bool arrSame[4];
    } c_arrCases[] = {
        {vidPal, {4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {true, true, true, true}},
        {vidPal, {0, eZFCC_UYVY, 720, 576, 0, 1, 4, 3, 25, 0, 0}, {true, true, true, true}},
        {vidPal, {5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {false, true, true, true}},
        {vidPal, {5, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0}, {true, true, true, true}}, // aspect mode 1 takes any
        {vidPal, {4, 0, 0, 0, 1500, 0, 0, 0, 0, 0, 0}, {true, true, true, false}},
        {vidPal, {4, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0}, {false, true, true, true}},
        {vidPal, {4, eZFCC_YUY2, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {false, true, false, false}},
        {vidSmall, {0, eZFCC_RGB32, 64, 48, 0, 3, 8, 6, 25, 0, 0}, {false, true, true, true}},
        {vidSmall, {0, eZFCC_RGB32, 64, 48, 0, 3, 8, 0, 25.009, 0, 0}, {true, true, true, true}},
        {vidSmall, {0, eZFCC_RGB32, 64, 48, 0, 3, 4, 3, 25.011, 0, 0}, {false, true, true, true}},
        {vidSmall, {0, eZFCC_RGB32, 64, -48, 0, 3, 4, 3, 25, 0, 0}, {false, true, true, true}},
        {vidSmall, {0, eZFCC_RGB32, 64, 47, 0, 3, 4, 3, 25, 0, 0}, {false, false, false, false}},
        {vidSmall, {0, eZFCC_RGB32, 63, 48, 0, 3, 4, 3, 25, 0, 0}, {false, false, false, false}},
    };
    for (const auto& c : c_arrCases)
        for (int32_t nLevel = 0; nLevel < 4; ++nLevel)
        {
            SCOPED_TRACE(testing::Message() << "case " << &c - c_arrCases << " level " << nLevel);
            EXPECT_EQ(VidProps_Same(&c.a, &c.b, nLevel), c.arrSame[nLevel]);
            EXPECT_EQ(VidProps_Same(&c.b, &c.a, nLevel), c.arrSame[nLevel]);
        }
    EXPECT_TRUE(VidProps_Same(nullptr, nullptr, 0));
    EXPECT_FALSE(VidProps_Same(&vidPal, nullptr, 1) || VidProps_Same(nullptr, &vidPal, 1));
}
