#pragma once

#include "ZChromaKey/Engine2/Kernels/ChromaKernels.h"

/// The kernels for instruction sets of x86-64 processors; CHROMA_KERNELS says what each does.

void ChromaRebuild_AVX2(const CHROMA_JOB& _job, int _nFirst, int _nRows) noexcept;
void ChromaRebuild_AVX512(const CHROMA_JOB& _job, int _nFirst, int _nRows) noexcept;
