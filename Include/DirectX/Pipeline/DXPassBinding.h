#pragma once

#include "DirectX/Device/DXDevice.h"

#include <span>

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
        ID3D11ShaderResourceView* const arrNone[c_nInputsMax] = {};
        Bind(nullptr, std::span(arrNone).first(m_nInputs), nullptr, nullptr);
    }
    CDXPassBinding(const CDXPassBinding&) = delete;
    CDXPassBinding& operator=(const CDXPassBinding&) = delete;

    static constexpr size_t c_nInputsMax = 12;

    /// Pixel shader, inputs from t0 on, at most c_nInputsMax, sampler s0 and constants b0; null where there is none.
    void Bind(ID3D11PixelShader* _pPixelShader, std::span<ID3D11ShaderResourceView* const> _inputs,
              ID3D11SamplerState* _pSampler, ID3D11Buffer* _pConstants)
    {
        m_nInputs = _inputs.size();
        m_pContext->PSSetShader(_pPixelShader, nullptr, 0);
        m_pContext->PSSetShaderResources(0, static_cast<UINT>(m_nInputs), _inputs.data());
        m_pContext->PSSetSamplers(0, 1, &_pSampler);
        m_pContext->PSSetConstantBuffers(0, 1, &_pConstants);
    }

private:
    ID3D11DeviceContext* m_pContext;
    size_t m_nInputs = 1;
};
