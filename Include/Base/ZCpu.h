#pragma once

/// Instruction sets that kernels are written for, each including those before it.
enum eSIMD_Level : int
{
    eSIMD_None = 0,   ///< plain C++
    eSIMD_AVX2 = 1,   ///< AVX2
    eSIMD_AVX512 = 2, ///< AVX-512 F, BW, DQ and VL
};

/// The highest level that processor and system can run.
eSIMD_Level ZCpu_Detected();

/// The level in use: the detected one, capped by the environment variable ZCK_SIMD ("none", "avx2" or "avx512"; other
/// values cap nothing) and ZCpu_Cap. Read once per process.
eSIMD_Level ZCpu_Level();

/// Caps the level further, for the program or module that calls it, which is to check one level by another. It counts
/// until ZCpu_Level is asked for the first time.
void ZCpu_Cap(eSIMD_Level _eMax);

/// "none", "avx2" or "avx512".
const char* ZCpu_LevelName(eSIMD_Level _eLevel);
