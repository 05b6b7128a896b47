#pragma once

#include "ZChromaKey/Engine2/Kernels/CellRow.h"
#include "ZChromaKey/Engine2/Kernels/CellTests.h"
#include "ZChromaKey/Engine2/Kernels/FinishRow.h"
#include "ZChromaKey/Engine2/Kernels/PlateRow.h"
#include "ZChromaKey/Engine2/Kernels/UnmixKernels.h"

namespace
{

/// The kernels of a level.
template <class S> UNMIX_KERNELS UnmixTable()
{
    return {
        .pfnCells = [](const CELL_ROW& _row) noexcept { UnmixCells::Cells<S>(_row); },
        .pfnScreen = [](SCREEN_CHUNK& _chunk) noexcept { UnmixTests::Screen<S>(_chunk); },
        .pfnSteps = [](STEP_CHUNK& _chunk) noexcept { UnmixTests::Steps<S>(_chunk); },
        .pfnClasses = [](CLASS_CHUNK& _chunk) noexcept { UnmixTests::Classes<S>(_chunk); },
        .pfnMeans = [](const MEAN_CHUNK& _chunk) noexcept { UnmixPlates::Means<S>(_chunk); },
        .pfnCompare = [](COMPARE_CHUNK& _chunk) noexcept { UnmixPlates::Compare<S>(_chunk); },
        .pfnLearn = [](LEARN_CHUNK& _chunk) noexcept { UnmixPlates::Learn<S>(_chunk); },
        .pfnLamps = [](const LAMP_CHUNK& _chunk) noexcept { UnmixPlates::Lamps<S>(_chunk); },
        .pfnBlur = [](const BLUR_COLUMNS& _columns) noexcept { UnmixPlates::Blur<S>(_columns); },
        .pfnNoise = [](NOISE_CHUNK& _chunk) noexcept { UnmixTests::Noise<S>(_chunk); },
        .pfnClear = [](const CLEAR_RUN& _run) noexcept { UnmixPixels::Clear<S>(_run); },
        .pfnSolid = [](const SOLID_RUN& _run) noexcept { UnmixPixels::Solid<S>(_run); },
        .pfnMixed = [](const MIXED_RUN& _run) noexcept { UnmixPixels::Mixed<S>(_run); },
        .pfnFinish = [](const FINISH_RUN& _run) noexcept { UnmixFinish::Finish<S>(_run); },
        .pfnChanged = [](const CHANGED_RUN& _run,
                         uint64_t& _nChanged) noexcept { UnmixFinish::Changed<S>(_run, _nChanged); },
        .pfnMask = [](const MASK_ROW& _row) noexcept { UnmixFinish::Mask<S>(_row); },
    };
}

} // namespace
