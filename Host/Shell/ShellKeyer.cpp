#include "Shell/ShellKeyer.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace
{

std::vector<zck_param> Params()
{
    std::vector<zck_param> vecParams;
    std::string strWhy;
    const SHELL_API* const pApi = ShellModule_Get(strWhy);
    zck_param param = {};
    param.size = sizeof(param);
    while (pApi && pApi->zck_param_info(ZCK_GENERATION_2, static_cast<int>(vecParams.size()), &param) == ZCK_OK)
        vecParams.push_back(param);
    return vecParams;
}

// Pictures between two searches for the backdrop: a camera may start black.
constexpr int c_nBetweenSearches = 10;

bool IsDocument(const std::string& _strKeys)
{
    const size_t nFirst = _strKeys.find_first_not_of(" \t\r\n");
    return nFirst != std::string::npos && _strKeys[nFirst] == '<';
}

// "" where there is no such file.
std::string ReadFile(const std::string& _strPath)
{
    const std::filesystem::path path(std::u8string(_strPath.begin(), _strPath.end()));
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return {};
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

const std::vector<zck_param>& ShellParams_Get()
{
    static const std::vector<zck_param> s_vecParams = Params();
    return s_vecParams;
}

CShellKeyer::CShellKeyer(SAY _fnSay)
    : m_fnSay(std::move(_fnSay))
{
    for (const zck_param& param : ShellParams_Get())
        m_vecParams.push_back({param.initial, param.initial, false});
    std::string strWhy;
    m_pApi = ShellModule_Get(strWhy);
    if (!m_pApi)
        Say(strWhy, false);
    else if (m_pApi->zck_open(ZCK_GENERATION_2, &m_pKeyer) != ZCK_OK)
        SayLast();
}

CShellKeyer::~CShellKeyer()
{
    if (m_pKeyer)
        m_pApi->zck_close(m_pKeyer);
}

template <class T> void CShellKeyer::Take(T& _value, const T& _wanted)
{
    m_bKeysChanged |= _value != _wanted;
    _value = _wanted;
}

void CShellKeyer::KeysSet(std::string_view _svKeys)
{
    if (m_strKeys == _svKeys)
        return;
    m_strKeys = _svKeys;
    m_bKeysChanged = true;
}

const std::string& CShellKeyer::KeysGet() const
{
    return m_strKeys;
}

void CShellKeyer::ColorSet(uint32_t _nRgb)
{
    Take(m_nColor, _nRgb);
}

void CShellKeyer::ProtectSet(uint32_t _nRgb)
{
    Take(m_nProtect, _nRgb);
}

void CShellKeyer::AutoSet(bool _bAuto)
{
    Take(m_bAuto, _bAuto);
}

void CShellKeyer::StillsSet(bool _bStills)
{
    Take(m_bStills, _bStills);
}

bool CShellKeyer::StillsGet() const
{
    return m_bStills;
}

void CShellKeyer::ParamSet(size_t _nParam, double _dblValue)
{
    if (_nParam >= m_vecParams.size() || std::isnan(_dblValue))
        return;
    const zck_param& info = ShellParams_Get()[_nParam];
    const double dblValue = std::clamp(_dblValue, info.least, info.most);
    PARAM& param = m_vecParams[_nParam];
    const double dblWanted = info.whole ? std::round(dblValue) : dblValue;
    param.bChanged |= param.dblWanted != dblWanted;
    param.dblWanted = dblWanted;
}

double CShellKeyer::ParamGet(size_t _nParam) const
{
    return _nParam < m_vecParams.size() ? m_vecParams[_nParam].dblWanted : 0;
}

void CShellKeyer::TimeSet(double _dblTime, double _dblReach)
{
    const bool bFollows = m_bFirst || std::abs(_dblTime - m_dblTime) <= _dblReach;
    m_bFirst = false;
    m_dblTime = _dblTime;
    if (!bFollows && m_pKeyer)
        Good(m_pApi->zck_flush(m_pKeyer));
}

bool CShellKeyer::Process(const zck_frame& _in, const zck_frame& _out)
{
    try
    {
        return m_pKeyer && Apply() && Begin(_in) && Good(m_pApi->zck_process(m_pKeyer, &_in, &_out, nullptr));
    }
    catch (const std::exception& error) // out of memory, or a path that cannot be one
    {
        Say(error.what(), false);
        return false;
    }
}

bool CShellKeyer::Good(int _nResult)
{
    if (_nResult < 0)
        SayLast();
    return _nResult >= 0;
}

void CShellKeyer::Say(const std::string& _strLine, bool _bLogged)
{
    if (m_strSaid == _strLine)
        return;
    m_strSaid = _strLine;
    m_fnSay(_strLine, _bLogged);
}

void CShellKeyer::SayLast()
{
    Say(m_pApi->zck_last_error(m_pKeyer), true);
}

bool CShellKeyer::Apply()
{
    if (std::exchange(m_bKeysChanged, false))
        m_bUsable = ApplyKeys();
    return m_bUsable && ApplyParams();
}

bool CShellKeyer::ApplyKeys()
{
    m_bUsable = false; // should memory run out on the way
    m_bSearch = m_bAuto && !m_nColor;
    m_nUntilSearch = 0;
    if (!Good(m_pApi->zck_reset(m_pKeyer)) || !ApplyDocument())
        return false;
    if (m_nColor && !Good(m_pApi->zck_key_color(m_pKeyer, m_nColor, ZCK_USE_KEY)))
        return false;
    if (m_nProtect && !Good(m_pApi->zck_key_color(m_pKeyer, m_nProtect, ZCK_USE_PROTECT)))
        return false;
    for (size_t n = 0; n < m_vecParams.size(); ++n)
    {
        m_vecParams[n].bChanged = true;
        m_pApi->zck_param_get(m_pKeyer, ShellParams_Get()[n].name, &m_vecParams[n].dblLoaded);
    }
    return true;
}

bool CShellKeyer::ApplyDocument()
{
    if (m_strKeys.empty())
        return true;
    const std::string strDocument = IsDocument(m_strKeys) ? m_strKeys : ReadFile(m_strKeys);
    if (strDocument.empty())
    {
        Say("the key file \"" + m_strKeys + "\" is not there, or is empty; nothing is keyed", false);
        return false;
    }
    const int nResult = m_pApi->zck_load(m_pKeyer, strDocument.c_str());
    m_bSearch &= nResult == ZCK_NOTHING;
    return Good(nResult);
}

bool CShellKeyer::ApplyParams()
{
    bool bGood = true;
    for (size_t n = 0; n < m_vecParams.size(); ++n)
    {
        if (!std::exchange(m_vecParams[n].bChanged, false))
            continue;
        const zck_param& info = ShellParams_Get()[n];
        const PARAM& param = m_vecParams[n];
        const double dblValue = param.dblWanted == info.initial ? param.dblLoaded : param.dblWanted;
        bGood &= Good(m_pApi->zck_param_set(m_pKeyer, info.name, dblValue));
    }
    return bGood;
}

// What comes before a picture is keyed. No backdrop is no mistake: then nothing is keyed.
bool CShellKeyer::Begin(const zck_frame& _in)
{
    if (m_bStills && !Good(m_pApi->zck_flush(m_pKeyer)))
        return false;
    if (!m_bSearch || m_nUntilSearch-- > 0)
        return true;
    const bool bFound = m_pApi->zck_key_auto(m_pKeyer, &_in) == ZCK_OK;
    m_bSearch = !bFound || m_bStills;
    m_nUntilSearch = m_bStills ? 0 : c_nBetweenSearches;
    if (!bFound)
        SayLast();
    return true;
}
