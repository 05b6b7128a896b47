#include "Simd/Simd_avx2.h"
#include "Simd/SimdProbe.h"

void SimdProbe_AVX2(const PROBE_INPUT& _input, PROBE_OUTPUT* _pOutput)
{
    SimdProbe<SIMD_AVX2>(_input, _pOutput);
}
