#pragma once

#include "Base/ZText.h"

#include <new>
#include <utility>

/// Owns a BSTR. Used by one thread at a time.
class CZBStr
{
public:
    CZBStr() = default;
    /// A copy of UTF-8 text. Throws bad_alloc, also where the system has no memory for a string: null would count as
    /// an empty one.
    explicit CZBStr(std::string_view _svText)
    {
        if (FAILED(ZText_HandOut(_svText, &m_bsText)))
            throw std::bad_alloc();
    }
    CZBStr(CZBStr&& _other) noexcept
        : m_bsText(_other.Detach())
    {
    }
    CZBStr& operator=(CZBStr&& _other) noexcept
    {
        std::swap(m_bsText, _other.m_bsText);
        return *this;
    }
    ~CZBStr()
    {
        SysFreeString(m_bsText);
    }

    BSTR Get() const
    {
        return m_bsText;
    }
    /// For a call that hands out a string; what was held is freed first.
    BSTR* Put()
    {
        SysFreeString(Detach());
        return &m_bsText;
    }
    /// Gives the string to the caller.
    BSTR Detach()
    {
        return std::exchange(m_bsText, nullptr);
    }
    /// The text, zeros inside it included; "" for null.
    std::wstring_view Wide() const
    {
        return {m_bsText ? m_bsText : L"", m_bsText ? SysStringLen(m_bsText) : 0};
    }
    std::string Text() const
    {
        return ZText_FromWide(Wide());
    }

private:
    BSTR m_bsText = nullptr;
};
