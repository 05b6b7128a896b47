#include "DirectX/Device/DXDevice.h"

#include "Base/ZThread.h"
#include "Gpu/DeviceHooks.h"
#include "Gpu/GpuEnvironment.h"
#include "Support/LogCatcher.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace
{

constexpr char c_szRed[] = "float4 PS() : SV_TARGET { return float4(1, 0, 0, 1); }";
constexpr char c_szBlue[] = "float4 PS() : SV_TARGET { return float4(0, 0, 1, 1); }";

struct CREATE_CALL
{
    IDXGIAdapter* pAdapter;
    D3D_DRIVER_TYPE eDriver;
    UINT nFlags;
    std::vector<D3D_FEATURE_LEVEL> vecLevels;
};
std::vector<CREATE_CALL> g_vecCreateCalls;
std::vector<HRESULT> g_vecCreateResults; // of the first calls; then the shared device

HRESULT WINAPI FakeCreate(IDXGIAdapter* _pAdapter, D3D_DRIVER_TYPE _eDriver, HMODULE, UINT _nFlags,
                          const D3D_FEATURE_LEVEL* _pLevels, UINT _nLevels, UINT, ID3D11Device** _ppDevice,
                          D3D_FEATURE_LEVEL* _peLevel, ID3D11DeviceContext**)
{
    const size_t nCall = g_vecCreateCalls.size();
    g_vecCreateCalls.push_back({_pAdapter, _eDriver, _nFlags, {_pLevels, _pLevels + _nLevels}});
    if (nCall < g_vecCreateResults.size())
        return g_vecCreateResults[nCall];
    *_ppDevice = CZPtr<ID3D11Device>(Gpu_Device()).Detach();
    *_peLevel = (*_ppDevice)->GetFeatureLevel();
    return S_OK;
}

/// Other entry points while it lives.
class CFakeFunctions
{
public:
    CFakeFunctions()
        : m_functions(DX_Functions())
    {
        g_vecCreateCalls.clear();
        g_vecCreateResults.clear();
        m_functions.pfnD3D11CreateDevice = &FakeCreate;
        DX_FunctionsSet(&m_functions);
    }
    ~CFakeFunctions()
    {
        DX_FunctionsSet(nullptr);
    }
    DX_FUNCTIONS m_functions;
};

std::string g_strCompiled;
HRESULT WINAPI FakeCompile(LPCVOID, SIZE_T _cbText, LPCSTR _pszName, const D3D_SHADER_MACRO* _pMacros,
                           ID3DInclude* _pInclude, LPCSTR _pszEntry, LPCSTR _pszTarget, UINT _nFlags1, UINT _nFlags2,
                           ID3DBlob**, ID3DBlob**)
{
    const bool bPlain = !_pszName && !_pMacros && !_pInclude && _nFlags1 == 0 && _nFlags2 == 0;
    g_strCompiled = std::string(_pszEntry) + " " + _pszTarget + " " + std::to_string(_cbText) + (bPlain ? "" : " !");
    return E_FAIL; // and neither code nor a text
}

} // namespace

TEST(DXDevice, TakesTheDeviceOfItsSource)
{
    const auto cpTexture = Gpu_Texture(4, 4);
    const auto cpProtection = ZQuery<ID3D10Multithread>(Gpu_Device());
    for (IUnknown* const pSource : {static_cast<IUnknown*>(Gpu_Device()), static_cast<IUnknown*>(cpTexture.Get())})
    {
        CLogCatcher log;
        cpProtection->SetMultithreadProtected(FALSE);
        CZPtr<DX11Device> cpWrapper;
        ASSERT_EQ(DX11Device::Create(pSource, cpWrapper.Put()), S_OK);
        EXPECT_EQ(cpWrapper->Device(), Gpu_Device());
        EXPECT_TRUE(cpProtection->GetMultithreadProtected());
        EXPECT_EQ(log.Count("Init by ID3D11Resource/ID3D11Device", eZLog_Info), 1u);
        EXPECT_EQ(log.Count("D3D11CreateDevice("), 0u);
        EXPECT_TRUE(cpWrapper->Context() && cpWrapper->SamplerPoint() && cpWrapper->SamplerLinear());
        EXPECT_EQ(cpWrapper->Init(nullptr), S_FALSE);
        EXPECT_EQ(log.Count("", eZLog_Error), 0u);
    }
    EXPECT_EQ(DX11Device::Create(nullptr, nullptr), E_POINTER);
}

TEST(DXDevice, AsksForTheAdapterOrTheDefaultOne)
{
    const auto cpAdapter = DX_AdapterGet(Gpu_Device());
    DXGI_ADAPTER_DESC desc = {};
    ASSERT_EQ(cpAdapter->GetDesc(&desc), S_OK);
    const std::string strName = ZText_FromWide(desc.Description);
    const std::vector<D3D_FEATURE_LEVEL> vecLevels = {
        D3D_FEATURE_LEVEL_11_1, D3D_FEATURE_LEVEL_11_0, D3D_FEATURE_LEVEL_10_1, D3D_FEATURE_LEVEL_10_0,
        D3D_FEATURE_LEVEL_9_3,  D3D_FEATURE_LEVEL_9_2,  D3D_FEATURE_LEVEL_9_1};
    // A context is of a device, but neither device nor resource.
    for (IUnknown* const pSource : {static_cast<IUnknown*>(cpAdapter.Get()), static_cast<IUnknown*>(nullptr),
                                    static_cast<IUnknown*>(Gpu_Context())})
    {
        CFakeFunctions fakes;
        CLogCatcher log;
        CZPtr<DX11Device> cpWrapper;
        ASSERT_EQ(DX11Device::Create(pSource, cpWrapper.Put()), S_OK);
        ASSERT_EQ(g_vecCreateCalls.size(), 1u);
        const CREATE_CALL& call = g_vecCreateCalls[0];
        const bool bAdapter = pSource == cpAdapter.Get();
        EXPECT_EQ(call.pAdapter, bAdapter ? cpAdapter.Get() : nullptr);
        EXPECT_EQ(call.eDriver, bAdapter ? D3D_DRIVER_TYPE_UNKNOWN : D3D_DRIVER_TYPE_HARDWARE);
        EXPECT_EQ(call.nFlags, 0x20u);
        EXPECT_EQ(call.vecLevels, vecLevels);
        EXPECT_EQ(log.Count("Init by IDXGIAdapter:" + (bAdapter ? strName : "Default"), eZLog_Info), 1u);
        const std::string strMade = ZFormat("D3D11CreateDevice(%hs, VendorID:%08X", strName, desc.VendorId);
        EXPECT_EQ(log.Count(strMade, eZLog_Info), 1u);
        EXPECT_EQ(log.Count(ZFormat("=00000000 d3dFeature:%08X", Gpu_Device()->GetFeatureLevel())), 1u);
    }
}

TEST(DXDevice, DebugLayerIsAskedForAndDoneWithout)
{
    const auto fnCreate = [](std::vector<HRESULT> _vecResults) {
        g_vecCreateCalls.clear();
        g_vecCreateResults = std::move(_vecResults);
        CZPtr<DX11Device> cpWrapper;
        const HRESULT hr = DX11Device::Create(nullptr, cpWrapper.Put());
        EXPECT_EQ(!cpWrapper, FAILED(hr));
        return hr;
    };
    CFakeFunctions fakes;
    CLogCatcher log;
    _putenv("ZCK_D3D_DEBUG=1");
    EXPECT_EQ(fnCreate({}), S_OK);
    ASSERT_EQ(g_vecCreateCalls.size(), 1u);
    EXPECT_EQ(g_vecCreateCalls[0].nFlags, 0x22u);
    EXPECT_EQ(fnCreate({static_cast<HRESULT>(0x887A002D)}), S_OK);
    ASSERT_EQ(g_vecCreateCalls.size(), 2u);
    EXPECT_EQ(g_vecCreateCalls[1].nFlags, 0x20u);
    EXPECT_EQ(log.Count("no debug layer", eZLog_Warning), 1u);
    for (const char* const pszSetting : {"ZCK_D3D_DEBUG=1", "ZCK_D3D_DEBUG="}) // other failures: no second try
    {
        _putenv(pszSetting);
        EXPECT_EQ(fnCreate({E_INVALIDARG}), E_INVALIDARG);
        EXPECT_EQ(g_vecCreateCalls.size(), 1u);
    }
    EXPECT_EQ(
        log.Count("D3D11CreateDevice(Default, VendorID:00000000, LCID:0)=80070057 d3dFeature:00000000", eZLog_Error),
        2u);
}

TEST(DXDevice, SystemsWithoutDirect3DSayWhatIsMissing)
{
    CFakeFunctions fakes;
    CZPtr<DX11Device> cpWrapper;
    fakes.m_functions.pfnD3D11CreateDevice = nullptr;
    EXPECT_EQ(DX11Device::Create(nullptr, cpWrapper.Put()), HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND));
    fakes.m_functions.pfnD3DCompile = nullptr;
    EXPECT_EQ(DX11Device::Create(Gpu_Device(), cpWrapper.Put()), HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND));
    EXPECT_FALSE(cpWrapper);
}

TEST(DXDevice, EveryStepOfInitMayFail)
{
    CCallFaults faults(Gpu_Device());
    int nCall = 0;
    for (bool bFailed = true; bFailed;)
    {
        CZPtr<DX11Device> cpWrapper;
        const ULONG nRefs = RefsOf(Gpu_Device());
        bFailed = faults.Try(++nCall, E_OUTOFMEMORY, [&] { return DX11Device::Create(Gpu_Device(), cpWrapper.Put()); });
        EXPECT_EQ(!cpWrapper, bFailed);
        cpWrapper.Reset();
        EXPECT_EQ(RefsOf(Gpu_Device()), nRefs);
    }
    EXPECT_EQ(nCall, 7);
}

TEST(DXShader, EntryAndTargetFollowKindAndLevel)
{
    const std::tuple<eDX_Shader, D3D_FEATURE_LEVEL, const char*> arrRows[] = {
        {eDXS_Pixel, D3D_FEATURE_LEVEL_9_1, "PS ps_2_0"},         {eDXS_Vertex, D3D_FEATURE_LEVEL_9_3, "VS vs_2_0"},
        {eDXS_Compute, D3D_FEATURE_LEVEL_10_0, "CS_Main cs_4_0"}, {eDXS_Pixel, D3D_FEATURE_LEVEL_10_1, "PS ps_4_1"},
        {eDXS_Vertex, D3D_FEATURE_LEVEL_11_0, "VS vs_5_0"},       {eDXS_Pixel, D3D_FEATURE_LEVEL_11_1, "PS ps_5_0"},
        {eDXS_Pixel, D3D_FEATURE_LEVEL_12_0, "PS ps_5_0"},        {eDXS_Vertex, D3D_FEATURE_LEVEL_12_1, "VS vs_5_0"},
    };
    CFakeFunctions fakes;
    fakes.m_functions.pfnD3DCompile = &FakeCompile;
    CZPtr<ID3DBlob> cpCode;
    CLogCatcher log;
    for (const auto& [eType, eLevel, pszAsked] : arrRows)
    {
        EXPECT_EQ(DX11Device::Shader_Compile("text", eType, eLevel, cpCode.Put()), E_FAIL);
        EXPECT_EQ(g_strCompiled, std::string(pszAsked) + " 4");
    }
    EXPECT_EQ(log.Count("Failed to compile shader"), std::size(arrRows));
    const auto eOther = static_cast<eDX_Shader>(2);
    EXPECT_EQ(DX11Device::Shader_Compile("text", eOther, D3D_FEATURE_LEVEL_11_0, cpCode.Put()), E_NOTIMPL);
    EXPECT_EQ(log.Count("Unknown shader type!"), 1u);
    for (const char* const pszNone : {"", static_cast<const char*>(nullptr)})
        EXPECT_EQ(DX11Device::Shader_Compile(pszNone, eDXS_Pixel, D3D_FEATURE_LEVEL_11_0, cpCode.Put()), E_INVALIDARG);
}

TEST(DXShader, CompilerErrorsAreLoggedWithTheText)
{
    const auto cpWrapper = Gpu_Wrapper();
    CLogCatcher log;
    CZPtr<ID3D11PixelShader> cpShader;
    EXPECT_LT(cpWrapper->PixelShader_Create("float4 PS() : SV_TARGET { return nothing; }", cpShader.Put()), 0);
    EXPECT_FALSE(cpShader);
    EXPECT_EQ(log.Count("Failed to compile shader PS VER. ps_5_0 with error: ", eZLog_Error), 1u);
    EXPECT_EQ(log.Count("\ncode:float4 PS() : SV_TARGET { return nothing; }", eZLog_Error), 1u);
    EXPECT_EQ(log.Count("DX11Device::PixelShader_Create: Failed to compile pixel shader", eZLog_Error), 1u);
}

TEST(DXShader, KeptByTagAndWholeText)
{
    auto cpWrapper = Gpu_Wrapper();
    CCallFaults faults(Gpu_Device());
    faults.FailAt(0, S_OK);
    const auto fnGet = [](const char* _pszText, uint32_t _nTag) {
        CZPtr<ID3D11PixelShader> cpShader;
        EXPECT_EQ(DX11Device::PixelShader_Get(Gpu_Device(), _pszText, _nTag, cpShader.Put()), S_OK);
        return cpShader;
    };
    const std::string strLong = std::string(c_szRed) + "//" + std::string(3000, '-');
    const auto fnGetAll = [&] {
        return std::array{fnGet(c_szRed, 0), fnGet(c_szRed, 1), fnGet(c_szBlue, 0), fnGet((strLong + "a").c_str(), 0),
                          fnGet((strLong + "b").c_str(), 0)};
    };
    auto arrShaders = fnGetAll();
    for (int n = 0; n < 5; ++n)
        EXPECT_EQ(arrShaders[n].Get(), fnGetAll()[n].Get());
    EXPECT_EQ(faults.Count("D3DCompile"), 5);

    // Kept as long as some wrapper uses the device.
    auto cpWrapper2 = Gpu_Wrapper();
    cpWrapper.Reset();
    EXPECT_EQ(fnGet(c_szBlue, 0).Get(), arrShaders[2].Get());
    cpWrapper2.Reset();
    faults.FailAt(0, S_OK);
    fnGet(c_szBlue, 0);
    EXPECT_EQ(faults.Count("D3DCompile"), 1);

    CZPtr<ID3D11PixelShader> cpShader;
    EXPECT_EQ(DX11Device::PixelShader_Get(Gpu_Device(), "", 0, cpShader.Put()), E_INVALIDARG);
    EXPECT_EQ(DX11Device::PixelShader_Get(nullptr, c_szRed, 0, cpShader.Put()), E_INVALIDARG);
}

TEST(DXBuffers, SamplersClampTheirAnisotropy)
{
    for (const auto& [nAsked, nGot] : {std::pair{0u, 1u}, {1u, 1u}, {2u, 2u}, {16u, 16u}, {40u, 16u}, {~0u, 16u}})
    {
        // As it was asked for: a sampler's own description leaves out what has no effect.
        D3D11_SAMPLER_DESC desc = {};
        const HOOK_CREATESAMPLER hook(
            Gpu_Device(), [&](auto _pfnOriginal, auto* _pDevice, const D3D11_SAMPLER_DESC* _pDesc, auto** _ppSampler) {
                desc = *_pDesc;
                return _pfnOriginal(_pDevice, _pDesc, _ppSampler);
            });
        CZPtr<ID3D11SamplerState> cpSampler;
        EXPECT_EQ(DX11Device::CreateSampler(Gpu_Device(), D3D11_FILTER_ANISOTROPIC, nAsked, cpSampler.Put()), S_OK);
        const float arrBlack[4] = {0, 0, 0, 1};
        const CD3D11_SAMPLER_DESC descExpected(D3D11_FILTER_ANISOTROPIC, D3D11_TEXTURE_ADDRESS_CLAMP,
                                               D3D11_TEXTURE_ADDRESS_CLAMP, D3D11_TEXTURE_ADDRESS_CLAMP, 0, nGot,
                                               D3D11_COMPARISON_NEVER, arrBlack, 0, FLT_MAX);
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): it has no padding, and floats of the same bits
        EXPECT_EQ(std::memcmp(&desc, &descExpected, sizeof(desc)), 0) << nAsked;
    }
    CLogCatcher log;
    const auto cpWrapper = Gpu_Wrapper();
    ID3D11SamplerState* pTaken = cpWrapper->SamplerPoint();
    ID3D11SamplerState* pFree = nullptr;
    EXPECT_EQ(DX11Device::CreateSampler(Gpu_Device(), 0, 2, &pTaken), E_INVALIDARG);
    EXPECT_EQ(DX11Device::CreateSampler(nullptr, 0, 2, &pFree), E_INVALIDARG);
    CCallFaults faults(Gpu_Device());
    faults.FailAt(1, E_OUTOFMEMORY);
    EXPECT_EQ(DX11Device::PS_SetSampler(Gpu_Device(), 20, 99), E_OUTOFMEMORY);
    EXPECT_EQ(log.Count("_pDevice->CreateSamplerState(Filter=20 MaxAsinitropy=16)=8007000E"), 1u);
}

TEST(DXBuffers, ConstantBlocksMayHaveAnyLength)
{
    const std::vector<uint8_t> vecData(8192, 1);
    // bind flags, bytes, width of the buffer (0: refused)
    const std::array<size_t, 3> arrRows[] = {
        {D3D11_BIND_CONSTANT_BUFFER, 1, 16},      {D3D11_BIND_CONSTANT_BUFFER, 4095, 4096},
        {D3D11_BIND_CONSTANT_BUFFER, 4096, 4096}, {D3D11_BIND_CONSTANT_BUFFER, 4100, 0},
        {D3D11_BIND_CONSTANT_BUFFER, 4112, 4112}, {D3D11_BIND_VERTEX_BUFFER, 5000, 5000},
        {D3D11_BIND_CONSTANT_BUFFER, 0, 0},
    };
    CZPtr<ID3D11Buffer> cpBuffer;
    for (const auto& [nFlags, cbData, cbBuffer] : arrRows)
    {
        SCOPED_TRACE(cbData);
        EXPECT_EQ(DX11Device::Buffer_Create(Gpu_Device(), static_cast<uint32_t>(nFlags), vecData.data(), cbData,
                                            cpBuffer.Put()),
                  cbBuffer ? S_OK : E_INVALIDARG);
        D3D11_BUFFER_DESC desc = {};
        if (cpBuffer)
            cpBuffer->GetDesc(&desc);
        EXPECT_EQ(desc.ByteWidth, cbBuffer);
    }
    EXPECT_EQ(DX11Device::CreateConstantBuffer(Gpu_Device(), nullptr, 16, cpBuffer.Put()), E_INVALIDARG);
    EXPECT_EQ(DX11Device::VertexConstants_Create(Gpu_Device(), vecData.data(), 20, cpBuffer.Put()), E_INVALIDARG);
    // What reaches the device is the block and then nothing that happened to lie on the stack; it may yield no buffer.
    const HOOK_CREATEBUFFER hook(
        Gpu_Device(), [](auto, auto*, const D3D11_BUFFER_DESC* _pDesc, const D3D11_SUBRESOURCE_DATA* _pData, auto) {
            const auto* const pBytes = static_cast<const uint8_t*>(_pData->pSysMem);
            EXPECT_EQ(std::count(pBytes, pBytes + _pDesc->ByteWidth, uint8_t{0}), 4096 - 4081);
            return S_OK;
        });
    EXPECT_EQ(DX11Device::Buffer_Create(Gpu_Device(), 4, vecData.data(), 4081, cpBuffer.Put()), E_UNEXPECTED);
}

TEST(DXBuffers, ViewsNeedWhatTheTextureSays)
{
    CLogCatcher log;
    CZPtr<ID3D11ShaderResourceView> cpView;
    CZPtr<ID3D11ShaderResourceView> cpView2;
    CZPtr<ID3D11RenderTargetView> cpTarget;
    CD3D11_TEXTURE2D_DESC desc(DXGI_FORMAT_B8G8R8A8_UNORM, 16, 16, 1, 3, D3D11_BIND_RENDER_TARGET);
    CZPtr<ID3D11Texture2D> cpTexture;
    ASSERT_EQ(Gpu_Device()->CreateTexture2D(&desc, nullptr, cpTexture.Put()), S_OK);
    EXPECT_EQ(DX11Device::Texture2SRV(cpTexture.Get(), false, cpView.Put()), E_INVALIDARG);
    EXPECT_EQ(DX11Device::Texture2SRV(nullptr, false, cpView.Put()), E_INVALIDARG);

    desc.BindFlags |= D3D11_BIND_SHADER_RESOURCE;
    desc.MiscFlags = D3D11_RESOURCE_MISC_GENERATE_MIPS;
    ASSERT_EQ(Gpu_Device()->CreateTexture2D(&desc, nullptr, cpTexture.Put()), S_OK);
    EXPECT_EQ(DX11Device::Texture2SRV(cpTexture.Get(), false, cpView.Put(), cpView2.Put()), S_OK);
    EXPECT_EQ(log.Count("GenerateMips"), 0u);
    EXPECT_EQ(DX11Device::Texture2SRV(cpTexture.Get(), true, cpView.Put()), S_OK);
    EXPECT_FALSE(cpView2);
    EXPECT_EQ(log.Count("cpD3D11DeviceContext->GenerateMips(3)"), 1u);

    CCallFaults faults(Gpu_Device());
    faults.FailAt(1, E_OUTOFMEMORY);
    EXPECT_EQ(DX11Device::Texture2SRV(cpTexture.Get(), false, cpView.Put()), E_OUTOFMEMORY);
    EXPECT_EQ(log.Count("cpD3D11Device->CreateShaderResourceView(87, 16x16 Fmt:87 Mip:3 Usage:0 BindFlags:28 "
                        "MiscFlags:0001) FAILED hr=8007000E"),
              1u);
    EXPECT_EQ(DX11Device::Texture_SetAsRenderTarget(nullptr, cpTarget.Put()), E_INVALIDARG);
}

TEST(DXBuffers, TwoViewsOfNV12)
{
    const CD3D11_TEXTURE2D_DESC desc(DXGI_FORMAT_NV12, 16, 16, 1, 1, D3D11_BIND_SHADER_RESOURCE);
    CZPtr<ID3D11Texture2D> cpTexture;
    if (FAILED(Gpu_Device()->CreateTexture2D(&desc, nullptr, cpTexture.Put())))
        GTEST_SKIP() << "this Direct3D has no NV12 textures";
    CZPtr<ID3D11ShaderResourceView> cpView;
    CZPtr<ID3D11ShaderResourceView> cpView2;
    EXPECT_EQ(DX11Device::Texture2SRV(cpTexture.Get(), false, cpView.Put()), E_INVALIDARG);
    ASSERT_EQ(DX11Device::Texture2SRV(cpTexture.Get(), false, cpView.Put(), cpView2.Put()), S_OK);
    D3D11_SHADER_RESOURCE_VIEW_DESC descView = {};
    cpView->GetDesc(&descView);
    EXPECT_EQ(descView.Format, DXGI_FORMAT_R8_UNORM);
    cpView2->GetDesc(&descView);
    EXPECT_EQ(descView.Format, DXGI_FORMAT_R8G8_UNORM);
    CCallFaults faults(Gpu_Device());
    faults.FailAt(2, E_OUTOFMEMORY);
    EXPECT_EQ(DX11Device::Texture2SRV(cpTexture.Get(), false, cpView.Put(), cpView2.Put()), E_OUTOFMEMORY);
    EXPECT_FALSE(cpView || cpView2);
}

TEST(DXShader, AreKeptWithNoLockThatTheLastWrapperWaitsFor)
{
    auto cpWrapper = Gpu_Wrapper();
    CZEvent evtGone;
    std::thread thrOther;
    CZPtr<ID3D11PixelShader> cpShader;
    {
        const HOOK_SETINTERFACE hook(Gpu_Device(), [&](auto _pfnOriginal, auto... _args) {
            thrOther = std::thread([&] {
                cpWrapper.Reset();
                evtGone.Set();
            });
            EXPECT_TRUE(evtGone.Wait(5000));
            return _pfnOriginal(_args...);
        });
        EXPECT_EQ(DX11Device::PixelShader_Get(Gpu_Device(), c_szRed, 0, cpShader.Put()), S_OK);
    }
    ASSERT_TRUE(thrOther.joinable());
    thrOther.join();
    EXPECT_EQ(RefsOf(cpShader.Get()), 1u) << "kept on a device that nobody takes it away from";
}
