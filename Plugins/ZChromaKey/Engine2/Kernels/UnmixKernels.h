#pragma once

#include "Base/ZCpu.h"
#include "ZChromaKey/Engine2/Kernels/UnmixRecords.h"

/// What the second engine does to rows of pixels and cells. No kernel touches memory outside of what its record
/// names, nothing needs alignment, and every level gives the same bytes: integers, or single precision in a fixed
/// order, never fused.
struct UNMIX_KERNELS
{
    void (*pfnCells)(const CELL_ROW& _row) noexcept;
    void (*pfnScreen)(SCREEN_CHUNK& _chunk) noexcept;
    void (*pfnSteps)(STEP_CHUNK& _chunk) noexcept;
    void (*pfnClasses)(CLASS_CHUNK& _chunk) noexcept;
    void (*pfnMeans)(const MEAN_CHUNK& _chunk) noexcept;
    void (*pfnCompare)(COMPARE_CHUNK& _chunk) noexcept;
    void (*pfnLearn)(LEARN_CHUNK& _chunk) noexcept;
    void (*pfnLamps)(const LAMP_CHUNK& _chunk) noexcept;
    void (*pfnBlur)(const BLUR_COLUMNS& _columns) noexcept;
    void (*pfnNoise)(NOISE_CHUNK& _chunk) noexcept;
    void (*pfnClear)(const CLEAR_RUN& _run) noexcept;
    void (*pfnSolid)(const SOLID_RUN& _run) noexcept;
    void (*pfnMixed)(const MIXED_RUN& _run) noexcept;
    void (*pfnFinish)(const FINISH_RUN& _run) noexcept;
    /// Which pixels have alpha and a channel that is off by more than one level, of words by one step of ten bits; bit
    /// n is pixel n.
    void (*pfnChanged)(const CHANGED_RUN& _run, uint64_t& _nChanged) noexcept;
    void (*pfnMask)(const MASK_ROW& _row) noexcept;
};

/// Fills the table with the fastest kernels that need no more than the given level.
void UnmixKernels_Init(UNMIX_KERNELS* _pKernels, eSIMD_Level _eMax) noexcept;
/// The kernels that this processor runs best.
const UNMIX_KERNELS& UnmixKernels();
