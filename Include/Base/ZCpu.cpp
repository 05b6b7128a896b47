#include "Base/ZCpu.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

#if defined(_MSC_VER) && defined(_M_X64)
#include <intrin.h>
#endif

namespace
{

constexpr const char* c_arrLevelNames[] = {"none", "avx2", "avx512"};

std::atomic<eSIMD_Level> s_eCap{eSIMD_AVX512};

#if defined(_MSC_VER) && defined(_M_X64)

/// Both need the processor to have the instructions and the system to save the registers.
eSIMD_Level Detect()
{
    int arrRegs[4];
    __cpuid(arrRegs, 0);
    const int nLeaves = arrRegs[0];
    __cpuid(arrRegs, 1);
    const bool bOsSaves = (arrRegs[2] >> 27) & 1;
    if (nLeaves < 7 || !bOsSaves)
        return eSIMD_None;
    const auto nSaved = _xgetbv(0);
    __cpuidex(arrRegs, 7, 0);
    const unsigned nFeatures = static_cast<unsigned>(arrRegs[1]);
    const unsigned c_nAvx512 = 1u << 16 | 1u << 17 | 1u << 30 | 1u << 31; // F, DQ, BW, VL
    if ((nSaved & 0x06) != 0x06 || !(nFeatures & 1u << 5))
        return eSIMD_None;
    return (nSaved & 0xE6) == 0xE6 && (nFeatures & c_nAvx512) == c_nAvx512 ? eSIMD_AVX512 : eSIMD_AVX2;
}

#elif defined(__x86_64__)

eSIMD_Level Detect()
{
    if (!__builtin_cpu_supports("avx2"))
        return eSIMD_None;
    const bool bAvx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                         __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
    return bAvx512 ? eSIMD_AVX512 : eSIMD_AVX2;
}

#else

eSIMD_Level Detect()
{
    return eSIMD_None;
}

#endif

eSIMD_Level CapOf(const char* _pszNameOrNull)
{
    for (int nLevel = eSIMD_None; _pszNameOrNull && nLevel <= eSIMD_AVX512; ++nLevel)
        if (std::strcmp(_pszNameOrNull, c_arrLevelNames[nLevel]) == 0)
            return static_cast<eSIMD_Level>(nLevel);
    return eSIMD_AVX512;
}

} // namespace

eSIMD_Level ZCpu_Detected()
{
    static const eSIMD_Level eLevel = Detect();
    return eLevel;
}

void ZCpu_Cap(eSIMD_Level _eMax)
{
    s_eCap = _eMax;
}

eSIMD_Level ZCpu_Level()
{
    static const eSIMD_Level eLevel = std::min({ZCpu_Detected(), CapOf(std::getenv("ZCK_SIMD")), s_eCap.load()});
    return eLevel;
}

const char* ZCpu_LevelName(eSIMD_Level _eLevel)
{
    return c_arrLevelNames[std::clamp<int>(_eLevel, eSIMD_None, eSIMD_AVX512)];
}
