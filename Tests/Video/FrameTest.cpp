#include "FrameShorthand.h"

#include "Support/LogCatcher.h"

#include <functional>
#include <thread>
#include <utility>

TEST(Frame, ChecksPointersAndNullsItsOuts)
{
    const CLogCatcher log(eZLog_Error);
    const CZPtr<CZFrame> cpFrame = MakeFrame(Props(eZFCC_RGB32, 4, -4));
    EXPECT_EQ(cpFrame->VideoPropsGet(nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->VideoPtrGet(eZFP_Stored, nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->TimeCodeGet(nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->FrameIdGet(nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->QueryInterface(IID_IZFFrame, nullptr), E_POINTER);
    void* pvNone = &pvNone;
    EXPECT_EQ(cpFrame->QueryInterface(GUID{1, 2, 3, {}}, &pvNone), E_NOINTERFACE);
    EXPECT_EQ(pvNone, nullptr);
    EXPECT_EQ(ZFrame_Create(Props(eZFCC_RGB32, 4, -4), nullptr), E_POINTER);
    const std::pair<HRESULT, std::function<HRESULT(IZFFrame**)>> arrCalls[] = {
        {E_POINTER, [&](IZFFrame** _ppFrame) { return cpFrame->FrameCreate(nullptr, _ppFrame); }},
        {E_INVALIDARG,
         [&](IZFFrame** _ppFrame) { return cpFrame->FrameClone(eZFC_OwnPicture | eZFC_SharePicture, _ppFrame); }},
        {E_NOTIMPL, [&](IZFFrame** _ppFrame) { return cpFrame->FrameConvert(eZFC_Converted, eZFCC_UYVY, _ppFrame); }},
        {E_INVALIDARG, [&](IZFFrame** _ppFrame) { return cpFrame->FrameRect(2, 0, 2, 4, _ppFrame); }},
    };
    for (const auto& [hrExpected, fnCall] : arrCalls)
    {
        IZFFrame* pFrame = cpFrame.Get(); // what lies there before is nobody's reference
        EXPECT_EQ(fnCall(nullptr), E_POINTER);
        EXPECT_EQ(fnCall(&pFrame), hrExpected);
        EXPECT_EQ(pFrame, nullptr);
    }
}

TEST(Frame, CreateRefusesWrongRecords)
{
    const CLogCatcher log(eZLog_Error);
    const ZF_VID_PROPS arrWrong[] = {
        Props(eZFCC_RGB565, 8, 8),
        Props(0x12345678, 8, 8),
        Props(eZFCC_None, 8, 8),
        Props(eZFCC_RGB32, 0, 8),
        Props(eZFCC_RGB32, 8, 0),
        Props(eZFCC_RGB32, -8, 8),
        Props(eZFCC_UYVY, 1, 8),
        Props(eZFCC_I420, 8, 1),
        Props(eZFCC_RGB32, INT32_MAX, INT32_MIN),
        Props(eZFCC_RGB32, 1 << 25, 1 << 25),
        Record(eZFCC_I420, 8, 8, -16),
    };
    for (const ZF_VID_PROPS& vidProps : arrWrong)
    {
        CZFrame* pFrame = nullptr;
        EXPECT_EQ(ZFrame_Create(vidProps, &pFrame), E_INVALIDARG) << vidProps.nWidth << "x" << vidProps.nHeight;
        EXPECT_EQ(pFrame, nullptr);
    }
    EXPECT_EQ(log.Count("ZFrame_Create: a record of", eZLog_Error), std::size(arrWrong));
}

TEST(Frame, RowsMayRunUpwardsInMemory)
{
    const CZPtr<CZFrame> cpFrame = MakePicture(Record(eZFCC_RGB32, 8, -6, -48, eZI_Progressive));
    EXPECT_EQ(PixelsOf(cpFrame.Get()), PairedPicture(8, 6));
    EXPECT_EQ(Img_Address(Img_RowOf(PtrOf(cpFrame.Get()), 0, 5)) % 64, 0) << "the last one is where memory begins";
}

TEST(Frame, SharedPicturesAreProtected)
{
    const CZPtr<CZFrame> cpFrame = MakePicture(Props(eZFCC_RGB32, 8, -4));
    const uint64_t nIdentity = IdOf(cpFrame.Get());
    CZPtr<IZFFrame> cpShared;
    ASSERT_EQ(cpFrame->FrameClone(eZFC_Cloned, cpShared.Put()), S_OK);
    EXPECT_EQ(IdOf(cpShared.Get()), nIdentity);
    EXPECT_EQ(PtrOf(cpShared.Get()).lpVideoPlanes[0], PtrOf(cpFrame.Get()).lpVideoPlanes[0]);
    for (IZFFrame* pFrame : {static_cast<IZFFrame*>(cpFrame.Get()), cpShared.Get()})
    {
        ZF_VID_PTR vidPtr;
        std::memset(&vidPtr, 1, sizeof(vidPtr));
        EXPECT_EQ(pFrame->VideoPtrGet(eZFP_Write, &vidPtr), E_ACCESSDENIED);
        EXPECT_EQ(vidPtr.lpVideoPlanes[0], 0);
    }
    CZPtr<IZFFrame> cpOwn;
    ASSERT_EQ(cpFrame->FrameClone(eZFC_OwnPicture | eZFC_Identity, cpOwn.Put()), S_OK);
    EXPECT_NE(IdOf(cpOwn.Get()), nIdentity);
    EXPECT_EQ(PixelsOf(cpOwn.Get()), PixelsOf(cpFrame.Get()));
    ZF_VID_PTR vidPtr;
    EXPECT_EQ(cpOwn->VideoPtrGet(eZFP_Write, &vidPtr), S_OK);

    // alone again, the frame can be written, and is then another one
    cpShared.Reset();
    EXPECT_EQ(IdOf(cpFrame.Get()), nIdentity);
    EXPECT_EQ(cpFrame->VideoPtrGet(eZFP_Write, &vidPtr), S_OK);
    EXPECT_NE(IdOf(cpFrame.Get()), nIdentity);
}

TEST(Frame, ConvertMakesTopDownFramesThatTakeOverWhatIsAskedFor)
{
    for (uint32_t fccType : c_arrTestFormats)
        for (uint32_t fccTarget : {uint32_t{eZFCC_RGB32}, uint32_t{eZFCC_ARGB32}, fccType})
        {
            const CZPtr<CZFrame> cpFrame = MakePicture(Props(fccType, 14, 8, eZI_TopFirst));
            const CZPtr<CZFrame> cpMask = MakeFrame(Props(eZFCC_RGB8, 14, -8));
            cpFrame->TimeCodeSet({1, 2, 3, 4, 0});
            ASSERT_EQ(cpFrame->PropsSet(L"crop", L"1,2"), S_OK);
            ASSERT_EQ(cpFrame->AttachmentSet(L"mask", static_cast<IZFFrame*>(cpMask.Get())), S_OK);
            for (uint32_t nFlags : {eZFC_Converted, eZFC_Renewed, eZFC_OwnPicture})
            {
                SCOPED_TRACE(testing::Message() << fccType << " to " << fccTarget << " flags " << nFlags);
                CZPtr<IZFFrame> cpResult;
                ASSERT_EQ(cpFrame->FrameConvert(nFlags, fccTarget, cpResult.Put()), S_OK);
                EXPECT_EQ(PropsOf(cpResult.Get()).fccType, fccTarget);
                EXPECT_EQ(PropsOf(cpResult.Get()).nHeight, FCC_IsRGB(fccTarget) ? -8 : 8);
                EXPECT_EQ(PropsOf(cpResult.Get()).eInterlace, eZI_TopFirst);
                EXPECT_NE(IdOf(cpResult.Get()), IdOf(cpFrame.Get()));
                EXPECT_EQ(PtrOf(cpResult.Get()).lpVideoPlanes[0] % 64, 0) << "kernels like it aligned";
                if (nFlags != eZFC_Renewed)
                {
                    EXPECT_EQ(PixelsOf(cpResult.Get()), PixelsOf(cpFrame.Get()));
                }
                const bool bPixelsOnly = nFlags == eZFC_OwnPicture;
                EXPECT_EQ(TimeCodeOf(cpResult.Get()).nFrames, bPixelsOnly ? 0 : 4);
                EXPECT_EQ(TextOf(cpResult.Get(), L"crop"), bPixelsOnly ? L"(none)" : L"1,2");
                EXPECT_EQ(!AttachmentOf(cpResult.Get(), L"mask"), bPixelsOnly);
                PtrOf(cpResult.Get(), eZFP_Write);
            }
        }
}

TEST(Frame, InATextureHasNoPixels)
{
    const CLogCatcher log(eZLog_Error);
    ZF_VID_PROPS vidGiven = Props(eZFCC_RGB32, 36, 8, eZI_TopFirst);
    vidGiven.nGPUFlags = eZGPU_DX11Texture;
    const CZPtr<CZFrame> cpOwner = MakeFrame(Props(eZFCC_RGB32, 4, 4));
    CZPtr<IZFFrame> cpMade;
    ASSERT_EQ(cpOwner->FrameCreate(&vidGiven, cpMade.Put()), S_OK);
    const auto cpFrame = ZQuery<IZFFrame2>(cpMade);
    EXPECT_EQ(PropsOf(cpFrame.Get()).nGPUFlags, eZGPU_DX11Texture);
    for (uint32_t nFlags : {eZFP_Stored, eZFP_Flip, eZFP_Write})
    {
        ZF_VID_PTR vidPtr = {{1, 1, 1, 1}, {}, {}};
        EXPECT_EQ(cpFrame->VideoPtrGet(nFlags, &vidPtr), S_FALSE);
        EXPECT_EQ(vidPtr.lpVideoPlanes[0], 0);
    }

    const CZPtr<IUnknown> cpTexture = CZPtr<IUnknown>::Adopt(static_cast<IZFFrame2*>(MakeFrame(vidGiven).Detach()));
    const uint64_t nIdentityBare = IdOf(cpFrame.Get());
    ASSERT_EQ(cpFrame->AttachmentSet(c_wszFrameTexture, cpTexture.Get()), S_OK);
    const uint64_t nIdentity = IdOf(cpFrame.Get());
    EXPECT_NE(nIdentity, nIdentityBare);

    CZPtr<IZFFrame> cpOther;
    ASSERT_EQ(cpFrame->FrameClone(eZFC_Cloned, cpOther.Put()), S_OK);
    EXPECT_EQ(AttachmentOf(cpOther.Get(), c_wszFrameTexture).Get(), cpTexture.Get());
    EXPECT_EQ(IdOf(cpOther.Get()), nIdentity);
    ASSERT_EQ(cpFrame->FrameConvert(eZFC_Renewed, eZFCC_ARGB32, cpOther.Put()), S_OK);
    EXPECT_EQ(PropsOf(cpOther.Get()).fccType, eZFCC_ARGB32);
    EXPECT_EQ(PropsOf(cpOther.Get()).nGPUFlags, eZGPU_DX11Texture);
    EXPECT_NE(IdOf(cpOther.Get()), nIdentity);

    EXPECT_EQ(cpFrame->FrameClone(eZFC_Converted, cpOther.Put()), E_NOTIMPL);
    EXPECT_EQ(cpFrame->FrameConvert(eZFC_Converted, eZFCC_ARGB32, cpOther.Put()), E_NOTIMPL);
    EXPECT_EQ(cpFrame->FrameRect(0, 0, 2, 2, cpOther.Put()), E_NOTIMPL);
    EXPECT_EQ(log.Count("is not in system memory"), 3u);
}

TEST(Frame, PicturesComeBackToTheirPool)
{
    const CZPtr<CZFrame> cpFirst = MakeFrame(Props(eZFCC_RGB32, 64, -64));
    CZPtr<IZFFrame> cpSecond;
    const ZF_VID_PROPS vidProps = Props(eZFCC_RGB32, 64, -64);
    ASSERT_EQ(cpFirst->FrameCreate(&vidProps, cpSecond.Put()), S_OK);
    const int64_t nAddress = PtrOf(cpSecond.Get()).lpVideoPlanes[0];
    const uint64_t nIdentity = IdOf(cpSecond.Get());
    const CZPtr<CZFrame> cpMask = MakeFrame(Props(eZFCC_RGB8, 64, -64), cpFirst->Pool());
    ASSERT_EQ(cpSecond->AttachmentSet(L"mask", static_cast<IZFFrame*>(cpMask.Get())), S_OK);
    EXPECT_EQ(RefsOf(static_cast<IZFFrame*>(cpMask.Get())), 2u);

    cpSecond.Reset();
    EXPECT_EQ(RefsOf(static_cast<IZFFrame*>(cpMask.Get())), 1u);
    ASSERT_EQ(cpFirst->FrameCreate(&vidProps, cpSecond.Put()), S_OK);
    EXPECT_EQ(PtrOf(cpSecond.Get()).lpVideoPlanes[0], nAddress);
    EXPECT_NE(IdOf(cpSecond.Get()), nIdentity);
    EXPECT_FALSE(AttachmentOf(cpSecond.Get(), L"mask"));
}

TEST(Frame, ServesManyThreads)
{
    const CZPtr<CZFrame> cpFrame = MakePicture(Props(eZFCC_RGB32, 16, -4));
    const std::vector<uint8_t> vecPixels = PixelsOf(cpFrame.Get());
    const auto fnWork = [&](int _nThread) {
        for (int n = 0; n < 300; ++n)
        {
            CZPtr<IZFFrame> cpClone, cpMask;
            const ZF_VID_PROPS vidMask = Props(eZFCC_RGB8, 16 + _nThread, -4);
            ASSERT_EQ(cpFrame->FrameClone(n % 2 ? eZFC_Cloned : eZFC_Converted, cpClone.Put()), S_OK);
            ASSERT_EQ(cpFrame->FrameCreate(&vidMask, cpMask.Put()), S_OK);
            ASSERT_EQ(cpClone->AttachmentSet(L"mask", cpMask.Get()), S_OK);
            ASSERT_EQ(cpFrame->AttachmentSet(L"mask", cpMask.Get()), S_OK);
            ASSERT_EQ(cpFrame->PropsSet(L"crop", n % 3 ? L"1" : L""), S_OK);
            ASSERT_EQ(PixelsOf(cpClone.Get()), vecPixels);
        }
    };
    std::vector<std::thread> vecThreads;
    vecThreads.reserve(4);
    for (int n = 0; n < 4; ++n)
        vecThreads.emplace_back(fnWork, n);
    for (std::thread& thread : vecThreads)
        thread.join();
    EXPECT_EQ(RefsOf(static_cast<IZFFrame*>(cpFrame.Get())), 1u);
}
