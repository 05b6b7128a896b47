#pragma once

/// Arithmetic on record fields, which may hold anything: widened, then cut to what the field can hold.

#include <algorithm>
#include <cstdint>
#include <cstdlib>

inline int32_t ZSaturate32(int64_t _nValue)
{
    return static_cast<int32_t>(std::clamp<int64_t>(_nValue, INT32_MIN, INT32_MAX));
}

/// The magnitude of any value; INT32_MAX for INT32_MIN.
inline int32_t ZAbs32(int32_t _nValue)
{
    return ZSaturate32(std::abs(int64_t{_nValue}));
}
