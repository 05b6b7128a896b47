#pragma once

#include "zkhost/Ui/Render.h"

/// Does what zkhost key does, with keys out of a document: a RENDER_RUN.
void UiRender_Run(const RENDER_PLAN& _plan, const std::function<void(int64_t _nDone)>& _fnStep);
