#include "Shells/obs/ObsHost.h"

#include <X11/Xlib.h>
#include <graphics/vec4.h>
#include <obs-nix-platform.h>
#include <obs.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <utility>

namespace
{
std::mutex s_mtxLog;
std::string s_strLog;
Display* s_pDisplay = nullptr;

void OnLog(int _nLevel, const char* _pszFormat, va_list _args, void*)
{
    char szLine[2000];
    std::vsnprintf(szLine, sizeof(szLine), _pszFormat, _args);
    if (_nLevel <= LOG_WARNING)
        std::fprintf(stderr, "%s\n", szLine);
    if (!std::strstr(szLine, "[zchromakey]"))
        return;
    const std::lock_guard lock(s_mtxLog);
    s_strLog += std::string(szLine) + "\n";
}

// The source: draws the picture that it was told of last.
struct PICTURE_SOURCE
{
    const OBS_PICTURE* pPicture = nullptr;
};

void DrawPicture(void* _pSource, gs_effect_t*)
{
    const OBS_PICTURE* const pPicture = static_cast<PICTURE_SOURCE*>(_pSource)->pPicture;
    const uint8_t* pPixels = pPicture->vecBGRA.data();
    gs_texture_t* const pTexture = gs_texture_create(pPicture->nWidth, pPicture->nHeight, GS_BGRA, 1, &pPixels, 0);
    obs_source_draw(pTexture, 0, 0, 0, 0, false);
    gs_texture_destroy(pTexture);
}

void RegisterSource()
{
    obs_source_info info = {};
    info.id = "test_picture";
    info.type = OBS_SOURCE_TYPE_INPUT;
    info.output_flags = OBS_SOURCE_VIDEO;
    info.get_name = [](void*) { return "picture"; };
    info.create = [](obs_data_t*, obs_source_t*) -> void* { return new PICTURE_SOURCE; };
    info.destroy = [](void* _p) { delete static_cast<PICTURE_SOURCE*>(_p); };
    info.get_width = [](void* _p) { return static_cast<PICTURE_SOURCE*>(_p)->pPicture->nWidth; };
    info.get_height = [](void* _p) { return static_cast<PICTURE_SOURCE*>(_p)->pPicture->nHeight; };
    info.video_render = DrawPicture;
    obs_register_source(&info);
}

bool LoadFilter(const char* _pszFilter)
{
    obs_module_t* pModule = nullptr;
    return obs_open_module(&pModule, _pszFilter, nullptr) == MODULE_SUCCESS && obs_init_module(pModule);
}

// Draws the source into a texture and, where asked, reads it.
void DrawOnce(obs_source_t* _pSource, OBS_PICTURE* _pPicture)
{
    const uint32_t nWidth = obs_source_get_width(_pSource), nHeight = obs_source_get_height(_pSource);
    gs_texrender_t* const pRender = gs_texrender_create(GS_BGRA, GS_ZS_NONE);
    gs_texrender_begin(pRender, nWidth, nHeight);
    vec4 zero;
    vec4_zero(&zero);
    gs_clear(GS_CLEAR_COLOR, &zero, 0, 0);
    gs_ortho(0, static_cast<float>(nWidth), 0, static_cast<float>(nHeight), -100, 100);
    gs_reset_blend_state(); // the library's own thread sets these with its first frame, which may be still to come
    gs_set_cull_mode(GS_NEITHER);
    gs_enable_depth_test(false);
    obs_source_video_render(_pSource);
    gs_texrender_end(pRender);
    if (_pPicture)
    {
        *_pPicture = {nWidth, nHeight, std::vector<uint8_t>(size_t{4} * nWidth * nHeight)};
        gs_stagesurf_t* const pStage = gs_stagesurface_create(nWidth, nHeight, GS_BGRA);
        gs_stage_texture(pStage, gs_texrender_get_texture(pRender));
        uint8_t* pRows = nullptr;
        uint32_t nRowBytes = 0;
        if (gs_stagesurface_map(pStage, &pRows, &nRowBytes))
            for (uint32_t y = 0; y < nHeight; ++y)
                std::memcpy(&_pPicture->vecBGRA[size_t{4} * nWidth * y], pRows + size_t{nRowBytes} * y,
                            size_t{4} * nWidth);
        gs_stagesurface_unmap(pStage);
        gs_stagesurface_destroy(pStage);
    }
    gs_texrender_destroy(pRender);
}
} // namespace

OBS_PICTURE ObsHost_Scene(uint32_t _nWidth, uint32_t _nHeight)
{
    OBS_PICTURE picture = {_nWidth, _nHeight, {}};
    for (uint32_t y = 0; y < _nHeight; ++y)
        for (uint32_t x = 0; x < _nWidth; ++x)
        {
            const double dblX = double{x + .5} / _nWidth - .5, dblY = double{y + .5} / _nHeight - .6;
            const double dblAlpha = std::clamp((.3 - std::sqrt(dblX * dblX + dblY * dblY)) * 20 + .5, 0.0, 1.0);
            const double arrBack[3] = {50 - 10 * dblX, 160 - 30 * dblX, 60 - 10 * dblX}, arrFore[3] = {60, 80, 150};
            for (int c = 0; c < 3; ++c)
                picture.vecBGRA.push_back(
                    static_cast<uint8_t>(std::lround(arrBack[c] + (arrFore[c] - arrBack[c]) * dblAlpha)));
            picture.vecBGRA.push_back(255);
        }
    return picture;
}

bool ObsHost_Start(const char* _pszFilter)
{
    base_set_log_handler(OnLog, nullptr);
    s_pDisplay = XOpenDisplay(nullptr);
    if (!s_pDisplay)
        return false;
    obs_set_nix_platform(OBS_NIX_PLATFORM_X11_EGL);
    obs_set_nix_platform_display(s_pDisplay);
    obs_video_info video = {};
    video.graphics_module = "libobs-opengl";
    video.fps_num = 60; // what is looked at is drawn by the tests
    video.fps_den = 1;
    video.base_width = video.output_width = 64;
    video.base_height = video.output_height = 64;
    video.output_format = VIDEO_FORMAT_BGRA;
    video.colorspace = VIDEO_CS_709;
    video.range = VIDEO_RANGE_FULL;
    if (!obs_startup("en-US", nullptr, nullptr) || obs_reset_video(&video) != OBS_VIDEO_SUCCESS)
        return false;
    RegisterSource();
    return LoadFilter(_pszFilter);
}

long ObsHost_End()
{
    obs_shutdown();
    if (s_pDisplay)
        XCloseDisplay(s_pDisplay);
    base_set_log_handler(nullptr, nullptr);
    return bnum_allocs();
}

std::string ObsHost_TakeLog()
{
    const std::lock_guard lock(s_mtxLog);
    return std::exchange(s_strLog, {});
}

CObsKeyed::CObsKeyed(OBS_PICTURE _picture, obs_data_t* _pSettings)
    : m_picture(std::move(_picture))
    , m_pSource(obs_source_create_private("test_picture", "picture", nullptr))
    , m_pFilter(obs_source_create_private("zchromakey", "key", _pSettings))
{
    static_cast<PICTURE_SOURCE*>(obs_obj_get_data(m_pSource))->pPicture = &m_picture;
    obs_source_filter_add(m_pSource, m_pFilter);
}

CObsKeyed::~CObsKeyed()
{
    obs_source_filter_remove(m_pSource, m_pFilter);
    obs_source_release(m_pFilter);
    obs_source_release(m_pSource);
}

void CObsKeyed::Show(OBS_PICTURE _picture)
{
    obs_enter_graphics();
    m_picture = std::move(_picture);
    obs_leave_graphics();
}

OBS_PICTURE CObsKeyed::Drawn(int _nFrames)
{
    OBS_PICTURE picture;
    obs_enter_graphics();
    for (int n = 1; n <= _nFrames; ++n)
        DrawOnce(m_pSource, n == _nFrames ? &picture : nullptr);
    obs_leave_graphics();
    return picture;
}

void CObsKeyed::Click(const char* _pszButton)
{
    obs_properties_t* const pPanel = obs_source_properties(m_pFilter);
    obs_property_button_clicked(obs_properties_get(pPanel, _pszButton), m_pFilter);
    obs_properties_destroy(pPanel);
}

std::string CObsKeyed::Setting(const char* _pszName) const
{
    obs_data_t* const pSettings = obs_source_get_settings(m_pFilter);
    std::string str = obs_data_get_string(pSettings, _pszName);
    obs_data_release(pSettings);
    return str;
}
