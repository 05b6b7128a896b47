#include "Simd/Simd_avx2.h"
#include "ZChromaKey/Engine2/Kernels/ChromaRebuild.h"
#include "ZChromaKey/Engine2/Kernels/x86/ChromaKernels_x86.h"

void ChromaRebuild_AVX2(const CHROMA_JOB& _job, int _nFirst, int _nRows) noexcept
{
    ChromaRebuild<SIMD_AVX2>(_job, _nFirst, _nRows);
}
