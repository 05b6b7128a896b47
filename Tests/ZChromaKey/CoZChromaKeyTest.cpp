#include "ZChromaKey/CoZChromaKey.h"

#include "Base/ZSystem.h"
#include "Image/ImgPlane.h"
#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"
#include "ZChromaKey/BlockMarks.h"
#include "ZChromaKey/WorkFrame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace
{

/// A GPU path that does what the test says.
class CFakeGPU final : public CGPUKeyer
{
public:
    struct SCRIPT
    {
        HRESULT hr = E_FAIL;
        CZPtr<IZFFrame> cpResult;
        int nFrames = 0;
        ZF_VID_PROPS vidPropsLast = {};
        GPU_KEY_OPTIONS optionsLast = {};
        int nClosed = 0;
    };

    explicit CFakeGPU(SCRIPT* _pScript)
        : m_pScript(_pScript)
    {
    }
    HRESULT ProcessFrame(IZFFrame* _pFrame, const CHROMA_KEY_RAW&, const GPU_KEY_OPTIONS& _options,
                         IZFFrame** _ppFrameRes) override
    {
        ++m_pScript->nFrames;
        m_pScript->optionsLast = _options;
        EXPECT_EQ(_pFrame->VideoPropsGet(&m_pScript->vidPropsLast), S_OK);
        *_ppFrameRes = CZPtr<IZFFrame>(m_pScript->cpResult).Detach();
        return m_pScript->hr;
    }
    void Close() override
    {
        ++m_pScript->nClosed;
    }

private:
    SCRIPT* m_pScript;
};

/// A plug-in object whose results come at once and from the CPU, unless the test sets other options.
class CoZChromaKey : public testing::Test
{
protected:
    CoZChromaKey()
        : m_cpKeyer(CZPtr<CCoZChromaKey>::Adopt(new CCoZChromaKey(std::make_unique<CFakeGPU>(&m_gpu))))
    {
        Set(L"output.thread", L"false");
        Set(L"gpu_mode", L"0");
        KeySet(TestKey(eCKT_RGB));
    }
    void TearDown() override
    {
        m_gpu.cpResult.Reset();
        m_cpKeyer.Reset();
        EXPECT_TRUE(ZModule_IsIdle());
    }

    void Set(const wchar_t* _pwszName, const wchar_t* _pwszValue)
    {
        EXPECT_EQ(m_cpKeyer->PropsSet(_pwszName, _pwszValue), S_OK);
    }
    void KeySet(const CHROMA_KEY_RAW& _key)
    {
        EXPECT_EQ(m_cpKeyer->KeyRawSet(&_key, nullptr), S_OK);
    }
    CZPtr<IZFFrame> Receive(IZFFrame* _pFrame, HRESULT _hrExpected = S_OK)
    {
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(m_cpKeyer->OnMediaReceive(_pFrame, cpRes.Put()), _hrExpected);
        EXPECT_EQ(static_cast<bool>(cpRes), _hrExpected == S_OK);
        return cpRes;
    }

    CFakeGPU::SCRIPT m_gpu;
    CZPtr<CCoZChromaKey> m_cpKeyer;
};

CZPtr<IZFFrame> MaskOf(IZFFrame* _pFrame)
{
    CZPtr<IUnknown> cpObject;
    if (!_pFrame || _pFrame->AttachmentGet(L"mask", cpObject.Put()) != S_OK)
        return {};
    return ZQuery<IZFFrame>(cpObject);
}

const uint8_t* RowOf(IZFFrame* _pFrame, int _nRow)
{
    ZF_VID_PTR vidPtr = {};
    EXPECT_EQ(_pFrame->VideoPtrGet(eZFP_Flip, &vidPtr), S_OK);
    return Img_RowOf(vidPtr, 0, _nRow);
}

ZF_VID_PROPS PropsOf(IZFFrame* _pFrame)
{
    ZF_VID_PROPS vidProps = {};
    EXPECT_EQ(_pFrame->VideoPropsGet(&vidProps), S_OK);
    return vidProps;
}

/// Holds the mask of a result against the test picture; alpha bytes too where the result is ARGB32.
void ExpectKeyed(IZFFrame* _pFrameRes)
{
    const auto cpMask = MaskOf(_pFrameRes);
    ASSERT_TRUE(cpMask);
    const ZF_VID_PROPS vidProps = PropsOf(_pFrameRes);
    const ZF_VID_PROPS vidPropsMask = PropsOf(cpMask.Get());
    const int nRows = std::abs(vidProps.nHeight);
    EXPECT_EQ(vidPropsMask.fccType, eZFCC_RGB8);
    EXPECT_EQ(vidPropsMask.nWidth, vidProps.nWidth);
    EXPECT_EQ(vidPropsMask.nHeight, -nRows);
    EXPECT_EQ(vidPropsMask.nRowBytes % 8, 0);
    int nWrong = 0;
    for (int nY = 0; nY < nRows; ++nY)
        for (int nX = 0; nX < vidProps.nWidth; ++nX)
        {
            const int nExpected = TestFrame_IsGreen(nX, nY, vidProps.nWidth, nRows) ? 0 : 255;
            nWrong += RowOf(cpMask.Get(), nY)[nX] != nExpected;
            if (vidProps.fccType == eZFCC_ARGB32)
                nWrong += RowOf(_pFrameRes, nY)[nX * 4 + 3] != nExpected;
        }
    EXPECT_EQ(nWrong, 0);
}

/// The stored bytes of plane 0.
std::vector<uint8_t> BytesOf(IZFFrame* _pFrame)
{
    ZF_VID_PTR vidPtr = {};
    EXPECT_EQ(_pFrame->VideoPtrGet(eZFP_Stored, &vidPtr), S_OK);
    const auto* pBytes = Img_Pointer(vidPtr.lpVideoPlanes[0]);
    return {pBytes, pBytes + size_t{1} * vidPtr.cbVideoRowBytes[0] * vidPtr.szVideoPlanes[0].cy};
}

TEST_F(CoZChromaKey, IsOneObjectWithAllItsInterfaces)
{
    CZPtr<IClassFactory> cpFactory;
    ASSERT_EQ(ZModule_GetClassObject(CLSID_ZChromaKey, IID_IClassFactory, cpFactory.PutVoid()), S_OK);
    CZPtr<IZChromaKey> cpKey;
    ASSERT_EQ(cpFactory->CreateInstance(nullptr, IID_IZChromaKey, cpKey.PutVoid()), S_OK);
    const auto cpIdentity = ZQuery<IUnknown>(cpKey);
    const GUID arrInterfaces[] = {IID_IUnknown, IID_IDispatch, IID_IZChromaKey, IID_IZFProcess,
                                  IID_IZProps,  IID_IZPlugin,  IID_IZFPersist};
    for (const GUID& iid : arrInterfaces)
        for (const GUID& iidNext : arrInterfaces)
        {
            CZPtr<IUnknown> cpOne;
            CZPtr<IUnknown> cpNext;
            ASSERT_EQ(cpKey->QueryInterface(iid, cpOne.PutVoid()), S_OK);
            ASSERT_EQ(cpOne->QueryInterface(iidNext, cpNext.PutVoid()), S_OK);
            EXPECT_EQ(ZQuery<IUnknown>(cpNext).Get(), cpIdentity.Get());
        }
    void* pvNone = this;
    EXPECT_EQ(cpKey->QueryInterface(IID_IZFFrame, &pvNone), E_NOINTERFACE);
    EXPECT_EQ(pvNone, nullptr);
    EXPECT_EQ(cpKey->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(cpFactory->CreateInstance(cpIdentity.Get(), IID_IUnknown, &pvNone), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(ZModule_GetClassObject(IID_IZFFrame, IID_IClassFactory, &pvNone), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(cpKey->AddRef(), 3u);
    EXPECT_EQ(cpKey->Release(), 2u);

    m_cpKeyer.Reset();
    EXPECT_FALSE(ZModule_IsIdle());
    cpKey.Reset();
    const_cast<CZPtr<IUnknown>&>(cpIdentity).Reset();
    EXPECT_FALSE(ZModule_IsIdle()) << "the factory still lives";
    cpFactory->LockServer(TRUE);
    cpFactory.Reset();
    EXPECT_FALSE(ZModule_IsIdle()) << "the module is locked";
    for (const HRESULT hrExpected : {S_OK, S_FALSE}) // the second time there is no lock left
    {
        ASSERT_EQ(ZModule_GetClassObject(CLSID_ZChromaKey, IID_IClassFactory, cpFactory.PutVoid()), S_OK);
        EXPECT_EQ(cpFactory->LockServer(FALSE), hrExpected);
        EXPECT_FALSE(ZModule_IsIdle()) << "the factory lives";
        cpFactory.Reset();
        EXPECT_TRUE(ZModule_IsIdle());
    }
}

TEST_F(CoZChromaKey, KeysEveryFormatAndTypeAndLeavesTheInputAlone)
{
    const uint32_t arrFormats[] = {eZFCC_RGB24, eZFCC_RGB32, eZFCC_ARGB32, eZFCC_YUY2, eZFCC_UYVY,
                                   eZFCC_HDYC,  eZFCC_v210,  eZFCC_I420,   eZFCC_NV12};
    for (const uint32_t fccType : arrFormats)
        for (const int32_t eType : {eCKT_RGB, eCKT_HLS, eCKT_YUV})
            for (const int nHeight : {48, -48}) // RGB bottom-up and top-down; the same for YUV
            {
                SCOPED_TRACE(testing::Message()
                             << std::hex << fccType << std::dec << " type " << eType << " " << nHeight);
                KeySet(TestKey(eType));
                const auto cpFrame = TestFrame_Make(fccType, 96, nHeight);
                ASSERT_TRUE(cpFrame);
                const auto vecBefore = BytesOf(cpFrame.Get());
                const auto cpRes = Receive(cpFrame.Get());
                ASSERT_TRUE(cpRes);
                ExpectKeyed(cpRes.Get());
                EXPECT_NE(cpRes.Get(), cpFrame.Get());
                EXPECT_EQ(PropsOf(cpRes.Get()).fccType, fccType);
                EXPECT_EQ(BytesOf(cpFrame.Get()), vecBefore);
                EXPECT_FALSE(MaskOf(cpFrame.Get()));
            }
}

TEST_F(CoZChromaKey, CutsHighDefinitionWithoutAnotherMatrix)
{
    constexpr int c_nX = 160, c_nY = 80, c_nWidth = 960, c_nHeight = 560; // by its size, this would be BT.601
    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, 1280, 720);
    for (const int32_t eType : {eCKT_YUV, eCKT_RGB})
    {
        CHROMA_KEY_RAW key = TestKey(eType, eZYM_709);
        key.arrKeys[0].nDelta = 0xFF050505u; // narrower than the two matrices are apart
        KeySet(key);
        Set(L"keying.borders", nullptr);
        const auto cpWhole = Receive(cpFrame.Get());
        ExpectKeyed(cpWhole.Get());
        Set(L"keying.borders", L"160,80,160,80");
        for (const wchar_t* pwszARGB : {L"false", L"true"})
        {
            Set(L"output.argb", pwszARGB);
            const auto cpCut = Receive(cpFrame.Get());
            ASSERT_EQ(PropsOf(cpCut.Get()).nWidth, c_nWidth);
            const auto cpMask = MaskOf(cpCut.Get());
            const auto cpMaskWhole = MaskOf(cpWhole.Get());
            int nWrong = 0;
            for (int nRow = 0; nRow < c_nHeight; ++nRow)
                nWrong +=
                    std::memcmp(RowOf(cpMask.Get(), nRow), RowOf(cpMaskWhole.Get(), nRow + c_nY) + c_nX, c_nWidth) != 0;
            EXPECT_EQ(nWrong, 0) << "key type " << eType << ", rows that differ from those of the whole picture";
        }
        Set(L"output.argb", L"false");
    }
}

TEST_F(CoZChromaKey, LeavesWhatTheEngineLeavesOutOpaque)
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

TEST_F(CoZChromaKey, MakesArgbFramesWithoutKeyingToo)
{
    Set(L"output.argb", L"true");
    KeySet(TestKey(eCKT_None));
    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, 64, 32);
    const auto cpRes = Receive(cpFrame.Get());
    EXPECT_EQ(PropsOf(cpRes.Get()).fccType, eZFCC_ARGB32);
    EXPECT_FALSE(MaskOf(cpRes.Get()));
}

TEST_F(CoZChromaKey, CutsBorders)
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
        if (!row.nHeight || !cpRes)
            continue;
        EXPECT_EQ(PropsOf(cpRes.Get()).nWidth, row.nWidth);
        EXPECT_EQ(std::abs(PropsOf(cpRes.Get()).nHeight), row.nHeight);
        ASSERT_TRUE(MaskOf(cpRes.Get()));
        EXPECT_EQ(PropsOf(MaskOf(cpRes.Get()).Get()).nWidth, row.nWidth);
        EXPECT_EQ(PropsOf(MaskOf(cpRes.Get()).Get()).nHeight, -row.nHeight);
    }
}

TEST_F(CoZChromaKey, PassesWhatItDoesNotKey)
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

    Set(L"gpu_mode", L"0");
    KeySet(TestKey(eCKT_RGB));
    const CLogCatcher log;
    std::string strFails = "IZFFrame2";
    const auto cpHook = CHookFrame::Make(
        cpFrame.Get(), [&](const std::string& _strMethod) { return _strMethod == strFails ? E_NOINTERFACE : S_OK; });
    EXPECT_EQ(Receive(cpHook.Get()).Get(), cpHook.Get());
    EXPECT_EQ(log.Count(") QI FAILED hr=0x80004002"), 1u);
    strFails = "VideoPtrGet";
    EXPECT_EQ(Receive(cpHook.Get()).Get(), cpHook.Get());
    EXPECT_EQ(log.Count(ZFormat("IZFFrame(0x%08X) ZF_VID_PTR=NULL hr=0x80004002",
                                static_cast<const void*>(static_cast<IZFFrame*>(cpHook.Get())))),
              1u);
    for (const char* pszFails : {"VideoPropsGet", "FrameCreate", "FrameClone"})
    {
        strFails = pszFails;
        Receive(cpHook.Get(), E_NOINTERFACE);
        EXPECT_GE(log.Count("", eZLog_Error), 1u) << pszFails;
    }
    EXPECT_EQ(log.Count("\"cpZFFrameMask\""), 1u);

    strFails = "FrameRect";
    Set(L"keying.borders", L"8,8,8,8");
    Receive(cpHook.Get(), E_NOINTERFACE);
    EXPECT_EQ(log.Count("8,8,8,8 cannot be cut from a frame of 64x32, hr=80004002"), 1u);

    CPropStore store;
    CFrameKeyer keyer(&store, GPUKeyer_Create());
    CZPtr<IZFFrame> cpRes;
    EXPECT_EQ(keyer.Process(nullptr, TestKey(eCKT_RGB), cpRes.Put()), E_POINTER);
    EXPECT_EQ(log.Count("IZFFrame=NULL (0x80004003)"), 1u);
}

TEST_F(CoZChromaKey, StandsFramesThatAnswerNonsense)
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

/// The test key with a colour cancel that turns what it reaches grey.
CHROMA_KEY_RAW CancelKey(int32_t _eType, int32_t _bColorCancel)
{
    CHROMA_KEY_RAW key = TestKey(_eType);
    key.bColorCancel = _bColorCancel;
    key.arrKeys[0].nCancelChroma = -128;
    key.arrKeys[0].nCancelAlpha = -120;
    return key;
}

/// Whether a result shows the test picture, its green as grey when that was cleaned. Read as ARGB32.
void ExpectColours(IZFFrame* _pFrameRes, bool _bClean)
{
    CZPtr<IZFFrame> cpARGB;
    ASSERT_EQ(ZQuery<IZFFrame2>(_pFrameRes)->FrameConvert(eZFC_Converted, eZFCC_ARGB32, cpARGB.Put()), S_OK);
    const ZF_VID_PROPS vidProps = PropsOf(cpARGB.Get());
    const int nRows = std::abs(vidProps.nHeight);
    int nWrong = 0;
    for (int nY = 0; nY < nRows; ++nY)
        for (int nX = 0; nX < vidProps.nWidth; ++nX)
        {
            const uint8_t* const pPixel = RowOf(cpARGB.Get(), nY) + 4 * nX;
            const bool bGreen = TestFrame_IsGreen(nX, nY, vidProps.nWidth, nRows);
            const int nMax = std::max({pPixel[0], pPixel[1], pPixel[2]});
            const int nMin = std::min({pPixel[0], pPixel[1], pPixel[2]});
            nWrong += (nMax - nMin <= 4) != (bGreen && _bClean);
        }
    EXPECT_EQ(nWrong, 0);
}

TEST_F(CoZChromaKey, CleansColoursOfItsOwnFrameAndKeysAsWithout)
{
    const uint32_t arrFormats[] = {eZFCC_RGB24, eZFCC_RGB32, eZFCC_ARGB32, eZFCC_YUY2, eZFCC_UYVY, eZFCC_HDYC,
                                   eZFCC_YVYU,  eZFCC_r210,  eZFCC_v210,   eZFCC_I420, eZFCC_NV12};
    for (const uint32_t fccType : arrFormats)
        for (const int32_t eType : {eCKT_RGB, eCKT_HLS, eCKT_YUV})
            for (const bool bARGB : {false, true})
            {
                SCOPED_TRACE(testing::Message()
                             << std::hex << fccType << std::dec << " type " << eType << " argb " << bARGB);
                Set(L"output.argb", bARGB ? L"true" : L"false");
                Set(L"keying.borders", nullptr);
                const auto cpFrame = TestFrame_Make(fccType, 96, 48);
                const auto vecBefore = BytesOf(cpFrame.Get());
                KeySet(CancelKey(eType, 0));
                const auto cpOff = Receive(cpFrame.Get());
                ExpectColours(cpOff.Get(), false);
                KeySet(CancelKey(eType, 1));
                const CLogCatcher log;
                const auto cpOn = Receive(cpFrame.Get());
                cpFrame->IdentityRenew();
                const auto cpTwice = Receive(cpFrame.Get());
                ASSERT_TRUE(cpOff && cpOn && cpTwice);
                const bool bKnown =
                    fccType != eZFCC_r210 && fccType != eZFCC_v210 && FCC_Lookup(fccType) && !FCC_IsPlanar(fccType);
                ExpectColours(cpOn.Get(), bKnown || bARGB);
                EXPECT_EQ(log.Count("colour cancel leaves the colours of", eZLog_Info),
                          bKnown || bARGB ? 0u : eType == eCKT_RGB);
                EXPECT_EQ(PropsOf(cpOn.Get()).fccType, bARGB ? eZFCC_ARGB32 : fccType);
                EXPECT_EQ(BytesOf(cpFrame.Get()), vecBefore);
                EXPECT_EQ(BytesOf(cpOn.Get()), BytesOf(cpTwice.Get()));
                EXPECT_EQ(BytesOf(MaskOf(cpOn.Get()).Get()), BytesOf(MaskOf(cpOff.Get()).Get()));
                if (!bARGB && fccType != eZFCC_ARGB32)
                {
                    EXPECT_EQ(BytesOf(cpOff.Get()), vecBefore);
                }
                Set(L"keying.borders", L"8,4,8,4"); // a part shares the host's pixels
                EXPECT_EQ(PropsOf(Receive(cpFrame.Get()).Get()).nWidth, 80);
                EXPECT_EQ(BytesOf(cpFrame.Get()), vecBefore);
            }
}

TEST_F(CoZChromaKey, KeysARepeatedFrameOnce)
{
    const auto cpA = TestFrame_Make(eZFCC_RGB32, 64, 32);
    const auto cpB = TestFrame_Make(eZFCC_RGB32, 64, 32);
    CHROMA_KEY_RAW keyOther = TestKey(eCKT_RGB);
    keyOther.nEdgesSmooth = 1;
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
    EXPECT_EQ(log.Count("CoZChromaKey::OnMediaReceiveI("), 2u);
    EXPECT_EQ(log.Count(") SAME FRAME IN", eZLog_Verbose), 2u);
    EXPECT_FALSE(IsRepeated(cpB.Get()));
    KeySet(keyOther);
    EXPECT_FALSE(IsRepeated(cpB.Get())) << "the key set has changed";
    EXPECT_FALSE(IsRepeated(cpA.Get())) << "another frame since";
    EXPECT_TRUE(IsRepeated(cpA.Get()));
    Set(L"process.threads", L"3");
    EXPECT_FALSE(IsRepeated(cpA.Get())) << "an option has changed";
    ASSERT_EQ(cpA->PropsSet(L"mirror", L"x"), S_OK);
    EXPECT_FALSE(IsRepeated(cpA.Get())) << "a text has changed";
    EXPECT_TRUE(IsRepeated(cpA.Get()));

    KeySet(TestKey(eCKT_None));
    EXPECT_EQ(Receive(cpB.Get()).Get(), cpB.Get());
    KeySet(keyOther);
    EXPECT_FALSE(IsRepeated(cpA.Get())) << "a frame has passed in between";
    cpA->IdentityRenew();
    EXPECT_FALSE(IsRepeated(cpA.Get())) << "new pixels in the same frame object";

    bool bFail = false;
    const auto cpHook = CHookFrame::Make(cpB.Get(), [&](const std::string& _strMethod) {
        return bFail && _strMethod == "FrameCreate" ? E_OUTOFMEMORY : S_OK;
    });
    EXPECT_FALSE(IsRepeated(cpHook.Get()));
    cpB->IdentityRenew();
    bFail = true;
    Receive(cpHook.Get(), E_OUTOFMEMORY);
    bFail = false;
    EXPECT_FALSE(IsRepeated(cpHook.Get())) << "keying it has failed in between";
    EXPECT_EQ(m_cpKeyer->Close(), S_OK);
    EXPECT_FALSE(IsRepeated(cpA.Get()));
}

TEST_F(CoZChromaKey, UsesTheGpuAsTheModeSays)
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

TEST_F(CoZChromaKey, DrawsTheTimeIntoPictureAndMask)
{
    Set(L"debug.time_overlay", L"true");
    Set(L"gpu_mode", L"1");
    m_gpu.hr = S_OK;
    const std::pair<uint32_t, int> arrRows[] = {{eZFCC_RGB32, 160}, {eZFCC_ARGB32, -160}, {eZFCC_UYVY, 160},
                                                {eZFCC_YUY2, 160},  {eZFCC_NV12, 160},    {eZFCC_UYVY, 360}};
    for (const auto& [fccType, nHeight] : arrRows)
    {
        const auto cpShared = TestFrame_Make(fccType, 320, nHeight);
        ASSERT_EQ(cpShared->FrameClone(eZFC_Cloned, m_gpu.cpResult.Put()), S_OK); // its pixels may not be written
        cpShared->TimeCodeSet({1, 20, 33, 4, 0});
        const auto cpMask = TestFrame_Make(eZFCC_RGB8, 320, -std::abs(nHeight));
        ASSERT_EQ(m_gpu.cpResult->AttachmentSet(L"mask", ZQuery<IZFFrame>(cpMask).Get()), S_OK);
        const auto cpBefore = TestFrame_Make(fccType, 320, nHeight);
        const auto cpRes = Receive(TestFrame_Make(fccType, 320, nHeight).Get());
        ASSERT_TRUE(cpRes);
        const int nScale = nHeight == 360 ? 2 : 1;
        const bool bRGB = FCC_IsRGB(fccType) || fccType == eZFCC_ARGB32;
        const int nBytes = bRGB ? 4 : fccType == eZFCC_NV12 ? 1 : 2;
        const int nLuma = fccType == eZFCC_UYVY ? 1 : 0;
        // the zero that all time codes start with: its top row is white in three of five columns
        std::string strTop;
        for (int nX = 0; nX < 9; ++nX)
            strTop += RowOf(cpRes.Get(), 2 * nScale)[nBytes * nX * nScale + nLuma] == (bRGB ? 255 : 235) ? 'X' : '.';
        EXPECT_EQ(strTop, "...XXX...") << fccType;
        EXPECT_EQ(RowOf(cpRes.Get(), 0)[nLuma], bRGB ? 0 : 16) << "the background";
        EXPECT_EQ(RowOf(MaskOf(cpRes.Get()).Get(), 0)[0], 255) << "the box is not transparent";
        const int nOutside = 11 * nScale; // the row below the box
        EXPECT_EQ(RowOf(cpRes.Get(), nOutside)[nLuma], RowOf(cpBefore.Get(), nOutside)[nLuma]);
        EXPECT_EQ(RowOf(cpShared.Get(), 0)[nLuma], RowOf(cpBefore.Get(), 0)[nLuma]) << "shared pixels stay";
    }
}

TEST_F(CoZChromaKey, RefusesWrongArgumentsAndOptions)
{
    const CLogCatcher log;
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, 32);
    EXPECT_EQ(m_cpKeyer->OnMediaReceive(cpFrame.Get(), nullptr), E_POINTER);
    EXPECT_EQ(log.Count("\"_ppFrameRes\""), 1u);
    Receive(nullptr, S_FALSE);
    EXPECT_EQ(m_cpKeyer->KeyRawSet(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_cpKeyer->KeyRawGet(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_cpKeyer->LogSet(log.Sink(), 5), E_INVALIDARG);
    EXPECT_EQ(log.Count("SIMD level"), 0u);
    EXPECT_EQ(m_cpKeyer->LogSet(log.Sink(), eZLog_Info), S_OK); // a new log starts with what runs here
    EXPECT_EQ(log.Count(ZSystem_Name() + ", " + ZSystem_Processor() + ", SIMD level ", eZLog_Info), 1u);
    EXPECT_EQ(log.Count(ZSystem_ModulePath(), eZLog_Info), 1u);
    EXPECT_EQ(log.Count("unknown"), 0u);

    const std::pair<const wchar_t*, const wchar_t*> arrWrong[] = {
        {L"output.thread", L"maybe"}, {L"gpu_mode", L"fast"},      {L"process.threads", L"1.5"},
        {L"output.argb", L"y e s"},   {L"keying.borders", L"1,2"}, {L"debug.time_overlay", L"2x"}};
    for (const auto& [pwszName, pwszValue] : arrWrong)
    {
        EXPECT_EQ(m_cpKeyer->PropsSet(pwszName, pwszValue), E_INVALIDARG) << pwszName;
        EXPECT_EQ(log.Count("\"" + ZText_FromWide(pwszName) + "\"", eZLog_Error), 1u);
    }
    Set(L"my.own", L"anything");
    EXPECT_EQ(m_cpKeyer->PropsSet(nullptr, L"1"), E_POINTER);
    BSTR bsValue = nullptr;
    EXPECT_EQ(m_cpKeyer->PropsGet(L"gpu_mode", &bsValue), S_OK);
    EXPECT_STREQ(bsValue, L"0") << "a refused value changes nothing";
    SysFreeString(bsValue);

    BSTR bsVersion = nullptr;
    bsValue = bsVersion = const_cast<BSTR>(L"stale");
    EXPECT_EQ(m_cpKeyer->PluginInfoGet(nullptr, &bsVersion), E_POINTER);
    EXPECT_EQ(m_cpKeyer->PluginInfoGet(&bsValue, nullptr), E_POINTER);
    EXPECT_TRUE(!bsValue && !bsVersion);
    ASSERT_EQ(m_cpKeyer->PluginInfoGet(&bsValue, &bsVersion), S_OK);
    EXPECT_STREQ(bsValue, L"ZChromaKey");
    EXPECT_GT(SysStringLen(bsVersion), 0u);
    SysFreeString(bsValue);
    SysFreeString(bsVersion);
}

TEST_F(CoZChromaKey, KeepsTheKeySetByteForByte)
{
    CHROMA_KEY_RAW key = TestKey(eCKT_HLS);
    key.nKeysUsed = 77;
    CK_ADJUST adjust = {};
    adjust.rangeAdjust.dblRangeB_S_V = 0.5;
    ASSERT_EQ(m_cpKeyer->KeyRawSet(&key, &adjust), S_OK);
    KeySet(key);
    CHROMA_KEY_RAW keyRead = {};
    CK_ADJUST adjustRead = {};
    EXPECT_EQ(m_cpKeyer->KeyRawGet(&keyRead, &adjustRead), S_OK);
    EXPECT_EQ(std::memcmp(&key, &keyRead, sizeof(key)), 0);
    EXPECT_EQ(adjustRead.rangeAdjust.dblRangeB_S_V, 0.5) << "a set without adjustments leaves them";
    EXPECT_EQ(m_cpKeyer->KeyReset(), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyRawGet(&keyRead, nullptr), S_OK);
    EXPECT_EQ(keyRead.nKeysUsed, 0);
    EXPECT_EQ(keyRead.nMaxTransparent, 255);
}

} // namespace
