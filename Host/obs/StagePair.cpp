#include "obs/StagePair.h"

#include <graphics/vec4.h>

CStagePair::~CStagePair()
{
    obs_enter_graphics();
    Free();
    gs_texrender_destroy(m_pRender);
    obs_leave_graphics();
}

bool CStagePair::Exchange(uint32_t _nWidth, uint32_t _nHeight, const std::function<void()>& _draw,
                          const std::function<void(const PICTURES&)>& _key)
{
    if (!Resize(_nWidth, _nHeight) || !Stage(_draw))
        return false;
    if (m_bStaged)
        m_bKeyed = Read(_key) || m_bKeyed;
    m_bStaged = true;
    m_nNext = 1 - m_nNext;
    return m_bKeyed;
}

void CStagePair::Draw() const
{
    gs_effect_t* const pEffect = obs_get_base_effect(OBS_EFFECT_DEFAULT);
    gs_effect_set_texture(gs_effect_get_param_by_name(pEffect, "image"), m_pKeyed);
    gs_blend_state_push();
    // Straight alpha in, premultiplied out, which is what scenes are made of.
    gs_blend_function_separate(GS_BLEND_SRCALPHA, GS_BLEND_INVSRCALPHA, GS_BLEND_ONE, GS_BLEND_INVSRCALPHA);
    while (gs_effect_loop(pEffect, "Draw"))
        gs_draw_sprite(m_pKeyed, 0, m_nWidth, m_nHeight);
    gs_blend_state_pop();
}

bool CStagePair::Resize(uint32_t _nWidth, uint32_t _nHeight)
{
    if (_nWidth == m_nWidth && _nHeight == m_nHeight)
        return true;
    Free();
    for (gs_stagesurf_t*& pStage : m_apStages)
        pStage = gs_stagesurface_create(_nWidth, _nHeight, GS_BGRA);
    m_pKeyed = gs_texture_create(_nWidth, _nHeight, GS_BGRA, 1, nullptr, GS_DYNAMIC);
    if (!m_apStages[0] || !m_apStages[1] || !m_pKeyed)
    {
        Free();
        return false;
    }
    m_nWidth = _nWidth;
    m_nHeight = _nHeight;
    return true;
}

bool CStagePair::Stage(const std::function<void()>& _draw)
{
    if (!m_pRender)
        m_pRender = gs_texrender_create(GS_BGRA, GS_ZS_NONE);
    gs_texrender_reset(m_pRender);
    if (!gs_texrender_begin(m_pRender, m_nWidth, m_nHeight))
        return false;
    vec4 zero;
    vec4_zero(&zero);
    gs_clear(GS_CLEAR_COLOR, &zero, 0, 0);
    gs_ortho(0, static_cast<float>(m_nWidth), 0, static_cast<float>(m_nHeight), -100, 100);
    gs_blend_state_push();
    gs_blend_function(GS_BLEND_ONE, GS_BLEND_ZERO);
    _draw();
    gs_blend_state_pop();
    gs_texrender_end(m_pRender);
    gs_stage_texture(m_apStages[m_nNext], gs_texrender_get_texture(m_pRender));
    return true;
}

bool CStagePair::Read(const std::function<void(const PICTURES&)>& _key)
{
    gs_stagesurf_t* const pStage = m_apStages[1 - m_nNext];
    uint8_t* pIn = nullptr;
    PICTURES pictures = {};
    if (!gs_stagesurface_map(pStage, &pIn, &pictures.nInRowBytes))
        return false;
    const bool bMapped = gs_texture_map(m_pKeyed, &pictures.pOut, &pictures.nOutRowBytes);
    if (bMapped)
    {
        pictures.pIn = pIn;
        pictures.nWidth = m_nWidth;
        pictures.nHeight = m_nHeight;
        _key(pictures);
        gs_texture_unmap(m_pKeyed);
    }
    gs_stagesurface_unmap(pStage);
    return bMapped;
}

void CStagePair::Free()
{
    for (gs_stagesurf_t*& pStage : m_apStages)
    {
        gs_stagesurface_destroy(pStage);
        pStage = nullptr;
    }
    gs_texture_destroy(m_pKeyed);
    m_pKeyed = nullptr;
    m_nWidth = m_nHeight = 0;
    m_bStaged = m_bKeyed = false;
}
