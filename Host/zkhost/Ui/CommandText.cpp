#include "zkhost/Ui/CommandText.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace
{

constexpr std::string_view c_svPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-./,:=@+";

bool IsSetElsewhere(const ZTABLE_ROW& _row)
{
    constexpr std::string_view c_arrNames[] = {"view", "learn"}; // how the present is looked at
    return std::ranges::find(c_arrNames, std::string_view(_row.pszName)) != std::end(c_arrNames);
}

/// What the search for a backdrop sets by itself.
double ValueFound(const CZEditor& _editor, size_t _nRow)
{
    const ZTABLE_ROW& row = _editor.Params()[_nRow];
    if (_editor.Generation() == 2)
        return row.dblDefault;
    return _nRow == eCKA_Colors ? 100 : _nRow == eCKA_KeyType ? double{eCKT_YUV} : row.dblDefault;
}

std::string Value(const ZTABLE_ROW& _row, double _dblValue)
{
    const std::vector<std::string> vecNames = Tables_Choices(_row);
    return vecNames.empty() ? PropText_FromDouble(_dblValue)
                            : vecNames.at(static_cast<size_t>(std::lround(_dblValue - _row.dblLeast)));
}

/// --param or --adjust for all that was moved.
std::string ParamsText(const CZEditor& _editor)
{
    const bool bSecond = _editor.Generation() == 2;
    std::string strText;
    for (size_t i = 0; i < _editor.Params().size(); ++i)
    {
        const ZTABLE_ROW& row = _editor.Params()[i];
        const double dblValue = _editor.State().vecParams[i];
        if (dblValue == ValueFound(_editor, i) || IsSetElsewhere(row))
            continue;
        const bool bType = !bSecond && i == eCKA_KeyType;
        strText += bType ? ZFormat(" --type %s", Value(row, dblValue))
                         : ZFormat(bSecond ? " --param %hs=%s" : " --adjust %hs=%s", row.pszName, Value(row, dblValue));
    }
    return strText;
}

std::string RegionsText(const EDITOR_STATE& _state)
{
    std::string strText;
    for (size_t i = 0; i < _state.arrRegions.size(); ++i)
        if (!_state.arrRegions[i].empty())
            strText += ZFormat(" --region %s",
                               CommandText_Quoted(ZFormat("%s=%s", c_arrRegionNames[i], _state.arrRegions[i])));
    return strText;
}

} // namespace

std::string CommandText_Quoted(const std::string& _strArgument)
{
    if (!_strArgument.empty() && _strArgument.find_first_not_of(c_svPlain) == std::string::npos)
        return _strArgument;
#if defined(_WIN32)
    return ZFormat("\"%s\"", _strArgument); // no name of a file has quotes there
#else
    std::string strQuoted = "'";
    for (const char ch : _strArgument)
        ch == '\'' ? strQuoted += "'\\''" : strQuoted += ch;
    return strQuoted + '\'';
#endif
}

std::string CommandText_Make(const COMMAND_FACTS& _facts)
{
    const CZEditor& editor = *_facts.pEditor;
    const bool bDash = _facts.strInput.starts_with('-') && _facts.strInput != "-"; // a file, not an option
    std::string strText =
        ZFormat("zkhost key %s -o %s", CommandText_Quoted(ZFormat(bDash ? "./%s" : "%s", _facts.strInput)),
                CommandText_Quoted(_facts.strOutput));
    if (!_facts.strRawSpec.empty())
        strText += ZFormat(" --in %s", CommandText_Quoted(_facts.strRawSpec));
    if (editor.Generation() == 1)
        strText += " --keyer 1";
    for (const auto& [strName, strValue] : _facts.vecOptions)
        strText += ZFormat(" --set %s", CommandText_Quoted(ZFormat("%s=%s", strName, strValue)));
    if (_facts.nIn > 0)
        strText += ZFormat(" --first %d", _facts.nIn + 1);
    if (_facts.nOut >= 0)
        strText += ZFormat(" --frames %d", _facts.nOut - _facts.nIn + 1);
    if (editor.IsFoundOnFirst() && _facts.nIn == 0) // where the command looks for them
        return strText + ParamsText(editor) + RegionsText(editor.State());
    return strText + " --keys keys.xml  # keys.xml: save the keys under that name first";
}
