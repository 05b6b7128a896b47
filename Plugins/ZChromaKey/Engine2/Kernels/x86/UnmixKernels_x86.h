#pragma once

#include "ZChromaKey/Engine2/Kernels/UnmixRecords.h"

/// The kernels for instruction sets of x86-64 processors; UNMIX_KERNELS says what each does.

void UnmixCells_AVX2(const CELL_ROW& _row) noexcept;
void UnmixScreen_AVX2(SCREEN_CHUNK& _chunk) noexcept;
void UnmixSteps_AVX2(STEP_CHUNK& _chunk) noexcept;
void UnmixClasses_AVX2(CLASS_CHUNK& _chunk) noexcept;
void UnmixMeans_AVX2(const MEAN_CHUNK& _chunk) noexcept;
void UnmixCompare_AVX2(COMPARE_CHUNK& _chunk) noexcept;
void UnmixLearn_AVX2(LEARN_CHUNK& _chunk) noexcept;
void UnmixSolid_AVX2(const SOLID_RUN& _run) noexcept;
void UnmixMixed_AVX2(const MIXED_RUN& _run) noexcept;
void UnmixFinish_AVX2(const FINISH_RUN& _run) noexcept;
void UnmixChanged_AVX2(const CHANGED_RUN& _run, uint64_t& _nChanged) noexcept;
void UnmixMask_AVX2(const MASK_ROW& _row) noexcept;

void UnmixCells_AVX512(const CELL_ROW& _row) noexcept;
void UnmixScreen_AVX512(SCREEN_CHUNK& _chunk) noexcept;
void UnmixSteps_AVX512(STEP_CHUNK& _chunk) noexcept;
void UnmixClasses_AVX512(CLASS_CHUNK& _chunk) noexcept;
void UnmixMeans_AVX512(const MEAN_CHUNK& _chunk) noexcept;
void UnmixCompare_AVX512(COMPARE_CHUNK& _chunk) noexcept;
void UnmixLearn_AVX512(LEARN_CHUNK& _chunk) noexcept;
void UnmixSolid_AVX512(const SOLID_RUN& _run) noexcept;
void UnmixMixed_AVX512(const MIXED_RUN& _run) noexcept;
void UnmixFinish_AVX512(const FINISH_RUN& _run) noexcept;
void UnmixChanged_AVX512(const CHANGED_RUN& _run, uint64_t& _nChanged) noexcept;
void UnmixMask_AVX512(const MASK_ROW& _row) noexcept;
