#include "zkhost/Ui/Guard.h"

#include "zkhost/Ui/Token.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr const char* c_pszNoToken = "open the address that zkhost printed: it has the token without which nothing is "
                                     "answered";
constexpr const char* c_pszNoTokenPage = "<!doctype html><meta charset=\"utf-8\"><title>ZChromaKey</title>"
                                         "<p>This page needs its whole address, with the token. Open the address that "
                                         "<code>zkhost ui</code> printed.</p>";

std::string NameAndPort(const std::string& _strAddress, int _nPort)
{
    const bool bBrackets = _strAddress.find(':') != std::string::npos;
    return ZFormat(bBrackets ? "[%s]:%d" : "%s:%d", _strAddress, _nPort);
}

} // namespace

CZGuard::CZGuard(std::string _strToken, const std::string& _strAddress, int _nPort)
    : m_strToken(std::move(_strToken))
    , m_strCookie(ZFormat("zk_%d", _nPort))
{
    for (const std::string& strName :
         {_strAddress, std::string("127.0.0.1"), std::string("localhost"), std::string("::1")})
        m_vecNames.push_back(NameAndPort(strName, _nPort));
}

std::string CZGuard::Url() const
{
    return ZFormat("http://%s/?token=%s", m_vecNames.front(), m_strToken);
}

bool CZGuard::IsOwnName(const std::string& _strHost) const
{
    return std::ranges::find(m_vecNames, _strHost) != m_vecNames.end();
}

bool CZGuard::HasCookie(const HTTP_REQUEST& _request) const
{
    const std::string* const pCookies = _request.Header("cookie");
    std::string_view svRest = pCookies ? std::string_view(*pCookies) : std::string_view();
    while (!svRest.empty())
    {
        const size_t nEnd = std::min(svRest.find(';'), svRest.size());
        std::string_view svCookie = svRest.substr(0, nEnd);
        svRest.remove_prefix(std::min(nEnd + 1, svRest.size()));
        svCookie.remove_prefix(std::min(svCookie.find_first_not_of(' '), svCookie.size()));
        if (svCookie.starts_with(m_strCookie) && svCookie.substr(m_strCookie.size()).starts_with('=') &&
            Token_IsSame(svCookie.substr(m_strCookie.size() + 1), m_strToken))
            return true;
    }
    return false;
}

HTTP_ANSWER CZGuard::Login() const
{
    return {303,
            "text/html; charset=utf-8",
            {{"Location", "/"},
             {"Set-Cookie", ZFormat("%s=%s; HttpOnly; SameSite=Strict; Path=/", m_strCookie, m_strToken)}},
            {}};
}

std::optional<HTTP_ANSWER> CZGuard::Check(const HTTP_REQUEST& _request) const
{
    const std::string* const pHost = _request.Header("host");
    const std::string* const pOrigin = _request.Header("origin");
    if (!pHost || !IsOwnName(*pHost))
        return HttpAnswer_Error(403, "the request is for another host; open the address that zkhost printed");
    if (pOrigin && *pOrigin != ZFormat("http://%s", *pHost))
        return HttpAnswer_Error(403, "the request comes from a page of another site");
    const std::string* const pToken = _request.Query("token");
    const bool bToken = pToken && Token_IsSame(*pToken, m_strToken);
    if (bToken && _request.strPath == "/" && _request.strMethod == "GET")
        return Login();
    if (bToken || HasCookie(_request))
        return std::nullopt;
    if (_request.strPath == "/")
        return HTTP_ANSWER{403, "text/html; charset=utf-8", {}, c_pszNoTokenPage};
    return HttpAnswer_Error(403, c_pszNoToken);
}
