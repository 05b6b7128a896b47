#pragma once

#include "DirectX/Device/DXDevice.h"

/// Binds what a pass needs to the immediate context, and unbinds it when destroyed.
class CDXPassBinding
{
public:
    explicit CDXPassBinding(ID3D11DeviceContext* _pContext)
        : m_pContext(_pContext)
    {
        DX11Device::OutputsUnbind(m_pContext);
    }
    ~CDXPassBinding()
    {
        Bind(nullptr, nullptr, nullptr, nullptr);
    }
    CDXPassBinding(const CDXPassBinding&) = delete;
    CDXPassBinding& operator=(const CDXPassBinding&) = delete;

    /// Pixel shader, input t0, sampler s0 and constants b0; null where there is none.
    void Bind(ID3D11PixelShader* _pPixelShader, ID3D11ShaderResourceView* _pInput, ID3D11SamplerState* _pSampler,
              ID3D11Buffer* _pConstants) const
    {
        m_pContext->PSSetShader(_pPixelShader, nullptr, 0);
        m_pContext->PSSetShaderResources(0, 1, &_pInput);
        m_pContext->PSSetSamplers(0, 1, &_pSampler);
        m_pContext->PSSetConstantBuffers(0, 1, &_pConstants);
    }

private:
    ID3D11DeviceContext* m_pContext;
};
