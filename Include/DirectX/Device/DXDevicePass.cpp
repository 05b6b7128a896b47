// Full-screen passes of the device wrapper.
//
// The immediate context is the host's too. A pass sets every piece of state that it depends on, whatever it finds, and
// afterwards unbinds what would hold on to textures or get in the way of others: inputs, target, shader, constants.
// It does not put back what it found: a host that draws on this context sets its own state before each draw, as it
// has to between any two users of a context; saving and restoring everything would cost more than the pass.

#include "DirectX/Device/DXDevice.h"

#include "Base/ZAssert.h"
#include "Base/ZLog.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Shaders/VertexShader.h"

#include <algorithm>
#include <array>
#include <utility>

namespace
{

constexpr UINT c_nInputsMax = 16;

/// Width and height of what a render-target view shows.
bool Target_Size(ID3D11RenderTargetView* _pRTV, uint32_t* _pnWidth, uint32_t* _pnHeight)
{
    CZPtr<ID3D11Resource> cpResource;
    _pRTV->GetResource(cpResource.Put());
    const auto cpTexture = ZQuery<ID3D11Texture2D>(cpResource);
    if (!cpTexture)
        return false;
    D3D11_TEXTURE2D_DESC desc = {};
    cpTexture->GetDesc(&desc);
    D3D11_RENDER_TARGET_VIEW_DESC descView = {};
    _pRTV->GetDesc(&descView);
    const UINT nLevel = descView.ViewDimension == D3D11_RTV_DIMENSION_TEXTURE2D ? descView.Texture2D.MipSlice : 0;
    *_pnWidth = std::max(desc.Width >> nLevel, 1u);
    *_pnHeight = std::max(desc.Height >> nLevel, 1u);
    return true;
}

/// Binds the inputs' views from slot t0 on; when destroyed it unbinds them, and target, shader and constants too.
class CDXPassScope
{
public:
    explicit CDXPassScope(ID3D11DeviceContext* _pContext)
        : m_pContext(_pContext)
    {
        DX11Device::OutputsUnbind(m_pContext);
    }
    ~CDXPassScope()
    {
        ID3D11ShaderResourceView* const arrNone[c_nInputsMax] = {};
        ID3D11Buffer* const pNone = nullptr;
        if (m_nViews != 0)
            m_pContext->PSSetShaderResources(0, m_nViews, arrNone);
        m_pContext->OMSetRenderTargets(0, nullptr, nullptr);
        m_pContext->PSSetShader(nullptr, nullptr, 0);
        m_pContext->PSSetConstantBuffers(0, 1, &pNone);
    }
    CDXPassScope(const CDXPassScope&) = delete;
    CDXPassScope& operator=(const CDXPassScope&) = delete;

    HRESULT InputsBind(std::initializer_list<ID3D11Texture2D*> _arrInputs)
    {
        ID3D11ShaderResourceView* arrBound[c_nInputsMax] = {};
        UINT nViews = 0;
        for (ID3D11Texture2D* const pInput : _arrInputs)
        {
            if (!Z_VERIFY(nViews + 2 <= c_nInputsMax))
                return E_INVALIDARG;
            const HRESULT hr =
                DX11Device::Texture2SRV(pInput, false, m_arrViews[nViews].Put(), m_arrViews[nViews + 1].Put());
            if (FAILED(hr))
                return hr;
            nViews += m_arrViews[nViews + 1] ? 2 : 1;
        }
        std::transform(m_arrViews.begin(), m_arrViews.begin() + nViews, arrBound, [](auto& _cp) { return _cp.Get(); });
        m_nViews = nViews;
        m_pContext->PSSetShaderResources(0, m_nViews, arrBound);
        return S_OK;
    }

private:
    ID3D11DeviceContext* m_pContext;
    std::array<CZPtr<ID3D11ShaderResourceView>, c_nInputsMax> m_arrViews;
    UINT m_nViews = 0;
};

} // namespace

void DX11Device::OutputsUnbind(ID3D11DeviceContext* _pContext)
{
    ID3D11UnorderedAccessView* const arrNone[D3D11_1_UAV_SLOT_COUNT] = {};
    CZPtr<ID3D11Device> cpDevice;
    _pContext->GetDevice(cpDevice.Put());
    const D3D_FEATURE_LEVEL eLevel = cpDevice->GetFeatureLevel();
    const UINT nViews = eLevel >= D3D_FEATURE_LEVEL_11_0   ? D3D11_PS_CS_UAV_REGISTER_COUNT
                        : eLevel >= D3D_FEATURE_LEVEL_10_0 ? D3D11_CS_4_X_UAV_REGISTER_COUNT
                                                           : 0;
    _pContext->OMSetRenderTargets(0, nullptr, nullptr); // and with the targets the views of this stage
    if (nViews > 0)
        _pContext->CSSetUnorderedAccessViews(0, nViews, arrNone, nullptr);
    if (eLevel >= D3D_FEATURE_LEVEL_11_1) // by itself: a Direct3D that knows no more than eight does nothing then
        _pContext->CSSetUnorderedAccessViews(nViews, D3D11_1_UAV_SLOT_COUNT - nViews, arrNone, nullptr);
}

void DX11Device::QuadBind(uint32_t _nWidth, uint32_t _nHeight)
{
    ID3D11DeviceContext* const pContext = m_cpDeviceContext.Get();
    // The vertex shader reads b0: somebody else's constants there would turn the quad.
    ID3D11Buffer* const pNone = nullptr;
    pContext->VSSetShader(m_cpVertexShader.Get(), nullptr, 0);
    pContext->VSSetConstantBuffers(0, 1, &pNone);
    pContext->HSSetShader(nullptr, nullptr, 0);
    pContext->DSSetShader(nullptr, nullptr, 0);
    pContext->GSSetShader(nullptr, nullptr, 0);
    pContext->SOSetTargets(0, nullptr, nullptr);
    pContext->SetPredication(nullptr, FALSE);

    const D3D11_VIEWPORT viewport = {0, 0, static_cast<float>(_nWidth), static_cast<float>(_nHeight), 0, 1};
    pContext->RSSetViewports(1, &viewport);
    pContext->RSSetState(nullptr);
    pContext->OMSetDepthStencilState(nullptr, 0);
    const float arrFactor[4] = {1, 1, 1, 1};
    pContext->OMSetBlendState(nullptr, arrFactor, 0xFFFFFFFF);

    ID3D11Buffer* const pVertices = m_cpVertexBuffer.Get();
    const UINT nStride = sizeof(SHADER_VERTEX);
    const UINT nOffset = 0;
    pContext->IASetInputLayout(m_cpInputLayout.Get());
    pContext->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    pContext->IASetVertexBuffers(0, 1, &pVertices, &nStride, &nOffset);
}

HRESULT DX11Device::Quad_Draw(ID3D11RenderTargetView* const* _ppRTV)
{
    if (!Z_VERIFY(_ppRTV && *_ppRTV))
        return E_INVALIDARG;
    uint32_t nWidth = 0;
    uint32_t nHeight = 0;
    if (!Z_VERIFY(m_cpDeviceContext) || !Z_VERIFY(DX_SameObject(DX_DeviceOf(*_ppRTV).Get(), m_cpDevice.Get())) ||
        !Z_VERIFY(Target_Size(*_ppRTV, &nWidth, &nHeight)))
        return E_UNEXPECTED;
    m_cpDeviceContext->OMSetRenderTargets(1, _ppRTV, nullptr);
    QuadBind(nWidth, nHeight);
    // What a pass fails to cover shows as transparent green.
    const float arrGreen[4] = {0, 1, 0, 0};
    m_cpDeviceContext->ClearRenderTargetView(*_ppRTV, arrGreen);
    m_cpDeviceContext->Draw(6, 0);
    m_cpDeviceContext->OMSetRenderTargets(0, nullptr, nullptr);
    return S_OK;
}

HRESULT DX11Device::PixelShader_Execute(ID3D11Texture2D* _pTarget, std::initializer_list<ID3D11Texture2D*> _arrInputs,
                                        const char* _pszShaderCode, const void* _pConstants, size_t _cbConstants,
                                        uint32_t _nFilter, uint32_t _nAnisotropyMax)
{
    const auto cpD3D11Device = DX_DeviceOf(_pTarget);
    if (!Z_VERIFY(cpD3D11Device && DX_ContextOf(cpD3D11Device.Get())))
        return E_UNEXPECTED;
    CZPtr<ID3D11PixelShader> cpPixelShader;
    HRESULT hr = PixelShader_Get(cpD3D11Device.Get(), _pszShaderCode, 0, cpPixelShader.Put());
    if (FAILED(hr))
        return hr;
    CZPtr<ID3D11Buffer> cpConstants;
    if (_pConstants && _cbConstants)
        hr = Buffer_Create(cpD3D11Device.Get(), D3D11_BIND_CONSTANT_BUFFER, _pConstants, _cbConstants,
                           cpConstants.Put());
    if (FAILED(hr))
        return hr;
    if (_nFilter != c_nFilterNone)
        hr = PS_SetSampler(cpD3D11Device.Get(), _nFilter, _nAnisotropyMax);
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX11Device::PixelShader_Execute: Sampler state is not available for frame conversion!\n");
        return hr;
    }
    return PixelShader_ExecuteBase(_pTarget, _arrInputs, cpPixelShader.Get(), cpConstants.Get());
}

HRESULT DX11Device::PixelShader_ExecuteBase(ID3D11Texture2D* _pTarget,
                                            std::initializer_list<ID3D11Texture2D*> _arrInputs,
                                            ID3D11PixelShader* _pPixelShader, ID3D11Buffer* _pConstantsOrNull)
{
    if (!Z_VERIFY(_pTarget && _pPixelShader))
        return E_INVALIDARG;
    // The kit is of one device, and so must the target be.
    if (!m_cpDeviceContext || !DX_SameObject(DX_DeviceOf(_pTarget).Get(), m_cpDevice.Get()))
    {
        ZLog(eZLog_Error, "DX11Device::PixelShader_ExecuteBase: Failed to obtain device and context!\n");
        return E_UNEXPECTED;
    }
    CDXPassScope pass(m_cpDeviceContext.Get());
    m_cpDeviceContext->PSSetShader(_pPixelShader, nullptr, 0);
    m_cpDeviceContext->PSSetConstantBuffers(0, 1, &_pConstantsOrNull);
    HRESULT hr = pass.InputsBind(_arrInputs);
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX11Device::PixelShader_ExecuteBase: Failed to set shader resource! hr=%08X\n", hr);
        return hr;
    }
    CZPtr<ID3D11RenderTargetView> cpRTV;
    hr = Texture_SetAsRenderTarget(_pTarget, cpRTV.Put());
    uint32_t nWidth = 0;
    uint32_t nHeight = 0;
    if (SUCCEEDED(hr) && !Target_Size(cpRTV.Get(), &nWidth, &nHeight))
        hr = E_UNEXPECTED;
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX11Device::PixelShader_ExecuteBase: Failed to create render target! hr=%08X\n", hr);
        return hr;
    }
    QuadBind(nWidth, nHeight);
    m_cpDeviceContext->Draw(6, 0);
    return DX_QuerySet(_pTarget);
}
