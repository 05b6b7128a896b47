#pragma once

#include "zkhost/Ui/HttpAnswer.h"
#include "zkhost/Ui/Session.h"

/// Answers requests that have been let in: files of the page, and what is asked of the session. Thread safe.
class CZApi
{
public:
    /// _session is borrowed.
    explicit CZApi(CZSession& _session)
        : m_session(_session)
    {
    }
    HTTP_ANSWER Answer(HTTP_REQUEST& _request);

private:
    HTTP_ANSWER State(const HTTP_REQUEST& _request);
    HTTP_ANSWER Frame(const HTTP_REQUEST& _request);

    CZSession& m_session;
};
