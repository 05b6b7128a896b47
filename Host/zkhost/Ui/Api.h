#pragma once

#include "zkhost/Ui/HttpAnswer.h"
#include "zkhost/Ui/Session.h"

#include <cstddef>
#include <optional>

/// Answers requests that have been let in: files of the page, and what is asked of the session. Thread safe. What a
/// request cannot have is an answer too; CZHostError comes out where the session refuses it.
class CZApi
{
public:
    /// _session is borrowed.
    explicit CZApi(CZSession& _session)
        : m_session(_session)
    {
    }
    /// Whether there is anything for a request, and how large its body may be; an answer: no.
    static std::optional<HTTP_ANSWER> Check(const HTTP_REQUEST& _request, size_t& _cbMaxBody);
    HTTP_ANSWER Answer(const HTTP_REQUEST& _request);
    /// Whether a page has asked the program to end.
    bool IsQuit() const
    {
        return m_bQuit;
    }

private:
    struct ROUTE;
    static const ROUTE* Find(const HTTP_REQUEST& _request);

    HTTP_ANSWER State(const HTTP_REQUEST& _request);
    HTTP_ANSWER Frame(const HTTP_REQUEST& _request);
    HTTP_ANSWER Probe(const HTTP_REQUEST& _request);
    HTTP_ANSWER Document(const HTTP_REQUEST& _request);

    // What changes something; the answer is the new state.
    void Key(const HTTP_REQUEST& _request);
    void Param(const HTTP_REQUEST& _request);
    void Region(const HTTP_REQUEST& _request);
    void Steps(const HTTP_REQUEST& _request);
    void Slot(const HTTP_REQUEST& _request);
    void Keyer(const HTTP_REQUEST& _request);
    void Learn(const HTTP_REQUEST& _request);
    void Preset(const HTTP_REQUEST& _request);
    void Background(const HTTP_REQUEST& _request);
    void Load(const HTTP_REQUEST& _request);
    void Range(const HTTP_REQUEST& _request);
    void Render(const HTTP_REQUEST& _request);
    void Cancel(const HTTP_REQUEST& _request);
    void Quit(const HTTP_REQUEST& _request);

    CZSession& m_session;
    std::atomic<bool> m_bQuit{false};
};
