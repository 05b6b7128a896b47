#include "zkhost/Ui/HttpServer.h"

#include "Kit/HostError.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <array>
#include <new>
#include <system_error>
#include <utility>

namespace
{

constexpr int c_nIdleMs = 60'000;  // a connection is kept for the next request
constexpr int c_nHeadMs = 10'000;  // a request that was begun has to be complete
constexpr int c_nBodyMs = 30'000;  // and its body
constexpr int c_nWriteMs = 30'000; // the other side takes an answer
constexpr int c_nDrainMs = 500;    // a refused request is read on, so that its sender sees the answer
constexpr int c_nFullMs = 5;
constexpr size_t c_cbDrain = size_t{4} << 20;

using BUFFER_BYTES = std::array<char, 65536>;

} // namespace

CZHttpServer::CZHttpServer(const std::string& _strAddress, int _nPort, HTTP_HANDLER _handler)
    : m_handler(std::move(_handler))
    , m_socket(CZSocket::Listen(_strAddress, _nPort))
{
}

CZHttpServer::~CZHttpServer()
{
    End();
}

void CZHttpServer::End()
{
    m_bStop = true;
    for (CONNECTION& connection : m_listConnections) // nobody adds any more
        connection.socket.ShutDown();
    for (CONNECTION& connection : m_listConnections)
        connection.thread.join();
    m_listConnections.clear();
}

size_t CZHttpServer::Connections()
{
    const std::lock_guard lock(m_mtxConnections);
    return m_listConnections.size();
}

void CZHttpServer::Run(int _nMs)
{
    const auto timeEnd = CLOCK::now() + std::chrono::milliseconds(_nMs);
    do
    {
        RemoveEnded();
        if (Connections() >= 2 * c_nMaxConnections) // all of them are busy: others wait in the system's queue
            std::this_thread::sleep_for(std::chrono::milliseconds(c_nFullMs));
        else if (CZSocket socket = m_socket.Accept(_nMs))
            Add(std::move(socket));
    } while (CLOCK::now() < timeEnd);
}

void CZHttpServer::RemoveEnded()
{
    const std::lock_guard lock(m_mtxConnections);
    m_listConnections.remove_if([](CONNECTION& _connection) {
        const bool bEnded = _connection.bEnded; // once: it may end between two looks
        if (bEnded)
            _connection.thread.join();
        return bEnded;
    });
}

void CZHttpServer::DropLongestWaiting()
{
    CONNECTION* pLongest = nullptr;
    for (CONNECTION& connection : m_listConnections)
        if (connection.bWaits && !connection.bDropped && (!pLongest || connection.nSince < pLongest->nSince))
            pLongest = &connection;
    if (!pLongest)
        return;
    pLongest->bDropped = true;
    pLongest->socket.EndReading(); // its thread ends, and a later round of Run removes it
}

void CZHttpServer::Add(CZSocket _socket)
{
    const std::lock_guard lock(m_mtxConnections);
    if (m_listConnections.size() >= c_nMaxConnections)
        DropLongestWaiting();
    CONNECTION& connection = m_listConnections.emplace_back();
    connection.socket = std::move(_socket);
    Wait(connection, true);
    try
    {
        connection.thread = std::thread([this, &connection] { Serve(connection); });
    }
    catch (const std::exception&) // no more threads, or no memory for one
    {
        m_listConnections.pop_back();
    }
}

void CZHttpServer::Wait(CONNECTION& _connection, bool _bWaits)
{
    _connection.nSince = CLOCK::now().time_since_epoch().count();
    _connection.bWaits = _bWaits;
}

void CZHttpServer::Serve(CONNECTION& _connection)
{
    try
    {
        CZHttpReader reader;
        eHttpRead eRead = eHttpRead::More;
        while (!m_bStop && ServeOne(_connection, reader, eRead))
            eRead = reader.Next();
    }
    catch (const std::exception& error) // out of memory: this connection ends, the others go on
    {
        ZLog(eZLog_Warning, "a connection to the page has ended: %s\n", error.what());
    }
    _connection.socket.ShutDown();
    _connection.bEnded = true;
}

/// Reads the rest of a head. More: it did not come in time.
eHttpRead CZHttpServer::ReadHead(CONNECTION& _connection, CZHttpReader& _reader, eHttpRead _eRead)
{
    BUFFER_BYTES arrBytes;
    auto timeEnd = CLOCK::now() + std::chrono::milliseconds(_reader.IsBegun() ? c_nHeadMs : c_nIdleMs);
    while (_eRead == eHttpRead::More)
    {
        const auto nLeft = std::chrono::duration_cast<std::chrono::milliseconds>(timeEnd - CLOCK::now()).count();
        const bool bBegun = _reader.IsBegun();
        const int64_t nRead =
            nLeft > 0 ? _connection.socket.Read(arrBytes.data(), arrBytes.size(), static_cast<int>(nLeft)) : -1;
        if (nRead <= 0)
            return eHttpRead::More;
        if (!bBegun)
            timeEnd = CLOCK::now() + std::chrono::milliseconds(c_nHeadMs);
        _eRead = _reader.Take({arrBytes.data(), static_cast<size_t>(nRead)});
    }
    return _eRead;
}

eHttpRead CZHttpServer::ReadBody(CONNECTION& _connection, CZHttpReader& _reader)
{
    BUFFER_BYTES arrBytes;
    const auto timeEnd = CLOCK::now() + std::chrono::milliseconds(c_nBodyMs);
    eHttpRead eRead = _reader.TakeBody({});
    while (eRead == eHttpRead::More)
    {
        const auto nLeft = std::chrono::duration_cast<std::chrono::milliseconds>(timeEnd - CLOCK::now()).count();
        const int64_t nRead =
            nLeft > 0 ? _connection.socket.Read(arrBytes.data(), arrBytes.size(), static_cast<int>(nLeft)) : -1;
        if (nRead <= 0)
            return eRead;
        eRead = _reader.TakeBody({arrBytes.data(), static_cast<size_t>(nRead)});
    }
    return eRead;
}

bool CZHttpServer::ServeOne(CONNECTION& _connection, CZHttpReader& _reader, eHttpRead _eRead)
{
    Wait(_connection, true);
    _eRead = ReadHead(_connection, _reader, _eRead);
    if (_eRead == eHttpRead::Refused)
        return Answer(_connection, HttpAnswer_Error(_reader.Status(), _reader.Reason()), false);
    if (_eRead != eHttpRead::Head)
        return _reader.IsBegun() &&
               Answer(_connection, HttpAnswer_Error(408, "the request did not come in time"), false);
    HTTP_REQUEST& request = _reader.Request();
    size_t cbMaxBody = 0;
    if (const auto refusal = m_handler.fnCheck(request, cbMaxBody))
        return Answer(_connection, *refusal, request.cbBody == 0 && request.bKeepAlive);
    if (request.cbBody > cbMaxBody)
        return Answer(
            _connection,
            HttpAnswer_Error(413, ZFormat("the body has %d bytes; %d are taken at most", request.cbBody, cbMaxBody)),
            false);
    const std::string* const pExpect = request.Header("expect");
    constexpr std::string_view c_svContinue = "HTTP/1.1 100 Continue\r\n\r\n";
    if (pExpect && request.cbBody && !_connection.socket.Write(c_svContinue.data(), c_svContinue.size(), c_nWriteMs))
        return false;
    if (ReadBody(_connection, _reader) != eHttpRead::Done)
        return Answer(_connection, HttpAnswer_Error(408, "the body of the request did not come in time"), false);
    Wait(_connection, false);
    const HTTP_ANSWER answer = Handle(request);
    return Answer(_connection, answer, request.bKeepAlive && !m_bStop);
}

HTTP_ANSWER CZHttpServer::Handle(HTTP_REQUEST& _request)
{
    try
    {
        return m_handler.fnAnswer(_request);
    }
    catch (const CZHostError& error)
    {
        return HttpAnswer_Error(400, error.what());
    }
    catch (const std::bad_alloc&)
    {
        return HttpAnswer_Error(500, "out of memory; try a smaller picture");
    }
    catch (const std::exception& error)
    {
        return HttpAnswer_Error(500, ZFormat("unexpected failure: %s", error.what()));
    }
}

/// Sends an answer; whether the connection goes on.
bool CZHttpServer::Answer(CONNECTION& _connection, const HTTP_ANSWER& _answer, bool _bKeepAlive)
{
    const std::string strHead = HttpAnswer_Head(_answer, _bKeepAlive);
    CZSocket& socket = _connection.socket;
    if (!socket.Write(strHead.data(), strHead.size(), c_nWriteMs) ||
        !socket.Write(_answer.strBody.data(), _answer.strBody.size(), c_nWriteMs))
        return false;
    if (_bKeepAlive)
        return true;
    // Were bytes left unread, the end of the connection would take the answer away from the other side.
    BUFFER_BYTES arrBytes;
    socket.EndWriting();
    const auto timeEnd = CLOCK::now() + std::chrono::milliseconds(c_nDrainMs);
    for (size_t cbDrained = 0; cbDrained < c_cbDrain && CLOCK::now() < timeEnd;)
    {
        const int64_t nRead = socket.Read(arrBytes.data(), arrBytes.size(), c_nDrainMs);
        if (nRead <= 0)
            break;
        cbDrained += static_cast<size_t>(nRead);
    }
    return false;
}
