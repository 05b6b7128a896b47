#include "Host/TempFolder.h"
#include "Props/TextFile.h"
#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "ZChromaKey/Engine2/UnmixEngine.h"
#include "ZChromaKey/Objects/CoZChromaKey2.h"
#include "ZChromaKey/Objects/TestKeyer.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include "Support/Refuse.h"

#include <csignal>
#include <sys/resource.h>
#endif

namespace
{

CZPtr<CCoZChromaKey> Make(const wchar_t* _pwszOutputThread)
{
    auto cpKeyer = TestKeyer_Make();
    EXPECT_EQ(cpKeyer->PropsSet(L"output.thread", _pwszOutputThread), S_OK);
    return cpKeyer;
}

/// Hands a frame in and takes its result; the first failure of the calls that it takes.
HRESULT Key(CCoZChromaKey* _pKeyer, IZFFrame* _pFrame)
{
    CZPtr<IZFFrame> cpRes;
    HRESULT hr = _pKeyer->OnMediaReceive(_pFrame, cpRes.Put());
    if (hr == S_FALSE)
        hr = _pKeyer->OnMediaReceive(nullptr, cpRes.Put());
    return FAILED(hr) || cpRes ? hr : E_FAIL;
}

#if !defined(_WIN32)

TEST(FaultsThreads, ThreadsThatCannotBeStarted)
{
    for (const wchar_t* pwszOutputThread : {L"false", L"true"})
    {
        int nPoints = 0;
        bool bRefused = true;
        while (bRefused)
        {
            const auto cpKeyer = Make(pwszOutputThread);
            const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, 48);
            EXPECT_EQ(cpKeyer->PropsSet(L"process.threads", L"5"), S_OK);
            const CLogCatcher log(eZLog_Error);
            Refuse_Thread(nPoints + 1);
            const HRESULT hr = Key(cpKeyer.Get(), cpFrame.Get());
            bRefused = Refuse_End();
            nPoints += bRefused;
            EXPECT_EQ(hr, bRefused ? E_OUTOFMEMORY : S_OK);
            EXPECT_EQ(log.Count("no thread for"), bRefused ? 1u : 0u);
            EXPECT_EQ(Key(cpKeyer.Get(), cpFrame.Get()), S_OK) << "there are threads again";
            ASSERT_LT(nPoints, 100);
        }
        EXPECT_EQ(nPoints, *pwszOutputThread == L't' ? 6 : 5);
        std::printf("output.thread %ls: %d threads refused\n", pwszOutputThread, nPoints);
    }
    EXPECT_TRUE(ZModule_IsIdle());
}

/// No file of this program can grow beyond a few bytes while this lives.
class CFullDisk
{
public:
    CFullDisk()
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_limitBefore);
        const rlimit limit = {100, m_limitBefore.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~CFullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_limitBefore);
        std::signal(SIGXFSZ, SIG_DFL);
    }
    CFullDisk(const CFullDisk&) = delete;
    CFullDisk& operator=(const CFullDisk&) = delete;

private:
    rlimit m_limitBefore = {};
};

#endif

TEST(FaultsDisk, DocumentsThatCannotBeSaved)
{
    const CTempFolder folder;
    const auto cpKeyer = Make(L"false");
    folder.Write("keys.xml", "as it was");
    folder.Write("folder.xml", "");
    std::filesystem::remove(folder.Path("folder.xml"));
    std::filesystem::create_directory(folder.Path("folder.xml"));
    const auto fnSave = [&](const std::string& _strPath) {
        return cpKeyer->PersistSaveToFile(ZText_ToWide(_strPath).c_str());
    };
    const auto fnRefused = [&](const std::string& _strPath, const char* _pszReason) {
        const CLogCatcher log(eZLog_Error);
        EXPECT_EQ(fnSave(_strPath), E_FAIL) << _strPath;
        EXPECT_EQ(log.Count(_strPath), 1u) << "the message names the file";
        EXPECT_EQ(log.Count(_pszReason), 1u) << _strPath;
        EXPECT_EQ(folder.Read("keys.xml"), "as it was");
        EXPECT_EQ(folder.Files(), 2u) << "a temporary file is left";
    };
    fnRefused(folder.Path("folder.xml"), "folder");
    fnRefused(folder.Path("keys.xml/keys.xml"), "check that its folder exists");
    fnRefused(folder.Path("none/keys.xml"), "check that its folder exists");
#if !defined(_WIN32)
    fnRefused("/dev/full", "No space left on device");
    {
        const CFullDisk disk;
        fnRefused(folder.Path("keys.xml"), "File too large");
        fnRefused(folder.Path("new.xml"), "File too large");
    }
#endif
    EXPECT_EQ(cpKeyer->PersistLoad(ZText_ToWide(folder.Path("folder.xml")).c_str()), E_FAIL);
    EXPECT_EQ(fnSave(folder.Path("keys.xml")), S_OK);
    std::string strText;
    std::string strReason;
    EXPECT_FALSE(TextFile_Read(folder.Path("keys.xml"), 20, &strText, &strReason)) << "more bytes than are taken";
    EXPECT_NE(strReason.find("keys.xml"), std::string::npos);
    EXPECT_EQ(cpKeyer->PersistLoad(ZText_ToWide(folder.Path("keys.xml")).c_str()), S_OK);
}

/// Where in a frame the host calls back.
enum eWhere
{
    eWhere_Method,  ///< from a method of the frame, while it is processed
    eWhere_Release, ///< when the last reference to the frame goes, on the output thread
};

class FaultsHost : public testing::TestWithParam<std::tuple<const wchar_t*, eWhere>>
{
protected:
    /// Hands a frame in from which _fnCall is made, once, and waits until it has been.
    void Receive(CCoZChromaKey* _pKeyer, const std::function<void()>& _fnCall)
    {
        const auto [pwszOutputThread, eFrom] = GetParam();
        auto spOnce = std::make_shared<std::atomic<bool>>(false);
        const auto fnOnce = [this, spOnce, _fnCall] {
            if (!spOnce->exchange(true))
            {
                _fnCall();
                m_evtCalled.Set();
            }
        };
        CHookFrame::HOOK fnHook = [fnOnce](const std::string& _strMethod) {
            if (_strMethod == "FrameCreate")
                fnOnce();
            return S_OK;
        };
        if (eFrom == eWhere_Release)
            fnHook = [spEnd = std::shared_ptr<void>(nullptr, [fnOnce](void*) { fnOnce(); })](const std::string&) {
                return S_OK;
            };
        auto cpFrame = CHookFrame::Make(TestFrame_Make(eZFCC_RGB32, 64, -48).Get(), std::move(fnHook));
        fnHook = {};
        CZPtr<IZFFrame> cpRes;
        const HRESULT hr = _pKeyer->OnMediaReceive(cpFrame.Get(), cpRes.Put());
        EXPECT_TRUE(hr == S_OK || hr == S_FALSE) << std::hex << hr;
        cpFrame.Reset();
    }

    /// Makes the plug-in let go of the last frame, for another one or for none.
    static void LetGo(CCoZChromaKey* _pKeyer, bool _bClose)
    {
        CZPtr<IZFFrame> cpRes;
        if (_bClose)
            EXPECT_EQ(_pKeyer->Close(), S_OK);
        else
            _pKeyer->OnMediaReceive(TestFrame_Make(eZFCC_RGB32, 72, -48).Get(), cpRes.Put());
    }

    CZEvent m_evtCalled;
};

TEST_P(FaultsHost, ClosesInTheMiddleOfAFrame)
{
    const auto [pwszOutputThread, eFrom] = GetParam();
    const CLogCatcher log(eZLog_Warning);
    const auto timeBegin = std::chrono::steady_clock::now();
    const auto cpKeyer = Make(pwszOutputThread);
    HRESULT hrClose = E_FAIL;
    const auto fnClose = [&] { hrClose = cpKeyer->Close(); };
    for (int n = 0; n < 2; ++n) // it works again after the first time
    {
        m_evtCalled.Reset();
        Receive(cpKeyer.Get(), fnClose);
        if (eFrom == eWhere_Release && !m_evtCalled.Wait(0)) // the plug-in holds the last frame it has seen
            LetGo(cpKeyer.Get(), n == 1);
        ASSERT_TRUE(m_evtCalled.Wait(5000));
        EXPECT_EQ(hrClose, S_OK);
    }
    EXPECT_EQ(cpKeyer->OnMediaFlush(), S_OK);
    CZPtr<IZFFrame> cpRes;
    EXPECT_EQ(cpKeyer->OnMediaReceive(nullptr, cpRes.Put()), S_FALSE);
    EXPECT_EQ(Key(cpKeyer.Get(), TestFrame_Make(eZFCC_RGB32, 80, -48).Get()), S_OK);
    EXPECT_LT(std::chrono::steady_clock::now() - timeBegin, std::chrono::seconds(5)) << "somebody waited for himself";
    EXPECT_EQ(log.Count(""), 0u);
}

TEST_P(FaultsHost, LetsEverythingGoInTheMiddleOfAFrame)
{
    const auto [pwszOutputThread, eFrom] = GetParam();
    const CLogCatcher log(eZLog_Warning);
    const auto timeBegin = std::chrono::steady_clock::now();
    CCoZChromaKey* const pKeyer = Make(pwszOutputThread).Detach();
    Receive(pKeyer, [&] { pKeyer->Release(); });
    if (eFrom == eWhere_Release) // the plug-in holds the last frame it has seen
        LetGo(pKeyer, false);
    ASSERT_TRUE(m_evtCalled.Wait(5000));
    while (!ZModule_IsIdle() && std::chrono::steady_clock::now() - timeBegin < std::chrono::seconds(5))
        std::this_thread::sleep_for(std::chrono::milliseconds(1)); // the output thread comes to its end
    EXPECT_TRUE(ZModule_IsIdle());
    EXPECT_EQ(log.Count(""), 0u);
}

INSTANTIATE_TEST_SUITE_P(From, FaultsHost,
                         testing::Combine(testing::Values(L"false", L"true"),
                                          testing::Values(eWhere_Method, eWhere_Release)),
                         [](const auto& _info) {
                             const std::string strThread =
                                 *std::get<0>(_info.param) == L't' ? "OutputThread" : "CallingThread";
                             return strThread + (std::get<1>(_info.param) == eWhere_Method ? "Method" : "Release");
                         });

/// Threads that make calls over and over.
class CManyCalls
{
public:
    /// _fnStep: one call or a few; how many came before is its argument.
    template <class Step> void Start(const Step& _fnStep)
    {
        m_vecThreads.emplace_back([this, _fnStep] {
            for (int n = 0; !m_bStop; ++n)
                _fnStep(n);
        });
    }
    /// Frames in three formats, and documents that are saved and loaded.
    template <class Keyer> void StartMedia(Keyer* _pKeyer)
    {
        for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_UYVY, eZFCC_ARGB32})
            Start([this, _pKeyer, cpFrame = TestFrame_Make(fccType, 72, 48)](int _n) {
                CZPtr<IZFFrame> cpRes;
                cpFrame->IdentityRenew();
                const HRESULT hr = _pKeyer->OnMediaReceive(_n % 7 ? cpFrame.Get() : nullptr, cpRes.Put());
                EXPECT_TRUE(hr == S_OK || hr == S_FALSE) << std::hex << hr;
                m_nResults += hr == S_OK;
                m_nKeyed += static_cast<bool>(MaskOf(cpRes.Get()));
            });
        Start([this, _pKeyer](int _n) {
            const std::wstring wstrDocument = DocumentOf(_pKeyer);
            EXPECT_EQ(_n % 4 ? S_OK : _pKeyer->PersistLoad(wstrDocument.c_str()), S_OK);
            ++m_nSaved;
        });
    }
    template <class Keyer> void StartOptions(Keyer* _pKeyer)
    {
        Start([_pKeyer](int _n) {
            const wchar_t* const arrNumbers[] = {L"1", L"2", L"3"};
            EXPECT_EQ(_pKeyer->PropsSet(L"process.threads", arrNumbers[_n % 3]), S_OK);
            EXPECT_EQ(_pKeyer->PropsSet(L"output.argb", _n % 2 ? L"true" : L"false"), S_OK);
            EXPECT_EQ(_pKeyer->PropsSet(L"keying.borders", _n % 3 ? L"" : L"8,2,8,2"), S_OK);
            EXPECT_EQ(_pKeyer->PropsSet(L"output.thread", _n % 16 < 8 ? L"true" : L"false"), S_OK);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        });
        Start([_pKeyer](int _n) {
            EXPECT_EQ(_n % 4 ? _pKeyer->OnMediaFlush() : _pKeyer->Close(), S_OK);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        });
    }
    /// Until there are 1000 results, 300 of them keyed, and 100 documents.
    void Run()
    {
        const auto timeBegin = std::chrono::steady_clock::now();
        while (std::chrono::steady_clock::now() - timeBegin < std::chrono::seconds(100) &&
               (m_nResults < 1000 || m_nKeyed < 300 || m_nSaved < 100))
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        m_bStop = true;
        for (std::thread& thrCall : m_vecThreads)
            thrCall.join();
        EXPECT_GE(m_nResults, 1000);
        EXPECT_GE(m_nKeyed, 300);
        EXPECT_GE(m_nSaved, 100);
    }

private:
    std::atomic<bool> m_bStop{false};
    std::atomic<int> m_nResults{0};
    std::atomic<int> m_nKeyed{0};
    std::atomic<int> m_nSaved{0};
    std::vector<std::thread> m_vecThreads;
};

constexpr const char* c_pszNoFrame = "there is no frame";

/// Whether a pick has gone well, or found that another thread's Close has let go of the frame.
bool IsPicked(HRESULT _hr)
{
    return SUCCEEDED(_hr) || _hr == E_UNEXPECTED;
}

TEST(FaultsHosts, CallFromManyThreadsAtOnce)
{
    const CLogCatcher log(eZLog_Error);
    const auto cpKeyer = Make(L"true");
    const auto cpPicture = TestFrame_Make(eZFCC_UYVY, 64, 48);
    CManyCalls calls;
    calls.StartMedia(cpKeyer.Get());
    calls.StartOptions(cpKeyer.Get());
    calls.Start([&](int _n) {
        static wchar_t s_wszProps[] = L"blocks=8";
        CHROMA_KEY_RAW key = TestKey(_n % 5 ? eCKT_RGB + _n % 3 : eCKT_None);
        EXPECT_EQ(cpKeyer->KeyFrameSet(cpPicture.Get(), nullptr), S_OK);
        EXPECT_GE(cpKeyer->KeyRawSet(&key, nullptr), 0);
        EXPECT_EQ(cpKeyer->KeyRawGet(&key, nullptr), S_OK);
        EXPECT_TRUE(IsPicked(cpKeyer->KeyAddPoint(5, 40)));
        EXPECT_TRUE(IsPicked(_n % 8 ? S_OK : cpKeyer->KeyDetect(s_wszProps)));
        EXPECT_GE(cpKeyer->KeyStepBack(1), 0);
    });
    calls.Run();
    EXPECT_EQ(log.Count("") - log.Count(c_pszNoFrame), 0u);
}

TEST(FaultsHosts, CallTheSecondGenerationFromManyThreadsAtOnce)
{
    const CLogCatcher log(eZLog_Error);
    const auto cpKeyer = CZPtr<CCoZChromaKey2>::Adopt(new CCoZChromaKey2(std::make_unique<CUnmixEngine>()));
    EXPECT_EQ(cpKeyer->PropsSet(L"gpu_mode", L"0"), S_OK);
    const auto cpPicture = TestFrame_Make(eZFCC_UYVY, 64, 48);
    const auto cpMask = TestFrame_Make(eZFCC_RGB8, 40, 30);
    CManyCalls calls;
    calls.StartMedia(cpKeyer.Get());
    calls.StartOptions(cpKeyer.Get());
    calls.Start([&](int _n) { // keys, and steps of editing
        int32_t nDone = 0;
        EXPECT_EQ(cpKeyer->FrameSet(cpPicture.Get()), S_OK);
        EXPECT_TRUE(IsPicked(cpKeyer->KeyAddPoint(5, 40)));
        EXPECT_TRUE(IsPicked(_n % 3 ? S_OK : cpKeyer->KeyAuto()));
        EXPECT_GE(_n % 5 ? S_OK : cpKeyer->KeyProtectColor(0x2040C0), 0);
        EXPECT_GE(cpKeyer->StepBack(1 + _n % 3, &nDone), 0);
        EXPECT_GE(_n % 7 ? S_OK : cpKeyer->KeyReset(), 0);
    });
    calls.Start([&](int _n) { // regions, plate, parameters
        const BSTR bsNoise = SysAllocString(L"noise");
        EXPECT_GE(cpKeyer->RegionSet(static_cast<eRegion>(_n % 3), _n % 2 ? cpMask.Get() : nullptr, nullptr), 0);
        EXPECT_EQ(cpKeyer->PlateSet(_n % 4 ? nullptr : cpPicture.Get()), S_OK);
        EXPECT_EQ(cpKeyer->PlateLearn(static_cast<eLearn>(_n % 3)), S_OK);
        EXPECT_EQ(cpKeyer->ViewSet(static_cast<eView>(_n % 7)), S_OK);
        EXPECT_GE(cpKeyer->ParamSet(bsNoise, _n % 5), 0);
        SysFreeString(bsNoise);
    });
    calls.Start([&](int _n) { // what is known
        CHROMA_KEY2_STATS stats = {};
        CZPtr<IZFFrame> cpAnswer;
        EXPECT_GE(cpKeyer->StatsGet(&stats), 0);
        EXPECT_GE(_n % 2 ? cpKeyer->PlateGet(cpAnswer.Put()) : cpKeyer->RegionGet(eRegion_Garbage, cpAnswer.Put()), 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    calls.Run();
    EXPECT_EQ(log.Count("") - log.Count(c_pszNoFrame), 0u);
}

/// A frame that hangs in one of its methods until it is told to go on.
class CHangingFrame
{
public:
    CHangingFrame(const char* _pszMethod, int32_t _nWidth)
        : m_strMethod(_pszMethod)
        , m_cpFrame(CHookFrame::Make(TestFrame_Make(eZFCC_RGB32, _nWidth, -48).Get(),
                                     [this](const std::string& _strMethod) { return Call(_strMethod); }))
    {
    }
    IZFFrame* Get() const
    {
        return m_cpFrame.Get();
    }

    CZEvent m_evtInside;
    CZEvent m_evtGo;

private:
    HRESULT Call(const std::string& _strMethod)
    {
        if (_strMethod == m_strMethod)
        {
            m_evtInside.Set();
            m_evtGo.Wait(120'000);
        }
        return S_OK;
    }

    std::string m_strMethod;
    CZPtr<CHookFrame> m_cpFrame;
};

TEST(FaultsHosts, AFrameThatHangsHoldsUpItsOwnThreadAlone)
{
    using CLOCK = std::chrono::steady_clock;
    const CLogCatcher log(eZLog_Warning);
    const auto cpKeyer = Make(L"false");
    CHangingFrame frameKeyed("FrameCreate", 64);
    CHangingFrame frameSampled("VideoPtrGet", 72);
    std::thread thrKeys([&] { EXPECT_EQ(Key(cpKeyer.Get(), frameKeyed.Get()), S_OK); });
    ASSERT_TRUE(frameKeyed.m_evtInside.Wait(10'000));
    EXPECT_EQ(cpKeyer->KeyFrameSet(frameSampled.Get(), nullptr), S_OK);
    std::thread thrSamples([&] { EXPECT_EQ(cpKeyer->KeyAddPoint(5, 40), S_OK); });
    ASSERT_TRUE(frameSampled.m_evtInside.Wait(10'000));

    auto timeBegin = CLOCK::now();
    EXPECT_EQ(cpKeyer->KeyAdjustSet(eCKA_Power, 10), S_OK);
    EXPECT_NE(DocumentOf(cpKeyer.Get()), L"");
    EXPECT_LT(CLOCK::now() - timeBegin, std::chrono::seconds(5)) << "edits wait for no frame";
    std::thread thrOther(
        [&] { EXPECT_EQ(Key(cpKeyer.Get(), TestFrame_Make(eZFCC_RGB32, 80, 48).Get()), Z_E_TIMEOUT); });
    timeBegin = CLOCK::now();
    EXPECT_EQ(cpKeyer->Close(), Z_E_TIMEOUT);
    thrOther.join();
    EXPECT_GE(CLOCK::now() - timeBegin, std::chrono::seconds(10));
    EXPECT_LT(CLOCK::now() - timeBegin, std::chrono::seconds(20));
    EXPECT_EQ(log.Count("CCoZChromaKey::Close: a frame is still processed after ten seconds", eZLog_Error), 1u);
    EXPECT_EQ(log.Count("the frame was not taken", eZLog_Error), 1u);

    frameSampled.m_evtGo.Set();
    frameKeyed.m_evtGo.Set();
    thrSamples.join();
    thrKeys.join();
    EXPECT_EQ(RefsOf(frameSampled.Get()), 1u) << "Close has let go of it";
    EXPECT_EQ(cpKeyer->Close(), S_OK);
    EXPECT_EQ(RefsOf(frameKeyed.Get()), 1u);
}

TEST(FaultsHosts, FramesSetForKeyingAreAskedForNothingByEditsThatTakeNoSample)
{
    int nCalls = 0;
    const auto cpFrame = CHookFrame::Make(TestFrame_Make(eZFCC_RGB32, 64, -48).Get(), [&](const std::string&) {
        ++nCalls; // where the host takes a lock that it also holds while it edits
        return S_OK;
    });
    const auto cpKeyer = Make(L"false");
    EXPECT_EQ(cpKeyer->KeyFrameSet(cpFrame.Get(), nullptr), S_OK);
    nCalls = 0;
    const CHROMA_KEY_RAW key = TestKey(eCKT_HLS);
    CZPtr<IZKey> cpKey;
    EXPECT_EQ(cpKeyer->KeyRawSet(&key, nullptr), S_OK);
    EXPECT_EQ(cpKeyer->KeyAdjustSet(eCKA_KeyType, eCKT_YUV), S_OK);
    EXPECT_EQ(cpKeyer->KeyGet(nullptr, cpKey.Put()), S_OK);
    EXPECT_EQ(cpKeyer->KeySet(cpKey.Get()), S_OK);
    EXPECT_EQ(cpKeyer->PersistLoad(DocumentOf(cpKeyer.Get()).c_str()), S_OK);
    EXPECT_EQ(nCalls, 0);
}

TEST(FaultsHosts, AnEditOutOfAFrameAndACloseOutOfASampledFrameDoNotWaitForEachOther)
{
    const auto timeBegin = std::chrono::steady_clock::now();
    const auto cpKeyer = Make(L"false");
    CZEvent evtKeyed;
    CZEvent evtSampled;
    const auto fnFrame = [&](const char* _pszMethod, CZEvent* _pInside, CZEvent* _pOther,
                             std::function<HRESULT()> _fn) {
        return CHookFrame::Make(TestFrame_Make(eZFCC_RGB32, 64, -48).Get(),
                                [=, spOnce = std::make_shared<std::once_flag>()](const std::string& _strMethod) {
                                    if (_strMethod == _pszMethod)
                                        std::call_once(*spOnce, [&] {
                                            _pInside->Set();
                                            EXPECT_TRUE(_pOther->Wait(10'000));
                                            EXPECT_EQ(_fn(), S_OK);
                                        });
                                    return S_OK;
                                });
    };
    const auto cpKeyed =
        fnFrame("FrameCreate", &evtKeyed, &evtSampled, [&] { return cpKeyer->KeyAdjustSet(eCKA_Power, 10); });
    const auto cpSampled = fnFrame("VideoPtrGet", &evtSampled, &evtKeyed, [&] { return cpKeyer->Close(); });
    EXPECT_EQ(cpKeyer->KeyFrameSet(cpSampled.Get(), nullptr), S_OK);
    std::thread thrKeys([&] { EXPECT_EQ(Key(cpKeyer.Get(), cpKeyed.Get()), S_OK); });
    EXPECT_EQ(cpKeyer->KeyAddPoint(5, 40), S_OK);
    thrKeys.join();
    EXPECT_LT(std::chrono::steady_clock::now() - timeBegin, std::chrono::seconds(5));
}

/// A host's log that does not come back from the first line of a keying thread until it is told to.
class CHangingLog final : public CZUnknown<IZLogSink>
{
public:
    void STDMETHODCALLTYPE LogLine(int32_t, const char* _pszText) override
    {
        const std::string_view svText(_pszText);
        m_nLeft += svText.find("NOT STOPPED") != std::string_view::npos;
        m_nGivenUp += svText.find("keying was given up") != std::string_view::npos;
        if (svText.find("keys)]") == std::string_view::npos || m_bHung.exchange(true))
            return;
        m_evtInside.Set();
        m_evtGo.Wait(120'000);
    }

    CZEvent m_evtInside;
    CZEvent m_evtGo;
    std::atomic<bool> m_bHung{false};
    std::atomic<int> m_nLeft{0};    ///< threads that were left to themselves
    std::atomic<int> m_nGivenUp{0}; ///< frames
};

/// A keying thread that hangs in the host's log and an output thread that hangs in the host's frame, side by side, for
/// each is waited for twice.
TEST(FaultsHosts, HangForLongerThanTheyAreWaitedFor)
{
    using CLOCK = std::chrono::steady_clock;
    const auto timeBegin = CLOCK::now();
    const auto fnSeconds = [&] { return std::chrono::duration<double>(CLOCK::now() - timeBegin).count(); };
    const auto cpLog = CZPtr<CHangingLog>::Adopt(new CHangingLog);
    ZLog_Set(cpLog.Get(), eZLog_Verbose);
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, -48);
    std::atomic<bool> bGivenBack{false};
    const auto fnGivenBack = [&] { bGivenBack = true; };
    CZPtr<CZFrame> cpPixels;
    EXPECT_EQ(ZFrame_WrapPlanes(PropsOf(cpFrame.Get()), PtrOf(cpFrame.Get(), eZFP_Stored), fnGivenBack, cpPixels.Put()),
              S_OK);
    auto cpKeyer = Make(L"false");
    HRESULT hrHung = S_OK;
    std::thread thrHost([&] { hrHung = Key(cpKeyer.Get(), cpPixels.Get()); });
    ASSERT_TRUE(cpLog->m_evtInside.Wait(10'000));

    auto cpOther = Make(L"true");
    CZEvent evtAsked;
    CZEvent evtAnswer;
    const auto fnHandIn = [&] {
        CZPtr<IZFFrame> cpRes;
        const auto cpSlow = CHookFrame::Make(cpFrame.Get(), [&](const std::string& _strMethod) {
            if (_strMethod == "FrameCreate")
            {
                evtAsked.Set();
                evtAnswer.Wait(120'000);
            }
            return S_OK;
        });
        return cpOther->OnMediaReceive(cpSlow.Get(), cpRes.Put());
    };
    EXPECT_EQ(fnHandIn(), S_FALSE);
    EXPECT_EQ(fnHandIn(), Z_E_TIMEOUT) << "one second";
    EXPECT_EQ(cpOther->Close(), Z_E_TIMEOUT) << "ten";
    evtAnswer.Set();
    EXPECT_EQ(Key(cpOther.Get(), TestFrame_Make(eZFCC_RGB32, 72, -48).Get()), S_OK) << "it works again";
    evtAnswer.Reset();
    evtAsked.Reset();
    EXPECT_EQ(fnHandIn(), S_FALSE);
    EXPECT_TRUE(evtAsked.Wait(10'000)); // otherwise the frame would just not be begun
    cpOther.Reset();

    thrHost.join();
    EXPECT_EQ(hrHung, Z_E_TIMEOUT);
    EXPECT_EQ(cpLog->m_nGivenUp, 1);
    EXPECT_EQ(Key(cpKeyer.Get(), TestFrame_Make(eZFCC_RGB32, 80, -48).Get()), S_OK) << "with another thread";
    cpKeyer.Reset();
    cpPixels.Reset();
    EXPECT_EQ(cpLog->m_nLeft, 2) << "one thread of each object";
    EXPECT_GT(fnSeconds(), 20);
    EXPECT_LT(fnSeconds(), 60);

    evtAnswer.Set();
    const auto fnRefs = [&] { return RefsOf(static_cast<IZFFrame2*>(cpFrame.Get())); };
    for (int n = 0; n < 10'000 && fnRefs() > 1; ++n) // until the output thread has let go of the frame
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(fnRefs(), 1u);
    EXPECT_FALSE(ZModule_IsIdle()) << "the keying thread still runs code of the module";
    EXPECT_FALSE(bGivenBack) << "and may touch the host's pixels";
    cpLog->m_evtGo.Set();
    for (int n = 0; n < 10'000 && !(ZModule_IsIdle() && bGivenBack); ++n)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(ZModule_IsIdle());
    EXPECT_TRUE(bGivenBack);
    ZLog_Set(nullptr, eZLog_Warning);
}

} // namespace
