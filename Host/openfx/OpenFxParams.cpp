#include "openfx/OpenFxKeyer.h"

#include <cctype>
#include <cmath>
#include <sstream>

namespace
{

void SetText(OFX_PROPS _hProps, const char* _pszName, const char* _pszText, int _nIndex = 0)
{
    OpenFxHost().pProps->pfnSetString(_hProps, _pszName, _nIndex, _pszText);
}

OFX_PROPS Define(OFX_PARAMS _hParams, const char* _pszType, const char* _pszName, const char* _pszLabel,
                 const char* _pszHint)
{
    OFX_PROPS hProps = nullptr;
    OpenFxHost().pParams->pfnDefine(_hParams, _pszType, _pszName, &hProps);
    SetText(hProps, "OfxPropLabel", _pszLabel);
    SetText(hProps, "OfxParamPropHint", _pszHint);
    return hProps;
}

void DefineSwitch(OFX_PARAMS _hParams, const char* _pszName, int _nInitial, const char* _pszLabel, const char* _pszHint)
{
    const OFX_PROPS hProps = Define(_hParams, "OfxParamTypeBoolean", _pszName, _pszLabel, _pszHint);
    OpenFxHost().pProps->pfnSetInt(hProps, "OfxParamPropDefault", 0, _nInitial);
}

void DefineColor(OFX_PARAMS _hParams, const char* _pszName, const char* _pszLabel, const char* _pszHint)
{
    const OFX_PROPS hProps = Define(_hParams, "OfxParamTypeRGB", _pszName, _pszLabel, _pszHint);
    for (int n = 0; n < 3; ++n)
        OpenFxHost().pProps->pfnSetDouble(hProps, "OfxParamPropDefault", n, 0);
}

// "clean_backdrop" becomes "Clean backdrop".
std::string Label(const char* _pszName)
{
    std::string strLabel = _pszName;
    for (char& ch : strLabel)
        ch = ch == '_' ? ' ' : ch;
    strLabel[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(strLabel[0])));
    return strLabel;
}

void DefineNumber(OFX_PARAMS _hParams, const zck_param& _param)
{
    const OFX_PROPERTY_SUITE& props = *OpenFxHost().pProps;
    const std::string strLabel = Label(_param.name);
    const OFX_PROPS hProps = Define(_hParams, "OfxParamTypeDouble", _param.name, strLabel.c_str(), _param.help);
    props.pfnSetDouble(hProps, "OfxParamPropDefault", 0, _param.initial);
    for (const char* pszLeast : {"OfxParamPropMin", "OfxParamPropDisplayMin"})
        props.pfnSetDouble(hProps, pszLeast, 0, _param.least);
    for (const char* pszMost : {"OfxParamPropMax", "OfxParamPropDisplayMax"})
        props.pfnSetDouble(hProps, pszMost, 0, _param.most);
}

void DefineChoice(OFX_PARAMS _hParams, const zck_param& _param)
{
    const std::string strLabel = Label(_param.name);
    const OFX_PROPS hProps = Define(_hParams, "OfxParamTypeChoice", _param.name, strLabel.c_str(), _param.help);
    std::istringstream choices(_param.choices);
    int nChoice = 0;
    for (std::string strChoice; choices >> strChoice; ++nChoice)
        SetText(hProps, "OfxParamPropChoiceOption", strChoice.c_str(), nChoice);
    OpenFxHost().pProps->pfnSetInt(hProps, "OfxParamPropDefault", 0, static_cast<int>(_param.initial));
}

// The values of a parameter at a time; they stay as they are where the host has none of that name.
template <class... Values> void Get(OFX_PARAM _hParam, double _dblTime, Values*... _pValues)
{
    if (_hParam)
        OpenFxHost().pParams->pfnGetValueAtTime(_hParam, _dblTime, _pValues...);
}

uint32_t Byte(double _dblChannel)
{
    const bool bRight = _dblChannel >= 0 && _dblChannel <= 1; // not so what is no number
    return bRight ? static_cast<uint32_t>(std::lround(_dblChannel * 255)) : 0;
}

} // namespace

void OpenFxKeyer_DefineParams(OFX_PARAMS _hParams)
{
    DefineSwitch(_hParams, "auto", 1, "Find the backdrop",
                 "Where neither keys nor a colour are given, the backdrop is found by itself");
    const OFX_PROPS hKeys =
        Define(_hParams, "OfxParamTypeString", "keys", "Keys",
               "A document of keys, as \"zkhost key --save-keys\" writes it, or the path of its file");
    SetText(hKeys, "OfxParamPropStringMode", "OfxParamStringIsMultiLine");
    OpenFxHost().pProps->pfnSetInt(hKeys, "OfxParamPropAnimates", 0, 0);
    DefineColor(_hParams, "color", "Backdrop colour", "Colour of the backdrop, beside that of the keys; black: none");
    DefineColor(_hParams, "protect", "Protected colour", "Stays solid although it is like the backdrop; black: none");
    DefineSwitch(_hParams, "stills", 0, "Stills",
                 "Keys each picture by itself: what is rendered does not depend on the order, or on the machine");
    for (const zck_param& param : ShellParams_Get())
        (param.choices ? DefineChoice : DefineNumber)(_hParams, param);
}

void COpenFxKeyer::TakeSettings(double _dblTime, double _dblScale)
{
    char* pszKeys = nullptr;
    int nAuto = 1, nStills = 0;
    Get(m_hKeys, _dblTime, &pszKeys);
    Get(m_hAuto, _dblTime, &nAuto);
    Get(m_hStills, _dblTime, &nStills);
    m_keyer.KeysSet(pszKeys ? pszKeys : "");
    m_keyer.AutoSet(nAuto != 0);
    m_keyer.StillsSet(nStills != 0);
    m_keyer.ColorSet(Color(m_hColor, _dblTime));
    m_keyer.ProtectSet(Color(m_hProtect, _dblTime));
    for (size_t n = 0; n < m_vecParams.size(); ++n)
    {
        const zck_param& param = ShellParams_Get()[n];
        int nChoice = static_cast<int>(param.initial);
        double dblValue = param.initial;
        if (param.choices)
            Get(m_vecParams[n], _dblTime, &nChoice);
        else
            Get(m_vecParams[n], _dblTime, &dblValue);
        const bool bPixels = std::string_view(param.unit) == "pixels"; // those of the picture in full size
        m_keyer.ParamSet(n, param.choices ? nChoice : dblValue * (bPixels ? _dblScale : 1));
    }
}

uint32_t COpenFxKeyer::Color(OFX_PARAM _hParam, double _dblTime) const
{
    double dblRed = 0, dblGreen = 0, dblBlue = 0;
    Get(_hParam, _dblTime, &dblRed, &dblGreen, &dblBlue);
    return Byte(dblRed) << 16 | Byte(dblGreen) << 8 | Byte(dblBlue);
}
