#pragma once

#include "zkhost/Ui/HttpAnswer.h"
#include "zkhost/Ui/Socket.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

/// What is done with requests. Called by the threads of all connections at once; may throw.
struct HTTP_HANDLER
{
    /// Looks at a request before its body is read: an answer refuses it. It may set _cbMaxBody, which is 0 before.
    std::function<std::optional<HTTP_ANSWER>(const HTTP_REQUEST&, size_t& _cbMaxBody)> fnCheck;
    std::function<HTTP_ANSWER(HTTP_REQUEST&)> fnAnswer;
};

/// A small server of HTTP/1.1 for the few pages of one person: a thread for each connection, which stays open.
///
/// It is our own because a library that every system's compiler can use is not at hand everywhere, and because so few
/// of its parts are needed: two methods, bodies of announced length, no compression, no TLS. At most c_nMaxConnections
/// are open; one more takes the place of the one that has waited longest for a request, so that neither the
/// connections that browsers open ahead nor half a request can keep others out.
class CZHttpServer
{
public:
    static constexpr size_t c_nMaxConnections = 48;

    /// Listens from now on. Throws CZHostError.
    CZHttpServer(const std::string& _strAddress, int _nPort, HTTP_HANDLER _handler);
    ~CZHttpServer();
    CZHttpServer(const CZHttpServer&) = delete;
    CZHttpServer& operator=(const CZHttpServer&) = delete;

    int Port() const
    {
        return m_socket.Port();
    }
    /// Takes connections for about _nMs milliseconds; by one thread.
    void Run(int _nMs);
    size_t Connections();
    /// Ends all connections and waits for their threads; nothing runs any more.
    void End();

private:
    using CLOCK = std::chrono::steady_clock;

    /// A connection, its thread and what it waits for. Goes after its thread has ended.
    struct CONNECTION
    {
        CZSocket socket;
        std::thread thread;
        std::atomic<bool> bEnded{false};
        std::atomic<bool> bWaits{true}; ///< for bytes of a request
        bool bDropped = false;          ///< another one takes its place
        std::atomic<CLOCK::rep> nSince{0};
    };

    void Add(CZSocket _socket);
    void RemoveEnded();
    void DropLongestWaiting();
    void Serve(CONNECTION& _connection);
    bool ServeOne(CONNECTION& _connection, CZHttpReader& _reader, eHttpRead _eRead);
    eHttpRead ReadHead(CONNECTION& _connection, CZHttpReader& _reader, eHttpRead _eRead);
    eHttpRead ReadBody(CONNECTION& _connection, CZHttpReader& _reader);
    bool Answer(CONNECTION& _connection, const HTTP_ANSWER& _answer, bool _bKeepAlive);
    HTTP_ANSWER Handle(HTTP_REQUEST& _request);
    static void Wait(CONNECTION& _connection, bool _bWaits);

    HTTP_HANDLER m_handler;
    CZSocket m_socket;
    std::atomic<bool> m_bStop{false};
    std::mutex m_mtxConnections;
    std::list<CONNECTION> m_listConnections;
};
