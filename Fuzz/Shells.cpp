// Hosts that are rude to the OpenFX effect and to the frei0r filter: actions in any order, suites and properties that
// are not there, pictures of any layout, nonsense in their records, parameters of any number and value, two threads.
// What cannot be keyed is refused, no byte outside of a picture's window is written, every picture is given back.

#include "Support/RudeOpenFx.h"

#include "Sdk/ZChromaKeyC.h"
#include "Shell/ShellModule.h"
#include "frei0r/Frei0r.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

/// The module is part of this program.
const SHELL_API* ShellModule_Get(std::string&)
{
#define ZCK_SHELL_ENTRY(name) &::name,
    static constexpr SHELL_API s_api = {ZCK_FUNCTIONS(ZCK_SHELL_ENTRY)};
#undef ZCK_SHELL_ENTRY
    return &s_api;
}

namespace
{

constexpr int c_nMostCalls = 16;
constexpr size_t c_nEffects = 3;

/// Answers that the interface has.
void RequireStatus(OFX_STATUS _nStatus)
{
    constexpr OFX_STATUS c_arrKnown[] = {c_nOfxOk,     c_nOfxFailed,    c_nOfxMissingFeature, c_nOfxUnsupported,
                                         c_nOfxMemory, c_nOfxBadHandle, c_nOfxDefault};
    FUZZ_REQUIRE(std::ranges::find(c_arrKnown, _nStatus) != std::end(c_arrKnown));
}

void RenderOne(CByteReader& _in, OFX_EFFECT _hEffect)
{
    RUDE_RENDER render(_in);
    const OFX_STATUS nStatus = Rude_Act("OfxImageEffectActionRender", _hEffect, &render);
    RequireStatus(nStatus);
    FUZZ_REQUIRE(nStatus != c_nOfxOk || !(render.source.bNonsense || render.result.bNonsense));
    FUZZ_REQUIRE(render.result.IsUntouched(nStatus == c_nOfxOk ? &render.arrWindow : nullptr));
}

/// One action on one of the effects; instances are made and ended in any order, but each of them once.
void ActOne(CByteReader& _in, RUDE_EFFECTS& _effects)
{
    const auto nEffect = static_cast<size_t>(_in.Range(0, c_nEffects));
    OFX_EFFECT const hEffect = nEffect < c_nEffects ? &_effects[nEffect] : nullptr;
    switch (_in.Byte() % 10)
    {
    case 0:
        return RequireStatus(Rude_Act("OfxActionDescribe", hEffect));
    case 1:
        return RequireStatus(Rude_Act("OfxImageEffectActionDescribeInContext", hEffect));
    case 2:
    case 3:
        if (!hEffect || !hEffect->props.pPointer)
            RequireStatus(Rude_Act("OfxActionCreateInstance", hEffect));
        return;
    case 4:
        return RequireStatus(Rude_Act("OfxActionDestroyInstance", hEffect));
    case 5:
        return RequireStatus(Rude_Act(_in.Flag() ? "OfxActionNone" : nullptr, hEffect));
    case 6:
        return RequireStatus(Rude_Act("OfxImageEffectActionGetClipPreferences", hEffect));
    case 7:
        if (hEffect)
            hEffect->params.Take(_in);
        return;
    default:
        RenderOne(_in, hEffect);
    }
}

void RenderMany(CByteReader _in, RUDE_EFFECTS& _effects)
{
    for (int n = 0; n < c_nMostCalls / 4 && !_in.AtEnd(); ++n)
        RenderOne(_in, &_effects[_in.Byte() % c_nEffects]);
}

void CheckOpenFx(CByteReader& _in)
{
    FUZZ_REQUIRE(OfxGetNumberOfPlugins() == 1 && !OfxGetPlugin(-1) && !OfxGetPlugin(1));
    RUDE_EFFECTS effects;
    Rude_Begin(_in, effects);
    RequireStatus(Rude_Act("OfxActionLoad", nullptr));
    if (_in.Byte() % 4 != 0) // as hosts do
        for (RUDE_EFFECT& effect : effects)
            for (const char* const pszAction :
                 {"OfxActionDescribe", "OfxImageEffectActionDescribeInContext", "OfxActionCreateInstance"})
                RequireStatus(Rude_Act(pszAction, &effect));
    for (int nCalls = _in.Range(0, c_nMostCalls); nCalls > 0; --nCalls)
        ActOne(_in, effects);
    const size_t nSplit = _in.Byte();
    const std::string_view svRenders = _in.Rest();
    const CByteReader inOther(svRenders.substr(std::min(nSplit, svRenders.size())));
    std::thread thread([&] { RenderMany(inOther, effects); });
    RenderMany(CByteReader(svRenders.substr(0, nSplit)), effects);
    thread.join();
    for (RUDE_EFFECT& effect : effects)
        RequireStatus(Rude_Act("OfxActionDestroyInstance", &effect));
    RequireStatus(Rude_Act("OfxActionUnload", nullptr));
    FUZZ_REQUIRE(Rude_Images() == 0);
}

/// Sets a parameter by any number, and asks for it. Texts, which are handed out as pointers, belong to one thread.
void CallParam(CByteReader& _in, FREI0R_INSTANCE _pInstance, int _nParams, bool _bTexts)
{
    constexpr const char* c_arrTexts[] = {nullptr, "", "<", "<zl-root><ZChromaKey2/></zl-root>", "<zl-root><x"};
    const int nParam = _in.Range(-3, 24);
    const char* pszText = _in.OneOf(c_arrTexts);
    FREI0R_COLOR color = {_in.Byte() / 200.0f, static_cast<float>(_in.Double()), _in.Byte() / 255.0f};
    double dblValue = _in.Double();
    void* const pValue = nParam == 0   ? static_cast<void*>(&pszText)
                         : nParam <= 2 ? static_cast<void*>(&color) // those that are none, too
                                       : static_cast<void*>(&dblValue);
    if (nParam == 0 && !_bTexts)
        return;
    f0r_set_param_value(_pInstance, pValue, nParam);
    f0r_get_param_value(_pInstance, pValue, nParam);
    if (nParam >= 3 && nParam < _nParams)
        FUZZ_REQUIRE(dblValue >= 0 && dblValue <= 1);
}

struct RUDE_FILTER
{
    unsigned nWidth;
    unsigned nHeight;
    FREI0R_INSTANCE pInstance;
};

void Update(CByteReader& _in, const RUDE_FILTER& _filter)
{
    const size_t nPixels = size_t{_filter.nWidth} * _filter.nHeight;
    std::vector<uint32_t> vecIn(nPixels), vecOut(nPixels);
    const uint32_t arrColors[2] = {_in.Take<uint32_t>(), _in.Take<uint32_t>()};
    const size_t nBody = _in.Byte() * nPixels / 255;
    for (size_t n = 0; n < nPixels; ++n)
        vecIn[n] = arrColors[n < nBody] + static_cast<uint32_t>(n * 2654435761u >> 29);
    f0r_update(_filter.pInstance, _in.Double(), vecIn.data(), _in.Byte() % 4 ? vecOut.data() : vecIn.data());
}

void UseFilters(CByteReader _in, const std::vector<RUDE_FILTER>& _vecFilters, bool _bTexts)
{
    FREI0R_PLUGIN plugin = {};
    f0r_get_plugin_info(&plugin);
    for (int nCalls = 0; nCalls < c_nMostCalls && !_in.AtEnd(); ++nCalls)
    {
        const RUDE_FILTER& filter = _vecFilters[_in.Byte() % _vecFilters.size()];
        if (_in.Byte() % 3 != 0)
            CallParam(_in, filter.pInstance, plugin.nParams, _bTexts);
        else
            Update(_in, filter);
    }
}

/// An instance of any size; those that no picture has are refused.
RUDE_FILTER MakeFilter(CByteReader& _in)
{
    constexpr unsigned c_arrOdd[] = {0, 1u << 27, 1u << 29, 1u << 31, ~0u};
    const bool bOdd = _in.Byte() % 16 == 0;
    RUDE_FILTER filter = {bOdd ? _in.OneOf(c_arrOdd) : static_cast<unsigned>(_in.Range(1, 48)),
                          static_cast<unsigned>(_in.Range(1, 24)), nullptr};
    filter.pInstance = f0r_construct(filter.nWidth, filter.nHeight);
    FUZZ_REQUIRE(static_cast<bool>(filter.pInstance) == !bOdd);
    return filter;
}

void CheckFrei0r(CByteReader& _in)
{
    FREI0R_PLUGIN plugin = {};
    FUZZ_REQUIRE(f0r_init() == 1);
    f0r_get_plugin_info(&plugin);
    for (int n = -2; n < plugin.nParams + 2; ++n)
    {
        FREI0R_PARAM param = {};
        f0r_get_param_info(&param, n);
        FUZZ_REQUIRE((param.pszName != nullptr) == (n >= 0 && n < plugin.nParams));
    }
    std::vector<RUDE_FILTER> vecFilters;
    for (int n = _in.Range(1, 3); n > 0; --n)
        if (const RUDE_FILTER filter = MakeFilter(_in); filter.pInstance)
            vecFilters.push_back(filter);
    const size_t nSplit = _in.Byte();
    const std::string_view svCalls = _in.Rest();
    if (!vecFilters.empty())
    {
        const CByteReader inOther(svCalls.substr(std::min(nSplit, svCalls.size())));
        std::thread thread([&] { UseFilters(inOther, vecFilters, false); });
        UseFilters(CByteReader(svCalls.substr(0, nSplit)), vecFilters, true);
        thread.join();
    }
    if (nSplit % 2)
        std::ranges::reverse(vecFilters);
    for (const RUDE_FILTER& filter : vecFilters)
        f0r_destruct(filter.pInstance);
    f0r_destruct(nullptr);
    f0r_deinit();
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    if (_in.Flag())
        CheckOpenFx(_in);
    else
        CheckFrei0r(_in);
}
