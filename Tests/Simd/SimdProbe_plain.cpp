#include "Simd/Simd_plain.h"
#include "Simd/SimdProbe.h"

void SimdProbe_Plain8(const PROBE_INPUT& _input, PROBE_OUTPUT* _pOutput)
{
    SimdProbe<SIMD_PLAIN_OF<8>>(_input, _pOutput);
}

void SimdProbe_Plain16(const PROBE_INPUT& _input, PROBE_OUTPUT* _pOutput)
{
    SimdProbe<SIMD_PLAIN_OF<16>>(_input, _pOutput);
}
