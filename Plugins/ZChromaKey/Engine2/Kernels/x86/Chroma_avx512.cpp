#include "Simd/Simd_avx512.h"
#include "ZChromaKey/Engine2/Kernels/ChromaRebuild.h"
#include "ZChromaKey/Engine2/Kernels/x86/ChromaKernels_x86.h"

void ChromaRebuild_AVX512(const CHROMA_JOB& _job, int _nFirst, int _nRows) noexcept
{
    ChromaRebuild<SIMD_AVX512>(_job, _nFirst, _nRows);
}
