#pragma once

#include "zkhost/Ui/Api.h"
#include "zkhost/Ui/Guard.h"
#include "zkhost/Ui/HttpServer.h"

#include <memory>
#include <string>

/// The page to key in: a session, who may ask it, and the server that answers.
class CZUiServer
{
public:
    /// Opens the input and listens. Port 0: any that is free. Throws CZHostError.
    CZUiServer(UI_OPTIONS _options, const std::string& _strAddress, int _nPort);
    /// Requests that are held come back; jobs are cancelled.
    ~CZUiServer();
    CZUiServer(const CZUiServer&) = delete;
    CZUiServer& operator=(const CZUiServer&) = delete;

    /// The address to open, which holds the token.
    std::string Url() const
    {
        return m_guard.Url();
    }
    int Port() const
    {
        return m_server.Port();
    }
    size_t Connections()
    {
        return m_server.Connections();
    }
    /// Takes connections for about _nMs milliseconds; by one thread.
    void Run(int _nMs)
    {
        m_server.Run(_nMs);
    }
    /// Whether a page has asked the program to end.
    bool IsQuit() const
    {
        return m_api.IsQuit();
    }

private:
    CZSession m_session;
    CZApi m_api;
    CZHttpServer m_server; // ends before what its threads use
    CZGuard m_guard;
};
