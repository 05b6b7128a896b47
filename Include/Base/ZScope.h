#pragma once

#include <utility>

/// Calls a function when it is destroyed, also where something throws. The function must not throw.
///
///     const CZScopeExit drop([this] { FrameDrop(); });
template <class Call> class [[nodiscard]] CZScopeExit
{
public:
    explicit CZScopeExit(Call _fnCall)
        : m_fnCall(std::move(_fnCall))
    {
    }
    ~CZScopeExit()
    {
        m_fnCall();
    }
    CZScopeExit(const CZScopeExit&) = delete;
    CZScopeExit& operator=(const CZScopeExit&) = delete;

private:
    Call m_fnCall;
};
