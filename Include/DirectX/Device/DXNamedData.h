#pragma once

#include "DirectX/Device/DXBase.h"

#include <string_view>

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
