#include "FrameShorthand.h"

#include "Support/LogCatcher.h"

#include <algorithm>

namespace
{
int WorstDifference(const std::vector<uint8_t>& _vecBGRA, const ZF_VID_PTR& _vidPtr, bool _bBottomFirst)
{
    int nWorst = 0;
    const ZF_SIZE& szPicture = _vidPtr.szVideoPlanes[0];
    for (int y = 0; y < szPicture.cy; ++y)
    {
        const int64_t nRow = _bBottomFirst ? szPicture.cy - 1 - y : y;
        const uint8_t* const pRow = Img_RowOf(_vidPtr, 0, nRow);
        for (int n = 0; n < szPicture.cx * 4; ++n)
            nWorst = std::max(nWorst, std::abs(pRow[n] - _vecBGRA[size_t{4} * y * szPicture.cx + n]));
    }
    return nWorst;
}
} // namespace

// What is written in any format comes back through the converter, right way up, and nothing outside the rows changes.
TEST(Picture, WrittenAndConvertedInEveryFormatAndSize)
{
    for (uint32_t fccType : c_arrTestFormats)
        for (int nWidth = 1; nWidth <= 34; ++nWidth)
            for (int nLines = 1; nLines <= 6; ++nLines)
            {
                const bool bBottomUp = (nWidth + nLines) % 2 != 0;
                const int nPadding = (nWidth / 2 + nLines) % 3 * 11 - 11;
                SCOPED_TRACE(testing::Message() << std::hex << fccType << std::dec << " " << nWidth << "x" << nLines
                                                << (bBottomUp ? " bottom-up" : "") << " padding " << nPadding);
                const ZF_VID_PROPS vidIn = Props(fccType, nWidth, bBottomUp ? nLines : -nLines, nWidth % 3 + 1);
                const ZF_VID_PROPS vidOut =
                    Props(nWidth % 2 ? eZFCC_ARGB32 : eZFCC_RGB32, nWidth, nLines % 2 ? nLines : -nLines);
                const GUARDED_PICTURE in(vidIn, nPadding, eZGuard_Fence), out(vidOut, 0, eZGuard_PageEnd);
                std::vector<uint8_t> vecBGRA = PairedPicture(nWidth, nLines);
                for (size_t n = 0; n < vecBGRA.size() && fccType == eZFCC_RGB8; n += 4) // one channel, so no colour
                    vecBGRA[n] = vecBGRA[n + 1] = vecBGRA[n + 2];
                ASSERT_EQ(ZFrameWriter_Write(vidIn, in.vidPtr, vecBGRA.data(), ptrdiff_t{4} * nWidth), S_OK);
                ASSERT_EQ(ZConvert_Frame(vidIn, in.vidPtr, vidOut, out.vidPtr), S_OK);
                ASSERT_TRUE(in.Intact());
                ASSERT_TRUE(out.Intact());
                // planes of odd sizes lack the chroma of the last column and rows
                const bool bHalfHeight = in.vidPtr.szVideoPlanes[1].cy < nLines;
                const int nGroup = vidIn.eInterlace == eZI_Progressive ? 2 : 4;
                if (FCC_IsPlanar(fccType) && (nWidth % 2 || (bHalfHeight && nLines % nGroup)))
                    continue;
                // rounding to YUV and back moves a component by two levels at most
                ASSERT_LE(WorstDifference(vecBGRA, out.vidPtr, !ZConvert_IsTopFirst(vidOut, out.vidPtr)),
                          FCC_IsRGB(fccType) ? 0 : 2);
            }
}

// One green, two matrices: luma 145 by the one and 173 by the other.
TEST(Picture, LargeYUVHasTheOtherMatrix)
{
    for (const auto& [nWidth, nLuma] : {std::pair{720, 145}, std::pair{1280, 173}})
    {
        const CZPtr<CZFrame> cpFrame = MakeFrame(Props(eZFCC_HDYC, nWidth, 2));
        std::vector<uint8_t> vecGreen(static_cast<size_t>(nWidth) * 8, 0);
        for (size_t n = 1; n < vecGreen.size(); n += 2) // and alpha
            vecGreen[n] = 255;
        const ZF_VID_PTR vidPtr = PtrOf(cpFrame.Get());
        ASSERT_EQ(ZFrameWriter_Write(PropsOf(cpFrame.Get()), vidPtr, vecGreen.data(), ptrdiff_t{4} * nWidth), S_OK);
        EXPECT_EQ(Img_RowOf(vidPtr, 0, 0)[1], nLuma);
        CZPtr<IZFFrame> cpRGB;
        ASSERT_EQ(cpFrame->FrameConvert(eZFC_Converted, eZFCC_RGB32, cpRGB.Put()), S_OK);
        EXPECT_LE(WorstDifference(vecGreen, PtrOf(cpRGB.Get()), false), 2);
    }
}

// Fields of two colours stay apart in interlaced 4:2:0, and run into each other in progressive.
TEST(Picture, FieldsKeepTheirChroma)
{
    std::vector<uint8_t> vecBGRA;
    for (int n = 0; n < 8 * 16; ++n)
        for (int nByte : {n / 16 % 2 ? 200 : 60, 100, n / 16 % 2 ? 60 : 200, 255})
            vecBGRA.push_back(static_cast<uint8_t>(nByte));
    for (uint32_t fccType : {uint32_t{eZFCC_I420}, uint32_t{eZFCC_YV12}, uint32_t{eZFCC_NV12}, uint32_t{eZFCC_P010}})
        for (int eInterlace : {eZI_TopFirst, eZI_BottomFirst, eZI_Progressive})
        {
            const ZF_VID_PROPS vidIn = Props(fccType, 16, 8, eInterlace);
            const ZF_VID_PROPS vidOut = Props(eZFCC_RGB32, 16, -8);
            const GUARDED_PICTURE in(vidIn, 0, eZGuard_PageEnd), out(vidOut, 0, eZGuard_PageEnd);
            ASSERT_EQ(ZFrameWriter_Write(vidIn, in.vidPtr, vecBGRA.data(), 64), S_OK);
            ASSERT_EQ(ZConvert_Frame(vidIn, in.vidPtr, vidOut, out.vidPtr), S_OK);
            const int nWorst = WorstDifference(vecBGRA, out.vidPtr, false);
            if (eInterlace == eZI_Progressive)
                EXPECT_GT(nWorst, 40);
            else
                EXPECT_LE(nWorst, 2);
        }
}

TEST(Picture, AlphaIsTakenWhereThereIsOne)
{
    const uint8_t arrPixels[8] = {1, 2, 3, 0, 5, 6, 7, 77};
    constexpr uint32_t c_arrBGRA[] = {eZFCC_RGB32, eZFCC_ARGB32, eZFCC_ARGB64, eZFCC_RGBA32};
    for (const uint32_t fccIn : c_arrBGRA)
        for (const uint32_t fccOut : c_arrBGRA)
        {
            const ZF_VID_PROPS vidIn = Props(fccIn, 2, -1), vidOut = Props(fccOut, 2, -1);
            const GUARDED_PICTURE in(vidIn, 0, eZGuard_PageEnd), out(vidOut, 0, eZGuard_PageEnd);
            ASSERT_EQ(ZFrameWriter_Write(vidIn, in.vidPtr, arrPixels, 8), S_OK);
            ASSERT_EQ(ZConvert_Frame(vidIn, in.vidPtr, vidOut, out.vidPtr), S_OK);
            const bool bAlpha = fccIn != eZFCC_RGB32 && fccOut != eZFCC_RGB32;
            const uint8_t arrRight[8] = {1, 2, 3, static_cast<uint8_t>(bAlpha ? 0 : 255),
                                         5, 6, 7, static_cast<uint8_t>(bAlpha ? 77 : 255)};
            for (int n = 0; n < 8; ++n) // a level twice over is the word of 257 times the level
                for (int nByte = 0, nPlace = fccOut == eZFCC_RGBA32 && n % 4 != 3 ? n / 4 * 4 + 2 - n % 4 : n;
                     nByte < (fccOut == eZFCC_ARGB64 ? 2 : 1); ++nByte)
                    EXPECT_EQ(out.arrPlanes[0]->Row(0)[fccOut == eZFCC_ARGB64 ? 2 * n + nByte : nPlace], arrRight[n])
                        << FCC_Name(fccIn) << " to " << FCC_Name(fccOut) << " byte " << n;
            EXPECT_TRUE(out.Intact());
        }
}

TEST(Picture, WrongPairsAndRecordsAreRefused)
{
    const CLogCatcher log(eZLog_Error);
    const ZF_VID_PROPS vidRGB = Props(eZFCC_RGB32, 8, -4), vidUYVY = Props(eZFCC_UYVY, 8, 4);
    const GUARDED_PICTURE rgb(vidRGB, 0, eZGuard_Fence), uyvy(vidUYVY, 0, eZGuard_Fence);
    for (uint32_t fccOut : {uint32_t{eZFCC_UYVY}, uint32_t{eZFCC_RGB24}, uint32_t{eZFCC_RGB565}, uint32_t{0}})
        EXPECT_EQ(ZConvert_Frame(vidRGB, rgb.vidPtr, Props(fccOut, 8, -4), rgb.vidPtr), E_NOTIMPL) << fccOut;
    EXPECT_EQ(ZConvert_Frame(Props(eZFCC_IYU2, 8, 4), uyvy.vidPtr, vidRGB, rgb.vidPtr), E_NOTIMPL);
    EXPECT_EQ(ZFrameWriter_Write(Props(eZFCC_RGB565, 8, 4), uyvy.vidPtr, rgb.arrPlanes[0]->Row(0), 32), E_NOTIMPL);
    EXPECT_EQ(ZFrameWriter_Write(vidUYVY, uyvy.vidPtr, nullptr, 32), E_POINTER);

    for (const ZF_SIZE& szOther : {ZF_SIZE{6, 4}, ZF_SIZE{8, 3}, ZF_SIZE{8, 0}, ZF_SIZE{0, 4}})
        EXPECT_EQ(ZConvert_Frame(vidUYVY, uyvy.vidPtr, Props(eZFCC_RGB32, szOther.cx, szOther.cy), rgb.vidPtr),
                  E_INVALIDARG);
    for (const bool bTarget : {false, true})
        for (const bool bNowhere : {false, true})
        {
            ZF_VID_PTR vidIn = uyvy.vidPtr, vidOut = rgb.vidPtr;
            ZF_VID_PTR& vidWrong = bTarget ? vidOut : vidIn;
            if (bNowhere)
                vidWrong.lpVideoPlanes[0] = 0;
            else
                vidWrong.cbVideoRowBytes[0] = -15;
            EXPECT_EQ(ZConvert_Frame(vidUYVY, vidIn, vidRGB, vidOut), E_INVALIDARG);
            EXPECT_EQ(ZConvert_Frame(vidUYVY, vidIn, vidUYVY, vidOut), E_INVALIDARG);
        }
    EXPECT_EQ(log.Count("ZConvert_Frame"), 10u);
    EXPECT_TRUE(rgb.Intact() && uyvy.Intact());
}
