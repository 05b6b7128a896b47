#include "DirectX/Device/DXTexture.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "DirectX/Device/DXHelpers.h"

#include <utility>

namespace
{

constexpr HRESULT c_hrNoAllocator = HRESULT_FROM_WIN32(4306);

/// All kinds of DX11Texture are made here, once their parts have been checked.
HRESULT Texture_HandOut(DX11Texture* _pTexture, IDX11Texture** _ppObject)
{
    *_ppObject = _pTexture;
    return S_OK;
}

} // namespace

DX11Texture::DX11Texture(CZPtr<ID3D11Texture2D> _cpTexture, CZPtr<IDX11Texture> _cpParent, bool _bExternal,
                         const ZF_VID_PROPS& _vidProps)
    : m_cpTexture(std::move(_cpTexture))
    , m_cpParent(std::move(_cpParent))
    , m_bExternal(_bExternal)
    , m_vidProps(_vidProps)
{
}

HRESULT DX11Texture::Create(IDX11Allocator* _pAllocator, ID3D11Device* _pDevice, const D3D11_TEXTURE2D_DESC* _pTexDesc,
                            const ZF_VID_PROPS& _vidProps, IDX11Texture** _ppObject)
{
    if (_ppObject)
        *_ppObject = nullptr;
    if (!Z_VERIFY(_pTexDesc && _ppObject) || !Z_VERIFY(_pAllocator && _pDevice))
        return E_INVALIDARG;
    return ZBorder("DX11Texture::Create", [&] {
        const CZPtr<IDX11Allocator> cpMFAllocatorTexture(_pAllocator);
        CZPtr<ID3D11Texture2D> cpTexture;
        HRESULT hr = cpMFAllocatorTexture->TextureGet(_pDevice, _pTexDesc, cpTexture.Put());
        if (FAILED(hr) || !cpTexture)
        {
            ZLog(eZLog_Error, "DX11Texture::Create: no texture (%ws) hr=%08X\n", DX_TextureText(_pTexDesc), hr);
            return FAILED(hr) ? hr : E_UNEXPECTED;
        }
        const auto cpMFAllocatorTextureCheck = DX_DataGet<IDX11Allocator>(cpTexture.Get(), c_svDataAllocator);
        if (!Z_VERIFY_TEXT(!cpMFAllocatorTextureCheck ||
                               DX_SameObject(cpMFAllocatorTextureCheck.Get(), cpMFAllocatorTexture.Get()),
                           "!cpMFAllocatorTextureCheck || "
                           "cpMFAllocatorTextureCheck.IsEqualObject(cpMFAllocatorTexture)"))
            return E_UNEXPECTED;
        if (!cpMFAllocatorTextureCheck)
            hr = DX_DataSet(cpTexture.Get(), c_svDataAllocator, cpMFAllocatorTexture.Get());
        if (FAILED(hr))
            return hr; // without it the texture could not go back
        return Texture_HandOut(new DX11Texture(std::move(cpTexture), {}, false, _vidProps), _ppObject);
    });
}

HRESULT DX11Texture::CreateExternal(ID3D11Texture2D* _pTexture, const ZF_VID_PROPS& _vidProps, IDX11Texture** _ppObject)
{
    if (_ppObject)
        *_ppObject = nullptr;
    if (!Z_VERIFY(_pTexture && _ppObject))
        return E_INVALIDARG;
    return ZBorder("DX11Texture::CreateExternal",
                   [&] { return Texture_HandOut(new DX11Texture(_pTexture, {}, true, _vidProps), _ppObject); });
}

HRESULT DX11Texture::CreateChild(IDX11Texture* _pParent, IDX11Texture** _ppObject)
{
    if (_ppObject)
        *_ppObject = nullptr;
    if (!Z_VERIFY_TEXT(_pParent, "m_cpParent") || !Z_VERIFY(_ppObject))
        return E_INVALIDARG;
    return ZBorder("DX11Texture::CreateChild", [&] {
        CZPtr<ID3D11Texture2D> cpTexture;
        ZF_VID_PROPS vidProps = {};
        DX_PICTURE_ATTRIBUTES attributes = {};
        HRESULT hr = _pParent->TextureGet(cpTexture.Put());
        if (SUCCEEDED(hr))
            hr = _pParent->VideoPropsGet(&vidProps);
        if (SUCCEEDED(hr))
            hr = _pParent->AttributesGet(&attributes);
        if (FAILED(hr))
            return hr;
        auto* const pChild = new DX11Texture(std::move(cpTexture), _pParent, false, vidProps);
        pChild->m_attributes = attributes;
        return Texture_HandOut(pChild, _ppObject);
    });
}

DX11Texture::~DX11Texture()
{
    if (m_cpParent) // keeps the texture alive
    {
        ZLog(eZLog_Verbose, "(%08X) UNREF PARENT:%08X Tex:%08X\n", this, m_cpParent.Get(), m_cpTexture.Get());
        m_cpTexture.Reset(); // released before the parent, which may put it into a cache
    }
    else if (m_bExternal)
        ZLog(eZLog_Verbose, "(%08X) UNREF EXTERNAL (ID:%I64X) Tex:%08X\n", this,
             ZLog_IsOn(eZLog_Verbose) ? DX_SharedHandle(m_cpTexture.Get()) : nullptr, m_cpTexture.Get());
    else
        PutToCache();
}

void DX11Texture::PutToCache()
{
    CZPtr<IDX11Allocator> cpMFAllocator;
    HRESULT hr = AllocatorGet(cpMFAllocator.Put());
    if (!Z_VERIFY_TEXT(SUCCEEDED(hr), "(((HRESULT)(hr)) >= 0)"))
        return;
    hr = cpMFAllocator->TexturePut(m_cpTexture.Get());
    ZLog(eZLog_Verbose, "(%08X) PUT TO CACHE (cpMFAllocator=%08X) Tex:%08X (hr=%08X)\n", this, cpMFAllocator.Get(),
         m_cpTexture.Get(), hr);
    m_cpTexture.Reset(); // released before the allocator, whose last reference this may be
}

HRESULT STDMETHODCALLTYPE DX11Texture::TextureGet(ID3D11Texture2D** _ppTexture)
{
    if (!_ppTexture)
        return E_POINTER;
    CZPtr<ID3D11Texture2D> cpTex2D(m_cpTexture);
    Z_VERIFY_TEXT(DX_DataGet(cpTex2D.Get(), c_svDataInCache, LONGLONG{0}) == 0,
                  "DX_DataGet(cpTex2D, \"_in_cache_\", (LONGLONG)0) == 0");
    *_ppTexture = cpTex2D.Detach();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DX11Texture::VideoPropsGet(ZF_VID_PROPS* _pVidProps)
{
    if (!_pVidProps)
        return E_POINTER;
    *_pVidProps = m_vidProps;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DX11Texture::AllocatorGet(IDX11Allocator** _ppAllocator)
{
    if (!_ppAllocator)
        return E_POINTER;
    *_ppAllocator = DX_DataGet<IDX11Allocator>(m_cpTexture.Get(), c_svDataAllocator).Detach();
    return *_ppAllocator ? S_OK : c_hrNoAllocator;
}

HRESULT STDMETHODCALLTYPE DX11Texture::AttributesSet(const DX_PICTURE_ATTRIBUTES* _pAttributes)
{
    if (!_pAttributes)
        return E_POINTER;
    const std::lock_guard lock(m_mtxAttributes);
    m_attributes = *_pAttributes;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DX11Texture::AttributesGet(DX_PICTURE_ATTRIBUTES* _pAttributes)
{
    if (!_pAttributes)
        return E_POINTER;
    const std::lock_guard lock(m_mtxAttributes);
    *_pAttributes = m_attributes;
    return S_OK;
}
