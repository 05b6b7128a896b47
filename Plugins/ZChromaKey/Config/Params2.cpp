#include "ZChromaKey/Config/Params2.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"

#include <algorithm>
#include <iterator>

namespace
{

// clang-format off
constexpr KEY2_PARAM c_arrParams[] = {
    {"backdrop",         &KEY2_PARAMS::dblBackdrop,          0, 200, 100, "%",      nullptr,          "scales the background range of all keys",                                      "more or less of the picture is taken for backdrop", false},
    {"solid",            &KEY2_PARAMS::dblSolid,             0, 100,  50, "%",      nullptr,          "inside a body, what is transparent by no more than 0.36 of this becomes opaque; 0: nothing does", "holes in clothes and faces close; 0 for glass and veils", false},
    {"clean_backdrop",   &KEY2_PARAMS::dblCleanBackdrop,     0,  30,   2, "%",      nullptr,          "alpha below it becomes 0",                                                     "thin remains of the backdrop vanish", false},
    {"clean_foreground", &KEY2_PARAMS::dblCleanForeground,   0,  30,   3, "%",      nullptr,          "alpha above 100 less this becomes opaque",                                     "thin holes in the foreground close", false},
    {"choke",            &KEY2_PARAMS::dblChoke,           -10,  10,   0, "pixels", nullptr,          "moves edges outwards when negative, inwards when positive; colours are rebuilt", "the foreground grows or shrinks", false},
    {"soften",           &KEY2_PARAMS::dblSoften,            0,  10,   0, "pixels", nullptr,          "blurs the edges after everything else",                                        "edges get softer", false},
    {"spill",            &KEY2_PARAMS::dblSpill,             0, 100, 100, "%",      nullptr,          "share of the backdrop's tint that is taken out of what stays",                 "green or blue light on the foreground vanishes", false},
    {"spill_balance",    &KEY2_PARAMS::dblSpillBalance,      0, 100,  50, "%",      nullptr,          "where tint begins: 0 the mean of the two other channels, 100 the larger one",  "faces warmer or cooler", false},
    {"shadows",          &KEY2_PARAMS::dblShadows,           0, 100,   0, "%",      nullptr,          "share of the shadows on the backdrop that is kept, as alpha of black",         "shadows fall on the new background", false},
    {"noise",            &KEY2_PARAMS::dblNoise,             0,   5, 2.2, "times",  nullptr,          "clips and filters in units of the noise that was measured; 0: off",            "a grainy backdrop gets clean, fine hair fainter", false},
    {"light",            &KEY2_PARAMS::eLightValue,          0,   1,   0, "",       "coded linear",   "where backdrop and foreground are unmixed: in coded values or in linear light", "edges that fit a host that mixes the same way", false},
    {"learn",            &KEY2_PARAMS::eLearnValue,          0,   2,   0, "",       "on hold restart", "the backdrop plate: learned from each frame, held, or begun anew",            "hold where the camera stands and the actor fills the picture", true},
    {"view",             &KEY2_PARAMS::eViewValue,           0,   6,   0, "",       "result matte status plate foreground confidence source", "what comes out",        "status: backdrop black, solid white, mixed orange, core green, regions blue", true},
    {"alpha",            &KEY2_PARAMS::eAlphaValue,          0,   1,   1, "",       "replace multiply", "what becomes of the alpha that an ARGB32 frame comes with",                  "what was transparent before stays so", false},
};
// clang-format on

/// The n-th name of a list with blanks between; empty behind the last.
std::string_view Choice(const KEY2_PARAM& _param, int _nIndex)
{
    std::string_view svRest = _param.pszChoices;
    for (; _nIndex > 0 && !svRest.empty(); --_nIndex)
        svRest.remove_prefix(std::min(svRest.find(' '), svRest.size() - 1) + 1);
    return svRest.substr(0, svRest.find(' '));
}

int Count(const KEY2_PARAM& _param)
{
    return static_cast<int>(_param.dblMost) + 1;
}

/// "0 coded, 1 linear"
std::string Choices(const KEY2_PARAM& _param)
{
    std::string strChoices;
    for (int n = 0; n < Count(_param); ++n)
        strChoices += ZFormat("%hs%d %hs", n ? ", " : "", n, Choice(_param, n));
    return strChoices;
}

} // namespace

std::span<const KEY2_PARAM> Params2_Table()
{
    return c_arrParams;
}

const KEY2_PARAM* Params2_Find(std::string_view _svName)
{
    const auto* const pParam = std::ranges::find(c_arrParams, _svName, &KEY2_PARAM::pszName);
    return pParam == std::end(c_arrParams) ? nullptr : pParam;
}

KEY2_PARAMS Params2_Defaults()
{
    KEY2_PARAMS params = {};
    for (const KEY2_PARAM& param : c_arrParams)
        params.*param.pdblField = param.dblDefault;
    return params;
}

std::string Params2_Check(const KEY2_PARAM& _param, double _dblValue)
{
    const bool bInRange =
        _dblValue >= _param.dblLeast && _dblValue <= _param.dblMost; // not so a value that is no number
    if (!_param.pszChoices)
        return bInRange ? "" : ZFormat("a number from %g to %g (%hs)", _param.dblLeast, _param.dblMost, _param.pszUnit);
    return bInRange && _dblValue == static_cast<int>(_dblValue) ? "" : "one of " + Choices(_param);
}

bool Params2_Read(const KEY2_PARAM& _param, std::string_view _svText, double* _pdblValue)
{
    double dblValue = 0;
    bool bRead = PropText_ReadDouble(_svText, &dblValue);
    for (int n = 0; _param.pszChoices && !bRead && n < Count(_param); ++n)
    {
        dblValue = n;
        bRead = PropText_Trim(_svText) == Choice(_param, n);
    }
    if (!bRead || !Params2_Check(_param, dblValue).empty())
        return false;
    *_pdblValue = dblValue;
    return true;
}

std::string Params2_Text(const KEY2_PARAM& _param, double _dblValue)
{
    if (_param.pszChoices && Params2_Check(_param, _dblValue).empty())
        return std::string(Choice(_param, static_cast<int>(_dblValue)));
    return PropText_FromDouble(_dblValue);
}

std::string Params2_Help(const KEY2_PARAM& _param)
{
    const std::string strHelp = ZFormat("%hs: %hs", _param.pszEffect, _param.pszOperator);
    return _param.pszChoices ? strHelp + " (" + Choices(_param) + ")" : strHelp;
}
