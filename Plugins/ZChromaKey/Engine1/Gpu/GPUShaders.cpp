#include "ZChromaKey/Engine1/Gpu/GPUShaders.h"

#include <algorithm>
#include <string>
#include <utility>

namespace
{

std::string TextOf(const KEY_SHADER& _shader)
{
    return KeyShader_Text(_shader);
}

std::string TextOf(const SMOOTH_SHADER& _shader)
{
    return SmoothShader_Text(_shader);
}

std::string TextOf(const ALPHA_MASK_SHADER&)
{
    return AlphaMaskShader_Text();
}

} // namespace

HRESULT CGPUShaders::Get(DX11Device* _pDevice, const GPU_SHADER& _shader, ID3D11PixelShader** _ppShader)
{
    if (m_cpDevice.Get() != _pDevice->Device())
    {
        Drop();
        m_cpDevice = CZPtr<ID3D11Device>(_pDevice->Device());
    }
    ENTRY* pEntry = nullptr;
    HRESULT hr = EntryGet(m_cpDevice->GetFeatureLevel(), _shader, &pEntry);
    if (SUCCEEDED(hr) && !pEntry->cpShader)
        hr = _pDevice->PixelShader_Create(pEntry->cpCode.Get(), pEntry->cpShader.Put());
    if (SUCCEEDED(hr))
        *_ppShader = CZPtr<ID3D11PixelShader>(pEntry->cpShader).Detach();
    return hr;
}

/// The entry of a shader, compiled for a feature level.
HRESULT CGPUShaders::EntryGet(D3D_FEATURE_LEVEL _eLevel, const GPU_SHADER& _shader, ENTRY** _ppEntry)
{
    if (std::exchange(m_eLevel, _eLevel) != _eLevel)
        m_vecEntries.clear();
    const auto itFound = std::ranges::find(m_vecEntries, _shader, &ENTRY::shader);
    if (itFound != m_vecEntries.end())
    {
        *_ppEntry = &*itFound;
        return S_OK;
    }
    CZPtr<ID3DBlob> cpCode;
    const std::string strText = std::visit([](const auto& _is) { return TextOf(_is); }, _shader);
    const HRESULT hr = DX11Device::Shader_Compile(strText.c_str(), eDXS_Pixel, _eLevel, cpCode.Put());
    if (SUCCEEDED(hr))
        *_ppEntry = &m_vecEntries.emplace_back(ENTRY{_shader, std::move(cpCode), {}});
    return hr;
}

void CGPUShaders::Drop()
{
    for (ENTRY& entry : m_vecEntries)
        entry.cpShader.Reset();
    m_cpDevice.Reset();
}

void CGPUShaders::Close()
{
    Drop();
    m_vecEntries.clear();
}
