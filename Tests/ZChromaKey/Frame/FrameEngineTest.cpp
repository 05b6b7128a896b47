#include "Props/PropStore.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"
#include "Video/FrameShorthand.h"
#include "ZChromaKey/Frame/FrameFlow.h"
#include "ZChromaKey/Frame/FrameKeyer.h"

#include <gtest/gtest.h>

// What the frame path asks of an engine, whatever its settings are.

namespace
{

struct FAKE_SETTINGS
{
    int32_t bKeys;
    int32_t nValue;
};

/// Writes down what it is asked for, in the script's text: a letter a call. Fills masks with its settings' value.
class CFakeEngine final : public CFrameEngine
{
public:
    struct SCRIPT
    {
        std::string strCalls;
        bool bReadsSource = false;
        ENGINE_JOB jobLast = {};
        std::function<HRESULT()> fnProcess = [] { return S_OK; };
    };

    explicit CFakeEngine(SCRIPT* _pScript)
        : m_pScript(_pScript)
    {
    }
    ENGINE_PLAN Plan(ENGINE_SETTINGS _settings) const override
    {
        return {true, Of(_settings).bKeys != 0, false, m_pScript->bReadsSource};
    }
    bool CanClean(uint32_t) const override
    {
        return false;
    }
    HRESULT Process(const ENGINE_JOB& _job, ENGINE_SETTINGS _settings) override
    {
        m_pScript->strCalls += 'P';
        m_pScript->jobLast = _job;
        *_job.pbMask = static_cast<uint8_t>(Of(_settings).nValue);
        return m_pScript->fnProcess();
    }
    void Hold(std::initializer_list<IUnknown*> _listOwners) noexcept override
    {
        m_pScript->strCalls += _listOwners.size() == 3 ? 'H' : '?';
    }
    HRESULT ProcessGPU(IZFFrame*, ENGINE_SETTINGS, const ENGINE_GPU_OPTIONS&, IZFFrame**) override
    {
        m_pScript->strCalls += 'G';
        return E_NOTIMPL;
    }
    std::vector<CZPtr<IZFFrame>> FramesTake() override
    {
        return {};
    }
    void Flush() override
    {
        m_pScript->strCalls += 'F';
    }
    void Close() override
    {
        m_pScript->strCalls += 'C';
    }

private:
    static FAKE_SETTINGS Of(ENGINE_SETTINGS _settings)
    {
        return *reinterpret_cast<const FAKE_SETTINGS*>(_settings.spanRecord.data());
    }

    SCRIPT* m_pScript;
};

class FrameEngine : public testing::Test
{
protected:
    FrameEngine()
    {
        m_store.Set("gpu_mode", "0");
    }
    /// Keys a frame; the first byte of its mask, -1 without one.
    int Key(IZFFrame* _pFrame)
    {
        CZPtr<IZFFrame> cpRes;
        EXPECT_GE(m_keyer.Process(_pFrame, EngineSettings_Of(m_settings), cpRes.Put()), 0);
        CZPtr<IUnknown> cpMask;
        if (!cpRes || cpRes->AttachmentGet(L"mask", cpMask.Put()) != S_OK)
            return -1;
        return *Img_RowOf(PtrOf(ZQuery<IZFFrame>(cpMask).Get()), 0, 0);
    }

    CFakeEngine::SCRIPT m_script;
    CPropStore m_store;
    CFrameKeyer m_keyer{"CCoZTest", &m_store, std::make_unique<CFakeEngine>(&m_script)};
    FAKE_SETTINGS m_settings = {1, 17};
    CZPtr<CZFrame> m_cpFrame = TestFrame_Make(eZFCC_RGB32, 32, -16);
};

TEST_F(FrameEngine, SettingsAreItsOwnAndComparedAsBytes)
{
    EXPECT_EQ(Key(m_cpFrame.Get()), 17);
    EXPECT_EQ(Key(m_cpFrame.Get()), 17);
    EXPECT_EQ(m_script.strCalls, "P") << "the same frame with the same settings is answered with the last output";
    m_settings.nValue = 200;
    EXPECT_EQ(Key(m_cpFrame.Get()), 200);
    m_settings.bKeys = 0;
    EXPECT_EQ(Key(m_cpFrame.Get()), -1) << "settings that do not key";
    EXPECT_EQ(m_script.strCalls, "PP");
}

TEST_F(FrameEngine, ReadsTheSourceInItsOwnFormatWhereItAsksForIt)
{
    const auto cpSource = TestFrame_Make(eZFCC_UYVY, 64, 32);
    m_store.Set("keying.borders", "8,4,8,4");
    for (const bool bARGB : {false, true})
        for (const bool bReadsSource : {false, true})
        {
            SCOPED_TRACE(testing::Message() << "ARGB " << bARGB << " source " << bReadsSource);
            m_store.Set("output.argb", bARGB ? "true" : "false");
            m_script.bReadsSource = bReadsSource;
            cpSource->IdentityRenew();
            EXPECT_EQ(Key(cpSource.Get()), 17);
            const ENGINE_JOB& job = m_script.jobLast;
            EXPECT_EQ(job.result.vidProps.fccType, bARGB ? eZFCC_ARGB32 : eZFCC_UYVY);
            EXPECT_EQ(job.bWrite, bARGB);
            EXPECT_EQ(job.source.vidProps.fccType, bReadsSource ? eZFCC_UYVY : job.result.vidProps.fccType);
            for (const ENGINE_PICTURE* pPicture : {&job.source, &job.result})
            {
                EXPECT_EQ(pPicture->vidProps.nWidth, 48);
                EXPECT_EQ(std::abs(pPicture->vidProps.nHeight), 24);
            }
            const ZF_VID_PTR vidPtr = PtrOf(cpSource.Get(), eZFP_Stored);
            const bool bShared =
                job.source.vidPtr.lpVideoPlanes[0] == vidPtr.lpVideoPlanes[0] + 4 * vidPtr.cbVideoRowBytes[0] + 8 * 2;
            EXPECT_EQ(bShared, bReadsSource || !bARGB) << "the host's own pixels";
        }
}

TEST_F(FrameEngine, HoldsWhatATimedOutFrameMayStillTouch)
{
    m_script.fnProcess = [] { return Z_E_TIMEOUT; };
    const CLogCatcher log;
    CZPtr<IZFFrame> cpRes;
    EXPECT_EQ(m_keyer.Process(m_cpFrame.Get(), EngineSettings_Of(m_settings), cpRes.Put()), Z_E_TIMEOUT);
    EXPECT_EQ(m_script.strCalls, "PH");
    EXPECT_EQ(log.Count("CCoZTest::OnMediaReceive: keying was given up", eZLog_Error), 1u) << "by the object's name";
    m_keyer.Close();
    EXPECT_EQ(m_script.strCalls, "PHC");
}

TEST_F(FrameEngine, AFlushBeginsANewStreamBeforeTheNextFrame)
{
    std::function<void()> fnBefore = [] {};
    CFrameFlow flow(
        "CCoZTest",
        [&](IZFFrame* _pFrame, IZFFrame** _ppFrameRes) {
            fnBefore();
            return m_keyer.Process(_pFrame, EngineSettings_Of(m_settings), _ppFrameRes);
        },
        [this] { m_keyer.Flush(); });
    CZPtr<IZFFrame> cpRes;
    const auto fnNow = [&] {
        m_cpFrame->IdentityRenew();
        EXPECT_EQ(flow.ReceiveNow(m_cpFrame.Get(), cpRes.Put()), S_OK);
    };
    fnNow();
    flow.Flush();
    fnNow();
    fnNow();
    EXPECT_EQ(m_script.strCalls, "PFPP") << "a result that was dropped is no new stream";

    m_script.strCalls.clear();
    EXPECT_EQ(flow.ReceiveNow(m_cpFrame.Get(), cpRes.Put()), S_OK);
    flow.Flush();
    for (int n = 0; n < 2; ++n)
        EXPECT_EQ(flow.ReceiveNow(m_cpFrame.Get(), cpRes.Put()), S_OK);
    EXPECT_EQ(m_script.strCalls, "FP") << "a still is keyed anew, once, in a new stream";

    // A frame under way belongs to the stream before: what it leaves in the new one is forgotten, too.
    m_script.strCalls.clear();
    fnBefore = [&] { flow.Flush(); };
    m_cpFrame->IdentityRenew();
    EXPECT_EQ(flow.Receive(m_cpFrame.Get(), cpRes.Put()), S_FALSE);
    EXPECT_EQ(flow.Receive(nullptr, cpRes.Put()), S_FALSE) << "its result was dropped";
    fnBefore = [] {};
    fnNow();
    fnNow();
    EXPECT_EQ(m_script.strCalls, "FPFPP");
    EXPECT_EQ(flow.Close(), S_OK);
}

} // namespace
