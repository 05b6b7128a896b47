#include "ZChromaKey/Engine2/Params.h"

#include <cstring>

namespace
{
using P = UNMIX_PARAMS;

// clang-format off
constexpr UNMIX_PARAM c_arrParams[] = {
    {"backdrop",         0, 200, 100, "%", "How far around the key a cell counts as backdrop", &P::fltBackdrop, nullptr},
    {"solid",            0, 100,  50, "%", "What is solid inside a body becomes opaque; 0 for glass and veils", &P::fltSolid, nullptr},
    {"clean_backdrop",   0,  30,   2, "%", "Alpha up to here becomes 0", &P::fltCleanBackdrop, nullptr},
    {"clean_foreground", 0,  30,   3, "%", "Alpha this close to 1 becomes 1", &P::fltCleanForeground, nullptr},
    {"spill",            0, 100, 100, "%", "How much of the backdrop's tint is taken out of what stays", &P::fltSpill, nullptr},
    {"spill_balance",    0, 100,  50, "%", "Tint is what exceeds the mean (0) or the larger (100) of the other channels", &P::fltSpillBalance, nullptr},
    {"shadows",          0, 100,   0, "%", "Shadows on the backdrop are kept as black of this density", &P::fltShadows, nullptr},
    {"noise",            0,   5, 2.2f, "x", "Clips in units of the measured noise; 0: no filters either", &P::fltNoise, nullptr},
    {"light",            0,   1,   0, "coded|linear", "How the host mixes the result with its background", nullptr, &P::eLight},
    {"learn",            0,   1,   0, "on|hold", "Whether the plate follows the picture", nullptr, &P::eLearn},
    {"view",             0,   6,   0, "result|matte|status|plate|foreground|confidence|source", "What comes out", nullptr, &P::eView},
    {"alpha",            0,   1,   1, "replace|multiply", "What becomes of the alpha of the input", nullptr, &P::eAlpha},
};
// clang-format on
} // namespace

std::span<const UNMIX_PARAM> UnmixParams_All()
{
    return c_arrParams;
}

bool UnmixParams_Set(UNMIX_PARAMS* _pParams, const char* _pszName, float _fltValue)
{
    for (const UNMIX_PARAM& param : c_arrParams)
    {
        if (std::strcmp(param.pszName, _pszName) != 0)
            continue;
        if (!(_fltValue >= param.fltLeast && _fltValue <= param.fltMost)) // no number fails both
            return false;
        if (param.pfltMember)
            _pParams->*param.pfltMember = _fltValue;
        else
            _pParams->*param.pnMember = static_cast<int32_t>(_fltValue);
        return true;
    }
    return false;
}
