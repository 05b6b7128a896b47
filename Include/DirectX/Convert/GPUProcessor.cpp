#include "DirectX/Convert/GPUProcessor.h"

#include "Base/ZAssert.h"
#include "Base/ZLog.h"
#include "Base/ZVideoProps.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Pipeline/GPURows.h"

#include <cstdlib>

namespace
{

constexpr uint32_t c_nFilterPoint = D3D11_FILTER_MIN_MAG_MIP_POINT;
constexpr uint32_t c_nFilterLinear = D3D11_FILTER_MIN_MAG_LINEAR_MIP_POINT; // there is one mip level
constexpr uint32_t c_nAnisotropy = 2;
constexpr uint32_t c_nShaderTag = 53;

bool IsSameSize(const ZF_VID_PROPS& _vidPropsA, const ZF_VID_PROPS& _vidPropsB)
{
    return _vidPropsA.nWidth == _vidPropsB.nWidth &&
           std::abs(int64_t{_vidPropsA.nHeight}) == std::abs(int64_t{_vidPropsB.nHeight});
}

bool IsOnDevice(ID3D11DeviceChild* _pChildOrNull, ID3D11Device* _pDevice)
{
    return _pChildOrNull && DX_SameObject(DX_DeviceOf(_pChildOrNull).Get(), _pDevice);
}

} // namespace

uint32_t DX11Converter::GetFilterType(const ZF_VID_PROPS* _pVidPropsIn, const ZF_VID_PROPS* _pVidPropsOut)
{
    if (!_pVidPropsIn || !_pVidPropsOut)
    {
        ZLog(eZLog_Error, "DX11Converter::GetFilterType: Video properties not provided, no selection!\n");
        return c_nFilterPoint;
    }
    if (IsSameSize(*_pVidPropsIn, *_pVidPropsOut))
        return c_nFilterPoint;
    const bool bInterlacedIn = VidProps_FieldOrder(_pVidPropsIn) != 0;
    const bool bInterlacedOut = VidProps_FieldOrder(_pVidPropsOut) != 0;
    return bInterlacedIn == bInterlacedOut ? c_nFilterLinear : c_nFilterPoint;
}

HRESULT DX11Converter::UpdatePixelShader(ID3D11Device* _pDevice, const CONVERT_SHADER& _shader,
                                         ID3D11PixelShader** _ppPixelShader)
{
    if (!Z_VERIFY(_pDevice && _ppPixelShader))
        return E_INVALIDARG;
    *_ppPixelShader = nullptr;
    const bool bSame = m_shader.fccIn == _shader.fccIn && m_shader.fccOut == _shader.fccOut &&
                       m_shader.bLinear == _shader.bLinear && m_shader.eMatrix == _shader.eMatrix;
    if (!bSame || !IsOnDevice(m_cpPixelShader.Get(), _pDevice))
    {
        m_cpPixelShader.Reset();
        const std::string strText = ConvertShader_Text(_shader);
        const HRESULT hr = strText.empty() ? E_NOTIMPL
                                           : DX11Device::PixelShader_Get(_pDevice, strText.c_str(), c_nShaderTag,
                                                                         m_cpPixelShader.Put());
        if (FAILED(hr))
        {
            ZLog(eZLog_Error, "DX11Converter::UpdatePixelShader: Unable to create pixel shader! Error code %#X!\n", hr);
            return hr;
        }
        m_shader = _shader;
    }
    *_ppPixelShader = CZPtr<ID3D11PixelShader>(m_cpPixelShader).Detach();
    return S_OK;
}

HRESULT DX11Converter::UpdateSampler(ID3D11Device* _pDevice, const ZF_VID_PROPS* _pVidPropsIn,
                                     const ZF_VID_PROPS* _pVidPropsOut, ID3D11SamplerState** _ppSamplerState)
{
    if (!Z_VERIFY(_pDevice && _ppSamplerState))
        return E_INVALIDARG;
    *_ppSamplerState = nullptr;
    const uint32_t nFilter = GetFilterType(_pVidPropsIn, _pVidPropsOut);
    D3D11_SAMPLER_DESC desc = {};
    if (m_cpSamplerState)
        m_cpSamplerState->GetDesc(&desc);
    if (!IsOnDevice(m_cpSamplerState.Get(), _pDevice) || desc.Filter != nFilter)
    {
        m_cpSamplerState.Reset();
        const HRESULT hr = DX11Device::CreateSampler(_pDevice, nFilter, c_nAnisotropy, m_cpSamplerState.Put());
        if (FAILED(hr))
            return Failed("UpdateSampler", "Unable to create sampler state!", hr);
    }
    *_ppSamplerState = CZPtr<ID3D11SamplerState>(m_cpSamplerState).Detach();
    return S_OK;
}

HRESULT DX11Converter::Convert(DX11Device* _pTheDevice, const ZF_VID_PROPS* _pVidPropsIn,
                               const ZF_VID_PROPS* _pVidPropsOut, ID3D11Texture2D* _pTexIn, IDX11Allocator* _pAllocator,
                               IDX11Texture** _ppSurfaceOut, eZYMatrix _eMatrix)
{
    if (_ppSurfaceOut)
        *_ppSurfaceOut = nullptr;
    if (!Z_VERIFY(_pVidPropsIn && _pVidPropsOut && _pTexIn && _ppSurfaceOut) || !Z_VERIFY(_pTheDevice))
        return E_INVALIDARG;
    if (_pVidPropsIn->fccType == _pVidPropsOut->fccType && IsSameSize(*_pVidPropsIn, *_pVidPropsOut))
    {
        ZLog(eZLog_Verbose, "DX11Converter::Convert: Conversion not required!\n");
        return S_FALSE;
    }
    D3D11_TEXTURE2D_DESC desc = {};
    _pTexIn->GetDesc(&desc);
    if (DX_TextureFormat(_pVidPropsOut->fccType) == DXGI_FORMAT_UNKNOWN)
        return Failed("Convert", "The output format has no texture form!", E_NOTIMPL);
    if (!DX_TextureFits(desc, *_pVidPropsIn) || !GPU_SizeIsValid(*_pVidPropsIn) || !GPU_SizeIsValid(*_pVidPropsOut))
        return Failed("Convert", "Video properties and input texture description do not match!", E_INVALIDARG);

    const bool bLinear = GetFilterType(_pVidPropsIn, _pVidPropsOut) == c_nFilterLinear;
    const CONVERT_SHADER shader = {_pVidPropsIn->fccType, _pVidPropsOut->fccType, bLinear, _eMatrix};
    CZPtr<ID3D11PixelShader> cpPixelShader;
    HRESULT hr = UpdatePixelShader(_pTheDevice->Device(), shader, cpPixelShader.Put());
    if (FAILED(hr))
        return Failed("Convert", "Failed to set pixel shader for conversion!", hr);
    CZPtr<ID3D11SamplerState> cpSampler;
    hr = UpdateSampler(_pTheDevice->Device(), _pVidPropsIn, _pVidPropsOut, cpSampler.Put());
    if (FAILED(hr))
        return Failed("Convert", "Sampler state is not available for frame conversion!", hr);
    const PS_BACKCOLOR_BUFFER constants = Shader_FillBackcolor(_pVidPropsIn->nWidth, std::abs(_pVidPropsIn->nHeight),
                                                               _pVidPropsOut->nWidth, std::abs(_pVidPropsOut->nHeight));
    const GPU_PASS pass = {cpPixelShader.Get(), cpSampler.Get(), &constants, sizeof(constants)};
    return _RenderBase(_pTheDevice, _pTexIn, pass, GPU_TargetOf(*_pVidPropsOut), _pAllocator, _ppSurfaceOut);
}

HRESULT DX11Converter::Convert(DX11Device* _pTheDevice, IDX11Texture** _pFrameIn, const ZF_VID_PROPS* _pVidPropsOut,
                               IDX11Allocator* _pAllocator, eZYMatrix _eMatrix)
{
    if (!Z_VERIFY(_pTheDevice && _pFrameIn && *_pFrameIn && _pVidPropsOut))
        return E_INVALIDARG;
    ZF_VID_PROPS vidPropsIn = {};
    CZPtr<ID3D11Texture2D> cpTexIn;
    CZPtr<IDX11Texture> cpSurfaceOut;
    HRESULT hr = (*_pFrameIn)->VideoPropsGet(&vidPropsIn); // NOLINT(clang-analyzer-*): null has been refused
    if (SUCCEEDED(hr))
        hr = (*_pFrameIn)->TextureGet(cpTexIn.Put());
    if (SUCCEEDED(hr))
        hr = Convert(_pTheDevice, &vidPropsIn, _pVidPropsOut, cpTexIn.Get(), _pAllocator, cpSurfaceOut.Put(), _eMatrix);
    if (FAILED(hr))
        return Failed("Convert", "Surface not converted!", hr);
    if (hr == S_OK)
        CZPtr<IDX11Texture>::Adopt(std::exchange(*_pFrameIn, cpSurfaceOut.Detach())).Reset();
    return hr;
}

void DX11Converter::Close()
{
    m_cpPixelShader.Reset();
    m_cpSamplerState.Reset();
}
