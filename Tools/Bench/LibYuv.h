#pragma once

#include "Interfaces/ZPlatform.h"
#include "Interfaces/ZVideoTypes.h"

/// Whether this program was built with libyuv and it has a format to convert from. Holds libyuv to the level in use.
bool LibYuv_Has(uint32_t _fccType);
/// Converts a frame to B, G, R, A with libyuv; the planes begin with the top row. E_NOTIMPL: see LibYuv_Has.
HRESULT LibYuv_ToBGRA(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, const ZF_VID_PROPS& _vidPropsOut,
                      const ZF_VID_PTR& _vidPtrOut);
