#pragma once

#include "Base/ZModuleRef.h"
#include "DirectX/Device/DXBase.h"

#include <cstddef>
#include <mutex>
#include <vector>

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

    CZModuleRef m_refModule; ///< textures in use hold it
    std::mutex m_mtxCache;
    std::vector<CZPtr<ID3D11Texture2D>> m_vecCache; ///< the oldest first
};
