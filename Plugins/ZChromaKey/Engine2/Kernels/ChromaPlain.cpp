#include "Simd/Simd_plain.h"
#include "ZChromaKey/Engine2/Kernels/ChromaRebuild.h"

void ChromaRebuild_C(const CHROMA_JOB& _job, int _nFirst, int _nRows) noexcept
{
    ChromaRebuild<SIMD_PLAIN_OF<4>>(_job, _nFirst, _nRows);
}
