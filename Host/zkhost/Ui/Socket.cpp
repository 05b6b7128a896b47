#include "zkhost/Ui/Socket.h"

#include "Kit/HostError.h"

#include "Base/ZLog.h"

#include <chrono>
#include <cstring>
#include <memory>
#include <utility>

#if defined(_WIN32)
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <cerrno>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace
{

#if defined(_WIN32)

using NATIVE = SOCKET;
using BUFFER = char*;
using CONST_BUFFER = const char*;
using BUFFER_SIZE = int;
constexpr int c_nNoSignal = 0;
constexpr int c_nEndWrite = SD_SEND;
constexpr int c_nEndBoth = SD_BOTH;
constexpr int c_nEndRead = SD_BOTH; // the end of reading alone would not wake who waits

void Begin()
{
    static const int s_nResult = [] {
        WSADATA data = {};
        return WSAStartup(MAKEWORD(2, 2), &data);
    }();
    if (s_nResult != 0)
        throw CZHostError(ZFormat("the network of this system cannot be used (error %d)", s_nResult));
}
int LastError()
{
    return WSAGetLastError();
}
bool IsAgain(int _nError)
{
    return _nError == WSAEWOULDBLOCK;
}
std::string ErrorText(int _nError)
{
    return _nError == WSAEADDRINUSE ? std::string("the port is in use")
           : _nError == WSAEACCES   ? std::string("the system does not allow it")
                                    : ZFormat("error %d", _nError);
}
int Poll(pollfd* _pPoll, int _nMaxMs)
{
    return WSAPoll(_pPoll, 1, _nMaxMs);
}
void CloseNative(NATIVE _nSocket)
{
    closesocket(_nSocket);
}
/// Never waits in a call, and is not handed down to programs that are started.
bool MakeOwn(NATIVE _nSocket)
{
    u_long nOn = 1;
    SetHandleInformation(reinterpret_cast<HANDLE>(_nSocket), HANDLE_FLAG_INHERIT, 0);
    return ioctlsocket(_nSocket, static_cast<long>(FIONBIO), &nOn) == 0;
}

#else

using NATIVE = int;
using BUFFER = void*;
using CONST_BUFFER = const void*;
using BUFFER_SIZE = size_t;
constexpr int c_nNoSignal = MSG_NOSIGNAL;
constexpr int c_nEndWrite = SHUT_WR;
constexpr int c_nEndBoth = SHUT_RDWR;
constexpr int c_nEndRead = SHUT_RD;

void Begin()
{
}
int LastError()
{
    return errno;
}
bool IsAgain(int _nError)
{
    return _nError == EAGAIN || _nError == EWOULDBLOCK || _nError == EINTR;
}
std::string ErrorText(int _nError)
{
    return _nError == EADDRINUSE ? "the port is in use" : std::strerror(_nError); // NOLINT(concurrency-mt-unsafe)
}
int Poll(pollfd* _pPoll, int _nMaxMs)
{
    return poll(_pPoll, 1, _nMaxMs);
}
void CloseNative(NATIVE _nSocket)
{
    close(_nSocket);
}
/// Never waits in a call, and is not handed down to programs that are started.
bool MakeOwn(NATIVE _nSocket)
{
    return fcntl(_nSocket, F_SETFD, FD_CLOEXEC) == 0 && fcntl(_nSocket, F_SETFL, O_NONBLOCK) == 0;
}

#endif

using CLOCK = std::chrono::steady_clock;
using ADDRESS_LIST = std::unique_ptr<addrinfo, void (*)(addrinfo*)>;

ADDRESS_LIST Resolve(const std::string& _strAddress, int _nPort)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    addrinfo* pFound = nullptr;
    if (getaddrinfo(_strAddress.c_str(), std::to_string(_nPort).c_str(), &hints, &pFound) != 0 || !pFound)
        throw CZHostError(ZFormat("%s is no address of a network; write numbers, as 127.0.0.1 or ::1", _strAddress));
    return {pFound, [](addrinfo* _pList) { freeaddrinfo(_pList); }};
}

template <class T> void Switch(NATIVE _nSocket, int _nLevel, int _nOption, T _value)
{
    setsockopt(_nSocket, _nLevel, _nOption, reinterpret_cast<const char*>(&_value), sizeof(_value));
}

NATIVE Native(intptr_t _nHandle)
{
    return static_cast<NATIVE>(_nHandle);
}

} // namespace

CZSocket::~CZSocket()
{
    if (m_nHandle != c_nNone)
        CloseNative(Native(m_nHandle));
}

CZSocket::CZSocket(CZSocket&& _other) noexcept
    : m_nHandle(std::exchange(_other.m_nHandle, c_nNone))
{
}

CZSocket& CZSocket::operator=(CZSocket&& _other) noexcept
{
    std::swap(m_nHandle, _other.m_nHandle);
    return *this;
}

bool CZSocket::Prepare() const
{
    Switch(Native(m_nHandle), IPPROTO_TCP, TCP_NODELAY, 1); // an answer goes out whole, at once
    return MakeOwn(Native(m_nHandle));
}

CZSocket CZSocket::Open(const std::string& _strAddress, int _nPort, bool _bListen)
{
    Begin();
    const ADDRESS_LIST upAddress = Resolve(_strAddress, _nPort);
    CZSocket own(static_cast<HANDLE_VALUE>(socket(upAddress->ai_family, SOCK_STREAM, 0)));
    bool bDone = static_cast<bool>(own);
    if (bDone && _bListen)
    {
#if defined(_WIN32)
        Switch(Native(own.m_nHandle), SOL_SOCKET, SO_EXCLUSIVEADDRUSE, 1); // nobody else may take the port over
#else
        Switch(Native(own.m_nHandle), SOL_SOCKET, SO_REUSEADDR, 1); // connections that have ended do not hold the port
#endif
    }
    const auto cbAddress = static_cast<socklen_t>(upAddress->ai_addrlen);
    bDone = bDone && (_bListen ? bind(Native(own.m_nHandle), upAddress->ai_addr, cbAddress) == 0 &&
                                     listen(Native(own.m_nHandle), SOMAXCONN) == 0
                               : connect(Native(own.m_nHandle), upAddress->ai_addr, cbAddress) == 0);
    if (!bDone || !own.Prepare())
        throw CZHostError(ZFormat("cannot %s %s, port %d: %s", _bListen ? "listen at" : "connect to", _strAddress,
                                  _nPort, ErrorText(LastError())));
    return own;
}

CZSocket CZSocket::Listen(const std::string& _strAddress, int _nPort)
{
    return Open(_strAddress, _nPort, true);
}

CZSocket CZSocket::Connect(const std::string& _strAddress, int _nPort)
{
    return Open(_strAddress, _nPort, false);
}

int CZSocket::Port() const
{
    sockaddr_storage address = {};
    socklen_t cbAddress = sizeof(address);
    if (getsockname(Native(m_nHandle), reinterpret_cast<sockaddr*>(&address), &cbAddress) != 0)
        return 0;
    const uint16_t nPort = address.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6&>(address).sin6_port
                                                         : reinterpret_cast<const sockaddr_in&>(address).sin_port;
    return ntohs(nPort);
}

bool CZSocket::Wait(bool _bWrite, int _nMaxMs) const
{
    pollfd poll = {};
    poll.fd = Native(m_nHandle);
    poll.events = _bWrite ? POLLOUT : POLLIN;
    return Poll(&poll, _nMaxMs) > 0;
}

CZSocket CZSocket::Accept(int _nMaxMs)
{
    if (!Wait(false, _nMaxMs))
        return {};
    CZSocket own(static_cast<HANDLE_VALUE>(accept(Native(m_nHandle), nullptr, nullptr)));
    return own && own.Prepare() ? std::move(own) : CZSocket();
}

int64_t CZSocket::Read(void* _pBytes, size_t _cbBytes, int _nMaxMs)
{
    if (!Wait(false, _nMaxMs))
        return -1;
    const auto nRead = recv(Native(m_nHandle), static_cast<BUFFER>(_pBytes), static_cast<BUFFER_SIZE>(_cbBytes), 0);
    return nRead < 0 ? -1 : static_cast<int64_t>(nRead);
}

bool CZSocket::Write(const void* _pBytes, size_t _cbBytes, int _nMaxMs)
{
    const auto* pBytes = static_cast<const char*>(_pBytes);
    const auto timeEnd = CLOCK::now() + std::chrono::milliseconds(_nMaxMs);
    while (_cbBytes > 0)
    {
        const auto nWritten =
            send(Native(m_nHandle), static_cast<CONST_BUFFER>(pBytes), static_cast<BUFFER_SIZE>(_cbBytes), c_nNoSignal);
        if (nWritten > 0)
        {
            pBytes += nWritten;
            _cbBytes -= static_cast<size_t>(nWritten);
            continue;
        }
        const auto nLeft = std::chrono::duration_cast<std::chrono::milliseconds>(timeEnd - CLOCK::now()).count();
        if (!IsAgain(LastError()) || nLeft <= 0 || !Wait(true, static_cast<int>(nLeft)))
            return false;
    }
    return true;
}

void CZSocket::EndWriting()
{
    shutdown(Native(m_nHandle), c_nEndWrite);
}

void CZSocket::ShutDown()
{
    shutdown(Native(m_nHandle), c_nEndBoth);
}

void CZSocket::EndReading()
{
    shutdown(Native(m_nHandle), c_nEndRead);
}
