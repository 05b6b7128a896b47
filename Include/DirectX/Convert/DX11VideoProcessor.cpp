#include "DirectX/Convert/DX11VideoProcessor.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Device/DXPassLock.h"
#include "DirectX/Pipeline/GPURows.h"

#include <cstdlib>

namespace
{

/// A texture and its records; empty when one of them cannot be got.
struct TEXTURE
{
    CZPtr<ID3D11Texture2D> cpTexture;
    D3D11_TEXTURE2D_DESC desc = {};
    ZF_VID_PROPS vidProps = {};
};

TEXTURE TextureOf(IDX11Texture* _pTexture)
{
    TEXTURE tex;
    if (!_pTexture || FAILED(_pTexture->TextureGet(tex.cpTexture.Put())) ||
        FAILED(_pTexture->VideoPropsGet(&tex.vidProps)))
        return {};
    tex.cpTexture->GetDesc(&tex.desc);
    return tex;
}

bool IsPacked(uint32_t _fccType)
{
    return _fccType == eZFCC_HDYC || _fccType == eZFCC_UYVY;
}

D3D11_TEXTURE2D_DESC TargetDesc(uint32_t _nWidth, uint32_t _nHeight)
{
    D3D11_TEXTURE2D_DESC desc = {};
    desc.Width = _nWidth;
    desc.Height = _nHeight;
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
    desc.SampleDesc.Count = 1;
    desc.Usage = D3D11_USAGE_DEFAULT;
    desc.BindFlags = D3D11_BIND_RENDER_TARGET | D3D11_BIND_SHADER_RESOURCE;
    return desc;
}

uint32_t HeightOf(const ZF_VID_PROPS& _vidProps)
{
    return static_cast<uint32_t>(std::abs(int64_t{_vidProps.nHeight}));
}

uint32_t PackedWidth(const ZF_VID_PROPS& _vidProps)
{
    return static_cast<uint32_t>(DX_TexelWidth(eZFCC_UYVY, _vidProps.nWidth));
}

uint32_t PlanarHeight(uint32_t _fccType, uint32_t _nHeight)
{
    return static_cast<uint32_t>(DX_TexelHeight(_fccType, static_cast<int32_t>(_nHeight)));
}

/// The record of the output, which is made of _nFields pictures.
ZF_VID_PROPS OutputProps(const ZF_VID_PROPS& _vidPropsSrc, int32_t _nFields)
{
    ZF_VID_PROPS vidProps = _vidPropsSrc;
    vidProps.nHeight = static_cast<int32_t>(HeightOf(_vidPropsSrc)) * _nFields;
    vidProps.nRowBytes = 0;
    return vidProps;
}

} // namespace

HRESULT DXV11ProcessorCore::Failed(const char* _pszOperation, const char* _pszStep, IDX11Texture* _pTexInput,
                                   HRESULT _hr) const
{
    ZLog(eZLog_Error, "%hs::%hs: %hs(Input:%ws) FAILED hr=%08X\n", m_strName, _pszOperation, _pszStep,
         DX_TextureText(TextureOf(_pTexInput).cpTexture.Get()), _hr);
    return _hr;
}

HRESULT DXV11ProcessorCore::DXV_Convert_RGB_YUV(IDX11Texture* _pTexSrcRGB_Top, IDX11Texture* _pTexSrcRGB_BottomOrNull,
                                                IDX11Texture* _pTexDstYUV, const float* _pfDXVConvertMatrix4x3,
                                                uint32_t _eFCC_YUV, eDXVRange _eRange)
{
    const TEXTURE texTop = TextureOf(_pTexSrcRGB_Top);
    const TEXTURE texBottom = TextureOf(_pTexSrcRGB_BottomOrNull);
    const TEXTURE texDst = TextureOf(_pTexDstYUV);
    if (!Z_VERIFY_TEXT(texTop.cpTexture && texDst.cpTexture && _pfDXVConvertMatrix4x3,
                       "_pTexSrcRGB_Top && _pTexDstYUV && _pfDXVConvertMatrix4x3"))
        return E_INVALIDARG;
    const D3D11_TEXTURE2D_DESC& descTexSrc = texTop.desc;
    const D3D11_TEXTURE2D_DESC& descTexDst = texDst.desc;
    const UINT nFields = _pTexSrcRGB_BottomOrNull ? 2 : 1;
    const int nFlippedIn = VidProps_IsBottomUp(&texTop.vidProps) ? 1 : 0;
    const int nFlippedOut = VidProps_IsBottomUp(&texDst.vidProps) ? 1 : 0;
    if (!Z_VERIFY(_eFCC_YUV == eZFCC_HDYC || _eFCC_YUV == eZFCC_UYVY) ||
        !Z_VERIFY(!DX_IsYUV(descTexSrc.Format) && descTexDst.Format == DXGI_FORMAT_B8G8R8A8_UNORM) ||
        !Z_VERIFY(nFlippedIn == 0) || !Z_VERIFY(nFlippedOut == 0) ||
        !Z_VERIFY(descTexDst.Width * 2 == descTexSrc.Width && descTexDst.Height == descTexSrc.Height * nFields) ||
        !Z_VERIFY(!_pTexSrcRGB_BottomOrNull || (texBottom.cpTexture && texBottom.desc.Width == descTexSrc.Width &&
                                                texBottom.desc.Height == descTexSrc.Height)))
        return E_INVALIDARG;
    const std::string strShader = DXVShader_Text({static_cast<bool>(texBottom.cpTexture), _eRange == eDXVR_Full});
    const PS_CONVERT constants = Shader_FillConvert(static_cast<int32_t>(descTexDst.Width) * 2, _pfDXVConvertMatrix4x3);
    const auto fnPass = [&](std::initializer_list<ID3D11Texture2D*> _arrInputs) {
        const CDXPassLock lock(m_cpDevice->Device());
        return m_cpDevice->PixelShader_Execute(texDst.cpTexture.Get(), _arrInputs, strShader.c_str(), &constants,
                                               sizeof(constants), D3D11_FILTER_MIN_MAG_MIP_POINT, 2);
    };
    const HRESULT hr = texBottom.cpTexture ? fnPass({texTop.cpTexture.Get(), texBottom.cpTexture.Get()})
                                           : fnPass({texTop.cpTexture.Get()});
    return FAILED(hr) ? Failed("DXV_Convert_RGB_YUV", "_Copy_RGB_YUV422_PS", _pTexSrcRGB_Top, hr) : hr;
}

HRESULT DXV11ProcessorCore::DXV_Convert_UYVY_YUVPlanar(IDX11Texture* _pTexSrcUYVY, IDX11Texture* _pTexDstYUV,
                                                       uint32_t _eFCC_YUV)
{
    const TEXTURE texSrc = TextureOf(_pTexSrcUYVY);
    const TEXTURE texDst = TextureOf(_pTexDstYUV);
    if (!Z_VERIFY_TEXT(texSrc.cpTexture && texDst.cpTexture, "_pTexSrcUYVY && _pTexDstYUV"))
        return E_INVALIDARG;
    const D3D11_TEXTURE2D_DESC& descTexSrc = texSrc.desc;
    const D3D11_TEXTURE2D_DESC& descTexDst = texDst.desc;
    if (!Z_VERIFY(_eFCC_YUV == eZFCC_NV12 || _eFCC_YUV == eZFCC_YV12 || _eFCC_YUV == eZFCC_YV16) ||
        !Z_VERIFY(descTexSrc.Format == DXGI_FORMAT_B8G8R8A8_UNORM && descTexDst.Format == DXGI_FORMAT_B8G8R8A8_UNORM) ||
        !Z_VERIFY(descTexDst.Width == (descTexSrc.Width + 1) / 2 &&
                  descTexDst.Height == PlanarHeight(_eFCC_YUV, descTexSrc.Height)) ||
        !Z_VERIFY(_eFCC_YUV == eZFCC_YV16 || descTexSrc.Height % 2 == 0))
        return E_INVALIDARG;
    const CDXPassLock lock(m_cpDevice->Device());
    const HRESULT hr = m_cpDevice->PixelShader_Execute(texDst.cpTexture.Get(), {texSrc.cpTexture.Get()},
                                                       DXVPlanarShader_Text(_eFCC_YUV).c_str(), nullptr, 0,
                                                       D3D11_FILTER_MIN_MAG_MIP_POINT, 2);
    return FAILED(hr) ? Failed("DXV_Convert_UYVY_YUVPlanar", "_Copy_UYVY_YUVPlanar_PS", _pTexSrcUYVY, hr) : hr;
}

HRESULT DXV11ProcessorCore::TextureCreate(const D3D11_TEXTURE2D_DESC& _desc, const ZF_VID_PROPS& _vidProps,
                                          IDX11Allocator* _pAllocator, IDX11Texture** _ppTexture) const
{
    const HRESULT hr = DX11Texture::Create(_pAllocator, m_cpDevice->Device(), &_desc, _vidProps, _ppTexture);
    if (FAILED(hr))
        ZLog(eZLog_Error, "%hs::_CreateOutputTex: DX11Texture::Create(%ws) FAILED hr=%08X\n", m_strName,
             DX_TextureText(&_desc), hr);
    return hr;
}

HRESULT DXV11ProcessorCore::_CreateOutputTex(const ZF_VID_PROPS& _vidProps, IDX11Allocator* _pAllocator,
                                             IDX11Texture** _ppTexture) const
{
    const uint32_t nHeight = PlanarHeight(_vidProps.fccType, HeightOf(_vidProps));
    return TextureCreate(TargetDesc((PackedWidth(_vidProps) + 1) / 2, nHeight), _vidProps, _pAllocator, _ppTexture);
}

HRESULT DXV11ProcessorCore::_CreateOutputTex422(const ZF_VID_PROPS& _vidProps, IDX11Allocator* _pAllocator,
                                                IDX11Texture** _ppTexture) const
{
    return TextureCreate(TargetDesc(PackedWidth(_vidProps), HeightOf(_vidProps)), _vidProps, _pAllocator, _ppTexture);
}

HRESULT DXV11ProcessorCore::DXV_Convert(IDX11Texture* _pTexSrcRGB_Top, IDX11Texture* _pTexSrcRGB_BottomOrNull,
                                        const float* _pfDXVConvertMatrix4x3, uint32_t _eFCC_YUV,
                                        IDX11Allocator* _pAllocator, IDX11Texture** _ppTexture, eDXVRange _eRange)
{
    if (_ppTexture)
        *_ppTexture = nullptr;
    const TEXTURE texSrc = TextureOf(_pTexSrcRGB_Top);
    if (!Z_VERIFY(texSrc.cpTexture && _ppTexture))
        return E_INVALIDARG;
    const uint32_t fccPacked = IsPacked(_eFCC_YUV) ? _eFCC_YUV : uint32_t{eZFCC_UYVY};
    ZF_VID_PROPS vidProps = OutputProps(texSrc.vidProps, _pTexSrcRGB_BottomOrNull ? 2 : 1);
    vidProps.fccType = fccPacked;
    CZPtr<IDX11Texture> cpPacked;
    HRESULT hr = _CreateOutputTex422(vidProps, _pAllocator, cpPacked.Put());
    if (FAILED(hr))
        return Failed("DXV_Convert", "_CreateOutputTex422", _pTexSrcRGB_Top, hr);
    hr = DXV_Convert_RGB_YUV(_pTexSrcRGB_Top, _pTexSrcRGB_BottomOrNull, cpPacked.Get(), _pfDXVConvertMatrix4x3,
                             fccPacked, _eRange);
    if (FAILED(hr))
        return hr;
    if (IsPacked(_eFCC_YUV))
    {
        *_ppTexture = cpPacked.Detach();
        return S_OK;
    }
    vidProps.fccType = _eFCC_YUV;
    CZPtr<IDX11Texture> cpPlanar;
    hr = _CreateOutputTex(vidProps, _pAllocator, cpPlanar.Put());
    if (FAILED(hr))
        return Failed("DXV_Convert", "_CreateOutputTex", _pTexSrcRGB_Top, hr);
    hr = DXV_Convert_UYVY_YUVPlanar(cpPacked.Get(), cpPlanar.Get(), _eFCC_YUV);
    if (SUCCEEDED(hr))
        *_ppTexture = cpPlanar.Detach();
    return hr;
}

HRESULT DXV11Processor_Get(DXV11ProcessorMap* _pMap, DX11Device* _pDevice, DXV11Processor** _ppProcessor)
{
    if (!_pMap || !_pDevice || !_ppProcessor)
        return E_POINTER;
    *_ppProcessor = nullptr;
    return ZBorder("DXV11Processor_Get", [&] {
        // a processor keeps its wrapper, so no other device has this address while the processor is in the map
        const std::string strName = ZFormat("%p", static_cast<const void*>(_pDevice));
        return _pMap->GetOrMake(
            strName, [&](DXV11Processor** _ppNew) { return DXV11Processor::Create(_pDevice, _ppNew); }, _ppProcessor);
    });
}
