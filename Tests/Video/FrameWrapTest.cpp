#include "FrameShorthand.h"

#include "Support/GuardedPlane.h"
#include "Support/LogCatcher.h"

#include <string>

TEST(FrameWrap, HoldsTheMemoryUntilTheLastFrameGoes)
{
    std::vector<uint8_t> vecMemory(64 * 4, 9);
    int nReleased = 0;
    CZPtr<CZFrame> cpFrame;
    ASSERT_EQ(ZFrame_Wrap(
                  Props(eZFCC_UYVY, 32, 4), vecMemory.data(), vecMemory.size(), [&] { ++nReleased; }, cpFrame.Put()),
              S_OK);
    ZF_VID_PTR vidPtr;
    EXPECT_EQ(cpFrame->VideoPtrGet(eZFP_Write, &vidPtr), E_ACCESSDENIED);
    EXPECT_EQ(PtrOf(cpFrame.Get()).lpVideoPlanes[0], Img_Address(vecMemory.data()));
    CZPtr<IZFFrame> cpClone, cpOwn;
    ASSERT_EQ(cpFrame->FrameClone(eZFC_Cloned, cpClone.Put()), S_OK);
    ASSERT_EQ(cpFrame->FrameConvert(eZFC_Converted, eZFCC_UYVY, cpOwn.Put()), S_OK);
    EXPECT_EQ(cpOwn->VideoPtrGet(eZFP_Write, &vidPtr), S_OK);
    cpFrame.Reset();
    EXPECT_EQ(nReleased, 0);
    cpClone.Reset();
    EXPECT_EQ(nReleased, 1);

    ASSERT_EQ(
        ZFrame_Wrap(Props(eZFCC_UYVY, 32, 4), vecMemory.data(), vecMemory.size(), {}, cpFrame.Put(), eZWrap_Write),
        S_OK);
    EXPECT_EQ(cpFrame->VideoPtrGet(eZFP_Write, &vidPtr), S_OK);
}

TEST(FrameWrap, RefusesABufferThatIsTooShort)
{
    for (uint32_t fccType : c_arrTestFormats)
    {
        SCOPED_TRACE(fccType);
        const CLogCatcher log(eZLog_Error);
        ZF_VID_PROPS vidProps = Props(fccType, 36, 6);
        VidProps_Normalize(&vidProps, false);
        const auto cbPicture = static_cast<size_t>(VidProps_ImageSize(&vidProps));
        std::vector<uint8_t> vecMemory(cbPicture);
        bool bReleased = false;
        CZPtr<CZFrame> cpFrame;
        EXPECT_EQ(ZFrame_Wrap(
                      vidProps, vecMemory.data(), cbPicture - 1, [&] { bReleased = true; }, cpFrame.Put()),
                  E_INVALIDARG);
        EXPECT_FALSE(cpFrame);
        EXPECT_FALSE(bReleased);
        EXPECT_EQ(log.Count(std::to_string(cbPicture) + " bytes, the buffer has " + std::to_string(cbPicture - 1)), 1u);
        ASSERT_EQ(ZFrame_Wrap(vidProps, vecMemory.data(), cbPicture, {}, cpFrame.Put()), S_OK);
        EXPECT_EQ(PixelsOf(cpFrame.Get()).size(), 36u * 6 * 4);
    }
}

TEST(FrameWrap, RefusesRecordsThatDescribeOtherMemory)
{
    const CLogCatcher log(eZLog_Error);
    std::vector<uint8_t> vecMemory(4096);
    const auto fnWrap = [&](uint32_t _fccType, int _nWidth, int _nHeight, int _nRowBytes) {
        CZPtr<CZFrame> cpFrame;
        return ZFrame_Wrap(Record(_fccType, _nWidth, _nHeight, _nRowBytes, eZI_Progressive), vecMemory.data(),
                           vecMemory.size(), {}, cpFrame.Put());
    };
    EXPECT_EQ(fnWrap(eZFCC_RGB24, 5, 4, 15), E_INVALIDARG); // rows closer than they are long
    EXPECT_EQ(fnWrap(eZFCC_I420, 8, 5, 8), E_INVALIDARG);   // where the chroma lies is anybody's guess
    EXPECT_EQ(fnWrap(eZFCC_NV12, 8, 4, -8), E_INVALIDARG);
    EXPECT_EQ(fnWrap(eZFCC_RGB555, 8, 4, 16), E_INVALIDARG);
    EXPECT_EQ(fnWrap(eZFCC_RGB24, 5, 4, 16), S_OK);
    ZF_VID_PROPS vidNamed = Props(eZFCC_I420, 2, 0); // the format gives the height
    vidNamed.eVideoFormat = eZVF_PAL;
    vidNamed.nRowBytes = -2;
    CZFrame* pFrame = nullptr;
    EXPECT_EQ(ZFrame_Wrap(vidNamed, vecMemory.data(), vecMemory.size(), {}, &pFrame), E_INVALIDARG);
    EXPECT_EQ(ZFrame_Wrap(Props(eZFCC_RGB32, 8, 4), nullptr, 4096, {}, &pFrame), E_POINTER);

    // rows of an odd width lie as far apart as its own row size says, not as that of the even width
    CZPtr<CZFrame> cpFrame;
    ASSERT_EQ(ZFrame_Wrap(Props(eZFCC_UYVY, 7, 4), vecMemory.data(), 64, {}, cpFrame.Put()), S_OK);
    EXPECT_EQ(PropsOf(cpFrame.Get()).nRowBytes, 16);
    EXPECT_EQ(PropsOf(cpFrame.Get()).nWidth, 6);
}

// The lowest address is given, whichever way the rows run.
TEST(FrameWrap, FindsTheFirstRow)
{
    const struct
    {
        int nHeight;
        int nRowBytes;
        bool bTopIsLowest;
    } arrCases[] = {{-4, 0, true}, {4, 0, false}, {4, -40, false}, {-4, -40, false}, {-4, 40, true}};
    for (const auto& test : arrCases)
    {
        SCOPED_TRACE(&test - arrCases);
        const int nStride = test.nRowBytes ? std::abs(test.nRowBytes) : 32;
        std::vector<uint8_t> vecMemory(static_cast<size_t>(nStride) * 4);
        for (size_t n = 0; n < vecMemory.size(); ++n)
            vecMemory[n] = static_cast<uint8_t>(n / static_cast<size_t>(nStride));
        const ZF_VID_PROPS vidProps = Record(eZFCC_RGB32, 8, test.nHeight, test.nRowBytes, eZI_Progressive);
        CZPtr<CZFrame> cpFrame;
        ASSERT_EQ(ZFrame_Wrap(vidProps, vecMemory.data(), vecMemory.size(), {}, cpFrame.Put()), S_OK);
        const std::vector<uint8_t> vecPixels = PixelsOf(cpFrame.Get());
        EXPECT_EQ(vecPixels.front(), test.bTopIsLowest ? 0 : 3);
        EXPECT_EQ(vecPixels[vecPixels.size() - 4], test.bTopIsLowest ? 3 : 0);
    }
}

TEST(FrameWrap, TakesPlanesFromAnywhere)
{
    const CZPtr<CZFrame> cpSource = MakePicture(Props(eZFCC_I420, 12, 8));
    const ZF_VID_PTR vidSource = PtrOf(cpSource.Get());
    CGuardedPlane arrPlanes[3] = {
        {12, 8, -20, eZGuard_PageStart}, {6, 4, 9, eZGuard_PageEnd}, {6, 4, -6, eZGuard_PageEnd}};
    ZF_VID_PTR vidPtr = {};
    for (int nPlane = 0; nPlane < 3; ++nPlane)
    {
        for (int nRow = 0; nRow < arrPlanes[nPlane].Rows(); ++nRow)
            std::memcpy(arrPlanes[nPlane].Row(nRow), Img_RowOf(vidSource, nPlane, nRow), arrPlanes[nPlane].RowBytes());
        vidPtr.lpVideoPlanes[nPlane] = Img_Address(arrPlanes[nPlane].Row(0));
        vidPtr.cbVideoRowBytes[nPlane] = static_cast<int32_t>(arrPlanes[nPlane].Stride());
    }
    CZPtr<CZFrame> cpFrame;
    ASSERT_EQ(ZFrame_WrapPlanes(Props(eZFCC_I420, 12, 8), vidPtr, {}, cpFrame.Put()), S_OK);
    EXPECT_EQ(PixelsOf(cpFrame.Get()), PixelsOf(cpSource.Get()));
    CZPtr<IZFFrame> cpOther, cpExpected;
    ASSERT_EQ(cpFrame->FrameClone(eZFC_OwnPicture, cpOther.Put()), S_OK);
    EXPECT_EQ(PixelsOf(cpOther.Get()), PixelsOf(cpSource.Get()));
    ASSERT_EQ(cpFrame->FrameRect(4, 2, 10, 8, cpOther.Put()), S_OK);
    ASSERT_EQ(cpSource->FrameRect(4, 2, 10, 8, cpExpected.Put()), S_OK);
    EXPECT_EQ(PixelsOf(cpOther.Get()), PixelsOf(cpExpected.Get()));

    const CLogCatcher log(eZLog_Error);
    CZFrame* pFrame = nullptr;
    for (int nPlane = 0; nPlane < 3; ++nPlane)
    {
        ZF_VID_PTR vidWrong = vidPtr;
        vidWrong.lpVideoPlanes[nPlane] = 0;
        EXPECT_EQ(ZFrame_WrapPlanes(Props(eZFCC_I420, 12, 8), vidWrong, {}, &pFrame), E_INVALIDARG);
        vidWrong = vidPtr;
        vidWrong.cbVideoRowBytes[nPlane] = 5;
        EXPECT_EQ(ZFrame_WrapPlanes(Props(eZFCC_I420, 12, 8), vidWrong, {}, &pFrame), E_INVALIDARG);
    }
    EXPECT_EQ(log.Count("ZFrame_WrapPlanes: plane"), 6u);
}
