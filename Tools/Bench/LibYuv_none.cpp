#include "Bench/LibYuv.h"

bool LibYuv_Has(uint32_t /*_fccType*/)
{
    return false;
}

HRESULT LibYuv_ToBGRA(const ZF_VID_PROPS& /*_vidProps*/, const ZF_VID_PTR& /*_vidPtr*/,
                      const ZF_VID_PROPS& /*_vidPropsOut*/, const ZF_VID_PTR& /*_vidPtrOut*/)
{
    return E_NOTIMPL;
}
