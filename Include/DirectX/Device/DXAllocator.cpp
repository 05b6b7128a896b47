#include "DirectX/Device/DXAllocator.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "DirectX/Device/DXHelpers.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace
{

bool Texture_Matches(ID3D11Texture2D* _pTexture, ID3D11Device* _pDevice, const D3D11_TEXTURE2D_DESC& _desc)
{
    D3D11_TEXTURE2D_DESC desc = {};
    _pTexture->GetDesc(&desc);
    static_assert(sizeof(desc) == 11 * sizeof(UINT)); // without padding
    return std::memcmp(&desc, &_desc, sizeof(desc)) == 0 && DX_SameObject(DX_DeviceOf(_pTexture).Get(), _pDevice);
}

} // namespace

HRESULT CDX11Allocator::Create(IDX11Allocator** _ppAllocator)
{
    if (!_ppAllocator)
        return E_POINTER;
    *_ppAllocator = nullptr;
    return ZBorder("CDX11Allocator::Create", [&] {
        *_ppAllocator = new CDX11Allocator;
        return S_OK;
    });
}

HRESULT STDMETHODCALLTYPE CDX11Allocator::TextureGet(ID3D11Device* _pDevice, const D3D11_TEXTURE2D_DESC* _pDesc,
                                                     ID3D11Texture2D** _ppTexture)
{
    if (_ppTexture)
        *_ppTexture = nullptr;
    if (!Z_VERIFY(_pDevice && _pDesc && _ppTexture))
        return E_INVALIDARG;
    return ZBorder("CDX11Allocator::TextureGet", [&] {
        HRESULT hr = _pDevice->GetDeviceRemovedReason();
        if (FAILED(hr))
        {
            ZLog(eZLog_Error, "CDX11Allocator::TextureGet: the device is gone, GetDeviceRemovedReason()=%08X\n", hr);
            DeviceForget(_pDevice);
            return hr;
        }
        CZPtr<ID3D11Texture2D> cpTexture = CacheTake(_pDevice, *_pDesc);
        if (!cpTexture)
            hr = _pDevice->CreateTexture2D(_pDesc, nullptr, cpTexture.Put());
        if (SUCCEEDED(hr) && !cpTexture)
            hr = E_UNEXPECTED;
        if (SUCCEEDED(hr))
            hr = DX_DataSet(cpTexture.Get(), c_svDataAllocator, this);
        if (FAILED(hr))
        {
            ZLog(eZLog_Error, "CDX11Allocator::TextureGet: CreateTexture2D(%ws) FAILED hr=%08X\n",
                 DX_TextureText(_pDesc), hr);
            return hr;
        }
        *_ppTexture = cpTexture.Detach();
        return S_OK;
    });
}

HRESULT STDMETHODCALLTYPE CDX11Allocator::TexturePut(ID3D11Texture2D* _pTexture)
{
    if (!_pTexture)
        return E_POINTER;
    return ZBorder("CDX11Allocator::TexturePut", [&] {
        const auto cpDevice = DX_DeviceOf(_pTexture);
        const bool bGone = cpDevice && FAILED(cpDevice->GetDeviceRemovedReason());
        CZPtr<ID3D11Texture2D> cpOldest; // goes after the lock
        CZPtr<IDX11Allocator> cpOwner;   // so does the reference that the texture had
        const std::lock_guard lock(m_mtxCache);
        // Only what was handed out: a foreign texture has another owner, one that came back already has none.
        cpOwner = DX_DataGet<IDX11Allocator>(_pTexture, c_svDataAllocator);
        if (!DX_SameObject(cpOwner.Get(), this))
            return E_INVALIDARG;
        if (bGone)
        {
            DX_DataSet(_pTexture, c_svDataAllocator, nullptr);
            return S_FALSE;
        }
        m_vecCache.reserve(c_nTexturesMax);
        const HRESULT hr = DX_DataSet(_pTexture, c_svDataInCache, LONGLONG{1});
        if (FAILED(hr))
            return hr;
        DX_DataSet(_pTexture, c_svDataAllocator, nullptr);
        if (m_vecCache.size() == c_nTexturesMax)
        {
            cpOldest = std::move(m_vecCache.front());
            m_vecCache.erase(m_vecCache.begin());
        }
        m_vecCache.emplace_back(_pTexture);
        return S_OK;
    });
}

HRESULT STDMETHODCALLTYPE CDX11Allocator::CacheClear()
{
    std::vector<CZPtr<ID3D11Texture2D>> vecCache; // goes after the lock
    const std::lock_guard lock(m_mtxCache);
    vecCache.swap(m_vecCache);
    return S_OK;
}

CZPtr<ID3D11Texture2D> CDX11Allocator::CacheTake(ID3D11Device* _pDevice, const D3D11_TEXTURE2D_DESC& _desc)
{
    const std::lock_guard lock(m_mtxCache);
    // The one that came back last is the likeliest to be in the GPU's caches.
    const auto itFound = std::find_if(m_vecCache.rbegin(), m_vecCache.rend(), [&](const auto& _cpTexture) {
        return Texture_Matches(_cpTexture.Get(), _pDevice, _desc);
    });
    if (itFound == m_vecCache.rend())
        return {};
    CZPtr<ID3D11Texture2D> cpTexture = std::move(*itFound);
    m_vecCache.erase(std::next(itFound).base());
    // As if it were new: nobody waits for what was done to it before.
    DX_DataSet(cpTexture.Get(), c_svDataQuery, nullptr);
    DX_DataSet(cpTexture.Get(), c_svDataInCache, LONGLONG{0});
    return cpTexture;
}

void CDX11Allocator::DeviceForget(ID3D11Device* _pDevice)
{
    std::vector<CZPtr<ID3D11Texture2D>> vecGone; // goes after the lock
    const std::lock_guard lock(m_mtxCache);
    const auto itGone = std::stable_partition(m_vecCache.begin(), m_vecCache.end(), [&](const auto& _cpTexture) {
        return !DX_SameObject(DX_DeviceOf(_cpTexture.Get()).Get(), _pDevice);
    });
    vecGone.assign(std::make_move_iterator(itGone), std::make_move_iterator(m_vecCache.end()));
    m_vecCache.erase(itGone, m_vecCache.end());
}
