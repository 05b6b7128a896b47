#pragma once

/// Conversion of frames in textures into another pixel format and size.

#include "DirectX/Pipeline/GPUProcessorCK.h"
#include "DirectX/Shaders/ConvertShader.h"

/// Converts textures: one pass with a shader for the pair of formats, as Shaders/ConvertShader.h has them, in the
/// layout that DX_TextureDesc gives. For one thread at a time. Shader and sampler of the last conversion are kept, and
/// with them their device: Close gives them back.
class DX11Converter : Renderer
{
public:
    DX11Converter()
        : Renderer("DX11Converter")
    {
    }

    /// The sampler filter of a conversion: linear (0x14) where the size changes, else, and between interlaced and
    /// progressive pictures, whose fields must not be blended, point (0).
    static uint32_t GetFilterType(const ZF_VID_PROPS* _pVidPropsIn, const ZF_VID_PROPS* _pVidPropsOut);

    /// A converted picture in a texture of the allocator. S_FALSE and nothing when format and size are the same
    /// already; E_NOTIMPL when there is no shader for the two formats. _eMatrix: of YUV formats whose name does not say
    /// it.
    HRESULT Convert(DX11Device* _pTheDevice, const ZF_VID_PROPS* _pVidPropsIn, const ZF_VID_PROPS* _pVidPropsOut,
                    ID3D11Texture2D* _pTexIn, IDX11Allocator* _pAllocator, IDX11Texture** _ppSurfaceOut,
                    eZYMatrix _eMatrix = eZYM_601);
    /// The same for a picture with its properties, which the converted one replaces.
    HRESULT Convert(DX11Device* _pTheDevice, IDX11Texture** _pFrameIn, const ZF_VID_PROPS* _pVidPropsOut,
                    IDX11Allocator* _pAllocator, eZYMatrix _eMatrix = eZYM_601);

    /// The shader for a pair of formats.
    HRESULT UpdatePixelShader(ID3D11Device* _pDevice, const CONVERT_SHADER& _shader,
                              ID3D11PixelShader** _ppPixelShader);
    /// The sampler of GetFilterType.
    HRESULT UpdateSampler(ID3D11Device* _pDevice, const ZF_VID_PROPS* _pVidPropsIn, const ZF_VID_PROPS* _pVidPropsOut,
                          ID3D11SamplerState** _ppSamplerState);
    void Close();

private:
    CZPtr<ID3D11PixelShader> m_cpPixelShader;
    CONVERT_SHADER m_shader; ///< what m_cpPixelShader does
    CZPtr<ID3D11SamplerState> m_cpSamplerState;
};
