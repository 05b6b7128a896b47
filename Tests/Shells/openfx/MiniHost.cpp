#include "Shells/openfx/MiniHost.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <dlfcn.h>

namespace
{

std::mutex g_mtx; // of what follows
std::vector<std::string> g_vecFaults;
std::vector<std::string> g_vecMessages;
int g_nImages = 0;
bool g_bMessages = true;

OFX_STATUS Wrong(OFX_STATUS _nStatus, const std::string& _strWhat)
{
    CMiniHost::Fault(_strWhat);
    return _nStatus;
}

template <class T> OFX_STATUS SetValue(OFX_PROPS _hProps, const char* _pszName, int _nIndex, T _value)
{
    const auto it = _hProps ? _hProps->mapValues.find(_pszName) : decltype(_hProps->mapValues.end()){};
    if (!_hProps || it == _hProps->mapValues.end())
        return Wrong(c_nOfxUnknownProperty, std::string("set: no property ") + _pszName);
    std::vector<MINI_VALUE>& vecValues = it->second;
    if (!std::holds_alternative<T>(vecValues[0]) || _nIndex < 0 || static_cast<size_t>(_nIndex) > vecValues.size())
        return Wrong(c_nOfxFailed, std::string("set: type or number of ") + _pszName);
    vecValues.resize(std::max(vecValues.size(), static_cast<size_t>(_nIndex) + 1));
    vecValues[static_cast<size_t>(_nIndex)] = std::move(_value);
    return c_nOfxOk;
}

template <class T> T* Value(OFX_PROPS _hProps, const char* _pszName, int _nIndex)
{
    const auto it = _hProps ? _hProps->mapValues.find(_pszName) : decltype(_hProps->mapValues.end()){};
    if (!_hProps || it == _hProps->mapValues.end() || static_cast<size_t>(_nIndex) >= it->second.size())
        return nullptr;
    return std::get_if<T>(&it->second[static_cast<size_t>(_nIndex)]);
}

template <class T> OFX_STATUS GetValue(OFX_PROPS _hProps, const char* _pszName, int _nIndex, T* _pValue)
{
    const T* const pValue = Value<T>(_hProps, _pszName, _nIndex);
    if (!pValue)
        return Wrong(c_nOfxUnknownProperty, std::string("get: no property ") + _pszName);
    *_pValue = *pValue;
    return c_nOfxOk;
}

OFX_STATUS SetString(OFX_PROPS _hProps, const char* _pszName, int _nIndex, const char* _pszValue)
{
    return SetValue<std::string>(_hProps, _pszName, _nIndex, _pszValue);
}

OFX_STATUS GetString(OFX_PROPS _hProps, const char* _pszName, int _nIndex, char** _ppszValue)
{
    std::string* const pstrValue = Value<std::string>(_hProps, _pszName, _nIndex);
    if (!pstrValue)
        return Wrong(c_nOfxUnknownProperty, std::string("get: no property ") + _pszName);
    *_ppszValue = pstrValue->data();
    return c_nOfxOk;
}

OFX_STATUS GetPropertySet(OFX_EFFECT _hEffect, OFX_PROPS* _phProps)
{
    *_phProps = &_hEffect->props;
    return c_nOfxOk;
}

OFX_STATUS GetParamSet(OFX_EFFECT _hEffect, OFX_PARAMS* _phParams)
{
    *_phParams = &_hEffect->params;
    return c_nOfxOk;
}

OFX_STATUS ClipDefine(OFX_EFFECT _hEffect, const char* _pszName, OFX_PROPS* _phProps)
{
    if (!_hEffect->bDescribing)
        return Wrong(c_nOfxFailed, "a clip is defined outside the description");
    OFX_CLIP_OF_HOST& clip = _hEffect->mapClips[_pszName];
    clip.props.mapValues = {{"OfxImageEffectPropSupportedComponents", {std::string()}},
                            {"OfxImageEffectPropSupportsTiles", {1}},
                            {"OfxImageClipPropOptional", {0}}};
    *_phProps = &clip.props;
    return c_nOfxOk;
}

OFX_STATUS ClipGetHandle(OFX_EFFECT _hEffect, const char* _pszName, OFX_CLIP* _phClip, OFX_PROPS* _phProps)
{
    const auto it = _hEffect->mapClips.find(_pszName);
    if (it == _hEffect->mapClips.end())
        return Wrong(c_nOfxBadHandle, std::string("no clip ") + _pszName);
    *_phClip = &it->second;
    if (_phProps)
        *_phProps = &it->second.props;
    return c_nOfxOk;
}

OFX_STATUS ClipGetImage(OFX_CLIP _hClip, double, const OFX_RECT*, OFX_PROPS* _phImage)
{
    MINI_PICTURE* const p = _hClip->pPicture;
    if (!p)
        return c_nOfxFailed;
    const int nRowBytes = static_cast<int>(p->RowBytes()) + MINI_PICTURE::c_nGap;
    auto* const pProps = new OFX_PROPS_OF_HOST;
    pProps->mapValues = {
        {"OfxImagePropData", {static_cast<void*>(p->Row(p->nHeight - 1))}},
        {"OfxImagePropRowBytes", {p->bTopFirst ? -nRowBytes : nRowBytes}},
        {"OfxImagePropBounds", {p->arrBounds[0], p->arrBounds[1], p->arrBounds[2], p->arrBounds[3]}},
        {"OfxImageEffectPropPixelDepth", {"OfxBitDepth" + p->strDepth}},
        {"OfxImageEffectPropComponents", {std::string("OfxImageComponentRGBA")}},
        {"OfxImageEffectPropPreMultiplication",
         {std::string(p->bPremultiplied ? "OfxImageAlphaPremultiplied" : "OfxImageAlphaUnPremultiplied")}}};
    *_phImage = pProps;
    const std::lock_guard lock(g_mtx);
    ++g_nImages;
    return c_nOfxOk;
}

OFX_STATUS ClipReleaseImage(OFX_PROPS _hImage)
{
    delete _hImage;
    const std::lock_guard lock(g_mtx);
    --g_nImages;
    return c_nOfxOk;
}

std::vector<MINI_VALUE> FirstValue(const std::string& _strType)
{
    if (_strType == "OfxParamTypeRGB")
        return {0., 0., 0.};
    if (_strType == "OfxParamTypeDouble")
        return {0.};
    if (_strType == "OfxParamTypeString")
        return {std::string()};
    return {0};
}

OFX_STATUS Define(OFX_PARAMS _hParams, const char* _pszType, const char* _pszName, OFX_PROPS* _phProps)
{
    auto& upParam = _hParams->mapParams[_pszName];
    if (upParam || !_hParams->bDescribing)
        return Wrong(c_nOfxFailed, std::string("defined twice, or too late: ") + _pszName);
    upParam = std::make_unique<OFX_PARAM_OF_HOST>();
    upParam->strType = _pszType;
    auto& mapValues = upParam->props.mapValues;
    mapValues = {{"OfxPropLabel", {std::string()}},
                 {"OfxParamPropHint", {std::string()}},
                 {"OfxParamPropAnimates", {1}},
                 {"OfxParamPropDefault", FirstValue(_pszType)}};
    if (upParam->strType == "OfxParamTypeDouble")
        for (const char* pszName :
             {"OfxParamPropMin", "OfxParamPropMax", "OfxParamPropDisplayMin", "OfxParamPropDisplayMax"})
            mapValues[pszName] = {0.};
    if (upParam->strType == "OfxParamTypeChoice")
        mapValues["OfxParamPropChoiceOption"] = {std::string()};
    if (upParam->strType == "OfxParamTypeString")
        mapValues["OfxParamPropStringMode"] = {std::string()};
    *_phProps = &upParam->props;
    return c_nOfxOk;
}

OFX_STATUS GetHandle(OFX_PARAMS _hParams, const char* _pszName, OFX_PARAM* _phParam, OFX_PROPS*)
{
    const auto it = _hParams->mapParams.find(_pszName);
    if (_hParams->bDescribing || it == _hParams->mapParams.end())
        return Wrong(c_nOfxBadHandle, std::string("no parameter ") + _pszName);
    *_phParam = it->second.get();
    return c_nOfxOk;
}

OFX_STATUS GetValueAtTime(OFX_PARAM _hParam, [[maybe_unused]] double _dblTime, ...)
{
    va_list args;
    va_start(args, _dblTime);
    for (MINI_VALUE& value : _hParam->vecValue)
    {
        if (int* const pnValue = std::get_if<int>(&value))
            *va_arg(args, int*) = *pnValue;
        else if (double* const pdblValue = std::get_if<double>(&value))
            *va_arg(args, double*) = *pdblValue;
        else
            *va_arg(args, char**) = std::get<std::string>(value).data();
    }
    va_end(args);
    return c_nOfxOk;
}

OFX_STATUS Message(void*, const char* _pszType, const char*, const char* _pszFormat, ...)
{
    char achText[2000];
    va_list args;
    va_start(args, _pszFormat);
    std::vsnprintf(achText, sizeof(achText), _pszFormat, args);
    va_end(args);
    const std::lock_guard lock(g_mtx);
    g_vecMessages.push_back(std::string(_pszType) + ": " + achText);
    return c_nOfxOk;
}

void NeverCalled()
{
    CMiniHost::Fault("a function is called that the effect said it does not use");
}

const void* FetchSuite(OFX_PROPS, const char* _pszName, int _nVersion)
{
    constexpr OFX_UNUSED n = NeverCalled;
    static const OFX_PROPERTY_SUITE s_props = {SetValue<void*>,
                                               SetString,
                                               SetValue<double>,
                                               SetValue<int>,
                                               {n, n, n, n},
                                               GetValue<void*>,
                                               GetString,
                                               GetValue<double>,
                                               GetValue<int>,
                                               {n, n, n, n},
                                               n,
                                               n};
    static const OFX_EFFECT_SUITE s_effects = {GetPropertySet, GetParamSet,      ClipDefine,        ClipGetHandle, n,
                                               ClipGetImage,   ClipReleaseImage, {n, n, n, n, n, n}};
    static const OFX_PARAM_SUITE s_params = {
        Define, GetHandle, n, n, n, GetValueAtTime, {n, n, n, n, n, n, n, n, n, n, n, n}};
    static const OFX_MESSAGE_SUITE s_messages = {Message};
    const std::map<std::string, const void*> mapSuites = {{"OfxPropertySuite", &s_props},
                                                          {"OfxImageEffectSuite", &s_effects},
                                                          {"OfxParameterSuite", &s_params},
                                                          {"OfxMessageSuite", g_bMessages ? &s_messages : nullptr}};
    const auto it = mapSuites.find(_pszName);
    return _nVersion == 1 && it != mapSuites.end() ? it->second : nullptr;
}

} // namespace

MINI_PICTURE::MINI_PICTURE(const std::string& _strDepth, int _nWidth, int _nHeight, bool _bTopFirst, int _nX, int _nY)
    : strDepth(_strDepth)
    , nWidth(_nWidth)
    , nHeight(_nHeight)
    , bTopFirst(_bTopFirst)
    , arrBounds{_nX, _nY, _nX + _nWidth, _nY + _nHeight}
    , vecMemory((RowBytes() + c_nGap) * static_cast<size_t>(_nHeight), 0xA5)
{
}

size_t MINI_PICTURE::RowBytes() const
{
    return static_cast<size_t>(nWidth) * (strDepth == "Byte" ? 4 : strDepth == "Short" ? 8 : 16);
}

uint8_t* MINI_PICTURE::Row(int _nY)
{
    return vecMemory.data() + (RowBytes() + c_nGap) * static_cast<size_t>(bTopFirst ? _nY : nHeight - 1 - _nY);
}

std::string MINI_PICTURE::Pixels()
{
    std::string strPixels;
    for (int y = 0; y < nHeight; ++y)
        strPixels.append(reinterpret_cast<const char*>(Row(y)), RowBytes());
    return strPixels;
}

void MINI_PICTURE::SetPixels(const std::string& _strPixels)
{
    for (int y = 0; y < nHeight; ++y)
        std::memcpy(Row(y), _strPixels.data() + RowBytes() * static_cast<size_t>(y), RowBytes());
}

bool MINI_PICTURE::GapsUntouched() const
{
    for (size_t n = RowBytes(); n < vecMemory.size(); n += RowBytes() + c_nGap)
        if (!std::all_of(&vecMemory[n], &vecMemory[n] + c_nGap, [](uint8_t _by) { return _by == 0xA5; }))
            return false;
    return true;
}

CMiniHost::CMiniHost(const std::string& _strBundleFile, const std::string& _strContext, bool _bMessages)
    : m_pFile(dlopen(_strBundleFile.c_str(), RTLD_NOW | RTLD_LOCAL))
    , m_host{&m_propsOfHost, FetchSuite}
{
    g_vecFaults.clear();
    g_vecMessages.clear();
    g_bMessages = _bMessages;
    if (!m_pFile)
        throw std::runtime_error(dlerror());
    const auto pfnCount = reinterpret_cast<decltype(&OfxGetNumberOfPlugins)>(dlsym(m_pFile, "OfxGetNumberOfPlugins"));
    const auto pfnPlugin = reinterpret_cast<decltype(&OfxGetPlugin)>(dlsym(m_pFile, "OfxGetPlugin"));
    if (!pfnCount || !pfnPlugin || pfnCount() != 1 || pfnPlugin(1))
        throw std::runtime_error("the file has not one plug-in");
    m_pPlugin = pfnPlugin(0);
    m_pPlugin->pfnSetHost(&m_host);
    for (const char* pszText : {"OfxPropLabel", "OfxImageEffectPluginPropGrouping", "OfxPropPluginDescription",
                                "OfxImageEffectPropSupportedContexts", "OfxImageEffectPropSupportedPixelDepths",
                                "OfxImageEffectPluginRenderThreadSafety"})
        m_descriptor.props.mapValues[pszText] = {std::string()};
    for (const char* pszNumber : {"OfxImageEffectPropSupportsTiles", "OfxImageEffectPluginPropHostFrameThreading",
                                  "OfxImageEffectInstancePropSequentialRender"})
        m_descriptor.props.mapValues[pszNumber] = {1};
    OFX_PROPS_OF_HOST context = {{{"OfxImageEffectPropContext", {"OfxImageEffectContext" + _strContext}}}};
    m_descriptor.bDescribing = m_descriptor.params.bDescribing = true;
    if (Act("OfxActionLoad", nullptr) != c_nOfxOk || Act("OfxActionDescribe", &m_descriptor) != c_nOfxOk ||
        Act("OfxImageEffectActionDescribeInContext", &m_descriptor, &context) != c_nOfxOk)
        throw std::runtime_error("the effect cannot be described");
}

CMiniHost::~CMiniHost()
{
    Act("OfxActionUnload", nullptr);
    dlclose(m_pFile);
}

const OFX_PARAM_OF_HOST* CMiniHost::Described(const std::string& _strName) const
{
    const auto it = m_descriptor.params.mapParams.find(_strName);
    return it == m_descriptor.params.mapParams.end() ? nullptr : it->second.get();
}

std::unique_ptr<OFX_EFFECT_OF_HOST> CMiniHost::Create()
{
    auto upEffect = std::make_unique<OFX_EFFECT_OF_HOST>();
    upEffect->props.mapValues["OfxPropInstanceData"] = {static_cast<void*>(nullptr)};
    for (const auto& [strName, clip] : m_descriptor.mapClips)
        upEffect->mapClips[strName].props = clip.props;
    for (const auto& [strName, upParam] : m_descriptor.params.mapParams)
    {
        auto& upOwn = upEffect->params.mapParams[strName];
        upOwn = std::make_unique<OFX_PARAM_OF_HOST>();
        upOwn->strType = upParam->strType;
        upOwn->vecValue = upParam->props.mapValues.at("OfxParamPropDefault");
    }
    if (Act("OfxActionCreateInstance", upEffect.get()) != c_nOfxOk)
        Fault("no instance");
    return upEffect;
}

void CMiniHost::Destroy(std::unique_ptr<OFX_EFFECT_OF_HOST> _upEffect)
{
    if (Act("OfxActionDestroyInstance", _upEffect.get()) != c_nOfxOk)
        Fault("the instance cannot be destroyed");
}

void CMiniHost::Set(OFX_EFFECT_OF_HOST& _effect, const std::string& _strName, std::vector<MINI_VALUE> _vecValue)
{
    _effect.params.mapParams.at(_strName)->vecValue = std::move(_vecValue);
}

OFX_STATUS CMiniHost::Render(OFX_EFFECT_OF_HOST& _effect, double _dblTime, MINI_PICTURE* _pSource,
                             MINI_PICTURE& _result, double _dblScale)
{
    _effect.mapClips.at("Source").pPicture = _pSource;
    _effect.mapClips.at("Output").pPicture = &_result;
    const auto& arrWindow = _result.arrBounds;
    OFX_PROPS_OF_HOST in = {
        {{"OfxPropTime", {_dblTime}},
         {"OfxImageEffectPropRenderScale", {_dblScale, _dblScale}},
         {"OfxImageEffectPropRenderWindow", {arrWindow[0], arrWindow[1], arrWindow[2], arrWindow[3]}}}};
    const OFX_STATUS nStatus = Act("OfxImageEffectActionRender", &_effect, &in);
    if (!_result.GapsUntouched() || (_pSource && !_pSource->GapsUntouched()))
        Fault("bytes between rows were written");
    return nStatus;
}

OFX_STATUS CMiniHost::Act(const char* _pszAction, OFX_EFFECT_OF_HOST* _pEffect, OFX_PROPS _hIn, OFX_PROPS _hOut)
{
    return m_pPlugin->pfnMain(_pszAction, _pEffect, _hIn, _hOut);
}

void CMiniHost::Fault(const std::string& _strWhat)
{
    const std::lock_guard lock(g_mtx);
    g_vecFaults.push_back(_strWhat);
}

std::vector<std::string> CMiniHost::Faults()
{
    const std::lock_guard lock(g_mtx);
    if (g_nImages != 0)
        g_vecFaults.push_back(std::to_string(g_nImages) + " pictures were not given back");
    return g_vecFaults;
}

std::vector<std::string> CMiniHost::Messages()
{
    const std::lock_guard lock(g_mtx);
    return g_vecMessages;
}
