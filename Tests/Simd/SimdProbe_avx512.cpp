#include "Simd/Simd_avx512.h"
#include "Simd/SimdProbe.h"

void SimdProbe_AVX512(const PROBE_INPUT& _input, PROBE_OUTPUT* _pOutput)
{
    SimdProbe<SIMD_AVX512>(_input, _pOutput);
}
