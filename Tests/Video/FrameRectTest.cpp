#include "FrameShorthand.h"

#include "Support/LogCatcher.h"

#include <cmath>

namespace
{
// The part of a picture of B, G, R, A bytes.
std::vector<uint8_t> PartOf(const std::vector<uint8_t>& _vecBGRA, int _nWidth, int _nX1, int _nY1, int _nX2, int _nY2)
{
    std::vector<uint8_t> vecPart;
    for (int y = _nY1; y < _nY2; ++y)
    {
        const auto itRow = _vecBGRA.begin() + ptrdiff_t{4} * y * _nWidth;
        vecPart.insert(vecPart.end(), itRow + ptrdiff_t{4} * _nX1, itRow + ptrdiff_t{4} * _nX2);
    }
    return vecPart;
}
} // namespace

TEST(FrameRect, ShowsThePartOfEveryFormat)
{
    const struct
    {
        int arrAsked[4];
        int arrGiven[4]; // in pairs of columns and groups of four rows, which suits every format
    } arrCases[] = {
        {{0, 0, 60, 16}, {0, 0, 60, 16}},
        {{2, 4, 58, 12}, {2, 4, 58, 12}},
        {{12, 0, 24, 4}, {12, 0, 24, 4}},
        {{48, 8, 60, 16}, {48, 8, 60, 16}},
        {{-5, -7, 20, 8}, {0, 0, 20, 8}},
        {{34, 8, 99, 99}, {34, 8, 60, 16}},
        {{-2147483647, 4, 2147483647, 8}, {0, 4, 60, 8}},
        {{50, 12, 52, 16}, {50, 12, 52, 16}},
    };
    for (uint32_t fccType : c_arrTestFormats)
        for (int nHeight : {16, -16})
            for (int eInterlace : {eZI_Progressive, eZI_TopFirst})
            {
                const CZPtr<CZFrame> cpFrame = MakePicture(Props(fccType, 60, nHeight, eInterlace));
                const std::vector<uint8_t> vecWhole = PixelsOf(cpFrame.Get());
                for (const auto& test : arrCases)
                {
                    SCOPED_TRACE(testing::Message() << std::hex << fccType << std::dec << " height " << nHeight
                                                    << " case " << &test - arrCases);
                    CZPtr<IZFFrame> cpPart;
                    const int* const p = test.arrAsked;
                    const int* const e = test.arrGiven;
                    ASSERT_EQ(cpFrame->FrameRect(p[0], p[1], p[2], p[3], cpPart.Put()), S_OK);
                    const ZF_VID_PROPS vidProps = PropsOf(cpPart.Get());
                    ASSERT_EQ(vidProps.nWidth, e[2] - e[0]);
                    ASSERT_EQ(std::abs(vidProps.nHeight), e[3] - e[1]);
                    EXPECT_EQ(VidProps_IsBottomUp(&vidProps),
                              nHeight > 0 && FCC_IsRGB(fccType) && fccType != eZFCC_RGB8 && fccType != eZFCC_r210);
                    EXPECT_EQ(PixelsOf(cpPart.Get()), PartOf(vecWhole, 60, e[0], e[1], e[2], e[3]));
                    EXPECT_NE(IdOf(cpPart.Get()), IdOf(cpFrame.Get()));
                    // full rows of the part stay within the frame's rows
                    EXPECT_GE(std::abs(vidProps.nRowBytes), Img_RowSizeM(&vidProps));
                }
            }
}

TEST(FrameRect, WidensToWholeSamples)
{
    const struct
    {
        uint32_t fccType;
        int eInterlace;
        int arrGiven[4]; // of 5, 7, 9, 11
    } arrCases[] = {
        {eZFCC_RGB24, eZI_Progressive, {5, 7, 9, 11}}, {eZFCC_RGB32, eZI_TopFirst, {5, 6, 9, 12}},
        {eZFCC_UYVY, eZI_Progressive, {4, 7, 10, 11}}, {eZFCC_v210, eZI_BottomFirst, {4, 6, 10, 12}},
        {eZFCC_I420, eZI_Progressive, {4, 6, 10, 12}}, {eZFCC_NV12, eZI_TopFirst, {4, 4, 10, 12}},
    };
    for (const auto& test : arrCases)
    {
        SCOPED_TRACE(&test - arrCases);
        const CZPtr<CZFrame> cpFrame = MakePicture(Props(test.fccType, 20, 20, test.eInterlace));
        CZPtr<IZFFrame> cpPart;
        ASSERT_EQ(cpFrame->FrameRect(5, 7, 9, 11, cpPart.Put()), S_OK);
        const int* const e = test.arrGiven;
        EXPECT_EQ(PixelsOf(cpPart.Get()), PartOf(PixelsOf(cpFrame.Get()), 20, e[0], e[1], e[2], e[3]));
    }
}

TEST(FrameRect, SharesPixelsAndTakesAllButTheIdentity)
{
    const CZPtr<CZFrame> cpFrame = MakePicture(Props(eZFCC_UYVY, 32, 8));
    ASSERT_EQ(cpFrame->PropsSet(L"mirror", L"h"), S_OK);
    CZPtr<IZFFrame> cpPart;
    ASSERT_EQ(cpFrame->FrameRect(8, 2, 32, 8, cpPart.Put()), S_OK);
    EXPECT_EQ(PtrOf(cpPart.Get()).lpVideoPlanes[0], PtrOf(cpFrame.Get()).lpVideoPlanes[0] + 2 * 64 + 16);
    ZF_VID_PTR vidPtr;
    EXPECT_EQ(cpPart->VideoPtrGet(eZFP_Write, &vidPtr), E_ACCESSDENIED);
    EXPECT_EQ(TextOf(cpPart.Get(), L"mirror"), L"h");
}

TEST(FrameRect, PixelsKeepTheirShape)
{
    ZF_VID_PROPS vidProps = Props(eZFCC_UYVY, 720, 576, eZI_TopFirst);
    vidProps.eVideoFormat = eZVF_PAL_16x9;
    vidProps.dblRate = 25;
    const CZPtr<CZFrame> cpFrame = MakeFrame(vidProps);
    CZPtr<IZFFrame> cpPart;
    for (const auto& [nX, nY] : {std::pair{0, 0}, std::pair{16, 0}, std::pair{14, 46}})
    {
        ASSERT_EQ(cpFrame->FrameRect(nX, nY, 720 - nX, 576 - nY, cpPart.Put()), S_OK);
        const ZF_VID_PROPS vidWhole = PropsOf(cpFrame.Get());
        const ZF_VID_PROPS vidPart = PropsOf(cpPart.Get());
        EXPECT_NEAR(VidProps_PixelAspect(&vidPart), VidProps_PixelAspect(&vidWhole), 1e-3);
        EXPECT_EQ(vidPart.eInterlace, eZI_TopFirst);
        EXPECT_EQ(vidPart.eVideoFormat, nX == 0 ? eZVF_PAL_16x9 : eZVF_Custom);
    }
}

TEST(FrameRect, PartsKeepTheFieldOrderThatTheFormatOfTheWholeGives)
{
    const struct
    {
        ZF_SIZE szWhole; // 25 frames a second, field order not set
        ZF_SIZE szPart;
        int nFieldOrder;
    } arrCases[] = {
        {{1920, 1080}, {1280, 720}, 1}, // 50i
        {{3840, 2160}, {1920, 1080}, 0},
        {{1024, 768}, {720, 576}, 0},
        {{720, 576}, {704, 576}, 1},
    };
    for (const auto& test : arrCases)
        for (const uint32_t fccType : {eZFCC_UYVY, eZFCC_I420})
        {
            SCOPED_TRACE(testing::Message() << test.szWhole.cx << " " << fccType);
            ZF_VID_PROPS vidProps = Props(fccType, test.szWhole.cx, test.szWhole.cy, eZI_NotSet);
            vidProps.dblRate = 25;
            const CZPtr<CZFrame> cpFrame = MakeFrame(vidProps);
            const ZF_VID_PROPS vidWhole = PropsOf(cpFrame.Get());
            ASSERT_EQ(VidProps_FieldOrder(&vidWhole), test.nFieldOrder);
            for (const int nX : {0, 2}) // shared and, where the row would be too long, copied
            {
                CZPtr<IZFFrame> cpPart;
                ASSERT_EQ(cpFrame->FrameRect(nX, 0, nX + test.szPart.cx, test.szPart.cy, cpPart.Put()), S_OK);
                const ZF_VID_PROPS vidPart = PropsOf(cpPart.Get());
                EXPECT_EQ(vidPart.nWidth, test.szPart.cx);
                EXPECT_EQ(VidProps_FieldOrder(&vidPart), test.nFieldOrder);
            }
        }
}

TEST(FrameRect, RefusesEmptyParts)
{
    const CLogCatcher log(eZLog_Error);
    const CZPtr<CZFrame> cpFrame = MakePicture(Props(eZFCC_RGB32, 8, 8));
    CZPtr<IZFFrame> cpPart;
    for (const auto& part : {std::array{4, 0, 4, 8}, std::array{0, 5, 8, 4}, std::array{8, 0, 16, 8},
                             std::array{-9, 0, 0, 8}, std::array{0, 8, 8, 9}})
        EXPECT_EQ(cpFrame->FrameRect(part[0], part[1], part[2], part[3], cpPart.Put()), E_INVALIDARG);
    EXPECT_EQ(log.Count("CZFrame::FrameRect: nothing of 8x8"), 5u);
}
