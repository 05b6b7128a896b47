// Completion markers, and textures on their way between devices.

#include "DirectX/Device/DXSharing.h"

#include "Base/ZAssert.h"
#include "Base/ZDeadline.h"
#include "Base/ZLog.h"
#include "Base/ZPixelFormats.h"
#include "DirectX/Device/DXKeyedMutex.h"
#include "DirectX/Device/DXNamedData.h"
#include "DirectX/Device/DXPicture.h"
#include "DirectX/Device/DXTexture.h"

namespace
{

constexpr uint32_t c_nWaitMaxMs = 5000;

/// Whether all of one texture can be copied over another: Direct3D drops any other copy without a word.
bool Copy_Fits(ID3D11Texture2D* _pTextureTo, ID3D11Texture2D* _pTextureFrom)
{
    D3D11_TEXTURE2D_DESC descTo = {};
    D3D11_TEXTURE2D_DESC descFrom = {};
    _pTextureTo->GetDesc(&descTo);
    _pTextureFrom->GetDesc(&descFrom);
    return descTo.Width == descFrom.Width && descTo.Height == descFrom.Height && descTo.Format == descFrom.Format &&
           descTo.MipLevels == descFrom.MipLevels && descTo.ArraySize == descFrom.ArraySize &&
           descTo.SampleDesc.Count == descFrom.SampleDesc.Count;
}

bool IsStaging(ID3D11Texture2D* _pTexture)
{
    D3D11_TEXTURE2D_DESC desc = {};
    _pTexture->GetDesc(&desc);
    return desc.Usage == D3D11_USAGE_STAGING;
}

bool IsByNTHandle(ID3D11Texture2D* _pTexture)
{
    D3D11_TEXTURE2D_DESC desc = {};
    _pTexture->GetDesc(&desc);
    return (desc.MiscFlags & D3D11_RESOURCE_MISC_SHARED_NTHANDLE) != 0;
}

/// Opens a texture on another device by an NT handle, which is made for this and closed again.
HRESULT OpenByNTHandle(ID3D11Texture2D* _pTexture, ID3D11Device* _pDeviceLocal, ID3D11Texture2D** _ppTextureLocal)
{
    const auto cpResource = ZQuery<IDXGIResource1>(_pTexture);
    const auto cpDevice = ZQuery<ID3D11Device1>(_pDeviceLocal);
    HANDLE hShared = nullptr;
    HRESULT hr = E_NOINTERFACE;
    if (cpResource && cpDevice)
        hr = cpResource->CreateSharedHandle(nullptr, DXGI_SHARED_RESOURCE_READ | DXGI_SHARED_RESOURCE_WRITE, nullptr,
                                            &hShared);
    if (SUCCEEDED(hr))
    {
        hr = cpDevice->OpenSharedResource1(hShared, IID_ID3D11Texture2D, reinterpret_cast<void**>(_ppTextureLocal));
        CloseHandle(hShared);
    }
    if (FAILED(hr))
        ZLog(eZLog_Error, "DX_TextureMakeCompatible: opening a texture (%ws) by its NT handle FAILED hr=%08X\n",
             DX_TextureText(_pTexture), hr);
    return hr;
}

} // namespace

HRESULT DX_QuerySet(ID3D11Resource* _pResource)
{
    const auto cpD3D11Device = DX_DeviceOf(_pResource);
    const auto cpDeviceContext = DX_ContextOf(cpD3D11Device.Get());
    if (!Z_VERIFY(cpD3D11Device && cpDeviceContext))
        return E_INVALIDARG;
    const D3D11_QUERY_DESC desc = {D3D11_QUERY_EVENT, 0};
    CZPtr<ID3D11Query> cpD3DQuery;
    const HRESULT hr = cpD3D11Device->CreateQuery(&desc, cpD3DQuery.Put());
    if (!Z_VERIFY_TEXT(SUCCEEDED(hr) && cpD3DQuery, "cpD3DQuery"))
        return E_OUTOFMEMORY;
    cpDeviceContext->End(cpD3DQuery.Get());
    return DX_DataSet(_pResource, c_svDataQuery, cpD3DQuery.Get());
}

HRESULT DX_WaitExecution(ID3D11Resource* _pResource)
{
    // Of the resource first, then of the marker: whoever wrote the resource may have done so on another device.
    auto cpD3DDevice = DX_DeviceOf(_pResource);
    auto cpD3DContext = DX_ContextOf(cpD3DDevice.Get());
    if (!Z_VERIFY(cpD3DDevice && cpD3DContext))
        return E_INVALIDARG;
    const auto cpD3DQuery = DX_DataGet<ID3D11Query>(_pResource, c_svDataQuery);
    if (!cpD3DQuery)
    {
        ZLog(eZLog_Verbose, "DX_WaitExecution: NO QUERY\n");
        return S_OK;
    }
    cpD3DDevice = DX_DeviceOf(cpD3DQuery.Get());
    cpD3DContext = DX_ContextOf(cpD3DDevice.Get());
    if (!Z_VERIFY(cpD3DDevice && cpD3DContext))
        return E_INVALIDARG;

    const CZDeadline deadline(c_nWaitMaxMs);
    for (;;)
    {
        // Without flags the poll may flush, which is needed: nobody else does.
        BOOL bDone = FALSE;
        const HRESULT hr = cpD3DContext->GetData(cpD3DQuery.Get(), &bDone, sizeof(bDone), 0);
        if (hr == DXGI_ERROR_DEVICE_REMOVED)
        {
            ZLog(eZLog_Error, "DX_WaitExecution: cpD3DContext->GetData(cpD3DQuery)=%08X(DXGI_ERROR_DEVICE_REMOVED)\n",
                 hr);
            return hr;
        }
        if (hr == S_OK)
            return S_OK;
        if (deadline.IsPast())
        {
            ZLog(eZLog_Error, "DX_WaitExecution: the GPU has not finished within 5 s, the last answer is %08X\n", hr);
            return Z_E_TIMEOUT;
        }
        Sleep(1); // not std::this_thread::sleep_for, which returns at once for so short a time under MinGW
    }
}

HANDLE DX_SharedHandle(ID3D11Resource* _pResource)
{
    const auto cpResource = ZQuery<IDXGIResource>(_pResource);
    HANDLE hShared = nullptr;
    return cpResource && SUCCEEDED(cpResource->GetSharedHandle(&hShared)) ? hShared : nullptr;
}

HRESULT DX_TextureMakeCompatible(ID3D11Texture2D* _pTexture, ID3D11Device* _pDeviceLocal,
                                 ID3D11Texture2D** _ppTextureLocal)
{
    if (!Z_VERIFY(_pTexture && _pDeviceLocal && _ppTextureLocal) || !Z_VERIFY(!*_ppTextureLocal))
        return E_INVALIDARG;
    if (DX_SameObject(DX_DeviceOf(_pTexture).Get(), _pDeviceLocal))
    {
        *_ppTextureLocal = CZPtr<ID3D11Texture2D>(_pTexture).Detach();
        return S_OK;
    }
    if (!DX_SameAdapter(_pTexture, _pDeviceLocal))
    {
        ZLog(eZLog_Error,
             "DX_TextureMakeCompatible: DIFFERENT ADAPTERS - Have to use DX_TextureCopyToDevice()\nTexture "
             "belongs to another device! Copy need sync and can slow down performance!\n");
        return E_FAIL;
    }
    if (IsByNTHandle(_pTexture))
        return OpenByNTHandle(_pTexture, _pDeviceLocal, _ppTextureLocal);
    const HANDLE hShared = DX_SharedHandle(_pTexture);
    if (!hShared)
    {
        ZLog(eZLog_Error, "DX_TextureMakeCompatible: DX_SharedHandle(%ws) NO HANDLE\n", DX_TextureText(_pTexture));
        return E_FAIL;
    }
    CZPtr<ID3D11Resource> cpResourceLocal;
    HRESULT hr = _pDeviceLocal->OpenSharedResource(hShared, IID_ID3D11Resource, cpResourceLocal.PutVoid());
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX_TextureMakeCompatible: cpDeviceLocal->OpenSharedResource(%I64X) FAILED hr=%08X\n",
             hShared, hr);
        return hr;
    }
    if (!Z_VERIFY(cpResourceLocal))
        return E_UNEXPECTED;
    return cpResourceLocal->QueryInterface(IID_ID3D11Texture2D, reinterpret_cast<void**>(_ppTextureLocal));
}

HRESULT DX_TextureCopy(ID3D11Texture2D* _pTextureTo, ID3D11Texture2D* _pTextureFrom)
{
    const auto cpDeviceTo = DX_DeviceOf(_pTextureTo);
    const auto cpContextTo = DX_ContextOf(cpDeviceTo.Get());
    if (!Z_VERIFY(_pTextureTo && _pTextureFrom) || !Z_VERIFY(cpDeviceTo && cpContextTo))
        return E_INVALIDARG;
    if (!Copy_Fits(_pTextureTo, _pTextureFrom))
    {
        ZLog(eZLog_Error, "DX_TextureCopy: a texture (%ws) cannot be copied into another of (%ws)\n",
             DX_TextureText(_pTextureFrom), DX_TextureText(_pTextureTo));
        return E_INVALIDARG;
    }
    CZPtr<ID3D11Texture2D> cpTextureLocal;
    HRESULT hr = DX_TextureMakeCompatible(_pTextureFrom, cpDeviceTo.Get(), cpTextureLocal.Put());
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX_TextureCopy: DX_TextureMakeCompatible(To->From) FAILED hr=%08X\n", hr);
        return hr;
    }
    // On the source itself: the marker is not on the texture that was opened from its handle.
    hr = DX_WaitExecution(_pTextureFrom);
    if (hr == Z_E_TIMEOUT)
        ZLog(eZLog_Warning, "DX_TextureCopy: copies a texture (%ws) that may not be finished\n",
             DX_TextureText(_pTextureFrom));
    else if (FAILED(hr))
        return hr;
    CDXKeyedMutex mutex;
    hr = mutex.Acquire(cpTextureLocal.Get());
    if (FAILED(hr))
        return hr;
    cpContextTo->CopyResource(_pTextureTo, cpTextureLocal.Get());
    // Mapping a staging texture waits by itself; readers of any other one wait for its marker, which is an old one yet.
    return IsStaging(_pTextureTo) ? S_OK : DX_QuerySet(_pTextureTo);
}

HRESULT DX_TextureCopy(IDX11Texture* _pPictureTo, IDX11Texture* _pPictureFrom)
{
    ZF_VID_PROPS vidPropsTo = {};
    ZF_VID_PROPS vidPropsFrom = {};
    CZPtr<ID3D11Texture2D> cpTextureTo;
    CZPtr<ID3D11Texture2D> cpTextureFrom;
    if (!Z_VERIFY(_pPictureTo && _pPictureFrom) || FAILED(_pPictureTo->VideoPropsGet(&vidPropsTo)) ||
        FAILED(_pPictureFrom->VideoPropsGet(&vidPropsFrom)) || vidPropsTo.fccType != vidPropsFrom.fccType)
        return E_INVALIDARG;
    const uint32_t eFCCTex = vidPropsFrom.fccType;
    const eZTexture eTexture = FCC_Texture(eFCCTex);
    const bool bSameFormat = eTexture == eZT_Pixels || eTexture == eZT_Byte;
    if (!bSameFormat && !Z_VERIFY(eFCCTex == eZFCC_HDYC || eFCCTex == eZFCC_UYVY || eFCCTex == eZFCC_YUY2))
        return E_INVALIDARG;
    HRESULT hr = _pPictureTo->TextureGet(cpTextureTo.Put());
    if (SUCCEEDED(hr))
        hr = _pPictureFrom->TextureGet(cpTextureFrom.Put());
    return SUCCEEDED(hr) ? DX_TextureCopy(cpTextureTo.Get(), cpTextureFrom.Get()) : hr;
}
