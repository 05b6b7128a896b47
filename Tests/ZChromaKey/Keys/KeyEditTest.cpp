#include "Host/TempFolder.h"
#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "ZChromaKey/Keys/KeyAdjust.h"
#include "ZChromaKey/Objects/TestKeyer.h"

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{

struct STATE
{
    CHROMA_KEY_RAW key;
    CK_ADJUST adjust;

    bool operator==(const STATE& _other) const
    {
        return Same(&key, &_other.key, sizeof(key)) && Same(&adjust, &_other.adjust, sizeof(adjust));
    }
    static bool Same(const void* _pA, const void* _pB, size_t _cbSize)
    {
        return std::memcmp(_pA, _pB, _cbSize) == 0; // every bit of a double counts
    }
};

/// Two seconds go by with every edit, so that each is a step.
CKeyState::CLOCK SlowClock()
{
    return [time = std::chrono::steady_clock::time_point()]() mutable { return time += std::chrono::seconds(2); };
}

CZPtr<CCoZChromaKey> NewKeyer(CKeyState::CLOCK _fnClock = SlowClock())
{
    return CZPtr<CCoZChromaKey>::Adopt(new CCoZChromaKey(GPUKeyer_Create(), std::move(_fnClock)));
}

STATE StateOf(const CZPtr<CCoZChromaKey>& _cpKey)
{
    STATE state;
    EXPECT_EQ(_cpKey->KeyRawGet(&state.key, &state.adjust), S_OK);
    return state;
}

class CKeyEditTest : public testing::Test
{
protected:
    /// Sets the frame that keys come from, and takes one of its green.
    void Pick()
    {
        EXPECT_EQ(m_cpKey->KeyFrameSet(m_cpFrame.Get(), nullptr), S_OK);
        EXPECT_EQ(m_cpKey->KeyAddPoint(8, 40), S_OK);
    }
    STATE State() const
    {
        return StateOf(m_cpKey);
    }

    CZPtr<CCoZChromaKey> m_cpKey = NewKeyer();
    CZPtr<CZFrame> m_cpFrame = TestFrame_Make(eZFCC_UYVY, 64, 48);
};

TEST_F(CKeyEditTest, PicksComeFromTheFrameForKeyingElseFromTheLastInput)
{
    const CLogCatcher log(eZLog_Error);
    EXPECT_EQ(m_cpKey->KeyAddPoint(1, 40), E_UNEXPECTED) << "no frame yet";
    EXPECT_GT(log.Count("KeyFrameSet"), 0u);
    CZPtr<IZFFrame> cpResult;
    ASSERT_EQ(m_cpKey->OnMediaReceive(m_cpFrame.Get(), cpResult.Put()), S_FALSE);
    ASSERT_EQ(m_cpKey->KeyAddPoint(8, 40), S_OK);
    const STATE statePicked = State();
    EXPECT_EQ(statePicked.key.eType, eCKT_YUV);
    const int32_t nPicked = statePicked.key.nKeysUsed;
    EXPECT_GT(nPicked, 0);
    EXPECT_EQ(statePicked.key.nMaxTransparent, 255);

    const auto cpRed = TestFrame_Make(eZFCC_RGB32, 64, -48);
    ASSERT_EQ(m_cpKey->KeyFrameSet(cpRed.Get(), m_cpFrame.Get()), S_OK);
    CZPtr<IZFFrame> cpKeying;
    CZPtr<IZFFrame> cpBG;
    EXPECT_EQ(m_cpKey->KeyFrameGet(cpKeying.Put(), cpBG.Put()), S_OK);
    EXPECT_TRUE(cpKeying.Get() == cpRed.Get() && cpBG.Get() == m_cpFrame.Get());
    ASSERT_EQ(m_cpKey->KeyExcludePoint(60, 40), S_OK);
    EXPECT_EQ(State().key.nKeysUsed, nPicked + 1);
    EXPECT_EQ(State().key.arrKeys[nPicked].nReverseKey, 1);
    EXPECT_EQ(State().key.arrKeys[0].nValue, statePicked.key.arrKeys[0].nValue);

    for (const auto& [nX, nY] : {std::pair{-1, 0}, {64, 0}, {0, 48}, {0, INT32_MIN}})
        EXPECT_EQ(m_cpKey->KeyAddPoint(nX, nY), E_INVALIDARG);
    EXPECT_EQ(log.Count("outside the frame of 64 x 48"), 4u);
    EXPECT_EQ(State().key.nKeysUsed, nPicked + 1) << "a refused edit changes nothing";
    EXPECT_EQ(m_cpKey->KeyStepBack(1), S_OK);
    EXPECT_EQ(State(), statePicked) << "and is no step";
}

TEST_F(CKeyEditTest, AdjustmentsGoThereAndBackWithoutATrace)
{
    Pick();
    ASSERT_EQ(m_cpKey->KeyExcludePoint(60, 40), S_OK);
    const STATE stateBefore = State();
    for (const CK_ADJUST_INFO& info : KeyAdjust_Table())
    {
        double dblRest = -1;
        ASSERT_EQ(m_cpKey->KeyAdjustGet(info.eAdjust, &dblRest), S_OK);
        const double dblOther = info.eAdjust == eCKA_KeyType ? 3.0 : info.dblMax == 0 ? info.dblMin : info.dblMax;
        EXPECT_EQ(m_cpKey->KeyAdjustSet(info.eAdjust, dblOther), S_OK) << info.pszName;
        EXPECT_FALSE(State() == stateBefore) << info.pszName;
        EXPECT_EQ(m_cpKey->KeyAdjustSet(info.eAdjust, dblOther), S_FALSE) << "nothing changes, so no step";
        EXPECT_EQ(m_cpKey->KeyAdjustSet(info.eAdjust, dblRest), S_OK);
        EXPECT_EQ(State(), stateBefore) << info.pszName;
        for (const double dblBad :
             {info.dblMin - 1, info.dblMax + 1, std::nan(""), std::numeric_limits<double>::infinity()})
            EXPECT_EQ(m_cpKey->KeyAdjustSet(info.eAdjust, dblBad), E_INVALIDARG) << info.pszName << " " << dblBad;
    }
    EXPECT_EQ(m_cpKey->KeyAdjustSet(eCKA_KeyType, 2.5), E_INVALIDARG);
    EXPECT_EQ(m_cpKey->KeyAdjustSet(static_cast<eCK_Adjust>(17), 0), E_INVALIDARG);
    double dblValue = 7;
    EXPECT_EQ(m_cpKey->KeyAdjustGet(static_cast<eCK_Adjust>(-1), &dblValue), E_INVALIDARG);
    EXPECT_EQ(m_cpKey->KeyAdjustGet(eCKA_Power, nullptr), E_POINTER);
}

TEST_F(CKeyEditTest, SwitchingKeyingOffKeepsTheKeysForTheNextPick)
{
    Pick();
    const int32_t nPicked = State().key.nKeysUsed;
    ASSERT_EQ(m_cpKey->KeyAdjustSet(eCKA_KeyType, eCKT_None), S_OK);
    EXPECT_EQ(State().key.eType, eCKT_None);
    ASSERT_EQ(m_cpKey->KeyExcludePoint(60, 40), S_OK);
    EXPECT_EQ(State().key.eType, eCKT_YUV);
    EXPECT_EQ(State().key.nKeysUsed, nPicked + 1);
}

TEST_F(CKeyEditTest, FramesAreKeyedWithTheStepInForce)
{
    Pick();
    ASSERT_EQ(m_cpKey->PropsSet(L"output.thread", L"false"), S_OK);
    for (const bool bKeyed : {false, true})
    {
        ASSERT_EQ(bKeyed ? m_cpKey->KeyStepFwd(1) : m_cpKey->KeyStepBack(1), S_OK);
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(m_cpKey->OnMediaReceive(m_cpFrame.Get(), cpRes.Put()), S_OK);
        EXPECT_EQ(static_cast<bool>(MaskOf(cpRes.Get())), bKeyed);
    }
}

TEST_F(CKeyEditTest, KeysSetBeforeThereIsAFrameAreConvertedForTheFrameThatComes)
{
    const auto cpFrameHD = TestFrame_Make(eZFCC_UYVY, 1280, 720); // BT.709
    const CHROMA_KEY_RAW key = TestKey(eCKT_YUV, eZYM_709);
    ASSERT_EQ(m_cpKey->KeyRawSet(&key, nullptr), S_OK);
    ASSERT_EQ(m_cpKey->KeyFrameSet(cpFrameHD.Get(), nullptr), S_OK);
    ASSERT_EQ(m_cpKey->KeyAdjustSet(eCKA_KeyType, eCKT_RGB), S_OK);
    const uint32_t nValue = State().key.arrKeys[0].nValue;
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(nValue >> (8 * i) & 0xFF, TestKey(eCKT_RGB).arrKeys[0].nValue >> (8 * i) & 0xFF, 2) << i;
}

TEST_F(CKeyEditTest, AFullSetMakesRoomForExclusionKeysAndNoHalfWidthWraps)
{
    CHROMA_KEY_RAW key = TestKey(eCKT_YUV);
    key.nKeysUsed = 16;
    for (uint32_t i = 0; i < 16; ++i)
        key.arrKeys[i] = {0xFF000000u | i * 0x0F0F0F, 0x01F0F0F0, 0, 0, 0, 0, 0, 0, 0, 0};
    ASSERT_EQ(m_cpKey->KeyRawSet(&key, nullptr), S_OK);
    ASSERT_EQ(m_cpKey->KeyFrameSet(m_cpFrame.Get(), nullptr), S_OK);
    ASSERT_EQ(m_cpKey->KeyExcludePoint(60, 40), S_OK);
    ASSERT_EQ(State().key.nKeysUsed, 16);
    EXPECT_EQ(State().key.arrKeys[15].nReverseKey, 1);
    for (int i = 0; i < 15; ++i)
        EXPECT_GE(State().key.arrKeys[i].nDelta & 0xFFFFFF, 0xF0F0F0u) << "grown, not wrapped: " << i;
}

TEST_F(CKeyEditTest, AnOwnerMayCallBackWhileItsFrameIsLetGo)
{
    bool bCalled = false;
    CZPtr<CZFrame> cpWrapped;
    const auto fnEnd = [&] {
        CZPtr<IZFFrame> cpKeying;
        CZPtr<IZFFrame> cpBG;
        m_cpKey->KeyFrameGet(cpKeying.Put(), cpBG.Put());
        bCalled = true;
    };
    ASSERT_EQ(ZFrame_WrapPlanes(PropsOf(m_cpFrame.Get()), PtrOf(m_cpFrame.Get(), eZFP_Stored), fnEnd, cpWrapped.Put()),
              S_OK);
    ASSERT_EQ(m_cpKey->KeyFrameSet(cpWrapped.Get(), nullptr), S_OK);
    cpWrapped.Reset();
    ASSERT_EQ(m_cpKey->KeyFrameSet(nullptr, nullptr), S_OK);
    EXPECT_TRUE(bCalled);
}

TEST_F(CKeyEditTest, RandomEditsAreSteppedBackAndForthThrough)
{
    std::mt19937 rng(11);
    const auto Random = [&rng](int _nBound) { return static_cast<int>(rng() % static_cast<unsigned>(_nBound)); };
    ASSERT_EQ(m_cpKey->KeyFrameSet(m_cpFrame.Get(), nullptr), S_OK);
    std::vector<STATE> vecStates = {State()}; // from the first one on; the history keeps 256 steps
    size_t nInForce = 0;
    size_t nOldest = 0;
    for (int i = 0; i < 3000; ++i)
    {
        const int nX = Random(64), nY = Random(48), nSteps = Random(4);
        const auto eAdjust = static_cast<eCK_Adjust>(Random(17));
        const size_t nBack = std::min(static_cast<size_t>(nSteps), nInForce - nOldest);
        const size_t nForward = std::min(static_cast<size_t>(nSteps), vecStates.size() - 1 - nInForce);
        switch (Random(8))
        {
        case 0:
            EXPECT_EQ(m_cpKey->KeyStepBack(nSteps), nBack ? S_OK : S_FALSE);
            nInForce -= nBack;
            ASSERT_EQ(State(), vecStates[nInForce]) << i;
            break;
        case 1:
            EXPECT_EQ(m_cpKey->KeyStepFwd(nSteps), nForward ? S_OK : S_FALSE);
            nInForce += nForward;
            ASSERT_EQ(State(), vecStates[nInForce]) << i;
            break;
        case 2:
            m_cpKey->KeyAddPoint(nX, nY);
            break;
        case 3:
            m_cpKey->KeyExcludePoint(nX, nY);
            break;
        case 4:
            m_cpKey->KeyAddRect(nX, nY, Random(64), Random(48));
            break;
        case 5:
            m_cpKey->KeyReset();
            break;
        default:
            m_cpKey->KeyAdjustSet(eAdjust, eAdjust == eCKA_KeyType          ? nX % 5
                                           : eAdjust == eCKA_MaxTransparent ? -nX
                                                                            : nX);
        }
        if (State() == vecStates[nInForce])
            continue; // what changes nothing is no step
        vecStates.resize(nInForce + 1);
        vecStates.push_back(State());
        ++nInForce;
        nOldest = std::max(nOldest, nInForce > 256 ? nInForce - 256 : 0);
    }
    ASSERT_GT(nOldest, 20u) << "too few edits to say anything";
    EXPECT_EQ(m_cpKey->KeyStepBack(-1), E_INVALIDARG);
    EXPECT_EQ(m_cpKey->KeyStepFwd(INT32_MIN), E_INVALIDARG);
    EXPECT_EQ(m_cpKey->KeyStepBack(INT32_MAX), S_OK);
    EXPECT_EQ(m_cpKey->KeyStepBack(1), S_FALSE);
    EXPECT_EQ(State(), vecStates[nOldest]);
}

TEST_F(CKeyEditTest, ASliderThatIsDraggedAndAGroupAreOneStepEach)
{
    std::chrono::steady_clock::time_point timeNow;
    m_cpKey = NewKeyer([&] { return timeNow; });
    Pick();
    const STATE statePicked = State();
    const auto fnDrag = [&](int _nFrom, int _nTo, std::chrono::milliseconds _time) {
        for (int n = _nFrom; n <= _nTo; ++n, timeNow += _time)
            EXPECT_EQ(m_cpKey->KeyAdjustSet(eCKA_Power, n % 100), S_OK);
    };
    int32_t nSteps = 0;
    fnDrag(1, 350, std::chrono::milliseconds(999)); // more ticks than there are steps
    EXPECT_EQ(m_cpKey->StepsBack(&nSteps), S_OK);
    EXPECT_EQ(nSteps, 2);
    fnDrag(51, 53, std::chrono::milliseconds(1001));
    EXPECT_EQ(m_cpKey->StepBack(1, &nSteps), S_OK);
    EXPECT_EQ(State().adjust.dblPower, 52) << "with more than a second between";

    EXPECT_EQ(m_cpKey->GroupBegin(), S_OK);
    EXPECT_EQ(m_cpKey->KeyAddPoint(20, 40), S_OK);
    EXPECT_EQ(m_cpKey->KeyAdjustSet(eCKA_Smooth, 9), S_OK);
    EXPECT_EQ(m_cpKey->KeyStepBack(1), E_UNEXPECTED) << "in the middle of a group";
    EXPECT_EQ(m_cpKey->GroupEnd(), S_OK);
    EXPECT_EQ(m_cpKey->GroupEnd(), E_UNEXPECTED);
    EXPECT_EQ(m_cpKey->StepsFwd(&nSteps), S_OK);
    EXPECT_EQ(nSteps, 0);
    EXPECT_EQ(m_cpKey->StepBack(1, &nSteps), S_OK);
    EXPECT_EQ(State().adjust.dblPower, 52);
    EXPECT_EQ(State().adjust.dblSmooth, 0);
    EXPECT_EQ(m_cpKey->KeyStepBack(2), S_OK);
    EXPECT_EQ(State(), statePicked) << "the pick is still there to be taken back";
    EXPECT_EQ(m_cpKey->StepBack(9, &nSteps), S_OK);
    EXPECT_EQ(nSteps, 1);
    EXPECT_EQ(m_cpKey->StepFwd(2, &nSteps), S_OK);
    EXPECT_EQ(nSteps, 2);
}

TEST_F(CKeyEditTest, RefusesWhatCouldNotBeSaved)
{
    Pick();
    const STATE stateBefore = State();
    const CLogCatcher log(eZLog_Error);
    for (const int nKeys : {-1, 17, 40})
    {
        CHROMA_KEY_RAW key = stateBefore.key;
        key.nKeysUsed = nKeys;
        EXPECT_EQ(m_cpKey->KeyRawSet(&key, nullptr), E_INVALIDARG);
    }
    for (const double dblBad : {std::nan(""), -std::numeric_limits<double>::infinity()})
    {
        CK_ADJUST adjust = {};
        adjust.rangeAdjust.dblRangeG_L_U = dblBad;
        EXPECT_EQ(m_cpKey->KeyRawSet(&stateBefore.key, &adjust), E_INVALIDARG);
    }
    EXPECT_EQ(log.Count("a set has 0 to 16 keys"), 3u);
    EXPECT_EQ(log.Count("adjustment \"power_glu\" is "), 2u);
    EXPECT_EQ(State(), stateBefore);
}

TEST_F(CKeyEditTest, AKeyObjectForAFrameLeavesTheFrameForKeyingAlone)
{
    Pick();
    const auto cpOther = TestFrame_Make(eZFCC_RGB32, 32, -32);
    CZPtr<IZKey> cpKey;
    CZPtr<IZFFrame> cpKeying;
    CZPtr<IZFFrame> cpBG;
    EXPECT_EQ(m_cpKey->KeyGet(cpOther.Get(), cpKey.Put()), S_OK);
    EXPECT_EQ(m_cpKey->KeyFrameGet(cpKeying.Put(), cpBG.Put()), S_OK);
    EXPECT_EQ(cpKeying.Get(), m_cpFrame.Get());
    EXPECT_EQ(m_cpKey->Close(), S_OK);
    EXPECT_EQ(m_cpKey->KeyFrameGet(cpKeying.Put(), cpBG.Put()), S_FALSE) << "Close lets go of it";
}

TEST_F(CKeyEditTest, KeyObjectsCarryTheSetBetweenPlugIns)
{
    Pick();
    CZPtr<IZKey> cpObject;
    ASSERT_EQ(m_cpKey->KeyGet(nullptr, cpObject.Put()), S_OK);
    ASSERT_EQ(cpObject->AddPoint(m_cpFrame.Get(), 60, 40, TRUE), S_OK);
    const auto cpOther = NewKeyer();
    ASSERT_EQ(cpOther->KeySet(cpObject.Get()), S_OK);
    ASSERT_EQ(m_cpKey->KeyExcludePoint(60, 40), S_OK);
    EXPECT_EQ(StateOf(cpOther), State());
    EXPECT_EQ(cpOther->KeySet(nullptr), E_POINTER);
    EXPECT_EQ(cpOther->KeyGet(nullptr, nullptr), E_POINTER);
}

TEST_F(CKeyEditTest, DetectionShowsTheBlocksItExamined)
{
    static wchar_t s_wszOptions[] = L"blocks=8 borders=0 show_blocks=true";
    static wchar_t s_wszBad[] = L"blocks=many";
    ASSERT_EQ(m_cpKey->KeyFrameSet(m_cpFrame.Get(), nullptr), S_OK);
    ASSERT_EQ(m_cpKey->KeyDetect(s_wszOptions), S_OK);
    CZPtr<IZFFrame> cpShown;
    CZPtr<IZFFrame> cpBG;
    ASSERT_EQ(m_cpKey->KeyFrameGet(cpShown.Put(), cpBG.Put()), S_OK);
    const auto fnBlue = [vecBGRA = PixelsOf(cpShown.Get())](int _nX, int _nY) { return vecBGRA[4 * (64 * _nY + _nX)]; };
    EXPECT_EQ(fnBlue(0, 42), 255) << "a block of the green half, in white";
    EXPECT_EQ(fnBlue(63, 47), 0) << "a block of the red half, in black";
    EXPECT_LT(fnBlue(4, 45), 20) << "only the outline is drawn";
    ASSERT_EQ(m_cpKey->KeyFrameSet(cpShown.Get(), cpBG.Get()), S_OK); // a host that changes the background only
    const auto cpOther = NewKeyer();
    ASSERT_EQ(cpOther->KeyFrameSet(m_cpFrame.Get(), nullptr), S_OK);
    for (const auto& cpKeyer : {m_cpKey, cpOther}) // where four blocks meet
        ASSERT_TRUE(cpKeyer->KeyReset() >= S_OK && cpKeyer->KeyAddPoint(8, 42) == S_OK);
    EXPECT_EQ(State(), StateOf(cpOther)) << "keys are taken from the picture, not from the outlines on it";
    const CLogCatcher log(eZLog_Error);
    EXPECT_EQ(m_cpKey->KeyDetect(s_wszBad), E_INVALIDARG);
    EXPECT_GT(log.Count("blocks"), 0u);
}

TEST_F(CKeyEditTest, IsSavedAndLoadedWithItsOptions)
{
    const CTempFolder folder;
    const std::wstring wstrFile = ZText_ToWide(folder.Path("")) + L"gr\u00fcn.xml";
    Pick();
    ASSERT_EQ(m_cpKey->KeyAdjustSet(eCKA_Power, 12.5), S_OK);
    ASSERT_EQ(m_cpKey->PropsSet(L"process.threads", L" 3\t"), S_OK); // blanks that a document has to keep
    ASSERT_EQ(m_cpKey->PersistSaveToFile(wstrFile.c_str()), S_OK);
    for (const std::wstring& wstrFrom : {wstrFile, DocumentOf(m_cpKey.Get())})
    {
        const auto cpOther = NewKeyer();
        ASSERT_EQ(cpOther->PersistLoad(wstrFrom.c_str()), S_OK);
        EXPECT_EQ(StateOf(cpOther), State());
        EXPECT_EQ(OptionOf(cpOther.Get(), L"process.threads"), L" 3\t");
        EXPECT_EQ(cpOther->KeyAdjustSet(eCKA_KeyType, eCKT_None), S_OK);
        const auto cpThird = NewKeyer();
        ASSERT_EQ(cpThird->PropsSet(L"gpu_mode", L"0"), S_OK);
        ASSERT_EQ(cpThird->PersistLoad(DocumentOf(cpOther.Get()).c_str()), S_OK);
        EXPECT_EQ(OptionOf(cpThird.Get(), L"gpu_mode"), L"-") << "options are those saved";
        EXPECT_EQ(cpThird->KeyAdjustSet(eCKA_KeyType, eCKT_RGB), S_OK);
        EXPECT_EQ(cpOther->KeyAdjustSet(eCKA_KeyType, eCKT_RGB), S_OK);
        EXPECT_EQ(StateOf(cpThird), StateOf(cpOther)) << "saved while keying was off, the keys keep their space";
        EXPECT_EQ(cpOther->KeyStepBack(3), S_OK) << "loading is a step";
        EXPECT_EQ(StateOf(cpOther).key.nKeysUsed, 0);
    }

    const STATE stateBefore = State();
    const CLogCatcher log(eZLog_Warning);
    EXPECT_EQ(NewKeyer()->PersistLoad(L"<zl-root><ZChromaKey type='2' keys='0'><options><option name='output.tread' "
                                      L"value='1'/></options></ZChromaKey></zl-root>"),
              S_OK);
    EXPECT_EQ(log.Count("\"output.tread\" has no effect, and is kept", eZLog_Warning), 1u);
    EXPECT_EQ(m_cpKey->PersistLoad(L"<zl-root>\n<ZChromaKey"), E_INVALIDARG);
    EXPECT_EQ(m_cpKey->PersistLoad(L"no/such/file.xml"), E_FAIL);
    EXPECT_GT(log.Count("no/such/file.xml"), 0u);
    EXPECT_EQ(m_cpKey->PersistLoad(nullptr), E_POINTER);
    EXPECT_EQ(State(), stateBefore);
}

TEST_F(CKeyEditTest, TakesAnEditOutOfAMethodOfItsFrame)
{
    bool bCalled = false;
    const auto cpFrame = CHookFrame::Make(m_cpFrame.Get(), [&](const std::string& _strMethod) {
        const bool bCall = _strMethod == "VideoPtrGet" && !std::exchange(bCalled, true);
        return bCall ? m_cpKey->KeyAdjustSet(eCKA_Power, 10) : S_OK;
    });
    ASSERT_EQ(m_cpKey->KeyFrameSet(cpFrame.Get(), nullptr), S_OK);
    EXPECT_EQ(m_cpKey->KeyAddPoint(8, 40), S_OK);
    EXPECT_TRUE(bCalled);
    EXPECT_GT(State().key.nKeysUsed, 0);
    EXPECT_EQ(State().adjust.dblPower, 10);
}

} // namespace
