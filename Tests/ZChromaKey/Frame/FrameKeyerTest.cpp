#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "ZChromaKey/Keys/BlockMarks.h"
#include "ZChromaKey/Objects/TestKeyer.h"
#include "ZChromaKey/Frame/WorkFrame.h"
#include "ZChromaKey/Frame/ZFrameComparer.h"

// What the plug-in object makes of a frame.

namespace
{

using FrameKeyer = CKeyerTest;

/// The stored bytes of plane 0.
std::vector<uint8_t> BytesOf(IZFFrame* _pFrame)
{
    const ZF_VID_PTR vidPtr = PtrOf(_pFrame, eZFP_Stored);
    const auto* pBytes = Img_Pointer(vidPtr.lpVideoPlanes[0]);
    return {pBytes, pBytes + size_t{1} * vidPtr.cbVideoRowBytes[0] * vidPtr.szVideoPlanes[0].cy};
}

/// The test key with a colour cancel that turns what it reaches grey.
CHROMA_KEY_RAW CancelKey(int32_t _eType, int32_t _bColorCancel)
{
    CHROMA_KEY_RAW key = TestKey(_eType);
    key.bColorCancel = _bColorCancel;
    key.arrKeys[0].nCancelChroma = -128;
    key.arrKeys[0].nCancelAlpha = -120;
    return key;
}

TEST_F(FrameKeyer, KeysAndCleansEveryFormatAndLeavesTheInputAlone)
{
    const std::pair<uint32_t, bool>
        arrFormats[] = {{eZFCC_RGB24, true}, {eZFCC_RGB32, true}, {eZFCC_ARGB32, true}, {eZFCC_YUY2, true},
                        {eZFCC_UYVY, true},  {eZFCC_HDYC, true},  {eZFCC_YVYU, true},   {eZFCC_r210, false},
                        {eZFCC_v210, false}, {eZFCC_I420, false}, {eZFCC_NV12, false},  {eZFCC_RGBA32, true},
                        {eZFCC_P010, false}, {eZFCC_P210, false}};                  // its colours are cleaned
    const std::pair<int, bool> arrWays[] = {{48, false}, {-48, false}, {48, true}}; // height, "output.argb"
    for (const auto& [fccType, bCleaned] : arrFormats)
        for (const int32_t eType : {eCKT_RGB, eCKT_HLS, eCKT_YUV})
            for (const auto& [nHeight, bARGB] : arrWays)
            {
                SCOPED_TRACE(testing::Message() << std::hex << fccType << std::dec << " type " << eType << " height "
                                                << nHeight << " argb " << bARGB);
                Set(L"output.argb", bARGB ? L"true" : L"false");
                Set(L"keying.borders", nullptr);
                const auto cpFrame = TestFrame_Make(fccType, 96, nHeight);
                const auto vecBefore = BytesOf(cpFrame.Get());
                KeySet(CancelKey(eType, 0));
                const auto cpOff = Receive(cpFrame.Get());
                KeySet(CancelKey(eType, 1));
                const CLogCatcher log;
                const auto cpOn = Receive(cpFrame.Get());
                cpFrame->IdentityRenew();
                const auto cpTwice = Receive(cpFrame.Get());
                ASSERT_TRUE(cpOff && cpOn && cpTwice);
                const bool bClean = bCleaned || bARGB;
                ExpectKeyed(cpOff.Get(), false);
                ExpectKeyed(cpOn.Get(), bClean);
                const bool bFirst = eType == eCKT_RGB && nHeight == 48;
                EXPECT_EQ(log.Count("colour cancel leaves the colours of", eZLog_Info), !bClean && bFirst);
                EXPECT_EQ(PropsOf(cpOn.Get()).fccType, bARGB ? eZFCC_ARGB32 : fccType);
                EXPECT_EQ(BytesOf(cpOn.Get()), BytesOf(cpTwice.Get()));
                EXPECT_EQ(BytesOf(cpOff.Get()) == vecBefore, !bARGB && !FCC_HasAlpha(fccType));
                Set(L"keying.borders", L"8,4,8,4"); // a part shares the host's pixels
                EXPECT_EQ(PropsOf(Receive(cpFrame.Get()).Get()).nWidth, 80);
                EXPECT_EQ(BytesOf(cpFrame.Get()), vecBefore);
                EXPECT_FALSE(MaskOf(cpFrame.Get()));
            }
}

TEST_F(FrameKeyer, CutsHighDefinitionWithoutAnotherMatrix)
{
    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, 1280, 720);
    Set(L"keying.borders", L"160,80,160,80"); // by its size, what is left would be BT.601
    const auto fnTruth = [](int _nX, int _nY) { return TestFrame_IsGreen(_nX + 160, _nY + 80, 1280, 720) ? 0 : 255; };
    for (const int32_t eType : {eCKT_YUV, eCKT_RGB})
        for (const wchar_t* pwszARGB : {L"false", L"true"})
        {
            CHROMA_KEY_RAW key = TestKey(eType, eZYM_709);
            key.arrKeys[0].nDelta = 0xFF050505u; // narrower than the two matrices are apart
            KeySet(key);
            Set(L"output.argb", pwszARGB);
            const KEY_QUALITY quality = QualityOf(m_cpKeyer.Get(), cpFrame.Get(), fnTruth);
            EXPECT_EQ(quality.dblKeyed + quality.dblKept, 200) << "key type " << eType;
        }
}

TEST_F(FrameKeyer, LeavesTheSecondGenerationsOptionsAlone)
{
    const CLogCatcher log;
    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, 64, 32);
    Set(L"output.argb", L"true");
    Set(L"output.depth", L"16");
    for (int n = 0; n < 2; ++n)
    {
        cpFrame->IdentityRenew();
        EXPECT_EQ(PropsOf(Receive(cpFrame.Get()).Get()).fccType, eZFCC_ARGB32);
    }
    EXPECT_EQ(log.Count("CCoZChromaKey: \"output.depth\" is for the second generation", eZLog_Warning), 1u);
}

/// A test picture whose alpha grows from column to column, so that both a key and alpha make parts of it transparent.
CZPtr<CZFrame> AlphaFrame(uint32_t _fccType)
{
    auto cpFrame = TestFrame_Make(_fccType, 128, -32);
    const ZF_VID_PTR vidPtr = PtrOf(cpFrame.Get(), eZFP_Flip | eZFP_Write);
    const bool bWords = _fccType == eZFCC_ARGB64;
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 128; ++x)
        {
            uint8_t* const pAlpha = Img_RowOf(vidPtr, 0, y) + ptrdiff_t{bWords ? 8 : 4} * x + (bWords ? 6 : 3);
            pAlpha[0] = static_cast<uint8_t>(2 * x);
            pAlpha[bWords] = pAlpha[0];
        }
    return cpFrame;
}

TEST_F(FrameKeyer, MultipliesWithTheAlphaOfTheInputAndColoursByTheResult)
{
    CHROMA_KEY_RAW key = TestKey(eCKT_RGB);
    key.arrKeys[0].nAlpha = 100; // what is keyed stays half transparent
    KeySet(key);
    for (const uint32_t fccType : {eZFCC_ARGB32, eZFCC_ARGB64, eZFCC_RGBA32})
    {
        const auto cpFrame = AlphaFrame(fccType);
        const std::vector<uint8_t> vecBefore = PixelsOf(cpFrame.Get());
        Set(L"keying.alpha", nullptr);
        Set(L"output.premultiplied", nullptr);
        const auto cpReplaced = Receive(cpFrame.Get());
        Set(L"keying.alpha", L"multiply");
        const auto cpStraight = Receive(cpFrame.Get());
        Set(L"output.premultiplied", L"true");
        const std::vector<uint8_t> vecPremultiplied = PixelsOf(Receive(cpFrame.Get()).Get());
        const std::vector<uint8_t> vecReplaced = PixelsOf(cpReplaced.Get());
        const std::vector<uint8_t> vecStraight = PixelsOf(cpStraight.Get());
        int nWrong = 0;
        int nBetween = 0;
        for (size_t n = 0; n < vecBefore.size(); n += 4)
        {
            const int nKey = vecReplaced[n + 3];
            const int nAlpha = (nKey * vecBefore[n + 3] + 127) / 255;
            const auto nY = static_cast<int>(n / 4 / 128), nX = static_cast<int>(n / 4 % 128);
            nBetween += nKey > 0 && nKey < 255 && nAlpha > 0;
            nWrong += nKey != RowOf(MaskOf(cpReplaced.Get()).Get(), nY)[nX];
            nWrong += vecStraight[n + 3] != nAlpha || vecPremultiplied[n + 3] != nAlpha;
            nWrong += nAlpha != RowOf(MaskOf(cpStraight.Get()).Get(), nY)[nX];
            for (size_t i = n; i < n + 3; ++i)
            {
                const int nOff = vecPremultiplied[i] - (vecBefore[i] * nAlpha + 127) / 255;
                nWrong += vecStraight[i] != vecBefore[i] || std::abs(nOff) > (fccType == eZFCC_ARGB64); // rounded twice
            }
        }
        EXPECT_EQ(nWrong, 0) << std::hex << fccType;
        EXPECT_GT(nBetween, 100);
    }
}

TEST_F(FrameKeyer, LeavesAlphaThatTheGPUCannotKeepToTheCPU)
{
    const std::tuple<uint32_t, const wchar_t*, const wchar_t*, const wchar_t*, bool> arrWays[] = {
        {eZFCC_ARGB32, L"replace", L"false", L"false", true}, {eZFCC_ARGB32, L"multiply", L"false", L"false", false},
        {eZFCC_RGB32, L"multiply", L"true", L"false", true},  {eZFCC_ARGB32, L"replace", L"false", L"true", false},
        {eZFCC_UYVY, L"replace", L"true", L"true", false},    {eZFCC_UYVY, L"replace", L"false", L"true", true},
        {eZFCC_ARGB64, L"replace", L"false", L"false", false}};
    for (const auto& [fccType, pwszAlpha, pwszARGB, pwszPremultiplied, bTried] : arrWays)
    {
        const auto cpFrame = TestFrame_Make(fccType, 64, fccType == eZFCC_UYVY ? 32 : -32);
        Set(L"gpu_mode", L"-1");
        Set(L"keying.alpha", pwszAlpha);
        Set(L"output.argb", pwszARGB);
        Set(L"output.premultiplied", pwszPremultiplied);
        m_gpu.nFrames = 0;
        EXPECT_TRUE(MaskOf(Receive(cpFrame.Get()).Get()));
        EXPECT_EQ(m_gpu.nFrames, bTried) << std::hex << fccType << ' ' << ZText_FromWide(pwszAlpha);
    }
}

TEST_F(FrameKeyer, LeavesWhatTheEngineLeavesOutOpaque)
{
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, -32);
    ExpectKeyed(Receive(cpFrame.Get()).Get()); // its mask's memory comes again
    Set(L"process.threads", L"3");
    const auto cpMask = MaskOf(Receive(cpFrame.Get()).Get());
    ASSERT_TRUE(cpMask);
    EXPECT_EQ(RowOf(cpMask.Get(), 29)[0], 0);
    for (const int nRow : {30, 31}) // left over by three slices of ten rows
        EXPECT_EQ(RowOf(cpMask.Get(), nRow)[0], 255);
}

TEST_F(FrameKeyer, CutsBorders)
{
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 1918, -64);
    for (const auto& [pwszBorders, nWidth, nHeight] : {std::tuple{L"0,0,0,0", 1918, 64},
                                                       {L"1,2,3,4", 1910, 58},
                                                       {L"0,0,1,0", 1918, 64},
                                                       {L"0,0,9,0", 1912, 64},
                                                       {L"-5,-1,-9,-1", 1918, 64},
                                                       {L"1904,0,0,0", 14, 64}})
    {
        Set(L"keying.borders", pwszBorders);
        const auto cpRes = Receive(cpFrame.Get());
        for (const auto& cpPicture : {cpRes, MaskOf(cpRes.Get())})
        {
            ASSERT_TRUE(cpPicture);
            EXPECT_EQ(PropsOf(cpPicture.Get()).nWidth, nWidth) << pwszBorders;
            EXPECT_EQ(PropsOf(cpPicture.Get()).nHeight, -nHeight) << pwszBorders;
        }
    }
    for (const wchar_t* pwszBorders :
         {L"1920,0,0,0", L"960,0,960,0", L"0,32,0,32", L"0,2147483647,0,1", L"2147483647,0,2147483647,0"})
    {
        const CLogCatcher log(eZLog_Error);
        Set(L"keying.borders", pwszBorders);
        Receive(cpFrame.Get(), E_INVALIDARG);
        EXPECT_EQ(log.Count("\"keying.borders\""), 1u) << pwszBorders;
    }
}

TEST_F(FrameKeyer, PassesWhatItDoesNotKey)
{
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, 32);
    Set(L"gpu_mode", L"1"); // would fail every frame that went to the GPU
    Set(L"keying.borders", L"-1,-1,-1,-1");
    for (const int32_t eType : {int32_t{eCKT_Alpha}, int32_t{eCKT_None}, int32_t{eCKT_Auto}, 6, -1, 0x7FFFFFFF})
    {
        KeySet(TestKey(eType));
        EXPECT_EQ(Receive(cpFrame.Get()).Get(), cpFrame.Get()) << eType;
    }
    EXPECT_EQ(m_gpu.nFrames, 0);
    EXPECT_FALSE(MaskOf(cpFrame.Get()));
    Set(L"output.argb", L"true");
    const auto cpARGB = Receive(cpFrame.Get());
    EXPECT_EQ(PropsOf(cpARGB.Get()).fccType, eZFCC_ARGB32) << "frames are converted without keying, too";
    EXPECT_FALSE(MaskOf(cpARGB.Get()));
}

TEST_F(FrameKeyer, SaysWhatAFrameFails)
{
    // A method, the borders, what keying answers - S_OK: the frame is passed on - and says.
    const std::tuple<const char*, const wchar_t*, HRESULT, const char*> arrCases[] = {
        {"IZFFrame2", nullptr, S_OK, ") QI FAILED hr=0x80004002"},
        {"VideoPtrGet", nullptr, S_OK, ") ZF_VID_PTR=NULL hr=0x80004002"},
        {"VideoPropsGet", nullptr, E_NOINTERFACE, "the frame has no video properties, hr=80004002"},
        {"FrameCreate", nullptr, E_NOINTERFACE, "\"cpZFFrameMask\""},
        {"FrameClone", nullptr, E_NOINTERFACE, "the frame cannot be cloned, hr=80004002"},
        {"FrameRect", L"8,8,8,8", E_NOINTERFACE, "8,8,8,8 cannot be cut from a frame of 64x32, hr=80004002"},
    };
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, 32);
    for (const auto& [pszMethod, pwszBorders, hr, pszText] : arrCases)
    {
        const CLogCatcher log;
        const auto cpHook =
            CHookFrame::Make(cpFrame.Get(), [strFails = std::string(pszMethod)](const std::string& _strMethod) {
                return _strMethod == strFails ? E_NOINTERFACE : S_OK;
            });
        Set(L"keying.borders", pwszBorders);
        const auto cpRes = Receive(cpHook.Get(), hr);
        EXPECT_TRUE(FAILED(hr) || cpRes.Get() == cpHook.Get()) << pszMethod;
        EXPECT_EQ(log.Count(pszText), 1u) << pszMethod;
    }
}

TEST_F(FrameKeyer, SaysOnceWhatEveryFrameFails)
{
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, 32);
    const auto cpNoSecond = CHookFrame::Make(
        cpFrame.Get(), [](const std::string& _strMethod) { return _strMethod == "IZFFrame2" ? E_NOINTERFACE : S_OK; });
    for (const bool bBorders : {false, true})
    {
        const CLogCatcher log(eZLog_Warning);
        Set(L"keying.borders", bBorders ? L"0,16,0,16" : L"");
        for (int n = 0; n < 10; ++n)
        {
            cpFrame->IdentityRenew();
            CZPtr<IZFFrame> cpRes;
            IZFFrame* const pFrame = bBorders ? static_cast<IZFFrame*>(cpFrame.Get()) : cpNoSecond.Get();
            EXPECT_EQ(m_cpKeyer->OnMediaReceive(pFrame, cpRes.Put()), bBorders ? E_INVALIDARG : S_OK);
        }
        EXPECT_LE(log.Count(""), 2u);
        EXPECT_GE(log.Count(""), 1u);
        if (!bBorders)
            continue;
        Set(L"keying.borders", L"0,17,0,16"); // another cause
        Receive(cpFrame.Get(), E_INVALIDARG);
        EXPECT_EQ(log.Count("0,17,0,16 leave nothing"), 1u);
    }
}

TEST_F(FrameKeyer, WritesIntoACopyWhereAPartOfAFrameMayNotBeWritten)
{
    const auto cpPicture = TestFrame_Make(eZFCC_UYVY, 64, 32);
    const auto fnHook = [](const std::string&) { return S_OK; };
    const auto cpFrame = CHookFrame::Make(cpPicture.Get(), fnHook);
    CZPtr<IZFFrame> cpWhole; // shares its pixels with its parts, as some hosts' frames always do
    cpFrame->m_fnMade = [&](IZFFrame** _ppFrame) { cpWhole = CZPtr<IZFFrame>(*_ppFrame); };
    Set(L"output.argb", L"true");
    Set(L"keying.borders", L"8,4,8,4");
    const auto cpRes = Receive(cpFrame.Get());
    ASSERT_TRUE(cpWhole && cpRes);
    EXPECT_EQ(PropsOf(cpRes.Get()).nWidth, 48);
    EXPECT_EQ(RowOf(cpRes.Get(), 20)[3], 0) << "the alpha of the backdrop";
}

TEST_F(FrameKeyer, CutsAFrameOnceWhereTheGpuFails)
{
    int nCuts = 0;
    const auto cpFrame =
        CHookFrame::Make(TestFrame_Make(eZFCC_RGB32, 64, 32).Get(), [&](const std::string& _strMethod) {
            nCuts += _strMethod == "FrameRect";
            return S_OK;
        });
    Set(L"gpu_mode", L"-1");
    Set(L"keying.borders", L"8,4,8,4");
    EXPECT_TRUE(MaskOf(Receive(cpFrame.Get()).Get()));
    EXPECT_EQ(m_gpu.nFrames, 1);
    EXPECT_EQ(nCuts, 1);
}

TEST_F(FrameKeyer, StandsFramesThatAnswerNonsense)
{
    const CLogCatcher log;
    const auto cpHook = CHookFrame::Make(TestFrame_Make(eZFCC_RGB32, 64, -32).Get(), [](const std::string& _strMethod) {
        return _strMethod == "FrameConvert" ? S_FALSE : S_OK;
    }); // and no frame
    CZPtr<IZFFrame> cpMarked;
    EXPECT_EQ(BlockMarks_Draw(cpHook.Get(), {}, cpMarked.Put()), E_UNEXPECTED);

    ZF_VID_PROPS vidProps = PropsOf(cpHook.Get());
    vidProps.nHeight = INT32_MIN;
    cpHook->m_fnCreate = [](ZF_VID_PROPS* _pVidProps) { _pVidProps->nHeight = -32; };
    WORK_MASK mask;
    CFrameLog logFrames("CCoZTest");
    EXPECT_EQ(WorkFrame_MakeMask(&logFrames, cpHook.Get(), vidProps, &mask), E_UNEXPECTED)
        << "another size than asked for";
}

TEST_F(FrameKeyer, KeysARepeatedFrameOnce)
{
    const auto cpA = TestFrame_Make(eZFCC_RGB32, 64, 32);
    const auto cpB = TestFrame_Make(eZFCC_RGB32, 64, 32);
    CHROMA_KEY_RAW keyOther = TestKey(eCKT_RGB);
    keyOther.arrKeys[15].nReverseKey = 1; // not in use, but the whole structure counts
    const CLogCatcher log;
    CZPtr<IZFFrame> cpMaskLast;
    // Whether the frame's mask is the one of the call before, so that the frame was not keyed again.
    const auto IsRepeated = [&](IZFFrame* _pFrame) {
        auto cpMask = MaskOf(Receive(_pFrame).Get());
        EXPECT_TRUE(cpMask);
        const bool bRepeated = cpMask.Get() == cpMaskLast.Get();
        cpMaskLast = std::move(cpMask); // held, so that its address cannot come again
        return bRepeated;
    };
    EXPECT_FALSE(IsRepeated(cpA.Get()));
    EXPECT_TRUE(IsRepeated(cpA.Get()));
    CZPtr<IZFFrame> cpCloneOfA;
    ASSERT_EQ(cpA->FrameClone(eZFC_Cloned, cpCloneOfA.Put()), S_OK);
    EXPECT_TRUE(IsRepeated(cpCloneOfA.Get())) << "another object with the same pixels";
    EXPECT_EQ(log.Count(") SAME FRAME IN", eZLog_Verbose), 2u);
    cpA->IdentityRenew();
    EXPECT_FALSE(IsRepeated(cpA.Get())) << "new pixels in the same object";
    EXPECT_FALSE(IsRepeated(cpB.Get())) << "equal pixels, but another identity";
    KeySet(keyOther);
    EXPECT_FALSE(IsRepeated(cpB.Get())) << "the key set has changed";
    Set(L"process.threads", L"3");
    EXPECT_FALSE(IsRepeated(cpB.Get())) << "an option has changed";
    EXPECT_TRUE(IsRepeated(cpB.Get()));
    EXPECT_EQ(m_cpKeyer->OnMediaFlush(), S_OK);
    EXPECT_FALSE(IsRepeated(cpB.Get())) << "a new stream has begun";
    EXPECT_TRUE(IsRepeated(cpB.Get()));

    KeySet(TestKey(eCKT_None));
    EXPECT_EQ(Receive(cpA.Get()).Get(), cpA.Get());
    KeySet(keyOther);
    EXPECT_FALSE(IsRepeated(cpB.Get())) << "a frame has passed in between";

    bool bFail = false;
    const auto cpHook = CHookFrame::Make(cpB.Get(), [&](const std::string& _strMethod) {
        return bFail && _strMethod == "FrameCreate" ? E_OUTOFMEMORY : S_OK;
    });
    cpB->IdentityRenew();
    bFail = true;
    Receive(cpHook.Get(), E_OUTOFMEMORY);
    bFail = false;
    EXPECT_FALSE(IsRepeated(cpHook.Get())) << "keying it has failed in between";
    EXPECT_EQ(m_cpKeyer->Close(), S_OK);
    EXPECT_FALSE(IsRepeated(cpHook.Get()));
}

TEST(ZFrameComparer, LooksAtPropertiesAndFailures)
{
    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, 32, 16);
    HRESULT hrId = S_OK;
    const auto cpHook = CHookFrame::Make(
        cpFrame.Get(), [&](const std::string& _strMethod) { return _strMethod == "FrameIdGet" ? hrId : S_OK; });
    ZFrameComparer comparer;
    EXPECT_FALSE(comparer.IsSameFrame(cpHook.Get()));
    EXPECT_TRUE(comparer.IsSameFrame(cpHook.Get()));
    cpHook->m_fnProps = [](ZF_VID_PROPS* _pVidProps) { _pVidProps->eInterlace = eZI_TopFirst; };
    EXPECT_FALSE(comparer.IsSameFrame(cpHook.Get())) << "the same pixels, shown in another way";
    EXPECT_TRUE(comparer.IsSameFrame(cpHook.Get()));
    hrId = E_FAIL;
    EXPECT_FALSE(comparer.IsSameFrame(cpHook.Get()));
    hrId = S_OK;
    EXPECT_FALSE(comparer.IsSameFrame(cpHook.Get())) << "a frame without identity is no frame to compare with";

    const auto cpNoSecond = CHookFrame::Make(
        cpFrame.Get(), [](const std::string& _strMethod) { return _strMethod == "IZFFrame2" ? E_NOINTERFACE : S_OK; });
    const CLogCatcher log;
    EXPECT_FALSE(comparer.IsSameFrame(cpNoSecond.Get()));
    EXPECT_EQ(log.Count("\"qpZFrameNext\"", eZLog_Error), 1u);
}

TEST(ZFrameComparer, SeesTextsThatChangeWhatAFrameShows)
{
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 32, -16);
    ZFrameComparer comparer;
    comparer.IsSameFrame(cpFrame.Get());
    for (const wchar_t* pwszName : {L"crop", L"mirror", L"rotate"})
        for (const wchar_t* pwszValue : {L"1", L"2", static_cast<const wchar_t*>(nullptr)})
        {
            ASSERT_EQ(cpFrame->PropsSet(pwszName, pwszValue), S_OK);
            EXPECT_FALSE(comparer.IsSameFrame(cpFrame.Get())) << "set, changed, removed";
            EXPECT_TRUE(comparer.IsSameFrame(cpFrame.Get()));
        }
    ASSERT_EQ(cpFrame->PropsSet(L"title", L"x"), S_OK);
    EXPECT_TRUE(comparer.IsSameFrame(cpFrame.Get())) << "other texts do not count";
}

TEST(ZFrameComparer, AnswersAFailureOfTheLastOutput)
{
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 32, -16);
    const CHROMA_KEY_RAW key = TestKey(eCKT_RGB);
    const ENGINE_SETTINGS settings = EngineSettings_Of(key);
    std::vector<std::byte> vecSettingsLast(settings.spanRecord.begin(), settings.spanRecord.end());
    ZFrameComparer comparer;
    comparer.IsSameFrame(cpFrame.Get());
    const auto cpNoClone = CHookFrame::Make(
        cpFrame.Get(), [](const std::string& _strMethod) { return _strMethod == "FrameClone" ? E_FAIL : S_OK; });
    const CLogCatcher log;
    CZPtr<IZFFrame> cpRes;
    EXPECT_EQ(ZFrameComparer_Check(&comparer, cpFrame.Get(), cpRes.Put(), settings, &vecSettingsLast, cpNoClone.Get()),
              E_FAIL);
    EXPECT_EQ(log.Count("\"(((HRESULT)(hrClone)) >= 0)\""), 1u);
    EXPECT_EQ(ZFrameComparer_Check(&comparer, cpFrame.Get(), cpRes.Put(), {}, &vecSettingsLast, cpNoClone.Get()),
              E_INVALIDARG);
    EXPECT_EQ(log.Count("\"_pComparer && _pFrame && _ppFrameRes && _pKey && _pKeyLast\""), 1u);
}

} // namespace
