#include "openfx/OpenFxKeyer.h"

#include <exception>
#include <memory>
#include <new>
#include <string_view>

// The keyer as an OpenFX effect: what hosts call, and what they are told of it.

namespace
{

OFX_HOST* g_pHost = nullptr;

template <class Suite> void Fetch(const char* _pszName, const Suite*& _pSuite)
{
    _pSuite = static_cast<const Suite*>(g_pHost->pfnFetchSuite(g_pHost->hProps, _pszName, 1));
}

bool HasSuites()
{
    const OPENFX_HOST& host = OpenFxHost();
    return host.pProps && host.pEffects && host.pParams;
}

OFX_STATUS Load(OFX_EFFECT, OFX_PROPS, OFX_PROPS)
{
    OPENFX_HOST& host = OpenFxHost();
    host = {};
    if (!g_pHost)
        return c_nOfxMissingFeature;
    Fetch("OfxPropertySuite", host.pProps);
    Fetch("OfxImageEffectSuite", host.pEffects);
    Fetch("OfxParameterSuite", host.pParams);
    Fetch("OfxMessageSuite", host.pMessages);
    return HasSuites() ? c_nOfxOk : c_nOfxMissingFeature;
}

OFX_PROPS PropsOf(OFX_EFFECT _hEffect)
{
    OFX_PROPS hProps = nullptr;
    OpenFxHost().pEffects->pfnGetPropertySet(_hEffect, &hProps);
    return hProps;
}

OFX_STATUS Describe(OFX_EFFECT _hEffect, OFX_PROPS, OFX_PROPS)
{
    struct TEXT
    {
        const char* pszName;
        int nIndex;
        const char* pszText;
    };
    constexpr TEXT c_arrTexts[] = {
        {"OfxPropLabel", 0, "ZChromaKey"},
        {"OfxImageEffectPluginPropGrouping", 0, "Keyer"},
        {"OfxPropPluginDescription", 0, "Makes a backdrop of any colour transparent, and takes its tint out of edges"},
        {"OfxImageEffectPropSupportedContexts", 0, "OfxImageEffectContextFilter"},
        {"OfxImageEffectPropSupportedContexts", 1, "OfxImageEffectContextGeneral"},
        {"OfxImageEffectPropSupportedPixelDepths", 0, "OfxBitDepthByte"},
        {"OfxImageEffectPropSupportedPixelDepths", 1, "OfxBitDepthShort"},
        {"OfxImageEffectPropSupportedPixelDepths", 2, "OfxBitDepthFloat"},
        {"OfxImageEffectPluginRenderThreadSafety", 0, "OfxImageEffectRenderInstanceSafe"},
    };
    const OFX_PROPERTY_SUITE& props = *OpenFxHost().pProps;
    const OFX_PROPS hProps = PropsOf(_hEffect);
    for (const TEXT& text : c_arrTexts)
        props.pfnSetString(hProps, text.pszName, text.nIndex, text.pszText);
    props.pfnSetInt(hProps, "OfxImageEffectPropSupportsTiles", 0, 0);
    props.pfnSetInt(hProps, "OfxImageEffectPluginPropHostFrameThreading", 0, 0);
    props.pfnSetInt(hProps, "OfxImageEffectInstancePropSequentialRender", 0, 2); // preferred: it learns
    return c_nOfxOk;
}

// Filter and general effect are the same.
OFX_STATUS DescribeInContext(OFX_EFFECT _hEffect, OFX_PROPS, OFX_PROPS)
{
    for (const char* pszClip : {"Source", "Output"})
    {
        OFX_PROPS hClip = nullptr;
        OpenFxHost().pEffects->pfnClipDefine(_hEffect, pszClip, &hClip);
        OpenFxHost().pProps->pfnSetString(hClip, "OfxImageEffectPropSupportedComponents", 0, "OfxImageComponentRGBA");
        OpenFxHost().pProps->pfnSetInt(hClip, "OfxImageEffectPropSupportsTiles", 0, 0);
    }
    OFX_PARAMS hParams = nullptr;
    OpenFxHost().pEffects->pfnGetParamSet(_hEffect, &hParams);
    OpenFxKeyer_DefineParams(hParams);
    return c_nOfxOk;
}

// The host keeps the instance for us; one that refuses to would never hand it back.
OFX_STATUS SetKeyer(OFX_EFFECT _hEffect, COpenFxKeyer* _pKeyerOrNull)
{
    return OpenFxHost().pProps->pfnSetPointer(PropsOf(_hEffect), "OfxPropInstanceData", 0, _pKeyerOrNull);
}

COpenFxKeyer* KeyerOf(OFX_EFFECT _hEffect)
{
    void* pKeyer = nullptr;
    OpenFxHost().pProps->pfnGetPointer(PropsOf(_hEffect), "OfxPropInstanceData", 0, &pKeyer);
    return static_cast<COpenFxKeyer*>(pKeyer);
}

OFX_STATUS Create(OFX_EFFECT _hEffect, OFX_PROPS, OFX_PROPS)
{
    auto upKeyer = std::make_unique<COpenFxKeyer>(_hEffect);
    if (SetKeyer(_hEffect, upKeyer.get()) != c_nOfxOk)
        return c_nOfxFailed;
    static_cast<void>(upKeyer.release()); // until Destroy
    return c_nOfxOk;
}

OFX_STATUS Destroy(OFX_EFFECT _hEffect, OFX_PROPS, OFX_PROPS)
{
    const std::unique_ptr<COpenFxKeyer> upKeyer(KeyerOf(_hEffect));
    SetKeyer(_hEffect, nullptr); // a host that still asks for pictures gets none
    return c_nOfxOk;
}

OFX_STATUS Render(OFX_EFFECT _hEffect, OFX_PROPS _hIn, OFX_PROPS)
{
    COpenFxKeyer* const pKeyer = KeyerOf(_hEffect);
    return pKeyer ? pKeyer->Render(_hIn) : c_nOfxBadHandle;
}

// The result has alpha whatever the source has, and colours that are not multiplied by it.
OFX_STATUS ClipPreferences(OFX_EFFECT, OFX_PROPS, OFX_PROPS _hOut)
{
    OpenFxHost().pProps->pfnSetString(_hOut, "OfxImageEffectPropPreMultiplication", 0, "OfxImageAlphaUnPremultiplied");
    return c_nOfxOk;
}

struct ACTION
{
    std::string_view svName;
    OFX_STATUS (*pfnDo)(OFX_EFFECT, OFX_PROPS, OFX_PROPS);
};

constexpr ACTION c_arrActions[] = {
    {"OfxImageEffectActionRender", Render},
    {"OfxActionLoad", Load},
    {"OfxActionDescribe", Describe},
    {"OfxImageEffectActionDescribeInContext", DescribeInContext},
    {"OfxActionCreateInstance", Create},
    {"OfxActionDestroyInstance", Destroy},
    {"OfxImageEffectActionGetClipPreferences", ClipPreferences},
};

OFX_STATUS Main(const char* _pszAction, const void* _pHandle, OFX_PROPS _hIn, OFX_PROPS _hOut)
{
    const auto hEffect = static_cast<OFX_EFFECT>(const_cast<void*>(_pHandle));
    const std::string_view svAction = _pszAction ? _pszAction : "";
    try
    {
        for (const ACTION& action : c_arrActions)
            if (action.svName == svAction) // some hosts go on where a suite is missing
                return action.pfnDo == Load || HasSuites() ? action.pfnDo(hEffect, _hIn, _hOut) : c_nOfxMissingFeature;
        return c_nOfxDefault;
    }
    catch (const std::bad_alloc&)
    {
        return c_nOfxMemory;
    }
    catch (const std::exception& error)
    {
        OpenFx_Say(hEffect, error.what());
        return c_nOfxFailed;
    }
}

void SetHost(OFX_HOST* _pHost)
{
    g_pHost = _pHost;
}

} // namespace

int OfxGetNumberOfPlugins()
{
    return 1;
}

OFX_PLUGIN* OfxGetPlugin(int _nPlugin)
{
    static OFX_PLUGIN s_plugin = {
        "OfxImageEffectPluginAPI", 1, "zchromakey.Keyer", ZCK_VERSION_MAJOR, ZCK_VERSION_MINOR, SetHost, Main};
    return _nPlugin == 0 ? &s_plugin : nullptr;
}
