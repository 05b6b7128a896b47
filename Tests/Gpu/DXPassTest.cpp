#include "DirectX/Device/DXDevice.h"

#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Shaders/VertexShader.h"
#include "Gpu/DeviceHooks.h"
#include "Gpu/GpuEnvironment.h"
#include "Support/LogCatcher.h"

#include <string>

namespace
{

constexpr char c_szCopy[] = R"(
Texture2D tx : register(t0);
SamplerState sampler_in : register(s0);
struct PS_INPUT { float4 Pos : SV_POSITION; float2 Tex : TEXCOORD; };
float4 PS(PS_INPUT input) : SV_TARGET { return tx.Sample(sampler_in, input.Tex); })";

/// A picture without symmetry, alpha included.
std::vector<uint8_t> Picture(uint32_t _nWidth, uint32_t _nHeight)
{
    return Gpu_RandomBytes(size_t{4} * _nWidth * _nHeight);
}

std::vector<uint8_t> Filled(int _nPixels, const std::vector<uint8_t>& _vecPixel)
{
    std::vector<uint8_t> vecPicture;
    for (int n = 0; n < _nPixels; ++n)
        vecPicture.insert(vecPicture.end(), _vecPixel.begin(), _vecPixel.end());
    return vecPicture;
}

/// What a host may have left on the shared context: nothing of it is good for a pass. Keeps what it bound.
struct HOSTILE_STATE
{
    explicit HOSTILE_STATE(ID3D11Texture2D* _pInput, ID3D11Texture2D* _pTarget)
    {
        ID3D11DeviceContext* const pContext = Gpu_Context();
        const D3D11_VIEWPORT viewport = {1, 1, 1, 1, 0, 1};
        const D3D11_RECT rect = {0, 0, 1, 1};
        D3D11_RASTERIZER_DESC descRasterizer = {};
        descRasterizer.FillMode = D3D11_FILL_WIREFRAME;
        descRasterizer.CullMode = D3D11_CULL_FRONT;
        descRasterizer.ScissorEnable = TRUE;
        Gpu_Device()->CreateRasterizerState(&descRasterizer, cpRasterizer.Put());
        D3D11_BLEND_DESC descBlend = {};
        D3D11_RENDER_TARGET_BLEND_DESC& blend = descBlend.RenderTarget[0];
        blend.BlendEnable = TRUE;
        blend.SrcBlend = blend.SrcBlendAlpha = D3D11_BLEND_ZERO;
        blend.DestBlend = blend.DestBlendAlpha = D3D11_BLEND_ONE;
        blend.BlendOp = blend.BlendOpAlpha = D3D11_BLEND_OP_ADD;
        blend.RenderTargetWriteMask = 1;
        Gpu_Device()->CreateBlendState(&descBlend, cpBlend.Put());
        D3D11_DEPTH_STENCIL_DESC descDepth = {};
        descDepth.DepthEnable = TRUE;
        descDepth.DepthFunc = D3D11_COMPARISON_NEVER;
        Gpu_Device()->CreateDepthStencilState(&descDepth, cpDepth.Put());
        const VS_ROTATE rotate = {0, 0, 45, 0.5f, 4, 4, {0, 0}};
        DX11Device::VertexConstants_Create(Gpu_Device(), &rotate, sizeof(rotate), cpConstants.Put());
        Gpu_Device()->CreateRenderTargetView(_pInput, nullptr, cpInputAsTarget.Put());
        DX11Device::Texture2SRV(_pTarget, false, cpTargetAsInput.Put());

        pContext->RSSetViewports(1, &viewport);
        pContext->RSSetScissorRects(1, &rect);
        pContext->RSSetState(cpRasterizer.Get());
        const float arrFactor[4] = {};
        pContext->OMSetBlendState(cpBlend.Get(), arrFactor, 0);
        pContext->OMSetDepthStencilState(cpDepth.Get(), 3);
        ID3D11Buffer* pBuffer = cpConstants.Get();
        pContext->VSSetConstantBuffers(0, 1, &pBuffer);
        pContext->VSSetShader(nullptr, nullptr, 0);
        const UINT nStride = 7;
        pContext->IASetVertexBuffers(0, 1, &pBuffer, &nStride, &nStride);
        pContext->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_LINELIST);
        pContext->IASetInputLayout(nullptr);
        ID3D11ShaderResourceView* pView = cpTargetAsInput.Get();
        pContext->PSSetShaderResources(2, 1, &pView);
        ID3D11RenderTargetView* pTarget = cpInputAsTarget.Get();
        pContext->OMSetRenderTargets(1, &pTarget, nullptr);
        StagesBind();
    }
    /// Stages that no pass has.
    void StagesBind()
    {
        CZPtr<ID3DBlob> cpVertex;
        EXPECT_EQ(DX11Device::Shader_Compile(VertexShader_Text(), eDXS_Vertex, D3D_FEATURE_LEVEL_11_0, cpVertex.Put()),
                  S_OK);
        const D3D11_SO_DECLARATION_ENTRY entry = {0, "SV_POSITION", 0, 0, 4, 0};
        // a vertex shader in this place passes its output through
        Gpu_Device()->CreateGeometryShaderWithStreamOutput(cpVertex->GetBufferPointer(), cpVertex->GetBufferSize(),
                                                           &entry, 1, nullptr, 0, 0, nullptr, cpGeometryShader.Put());
        const CD3D11_BUFFER_DESC descStream(256, D3D11_BIND_STREAM_OUTPUT);
        Gpu_Device()->CreateBuffer(&descStream, nullptr, cpStream.Put());
        ID3D11DeviceContext* const pContext = Gpu_Context();
        ID3D11Buffer* const pStream = cpStream.Get();
        const UINT nOffset = 0;
        pContext->GSSetShader(cpGeometryShader.Get(), nullptr, 0);
        pContext->SOSetTargets(1, &pStream, &nOffset);
        Gpu_ComputeBind();
        EXPECT_EQ(Stages(), "geometry stream compute");
    }
    /// The names of those that are bound.
    static std::string Stages()
    {
        CZPtr<ID3D11GeometryShader> cpGeometry;
        CZPtr<ID3D11Buffer> cpStreamOut;
        Gpu_Context()->GSGetShader(cpGeometry.Put(), nullptr, nullptr);
        Gpu_Context()->SOGetTargets(1, cpStreamOut.Put());
        return std::string(cpGeometry ? "geometry " : "") + (cpStreamOut ? "stream " : "") +
               (Gpu_IsComputeBound() ? "compute" : "");
    }
    CZPtr<ID3D11RasterizerState> cpRasterizer;
    CZPtr<ID3D11BlendState> cpBlend;
    CZPtr<ID3D11DepthStencilState> cpDepth;
    CZPtr<ID3D11Buffer> cpConstants;
    CZPtr<ID3D11RenderTargetView> cpInputAsTarget;
    CZPtr<ID3D11ShaderResourceView> cpTargetAsInput;
    CZPtr<ID3D11GeometryShader> cpGeometryShader;
    CZPtr<ID3D11Buffer> cpStream;
};

/// Inputs, target, pixel shader and its constants are what a pass must not leave behind.
void ExpectUnbound()
{
    CZPtr<ID3D11ShaderResourceView> cpInput;
    CZPtr<ID3D11RenderTargetView> cpTarget;
    CZPtr<ID3D11PixelShader> cpShader;
    CZPtr<ID3D11Buffer> cpConstants;
    Gpu_Context()->PSGetShaderResources(0, 1, cpInput.Put());
    Gpu_Context()->OMGetRenderTargets(1, cpTarget.Put(), nullptr);
    Gpu_Context()->PSGetShader(cpShader.Put(), nullptr, nullptr);
    Gpu_Context()->PSGetConstantBuffers(0, 1, cpConstants.Put());
    EXPECT_FALSE(cpInput);
    EXPECT_FALSE(cpTarget);
    EXPECT_FALSE(cpShader);
    EXPECT_FALSE(cpConstants);
}

/// Draws with clear; the shader may read one input.
HRESULT QuadDraw(DX11Device* _pWrapper, ID3D11Texture2D* _pTarget, const char* _pszShader)
{
    CZPtr<ID3D11PixelShader> cpShader;
    CZPtr<ID3D11RenderTargetView> cpView;
    EXPECT_EQ(_pWrapper->PixelShader_Create(_pszShader, cpShader.Put()), S_OK);
    EXPECT_EQ(DX11Device::Texture_SetAsRenderTarget(_pTarget, cpView.Put()), S_OK);
    _pWrapper->Context()->PSSetShader(cpShader.Get(), nullptr, 0);
    ID3D11RenderTargetView* const pView = cpView.Get();
    return _pWrapper->Quad_Draw(&pView);
}

} // namespace

TEST(DXPass, NothingIsAssumedOfTheContext)
{
    const auto cpWrapper = Gpu_Wrapper();
    const std::vector<uint8_t> vecPicture = Picture(8, 8);
    const auto cpInput = Gpu_Texture(8, 8, DXGI_FORMAT_B8G8R8A8_UNORM, vecPicture);
    const auto cpTarget = Gpu_Texture(8, 8);
    {
        const HOSTILE_STATE state(cpInput.Get(), cpTarget.Get());
        EXPECT_EQ(cpWrapper->PixelShader_Execute(cpTarget.Get(), {cpInput.Get()}, c_szCopy, nullptr, 0, 0, 2), S_OK);
        EXPECT_EQ(state.Stages(), "");
        EXPECT_EQ(Gpu_Read(cpTarget.Get()), vecPicture);
    }
    const HOSTILE_STATE state(cpInput.Get(), cpTarget.Get());
    EXPECT_EQ(QuadDraw(cpWrapper.Get(), cpTarget.Get(), "float4 PS() : SV_TARGET { return float4(1, 0, 0, 1); }"),
              S_OK);
    EXPECT_EQ(Gpu_Read(cpTarget.Get()), Filled(64, {0, 0, 255, 255}));
}

// Not every compiler makes shaders for these stages that a host could have bound.
TEST(DXPass, DrawsWithoutTessellation)
{
    bool bHull = true;
    bool bDomain = true;
    int nDrawn = 0;
    const CMethodHook<&ID3D11DeviceContext::HSSetShader, 60> hookHull(
        Gpu_Context(), [&](auto, auto*, ID3D11HullShader* _pShader, auto...) { bHull = _pShader != nullptr; });
    const CMethodHook<&ID3D11DeviceContext::DSSetShader, 64> hookDomain(
        Gpu_Context(), [&](auto, auto*, ID3D11DomainShader* _pShader, auto...) { bDomain = _pShader != nullptr; });
    const HOOK_DRAW hookDraw(Gpu_Context(), [&](auto _pfnOriginal, auto* _pThis, auto... _args) {
        EXPECT_FALSE(bHull || bDomain);
        ++nDrawn;
        _pfnOriginal(_pThis, _args...);
    });
    const auto cpTarget = Gpu_Texture(4, 4);
    EXPECT_EQ(QuadDraw(Gpu_Wrapper().Get(), cpTarget.Get(), "float4 PS() : SV_TARGET { return 1; }"), S_OK);
    EXPECT_EQ(nDrawn, 1);
}

TEST(DXPass, VertexConstantsTurnTheQuad)
{
    const auto cpWrapper = Gpu_Wrapper();
    const auto cpTarget = Gpu_Texture(8, 4, DXGI_FORMAT_R8_UNORM);
    ASSERT_EQ(QuadDraw(cpWrapper.Get(), cpTarget.Get(), "float4 PS() : SV_TARGET { return 1; }"), S_OK);
    // No pass turns anything: what this one has left bound draws once more, one triangle of the two.
    const VS_ROTATE rotate = {70, 80, 90, 0.5f, 8, 4, {3, 3}};
    CZPtr<ID3D11Buffer> cpConstants;
    CZPtr<ID3D11RenderTargetView> cpView;
    ASSERT_EQ(DX11Device::VertexConstants_Create(Gpu_Device(), &rotate, sizeof(rotate), cpConstants.Put()), S_OK);
    ASSERT_EQ(DX11Device::Texture_SetAsRenderTarget(cpTarget.Get(), cpView.Put()), S_OK);
    ID3D11Buffer* const pConstants = cpConstants.Get();
    Gpu_Context()->VSSetConstantBuffers(0, 1, &pConstants);
    const float arrBlack[4] = {};
    Gpu_Context()->ClearRenderTargetView(cpView.Get(), arrBlack);
    Gpu_Context()->Draw(3, 0);
    const std::vector<uint8_t> vecTurned = {0, 0, 0, 0, 0,   0, 0, 0, 0, 0, 0, 0,   255, 0, 0, 0,
                                            0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 255, 255, 0, 0, 0};
    EXPECT_EQ(Gpu_Read(cpTarget.Get()), vecTurned);
}

TEST(DXPass, ClearsWhatIsNotCovered)
{
    const auto cpWrapper = Gpu_Wrapper();
    const auto cpTarget = Gpu_Texture(4, 2, DXGI_FORMAT_B8G8R8A8_UNORM, Picture(4, 2));
    EXPECT_EQ(
        QuadDraw(cpWrapper.Get(), cpTarget.Get(), "float4 PS() : SV_TARGET { discard; return float4(1, 1, 1, 1); }"),
        S_OK);
    EXPECT_EQ(Gpu_Read(cpTarget.Get()), Filled(8, {0, 255, 0, 0}));
    ID3D11RenderTargetView* const pNone = nullptr;
    EXPECT_EQ(cpWrapper->Quad_Draw(nullptr), E_INVALIDARG);
    EXPECT_EQ(cpWrapper->Quad_Draw(&pNone), E_INVALIDARG);
}

TEST(DXPass, OnlyOnItsOwnDevice)
{
    const auto cpWrapper = Gpu_Wrapper();
    const auto cpOther = Gpu_OtherDevice();
    const auto cpForeign = Gpu_Texture(4, 4, DXGI_FORMAT_B8G8R8A8_UNORM, {}, cpOther.Get());
    CLogCatcher log;
    EXPECT_EQ(cpWrapper->PixelShader_Execute(cpForeign.Get(), {}, c_szCopy, nullptr, 0, c_nFilterNone, 0),
              E_UNEXPECTED);
    EXPECT_EQ(log.Count("Failed to obtain device and context!", eZLog_Error), 1u);
    EXPECT_EQ(cpWrapper->PixelShader_Execute(nullptr, {}, c_szCopy, nullptr, 0, c_nFilterNone, 0), E_UNEXPECTED);
    EXPECT_EQ(QuadDraw(cpWrapper.Get(), cpForeign.Get(), c_szCopy), E_UNEXPECTED);
}

TEST(DXPass, EveryCallMayFail)
{
    const std::vector<uint8_t> vecPicture = Picture(4, 4);
    const auto cpInput = Gpu_Texture(4, 4, DXGI_FORMAT_B8G8R8A8_UNORM, vecPicture);
    const auto cpTarget = Gpu_Texture(4, 4);
    CCallFaults faults(Gpu_Device());
    int nCall = 0;
    for (bool bFailed = true; bFailed;)
    {
        auto cpWrapper = Gpu_Wrapper();
        Gpu_Context()->ClearState();
        const ULONG nRefs = RefsOf(Gpu_Device());
        const float arrBlock[5] = {};
        const auto fnPass = [&] {
            return cpWrapper->PixelShader_Execute(cpTarget.Get(), {cpInput.Get(), cpInput.Get()}, c_szCopy, arrBlock,
                                                  sizeof(arrBlock), 0, 2);
        };
        bFailed = faults.Try(++nCall, DXGI_ERROR_DEVICE_REMOVED, fnPass);
        ExpectUnbound();
        // The next pass works, and what both kept goes with the wrapper.
        EXPECT_EQ(fnPass(), S_OK);
        EXPECT_EQ(Gpu_Read(cpTarget.Get()), vecPicture);
        Gpu_Context()->ClearState();
        DX_DataSet(cpTarget.Get(), c_svDataQuery, nullptr);
        EXPECT_LE(RefsOf(Gpu_Device()), nRefs + 1) << "only the shader is kept";
    }
    EXPECT_EQ(nCall, 9);
}
