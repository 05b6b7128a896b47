#include "Shell/ShellKeyer.h"
#include "obs/KeyFilter.h"
#include "obs/Settings.h"

#include <cctype>
#include <cmath>
#include <sstream>

namespace
{
// "spill_balance" -> "Spill balance"
std::string Label(const char* _pszName)
{
    std::string str = _pszName;
    for (char& ch : str)
        if (ch == '_')
            ch = ' ';
    if (!str.empty())
        str[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(str[0])));
    return str;
}

struct BUTTON
{
    const char* pszName;
    const char* pszText;
    eObsAsk eAsk;
};
constexpr BUTTON c_arrButtons[] = {
    {"find", "Find the backdrop", eOA_Find},
    {"key", "Key the colour at X, Y", eOA_Key},
    {"protect", "Protect the colour at X, Y", eOA_Protect},
    {"undo", "Undo", eOA_Undo},
    {"redo", "Redo", eOA_Redo},
    {"reset", "Forget all keys and settings", eOA_Reset},
};

bool OnButton(obs_properties_t*, obs_property_t* _pButton, void* _pFilter)
{
    for (const BUTTON& button : c_arrButtons)
        if (_pFilter && std::string(obs_property_name(_pButton)) == button.pszName)
            static_cast<CKeyFilter*>(_pFilter)->Ask(button.eAsk);
    return false;
}

void AddChoices(obs_properties_t* _pPanel, const zck_param& _param, const std::string& _strName)
{
    obs_property_t* const pList = obs_properties_add_list(_pPanel, _strName.c_str(), Label(_param.name).c_str(),
                                                          OBS_COMBO_TYPE_LIST, OBS_COMBO_FORMAT_INT);
    std::istringstream choices(_param.choices);
    std::string str;
    for (int n = 0; choices >> str; ++n)
        obs_property_list_add_int(pList, Label(str.c_str()).c_str(), n);
    obs_property_set_long_description(pList, _param.help);
}

void AddSlider(obs_properties_t* _pPanel, const zck_param& _param, const std::string& _strName)
{
    const std::string strLabel = Label(_param.name);
    obs_property_t* pSlider = nullptr;
    if (_param.whole)
        pSlider = obs_properties_add_int_slider(_pPanel, _strName.c_str(), strLabel.c_str(),
                                                static_cast<int>(_param.least), static_cast<int>(_param.most), 1);
    else
        pSlider =
            obs_properties_add_float_slider(_pPanel, _strName.c_str(), strLabel.c_str(), _param.least, _param.most, .1);
    if (_param.whole)
        obs_property_int_set_suffix(pSlider, _param.unit);
    else
        obs_property_float_set_suffix(pSlider, _param.unit);
    obs_property_set_long_description(pSlider, _param.help);
}

} // namespace

obs_properties_t* FilterPanel_Make(CKeyFilter* _pFilter)
{
    obs_properties_t* const pPanel = obs_properties_create();
    obs_properties_set_param(pPanel, _pFilter, nullptr);
    if (ShellParams_Get().empty())
    {
        obs_properties_add_text(pPanel, "missing", "The keyer's module was not found; the log says where it is sought",
                                OBS_TEXT_INFO);
        return pPanel;
    }
    obs_property_t* const pFrom =
        obs_properties_add_list(pPanel, c_szSetFrom, "Backdrop", OBS_COMBO_TYPE_LIST, OBS_COMBO_FORMAT_STRING);
    obs_property_list_add_string(pFrom, "Found by itself", c_szFromAuto);
    obs_property_list_add_string(pFrom, "Of this colour", c_szFromColor);
    obs_property_list_add_string(pFrom, "As picked or loaded", c_szFromPicks);
    obs_properties_add_color(pPanel, c_szSetColor, "Colour of the backdrop");
    obs_properties_add_float_slider(pPanel, c_szSetX, "X of a pick", 0, 100, .1);
    obs_properties_add_float_slider(pPanel, c_szSetY, "Y of a pick", 0, 100, .1);
    for (const BUTTON& button : c_arrButtons)
        obs_properties_add_button2(pPanel, button.pszName, button.pszText, OnButton, _pFilter);
    for (const zck_param& param : ShellParams_Get())
    {
        if (param.choices)
            AddChoices(pPanel, param, Settings_Param(param.name));
        else
            AddSlider(pPanel, param, Settings_Param(param.name));
    }
    obs_properties_add_path(pPanel, c_szSetFile, "Load keys from", OBS_PATH_FILE, "Key documents (*.xml)", nullptr);
    return pPanel;
}

void FilterPanel_Defaults(obs_data_t* _pSettings)
{
    obs_data_set_default_string(_pSettings, c_szSetFrom, c_szFromAuto);
    obs_data_set_default_int(_pSettings, c_szSetColor, 0xFF00FF00);
    obs_data_set_default_double(_pSettings, c_szSetX, 50);
    obs_data_set_default_double(_pSettings, c_szSetY, 10);
    for (const zck_param& param : ShellParams_Get())
    {
        const std::string strName = Settings_Param(param.name);
        if (param.whole)
            obs_data_set_default_int(_pSettings, strName.c_str(), std::llround(param.initial));
        else
            obs_data_set_default_double(_pSettings, strName.c_str(), param.initial);
    }
}
