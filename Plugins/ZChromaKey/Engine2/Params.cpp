#include "ZChromaKey/Engine2/Params.h"

#include <algorithm>

static_assert(int{eUL_Coded} == int{eLight_Coded} && int{eUL_Linear} == int{eLight_Linear});
static_assert(int{eUV_Result} == int{eView_Result} && int{eUV_Matte} == int{eView_Matte} &&
              int{eUV_Status} == int{eView_Status} && int{eUV_Plate} == int{eView_Plate} &&
              int{eUV_Foreground} == int{eView_Foreground} && int{eUV_Confidence} == int{eView_Confidence} &&
              int{eUV_Source} == int{eView_Source});
static_assert(int{eUA_Replace} == int{eAlpha_Replace} && int{eUA_Multiply} == int{eAlpha_Multiply});

UNMIX_PARAMS UnmixParams_Of(const KEY2_PARAMS& _params)
{
    UNMIX_PARAMS params;
    params.fltBackdrop = static_cast<float>(_params.dblBackdrop);
    params.fltSolid = static_cast<float>(_params.dblSolid);
    params.fltCleanBackdrop = static_cast<float>(_params.dblCleanBackdrop);
    params.fltCleanForeground = static_cast<float>(_params.dblCleanForeground);
    params.fltChoke = static_cast<float>(_params.dblChoke);
    params.fltSoften = static_cast<float>(_params.dblSoften);
    params.fltSpill = static_cast<float>(_params.dblSpill);
    params.fltSpillBalance = static_cast<float>(_params.dblSpillBalance);
    params.fltShadows = static_cast<float>(_params.dblShadows);
    params.fltNoise = static_cast<float>(_params.dblNoise);
    params.eLight = static_cast<int32_t>(_params.eLightValue);
    params.eLearn = _params.eLearnValue == double{eLearn_Hold} ? eUN_Hold : eUN_On;
    params.eView = static_cast<int32_t>(_params.eViewValue);
    params.eAlpha = static_cast<int32_t>(_params.eAlphaValue);
    return params;
}

bool UnmixSetup_SameKeys(const UNMIX_SETUP& _a, const UNMIX_SETUP& _b)
{
    return _a.nKeys == _b.nKeys && std::equal(_a.arrKeys, _a.arrKeys + _a.nKeys, _b.arrKeys);
}

static bool SameRegion(const UNMIX_REGION& _a, const UNMIX_REGION& _b)
{
    return _a.pRow0 == _b.pRow0 && _a.nStride == _b.nStride;
}

bool UnmixSetup_SameScreen(const UNMIX_SETUP& _a, const UNMIX_SETUP& _b)
{
    return UnmixSetup_SameKeys(_a, _b) && _a.params.fltBackdrop == _b.params.fltBackdrop &&
           _a.nProtected == _b.nProtected &&
           std::equal(_a.arrProtected, _a.arrProtected + _a.nProtected, _b.arrProtected) &&
           SameRegion(_a.backdrop, _b.backdrop);
}

bool UnmixSetup_Same(const UNMIX_SETUP& _a, const UNMIX_SETUP& _b)
{
    return UnmixSetup_SameScreen(_a, _b) && _a.params == _b.params && _a.plate.pBGRA == _b.plate.pBGRA &&
           SameRegion(_a.garbage, _b.garbage) && SameRegion(_a.holdOut, _b.holdOut);
}
