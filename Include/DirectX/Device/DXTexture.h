#pragma once

#include "Base/ZModuleRef.h"
#include "DirectX/Device/DXBase.h"
#include "Interfaces/ZVideoTypes.h"

#include <cstddef>
#include <mutex>
#include <vector>

/// A second record that travels with a picture; its content is the host's.
struct DX_PICTURE_ATTRIBUTES
{
    uint8_t arrBytes[48];
};
static_assert(sizeof(DX_PICTURE_ATTRIBUTES) == 48);

/// Hands out textures and takes them back.
struct IDX11Allocator : public IUnknown
{
    /// A texture of a description: one from the cache ("_in_cache_" 0 again), or a new one that carries this allocator
    /// under "_txalloc_zRg7_". The caller releases it, or puts it back.
    virtual HRESULT STDMETHODCALLTYPE TextureGet(ID3D11Device* _pDevice, const D3D11_TEXTURE2D_DESC* _pDesc,
                                                 ID3D11Texture2D** _ppTexture) = 0;
    /// Takes a texture into the cache, with a reference of its own; "_in_cache_" becomes 1.
    virtual HRESULT STDMETHODCALLTYPE TexturePut(ID3D11Texture2D* _pTexture) = 0;
    /// Lets go of all textures in the cache.
    virtual HRESULT STDMETHODCALLTYPE CacheClear() = 0;
};
Z_INTERFACE_ID(IDX11Allocator, 0x6a1d0c5e, 0x8f43, 0x4b0b, 0x9d, 0x55, 0x2e, 0x61, 0x7c, 0x0b, 0x4f, 0x18)

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

    CZModuleRef m_refModule; // hosts hold results beyond the keyer's life
    CZPtr<ID3D11Texture2D> m_cpTexture;
    CZPtr<IDX11Texture> m_cpParent;
    bool m_bExternal;
    ZF_VID_PROPS m_vidProps;
    std::mutex m_mtxAttributes;
    DX_PICTURE_ATTRIBUTES m_attributes = {};
};

/// The allocator of the GPU path: keeps the textures that came back, up to a bound, and drops the oldest first. One
/// allocator serves any number of devices; textures of a device that was removed are dropped. A texture in use keeps
/// its allocator; a cached one does not, so nothing keeps itself alive. Thread safe.
///
/// TexturePut refuses (E_INVALIDARG) what this allocator did not hand out or has back already, and answers S_FALSE for
/// a texture of a removed device, which is not kept and no longer its own.
class CDX11Allocator final : public CZUnknown<IDX11Allocator>
{
public:
    static constexpr size_t c_nTexturesMax = 8; ///< a frame takes at most seven at a time

    static HRESULT Create(IDX11Allocator** _ppAllocator);

    HRESULT STDMETHODCALLTYPE TextureGet(ID3D11Device* _pDevice, const D3D11_TEXTURE2D_DESC* _pDesc,
                                         ID3D11Texture2D** _ppTexture) override;
    HRESULT STDMETHODCALLTYPE TexturePut(ID3D11Texture2D* _pTexture) override;
    HRESULT STDMETHODCALLTYPE CacheClear() override;

private:
    CDX11Allocator() = default;
    ~CDX11Allocator() override = default;
    CZPtr<ID3D11Texture2D> CacheTake(ID3D11Device* _pDevice, const D3D11_TEXTURE2D_DESC& _desc);
    void DeviceForget(ID3D11Device* _pDevice);

    CZModuleRef m_refModule; // textures in use hold it
    std::mutex m_mtxCache;
    std::vector<CZPtr<ID3D11Texture2D>> m_vecCache; // the oldest first
};
