#pragma once

#include "Interfaces/ZVideoTypes.h"

#include <cstdint>

/// An address of the plane record as a pointer. The record holds integers, so that it has one layout everywhere.
inline uint8_t* Img_Pointer(int64_t _nAddress)
{
    return reinterpret_cast<uint8_t*>(static_cast<intptr_t>(_nAddress)); // NOLINT(performance-no-int-to-ptr)
}
/// A pointer as an address of the plane record.
inline int64_t Img_Address(const void* _pByte)
{
    return static_cast<int64_t>(reinterpret_cast<intptr_t>(_pByte));
}
/// A row of a plane, counted in the order of its stride.
inline uint8_t* Img_RowOf(const ZF_VID_PTR& _vidPtr, int _nPlane, int64_t _nRow)
{
    return Img_Pointer(_vidPtr.lpVideoPlanes[_nPlane] + _nRow * _vidPtr.cbVideoRowBytes[_nPlane]);
}
