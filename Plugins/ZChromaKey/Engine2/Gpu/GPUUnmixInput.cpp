#include "ZChromaKey/Engine2/Gpu/GPUUnmix.h"

#include "Base/ZPixelFormats.h"

/// Pictures in YUV: bytes are made of them, and pixels with the chroma rebuilt.

HRESULT GPUUnmix::Opened(CZPtr<IDX11Texture>* _pcpPicture)
{
    m_samples = UnmixUploads_Samples(VidPropsIn(), m_options.eMatrix);
    UNMIX_CONSTANTS constants = UnmixUploads_CellConstants(VidPropsIn(), false);
    constants.samples = m_samples;
    const auto cpPlanes = TextureIn(TexIn());
    ID3D11Texture2D* const arrInputs[] = {nullptr, nullptr, nullptr, nullptr, nullptr, cpPlanes.Get()};
    CZPtr<IDX11Texture> cpPixels;
    const HRESULT hr = Pass(eS_Open, arrInputs, constants, PixelTarget(), cpPixels.Put());
    *_pcpPicture = std::move(cpPixels);
    return hr;
}

HRESULT GPUUnmix::DeepPasses()
{
    UNMIX_CONSTANTS& constants = m_uploads.constants;
    UnmixUploads_Deep(true, FCC_SampleBytes(VidPropsIn().fccType) > 1, false, &m_uploads);
    const auto cpPlanes = TextureIn(TexIn());
    ID3D11Texture2D* arrInputs[] = {
        nullptr, m_gridCells.cpTexture.Get(), m_gridBack.cpTexture.Get(), nullptr, nullptr, cpPlanes.Get(), nullptr};
    const int nFields = constants.anPicture[2];
    const int nRows = (constants.samples.anChroma[1] + nFields - 1) / nFields + 2;
    GPU_TARGET target = {static_cast<uint32_t>(constants.samples.anChroma[0] + 2),
                         static_cast<uint32_t>(nFields * nRows), DXGI_FORMAT_R32G32_FLOAT, VidPropsIn()};
    CZPtr<IDX11Texture> cpFactors;
    HRESULT hr = Pass(eS_Factors, arrInputs, constants, target, cpFactors.Put());
    if (FAILED(hr))
        return hr;
    const auto cpFactorsIn = TextureIn(cpFactors.Get());
    arrInputs[6] = cpFactorsIn.Get();
    target = PixelTarget();
    target.eFormat = DXGI_FORMAT_R16G16B16A16_UINT;
    hr = Pass(eS_Deep, arrInputs, constants, target, m_cpDeepMade.Put());
    m_cpDeep = TextureIn(m_cpDeepMade.Get());
    return hr;
}
