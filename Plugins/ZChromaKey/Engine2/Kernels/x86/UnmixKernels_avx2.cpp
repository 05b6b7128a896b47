#include "Simd/Simd_avx2.h"
#include "ZChromaKey/Engine2/Kernels/CellRow.h"
#include "ZChromaKey/Engine2/Kernels/CellTests.h"
#include "ZChromaKey/Engine2/Kernels/FinishRow.h"
#include "ZChromaKey/Engine2/Kernels/PlateRow.h"
#include "ZChromaKey/Engine2/Kernels/x86/UnmixKernels_x86.h"

void UnmixCells_AVX2(const CELL_ROW& _row) noexcept
{
    UnmixCells::Cells<SIMD_AVX2>(_row);
}
void UnmixScreen_AVX2(SCREEN_CHUNK& _chunk) noexcept
{
    UnmixTests::Screen<SIMD_AVX2>(_chunk);
}
void UnmixSteps_AVX2(STEP_CHUNK& _chunk) noexcept
{
    UnmixTests::Steps<SIMD_AVX2>(_chunk);
}
void UnmixClasses_AVX2(CLASS_CHUNK& _chunk) noexcept
{
    UnmixTests::Classes<SIMD_AVX2>(_chunk);
}
void UnmixMeans_AVX2(const MEAN_CHUNK& _chunk) noexcept
{
    UnmixPlates::Means<SIMD_AVX2>(_chunk);
}
void UnmixCompare_AVX2(COMPARE_CHUNK& _chunk) noexcept
{
    UnmixPlates::Compare<SIMD_AVX2>(_chunk);
}
void UnmixLearn_AVX2(LEARN_CHUNK& _chunk) noexcept
{
    UnmixPlates::Learn<SIMD_AVX2>(_chunk);
}
void UnmixSolid_AVX2(const SOLID_RUN& _run) noexcept
{
    UnmixPixels::Solid<SIMD_AVX2>(_run);
}
void UnmixMixed_AVX2(const MIXED_RUN& _run) noexcept
{
    UnmixPixels::Mixed<SIMD_AVX2>(_run);
}
void UnmixFinish_AVX2(const FINISH_RUN& _run) noexcept
{
    UnmixFinish::Finish<SIMD_AVX2>(_run);
}
void UnmixChanged_AVX2(const CHANGED_RUN& _run, uint64_t& _nChanged) noexcept
{
    UnmixFinish::Changed<SIMD_AVX2>(_run, _nChanged);
}
void UnmixMask_AVX2(const MASK_ROW& _row) noexcept
{
    UnmixFinish::Mask<SIMD_AVX2>(_row);
}
