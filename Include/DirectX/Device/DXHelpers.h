#pragma once

/// What the GPU path does with Direct3D 11 resources: named data, texture descriptions, completion, copies.

#include "DirectX/Device/DXBase.h"
#include "Interfaces/ZVideoTypes.h"

#include <string>
#include <string_view>

struct IDX11Texture;

/// \name Named data
/// Values kept in the private data of a device or device child, under a 16-byte identifier made from the whole name.
/// E_INVALIDARG for null arguments (asserted).
///@{
inline constexpr std::string_view c_svDataQuery = "_query_";            ///< completion marker of the last pass
inline constexpr std::string_view c_svDataAllocator = "_txalloc_zRg7_"; ///< the allocator that owns the texture
inline constexpr std::string_view c_svDataInCache = "_in_cache_";       ///< 1 while the texture lies in its cache

/// The identifier of a name in up to two pieces: the 128-bit FNV-1a hash of all its bytes, the same everywhere. Two
/// texts that differ in their last bytes only never meet; of n unrelated ones two meet with a chance of n^2 / 2^129.
constexpr GUID DX_DataId(std::string_view _svName, std::string_view _svRest = {})
{
    uint64_t nHigh = 0x6C62272E07BB0142u; // FNV's offset basis, 144066263297769815596495629667062367629
    uint64_t nLow = 0x62B821756295C58Du;
    for (const std::string_view svPiece : {_svName, _svRest})
        for (const char chByte : svPiece)
        {
            // times FNV's prime, 2^88 + 0x13B, in 32-bit digits
            nLow ^= static_cast<uint8_t>(chByte);
            const uint64_t nDigit0 = (nLow & 0xFFFFFFFFu) * 0x13B;
            const uint64_t nDigit1 = (nLow >> 32) * 0x13B + (nDigit0 >> 32);
            nHigh = nHigh * 0x13B + (nDigit1 >> 32) + (nLow << 24);
            nLow = nDigit1 << 32 | (nDigit0 & 0xFFFFFFFFu);
        }
    const auto fnByte = [nLow](int _nByte) { return static_cast<uint8_t>(nLow >> 8 * _nByte); };
    return {static_cast<uint32_t>(nHigh >> 32),
            static_cast<uint16_t>(nHigh >> 16),
            static_cast<uint16_t>(nHigh),
            {fnByte(7), fnByte(6), fnByte(5), fnByte(4), fnByte(3), fnByte(2), fnByte(1), fnByte(0)}};
}

/// Keeps a reference to an object under a name, instead of one already there; null takes it away.
HRESULT DX_DataSet(IUnknown* _pDevChild, REFGUID _id, IUnknown* _pObjectOrNull);
inline HRESULT DX_DataSet(IUnknown* _pDevChild, std::string_view _svName, IUnknown* _pObjectOrNull)
{
    return DX_DataSet(_pDevChild, DX_DataId(_svName), _pObjectOrNull);
}
/// Keeps a number under a name.
HRESULT DX_DataSet(IUnknown* _pDevChild, std::string_view _svName, LONGLONG _llValue);
/// Hands out a reference to the object under a name; S_FALSE and null when there is none.
HRESULT DX_DataGet(IUnknown* _pDevChild, REFGUID _id, REFIID _iid, void** _ppObj);
inline HRESULT DX_DataGet(IUnknown* _pDevChild, std::string_view _svName, REFIID _iid, void** _ppObj)
{
    return DX_DataGet(_pDevChild, DX_DataId(_svName), _iid, _ppObj);
}
/// The number under a name, or the default.
LONGLONG DX_DataGet(IUnknown* _pDevChild, std::string_view _svName, LONGLONG _llDefault);
/// The object under a name; empty when there is none.
template <class I> CZPtr<I> DX_DataGet(IUnknown* _pDevChild, std::string_view _svName)
{
    CZPtr<I> cpObject;
    DX_DataGet(_pDevChild, _svName, CZIidOf<I>::Value, cpObject.PutVoid());
    return cpObject;
}
///@}

/// \name Descriptions
///@{
/// The text of a description in log lines.
std::string DX_TextureText(const D3D11_TEXTURE2D_DESC* _pDescOrNull);
std::string DX_TextureText(ID3D11Texture2D* _pTextureOrNull);
/// Rows of pixels of a picture in a texture of so many rows of texels: planar pictures lie in one tall texture.
/// I420 counts as YV12; I422, Y422 and Y444 as YV16. Asserted: a texel height that the format can have.
int32_t DX_PictureHeight(uint32_t _fccType, int32_t _nTexelHeight);
int32_t DX_TexelHeight(uint32_t _fccType, int32_t _nPictureHeight);
/// Texels per row: packed 4:2:2 has two pixels a texel (rounded up), every other format one.
int32_t DX_TexelWidth(uint32_t _fccType, int32_t _nWidth);
/// The texture format of a pixel format: B8G8R8A8_UNORM for RGB32, ARGB32 and packed 4:2:2 (UYVY, HDYC, YUY2),
/// R8_UNORM for RGB8 and planar 4:2:0 and 4:2:2; DXGI_FORMAT_UNKNOWN for formats without a texture form.
DXGI_FORMAT DX_TextureFormat(uint32_t _fccType);
/// Whether textures of the format hold YUV as far as Direct3D can tell (NV12 and its kin; not packed into BGRA).
bool DX_IsYUV(DXGI_FORMAT _eFormat);
/// The description of a texture for a picture: size in texels, format, one mip level, one sample; usage DEFAULT and no
/// flags. Width 0 when the format has no texture form.
D3D11_TEXTURE2D_DESC DX_TextureDesc(const ZF_VID_PROPS& _vidProps);
/// Whether a texture can hold a picture: texture format, texels a row, rows; one texture, one sample a texel.
bool DX_TextureFits(const D3D11_TEXTURE2D_DESC& _desc, const ZF_VID_PROPS& _vidProps);
///@}

/// \name Completion
///@{
/// Marks a resource with a fresh event query behind the work recorded so far. E_INVALIDARG without device or context;
/// E_OUTOFMEMORY when there is no query.
HRESULT DX_QuerySet(ID3D11Resource* _pResource);
/// Waits until the GPU has finished the work before the resource's marker, polling on the device that wrote it. S_OK
/// also without a marker ("NO QUERY" in the log); Z_E_TIMEOUT after 5 s; DXGI_ERROR_DEVICE_REMOVED at once.
HRESULT DX_WaitExecution(ID3D11Resource* _pResource);
///@}

/// \name Between devices
///@{
/// The handle under which other devices can open a texture; null when it is not shared.
HANDLE DX_SharedHandle(ID3D11Resource* _pResource);
/// The texture itself, or the same memory opened on the local device. Fails across adapters and without a handle.
HRESULT DX_TextureMakeCompatible(ID3D11Texture2D* _pTexture, ID3D11Device* _pDeviceLocal,
                                 ID3D11Texture2D** _ppTextureLocal);
/// Copies a whole texture on the target's context, once the source is complete; from another device of the same
/// adapter too. A source that is not complete in time is logged, and copied as it is.
HRESULT DX_TextureCopy(ID3D11Texture2D* _pTextureTo, ID3D11Texture2D* _pTextureFrom);
/// The same for two pictures of one pixel format. E_INVALIDARG (asserted) where the texture has another format than the
/// pixels, unless they are packed 4:2:2.
HRESULT DX_TextureCopy(IDX11Texture* _pPictureTo, IDX11Texture* _pPictureFrom);
///@}
