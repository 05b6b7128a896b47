// Named data: values in the private data of devices and device children.

#include "DirectX/Device/DXNamedData.h"

#include "Base/ZAssert.h"

namespace
{

/// Devices and their children have the same three methods, but no interface in common.
template <class Call> HRESULT Holder_Call(IUnknown* _pDevChild, Call&& _fnCall)
{
    if (const auto cpChild = ZQuery<ID3D11DeviceChild>(_pDevChild))
        return _fnCall(cpChild.Get());
    if (const auto cpDevice = ZQuery<ID3D11Device>(_pDevChild))
        return _fnCall(cpDevice.Get());
    return E_NOINTERFACE;
}

} // namespace

HRESULT DX_DataSet(IUnknown* _pDevChild, REFGUID _id, IUnknown* _pObjectOrNull)
{
    if (!Z_VERIFY(_pDevChild))
        return E_INVALIDARG;
    return Holder_Call(_pDevChild, [&](auto* _pHolder) {
        return _pObjectOrNull ? _pHolder->SetPrivateDataInterface(_id, _pObjectOrNull)
                              : _pHolder->SetPrivateData(_id, 0, nullptr);
    });
}

HRESULT DX_DataSet(IUnknown* _pDevChild, std::string_view _svName, LONGLONG _llValue)
{
    if (!Z_VERIFY(_pDevChild))
        return E_INVALIDARG;
    return Holder_Call(_pDevChild, [&](auto* _pHolder) {
        return _pHolder->SetPrivateData(DX_DataId(_svName), sizeof(_llValue), &_llValue);
    });
}

HRESULT DX_DataGet(IUnknown* _pDevChild, REFGUID _id, REFIID _iid, void** _ppObj)
{
    if (_ppObj)
        *_ppObj = nullptr;
    if (!Z_VERIFY(_pDevChild && _ppObj))
        return E_INVALIDARG;
    CZPtr<IUnknown> cpObject;
    const HRESULT hr = Holder_Call(_pDevChild, [&](auto* _pHolder) {
        UINT nBytes = sizeof(IUnknown*);
        return _pHolder->GetPrivateData(_id, &nBytes,
                                        static_cast<void*>(cpObject.Put())); // with a reference for the reader
    });
    if (hr == DXGI_ERROR_NOT_FOUND || (SUCCEEDED(hr) && !cpObject))
        return S_FALSE;
    return FAILED(hr) ? hr : cpObject->QueryInterface(_iid, _ppObj);
}

LONGLONG DX_DataGet(IUnknown* _pDevChild, std::string_view _svName, LONGLONG _llDefault)
{
    if (!Z_VERIFY(_pDevChild))
        return _llDefault;
    LONGLONG llValue = 0;
    UINT nBytes = sizeof(llValue);
    const HRESULT hr = Holder_Call(
        _pDevChild, [&](auto* _pHolder) { return _pHolder->GetPrivateData(DX_DataId(_svName), &nBytes, &llValue); });
    return hr == S_OK && nBytes == sizeof(llValue) ? llValue : _llDefault;
}
