#include "Simd/Simd_avx512.h"
#include "ZChromaKey/Engine2/Kernels/CellRow.h"
#include "ZChromaKey/Engine2/Kernels/CellTests.h"
#include "ZChromaKey/Engine2/Kernels/FinishRow.h"
#include "ZChromaKey/Engine2/Kernels/PlateRow.h"
#include "ZChromaKey/Engine2/Kernels/x86/UnmixKernels_x86.h"

void UnmixCells_AVX512(const CELL_ROW& _row) noexcept
{
    UnmixCells::Cells<SIMD_AVX512>(_row);
}
void UnmixScreen_AVX512(SCREEN_CHUNK& _chunk) noexcept
{
    UnmixTests::Screen<SIMD_AVX512>(_chunk);
}
void UnmixSteps_AVX512(STEP_CHUNK& _chunk) noexcept
{
    UnmixTests::Steps<SIMD_AVX512>(_chunk);
}
void UnmixClasses_AVX512(CLASS_CHUNK& _chunk) noexcept
{
    UnmixTests::Classes<SIMD_AVX512>(_chunk);
}
void UnmixMeans_AVX512(const MEAN_CHUNK& _chunk) noexcept
{
    UnmixPlates::Means<SIMD_AVX512>(_chunk);
}
void UnmixCompare_AVX512(COMPARE_CHUNK& _chunk) noexcept
{
    UnmixPlates::Compare<SIMD_AVX512>(_chunk);
}
void UnmixLearn_AVX512(LEARN_CHUNK& _chunk) noexcept
{
    UnmixPlates::Learn<SIMD_AVX512>(_chunk);
}
void UnmixSolid_AVX512(const SOLID_RUN& _run) noexcept
{
    UnmixPixels::Solid<SIMD_AVX512>(_run);
}
void UnmixMixed_AVX512(const MIXED_RUN& _run) noexcept
{
    UnmixPixels::Mixed<SIMD_AVX512>(_run);
}
void UnmixFinish_AVX512(const FINISH_RUN& _run) noexcept
{
    UnmixFinish::Finish<SIMD_AVX512>(_run);
}
void UnmixChanged_AVX512(const CHANGED_RUN& _run, uint64_t& _nChanged) noexcept
{
    UnmixFinish::Changed<SIMD_AVX512>(_run, _nChanged);
}
void UnmixMask_AVX512(const MASK_ROW& _row) noexcept
{
    UnmixFinish::Mask<SIMD_AVX512>(_row);
}
