#include "Support/SameBytes.h"
#include "ZChromaKey/Objects/CoZChromaKey2.h"

#include "Image/ImgPlane.h"
#include "Interfaces/IZKey2.h"
#include "Support/FrameAccess.h"
#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"
#include "Support/TestProps.h"
#include "Support/Texts.h"
#include "ZChromaKey/Config/Params2.h"
#include "ZChromaKey/Objects/CoZKey2.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

// The object over an engine of the test's. What the real one makes of frames: UnmixObjectTest.

namespace
{

/// An engine that keeps what it is given.
class CFakeUnmix final : public CUnmixFrameEngine
{
public:
    struct SCRIPT
    {
        std::vector<UNMIX_SETTINGS> vecSettings; ///< of each frame
        UNMIX_PARTS parts;
        HRESULT hrFind = S_OK;
        UNMIX_COLOUR colourFound = {10, 170, 20};
        HRESULT hrPlate = S_FALSE;
        IMG_PICTURE pictureFound;
    };

    explicit CFakeUnmix(SCRIPT* _pScript)
        : m_pScript(_pScript)
    {
    }
    ENGINE_PLAN Plan(ENGINE_SETTINGS) const override
    {
        return {true, true, false, true};
    }
    bool CanClean(uint32_t) const override
    {
        return false;
    }
    HRESULT Process(const ENGINE_JOB&, ENGINE_SETTINGS _settings) override
    {
        EXPECT_EQ(_settings.spanRecord.size(), sizeof(UNMIX_SETTINGS));
        UNMIX_SETTINGS& settings = m_pScript->vecSettings.emplace_back();
        std::memcpy(&settings, _settings.spanRecord.data(), sizeof(UNMIX_SETTINGS));
        m_pScript->parts = static_cast<const UNMIX_PARTS&>(*_settings.pParts);
        for (size_t n = 0; n < Z_REGIONS; ++n)
            EXPECT_EQ(settings.arrRegions[n] != 0, m_pScript->parts.arrMasks[n] != nullptr) << "they are of one edit";
        return S_OK;
    }
    void Hold(std::initializer_list<IUnknown*>) noexcept override
    {
    }
    HRESULT ProcessGPU(IZFFrame*, ENGINE_SETTINGS, const ENGINE_GPU_OPTIONS&, IZFFrame**) override
    {
        return E_NOTIMPL;
    }
    std::vector<CZPtr<IZFFrame>> FramesTake() override
    {
        return {};
    }
    void Flush() override
    {
    }
    void Close() override
    {
    }
    HRESULT KeyFind(const IMG_PICTURE& _picture, UNMIX_COLOUR* _pColour, std::string* _pstrReason) override
    {
        m_pScript->pictureFound = _picture;
        *_pColour = m_pScript->colourFound;
        *_pstrReason = "nothing is flat";
        return m_pScript->hrFind;
    }
    HRESULT PlateGet(IMG_PICTURE* _pPicture) override
    {
        *_pPicture = {2, 1, {1, 2, 3, 255, 4, 5, 6, 255}};
        return m_pScript->hrPlate;
    }
    HRESULT StatsGet(CHROMA_KEY2_STATS* _pStats) override
    {
        if (m_pScript->vecSettings.empty())
            return S_FALSE;
        *_pStats = {0.5, 0.25, 0.125, 1.5, 3.5, 7, 2, eKeyedOn_CPU, 0};
        return S_OK;
    }

private:
    SCRIPT* m_pScript;
};

class CoZChromaKey2 : public testing::Test
{
protected:
    CoZChromaKey2()
    {
        EXPECT_EQ(m_cpKeyer->PropsSet(L"output.thread", L"false"), S_OK);
        EXPECT_EQ(m_cpKeyer->PropsSet(L"gpu_mode", L"0"), S_OK);
    }
    ~CoZChromaKey2() override
    {
        m_cpKeyer.Reset();
        EXPECT_TRUE(ZModule_IsIdle());
    }
    CHROMA_KEY2_RAW Raw()
    {
        CHROMA_KEY2_RAW key = {};
        EXPECT_EQ(m_cpKeyer->KeyRawGet(&key), S_OK);
        return key;
    }
    HRESULT ParamSet(const wchar_t* _pwszName, double _dblValue)
    {
        const BSTR bsName = SysAllocString(_pwszName);
        const HRESULT hr = m_cpKeyer->ParamSet(bsName, _dblValue);
        SysFreeString(bsName);
        return hr;
    }
    HRESULT PolygonSet(eRegion _eRegion, const wchar_t* _pwszPolygon)
    {
        const BSTR bsPolygon = SysAllocString(_pwszPolygon);
        const HRESULT hr = m_cpKeyer->RegionSet(_eRegion, nullptr, bsPolygon);
        SysFreeString(bsPolygon);
        return hr;
    }
    UNMIX_SETTINGS Key()
    {
        CZPtr<IZFFrame> cpRes;
        m_cpFrame->IdentityRenew();
        EXPECT_EQ(m_cpKeyer->OnMediaReceive(m_cpFrame.Get(), cpRes.Put()), S_OK);
        EXPECT_FALSE(m_script.vecSettings.empty());
        return m_script.vecSettings.empty() ? UNMIX_SETTINGS{} : m_script.vecSettings.back();
    }
    int32_t Step(int32_t _nSteps)
    {
        int32_t nDone = -1;
        EXPECT_EQ(_nSteps < 0 ? m_cpKeyer->StepBack(-_nSteps, &nDone) : m_cpKeyer->StepFwd(_nSteps, &nDone), S_OK);
        return nDone;
    }

    CFakeUnmix::SCRIPT m_script;
    CZPtr<CCoZChromaKey2> m_cpKeyer =
        CZPtr<CCoZChromaKey2>::Adopt(new CCoZChromaKey2(std::make_unique<CFakeUnmix>(&m_script)));
    CZPtr<CZFrame> m_cpFrame = TestFrame_Make(eZFCC_RGB32, 64, -32);
};

TEST_F(CoZChromaKey2, PicksComeFromTheFrameSetElseFromTheLastInput)
{
    const CLogCatcher log(eZLog_Error);
    EXPECT_EQ(m_cpKeyer->KeyAddPoint(8, 20), E_UNEXPECTED);
    EXPECT_EQ(m_cpKeyer->KeyAuto(), E_UNEXPECTED);
    EXPECT_EQ(PolygonSet(eRegion_Garbage, L"0,0 1,0 1,1"), E_UNEXPECTED);
    EXPECT_EQ(log.Count("FrameSet", eZLog_Error), 3u);
    Key();
    EXPECT_EQ(m_cpKeyer->KeyAddPoint(8, 20), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyProtectRect(40, 0, 64, 32), S_OK);
    EXPECT_EQ(Raw().arrKeys[0].dblGreen, 180);
    EXPECT_EQ(Raw().arrProtected[0].dblRed, 200);
    const auto cpOther = TestFrame_Of({200, 10, 10, 255}, eZFCC_RGB32, 1, 1);
    EXPECT_EQ(m_cpKeyer->FrameSet(cpOther.Get()), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAddRect(0, 0, 9, 9), S_OK);
    EXPECT_EQ(Raw().arrKeys[1].dblBlue, 200);
    EXPECT_EQ(m_cpKeyer->KeyProtectPoint(1, 0), E_INVALIDARG);
    EXPECT_EQ(m_cpKeyer->FrameSet(nullptr), S_OK);
    EXPECT_EQ(RefsOf(static_cast<IZFFrame2*>(cpOther.Get())), 1u);
    EXPECT_EQ(m_cpKeyer->KeyProtectPoint(8, 20), S_OK) << "of the last input again";
    EXPECT_EQ(m_cpKeyer->KeyRemove(0, FALSE), S_OK);
    int32_t nCount = 0;
    EXPECT_EQ(m_cpKeyer->KeyCount(FALSE, &nCount), S_OK);
    EXPECT_EQ(nCount, 1);
    EXPECT_EQ(m_cpKeyer->Close(), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAddPoint(8, 20), E_UNEXPECTED) << "Close lets go of the last input";
}

TEST_F(CoZChromaKey2, TheAutomaticKeyChangesNothingWhereItFindsNone)
{
    const CLogCatcher log;
    EXPECT_EQ(m_cpKeyer->FrameSet(m_cpFrame.Get()), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAddColor(0x0000FF), S_OK);
    m_script.hrFind = S_FALSE;
    for (int n = 0; n < 3; ++n) // as hosts do that search each frame
        EXPECT_EQ(m_cpKeyer->KeyAuto(), S_FALSE);
    EXPECT_EQ(log.Count("nothing is flat", eZLog_Warning), 1u);
    EXPECT_EQ(Raw().arrKeys[0].dblBlue, 255);
    EXPECT_EQ(m_script.pictureFound.vecBGRA.size(), 4u * 64 * 32);
    m_script.hrFind = S_OK;
    m_script.colourFound = {20, 27, 20};
    EXPECT_EQ(m_cpKeyer->KeyAuto(), S_FALSE);
    EXPECT_EQ(log.Count("no backdrop was found, the keys stay as they are: R 20 G 27 B 20 is too", eZLog_Warning), 1u);
    EXPECT_EQ(log.Count("", eZLog_Error), 0u);
    EXPECT_EQ(Raw().arrKeys[0].dblBlue, 255);
    m_script.colourFound = {10, 170, 20};
    EXPECT_EQ(m_cpKeyer->KeyAuto(), S_OK);
    EXPECT_EQ(Raw().nKeysUsed * 10 + Raw().bAutomatic, 11);
    EXPECT_EQ(Raw().arrKeys[0].dblGreen, 170);
    EXPECT_EQ(m_cpKeyer->KeyAddPoint(8, 20), S_OK) << "one pick overrides it";
    EXPECT_EQ(Raw().nKeysUsed * 10 + Raw().bAutomatic, 10);
    EXPECT_EQ(Step(-2), 2);
    EXPECT_EQ(Raw().arrKeys[0].dblBlue, 255);
}

TEST_F(CoZChromaKey2, AFrameIsKeyedWithOneCopyOfTheSettings)
{
    EXPECT_EQ(m_cpKeyer->KeyAddColor(0x00FF00), S_OK);
    const UNMIX_SETTINGS first = Key();
    EXPECT_EQ(first.key.nKeysUsed, 1);
    EXPECT_EQ(first.nPlate + first.arrRegions[0] + first.arrRegions[1] + first.arrRegions[2], 0u);
    EXPECT_TRUE(SameBytes(first, m_script.vecSettings.front()));
    EXPECT_EQ(m_cpKeyer->ViewSet(eView_Matte), S_OK);
    EXPECT_EQ(m_cpKeyer->PlateLearn(eLearn_Restart), S_OK);
    EXPECT_EQ(m_cpKeyer->PlateLearn(eLearn_Hold), S_OK);
    EXPECT_EQ(m_cpKeyer->PlateSet(m_cpFrame.Get()), S_OK);
    EXPECT_EQ(PolygonSet(eRegion_HoldOut, L"0,0 8,0 8,8 0,8"), S_OK);
    const UNMIX_SETTINGS second = Key();
    EXPECT_EQ(second.key.params.eViewValue, eView_Matte);
    EXPECT_EQ(second.key.params.eLearnValue, eLearn_Hold);
    EXPECT_EQ(second.nRestarts, first.nRestarts + 1);
    EXPECT_NE(second.nPlate, 0u);
    EXPECT_NE(second.arrRegions[eRegion_HoldOut], 0u);
    ASSERT_TRUE(m_script.parts.spPlate && m_script.parts.arrMasks[eRegion_HoldOut]);
    EXPECT_EQ(m_script.parts.spPlate->nWidth, 64);
    EXPECT_EQ(m_script.parts.arrMasks[eRegion_HoldOut]->vecBytes[7], 255);
    EXPECT_EQ(m_script.parts.arrMasks[eRegion_HoldOut]->vecBytes[8], 0);
    EXPECT_EQ(Step(-1), 1);
    EXPECT_EQ(Key().arrRegions[eRegion_HoldOut], 0u);
    EXPECT_FALSE(m_script.parts.arrMasks[eRegion_HoldOut]);
    EXPECT_EQ(m_cpKeyer->PlateSet(nullptr), S_OK);
    EXPECT_EQ(Key().nPlate, 0u);
}

TEST_F(CoZChromaKey2, ThreadsThatEditAndKeyDoNotMixMasksAndSettings)
{
    const auto fnRun = [this](const wchar_t* _pwszPolygon, IZFFrame* _pFrame) {
        for (int n = 0; n < 1000; ++n)
        {
            CZPtr<IZFFrame> cpRes;
            EXPECT_GE(PolygonSet(eRegion_Garbage, _pwszPolygon), 0);
            EXPECT_EQ(m_cpKeyer->OnMediaReceive(_pFrame, cpRes.Put()), S_OK);
        }
    };
    const auto cpOther = TestFrame_Make(eZFCC_RGB32, 64, -32);
    EXPECT_EQ(m_cpKeyer->FrameSet(m_cpFrame.Get()), S_OK);
    std::thread thread([&] { fnRun(L"", cpOther.Get()); });
    fnRun(L"0,0 8,0 8,8", m_cpFrame.Get());
    thread.join();
    EXPECT_GT(m_script.vecSettings.size(), 1u);
}

TEST_F(CoZChromaKey2, HandsOutPlatesRegionsAndNumbers)
{
    const CLogCatcher log;
    CZPtr<IZFFrame> cpFrame;
    CHROMA_KEY2_STATS stats = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(m_cpKeyer->StatsGet(&stats), S_FALSE);
    EXPECT_EQ(stats.dblBackdrop + stats.nReserved, 0);
    EXPECT_EQ(m_cpKeyer->PlateGet(cpFrame.Put()), S_FALSE);
    EXPECT_EQ(m_cpKeyer->RegionGet(eRegion_Garbage, cpFrame.Put()), S_FALSE);
    Key();
    EXPECT_EQ(m_cpKeyer->StatsGet(&stats), S_OK);
    EXPECT_EQ(stats.nPlateFrames, 7);
    const std::pair<const wchar_t*, double> arrStats[] = {{L"mixed", 0.25}, {L"cuts", 2}, {L"keyed_on", eKeyedOn_CPU}};
    for (const auto& [pwszName, dblExpected] : arrStats)
    {
        const BSTR bsName = SysAllocString(pwszName);
        double dblValue = -1;
        EXPECT_EQ(m_cpKeyer->StatGet(bsName, &dblValue), S_OK);
        EXPECT_EQ(dblValue, dblExpected);
        SysFreeString(bsName);
    }
    double dblValue = -1;
    EXPECT_EQ(m_cpKeyer->StatGet(nullptr, &dblValue), E_INVALIDARG);
    EXPECT_EQ(log.Count("there are backdrop mixed solid noise milliseconds plate_frames cuts keyed_on", eZLog_Error),
              1u);

    m_script.hrPlate = S_OK;
    ASSERT_EQ(m_cpKeyer->PlateGet(cpFrame.Put()), S_OK);
    EXPECT_EQ(PropsOf(cpFrame.Get()).fccType, eZFCC_RGB32);
    EXPECT_EQ(Img_RowOf(PtrOf(cpFrame.Get()), 0, 0)[5], 5);

    const auto cpMask = TestFrame_Of({9, 9, 9, 255, 255, 255, 255, 255}, eZFCC_RGB8, 1, 2);
    EXPECT_EQ(m_cpKeyer->RegionSet(eRegion_Backdrop, cpMask.Get(), nullptr), S_OK);
    ASSERT_EQ(m_cpKeyer->RegionGet(eRegion_Backdrop, cpFrame.Put()), S_OK);
    EXPECT_EQ(PropsOf(cpFrame.Get()).fccType, eZFCC_RGB8);
    EXPECT_EQ(*Img_RowOf(PtrOf(cpFrame.Get()), 0, 0), 9);
    EXPECT_EQ(*Img_RowOf(PtrOf(cpFrame.Get()), 0, 1), 255);
    EXPECT_EQ(PolygonSet(eRegion_Backdrop, L"1,2 3,4"), E_INVALIDARG);
    EXPECT_EQ(log.Count("RegionSet: character 8: ", eZLog_Error), 1u);
    const BSTR bsPolygon = SysAllocString(L"0,0 1,0 1,1");
    EXPECT_EQ(m_cpKeyer->RegionSet(eRegion_Backdrop, cpMask.Get(), bsPolygon), E_INVALIDARG) << "both at once";
    SysFreeString(bsPolygon);
    EXPECT_EQ(m_cpKeyer->RegionSet(static_cast<eRegion>(3), nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_cpKeyer->RegionGet(static_cast<eRegion>(-1), cpFrame.Put()), E_INVALIDARG);
    EXPECT_EQ(m_cpKeyer->RegionSet(eRegion_Backdrop, nullptr, nullptr), S_OK);
    EXPECT_EQ(m_cpKeyer->RegionGet(eRegion_Backdrop, cpFrame.Put()), S_FALSE);
}

TEST_F(CoZChromaKey2, DescribesItsParameters)
{
    const CLogCatcher log;
    int32_t nCount = 0;
    EXPECT_EQ(m_cpKeyer->ParamCount(&nCount), S_OK);
    EXPECT_EQ(static_cast<size_t>(nCount), Params2_Table().size());
    BSTR bsName = nullptr, bsUnit = nullptr, bsHelp = nullptr;
    double dblLeast = 0, dblMost = 0, dblDefault = 0, dblValue = 0;
    for (int32_t n = 0; n < nCount; ++n)
    {
        const KEY2_PARAM& param = Params2_Table()[static_cast<size_t>(n)];
        ASSERT_EQ(m_cpKeyer->ParamInfo(n, &bsName, &dblLeast, &dblMost, &dblDefault, &bsUnit, &bsHelp), S_OK);
        EXPECT_EQ(m_cpKeyer->ParamGet(bsName, &dblValue), S_OK);
        EXPECT_EQ(dblValue, dblDefault);
        EXPECT_EQ(m_cpKeyer->ParamSet(bsName, dblMost + 1), E_INVALIDARG);
        EXPECT_EQ(m_cpKeyer->ParamSet(bsName, dblLeast), dblLeast == dblDefault ? S_FALSE : S_OK);
        EXPECT_EQ(ZText_FromWide(TakeText(bsName)), param.pszName);
        EXPECT_EQ(ZText_FromWide(TakeText(bsUnit)), param.pszUnit);
        EXPECT_EQ(ZText_FromWide(TakeText(bsHelp)), Params2_Help(param));
    }
    EXPECT_EQ(m_cpKeyer->ParamInfo(nCount, &bsName, &dblLeast, &dblMost, &dblDefault, &bsUnit, &bsHelp), E_INVALIDARG);
    EXPECT_TRUE(!bsName && !bsUnit && !bsHelp);
    EXPECT_EQ(m_cpKeyer->ParamInfo(0, nullptr, &dblLeast, &dblMost, &dblDefault, &bsUnit, &bsHelp), E_POINTER);
}

TEST_F(CoZChromaKey2, RefusesWrongArguments)
{
    const CLogCatcher log;
    CZPtr<IZKey2> cpKey;
    for (const HRESULT hr :
         {m_cpKeyer->KeyGet(nullptr), m_cpKeyer->KeySet(nullptr), m_cpKeyer->KeyRawGet(nullptr),
          m_cpKeyer->KeyRawSet(nullptr), m_cpKeyer->KeyCount(FALSE, nullptr), m_cpKeyer->ParamGet(nullptr, nullptr),
          m_cpKeyer->ParamCount(nullptr), m_cpKeyer->StepBack(1, nullptr), m_cpKeyer->StepFwd(1, nullptr),
          m_cpKeyer->StepsBack(nullptr), m_cpKeyer->StepsFwd(nullptr), m_cpKeyer->PlateGet(nullptr),
          m_cpKeyer->RegionGet(eRegion_Garbage, nullptr), m_cpKeyer->StatsGet(nullptr),
          m_cpKeyer->StatGet(nullptr, nullptr)})
        EXPECT_EQ(hr, E_POINTER);
    int32_t nDone = 5;
    EXPECT_EQ(m_cpKeyer->StepBack(-1, &nDone), E_INVALIDARG);
    EXPECT_EQ(nDone, 0);
    EXPECT_EQ(m_cpKeyer->ViewSet(static_cast<eView>(7)), E_INVALIDARG);
    EXPECT_EQ(m_cpKeyer->PlateLearn(static_cast<eLearn>(-1)), E_INVALIDARG);
    EXPECT_EQ(m_cpKeyer->GroupEnd(), E_UNEXPECTED);
    EXPECT_EQ(ParamSet(L"nonsense", 1), E_INVALIDARG);
    CHROMA_KEY2_RAW key = Raw();
    key.params.dblNoise = 17;
    EXPECT_EQ(m_cpKeyer->KeyRawSet(&key), E_INVALIDARG);
    EXPECT_EQ(log.Count("parameter \"noise\" is 17", eZLog_Error), 1u);
    const auto cpHook = CHookFrame::Make(m_cpFrame.Get(), [](const std::string&) { return S_OK; });
    cpHook->m_fnProps = [](ZF_VID_PROPS* _pVidProps) { _pVidProps->nHeight = INT32_MIN; };
    EXPECT_EQ(m_cpKeyer->FrameSet(cpHook.Get()), S_OK);
    EXPECT_EQ(PolygonSet(eRegion_Garbage, L"0,0 1,0 1,1"), E_INVALIDARG);
    EXPECT_EQ(m_cpKeyer->FrameSet(nullptr), S_OK);
    int32_t nSteps = -1;
    EXPECT_EQ(m_cpKeyer->StepsBack(&nSteps), S_OK);
    EXPECT_EQ(nSteps, 0);
}

TEST_F(CoZChromaKey2, KeyObjectsAndGroupsAreSteps)
{
    EXPECT_EQ(m_cpKeyer->GroupBegin(), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAddColor(0x00FF00), S_OK);
    EXPECT_EQ(ParamSet(L"choke", 2), S_OK);
    EXPECT_EQ(m_cpKeyer->GroupEnd(), S_OK);
    CZPtr<IZKey2> cpKey;
    ASSERT_EQ(m_cpKeyer->KeyGet(cpKey.Put()), S_OK);
    EXPECT_EQ(cpKey->AddColor(0x0000FF, TRUE), S_OK);
    EXPECT_EQ(m_cpKeyer->KeySet(cpKey.Get()), S_OK);
    EXPECT_EQ(Raw().nProtectedUsed, 1);
    EXPECT_EQ(Raw().params.dblChoke, 2);
    EXPECT_EQ(m_cpKeyer->KeyReset(), S_OK);
    EXPECT_EQ(Step(-9), 3);
    int32_t nSteps = -1;
    EXPECT_EQ(m_cpKeyer->StepsFwd(&nSteps), S_OK);
    EXPECT_EQ(nSteps, 3);
    EXPECT_EQ(Step(1), 1);
    EXPECT_EQ(Raw().nKeysUsed * 10 + Raw().nProtectedUsed, 10);
}

TEST_F(CoZChromaKey2, SavesAndLoads)
{
    const CLogCatcher log;
    EXPECT_EQ(m_cpKeyer->FrameSet(m_cpFrame.Get()), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAddPoint(8, 20), S_OK);
    EXPECT_EQ(ParamSet(L"soften", 1.5), S_OK);
    EXPECT_EQ(PolygonSet(eRegion_Garbage, L"0,0 9,0 0,9"), S_OK);
    EXPECT_EQ(m_cpKeyer->RegionSet(eRegion_HoldOut, m_cpFrame.Get(), nullptr), S_OK);
    EXPECT_EQ(m_cpKeyer->ViewSet(eView_Status), S_OK);
    const std::wstring wstrDocument = DocumentOf(m_cpKeyer.Get());
    EXPECT_EQ(log.Count("region \"holdout\" is a mask", eZLog_Warning), 1u);
    const CHROMA_KEY2_RAW keySaved = Raw();
    EXPECT_EQ(m_cpKeyer->KeyReset(), S_OK);
    EXPECT_EQ(m_cpKeyer->PropsSet(L"process.threads", L"5"), S_OK);
    ASSERT_EQ(m_cpKeyer->PersistLoad(wstrDocument.c_str()), S_OK);
    CHROMA_KEY2_RAW keyExpected = keySaved;
    keyExpected.params.eViewValue = eView_Result;
    const CHROMA_KEY2_RAW keyLoaded = Raw();
    EXPECT_TRUE(SameBytes(keyLoaded, keyExpected));
    EXPECT_EQ(OptionOf(m_cpKeyer.Get(), L"process.threads"), L"-");
    CZPtr<IZFFrame> cpMask;
    EXPECT_EQ(m_cpKeyer->RegionGet(eRegion_Garbage, cpMask.Put()), S_OK);
    EXPECT_EQ(Step(-1), 1) << "a document is one step";
    EXPECT_EQ(Raw().nKeysUsed, 0);
    EXPECT_EQ(Step(1), 1);

    EXPECT_EQ(m_cpKeyer->PersistLoad(L"<zl-root><ZChromaKey2><key red='-1'/></ZChromaKey2></zl-root>"), E_INVALIDARG);
    EXPECT_EQ(log.Count("PersistLoad: the document: key 0: red is -1", eZLog_Error), 1u);
    EXPECT_EQ(m_cpKeyer->PersistLoad(L"<zl-root><ZChromaKey type='2' keys='0'><options><option name='process.threads' "
                                     L"value='3'/></options></ZChromaKey></zl-root>"),
              S_OK)
        << "of the first generation";
    EXPECT_EQ(OptionOf(m_cpKeyer.Get(), L"process.threads"), L"3");
    EXPECT_EQ(Raw().nKeysUsed, 1) << "it has no keys for us";
    EXPECT_NE(DocumentOf(m_cpKeyer.Get()).find(L"<ZChromaKey type=\"2\""), std::wstring::npos);
}

/// Whatever a host does inside its own objects' methods, nothing waits for itself.
TEST_F(CoZChromaKey2, HostsMayCallBackFromTheirFramesAndKeys)
{
    const CLogCatcher log;
    const auto fnAll = [this](const std::string&) {
        EXPECT_GE(m_cpKeyer->KeyAddColor(0x00FF00), 0);
        EXPECT_NE(DocumentOf(m_cpKeyer.Get()), L"");
        return S_OK;
    };
    const auto cpHook = CHookFrame::Make(m_cpFrame.Get(), fnAll);
    EXPECT_EQ(m_cpKeyer->FrameSet(cpHook.Get()), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAddPoint(8, 20), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAuto(), S_OK);
    EXPECT_EQ(PolygonSet(eRegion_Garbage, L"0,0 9,0 0,9"), S_OK);
    EXPECT_EQ(m_cpKeyer->RegionSet(eRegion_Garbage, cpHook.Get(), nullptr), S_OK);
    EXPECT_EQ(m_cpKeyer->PlateSet(cpHook.Get()), S_OK);
    EXPECT_EQ(m_cpKeyer->FrameSet(nullptr), S_OK);
}

} // namespace
