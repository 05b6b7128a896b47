#include "gstreamer/ElementKeyer.h"

#include "gstreamer/GstFormats.h"
#include "gstreamer/GstParams.h"

#include <algorithm>
#include <bit>
#include <string_view>
#include <utility>

namespace
{

constexpr size_t c_nMaxPosted = 16; // in a run, should texts differ from frame to frame

// A search costs as much as keying some frames: where there is nothing, it is tried ever less often.
bool IsSearched(unsigned _nFrame)
{
    return _nFrame < 64 ? std::has_single_bit(_nFrame + 1) : _nFrame % 64 == 0;
}

} // namespace

CElementKeyer::CElementKeyer(GstElement* _pElement)
    : m_pElement(_pElement)
    , m_vecParams(GstParams_All().size())
{
}

CElementKeyer::~CElementKeyer()
{
    gst_clear_buffer(&m_pLast);
}

/// Runs a body under the lock, and posts what went wrong after the lock is released: who gets a message may call back.
template <class Body> bool CElementKeyer::Locked(const Body& _fnBody)
{
    bool bDone = false;
    std::vector<std::string> vecProblems;
    {
        const std::lock_guard lock(m_mtx);
        bDone = _fnBody();
        vecProblems.swap(m_vecProblems);
    }
    for (const std::string& strProblem : vecProblems)
        GST_ELEMENT_WARNING(m_pElement, RESOURCE, SETTINGS, ("%s", strProblem.c_str()), (nullptr));
    return bDone;
}

void CElementKeyer::Problem(const std::string& _strText)
{
    if (m_vecPosted.size() == c_nMaxPosted || std::ranges::find(m_vecPosted, _strText) != m_vecPosted.end())
        return;
    m_vecPosted.push_back(_strText);
    m_vecProblems.push_back(_strText);
}

bool CElementKeyer::Good(int _nResult)
{
    if (_nResult < 0)
        Problem(m_pApi->zck_last_error(m_spKeyer.get()));
    return _nResult >= 0;
}

GST_SETTINGS CElementKeyer::Settings()
{
    const std::lock_guard lock(m_mtx);
    return m_settings;
}

void CElementKeyer::SettingsChange(const std::function<void(GST_SETTINGS&)>& _fnChange)
{
    Locked([&] {
        const GST_SETTINGS before = m_settings;
        _fnChange(m_settings);
        if (m_spKeyer)
            Apply(before);
        return true;
    });
}

std::string CElementKeyer::Document()
{
    const std::lock_guard lock(m_mtx);
    size_t nNeeded = 0;
    if (!m_spKeyer || m_pApi->zck_save(m_spKeyer.get(), nullptr, 0, &nNeeded) != ZCK_OK)
        return m_settings.strDocument;
    std::vector<char> vecText(nNeeded + 1);
    m_pApi->zck_save(m_spKeyer.get(), vecText.data(), vecText.size(), nullptr);
    return vecText.data();
}

bool CElementKeyer::HasParam(size_t _nParam) const
{
    return m_spKeyer && GstParams_All()[_nParam].nGeneration == m_nGeneration;
}

void CElementKeyer::ParamSet(size_t _nParam, double _dblValue)
{
    Locked([&] {
        m_vecParams[_nParam] = _dblValue;
        ApplyParam(_nParam);
        return true;
    });
}

double CElementKeyer::ParamGet(size_t _nParam)
{
    const std::lock_guard lock(m_mtx);
    const zck_param& info = GstParams_All()[_nParam].info;
    double dblValue = m_vecParams[_nParam].value_or(info.initial);
    if (HasParam(_nParam))
        m_pApi->zck_param_get(m_spKeyer.get(), info.name, &dblValue);
    return dblValue;
}

void CElementKeyer::ApplyParam(size_t _nParam)
{
    if (HasParam(_nParam) && m_vecParams[_nParam])
        Good(m_pApi->zck_param_set(m_spKeyer.get(), GstParams_All()[_nParam].info.name, *m_vecParams[_nParam]));
}

void CElementKeyer::Start()
{
    Locked([&] {
        m_vecPosted.clear();
        if (!m_spKeyer || m_nGeneration != m_settings.nGeneration)
            Open();
        return true;
    });
    StreamStart();
}

void CElementKeyer::Open()
{
    std::string strWhy;
    m_pApi = ShellModule_Get(strWhy);
    if (!m_pApi)
        return Problem(strWhy);
    m_spKeyer.reset(); // what follows says why there is none
    zck_keyer* pKeyer = nullptr;
    if (!Good(m_pApi->zck_open(m_settings.nGeneration, &pKeyer)))
        return;
    m_spKeyer = KEYER(pKeyer, m_pApi->zck_close);
    m_nGeneration = m_settings.nGeneration;
    m_bSearch = m_settings.bAuto;
    m_nSearched = 0;
    Apply({});
    for (size_t nParam = 0; nParam < m_vecParams.size(); ++nParam)
        ApplyParam(nParam);
}

/// Hands the keyer what differs from what the settings were before.
void CElementKeyer::Apply(const GST_SETTINGS& _before)
{
    if (m_settings.nThreads != _before.nThreads)
    {
        const std::string strThreads = m_settings.nThreads ? std::to_string(m_settings.nThreads) : "";
        Good(m_pApi->zck_option_set(m_spKeyer.get(), "process.threads", strThreads.c_str()));
    }
    if (m_settings.bPremultiplied != _before.bPremultiplied)
        Good(m_pApi->zck_option_set(m_spKeyer.get(), "output.premultiplied",
                                    m_settings.bPremultiplied ? "true" : "false"));
    if (m_settings.bAuto != _before.bAuto)
        m_bSearch = m_settings.bAuto;
    ApplyKeys(_before);
}

/// Whatever says which backdrop is meant ends the search, also where it cannot be used: another key than that which was
/// asked for would be worse than none.
void CElementKeyer::ApplyKeys(const GST_SETTINGS& _before)
{
    const bool bFile = m_settings.strKeys != _before.strKeys && !m_settings.strKeys.empty();
    const bool bDocument = m_settings.strDocument != _before.strDocument && !m_settings.strDocument.empty();
    const bool bColor = m_settings.nColor != _before.nColor && m_settings.nColor != 0;
    if (bFile)
        LoadFile();
    if (bDocument)
        Good(m_pApi->zck_load(m_spKeyer.get(), m_settings.strDocument.c_str()));
    if (bColor)
        Good(m_pApi->zck_key_color(m_spKeyer.get(), m_settings.nColor, ZCK_USE_ONLY));
    if (bFile || bDocument || bColor)
        m_bSearch = m_bFound = false;
}

void CElementKeyer::LoadFile()
{
    gchar* pszText = nullptr;
    GError* pError = nullptr;
    if (g_file_get_contents(m_settings.strKeys.c_str(), &pszText, nullptr, &pError))
        Good(m_pApi->zck_load(m_spKeyer.get(), pszText));
    else
        Problem(std::string("no keys: ").append(pError->message));
    g_clear_error(&pError);
    g_free(pszText);
}

GstBuffer* CElementKeyer::Keep(GstBuffer* _pBufferOrNull)
{
    return std::exchange(m_pLast, _pBufferOrNull ? gst_buffer_ref(_pBufferOrNull) : nullptr);
}

void CElementKeyer::Stop()
{
    GstBuffer* pOld = nullptr;
    Locked([&] {
        pOld = Keep(nullptr);
        return true;
    });
    gst_clear_buffer(&pOld);
}

void CElementKeyer::Flush()
{
    Locked([&] { return m_spKeyer && Good(m_pApi->zck_flush(m_spKeyer.get())); });
}

void CElementKeyer::StreamStart()
{
    Locked([&] {
        m_bSearch |= m_bFound;
        m_nSearched = 0;
        return m_spKeyer && Good(m_pApi->zck_flush(m_spKeyer.get()));
    });
}

void CElementKeyer::SearchIn(const zck_frame& _frame)
{
    if (!m_bSearch || !IsSearched(m_nSearched++))
        return;
    const int nResult = m_pApi->zck_key_auto(m_spKeyer.get(), &_frame);
    m_bSearch = nResult != ZCK_OK;
    m_bFound |= nResult == ZCK_OK;
    if (nResult != ZCK_OK)
        Problem(m_pApi->zck_last_error(m_spKeyer.get()));
}

bool CElementKeyer::Process(const GstVideoFrame& _in, const GstVideoFrame& _out)
{
    const zck_frame in = GstFormats_Frame(_in);
    const zck_frame out = GstFormats_Frame(_out);
    KEYER spKeyer;
    GstBuffer* pOld = nullptr;
    Locked([&] {
        spKeyer = m_spKeyer;
        m_infoLast = _in.info;
        pOld = Keep(_in.buffer == _out.buffer ? nullptr : _in.buffer); // the result is the next element's to write to
        if (spKeyer && GST_BUFFER_IS_DISCONT(_in.buffer))
            Good(m_pApi->zck_flush(spKeyer.get()));
        if (spKeyer)
            SearchIn(in);
        return true;
    });
    gst_clear_buffer(&pOld);
    if (!spKeyer)
        return false;
    const int nResult = m_pApi->zck_process(spKeyer.get(), &in, &out, nullptr);
    return nResult >= 0 || Locked([&] { return Good(nResult); });
}

bool CElementKeyer::Pick(int _x, int _y, int _use)
{
    return Locked([&] {
        GstVideoFrame frame = {};
        if (!m_spKeyer || !m_pLast || !gst_video_frame_map(&frame, &m_infoLast, m_pLast, GST_MAP_READ))
            return false;
        const zck_frame picture = GstFormats_Frame(frame);
        const bool bDone = m_pApi->zck_key_point(m_spKeyer.get(), &picture, _x, _y, _use) == ZCK_OK;
        gst_video_frame_unmap(&frame);
        if (bDone && _use != ZCK_USE_PROTECT)
            m_bSearch = m_bFound = false;
        return bDone;
    });
}

bool CElementKeyer::Step(int _nSteps)
{
    return Locked([&] { return m_spKeyer && m_pApi->zck_step(m_spKeyer.get(), _nSteps, nullptr) == ZCK_OK; });
}

bool CElementKeyer::Reset()
{
    return Locked([&] {
        m_bSearch = m_bFound = false;
        return m_spKeyer && m_pApi->zck_reset(m_spKeyer.get()) == ZCK_OK;
    });
}

void CElementKeyer::Search()
{
    Locked([&] {
        m_bSearch = true;
        m_nSearched = 0;
        return true;
    });
}
