#pragma once

#include "Base/ZText.h"
#include "Interfaces/IZPlugin.h"

#include <concepts>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

/// One argument of a house format, of any type; borrowed during the call.
class CZFormatArg
{
public:
    template <std::integral T> CZFormatArg(T _nValue)
        : m_eKind(eKind_Int)
        , m_nValue(static_cast<int64_t>(_nValue))
        , m_nBytes(static_cast<int>(sizeof(T)))
    {
    }
    template <class T>
    requires std::is_enum_v<T> CZFormatArg(T _eValue)
        : CZFormatArg(static_cast<std::underlying_type_t<T>>(_eValue))
    {
    }
    CZFormatArg(double _dblValue)
        : m_eKind(eKind_Double)
        , m_dblValue(_dblValue)
    {
    }
    CZFormatArg(const char* _pszText)
        : m_eKind(eKind_Text)
        , m_svText(_pszText ? _pszText : "(null)")
    {
    }
    CZFormatArg(const std::string& _strText)
        : m_eKind(eKind_Text)
        , m_svText(_strText)
    {
    }
    CZFormatArg(std::string_view _svText)
        : m_eKind(eKind_Text)
        , m_svText(_svText)
    {
    }
    CZFormatArg(const wchar_t* _pwszText)
        : m_eKind(eKind_Wide)
        , m_pwszText(_pwszText ? _pwszText : L"(null)")
    {
    }
    CZFormatArg(const void* _pAddress)
        : m_eKind(eKind_Int)
        , m_nValue(static_cast<int64_t>(reinterpret_cast<uintptr_t>(_pAddress)))
        , m_nBytes(8)
    {
    }

private:
    friend class CZFormatter;
    enum eKind
    {
        eKind_Int,
        eKind_Double,
        eKind_Text,
        eKind_Wide
    };
    eKind m_eKind;
    int64_t m_nValue = 0;
    int m_nBytes = 8;
    double m_dblValue = 0;
    std::string_view m_svText;
    const wchar_t* m_pwszText = nullptr;
};

/// Formats UTF-8 text after a house format: the conversions of printf with %ws (wide or UTF-8 text), %hs and %s (UTF-8
/// text), %d %i %u %x %X %c with any of the sizes h, l, ll, I64, z, %p, %f %g %e, flags, width and precision.
/// Numbers have a decimal point in every locale. An argument that is missing or of another kind prints as "(?)".
std::string ZFormatV(const char* _pszFormat, std::initializer_list<CZFormatArg> _arrArgs);

template <class... Args> std::string ZFormat(const char* _pszFormat, const Args&... _args)
{
    return ZFormatV(_pszFormat, {CZFormatArg(_args)...});
}

/// Whether lines of this level are taken; ask before an argument is costly to make.
bool ZLog_IsOn(eZLogLevel _eLevel);
/// Sets sink and level of this module; a null sink writes to standard error (to the debugger on Windows).
void ZLog_Set(IZLogSink* _pSinkOrNull, eZLogLevel _eLevel);
/// Hands a finished line to the sink; one line end at its end is taken off. Never throws.
void ZLog_Line(eZLogLevel _eLevel, std::string_view _svText) noexcept;

/// Logs a line after a house format. Nothing is formatted when the level is off. Never throws.
template <class... Args> void ZLog(eZLogLevel _eLevel, const char* _pszFormat, const Args&... _args) noexcept
{
    if (!ZLog_IsOn(_eLevel))
        return;
    try
    {
        ZLog_Line(_eLevel, ZFormat(_pszFormat, _args...));
    }
    catch (...) // out of memory while formatting: the plain format still says what happened
    {
        ZLog_Line(_eLevel, _pszFormat);
    }
}

/// Keeps what the calling thread logs about an error while this lives, whatever the level of the log: for callers that
/// are told in words. On the stack; they may lie in each other, and the innermost one keeps.
class CZLogCapture
{
public:
    CZLogCapture();
    ~CZLogCapture();
    CZLogCapture(const CZLogCapture&) = delete;
    CZLogCapture& operator=(const CZLogCapture&) = delete;

    /// The first error, which is nearest to the cause; where there was none, the first warning, else "".
    const std::string& Text() const
    {
        return m_strError.empty() ? m_strWarning : m_strError;
    }

private:
    friend void ZLog_Line(eZLogLevel _eLevel, std::string_view _svText) noexcept;

    std::string m_strError;
    std::string m_strWarning;
    CZLogCapture* m_pOuter;
};
