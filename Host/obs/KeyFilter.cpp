#include "obs/KeyFilter.h"

#include "Shell/ShellKeyer.h"
#include "obs/Settings.h"

#include <util/bmem.h>
#include <util/platform.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{
constexpr int c_nFindEvery = 30; // pictures

zck_frame FrameOf(const void* _pPixels, uint32_t _nRowBytes, const CStagePair::PICTURES& _pictures)
{
    zck_frame frame = {};
    frame.size = sizeof(frame);
    frame.format = ZCK_FORMAT_ARGB32;
    frame.width = static_cast<int32_t>(_pictures.nWidth);
    frame.height = static_cast<int32_t>(_pictures.nHeight);
    frame.planes[0] = const_cast<void*>(_pPixels); // the record is for results, too
    frame.row_bytes[0] = static_cast<int32_t>(_nRowBytes);
    return frame;
}

void Copy(const CStagePair::PICTURES& _pictures)
{
    for (uint32_t y = 0; y < _pictures.nHeight; ++y)
        std::memcpy(_pictures.pOut + size_t{y} * _pictures.nOutRowBytes,
                    _pictures.pIn + size_t{y} * _pictures.nInRowBytes, size_t{4} * _pictures.nWidth);
}

int PixelAt(double _dblPerCent, int32_t _nPixels)
{
    return std::clamp(static_cast<int>(_dblPerCent / 100 * _nPixels), 0, _nPixels - 1);
}

} // namespace

CKeyFilter::CKeyFilter(obs_source_t* _pFilter, obs_data_t* _pSettings)
    : m_pFilter(_pFilter)
{
    std::string strWhy;
    m_pApi = ShellModule_Get(strWhy);
    if (m_pApi && m_pApi->zck_open(ZCK_GENERATION_DEFAULT, &m_pKeyer) != ZCK_OK)
        strWhy = m_pApi->zck_last_error(nullptr);
    if (!m_pApi || !m_pKeyer)
    {
        blog(LOG_ERROR, "[zchromakey] pictures pass unkeyed: %s", strWhy.c_str());
        return;
    }
    LoadDocument(obs_data_get_string(_pSettings, c_szSetDocument), "the scene collection");
    m_strFile = obs_data_get_string(_pSettings, c_szSetFile); // its keys are in the document
    m_strFrom = obs_data_get_string(_pSettings, c_szSetFrom);
    m_bFind = m_strFrom == c_szFromAuto;
    Update(_pSettings);
}

CKeyFilter::~CKeyFilter()
{
    if (m_pApi)
        m_pApi->zck_close(m_pKeyer);
}

void CKeyFilter::Update(obs_data_t* _pSettings)
{
    if (!m_pKeyer)
        return;
    const std::lock_guard lock(m_mtxUpdate);
    m_dblX = obs_data_get_double(_pSettings, c_szSetX);
    m_dblY = obs_data_get_double(_pSettings, c_szSetY);
    const std::string strFile = obs_data_get_string(_pSettings, c_szSetFile);
    if (strFile != m_strFile)
        LoadFile(strFile, _pSettings);
    const std::string strFrom = obs_data_get_string(_pSettings, c_szSetFrom);
    if (strFrom == c_szFromAuto && strFrom != m_strFrom)
        m_bFind = true;
    m_strFrom = strFrom;
    if (strFrom == c_szFromColor)
    {
        const auto nColor = static_cast<uint32_t>(obs_data_get_int(_pSettings, c_szSetColor));
        const uint32_t nRGB = (nColor & 0xFF) << 16 | (nColor & 0xFF00) | (nColor >> 16 & 0xFF);
        if (m_pApi->zck_key_color(m_pKeyer, nRGB, ZCK_USE_ONLY) < 0)
            blog(LOG_WARNING, "[zchromakey] %s", m_pApi->zck_last_error(m_pKeyer));
    }
    ParamsToKeyer(_pSettings);
}

void CKeyFilter::Ask(eObsAsk _eAsk)
{
    m_eAsk = _eAsk;
}

void CKeyFilter::LoadDocument(const char* _pszDocument, const char* _pszFrom)
{
    if (!*_pszDocument || m_pApi->zck_load(m_pKeyer, _pszDocument) == ZCK_OK)
        return;
    blog(LOG_WARNING, "[zchromakey] keys from %s: %s", _pszFrom, m_pApi->zck_last_error(m_pKeyer));
}

void CKeyFilter::LoadFile(const std::string& _strFile, obs_data_t* _pSettings)
{
    m_strFile = _strFile;
    if (_strFile.empty())
        return;
    char* const pszText = os_quick_read_utf8_file(_strFile.c_str());
    if (!pszText)
        return blog(LOG_WARNING, "[zchromakey] %s cannot be read; the keys stay as they are", _strFile.c_str());
    LoadDocument(pszText, _strFile.c_str());
    bfree(pszText);
    obs_data_set_string(_pSettings, c_szSetFrom, c_szFromPicks);
    KeysToSettings(_pSettings);
}

void CKeyFilter::ParamsToKeyer(obs_data_t* _pSettings)
{
    for (const zck_param& param : ShellParams_Get())
    {
        const std::string strName = Settings_Param(param.name);
        const double dbl = param.whole ? static_cast<double>(obs_data_get_int(_pSettings, strName.c_str()))
                                       : obs_data_get_double(_pSettings, strName.c_str());
        if (m_pApi->zck_param_set(m_pKeyer, param.name, dbl) < 0)
            blog(LOG_WARNING, "[zchromakey] %s", m_pApi->zck_last_error(m_pKeyer));
    }
}

// So that the scene collection keeps what was picked, and the panel shows what a document or an undo has set.
void CKeyFilter::KeysToSettings(obs_data_t* _pSettings)
{
    size_t nBytes = 0;
    m_pApi->zck_save(m_pKeyer, nullptr, 0, &nBytes);
    std::string strDocument(nBytes, '\0');
    if (m_pApi->zck_save(m_pKeyer, strDocument.data(), strDocument.size(), nullptr) == ZCK_OK)
        obs_data_set_string(_pSettings, c_szSetDocument, strDocument.c_str());
    for (const zck_param& param : ShellParams_Get())
    {
        const std::string strName = Settings_Param(param.name);
        double dbl = 0;
        if (m_pApi->zck_param_get(m_pKeyer, param.name, &dbl) != ZCK_OK)
            continue;
        if (param.whole)
            obs_data_set_int(_pSettings, strName.c_str(), std::llround(dbl));
        else
            obs_data_set_double(_pSettings, strName.c_str(), dbl);
    }
}

int CKeyFilter::AnswerOne(const zck_frame& _frame, eObsAsk _eAsk)
{
    const int nX = PixelAt(m_dblX, _frame.width), nY = PixelAt(m_dblY, _frame.height);
    switch (_eAsk)
    {
    case eOA_Find:
        return m_pApi->zck_key_auto(m_pKeyer, &_frame);
    case eOA_Key:
        return m_pApi->zck_key_point(m_pKeyer, &_frame, nX, nY, ZCK_USE_KEY);
    case eOA_Protect:
        return m_pApi->zck_key_point(m_pKeyer, &_frame, nX, nY, ZCK_USE_PROTECT);
    case eOA_Reset:
        return m_pApi->zck_reset(m_pKeyer);
    default:
        return m_pApi->zck_step(m_pKeyer, _eAsk == eOA_Undo ? -1 : 1, nullptr);
    }
}

void CKeyFilter::Answer(const zck_frame& _frame)
{
    const eObsAsk eAsk = m_eAsk.exchange(eOA_Nothing);
    if (eAsk == eOA_Nothing)
        return;
    if (AnswerOne(_frame, eAsk) != ZCK_OK)
        blog(LOG_WARNING, "[zchromakey] %s", m_pApi->zck_last_error(m_pKeyer));
    m_bFind = false;
    obs_data_t* const pSettings = obs_source_get_settings(m_pFilter);
    {
        const std::lock_guard lock(m_mtxUpdate);
        m_strFrom = c_szFromPicks; // or the next update would set the colour again
        obs_data_set_string(pSettings, c_szSetFrom, c_szFromPicks);
        KeysToSettings(pSettings);
    }
    obs_data_release(pSettings);
    obs_source_update_properties(m_pFilter);
}

// The backdrop may come into the picture later: cameras start black.
void CKeyFilter::FindFirst(const zck_frame& _frame)
{
    if (!m_bFind || --m_nUntilFind > 0)
        return;
    m_nUntilFind = c_nFindEvery;
    if (m_pApi->zck_key_auto(m_pKeyer, &_frame) != ZCK_OK)
        return Say(LOG_INFO, m_pApi->zck_last_error(m_pKeyer));
    m_bFind = false;
    m_nUntilFind = 0;
}

void CKeyFilter::Key(const CStagePair::PICTURES& _pictures)
{
    const zck_frame in = FrameOf(_pictures.pIn, _pictures.nInRowBytes, _pictures);
    const zck_frame out = FrameOf(_pictures.pOut, _pictures.nOutRowBytes, _pictures);
    Answer(in);
    FindFirst(in);
    if (m_pApi->zck_process(m_pKeyer, &in, &out, nullptr) >= 0)
        return;
    Say(LOG_ERROR, m_pApi->zck_last_error(m_pKeyer));
    Copy(_pictures);
}

void CKeyFilter::Render()
{
    obs_source_t* const pTarget = obs_filter_get_target(m_pFilter);
    obs_source_t* const pParent = obs_filter_get_parent(m_pFilter);
    const uint32_t nWidth = pTarget ? obs_source_get_base_width(pTarget) : 0;
    const uint32_t nHeight = pTarget ? obs_source_get_base_height(pTarget) : 0;
    if (!m_pKeyer || !pParent || nWidth == 0 || nHeight == 0)
        return obs_source_skip_video_filter(m_pFilter);
    const uint32_t nFlags = obs_source_get_output_flags(pTarget);
    const bool bPlain = pTarget == pParent && (nFlags & (OBS_SOURCE_CUSTOM_DRAW | OBS_SOURCE_ASYNC)) == 0;
    const auto Draw = [&] { bPlain ? obs_source_default_render(pTarget) : obs_source_video_render(pTarget); };
    if (m_stages.Exchange(nWidth, nHeight, Draw, [&](const CStagePair::PICTURES& _pictures) { Key(_pictures); }))
        m_stages.Draw();
}

void CKeyFilter::Say(int _nLevel, const char* _pszText)
{
    if (m_strSaid == _pszText)
        return;
    m_strSaid = _pszText;
    blog(_nLevel, "[zchromakey] %s", _pszText);
}
