#include "ZChromaKey/Licence/LicenceHold.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Licence/NoticeFrame.h"

CLicenceHold::CLicenceHold(const char* _pszClass, const char* _pszFeature, const char* _pszKey, const char* _pszProduct)
    : m_pszClass(_pszClass)
    , m_ask({_pszKey, _pszProduct, _pszFeature, LicenceJudge_Machine(LicencePlaces_Machine()), ""})
    , m_notice(_pszProduct)
{
    Look();
    m_bValidLast = m_bValid;
}

/// A licence as it is today.
LICENCE_ANSWER CLicenceHold::Judge(const LICENCE_FOUND& _found) const
{
    LICENCE_ASK ask = m_ask;
    ask.strToday = LicenceJudge_Today();
    LICENCE_ANSWER answer = _found.strReason.empty() ? LicenceJudge_Document(_found.strDocument, ask)
                                                     : LicenceJudge_Broken(_found.strReason);
    if (answer.eState != eLicence_Valid)
        answer.strLong = ZFormat("the licence of %hs does not count: %hs", _found.strWhere, answer.strLong);
    return answer;
}

/// The first valid licence of all places; where none is, what is wrong with the first one.
LICENCE_ANSWER CLicenceHold::Find() const
{
    LICENCE_ANSWER answer;
    for (const LICENCE_FOUND& found : LicencePlaces_Read())
    {
        LICENCE_ANSWER next = Judge(found);
        if (next.eState == eLicence_Valid)
            return next;
        if (answer.eState == eLicence_Missing)
            answer = std::move(next);
    }
    if (answer.eState == eLicence_Missing)
        answer = {eLicence_Missing, "no licence is installed",
                  ZFormat("no licence is installed; ask the issuer for one, and install it with \"zkhost licence "
                          "--install FILE\", which puts it into %hs",
                          LicencePlaces_UserFile())};
    return answer;
}

void CLicenceHold::Look()
{
    LICENCE_ANSWER answer = Find();
    const std::lock_guard lock(m_mtxAnswer);
    const bool bValid = answer.eState == eLicence_Valid;
    if (!m_bClosed.exchange(false) && m_bValid && !bValid)
        return;
    m_answer = std::move(answer);
    m_bValid = bValid;
    m_bSaid = false;
}

HRESULT CLicenceHold::Check(const std::string& _strValue)
{
    if (_strValue == "true")
    {
        Look();
        Say();
        return S_OK;
    }
    const LICENCE_ANSWER answer = Judge(LicencePlaces_File(_strValue));
    if (answer.eState != eLicence_Valid)
        ZLog(eZLog_Error, "%hs: %hs\n", m_pszClass, answer.strLong);
    return answer.eState == eLicence_Valid ? S_OK : E_INVALIDARG;
}

void CLicenceHold::Say()
{
    m_bSaid = true;
    LICENCE_ANSWER answer;
    {
        const std::lock_guard lock(m_mtxAnswer);
        answer = m_answer;
    }
    if (answer.eState == eLicence_Valid)
        ZLog(eZLog_Info, "%hs: %hs\n", m_pszClass, answer.strShort);
    else
        ZLog(eZLog_Warning, "%hs: evaluation copy, with a notice on every result: %hs\n", m_pszClass, answer.strLong);
}

void CLicenceHold::Close()
{
    m_bClosed = true;
}

std::string CLicenceHold::Text()
{
    const std::lock_guard lock(m_mtxAnswer);
    return m_answer.eState == eLicence_Valid ? m_answer.strShort : ZFormat("evaluation copy: %hs", m_answer.strShort);
}

bool CLicenceHold::FrameBegin()
{
    if (m_bClosed)
        Look();
    if (!m_bSaid)
        Say();
    const bool bValid = m_bValid;
    return std::exchange(m_bValidLast, bValid) == bValid;
}

void CLicenceHold::FrameEnd(IZFFrame* _pFrame, IZFFrame** _ppFrameRes, std::vector<CZPtr<IZFFrame>>* _pvecGone)
{
    if (m_bValidLast)
        return;
    const HRESULT hr = NoticeFrame_Put(&m_notice, _pFrame, _ppFrameRes, _pvecGone);
    if (FAILED(hr) && !std::exchange(m_bRefusalSaid, true))
        ZLog(eZLog_Warning, "%hs: the notice cannot be drawn onto these frames, which stay without it, hr=%08X\n",
             m_pszClass, hr);
}
