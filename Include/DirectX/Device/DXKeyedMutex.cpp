#include "DirectX/Device/DXKeyedMutex.h"

#include "Base/ZLog.h"
#include "DirectX/Device/DXPicture.h"

namespace
{

constexpr UINT64 c_nKey = 0;
constexpr DWORD c_nWaitMs = 100; // a texture that is handed in should be free

} // namespace

HRESULT CDXKeyedMutex::Acquire(ID3D11Texture2D* _pTexture)
{
    Release();
    D3D11_TEXTURE2D_DESC desc = {};
    _pTexture->GetDesc(&desc);
    if (!(desc.MiscFlags & D3D11_RESOURCE_MISC_SHARED_KEYEDMUTEX))
        return S_OK;
    CZPtr<IDXGIKeyedMutex> cpMutex = ZQuery<IDXGIKeyedMutex>(_pTexture);
    HRESULT hr = cpMutex ? cpMutex->AcquireSync(c_nKey, c_nWaitMs) : E_NOINTERFACE;
    if (hr == DXGI_ERROR_INVALID_CALL)
        return S_OK; // this very device holds it, and gives it back itself
    if (hr == S_OK)
    {
        m_cpHeld = std::move(cpMutex);
        return S_OK;
    }
    if (hr == static_cast<HRESULT>(WAIT_TIMEOUT))
        hr = Z_E_TIMEOUT;
    ZLog(eZLog_Error,
         "CDXKeyedMutex::Acquire: AcquireSync(0) of a texture (%ws) FAILED hr=%08X; give it back with key 0 before it "
         "is "
         "handed in\n",
         DX_TextureText(_pTexture), hr);
    return FAILED(hr) ? hr : E_FAIL; // abandoned: nobody knows what is in it
}

void CDXKeyedMutex::Release()
{
    if (m_cpHeld)
        m_cpHeld->ReleaseSync(c_nKey);
    m_cpHeld.Reset();
}
