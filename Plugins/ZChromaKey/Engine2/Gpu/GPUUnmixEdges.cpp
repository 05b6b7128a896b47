#include "ZChromaKey/Engine2/Gpu/GPUUnmix.h"

/// What is done to the edges of a picture that is keyed.

HRESULT GPUUnmix::AlphaPass(eShader _eShader, DXGI_FORMAT _eFormat, std::span<const std::byte> _constants,
                            CZPtr<IDX11Texture>* _pcpAlpha)
{
    const auto cpIn = TextureIn(_pcpAlpha->Get());
    ID3D11Texture2D* const arrInputs[] = {cpIn.Get(), m_gridCells.cpTexture.Get()};
    const std::span inputs(arrInputs, _eShader == eS_Choke ? 2 : 1);
    const UNMIX_CONSTANTS& constants = m_uploads.constants;
    CZPtr<IDX11Texture> cpOut;
    const GPU_TARGET target = {static_cast<uint32_t>(constants.anPicture[0]),
                               static_cast<uint32_t>(constants.anPicture[1]), _eFormat, VidPropsIn()};
    const HRESULT hr = PassWith(_eShader, inputs, _constants, target, cpOut.Put());
    *_pcpAlpha = std::move(cpOut);
    return hr;
}

HRESULT GPUUnmix::AlphaChange(CZPtr<IDX11Texture>* _pcpAlpha)
{
    const UNMIX_EDGE_UPLOADS& edges = m_uploads.edges;
    const auto Bytes = [](const auto& _constants) { return std::as_bytes(std::span(&_constants, 1)); };
    HRESULT hr = AlphaPass(eS_Alpha, DXGI_FORMAT_R8_UINT, {}, _pcpAlpha);
    if (SUCCEEDED(hr) && edges.bChoke)
        hr = AlphaPass(eS_Choke, DXGI_FORMAT_R16_UINT, Bytes(edges.choke), _pcpAlpha);
    if (!edges.bSoften)
        return hr;
    for (const UNMIX_BLUR_CONSTANTS& blur : edges.arrBlurs)
        if (SUCCEEDED(hr))
            hr = AlphaPass(eS_Blur, DXGI_FORMAT_R16_UINT, Bytes(blur), _pcpAlpha);
    return hr;
}

HRESULT GPUUnmix::EdgePasses(const UNMIX_STATE& _state, ID3D11Texture2D* _pPicture, const GPU_TARGET& _target)
{
    CZPtr<IDX11Texture> cpAlpha = m_cpResult;
    HRESULT hr = AlphaChange(&cpAlpha);
    if (SUCCEEDED(hr))
        hr = AfterPut(_state);
    if (FAILED(hr))
        return hr;
    const auto cpKeyed = TextureIn(m_cpResult.Get()), cpChanged = TextureIn(cpAlpha.Get());
    ID3D11Texture2D* const arrInputs[] = {_pPicture,
                                          m_gridCells.cpTexture.Get(),
                                          m_gridBack.cpTexture.Get(),
                                          m_gridFore.cpTexture.Get(),
                                          nullptr,
                                          m_gridGarbage.cpTexture.Get(),
                                          m_gridHoldOut.cpTexture.Get(),
                                          m_gridShade.cpTexture.Get(),
                                          m_gridMarked.cpTexture.Get(),
                                          nullptr,
                                          cpKeyed.Get(),
                                          cpChanged.Get()};
    CZPtr<IDX11Texture> cpEdged;
    hr = Pass(eS_Edged, arrInputs, m_uploads.constants, _target, cpEdged.Put());
    m_cpResult = std::move(cpEdged);
    return hr;
}
