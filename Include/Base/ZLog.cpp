#include "Base/ZLog.h"

#include "Base/ZErrorInfo.h"
#include "Base/ZPtr.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdio>
#include <mutex>
#include <utility>

namespace
{

/// One conversion of a format: %[flags][width][.precision][size]type
struct CONVERSION
{
    bool bLeft = false;
    bool bZero = false;
    bool bPlus = false;
    bool bAlternative = false;
    size_t nWidth = 0;
    int nPrecision = -1;
    char chType = 0;
};

constexpr size_t c_nMaxField = 4096;

size_t ReadNumber(const char*& _psz)
{
    size_t nValue = 0;
    for (; *_psz >= '0' && *_psz <= '9'; ++_psz)
        nValue = std::min(nValue * 10 + static_cast<size_t>(*_psz - '0'), c_nMaxField);
    return nValue;
}

void SkipSize(const char*& _psz)
{
    if (_psz[0] == 'I' && _psz[1] == '6' && _psz[2] == '4')
        _psz += 3;
    while (*_psz == 'h' || *_psz == 'l' || *_psz == 'w' || *_psz == 'z')
        ++_psz;
}

CONVERSION ReadConversion(const char*& _psz)
{
    CONVERSION conv;
    for (;; ++_psz)
    {
        if (*_psz == '-')
            conv.bLeft = true;
        else if (*_psz == '0')
            conv.bZero = true;
        else if (*_psz == '+')
            conv.bPlus = true;
        else if (*_psz == '#')
            conv.bAlternative = true;
        else
            break;
    }
    conv.nWidth = ReadNumber(_psz);
    if (*_psz == '.')
        conv.nPrecision = static_cast<int>(ReadNumber(++_psz));
    SkipSize(_psz);
    conv.chType = *_psz;
    if (*_psz)
        ++_psz;
    return conv;
}

void AppendPadded(std::string& _strOut, const CONVERSION& _conv, std::string_view _svSign, std::string_view _svBody,
                  bool _bZeroPad)
{
    const size_t nLength = _svSign.size() + _svBody.size();
    const size_t nPad = _conv.nWidth > nLength ? _conv.nWidth - nLength : 0;
    if (!_conv.bLeft && !_bZeroPad)
        _strOut.append(nPad, ' ');
    _strOut += _svSign;
    if (!_conv.bLeft && _bZeroPad)
        _strOut.append(nPad, '0');
    _strOut += _svBody;
    if (_conv.bLeft)
        _strOut.append(nPad, ' ');
}

void AppendInt(std::string& _strOut, const CONVERSION& _conv, int64_t _nValue, int _nBytes)
{
    char szDigits[32];
    const bool bSigned = _conv.chType == 'd' || _conv.chType == 'i';
    const bool bHex = _conv.chType == 'x' || _conv.chType == 'X' || _conv.chType == 'p';
    uint64_t nMagnitude = static_cast<uint64_t>(_nValue);
    if (bSigned)
        nMagnitude = _nValue < 0 ? 0 - nMagnitude : nMagnitude;
    else if (_nBytes < 8)
        nMagnitude &= (uint64_t{1} << (8 * _nBytes)) - 1;
    const auto res = std::to_chars(szDigits, szDigits + sizeof(szDigits), nMagnitude, bHex ? 16 : 10);
    std::string strBody(szDigits, res.ptr);
    if (_conv.chType != 'x')
        for (char& ch : strBody)
            ch = ch >= 'a' && ch <= 'f' ? static_cast<char>(ch - 'a' + 'A') : ch;
    if (_conv.nPrecision > static_cast<int>(strBody.size()))
        strBody.insert(0, static_cast<size_t>(_conv.nPrecision) - strBody.size(), '0');
    std::string_view svSign;
    if (bSigned)
        svSign = _nValue < 0 ? "-" : (_conv.bPlus ? "+" : "");
    else if (bHex && _conv.bAlternative && nMagnitude)
        svSign = _conv.chType == 'x' ? "0x" : "0X";
    AppendPadded(_strOut, _conv, svSign, strBody, _conv.bZero && _conv.nPrecision < 0);
}

void AppendDouble(std::string& _strOut, const CONVERSION& _conv, double _dblValue)
{
    char szDigits[512];
    const auto eFormat = _conv.chType == 'f'   ? std::chars_format::fixed
                         : _conv.chType == 'e' ? std::chars_format::scientific
                                               : std::chars_format::general;
    const int nPrecision = _conv.nPrecision < 0 ? 6 : std::min(_conv.nPrecision, 64);
    const auto res = std::to_chars(szDigits, szDigits + sizeof(szDigits), _dblValue, eFormat, nPrecision);
    std::string_view svBody(szDigits, static_cast<size_t>(res.ptr - szDigits));
    std::string_view svSign = _conv.bPlus ? "+" : "";
    if (!svBody.empty() && svBody.front() == '-')
    {
        svSign = "-";
        svBody.remove_prefix(1);
    }
    AppendPadded(_strOut, _conv, svSign, svBody, _conv.bZero);
}

void AppendText(std::string& _strOut, const CONVERSION& _conv, std::string_view _svText)
{
    if (_conv.nPrecision >= 0)
        _svText = _svText.substr(0, static_cast<size_t>(_conv.nPrecision));
    AppendPadded(_strOut, _conv, "", _svText, false);
}

} // namespace

/// Puts the arguments of a format in place, one after the other.
class CZFormatter
{
public:
    static void Append(std::string& _strOut, const CONVERSION& _conv, const CZFormatArg& _arg)
    {
        switch (_conv.chType)
        {
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
        case 'p':
            if (_arg.m_eKind == CZFormatArg::eKind_Int)
                return AppendInt(_strOut, _conv, _arg.m_nValue, _arg.m_nBytes);
            break;
        case 'c':
            if (_arg.m_eKind == CZFormatArg::eKind_Int)
                return AppendText(_strOut, _conv, std::string(1, static_cast<char>(_arg.m_nValue)));
            break;
        case 'f':
        case 'g':
        case 'e':
            if (_arg.m_eKind == CZFormatArg::eKind_Double)
                return AppendDouble(_strOut, _conv, _arg.m_dblValue);
            break;
        case 's':
            if (_arg.m_eKind == CZFormatArg::eKind_Text)
                return AppendText(_strOut, _conv, _arg.m_svText);
            if (_arg.m_eKind == CZFormatArg::eKind_Wide)
                return AppendText(_strOut, _conv, ZText_FromWide(_arg.m_pwszText));
            break;
        default:
            break;
        }
        _strOut += "(?)";
    }
};

std::string ZFormatV(const char* _pszFormat, std::initializer_list<CZFormatArg> _arrArgs)
{
    std::string strOut;
    const CZFormatArg* pArg = _arrArgs.begin();
    while (*_pszFormat)
    {
        if (*_pszFormat != '%')
        {
            strOut += *_pszFormat++;
            continue;
        }
        if (*++_pszFormat == '%')
        {
            strOut += *_pszFormat++;
            continue;
        }
        const CONVERSION conv = ReadConversion(_pszFormat);
        if (pArg == _arrArgs.end())
            strOut += "(?)";
        else
            CZFormatter::Append(strOut, conv, *pArg++);
    }
    return strOut;
}

namespace
{

std::atomic<int> g_nLevel{eZLog_Warning};

thread_local CZLogCapture* t_pCapture = nullptr;

struct LOG_SINK
{
    std::mutex mtxSink;
    CZPtr<IZLogSink> cpSink;
};

LOG_SINK& Sink()
{
    static LOG_SINK sink;
    return sink;
}

void WriteDefault(std::string_view _svText)
{
#if defined(_WIN32)
    std::wstring wstrLine = ZText_ToWide(_svText) + L"\n";
    OutputDebugStringW(wstrLine.c_str());
#else
    std::fprintf(stderr, "%.*s\n", static_cast<int>(_svText.size()), _svText.data());
#endif
}

} // namespace

CZLogCapture::CZLogCapture()
    : m_pOuter(std::exchange(t_pCapture, this))
{
}

CZLogCapture::~CZLogCapture()
{
    t_pCapture = m_pOuter;
}

bool ZLog_IsOn(eZLogLevel _eLevel)
{
    return _eLevel <= g_nLevel.load(std::memory_order_relaxed) || (_eLevel <= eZLog_Warning && t_pCapture);
}

void ZLog_Set(IZLogSink* _pSinkOrNull, eZLogLevel _eLevel)
{
    CZPtr<IZLogSink> cpOld(_pSinkOrNull); // holds what was set before until the lock is gone
    {
        const std::lock_guard lock(Sink().mtxSink);
        std::swap(cpOld, Sink().cpSink);
    }
    g_nLevel.store(_eLevel, std::memory_order_relaxed);
}

void ZLog_Line(eZLogLevel _eLevel, std::string_view _svText) noexcept
{
    try
    {
        if (!_svText.empty() && _svText.back() == '\n')
            _svText.remove_suffix(1);
        if (_eLevel == eZLog_Error)
            ZErrorInfo_Keep(_svText);
        if (t_pCapture && _eLevel <= eZLog_Warning)
            if (std::string& strKept = _eLevel == eZLog_Error ? t_pCapture->m_strError : t_pCapture->m_strWarning;
                strKept.empty())
                strKept = _svText;
        if (_eLevel > g_nLevel.load(std::memory_order_relaxed)) // it was formatted to be kept
            return;
        CZPtr<IZLogSink> cpSink;
        {
            const std::lock_guard lock(Sink().mtxSink);
            cpSink = Sink().cpSink;
        }
        if (cpSink)
            cpSink->LogLine(_eLevel, std::string(_svText).c_str());
        else
            WriteDefault(_svText);
    }
    catch (...) // a log line is never worth a frame
    {
    }
}
