#pragma once

#include "zkhost/Ui/HttpAnswer.h"

#include <optional>
#include <string>
#include <vector>

/// Lets nobody in but the pages of whoever has the address that the program printed. Thread safe.
///
/// A page of another site in the same browser can send requests here, and a name of its own that leads to this machine
/// makes them look like its own; so the names in Host and Origin have to be this server's, besides the token.
class CZGuard
{
public:
    /// _strAddress: what the server listens at.
    CZGuard(std::string _strToken, const std::string& _strAddress, int _nPort);

    /// Why a request is refused, or how it gets its cookie; empty: it may go on.
    std::optional<HTTP_ANSWER> Check(const HTTP_REQUEST& _request) const;
    /// The address to open.
    std::string Url() const;

private:
    bool IsOwnName(const std::string& _strHost) const;
    bool HasCookie(const HTTP_REQUEST& _request) const;
    HTTP_ANSWER Login() const;

    std::string m_strToken;
    std::string m_strCookie; ///< its name: browsers send cookies to all ports of a machine
    std::vector<std::string> m_vecNames;
};
