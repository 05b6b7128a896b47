#pragma once

#include "DirectX/Device/DXDevice.h"
#include "DirectX/Device/DXTexture.h"
#include "DirectX/Pipeline/GPUStage.h"

#include <span>

/// What a pass binds besides its input; borrowed during the call.
struct GPU_PASS
{
    ID3D11PixelShader* pPixelShader = nullptr;
    ID3D11SamplerState* pSampler = nullptr; ///< slot s0; null: none
    const void* pConstants = nullptr;       ///< slot b0; null: none
    size_t cbConstants = 0;
};

/// The texture that a pass draws into: size in texels, and the record that the texture object carries.
struct GPU_TARGET
{
    uint32_t nWidth = 0;
    uint32_t nHeight = 0;
    DXGI_FORMAT eFormat = DXGI_FORMAT_UNKNOWN;
    ZF_VID_PROPS vidProps = {};
};
/// The target for a picture; size 0 when its format has no texture form.
GPU_TARGET GPU_TargetOf(const ZF_VID_PROPS& _vidProps);

/// Draws passes.
class Renderer : protected GPUStage
{
public:
    /// The name that it logs under.
    explicit Renderer(std::string _strName)
        : GPUStage(std::move(_strName))
    {
    }

    /// One pass from the texture of an input frame. _bTaken: whether the processor can take the frame's format.
    /// E_NOTIMPL: it cannot; E_INVALIDARG: the picture has no pixel or does not lie in the texture as its properties
    /// say.
    HRESULT Render(DX11Device* _pTheDevice, IDX11Texture* _pFrameIn, bool _bTaken, const GPU_PASS& _pass,
                   const GPU_TARGET& _target, IDX11Allocator* _pAllocator, IDX11Texture** _ppTexOutput);
    /// One pass with clear, from any texture. Sets the completion marker on the target.
    HRESULT _RenderBase(DX11Device* _pTheDevice, ID3D11Texture2D* _pTexIn, const GPU_PASS& _pass,
                        const GPU_TARGET& _target, IDX11Allocator* _pAllocator, IDX11Texture** _ppSurfaceOut);
    /// The same from several textures, slots t0 on, at most CDXPassBinding::c_nInputsMax; null: nothing in that slot.
    HRESULT RenderInputs(DX11Device* _pTheDevice, std::span<ID3D11Texture2D* const> _inputs, const GPU_PASS& _pass,
                         const GPU_TARGET& _target, IDX11Allocator* _pAllocator, IDX11Texture** _ppSurfaceOut);
};
