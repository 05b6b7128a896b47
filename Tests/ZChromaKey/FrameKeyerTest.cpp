#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "ZChromaKey/BlockMarks.h"
#include "ZChromaKey/TestKeyer.h"
#include "ZChromaKey/WorkFrame.h"

#include <algorithm>

// What the plug-in object makes of a frame.

namespace
{

using FrameKeyer = CKeyerTest;

/// Holds a result against the test picture: its mask, its alpha where it is ARGB32, and its colours, of which the green
/// is grey where it was cleaned.
void ExpectKeyed(IZFFrame* _pFrameRes, bool _bClean = false)
{
    const auto cpMask = MaskOf(_pFrameRes);
    ASSERT_TRUE(cpMask);
    const ZF_VID_PROPS vidProps = PropsOf(_pFrameRes);
    const ZF_VID_PROPS vidMask = PropsOf(cpMask.Get());
    const int nRows = std::abs(vidProps.nHeight);
    EXPECT_EQ(vidMask.fccType, eZFCC_RGB8);
    EXPECT_EQ(vidMask.nWidth, vidProps.nWidth);
    EXPECT_EQ(vidMask.nHeight, -nRows);
    EXPECT_EQ(vidMask.nRowBytes % 8, 0);
    const std::vector<uint8_t> vecBGRA = PixelsOf(_pFrameRes);
    const uint8_t* pPixel = vecBGRA.data();
    int nWrong = 0;
    for (int nY = 0; nY < nRows; ++nY)
        for (int nX = 0; nX < vidProps.nWidth; ++nX, pPixel += 4)
        {
            const bool bGreen = TestFrame_IsGreen(nX, nY, vidProps.nWidth, nRows);
            const int nAlpha = bGreen ? 0 : 255;
            const auto [nMin, nMax] = std::minmax({pPixel[0], pPixel[1], pPixel[2]});
            nWrong += RowOf(cpMask.Get(), nY)[nX] != nAlpha;
            nWrong += vidProps.fccType == eZFCC_ARGB32 && pPixel[3] != nAlpha;
            nWrong += (nMax - nMin <= 4) != (bGreen && _bClean);
        }
    EXPECT_EQ(nWrong, 0);
}

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
    const std::pair<uint32_t, bool> arrFormats[] = {
        {eZFCC_RGB24, true}, {eZFCC_RGB32, true}, {eZFCC_ARGB32, true}, {eZFCC_YUY2, true},
        {eZFCC_UYVY, true},  {eZFCC_HDYC, true},  {eZFCC_YVYU, true},   {eZFCC_r210, false},
        {eZFCC_v210, false}, {eZFCC_I420, false}, {eZFCC_NV12, false}};             // its colours are cleaned
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
                EXPECT_EQ(BytesOf(cpOff.Get()) == vecBefore, !bARGB && fccType != eZFCC_ARGB32);
                Set(L"keying.borders", L"8,4,8,4"); // a part shares the host's pixels
                EXPECT_EQ(PropsOf(Receive(cpFrame.Get()).Get()).nWidth, 80);
                EXPECT_EQ(BytesOf(cpFrame.Get()), vecBefore);
                EXPECT_FALSE(MaskOf(cpFrame.Get()));
            }
}

TEST_F(FrameKeyer, CutsHighDefinitionWithoutAnotherMatrix)
{
    constexpr int c_nX = 160, c_nY = 80, c_nWidth = 960, c_nHeight = 560; // by its size, this would be BT.601
    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, 1280, 720);
    Set(L"keying.borders", L"160,80,160,80");
    for (const int32_t eType : {eCKT_YUV, eCKT_RGB})
        for (const wchar_t* pwszARGB : {L"false", L"true"})
        {
            CHROMA_KEY_RAW key = TestKey(eType, eZYM_709);
            key.arrKeys[0].nDelta = 0xFF050505u; // narrower than the two matrices are apart
            KeySet(key);
            Set(L"output.argb", pwszARGB);
            const auto cpMask = MaskOf(Receive(cpFrame.Get()).Get());
            ASSERT_EQ(PropsOf(cpMask.Get()).nWidth, c_nWidth);
            int nWrong = 0;
            for (int nRow = 0; nRow < c_nHeight; ++nRow)
            {
                const uint8_t* const pRow = RowOf(cpMask.Get(), nRow);
                for (int nX = 0; nX < c_nWidth; ++nX)
                    nWrong += (pRow[nX] == 0) != TestFrame_IsGreen(nX + c_nX, nRow + c_nY, 1280, 720);
            }
            EXPECT_EQ(nWrong, 0) << "key type " << eType;
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
    struct CASE
    {
        const wchar_t* pwszBorders;
        int nWidth;
        int nHeight; // 0: refused
    };
    const CASE arrCases[] = {{L"0,0,0,0", 1918, 64},
                             {L"1,2,3,4", 1910, 58},
                             {L"0,0,1,0", 1918, 64},
                             {L"0,0,9,0", 1912, 64},
                             {L"-5,-1,-9,-1", 1918, 64},
                             {L"1904,0,0,0", 14, 64},
                             {L"1920,0,0,0", 0, 0},
                             {L"960,0,960,0", 0, 0},
                             {L"0,32,0,32", 0, 0},
                             {L"0,2147483647,0,1", 0, 0},
                             {L"2147483647,0,2147483647,0", 0, 0}};
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 1918, -64);
    for (const CASE& row : arrCases)
    {
        SCOPED_TRACE(testing::Message() << row.pwszBorders);
        const CLogCatcher log(eZLog_Error);
        Set(L"keying.borders", row.pwszBorders);
        const auto cpRes = Receive(cpFrame.Get(), row.nHeight ? S_OK : E_INVALIDARG);
        EXPECT_EQ(log.Count("\"keying.borders\""), row.nHeight ? 0u : 1u);
        for (const auto& cpPicture : {cpRes, MaskOf(cpRes.Get())})
            if (row.nHeight)
            {
                ASSERT_TRUE(cpPicture);
                EXPECT_EQ(PropsOf(cpPicture.Get()).nWidth, row.nWidth);
                EXPECT_EQ(PropsOf(cpPicture.Get()).nHeight, -row.nHeight);
            }
    }
}

TEST_F(FrameKeyer, PassesWhatItDoesNotKey)
{
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, 32);
    Set(L"gpu_mode", L"1"); // would fail every frame that went to the GPU
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
    struct CASE
    {
        const char* pszMethod;
        const wchar_t* pwszBorders;
        HRESULT hr; // S_OK: the frame is passed on
        const char* pszText;
    };
    const CASE arrCases[] = {
        {"IZFFrame2", nullptr, S_OK, ") QI FAILED hr=0x80004002"},
        {"VideoPtrGet", nullptr, S_OK, ") ZF_VID_PTR=NULL hr=0x80004002"},
        {"VideoPropsGet", nullptr, E_NOINTERFACE, "the frame has no video properties, hr=80004002"},
        {"FrameCreate", nullptr, E_NOINTERFACE, "\"cpZFFrameMask\""},
        {"FrameClone", nullptr, E_NOINTERFACE, "the frame cannot be cloned, hr=80004002"},
        {"FrameRect", L"8,8,8,8", E_NOINTERFACE, "8,8,8,8 cannot be cut from a frame of 64x32, hr=80004002"},
    };
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, 32);
    for (const CASE& row : arrCases)
    {
        const CLogCatcher log;
        const auto cpHook = CHookFrame::Make(cpFrame.Get(), [&](const std::string& _strMethod) {
            return _strMethod == row.pszMethod ? E_NOINTERFACE : S_OK;
        });
        Set(L"keying.borders", row.pwszBorders);
        const auto cpRes = Receive(cpHook.Get(), row.hr);
        EXPECT_TRUE(FAILED(row.hr) || cpRes.Get() == cpHook.Get()) << row.pszMethod;
        EXPECT_EQ(log.Count(row.pszText), 1u) << row.pszMethod;
    }
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
    EXPECT_EQ(WorkFrame_MakeMask(cpHook.Get(), vidProps, &mask), E_UNEXPECTED) << "another size than asked for";
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
    EXPECT_TRUE(IsRepeated(cpA.Get()));
    EXPECT_EQ(log.Count(") SAME FRAME IN", eZLog_Verbose), 2u);
    EXPECT_FALSE(IsRepeated(cpB.Get()));
    KeySet(keyOther);
    EXPECT_FALSE(IsRepeated(cpB.Get())) << "the key set has changed";
    Set(L"process.threads", L"3");
    EXPECT_FALSE(IsRepeated(cpB.Get())) << "an option has changed";
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

TEST_F(FrameKeyer, UsesTheGpuAsTheModeSays)
{
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, 32);
    const auto cpNext = TestFrame_Make(eZFCC_RGB32, 64, 32);
    const auto cpGpuFrame = TestFrame_Make(eZFCC_ARGB32, 64, 32);
    const CLogCatcher log;
    ExpectKeyed(Receive(cpFrame.Get()).Get());
    EXPECT_EQ(m_gpu.nFrames, 0) << "mode 0";

    const char* const pszFailed = ") Failed to perform GPU chroma key! hr=80004005";
    Set(L"gpu_mode", nullptr);
    ExpectKeyed(Receive(cpFrame.Get()).Get());
    ExpectKeyed(Receive(cpNext.Get()).Get());
    EXPECT_EQ(m_gpu.nFrames, 2);
    EXPECT_EQ(log.Count(pszFailed, eZLog_Error), 1u) << "said aloud once";
    EXPECT_EQ(log.Count(pszFailed, eZLog_Verbose), 1u);
    ExpectKeyed(Receive(cpNext.Get()).Get());
    EXPECT_EQ(m_gpu.nFrames, 2) << "what the CPU made instead is remembered";

    Set(L"gpu_mode", L"1");
    Receive(cpFrame.Get(), E_FAIL);
    m_gpu.hr = S_OK; // and no frame
    Receive(cpFrame.Get(), E_UNEXPECTED);
    EXPECT_EQ(log.Count("Failed to perform GPU chroma key! hr=8000FFFF", eZLog_Error), 1u) << "another code";
    Set(L"gpu_mode", L"2");
    ExpectKeyed(Receive(cpFrame.Get()).Get());

    m_gpu.cpResult = CZPtr<IZFFrame>(cpGpuFrame.Get());
    EXPECT_EQ(Receive(cpNext.Get()).Get(), cpGpuFrame.Get());
    EXPECT_EQ(log.Count(") GPU Processed(0) OK", eZLog_Verbose), 1u);
    const int nFrames = m_gpu.nFrames;
    Receive(cpNext.Get());
    EXPECT_EQ(m_gpu.nFrames, nFrames) << "the GPU's output is remembered, too";
    EXPECT_FALSE(m_gpu.optionsLast.bOutputARGB || m_gpu.optionsLast.bFlushContext);
    Set(L"output.argb", L"true");
    Set(L"gpu_flush_context", L"true");
    Set(L"keying.borders", L"8,2,16,4");
    const uint64_t nChange = m_gpu.optionsLast.nChange;
    Receive(cpNext.Get());
    EXPECT_TRUE(m_gpu.optionsLast.bOutputARGB && m_gpu.optionsLast.bFlushContext);
    EXPECT_NE(m_gpu.optionsLast.nChange, nChange);
    EXPECT_EQ(m_gpu.vidPropsLast.nWidth, 40) << "the borders are cut off before";
    EXPECT_EQ(std::abs(m_gpu.vidPropsLast.nHeight), 26);
    const auto cpTexture = CHookFrame::Make(
        cpNext.Get(), [](const std::string& _strMethod) { return _strMethod == "VideoPtrGet" ? S_FALSE : S_OK; });
    Set(L"keying.borders", L"8,2,16,5");
    Receive(cpTexture.Get());
    EXPECT_EQ(m_gpu.vidPropsLast.nWidth, 64) << "a frame without a picture in system memory is keyed whole";
    EXPECT_EQ(m_cpKeyer->Close(), S_OK);
    EXPECT_EQ(m_gpu.nClosed, 1);
}

TEST_F(FrameKeyer, DrawsTheTimeIntoPictureAndMask)
{
    Set(L"debug.time_overlay", L"true");
    Set(L"gpu_mode", L"1");
    m_gpu.hr = S_OK;
    const std::pair<uint32_t, int> arrRows[] = {{eZFCC_RGB32, 160}, {eZFCC_ARGB32, -160}, {eZFCC_UYVY, 160},
                                                {eZFCC_YUY2, 160},  {eZFCC_NV12, 160},    {eZFCC_UYVY, 360}};
    for (const auto& [fccType, nHeight] : arrRows)
    {
        SCOPED_TRACE(FCC_Name(fccType));
        const auto cpShared = TestFrame_Make(fccType, 320, nHeight);
        ASSERT_EQ(cpShared->FrameClone(eZFC_Cloned, m_gpu.cpResult.Put()), S_OK); // its pixels may not be written
        cpShared->TimeCodeSet({1, 20, 33, 4, 0});
        const auto cpMask = TestFrame_Make(eZFCC_RGB8, 320, -std::abs(nHeight));
        ASSERT_EQ(m_gpu.cpResult->AttachmentSet(L"mask", ZQuery<IZFFrame>(cpMask).Get()), S_OK);
        const auto vecBefore = PixelsOf(cpShared.Get());
        const auto cpRes = Receive(TestFrame_Make(fccType, 320, nHeight).Get());
        ASSERT_TRUE(cpRes);
        const auto vecRes = PixelsOf(cpRes.Get());
        const size_t nScale = nHeight == 360 ? 2 : 1;
        // the zero that all time codes start with: its top row is white in three of five columns
        std::string strTop;
        for (size_t nX = 0; nX < 9 * nScale; nX += nScale)
            strTop += vecRes[4 * (2 * nScale * 320 + nX) + 1] > 200 ? 'X' : '.';
        EXPECT_EQ(strTop, "...XXX...");
        EXPECT_LT(vecRes[1], 20) << "the background";
        EXPECT_EQ(RowOf(MaskOf(cpRes.Get()).Get(), 0)[0], 255) << "the box is not transparent";
        const auto nBelow = static_cast<ptrdiff_t>(4 * 320 * 11 * nScale); // the rows below the box
        EXPECT_TRUE(std::equal(vecRes.begin() + nBelow, vecRes.end(), vecBefore.begin() + nBelow));
        EXPECT_EQ(PixelsOf(cpShared.Get()), vecBefore) << "shared pixels stay";
    }
}

} // namespace
