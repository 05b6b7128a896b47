#pragma once

#include "DirectX/Device/DXBase.h"

/// What is kept on devices under names, for as long as a DX11Device of them lives.
///
/// A shader refers to its device. If the device's private data kept the shader for good, both would keep each other
/// alive after their last user; so the last DX11Device of a device takes away what was kept. Thread safe.

/// Another DX11Device uses the device. May throw std::bad_alloc.
void DX_KeptJoin(ID3D11Device* _pDevice);
/// A DX11Device that joined is about to let go of the device.
void DX_KeptLeave(ID3D11Device* _pDevice);
/// Keeps an object on the device under an identifier of DX_DataId; S_FALSE and not kept when no DX11Device uses the
/// device.
HRESULT DX_KeptAdd(ID3D11Device* _pDevice, REFGUID _id, IUnknown* _pObject);
