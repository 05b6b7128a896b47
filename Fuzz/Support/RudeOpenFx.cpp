#include "Support/RudeOpenFx.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <memory>
#include <string_view>

/// A clip is the source or the result of the render on this thread.
struct OFX_CLIP_OF_HOST
{
    bool bSource;
};

namespace
{

constexpr int c_nSize = 40;
constexpr const char* c_arrDepths[] = {"OfxBitDepthByte", "OfxBitDepthShort", "OfxBitDepthFloat"};

/// What the host refuses of an effect.
enum eRude : uint32_t
{
    eRude_Props = 1,
    eRude_Params = 2,
    eRude_Clips = 4,
    eRude_Define = 8,
};

struct RUDE_HOST
{
    uint32_t nMissing = 0; ///< suites, by their order
    bool bMessages = true; ///< it takes them
};
RUDE_HOST g_rude;
OFX_HOST g_ofxHost;
std::atomic<int> g_nImages{0};
thread_local RUDE_RENDER* t_pRender = nullptr;

uint32_t BitOf(std::string_view _svName)
{
    uint32_t nHash = 2166136261u;
    for (const char ch : _svName)
        nHash = (nHash ^ static_cast<uint8_t>(ch)) * 16777619u;
    return 1u << (nHash >> 27);
}

/// Mostly nothing.
uint32_t TakeRefused(CByteReader& _in)
{
    const uint8_t nKind = _in.Byte();
    return nKind < 0xC0 ? 0 : nKind < 0xF0 ? 1u << (nKind & 31) : _in.Take<uint32_t>();
}

/// Whether there is a property of that name in a set.
bool Has(OFX_PROPS _hProps, const char* _pszName)
{
    return _hProps && (_hProps->nRefused & BitOf(_pszName)) == 0;
}

template <class T> OFX_STATUS Ignore(OFX_PROPS _hProps, const char* _pszName, int, T)
{
    return Has(_hProps, _pszName) ? c_nOfxOk : c_nOfxUnknownProperty;
}

OFX_STATUS SetPointer(OFX_PROPS _hProps, const char* _pszName, int, void* _pValue)
{
    if (!Has(_hProps, _pszName))
        return c_nOfxUnknownProperty;
    _hProps->pPointer = _pValue;
    return c_nOfxOk;
}

OFX_STATUS GetPointer(OFX_PROPS _hProps, const char* _pszName, int, void** _ppValue)
{
    if (!Has(_hProps, _pszName))
        return c_nOfxUnknownProperty;
    *_ppValue = _hProps->pPointer;
    return c_nOfxOk;
}

OFX_STATUS GetString(OFX_PROPS _hProps, const char* _pszName, int, char** _ppszValue)
{
    const std::string_view svName = _pszName;
    if (!Has(_hProps, _pszName))
        return c_nOfxUnknownProperty;
    *_ppszValue = const_cast<char*>(svName == "OfxImageEffectPropPixelDepth"   ? _hProps->pszDepth
                                    : svName == "OfxImageEffectPropComponents" ? _hProps->pszComponents
                                                                               : _hProps->pszMultiplied);
    return c_nOfxOk;
}

OFX_STATUS GetDouble(OFX_PROPS _hProps, const char* _pszName, int, double* _pdblValue)
{
    if (!Has(_hProps, _pszName))
        return c_nOfxUnknownProperty;
    *_pdblValue = std::string_view(_pszName) == "OfxPropTime" ? _hProps->dblTime : _hProps->dblScale;
    return c_nOfxOk;
}

OFX_STATUS GetInt(OFX_PROPS _hProps, const char* _pszName, int _nIndex, int* _pnValue)
{
    if (!Has(_hProps, _pszName))
        return c_nOfxUnknownProperty;
    const bool bRow = std::string_view(_pszName) == "OfxImagePropRowBytes";
    *_pnValue = bRow ? _hProps->nRowBytes : _hProps->arrNumbers[static_cast<size_t>(_nIndex)];
    return c_nOfxOk;
}

OFX_STATUS GetPropertySet(OFX_EFFECT _hEffect, OFX_PROPS* _phProps)
{
    if (!_hEffect || (_hEffect->nRefused & eRude_Props))
        return c_nOfxBadHandle;
    *_phProps = &_hEffect->props;
    return c_nOfxOk;
}

OFX_STATUS GetParamSet(OFX_EFFECT _hEffect, OFX_PARAMS* _phParams)
{
    if (!_hEffect || (_hEffect->nRefused & eRude_Params))
        return c_nOfxBadHandle;
    *_phParams = &_hEffect->params;
    return c_nOfxOk;
}

OFX_STATUS ClipDefine(OFX_EFFECT _hEffect, const char*, OFX_PROPS* _phProps)
{
    if (!_hEffect || (_hEffect->nRefused & eRude_Define))
        return c_nOfxBadHandle;
    *_phProps = &_hEffect->propsDefined;
    return c_nOfxOk;
}

OFX_STATUS ClipGetHandle(OFX_EFFECT _hEffect, const char* _pszName, OFX_CLIP* _phClip, OFX_PROPS*)
{
    static OFX_CLIP_OF_HOST s_source = {true}, s_output = {false};
    if (!_hEffect || (_hEffect->nRefused & eRude_Clips))
        return c_nOfxBadHandle;
    *_phClip = std::string_view(_pszName) == "Source" ? &s_source : &s_output;
    return c_nOfxOk;
}

OFX_STATUS ClipGetImage(OFX_CLIP _hClip, double, const OFX_RECT*, OFX_PROPS* _phImage)
{
    if (!t_pRender)
        return c_nOfxFailed;
    const RUDE_PICTURE& picture = _hClip->bSource ? t_pRender->source : t_pRender->result;
    *_phImage = picture.bThere ? new OFX_PROPS_OF_HOST(picture.props) : nullptr; // although all is said to be well
    g_nImages += picture.bThere;
    return c_nOfxOk;
}

OFX_STATUS ClipReleaseImage(OFX_PROPS _hImage)
{
    FUZZ_REQUIRE(_hImage != nullptr);
    delete _hImage;
    --g_nImages;
    return c_nOfxOk;
}

OFX_STATUS Define(OFX_PARAMS _hParams, const char* _pszType, const char* _pszName, OFX_PROPS* _phProps)
{
    static OFX_PROPS_OF_HOST s_props;
    if (!_hParams || (_hParams->nRefused & BitOf(_pszName)))
        return c_nOfxBadHandle;
    _hParams->mapParams[_pszName].strType = _pszType;
    *_phProps = &s_props;
    return c_nOfxOk;
}

OFX_STATUS GetHandle(OFX_PARAMS _hParams, const char* _pszName, OFX_PARAM* _phParam, OFX_PROPS*)
{
    const auto it = _hParams ? _hParams->mapParams.find(_pszName) : decltype(_hParams->mapParams.end()){};
    if (!_hParams || it == _hParams->mapParams.end())
        return c_nOfxBadHandle;
    *_phParam = &it->second;
    return c_nOfxOk;
}

OFX_STATUS GetValueAtTime(OFX_PARAM _hParam, [[maybe_unused]] double _dblTime, ...)
{
    if (_hParam->bRefused)
        return c_nOfxFailed;
    va_list args;
    va_start(args, _dblTime);
    if (_hParam->strType == "OfxParamTypeString")
        *va_arg(args, char**) = _hParam->bText ? _hParam->strText.data() : nullptr;
    else if (_hParam->strType == "OfxParamTypeRGB")
        for (const double dblChannel : _hParam->arrNumbers)
            *va_arg(args, double*) = dblChannel;
    else if (_hParam->strType == "OfxParamTypeDouble")
        *va_arg(args, double*) = _hParam->arrNumbers[0];
    else
        *va_arg(args, int*) = _hParam->nNumber;
    va_end(args);
    return c_nOfxOk;
}

OFX_STATUS Message(void*, const char*, const char*, const char* _pszFormat, ...)
{
    FUZZ_REQUIRE(std::string_view(_pszFormat) == "%s"); // no text of others is a format
    return g_rude.bMessages ? c_nOfxOk : c_nOfxFailed;
}

void NeverCalled()
{
    FuzzTarget_Fail(__FILE__, __LINE__, "no function is called that the effect says it does not use");
}

const void* FetchSuite(OFX_PROPS, const char* _pszName, int _nVersion)
{
    constexpr OFX_UNUSED n = NeverCalled;
    static const OFX_PROPERTY_SUITE s_props = {SetPointer,
                                               Ignore<const char*>,
                                               Ignore<double>,
                                               Ignore<int>,
                                               {n, n, n, n},
                                               GetPointer,
                                               GetString,
                                               GetDouble,
                                               GetInt,
                                               {n, n, n, n},
                                               n,
                                               n};
    static const OFX_EFFECT_SUITE s_effects = {GetPropertySet, GetParamSet,      ClipDefine,        ClipGetHandle, n,
                                               ClipGetImage,   ClipReleaseImage, {n, n, n, n, n, n}};
    static const OFX_PARAM_SUITE s_params = {
        Define, GetHandle, n, n, n, GetValueAtTime, {n, n, n, n, n, n, n, n, n, n, n, n}};
    static const OFX_MESSAGE_SUITE s_messages = {Message};
    constexpr std::string_view c_arrNames[] = {"OfxPropertySuite", "OfxImageEffectSuite", "OfxParameterSuite",
                                               "OfxMessageSuite"};
    const void* const arrSuites[] = {&s_props, &s_effects, &s_params, &s_messages};
    for (size_t i = 0; i < std::size(c_arrNames); ++i)
        if (c_arrNames[i] == _pszName && _nVersion == 1 && (g_rude.nMissing >> i & 1) == 0)
            return arrSuites[i];
    return nullptr;
}

/// Where a window and a picture meet; computed so that nothing overflows.
std::array<int64_t, 4> Inside(const std::array<int, 4>& _arrWindow, const std::array<int64_t, 4>& _arrBounds)
{
    std::array<int64_t, 4> arrBoth = {};
    for (const size_t n : {size_t{0}, size_t{1}})
    {
        arrBoth[n] = std::max(int64_t{_arrWindow[n]}, _arrBounds[n]);
        arrBoth[n + 2] = std::min(int64_t{_arrWindow[n + 2]}, _arrBounds[n + 2]);
    }
    return arrBoth;
}

} // namespace

void OFX_PARAMS_OF_HOST::Take(CByteReader& _in)
{
    constexpr const char* c_arrTexts[] = {"", " ", "<", "<zl-root><ZChromaKey2/></zl-root>", "<zl-root><x"};
    for (auto& [strName, param] : mapParams)
    {
        const uint8_t nKind = _in.Byte();
        if (nKind < 0x80)
            continue;
        param.bRefused = nKind > 0xF8;
        param.strText = _in.OneOf(c_arrTexts);
        param.bText = nKind % 8 != 0;
        param.nNumber = _in.Number();
        for (double& dblNumber : param.arrNumbers)
            dblNumber = nKind % 2 ? _in.Byte() / 200.0 : _in.Double();
    }
}

RUDE_PICTURE::RUDE_PICTURE(CByteReader& _in, bool _bSource, const char* _pszDepth)
    : m_nWidth(_in.Range(1, c_nSize))
    , m_nHeight(_in.Range(1, c_nSize / 2))
    , m_bUp(_in.Flag())
{
    const std::string_view svDepth = _pszDepth;
    const int64_t cbSample = svDepth == c_arrDepths[0] ? 1 : svDepth == c_arrDepths[1] ? 2 : 4;
    const uint8_t nPlace = _in.Byte();
    m_cbPixel = 4 * cbSample;
    m_cbRow = m_nWidth * m_cbPixel + nPlace % 4 * cbSample;
    const bool bFar = nPlace >= 0xF0;
    m_nX = bFar ? INT32_MAX - m_nWidth : nPlace / 16 - 8;
    m_nY = bFar ? INT32_MIN : nPlace / 8 % 8 - 4;
    m_vecMemory.assign(static_cast<size_t>(m_cbRow * (m_nHeight - 1) + m_nWidth * m_cbPixel), 0xA5);
    if (_bSource)
        _in.Fill(m_vecMemory.data(), std::min<size_t>(m_vecMemory.size(), 64)); // a row's begin; the rest is flat
    props.pPointer = m_vecMemory.data() + (m_bUp ? 0 : m_cbRow * (m_nHeight - 1));
    props.nRowBytes = static_cast<int>(m_bUp ? m_cbRow : -m_cbRow);
    props.arrNumbers = {m_nX, m_nY, m_nX + m_nWidth, m_nY + m_nHeight};
    props.pszDepth = _pszDepth;
    props.pszComponents = "OfxImageComponentRGBA";
    props.pszMultiplied = _in.Flag() ? "OfxImageAlphaPremultiplied" : nullptr;
    props.nRefused = TakeRefused(_in);
    for (const char* const pszName : {"OfxImagePropData", "OfxImagePropRowBytes", "OfxImagePropBounds",
                                      "OfxImageEffectPropPixelDepth", "OfxImageEffectPropComponents"})
        bNonsense |= !Has(&props, pszName);
    if (const uint8_t nKind = _in.Byte(); nKind >= 0xD0)
        NonsenseMake(nKind % 9, _in);
}

/// Makes the record one that no picture has.
void RUDE_PICTURE::NonsenseMake(int _nKind, CByteReader& _in)
{
    bNonsense = true;
    auto& [nLeft, nBottom, nRight, nTop] = props.arrNumbers;
    switch (_nKind)
    {
    case 0:
        nLeft = INT32_MIN; // wider than numbers go, or than anything is
        nRight = _in.Flag() ? INT32_MAX : INT32_MIN + (1 << 28);
        return;
    case 1:
        nBottom = INT32_MIN;
        nTop = _in.Flag() ? INT32_MAX : INT32_MIN + (1 << 28);
        return;
    case 2:
        std::swap(nLeft, nRight);
        return;
    case 3:
        nTop = nBottom;
        return;
    case 4:
        props.nRowBytes = static_cast<int>(m_nWidth * m_cbPixel) - 1 - _in.Range(0, 3); // rows lie in each other
        return;
    case 5:
        props.pPointer = nullptr;
        return;
    case 6:
        props.pszComponents = _in.Flag() ? "OfxImageComponentAlpha" : nullptr;
        return;
    case 7:
        props.pszDepth = _in.Flag() ? "OfxBitDepthHalf" : nullptr;
        return;
    default:
        bThere = false;
    }
}

bool RUDE_PICTURE::IsUntouched(const std::array<int, 4>* _pWindowOrNull) const
{
    const std::array<int64_t, 4> arrBounds = {m_nX, m_nY, int64_t{m_nX} + m_nWidth, int64_t{m_nY} + m_nHeight};
    const auto arrInside = _pWindowOrNull ? Inside(*_pWindowOrNull, arrBounds) : std::array<int64_t, 4>{};
    for (int64_t n = 0; n < static_cast<int64_t>(m_vecMemory.size()); ++n)
    {
        const int64_t nRow = n / m_cbRow, nY = m_nY + (m_bUp ? nRow : m_nHeight - 1 - nRow);
        const int64_t nX = m_nX + n % m_cbRow / m_cbPixel;
        const bool bInside =
            _pWindowOrNull && nX >= arrInside[0] && nX < arrInside[2] && nY >= arrInside[1] && nY < arrInside[3];
        if (!bInside && m_vecMemory[static_cast<size_t>(n)] != 0xA5)
            return false;
    }
    return true;
}

RUDE_RENDER::RUDE_RENDER(CByteReader& _in)
    : source(_in, true, c_arrDepths[_in.Byte() % 3])
    , result(_in, false,
             _in.Byte() % 8 ? source.props.pszDepth ? source.props.pszDepth : c_arrDepths[0] : c_arrDepths[1])
    , arrWindow(result.props.arrNumbers)
{
    propsIn.dblTime = _in.Double();
    propsIn.dblScale = _in.Byte() % 4 ? 1 : _in.Double();
    if (_in.Flag())
        for (int& nEdge : arrWindow)
            nEdge = _in.Number();
    propsIn.arrNumbers = arrWindow;
    propsIn.nRefused = TakeRefused(_in);
    if (!Has(&propsIn, "OfxImageEffectPropRenderWindow"))
        arrWindow = result.props.arrNumbers;
}

void Rude_Begin(CByteReader& _in, RUDE_EFFECTS& _effects)
{
    g_rude = {_in.Byte() < 0xE0 ? 0u : 1u << _in.Range(0, 3), _in.Byte() % 4 != 0};
    g_ofxHost = {nullptr, FetchSuite};
    OfxGetPlugin(0)->pfnSetHost(_in.Byte() < 0xF8 ? &g_ofxHost : nullptr);
    for (RUDE_EFFECT& effect : _effects)
    {
        effect.nRefused = TakeRefused(_in);
        effect.props.nRefused = TakeRefused(_in);
        effect.params.nRefused = TakeRefused(_in);
    }
}

OFX_STATUS Rude_Act(const char* _pszActionOrNull, OFX_EFFECT _hEffect, RUDE_RENDER* _pRender)
{
    OFX_PROPS_OF_HOST propsOut;
    t_pRender = _pRender;
    const OFX_STATUS nStatus =
        OfxGetPlugin(0)->pfnMain(_pszActionOrNull, _hEffect, _pRender ? &_pRender->propsIn : nullptr, &propsOut);
    t_pRender = nullptr;
    return nStatus;
}

int Rude_Images()
{
    return g_nImages;
}
