#pragma once

#include "Base/ZModuleRef.h"
#include "DirectX/Device/DXAllocator.h"
#include "Interfaces/ZVideoTypes.h"

#include <cstddef>
#include <mutex>

/// A second record that travels with a picture; its content is the host's.
struct DX_PICTURE_ATTRIBUTES
{
    uint8_t arrBytes[48];
};
static_assert(sizeof(DX_PICTURE_ATTRIBUTES) == 48);

/// A texture with the properties of the picture in it.
struct IDX11Texture : public IUnknown
{
    /// Hands out the texture with a reference. Asserted: it is not in a cache.
    virtual HRESULT STDMETHODCALLTYPE TextureGet(ID3D11Texture2D** _ppTexture) = 0;
    virtual HRESULT STDMETHODCALLTYPE VideoPropsGet(ZF_VID_PROPS* _pVidProps) = 0;
    /// The allocator that owns the texture; the Win32 error 4306 as a result code when it has none.
    virtual HRESULT STDMETHODCALLTYPE AllocatorGet(IDX11Allocator** _ppAllocator) = 0;
    virtual HRESULT STDMETHODCALLTYPE AttributesSet(const DX_PICTURE_ATTRIBUTES* _pAttributes) = 0;
    virtual HRESULT STDMETHODCALLTYPE AttributesGet(DX_PICTURE_ATTRIBUTES* _pAttributes) = 0;
};
Z_INTERFACE_ID(IDX11Texture, 0x1f9b7a64, 0x5c0e, 0x4d3c, 0xa4, 0x7b, 0x90, 0x33, 0xd8, 0x6e, 0x21, 0xc5)

/// The texture object of the GPU path. Thread safe as far as its texture is.
///
/// With its last reference a pooled texture goes back to its allocator's cache, a foreign one is only released, and a
/// child lets go of its parent.
class DX11Texture final : public CZUnknown<IDX11Texture>
{
public:
    /// A texture of the allocator.
    static HRESULT Create(IDX11Allocator* _pAllocator, ID3D11Device* _pDevice, const D3D11_TEXTURE2D_DESC* _pTexDesc,
                          const ZF_VID_PROPS& _vidProps, IDX11Texture** _ppObject);
    /// Around somebody else's texture, such as the host's.
    static HRESULT CreateExternal(ID3D11Texture2D* _pTexture, const ZF_VID_PROPS& _vidProps, IDX11Texture** _ppObject);
    /// Around a parent's texture (asserted "m_cpParent"), with a copy of its properties and attributes.
    static HRESULT CreateChild(IDX11Texture* _pParent, IDX11Texture** _ppObject);

    HRESULT STDMETHODCALLTYPE TextureGet(ID3D11Texture2D** _ppTexture) override;
    HRESULT STDMETHODCALLTYPE VideoPropsGet(ZF_VID_PROPS* _pVidProps) override;
    HRESULT STDMETHODCALLTYPE AllocatorGet(IDX11Allocator** _ppAllocator) override;
    HRESULT STDMETHODCALLTYPE AttributesSet(const DX_PICTURE_ATTRIBUTES* _pAttributes) override;
    HRESULT STDMETHODCALLTYPE AttributesGet(DX_PICTURE_ATTRIBUTES* _pAttributes) override;

private:
    DX11Texture(CZPtr<ID3D11Texture2D> _cpTexture, CZPtr<IDX11Texture> _cpParent, bool _bExternal,
                const ZF_VID_PROPS& _vidProps);
    ~DX11Texture() override;
    void PutToCache();

    CZModuleRef m_refModule; ///< hosts hold results beyond the keyer's life
    CZPtr<ID3D11Texture2D> m_cpTexture;
    CZPtr<IDX11Texture> m_cpParent;
    bool m_bExternal;
    ZF_VID_PROPS m_vidProps;
    std::mutex m_mtxAttributes;
    DX_PICTURE_ATTRIBUTES m_attributes = {};
};
