#include "zkhost/Commands/Commands.h"

#include "Kit/Tables.h"
#include "zkhost/Files/OutFile.h"

#include "Base/ZLog.h"

namespace
{

constexpr const char* c_pszOptions = "# Options, parameters and adjustments\n\n"
                                     "Made by `zkhost options` from the tables that the plug-in itself reads.\n\n"
                                     "## Options\n\n"
                                     "Set by name through `IZProps` (`zkhost key --set NAME=VALUE`); read when a frame "
                                     "comes in. A value that does not fit,\n"
                                     "and a name that is no option, are refused with E_INVALIDARG, and the log says "
                                     "what fits. An option that is not set\n"
                                     "answers its default with S_FALSE.\n\n"
                                     "| option | takes | default | effect |\n|---|---|---|---|\n";
constexpr const char* c_pszParams = "\n## Parameters of the second generation\n\n"
                                    "Set through `IZChromaKey2::ParamSet` (`zkhost key --param NAME=VALUE`). A choice "
                                    "is a number, counted from 0 in the "
                                    "order\n"
                                    "of its names; the command line and key files take the names as well.\n\n"
                                    "| name | takes | default | what it does | what you see |\n|---|---|---|---|---|\n";
constexpr const char* c_pszDetect =
    "\n## Options of detection (first generation)\n\n"
    "Given to `KeyDetect` as \"name=value\" pairs, with or without \"detect.\" in front, or set as options.\n\n"
    "| option | takes | default | effect |\n|---|---|---|---|\n";
constexpr const char* c_pszAdjust =
    "\n## Adjustments (first generation)\n\n"
    "Set through `IZChromaKey::KeyAdjustSet` (`zkhost key --adjust NAME=VALUE`). Each acts on the keys as they were "
    "taken, so\n"
    "moving one there and back changes nothing. 0 means \"as taken\".\n\n"
    "| `eCK_Adjust` | name | range | what you see | what it does to the key set |\n|---|---|---|---|---|\n";

/// "0 to 200 %", the names of a choice, or which values are right where there is no range.
std::string TakesText(const ZTABLE_ROW& _row)
{
    if (_row.dblLeast == 0 && _row.dblMost == 0)
        return ZFormat(_row.pszUnit[0] ? "%hs (%hs)" : "%hs", _row.pszRight, _row.pszUnit);
    if (_row.eValue != eZV_Choice)
        return ZFormat(_row.pszUnit[0] ? "%g to %g %hs" : "%g to %g", _row.dblLeast, _row.dblMost, _row.pszUnit);
    std::string strText;
    for (const std::string& strName : Tables_Choices(_row))
        strText += ZFormat(strText.empty() ? "%hs" : ", %hs", strName);
    return strText;
}

std::string OptionsText()
{
    std::string strText = c_pszOptions;
    for (const ZTABLE_ROW& row : Tables_Read(CZModule::Own(), eZTable_Options))
        strText += ZFormat("| \"%hs\" | %hs | %hs | %hs |\n", row.pszName, TakesText(row),
                           row.pszDefault[0] ? row.pszDefault : "none", row.pszHelp);
    strText += c_pszParams;
    for (const ZTABLE_ROW& row : Tables_Read(CZModule::Own(), eZTable_Params))
        strText += ZFormat("| %hs | %hs | %hs | %hs | %hs |\n", row.pszName, TakesText(row), row.pszDefault,
                           row.pszEffect, row.pszHelp);
    strText += c_pszDetect;
    for (const ZTABLE_ROW& row : Tables_Read(CZModule::Own(), eZTable_Detection))
        strText += ZFormat("| \"%hs\" | %hs | %hs | %hs |\n", row.pszName, row.pszRight, row.pszDefault, row.pszHelp);
    strText += c_pszAdjust;
    int nAdjust = 0;
    for (const ZTABLE_ROW& row : Tables_Read(CZModule::Own(), eZTable_Adjusts))
        strText += ZFormat("| %d | %hs | %.0f to %.0f %hs | %hs | %hs |\n", nAdjust++, row.pszName, row.dblLeast,
                           row.dblMost, row.pszUnit, row.pszHelp, row.pszEffect);
    return strText;
}

} // namespace

void Command_AddOptions(CLI::App& _app)
{
    CLI::App& command = *_app.add_subcommand("options", "What can be set and adjusted, as a document in Markdown");
    command.footer("Examples:\n"
                   "  zkhost options\n");
    command.callback([] { OutFile_Print(OptionsText()); });
}
