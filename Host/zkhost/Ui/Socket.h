#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// A socket of TCP, where systems differ. Calls wait for at most the milliseconds they are given. One thread uses a
/// socket at a time, but for ShutDown and EndReading.
class CZSocket
{
public:
    CZSocket() = default;
    ~CZSocket();
    CZSocket(CZSocket&& _other) noexcept;
    CZSocket& operator=(CZSocket&& _other) noexcept;
    CZSocket(const CZSocket&) = delete;
    CZSocket& operator=(const CZSocket&) = delete;

    /// Takes connections at an address, which is a number such as 127.0.0.1 or ::1. Port 0: any that is free. Throws
    /// CZHostError.
    static CZSocket Listen(const std::string& _strAddress, int _nPort);
    /// A connection to an address. Throws CZHostError.
    static CZSocket Connect(const std::string& _strAddress, int _nPort);

    /// Whether there is one.
    explicit operator bool() const
    {
        return m_nHandle != c_nNone;
    }
    /// The port that it is bound to.
    int Port() const;
    /// The next connection; an empty socket when none came in time.
    CZSocket Accept(int _nMaxMs);
    /// Up to this many bytes; 0 at the end of the connection, -1 when none came in time or the connection broke.
    int64_t Read(void* _pBytes, size_t _cbBytes, int _nMaxMs);
    /// Writes all of them; false when the other side does not take them in time, or is gone.
    bool Write(const void* _pBytes, size_t _cbBytes, int _nMaxMs);
    /// No more is written: the other side sees the end.
    void EndWriting();
    /// Ends the connection from another thread: a Read that waits comes back.
    void ShutDown();
    /// The same, but what has come already may still be read and answered, where the system has that.
    void EndReading();

private:
    using HANDLE_VALUE = intptr_t; // holds the handle of either system
    static constexpr HANDLE_VALUE c_nNone = -1;

    explicit CZSocket(HANDLE_VALUE _nHandle)
        : m_nHandle(_nHandle)
    {
    }
    bool Wait(bool _bWrite, int _nMaxMs) const;
    static CZSocket Open(const std::string& _strAddress, int _nPort, bool _bListen);
    bool Prepare() const;

    HANDLE_VALUE m_nHandle = c_nNone;
};
