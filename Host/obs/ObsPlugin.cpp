#include "obs/KeyFilter.h"

#include <exception>

// The module as the host loads it: one filter for any source.

OBS_DECLARE_MODULE()

MODULE_EXPORT const char* obs_module_name()
{
    return "ZChromaKey";
}

MODULE_EXPORT const char* obs_module_description()
{
    return "Keys before a coloured backdrop, and unmixes its colour from hair, veils and motion blur";
}

namespace
{
constexpr int c_nLogWarnings = 2;

void ZCK_CALL OnLog(void*, int _nLevel, const char* _pszLine)
{
    constexpr int c_arrLevels[] = {LOG_ERROR, LOG_ERROR, LOG_WARNING, LOG_INFO, LOG_DEBUG};
    blog(c_arrLevels[_nLevel < 0 || _nLevel > 4 ? 4 : _nLevel], "[zchromakey] %s", _pszLine);
}

// No exception may reach the host, which is written in C.
void* Create(obs_data_t* _pSettings, obs_source_t* _pFilter)
{
    try
    {
        return new CKeyFilter(_pFilter, _pSettings);
    }
    catch (const std::exception& e)
    {
        blog(LOG_ERROR, "[zchromakey] no filter could be made: %s", e.what());
        return nullptr;
    }
}

template <class T> void Guarded(const T& _body)
{
    try
    {
        _body();
    }
    catch (const std::exception& e)
    {
        blog(LOG_ERROR, "[zchromakey] %s", e.what());
    }
}

obs_source_info Info()
{
    obs_source_info info = {};
    info.id = "zchromakey";
    info.type = OBS_SOURCE_TYPE_FILTER;
    info.output_flags = OBS_SOURCE_VIDEO;
    info.get_name = [](void*) { return "ZChromaKey"; };
    info.create = Create;
    info.destroy = [](void* _p) { delete static_cast<CKeyFilter*>(_p); };
    info.get_defaults = [](obs_data_t* _pSettings) { Guarded([&] { FilterPanel_Defaults(_pSettings); }); };
    info.get_properties = [](void* _p) {
        obs_properties_t* pPanel = nullptr;
        Guarded([&] { pPanel = FilterPanel_Make(static_cast<CKeyFilter*>(_p)); });
        return pPanel;
    };
    info.update = [](void* _p, obs_data_t* _pSettings) {
        Guarded([&] { static_cast<CKeyFilter*>(_p)->Update(_pSettings); });
    };
    info.video_render = [](void* _p, gs_effect_t*) { Guarded([&] { static_cast<CKeyFilter*>(_p)->Render(); }); };
    return info;
}
} // namespace

bool obs_module_load()
{
    const obs_source_info info = Info();
    obs_register_source(&info);
    std::string strWhy;
    if (const SHELL_API* const pApi = ShellModule_Get(strWhy))
        pApi->zck_log_set(OnLog, nullptr, c_nLogWarnings);
    else
        blog(LOG_ERROR, "[zchromakey] %s", strWhy.c_str()); // filters stay in the scene collection and pass pictures on
    return true;
}

void obs_module_unload()
{
    std::string strWhy;
    if (const SHELL_API* const pApi = ShellModule_Get(strWhy))
        pApi->zck_log_set(nullptr, nullptr, 0);
}
