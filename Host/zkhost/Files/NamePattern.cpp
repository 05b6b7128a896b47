#include "zkhost/Files/NamePattern.h"

#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"

namespace
{

/// Where the number stands in a name, and how many digits it has at least.
struct NUMBER_FIELD
{
    size_t nBegin = std::string::npos;
    size_t nLength = 0;
    size_t nDigits = 0;
};

NUMBER_FIELD FindField(const std::string& _strPath)
{
    NUMBER_FIELD field;
    field.nBegin = _strPath.find('%');
    if (field.nBegin == std::string::npos)
        return field;
    size_t nPos = field.nBegin + 1;
    if (nPos + 1 < _strPath.size() && _strPath[nPos] == '0' && _strPath[nPos + 1] >= '1' && _strPath[nPos + 1] <= '9')
    {
        field.nDigits = static_cast<size_t>(_strPath[nPos + 1] - '0');
        nPos += 2;
    }
    const bool bNumber = nPos < _strPath.size() && _strPath[nPos] == 'd';
    if (!bNumber || _strPath.find('%', nPos) != std::string::npos)
        throw CZUsageError(
            ZFormat("%s: a picture sequence is named with one %%d or %%05d, as name_%%05d.png", _strPath));
    field.nLength = nPos + 1 - field.nBegin;
    return field;
}

} // namespace

std::string NamePattern_Extension(const std::string& _strPath)
{
    const size_t nDot = _strPath.find_last_of("./\\");
    if (nDot == std::string::npos || _strPath[nDot] != '.')
        return {};
    std::string strExtension = _strPath.substr(nDot + 1);
    for (char& ch : strExtension)
        ch = ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch;
    return strExtension;
}

bool NamePattern_IsPattern(const std::string& _strPath)
{
    return FindField(_strPath).nBegin != std::string::npos;
}

std::string NamePattern_Name(const std::string& _strPattern, int64_t _nNumber)
{
    const NUMBER_FIELD field = FindField(_strPattern);
    if (field.nBegin == std::string::npos)
        return _strPattern;
    std::string strNumber = std::to_string(_nNumber);
    if (strNumber.size() < field.nDigits)
        strNumber.insert(0, field.nDigits - strNumber.size(), '0');
    return std::string(_strPattern).replace(field.nBegin, field.nLength, strNumber);
}
