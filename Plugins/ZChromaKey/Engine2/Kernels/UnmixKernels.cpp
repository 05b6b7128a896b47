#include "ZChromaKey/Engine2/Kernels/UnmixKernels.h"

#include "Simd/Simd_plain.h"
#include "ZChromaKey/Engine2/Kernels/CellRow.h"
#include "ZChromaKey/Engine2/Kernels/CellTests.h"
#include "ZChromaKey/Engine2/Kernels/FinishRow.h"
#include "ZChromaKey/Engine2/Kernels/PlateRow.h"
#include "ZChromaKey/Engine2/Kernels/x86/UnmixKernels_x86.h"

void UnmixKernels_Init(UNMIX_KERNELS* _pKernels, [[maybe_unused]] eSIMD_Level _eMax) noexcept
{
    *_pKernels = {
        .pfnCells = [](const CELL_ROW& _row) noexcept { UnmixCells::Cells<SIMD_PLAIN>(_row); },
        .pfnScreen = [](SCREEN_CHUNK& _chunk) noexcept { UnmixTests::Screen<SIMD_PLAIN>(_chunk); },
        .pfnSteps = [](STEP_CHUNK& _chunk) noexcept { UnmixTests::Steps<SIMD_PLAIN>(_chunk); },
        .pfnClasses = [](CLASS_CHUNK& _chunk) noexcept { UnmixTests::Classes<SIMD_PLAIN>(_chunk); },
        .pfnMeans = [](const MEAN_CHUNK& _chunk) noexcept { UnmixPlates::Means<SIMD_PLAIN>(_chunk); },
        .pfnCompare = [](COMPARE_CHUNK& _chunk) noexcept { UnmixPlates::Compare<SIMD_PLAIN>(_chunk); },
        .pfnLearn = [](LEARN_CHUNK& _chunk) noexcept { UnmixPlates::Learn<SIMD_PLAIN>(_chunk); },
        .pfnSolid = [](const SOLID_RUN& _run) noexcept { UnmixPixels::Solid<SIMD_PLAIN>(_run); },
        .pfnMixed = [](const MIXED_RUN& _run) noexcept { UnmixPixels::Mixed<SIMD_PLAIN>(_run); },
        .pfnFinish = [](const FINISH_RUN& _run) noexcept { UnmixFinish::Finish<SIMD_PLAIN>(_run); },
        .pfnChanged = [](const CHANGED_RUN& _run,
                         uint64_t& _nChanged) noexcept { UnmixFinish::Changed<SIMD_PLAIN>(_run, _nChanged); },
        .pfnMask = [](const MASK_ROW& _row) noexcept { UnmixFinish::Mask<SIMD_PLAIN>(_row); },
    };
#if defined(ZCK_X86)
    if (_eMax >= eSIMD_AVX2)
        *_pKernels = {
            .pfnCells = UnmixCells_AVX2,
            .pfnScreen = UnmixScreen_AVX2,
            .pfnSteps = UnmixSteps_AVX2,
            .pfnClasses = UnmixClasses_AVX2,
            .pfnMeans = UnmixMeans_AVX2,
            .pfnCompare = UnmixCompare_AVX2,
            .pfnLearn = UnmixLearn_AVX2,
            .pfnSolid = UnmixSolid_AVX2,
            .pfnMixed = UnmixMixed_AVX2,
            .pfnFinish = UnmixFinish_AVX2,
            .pfnChanged = UnmixChanged_AVX2,
            .pfnMask = UnmixMask_AVX2,
        };
    if (_eMax >= eSIMD_AVX512)
        *_pKernels = {
            .pfnCells = UnmixCells_AVX512,
            .pfnScreen = UnmixScreen_AVX512,
            .pfnSteps = UnmixSteps_AVX512,
            .pfnClasses = UnmixClasses_AVX512,
            .pfnMeans = UnmixMeans_AVX512,
            .pfnCompare = UnmixCompare_AVX512,
            .pfnLearn = UnmixLearn_AVX512,
            .pfnSolid = UnmixSolid_AVX512,
            .pfnMixed = UnmixMixed_AVX512,
            .pfnFinish = UnmixFinish_AVX512,
            .pfnChanged = UnmixChanged_AVX512,
            .pfnMask = UnmixMask_AVX512,
        };
#endif
}

const UNMIX_KERNELS& UnmixKernels()
{
    static const UNMIX_KERNELS kernels = [] {
        UNMIX_KERNELS res;
        UnmixKernels_Init(&res, ZCpu_Level());
        return res;
    }();
    return kernels;
}
