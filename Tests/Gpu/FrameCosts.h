#pragma once

#include "Gpu/DeviceHooks.h"
#include "Gpu/GpuEnvironment.h"

#include <cstdint>

inline D3D11_TEXTURE2D_DESC TextureDescOf(ID3D11Resource* _pTexture)
{
    D3D11_TEXTURE2D_DESC desc = {};
    static_cast<ID3D11Texture2D*>(_pTexture)->GetDesc(&desc);
    return desc;
}
inline bool IsRead(ID3D11Resource* _pTexture)
{
    return (TextureDescOf(_pTexture).CPUAccessFlags & D3D11_CPU_ACCESS_READ) != 0;
}
/// Bytes of a texture.
inline int64_t BytesOf(ID3D11Resource* _pTexture)
{
    const D3D11_TEXTURE2D_DESC desc = TextureDescOf(_pTexture);
    return static_cast<int64_t>(Gpu_TexelBytes(desc.Format)) * desc.Width * desc.Height;
}

/// What a frame has the device do, while it lives.
struct COSTS
{
    int nDraws = 0;
    int nWaits = 0; ///< for what the GPU has made
    int64_t nUp = 0;
    int64_t nBack = 0;
    HOOK_DRAW hookDraw{Gpu_Context(), [this](auto _pfnOriginal, auto* _pThis, auto... _args) {
                           ++nDraws;
                           _pfnOriginal(_pThis, _args...);
                       }};
    HOOK_COPY hookCopy{Gpu_Context(), [this](auto _pfnOriginal, auto* _pThis, ID3D11Resource* _pTo, auto _pFrom) {
                           nBack += IsRead(_pTo) ? BytesOf(_pTo) : 0;
                           _pfnOriginal(_pThis, _pTo, _pFrom);
                       }};
    HOOK_UPDATE hookUpdate{Gpu_Context(), [this](auto _pfnOriginal, auto* _pThis, ID3D11Resource* _pTo, auto... _args) {
                               nUp += BytesOf(_pTo);
                               _pfnOriginal(_pThis, _pTo, _args...);
                           }};
    HOOK_MAP hookMap{Gpu_Context(), [this](auto _pfnOriginal, auto* _pThis, ID3D11Resource* _pTexture, UINT _nSub,
                                           D3D11_MAP _eMap, auto... _args) {
                         nWaits += _eMap == D3D11_MAP_READ;
                         nUp += _eMap != D3D11_MAP_READ ? BytesOf(_pTexture) : 0;
                         return _pfnOriginal(_pThis, _pTexture, _nSub, _eMap, _args...);
                     }};
};
