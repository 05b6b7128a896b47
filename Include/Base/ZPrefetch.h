#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__x86_64__) || defined(_M_X64)
#include <xmmintrin.h>
#endif

/// Has memory fetched into the second-level cache while the caller goes on; it need not be readable. Does nothing on
/// processors that this is not written for.
inline void ZPrefetch([[maybe_unused]] const uint8_t* _pBytes, [[maybe_unused]] size_t _cbBytes) noexcept
{
#if defined(__x86_64__) || defined(_M_X64)
    constexpr size_t c_cbLine = 64;
    for (size_t n = 0; n < _cbBytes; n += c_cbLine)
        _mm_prefetch(reinterpret_cast<const char*>(_pBytes + n), _MM_HINT_T1);
#endif
}
