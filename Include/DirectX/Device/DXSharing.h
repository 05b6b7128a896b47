#pragma once

#include "DirectX/Device/DXBase.h"

struct IDX11Texture;

/// \name Completion
///@{
/// Marks a resource with a fresh event query after the work recorded so far. E_INVALIDARG without device or context;
/// E_OUTOFMEMORY when there is no query.
HRESULT DX_QuerySet(ID3D11Resource* _pResource);
/// Waits until the GPU has finished the work before the resource's marker, polling on the device that wrote it. S_OK
/// also without a marker ("NO QUERY" in the log); Z_E_TIMEOUT after 5 s; DXGI_ERROR_DEVICE_REMOVED at once.
HRESULT DX_WaitExecution(ID3D11Resource* _pResource);
///@}

/// \name Between devices
///@{
/// The handle under which other devices can open a texture; null when it is not shared, or by NT handles only.
HANDLE DX_SharedHandle(ID3D11Resource* _pResource);
/// The texture itself, or the same memory opened on the local device, by a handle of either kind. Fails across adapters
/// and without a handle.
HRESULT DX_TextureMakeCompatible(ID3D11Texture2D* _pTexture, ID3D11Device* _pDeviceLocal,
                                 ID3D11Texture2D** _ppTextureLocal);
/// Copies a whole texture on the target's context, once the source is complete; from another device of the same
/// adapter too, while the source's keyed mutex is held where it has one. A source that is not complete in time is
/// logged, and copied as it is.
HRESULT DX_TextureCopy(ID3D11Texture2D* _pTextureTo, ID3D11Texture2D* _pTextureFrom);
/// The same for two pictures of one pixel format. E_INVALIDARG (asserted) where the texture has another format than the
/// pixels, unless they are packed 4:2:2.
HRESULT DX_TextureCopy(IDX11Texture* _pPictureTo, IDX11Texture* _pPictureFrom);
///@}
