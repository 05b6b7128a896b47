#pragma once

#include "Host/CommandRunner.h"
#include "zkhost/Ui/UiServer.h"

#include "Base/ZLog.h"

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

/// What came back.
struct UI_REPLY
{
    int nStatus = 0; ///< 0: the connection has ended
    std::string strHead;
    std::string strBody;

    bool Has(const std::string& _strPart) const
    {
        return strHead.find(_strPart) != std::string::npos || strBody.find(_strPart) != std::string::npos;
    }
    /// The number after a text, such as "\"at\":".
    int64_t NumberAfter(const std::string& _strText) const
    {
        const std::string strAll = strHead + strBody;
        const size_t nAt = strAll.find(_strText);
        return nAt == std::string::npos ? -1 : std::strtoll(strAll.c_str() + nAt + _strText.size(), nullptr, 10);
    }
};

/// A connection to a server of this machine, which stays open.
class CUiClient
{
public:
    explicit CUiClient(int _nPort)
        : m_socket(CZSocket::Connect("127.0.0.1", _nPort))
    {
    }
    bool Send(const std::string& _strBytes)
    {
        return m_socket.Write(_strBytes.data(), _strBytes.size(), c_nPatienceMs);
    }
    UI_REPLY Receive()
    {
        UI_REPLY reply;
        size_t nEnd = std::string::npos;
        while ((nEnd = m_strBytes.find("\r\n\r\n")) == std::string::npos)
            if (!More())
                return reply;
        reply.strHead = m_strBytes.substr(0, nEnd + 2);
        reply.nStatus = std::atoi(reply.strHead.c_str() + 9);
        const auto cbBody = static_cast<size_t>(reply.NumberAfter("Content-Length: "));
        while (m_strBytes.size() < nEnd + 4 + cbBody)
            if (!More())
                return {};
        reply.strBody = m_strBytes.substr(nEnd + 4, cbBody);
        m_strBytes.erase(0, nEnd + 4 + cbBody);
        return reply;
    }
    UI_REPLY Ask(const std::string& _strBytes)
    {
        return Send(_strBytes) ? Receive() : UI_REPLY();
    }

private:
    static constexpr int c_nPatienceMs = 60'000;

    bool More()
    {
        char szBytes[65536];
        const int64_t nRead = m_socket.Read(szBytes, sizeof(szBytes), c_nPatienceMs);
        m_strBytes.append(szBytes, static_cast<size_t>(nRead > 0 ? nRead : 0));
        return nRead > 0;
    }

    CZSocket m_socket;
    std::string m_strBytes;
};

/// A server on a thread of its own.
class CUiHost
{
public:
    explicit CUiHost(UI_OPTIONS _options)
        : m_server(std::move(_options), "127.0.0.1", 0)
        , m_strToken(m_server.Url().substr(m_server.Url().find("token=") + 6))
        , m_thread([this] {
            while (!m_bStop)
                m_server.Run(20);
        })
    {
    }
    ~CUiHost()
    {
        m_bStop = true;
        m_thread.join();
    }
    int Port() const
    {
        return m_server.Port();
    }
    size_t Connections()
    {
        return m_server.Connections();
    }
    std::string Name() const
    {
        return ZFormat("127.0.0.1:%d", Port());
    }
    std::string Cookie() const
    {
        return ZFormat("zk_%d=%s", Port(), m_strToken);
    }
    const std::string& Token() const
    {
        return m_strToken;
    }
    /// A request of whoever may ask.
    std::string Request(const std::string& _strMethod, const std::string& _strTarget,
                        const std::string& _strBody = {}) const
    {
        return ZFormat("%s %s HTTP/1.1\r\nHost: %s\r\nCookie: a=b; %s\r\nContent-Length: %d\r\n\r\n", _strMethod,
                       _strTarget, Name(), Cookie(), _strBody.size()) +
               _strBody;
    }
    UI_REPLY Get(const std::string& _strTarget) const
    {
        return CUiClient(Port()).Ask(Request("GET", _strTarget));
    }
    UI_REPLY Post(const std::string& _strTarget, const std::string& _strBody = {}) const
    {
        return CUiClient(Port()).Ask(Request("POST", _strTarget, _strBody));
    }

private:
    CZUiServer m_server;
    std::string m_strToken;
    std::atomic<bool> m_bStop{false};
    std::thread m_thread;
};
