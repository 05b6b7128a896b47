#include "ZChromaKey/Engine2/Gpu/GPUUnmix.h"

#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Pipeline/GPURows.h"
#include "DirectX/Shaders/ShaderPieces.h"

/// Pictures in YUV, of which bytes are made, and pixels with the chroma rebuilt, of those in RGB as well.

const char* GPUUnmix::RefusalOf(const ZF_VID_PROPS& _vidProps)
{
    const uint32_t fccType = _vidProps.fccType;
    const bool bPlanes = Shader_PlanarLayout(fccType) || FCC_HasTextureWords(fccType);
    if (DX_TextureFormat(fccType) == DXGI_FORMAT_UNKNOWN || (!bPlanes && !Shader_PackedLayout(fccType)))
        return "this format";
    const int nLeast = VidProps_FieldOrder(&_vidProps) != 0 ? 4 : 2; // a row of chroma for each field
    return bPlanes && (!GPU_SizeIsValid(_vidProps) || _vidProps.nHeight < nLeast) ? "this size: planes are to be even"
                                                                                  : nullptr;
}

/// Of RGB bytes say all but in r210.
bool GPUUnmix::Rebuilds(const ZF_VID_PROPS& _vidProps)
{
    const uint32_t fccType = _vidProps.fccType;
    return FCC_IsRGB(fccType) ? fccType != eZFCC_r210 : !RefusalOf(_vidProps);
}

HRESULT GPUUnmix::Opened(eZYMatrix _eMatrix, CZPtr<IDX11Texture>* _pcpPicture)
{
    m_samples = UnmixUploads_Samples(VidPropsIn(), _eMatrix);
    UNMIX_CONSTANTS constants = UnmixUploads_CellConstants(VidPropsIn(), false);
    constants.samples = *m_samples;
    const auto cpPlanes = TextureIn(TexIn());
    ID3D11Texture2D* const arrInputs[] = {nullptr, nullptr, nullptr, nullptr, nullptr, cpPlanes.Get()};
    CZPtr<IDX11Texture> cpPixels;
    const HRESULT hr = Pass(eS_Open, arrInputs, constants, PixelTarget(), cpPixels.Put());
    *_pcpPicture = std::move(cpPixels);
    return hr;
}

void GPUUnmix::PixelSamplesTake(const UNMIX_STATE& _state)
{
    UNMIX_SHADER_SAMPLES samples;
    if (UnmixUploads_PixelSamples(_state, &samples))
        m_samples = samples;
}

HRESULT GPUUnmix::DeepPasses(const UNMIX_SHADER_SAMPLES& _samples, ID3D11Texture2D* _pPicture)
{
    UNMIX_CONSTANTS& constants = m_uploads.constants;
    constants.samples = _samples;
    constants.anDeep[0] = 1;
    constants.anDeep[1] = FCC_SampleBytes(VidPropsIn().fccType) > 1;
    const auto cpSamples = TextureIn(TexIn());
    const bool bPixels = cpSamples.Get() == _pPicture;
    ID3D11Texture2D* arrInputs[] = {bPixels ? _pPicture : nullptr,
                                    m_gridCells.cpTexture.Get(),
                                    m_gridBack.cpTexture.Get(),
                                    nullptr,
                                    nullptr,
                                    bPixels ? nullptr : cpSamples.Get(),
                                    nullptr};
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
