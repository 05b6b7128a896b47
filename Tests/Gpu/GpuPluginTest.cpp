// The plug-in object with its frames on the GPU: the same results as on the CPU, and what happens without a device.

#include "ZChromaKey/Objects/CoZChromaKey.h"

#include "DirectX/Pipeline/GPUProcessorCK.h"
#include "Gpu/DeviceHooks.h"
#include "Gpu/PipelineSupport.h"
#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"
#include "ZChromaKey/Engine1/Gpu/GPUKeyer.h"
#include "ZChromaKey/Objects/Module.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{

/// The same picture, and a record that says the same but for the stride.
void ExpectSame(IZFFrame* _pFrame, IZFFrame* _pExpected)
{
    ZF_VID_PROPS vidProps = PropsOf(_pFrame);
    ZF_VID_PROPS vidPropsExpected = PropsOf(_pExpected);
    vidProps.nRowBytes = vidPropsExpected.nRowBytes = 0;
    EXPECT_EQ(VidProps_Text(&vidProps), VidProps_Text(&vidPropsExpected));
    EXPECT_TRUE(Gpu_Pixels(_pFrame) == Gpu_Pixels(_pExpected));
}

class GpuPlugin : public testing::Test
{
protected:
    GpuPlugin()
    {
        EXPECT_EQ(CCoZChromaKey::Create(IID_IZFProcess, m_cpProcess.PutVoid()), S_OK);
        m_cpProps = ZQuery<IZProps>(m_cpProcess);
        m_cpKey = ZQuery<IZChromaKey>(m_cpProcess);
        Set(L"output.thread", L"false");
        KeySet(TestKey(eCKT_RGB));
    }
    void KeySet(const CHROMA_KEY_RAW& _key)
    {
        EXPECT_EQ(m_cpKey->KeyRawSet(&_key, nullptr), S_OK);
    }
    void Set(const wchar_t* _pwszName, const wchar_t* _pwszValue)
    {
        EXPECT_EQ(m_cpProps->PropsSet(_pwszName, _pwszValue), S_OK);
    }
    CZPtr<IZFFrame> Receive(IZFFrame* _pFrame, const wchar_t* _pwszMode)
    {
        Set(L"gpu_mode", _pwszMode);
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(m_cpProcess->OnMediaReceive(_pFrame, cpRes.Put()), S_OK);
        return cpRes;
    }
    /// A frame is keyed, wherever.
    void Key(const wchar_t* _pwszMode)
    {
        const auto cpRes = Receive(TestFrame_Make(eZFCC_RGB32, 64, 32).Get(), _pwszMode);
        ASSERT_TRUE(cpRes);
        EXPECT_TRUE(AttachmentOf(cpRes.Get(), L"mask"));
    }
    static size_t OnGPU(const CLogCatcher& _log)
    {
        return _log.Count(") GPU Processed(0) OK");
    }

    CZPtr<IZFProcess> m_cpProcess;
    CZPtr<IZProps> m_cpProps;
    CZPtr<IZChromaKey> m_cpKey;
};

/// Time code, texts and attachments as the test put them on the input.
void ExpectTakenOver(IZFFrame* _pFrame)
{
    EXPECT_EQ(TimeCodeOf(_pFrame).nMinutes, 20);
    EXPECT_EQ(TextOf(_pFrame, L"camera"), L"two");
    EXPECT_TRUE(AttachmentOf(_pFrame, L"other"));
    CZPtr<IUnknown> cpTexture;
    EXPECT_EQ(_pFrame->AttachmentGet(c_wszFrameTexture, cpTexture.Put()), S_FALSE) << "of the input";
}

TEST_F(GpuPlugin, GivesWhatTheCpuGives)
{
    const CLogCatcher log;
    const std::pair<uint32_t, int> arrFormats[] = {
        {eZFCC_RGB32, 32}, {eZFCC_RGB32, -32}, {eZFCC_ARGB32, 32}, {eZFCC_ARGB32, -32}, {eZFCC_UYVY, 32},
        {eZFCC_HDYC, 32},  {eZFCC_YUY2, 32},   {eZFCC_YVYU, 32},   {eZFCC_NV12, 32},    {eZFCC_I420, 32},
        {eZFCC_YV12, 32},  {eZFCC_I422, 32},   {eZFCC_YV16, 32},   {eZFCC_v210, 32},    {eZFCC_RGB24, 32}};
    const auto cpTexture = Gpu_Texture(96, 32);
    size_t nKeyed = 0;
    size_t nCase = 0;
    for (const int32_t eType : {eCKT_RGB, eCKT_HLS, eCKT_YUV})
        for (const wchar_t* const pwszARGB : {L"false", L"true"})
            for (const auto& [fccType, nHeight] : arrFormats)
            {
                if (Gpu_IsLeftOut(nCase++))
                    continue;
                const wchar_t* const pwszBorders = eType == eCKT_YUV ? L"8,4,8,2" : L"";
                SCOPED_TRACE(std::to_string(eType) + " " + ZText_FromWide(pwszARGB) + " " +
                             ZText_FromWide(pwszBorders) + " " + FCC_Name(fccType) + " " + std::to_string(nHeight));
                KeySet(TestKey(eType));
                Set(L"output.argb", pwszARGB);
                Set(L"keying.borders", pwszBorders);
                const auto cpFrame = TestFrame_Make(fccType, 96, nHeight);
                cpFrame->TimeCodeSet({1, 20, 33, 4, 0});
                ASSERT_EQ(cpFrame->PropsSet(L"camera", L"two"), S_OK);
                ASSERT_EQ(cpFrame->AttachmentSet(L"other", ZQuery<IZFFrame>(TestFrame_Make(eZFCC_UYVY, 8, 8)).Get()),
                          S_OK);
                ASSERT_EQ(cpFrame->AttachmentSet(c_wszFrameTexture, cpTexture.Get()), S_OK);
                const std::vector<uint8_t> vecBefore = Gpu_Pixels(cpFrame.Get());
                const auto cpCPU = Receive(cpFrame.Get(), L"0");
                const auto cpGPU = Receive(cpFrame.Get(), L"1");
                ASSERT_TRUE(cpCPU && cpGPU);
                EXPECT_EQ(OnGPU(log), ++nKeyed);
                ExpectSame(cpGPU.Get(), cpCPU.Get());
                const auto cpMaskCPU = ZQuery<IZFFrame>(AttachmentOf(cpCPU.Get(), L"mask"));
                const auto cpMaskGPU = ZQuery<IZFFrame>(AttachmentOf(cpGPU.Get(), L"mask"));
                ASSERT_TRUE(cpMaskCPU && cpMaskGPU);
                ExpectSame(cpMaskGPU.Get(), cpMaskCPU.Get());
                ExpectTakenOver(cpCPU.Get());
                ExpectTakenOver(cpGPU.Get());
                EXPECT_TRUE(Gpu_Pixels(cpFrame.Get()) == vecBefore) << "the input is never written";
            }
    EXPECT_EQ(log.Count("System: adapter "), 1u);
}

TEST_F(GpuPlugin, LeavesBordersThroughChromaSamplesToTheCpu)
{
    const CLogCatcher log;
    Set(L"output.argb", L"true");
    const auto cpFrame = TestFrame_Make(eZFCC_YV12, 96, 32);
    for (const auto& [pwszBorders, nKeyed] : {std::pair(L"8,4,8,2", 1u), std::pair(L"8,3,8,3", 1u)})
    {
        Set(L"keying.borders", pwszBorders);
        const auto cpGPU = Receive(cpFrame.Get(), L"-1");
        const auto cpCPU = Receive(cpFrame.Get(), L"0");
        ASSERT_TRUE(cpGPU && cpCPU);
        ExpectSame(cpGPU.Get(), cpCPU.Get());
        EXPECT_EQ(OnGPU(log), nKeyed) << pwszBorders;
    }
}

TEST_F(GpuPlugin, KeepsFramesInMemoryOutOfTheHostsContext)
{
    const CLogCatcher log;
    const auto cpTexture = Gpu_Texture(16, 8);
    int nMaps = 0; // on the host's context
    const HOOK_MAP hook(Gpu_Context(), [&](auto _pfnOriginal, auto* _pThis, auto... _args) {
        nMaps += _pThis == Gpu_Context();
        return _pfnOriginal(_pThis, _args...);
    });
    for (int n = 0; n < 2; ++n)
    {
        const auto cpRes = Receive(Gpu_TextureFrame(cpTexture.Get(), Gpu_Props(eZFCC_RGB32, 16, -8)).Get(), L"1");
        ASSERT_TRUE(cpRes);
        EXPECT_TRUE(GPU_TextureOf(cpRes.Get()));
        Key(L"1");
    }
    EXPECT_EQ(nMaps, 0);
    EXPECT_EQ(log.Count("D3D11CreateDevice("), 1u) << "one of our own, once";
    EXPECT_EQ(OnGPU(log), 4u);
}

TEST_F(GpuPlugin, SaysWhereColourCancelHasNoEffect)
{
    CHROMA_KEY_RAW key = TestKey(eCKT_RGB);
    key.bColorCancel = 1;
    key.arrKeys[0].nCancelPower = 50;
    KeySet(key);
    const CLogCatcher log;
    for (const uint32_t fccType : {eZFCC_UYVY, eZFCC_NV12, eZFCC_NV12})
        EXPECT_TRUE(Receive(TestFrame_Make(fccType, 64, 32).Get(), L"1"));
    EXPECT_EQ(OnGPU(log), 3u);
    EXPECT_EQ(log.Count("colour cancel leaves the colours of NV12 frames"), 1u);
}

TEST_F(GpuPlugin, StaysLoadedWhileTheHostHoldsAResultsTexture)
{
    auto cpFrame = Gpu_TextureFrame(Gpu_Texture(16, 8).Get(), Gpu_Props(eZFCC_RGB32, 16, -8));
    CZPtr<IDX11Texture> cpTexture;
    {
        const auto cpRes = Receive(cpFrame.Get(), L"1");
        ASSERT_TRUE(cpRes);
        cpTexture = GPU_TextureOf(cpRes.Get());
        ASSERT_TRUE(cpTexture);
    }
    m_cpKey.Reset();
    m_cpProps.Reset();
    m_cpProcess.Reset();
    EXPECT_FALSE(ZModule_IsIdle());
    cpTexture.Reset();
    EXPECT_TRUE(ZModule_IsIdle());
}

int g_nDevicesAsked = 0;
decltype(DX_FUNCTIONS::pfnD3D11CreateDevice) g_pfnCreateDevice; // null: no device can be made

HRESULT WINAPI CountedDevice(IDXGIAdapter* _pAdapter, D3D_DRIVER_TYPE _eDriver, HMODULE _hSoftware, UINT _nFlags,
                             const D3D_FEATURE_LEVEL* _pLevels, UINT _nLevels, UINT _nVersion, ID3D11Device** _ppDevice,
                             D3D_FEATURE_LEVEL* _peLevel, ID3D11DeviceContext** _ppContext)
{
    ++g_nDevicesAsked;
    return g_pfnCreateDevice ? g_pfnCreateDevice(_pAdapter, _eDriver, _hSoftware, _nFlags, _pLevels, _nLevels,
                                                 _nVersion, _ppDevice, _peLevel, _ppContext)
                             : DXGI_ERROR_UNSUPPORTED;
}

/// Adapters are said to be software, or not, while it lives.
HOOK_ADAPTERDESC1 SoftwareHook(bool _bSoftware)
{
    return HOOK_ADAPTERDESC1(ZQuery<IDXGIAdapter1>(DX_AdapterGet(Gpu_Device())).Get(),
                             [_bSoftware](auto _pfnOriginal, IDXGIAdapter1* _pThis, DXGI_ADAPTER_DESC1* _pDesc) {
                                 const HRESULT hr = _pfnOriginal(_pThis, _pDesc);
                                 _pDesc->Flags = _bSoftware ? UINT{DXGI_ADAPTER_FLAG_SOFTWARE} : 0;
                                 return hr;
                             });
}

TEST_F(GpuPlugin, AsksForADeviceOnceUntilAnOptionChanges)
{
    const auto hookAdapter = SoftwareHook(false);
    DX_FUNCTIONS functions = DX_Functions();
    const auto pfnCreateDevice = std::exchange(functions.pfnD3D11CreateDevice, &CountedDevice);
    DX_FunctionsSet(&functions);
    const CLogCatcher log;
    const auto fnKey = [&](const wchar_t* _pwszThreads, int _nDevices) {
        Set(L"process.threads", _pwszThreads);
        for (int n = 0; n < 3; ++n)
            Key(L"-1");
        EXPECT_EQ(g_nDevicesAsked, _nDevices);
    };
    g_nDevicesAsked = 0;
    g_pfnCreateDevice = nullptr;
    fnKey(L"2", 1);
    EXPECT_EQ(log.Count("Failed to perform GPU chroma key! hr=887A0004", eZLog_Error), 1u);
    fnKey(L"3", 2);
    EXPECT_EQ(OnGPU(log), 0u);
    g_pfnCreateDevice = pfnCreateDevice;
    fnKey(L"4", 3);
    EXPECT_EQ(OnGPU(log), 3u);
    {
        const HOOK_REMOVEDREASON hook(Gpu_Device(), [](auto...) { return DXGI_ERROR_DEVICE_HUNG; });
        fnKey(L"4", 3);
        EXPECT_EQ(log.Count("Failed to perform GPU chroma key! hr=887A0006"), 1u) << "between frames";
        fnKey(L"5", 4);
    }
    fnKey(L"6", 5);
    EXPECT_EQ(OnGPU(log), 6u);
    DX_FunctionsSet(nullptr);
}

TEST_F(GpuPlugin, LeavesASoftwareAdapterAloneUnlessTold)
{
    const auto hook = SoftwareHook(true);
    const CLogCatcher log;
    size_t nOnGPU = 0;
    for (const wchar_t* const pwszMode : {L"-1", L"1", L"-1"})
        for (int n = 0; n < 3; ++n)
        {
            Key(pwszMode);
            nOnGPU += *pwszMode == L'1';
            EXPECT_EQ(OnGPU(log), nOnGPU);
        }
    EXPECT_EQ(log.Count("no graphics card but the processor", eZLog_Info), 2u) << "once for each change of the mode";
    EXPECT_EQ(log.Count("D3D11CreateDevice("), 3u);
    EXPECT_EQ(log.Count("", eZLog_Error), 0u);
}

TEST_F(GpuPlugin, LetsGoOfFramesBehindItsLocks)
{
    Set(L"debug.time_overlay", L"true");
    // Called when a frame that the plug-in has made ends, with its hook: another thread takes the lock of processing.
    std::vector<std::thread> vecThreads;
    const auto fnEnd = [&](void*) {
        const auto spClosed = std::make_shared<CZEvent>();
        vecThreads.emplace_back([this, spClosed] {
            EXPECT_EQ(ZQuery<IZPlugin>(m_cpProcess)->Close(), S_OK);
            spClosed->Set();
        });
        EXPECT_TRUE(spClosed->Wait(5000));
    };
    const auto cpFrame =
        CHookFrame::Make(TestFrame_Make(eZFCC_v210, 96, 32).Get(), [](const std::string&) { return S_OK; });
    cpFrame->m_fnMade = [&](IZFFrame** _ppFrame) {
        std::shared_ptr<void> spEnd(nullptr, fnEnd);
        const auto cpMade = CZPtr<IZFFrame>::Adopt(*_ppFrame);
        *_ppFrame =
            CHookFrame::Make(ZQuery<IZFFrame2>(cpMade).Get(), [spEnd](const std::string&) { return S_OK; }).Detach();
    };
    EXPECT_TRUE(Receive(cpFrame.Get(), L"1"));
    EXPECT_EQ(vecThreads.size(), 2u) << "the picture that was uploaded, and the result before the time was drawn";
    for (std::thread& thrOther : vecThreads)
        thrOther.join();
}

} // namespace
