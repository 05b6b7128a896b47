#include "FrameShorthand.h"

#include "Support/LogCatcher.h"

#include <thread>

TEST(Frame, AnswersForItsInterfaces)
{
    const CZPtr<CZFrame> cpFrame = MakeFrame(Props(eZFCC_RGB32, 4, -4));
    const CZPtr<IUnknown> cpUnknown = ZQuery<IUnknown>(static_cast<IZFFrame*>(cpFrame.Get()));
    ASSERT_TRUE(cpUnknown);
    for (const GUID& iid : {IID_IZFFrame, IID_IZFFrame2, IID_IZProps, IID_IZFrameLinks})
    {
        CZPtr<IUnknown> cpOther;
        ASSERT_EQ(cpUnknown->QueryInterface(iid, cpOther.PutVoid()), S_OK);
        EXPECT_EQ(ZQuery<IUnknown>(cpOther).Get(), cpUnknown.Get());
    }
    void* pvNone = &pvNone;
    EXPECT_EQ(cpFrame->QueryInterface(GUID{1, 2, 3, {}}, &pvNone), E_NOINTERFACE);
    EXPECT_EQ(pvNone, nullptr);
    EXPECT_EQ(cpFrame->QueryInterface(IID_IZFFrame, nullptr), E_POINTER);
    EXPECT_EQ(RefsOf(cpUnknown.Get()), 2u);
}

TEST(Frame, ChecksPointersAndNullsItsOuts)
{
    const CZPtr<CZFrame> cpFrame = MakeFrame(Props(eZFCC_RGB32, 4, -4));
    EXPECT_EQ(cpFrame->VideoPropsGet(nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->VideoPtrGet(eZFP_Stored, nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->TimeCodeGet(nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->FrameIdGet(nullptr), E_POINTER);
    const ZF_VID_PROPS vidProps = Props(eZFCC_RGB32, 4, -4);
    EXPECT_EQ(cpFrame->FrameCreate(&vidProps, nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->FrameClone(eZFC_Cloned, nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->FrameConvert(eZFC_Converted, eZFCC_ARGB32, nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->FrameRect(0, 0, 1, 1, nullptr), E_POINTER);
    EXPECT_EQ(ZFrame_Create(vidProps, nullptr), E_POINTER);

    const CLogCatcher log(eZLog_Error);
    IZFFrame* const pGarbage = cpFrame.Get();
    IZFFrame* pFrame = pGarbage;
    EXPECT_EQ(cpFrame->FrameCreate(nullptr, &pFrame), E_POINTER);
    EXPECT_EQ(pFrame, nullptr);
    pFrame = pGarbage;
    EXPECT_EQ(cpFrame->FrameClone(eZFC_OwnPicture | eZFC_SharePicture, &pFrame), E_INVALIDARG);
    EXPECT_EQ(pFrame, nullptr);
    pFrame = pGarbage;
    EXPECT_EQ(cpFrame->FrameConvert(eZFC_Converted, eZFCC_UYVY, &pFrame), E_NOTIMPL);
    EXPECT_EQ(pFrame, nullptr);
    pFrame = pGarbage;
    EXPECT_EQ(cpFrame->FrameRect(2, 0, 2, 4, &pFrame), E_INVALIDARG);
    EXPECT_EQ(pFrame, nullptr);
}

TEST(Frame, CreateCompletesTheRecordAndAligns)
{
    for (uint32_t fccType : c_arrFormats)
    {
        SCOPED_TRACE(fccType);
        const ZF_VID_PROPS vidGiven = Props(fccType, 35, 9, eZI_TopFirst);
        const CZPtr<CZFrame> cpFrame = MakeFrame(vidGiven);
        ZF_VID_PROPS vidExpected = vidGiven;
        VidProps_Normalize(&vidExpected, false);
        const ZF_VID_PROPS vidProps = PropsOf(cpFrame.Get());
        EXPECT_EQ(vidProps.nWidth, vidExpected.nWidth);
        EXPECT_EQ(vidProps.nHeight, vidExpected.nHeight);
        EXPECT_EQ(vidProps.nRowBytes, vidExpected.nRowBytes);
        EXPECT_EQ(vidProps.nGPUFlags, 0u);
        EXPECT_EQ(PtrOf(cpFrame.Get(), eZFP_Stored).lpVideoPlanes[0] % 64, 0);
        ZF_TIMECODE timeCode = {1, 2, 3, 4, 5};
        EXPECT_EQ(cpFrame->TimeCodeGet(&timeCode), S_OK);
        EXPECT_EQ(timeCode.nHours + timeCode.nSeconds, 0);
        std::memset(Img_RowOf(PtrOf(cpFrame.Get(), eZFP_Stored), 0, 0), 7,
                    static_cast<size_t>(VidProps_ImageSize(&vidProps)));
    }
}

TEST(Frame, CreateRefusesWrongRecords)
{
    const CLogCatcher log(eZLog_Error);
    ZF_VID_PROPS arrWrong[] = {
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
        Props(eZFCC_I420, 8, 8),
    };
    arrWrong[std::size(arrWrong) - 1].nRowBytes = -16;
    for (const ZF_VID_PROPS& vidProps : arrWrong)
    {
        CZFrame* pFrame = nullptr;
        EXPECT_EQ(ZFrame_Create(vidProps, &pFrame), E_INVALIDARG) << vidProps.nWidth << "x" << vidProps.nHeight;
        EXPECT_EQ(pFrame, nullptr);
    }
    EXPECT_EQ(log.Count("ZFrame_Create: a record of", eZLog_Error), std::size(arrWrong));
}

TEST(Frame, AddressesAPictureAsStoredAndFromItsTop)
{
    for (int nRowBytes : {0, 48, -48})
        for (int nHeight : {6, -6})
        {
            SCOPED_TRACE(testing::Message() << nRowBytes << " " << nHeight);
            ZF_VID_PROPS vidProps = Props(eZFCC_RGB32, 8, nHeight);
            vidProps.nRowBytes = nRowBytes;
            const CZPtr<CZFrame> cpFrame = MakeFrame(vidProps);
            const ZF_VID_PTR vidStored = PtrOf(cpFrame.Get(), eZFP_Stored);
            const ZF_VID_PTR vidFlipped = PtrOf(cpFrame.Get(), eZFP_Flip);
            const int nStride = nRowBytes ? nRowBytes : 32;
            EXPECT_EQ(vidStored.cbVideoRowBytes[0], nStride);
            const bool bTurned = nHeight > 0 && nRowBytes >= 0;
            EXPECT_EQ(vidFlipped.cbVideoRowBytes[0], bTurned ? -nStride : nStride);
            EXPECT_EQ(vidFlipped.lpVideoPlanes[0], vidStored.lpVideoPlanes[0] + (bTurned ? 5 * nStride : 0));
            for (int nRow = 0; nRow < 6; ++nRow) // every row is memory of the frame
                std::memset(Img_RowOf(vidStored, 0, nRow), 1, 32);
        }
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

TEST(Frame, ConvertMakesTopDownFramesThatTakeAllOver)
{
    for (uint32_t fccType : c_arrFormats)
        for (uint32_t fccTarget : {uint32_t{eZFCC_RGB32}, uint32_t{eZFCC_ARGB32}, fccType})
        {
            SCOPED_TRACE(testing::Message() << fccType << " to " << fccTarget);
            const CZPtr<CZFrame> cpFrame = MakePicture(Props(fccType, 14, 8));
            const CZPtr<CZFrame> cpMask = MakeFrame(Props(eZFCC_RGB8, 14, -8));
            cpFrame->TimeCodeSet({1, 2, 3, 4, 0});
            ASSERT_EQ(cpFrame->PropsSet(L"crop", L"1,2"), S_OK);
            ASSERT_EQ(cpFrame->AttachmentSet(L"mask", static_cast<IZFFrame*>(cpMask.Get())), S_OK);

            CZPtr<IZFFrame> cpResult;
            ASSERT_EQ(cpFrame->FrameConvert(eZFC_Converted, fccTarget, cpResult.Put()), S_OK);
            const ZF_VID_PROPS vidProps = PropsOf(cpResult.Get());
            EXPECT_EQ(vidProps.fccType, fccTarget);
            EXPECT_EQ(vidProps.nHeight, FCC_IsRGB(fccTarget) ? -8 : 8);
            EXPECT_EQ(PixelsOf(cpResult.Get()), PixelsOf(cpFrame.Get()));
            EXPECT_NE(IdOf(cpResult.Get()), IdOf(cpFrame.Get()));
            ZF_TIMECODE timeCode = {};
            EXPECT_EQ(cpResult->TimeCodeGet(&timeCode), S_OK);
            EXPECT_EQ(timeCode.nFrames, 4);
            CZPtr<IUnknown> cpAttached;
            EXPECT_EQ(cpResult->AttachmentGet(L"mask", cpAttached.Put()), S_OK);
            BSTR bsText = nullptr;
            EXPECT_EQ(ZQuery<IZProps>(cpResult)->PropsGet(L"crop", &bsText), S_OK);
            SysFreeString(bsText);
            ASSERT_EQ(cpFrame->FrameConvert(eZFC_OwnPicture, fccTarget, cpResult.Put()),
                      S_OK); // and nothing but pixels
            EXPECT_EQ(cpResult->AttachmentGet(L"mask", cpAttached.Put()), S_FALSE);
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

    const auto fnTextureOf = [](IZFFrame* _pFrame) {
        CZPtr<IUnknown> cpFound;
        EXPECT_GE(_pFrame->AttachmentGet(c_wszFrameTexture, cpFound.Put()), 0);
        return cpFound;
    };
    CZPtr<IZFFrame> cpOther;
    ASSERT_EQ(cpFrame->FrameClone(eZFC_Cloned, cpOther.Put()), S_OK);
    EXPECT_EQ(fnTextureOf(cpOther.Get()).Get(), cpTexture.Get());
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

TEST(Frame, RenewedTakesAllOverButPixels)
{
    const CZPtr<CZFrame> cpFrame = MakeFrame(Props(eZFCC_UYVY, 8, 4, eZI_TopFirst));
    cpFrame->TimeCodeSet({1, 2, 3, 4, 0});
    ASSERT_EQ(cpFrame->PropsSet(L"name", L"value"), S_OK);
    CZPtr<IZFFrame> cpNew;
    ASSERT_EQ(cpFrame->FrameConvert(eZFC_Renewed, eZFCC_ARGB32, cpNew.Put()), S_OK);
    ZF_TIMECODE timeCode = {};
    EXPECT_EQ(cpNew->TimeCodeGet(&timeCode), S_OK);
    EXPECT_EQ(timeCode.nFrames, 4);
    EXPECT_EQ(PropsOf(cpNew.Get()).nHeight, -4);
    EXPECT_EQ(PropsOf(cpNew.Get()).eInterlace, eZI_TopFirst);
    EXPECT_NE(IdOf(cpNew.Get()), IdOf(cpFrame.Get()));
    BSTR bsValue = nullptr;
    EXPECT_EQ(ZQuery<IZProps>(cpNew)->PropsGet(L"name", &bsValue), S_OK);
    SysFreeString(bsValue);
    ZF_VID_PTR vidPtr = {};
    EXPECT_EQ(cpNew->VideoPtrGet(eZFP_Write, &vidPtr), S_OK);
}

TEST(Frame, PicturesComeBackToTheirPool)
{
    CZPtr<CZFrame> cpFirst = MakeFrame(Props(eZFCC_RGB32, 64, -64));
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
    CZPtr<IUnknown> cpNone;
    EXPECT_EQ(cpSecond->AttachmentGet(L"mask", cpNone.Put()), S_FALSE);

    // a small picture does not take the memory of a large one, and a frame outlives the one it was made from
    cpSecond.Reset();
    const ZF_VID_PROPS vidSmall = Props(eZFCC_RGB8, 8, -8);
    ASSERT_EQ(cpFirst->FrameCreate(&vidSmall, cpSecond.Put()), S_OK);
    EXPECT_NE(PtrOf(cpSecond.Get()).lpVideoPlanes[0], nAddress);
    cpFirst.Reset();
    ASSERT_EQ(ZQuery<IZFFrame2>(cpSecond)->FrameCreate(&vidProps, cpSecond.Put()), S_OK);
    std::memset(Img_RowOf(PtrOf(cpSecond.Get()), 0, 0), 0, 64 * 64 * 4);
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
