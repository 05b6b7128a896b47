#include "zkhost/Ui/UiServer.h"

#include "zkhost/Ui/Token.h"

#include <utility>

// Nothing is answered before the first Run, so the guard may be made once the port is known.
CZUiServer::CZUiServer(UI_OPTIONS _options, const std::string& _strAddress, int _nPort)
    : m_session(std::move(_options))
    , m_api(m_session)
    , m_server(_strAddress, _nPort,
               {[this](const HTTP_REQUEST& _request, size_t& _cbMaxBody) {
                    auto refusal = m_guard.Check(_request);
                    return refusal ? refusal : CZApi::Check(_request, _cbMaxBody);
                },
                [this](HTTP_REQUEST& _request) { return m_api.Answer(_request); }})
    , m_guard(Token_Make(), _strAddress, m_server.Port())
{
}

CZUiServer::~CZUiServer()
{
    m_session.Stop();
    m_server.End();
}
