#include "Base/ZAudio.h"

#include "Base/ZAssert.h"

#include <algorithm>

namespace
{

constexpr int c_nDecimals = 7; // 10,000,000 units a second

/// Units of 100 ns, by long division, which needs no 128-bit product. The divisor is at most UINT64_MAX / 10.
uint64_t TimeOf(uint64_t _nBytes, uint64_t _nBytesPerSec)
{
    uint64_t nTime = _nBytes / _nBytesPerSec;
    uint64_t nRest = _nBytes % _nBytesPerSec;
    for (int nDecimal = 0; nDecimal < c_nDecimals; ++nDecimal)
    {
        if (nTime > INT64_MAX / 10)
            return INT64_MAX;
        nRest *= 10;
        nTime = nTime * 10 + nRest / _nBytesPerSec;
        nRest %= _nBytesPerSec;
    }
    return std::min<uint64_t>(nTime + (nRest * 2 >= _nBytesPerSec ? 1 : 0), INT64_MAX);
}

} // namespace

int64_t Aud_BytesToTime(const ZF_AUD_PROPS* _pAudProps, int64_t _llBytes)
{
    if (!Z_VERIFY(_pAudProps))
        return 0;
    const int64_t nBlock = int64_t{_pAudProps->nBitsPerSample / 8} * _pAudProps->nChannels;
    (void)Z_VERIFY(nBlock > 0 && _llBytes % nBlock == 0);
    const int64_t nRate = _pAudProps->nSamplesPerSec;
    if (nBlock < 1 || nRate < 1 || nBlock > INT64_MAX / 10 / nRate)
        return 0;
    const bool bNegative = _llBytes < 0;
    const uint64_t nBytes = bNegative ? 0 - static_cast<uint64_t>(_llBytes) : static_cast<uint64_t>(_llBytes);
    const auto nTime = static_cast<int64_t>(TimeOf(nBytes, static_cast<uint64_t>(nBlock * nRate)));
    return bNegative ? -nTime : nTime;
}
