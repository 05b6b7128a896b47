#include "gstreamer/GstParams.h"

#include "Shell/ShellModule.h"

#include <gst/gst.h>

#include <algorithm>
#include <cmath>
#include <forward_list>
#include <string_view>

namespace
{

std::string PropertyName(const char* _pszName)
{
    std::string strName = _pszName;
    std::ranges::replace(strName, '_', '-');
    return strName;
}

bool IsTaken(const std::vector<GST_PARAM>& _vecParams, const std::string& _strProperty)
{
    return std::ranges::find(_vecParams, _strProperty, &GST_PARAM::strProperty) != _vecParams.end();
}

void Append(const SHELL_API& _api, int _nGeneration, std::vector<GST_PARAM>& _vecParams)
{
    zck_param info = {};
    info.size = sizeof(info);
    for (int nIndex = 0; _api.zck_param_info(_nGeneration, nIndex, &info) == ZCK_OK; ++nIndex)
        if (const std::string strProperty = PropertyName(info.name); !IsTaken(_vecParams, strProperty))
            _vecParams.push_back({_nGeneration, strProperty, info});
}

std::vector<GST_PARAM> ReadAll()
{
    std::vector<GST_PARAM> vecParams;
    std::string strWhy;
    const SHELL_API* const pApi = ShellModule_Get(strWhy);
    if (!pApi)
    {
        // Elements cannot post messages yet, and without parameters even a correct command line is refused.
        g_warning("zchromakey keys nothing and has no parameters: %s", strWhy.c_str());
        return vecParams;
    }
    Append(*pApi, ZCK_GENERATION_2, vecParams);
    Append(*pApi, ZCK_GENERATION_1, vecParams);
    return vecParams;
}

/// "spill-balance" becomes "GstZChromaKeySpillBalance": languages other than C make a class of it.
std::string TypeName(const std::string& _strProperty)
{
    std::string strType = "GstZChromaKey";
    bool bFirst = true;
    for (const char ch : _strProperty)
    {
        if (ch != '-')
            strType += bFirst ? g_ascii_toupper(ch) : ch;
        bFirst = ch == '-';
    }
    return strType;
}

/// The type of a choice. GLib keeps the address of the values for good.
GType MakeEnum(const GST_PARAM& _param)
{
    static std::forward_list<std::vector<GEnumValue>> s_listKept;
    std::vector<GEnumValue>& vecValues = s_listKept.emplace_front();
    std::string_view svRest = _param.info.choices;
    while (!svRest.empty())
    {
        const std::string strName(svRest.substr(0, svRest.find(' ')));
        svRest.remove_prefix(std::min(strName.size() + 1, svRest.size()));
        const char* const pszName = g_intern_string(strName.c_str());
        vecValues.push_back({static_cast<gint>(vecValues.size()), pszName, pszName});
    }
    vecValues.push_back({});
    return g_enum_register_static(TypeName(_param.strProperty).c_str(), vecValues.data());
}

std::string Help(const GST_PARAM& _param)
{
    std::string strHelp = _param.nGeneration == ZCK_GENERATION_1 ? "First generation: " : "";
    strHelp += _param.info.help;
    if (*_param.info.unit)
        strHelp.append(" (").append(_param.info.unit).append(")");
    return strHelp;
}

GParamSpec* MakeSpec(const GST_PARAM& _param)
{
    const auto eFlags =
        static_cast<GParamFlags>(G_PARAM_READWRITE | GST_PARAM_CONTROLLABLE | GST_PARAM_MUTABLE_PLAYING);
    const char* const pszName = _param.strProperty.c_str();
    const std::string strHelp = Help(_param);
    const zck_param& info = _param.info;
    const auto fnInt = [](double _dblNumber) { return static_cast<gint>(std::lround(_dblNumber)); };
    if (info.choices)
        return g_param_spec_enum(pszName, pszName, strHelp.c_str(), MakeEnum(_param), fnInt(info.initial), eFlags);
    if (info.whole)
        return g_param_spec_int(pszName, pszName, strHelp.c_str(), fnInt(info.least), fnInt(info.most),
                                fnInt(info.initial), eFlags);
    return g_param_spec_double(pszName, pszName, strHelp.c_str(), info.least, info.most, info.initial, eFlags);
}

} // namespace

const std::vector<GST_PARAM>& GstParams_All()
{
    static const std::vector<GST_PARAM> s_vecParams = ReadAll();
    return s_vecParams;
}

void GstParams_Install(GObjectClass* _pClass, guint _nFirst)
{
    for (const GST_PARAM& param : GstParams_All())
        g_object_class_install_property(_pClass, _nFirst++, MakeSpec(param));
}

double GstParams_Read(const GValue* _pValue)
{
    if (G_VALUE_HOLDS_ENUM(_pValue))
        return g_value_get_enum(_pValue);
    return G_VALUE_HOLDS_INT(_pValue) ? g_value_get_int(_pValue) : g_value_get_double(_pValue);
}

void GstParams_Write(double _dblNumber, GValue* _pValue)
{
    if (G_VALUE_HOLDS_ENUM(_pValue))
        g_value_set_enum(_pValue, static_cast<gint>(std::lround(_dblNumber)));
    else if (G_VALUE_HOLDS_INT(_pValue))
        g_value_set_int(_pValue, static_cast<gint>(std::lround(_dblNumber)));
    else
        g_value_set_double(_pValue, _dblNumber);
}
