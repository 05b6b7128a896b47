#include "zkhost/Commands/PluginOptions.h"

#include "Kit/Tables.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"

#include <string_view>
#include <vector>

namespace
{

constexpr std::string_view c_svShort = "show_blocks"; // is known by its short name, too
constexpr std::string_view c_svShortMeans = "detect.show_blocks";

/// The rows of one of the two tables. Read once: making the object that hands them out shows in its log.
const std::vector<ZTABLE_ROW>& Rows(eZTable _eTable)
{
    static const std::vector<ZTABLE_ROW> s_vecOptions = Tables_Read(CZModule::Own(), eZTable_Options);
    static const std::vector<ZTABLE_ROW> s_vecDetection = Tables_Read(CZModule::Own(), eZTable_Detection);
    return _eTable == eZTable_Options ? s_vecOptions : s_vecDetection;
}

/// Where an option is told of.
struct PLACE
{
    eZTable eTable = eZTable_Options;
    size_t nRow = 0;
    const char* pszRight = nullptr; ///< null: there is no such option
};

PLACE Find(const std::string& _strName)
{
    for (const eZTable eTable : {eZTable_Options, eZTable_Detection})
    {
        const std::vector<ZTABLE_ROW>& vecRows = Rows(eTable);
        for (size_t i = 0; i < vecRows.size(); ++i)
            if (_strName == vecRows[i].pszName || (_strName == c_svShort && vecRows[i].pszName == c_svShortMeans))
                return {eTable, i, vecRows[i].pszRight};
    }
    return {};
}

/// The names of all of them.
std::string Names()
{
    std::string strNames;
    for (const eZTable eTable : {eZTable_Options, eZTable_Detection})
        for (const ZTABLE_ROW& row : Rows(eTable))
            strNames += std::string(strNames.empty() ? "" : ", ") + row.pszName;
    return strNames;
}

} // namespace

bool PluginOptions_IsDetection(const std::string& _strName)
{
    return Find(_strName).eTable == eZTable_Detection;
}

void PluginOptions_Check(const std::string& _strName, const std::string& _strValue)
{
    const PLACE place = Find(_strName);
    if (!place.pszRight)
        throw CZUsageError(ZFormat("--set %s: there is no such option; there are %s", _strName, Names()));
    if (!Tables_IsRight(CZModule::Own(), place.eTable, place.nRow, _strValue))
        throw CZUsageError(ZFormat("--set %s=%s: the value has to be %s", _strName, _strValue, place.pszRight));
}
