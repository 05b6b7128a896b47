#include "zkhost/Commands/Commands.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"
#include "zkhost/Files/UsageError.h"

CLI::Validator Command_Whole(int64_t _nMin, int64_t _nMax)
{
    const std::string strRange = _nMax == INT64_MAX ? ZFormat("a whole number from %d on", _nMin)
                                                    : ZFormat("a whole number from %d to %d", _nMin, _nMax);
    return CLI::Validator(
        [=](const std::string& _strValue) {
            int64_t nValue = 0;
            const bool bRight = PropText_ReadInt(_strValue, &nValue) && nValue >= _nMin && nValue <= _nMax;
            const bool bTooLong = !bRight && _nMax == INT64_MAX && !_strValue.empty() &&
                                  _strValue.find_first_not_of("0123456789") == std::string::npos &&
                                  !PropText_ReadInt(_strValue, &nValue);
            if (bTooLong)
                return ZFormat("\"%s\" is too large a number", _strValue);
            return bRight ? std::string() : ZFormat("\"%s\" has to be %s", _strValue, strRange);
        },
        "");
}

CLI::Validator Command_File()
{
    return CLI::Validator(
        [](const std::string& _strValue) {
            const bool bOption = _strValue.size() > 1 && _strValue.front() == '-';
            return bOption
                       ? ZFormat("a file name is missing before %s; a file of that name is ./%s", _strValue, _strValue)
                       : std::string();
        },
        "");
}

std::pair<std::string, std::string> Command_Pair(const std::string& _strText, const char* _pszOption)
{
    const size_t nEqual = _strText.find('=');
    if (nEqual == std::string::npos || nEqual == 0)
        throw CZUsageError(ZFormat("%s %s: a name and a value are needed, as NAME=VALUE", _pszOption, _strText));
    return {_strText.substr(0, nEqual), _strText.substr(nEqual + 1)};
}
