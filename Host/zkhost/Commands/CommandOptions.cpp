#include "zkhost/Commands/Commands.h"

#include "zkhost/Files/OutFile.h"

#include "Base/ZLog.h"
#include "Helpers/CKDetectOptions.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"
#include "ZChromaKey/Keys/KeyAdjust.h"

namespace
{

constexpr const char* c_pszOptions = "# Options and adjustments\n\n"
                                     "Made by `zkhost options` from the tables that the plug-in itself reads.\n\n"
                                     "## Options\n\n"
                                     "Set by name through `IZProps` (`zkhost key --set NAME=VALUE`); read when a frame "
                                     "comes in. A value that does not fit\n"
                                     "is refused with E_INVALIDARG, and the log says what fits.\n\n"
                                     "| option | default | effect |\n|---|---|---|\n";
constexpr const char* c_pszDetect =
    "\n## Options of detection\n\n"
    "Given to `KeyDetect` as \"name=value\" pairs, with or without \"detect.\" in front, or set as options.\n\n"
    "| option | takes | default | effect |\n|---|---|---|---|\n";
constexpr const char* c_pszAdjust =
    "\n## Adjustments\n\n"
    "Set through `IZChromaKey::KeyAdjustSet` (`zkhost key --adjust NAME=VALUE`). Each acts on the keys as they were "
    "taken, so\n"
    "moving one there and back changes nothing. 0 means \"as taken\".\n\n"
    "| `eCK_Adjust` | name | range | what you see | what it does to the key set |\n|---|---|---|---|---|\n";

std::string OptionsText()
{
    std::string strText = c_pszOptions;
    for (const CK_OPTION& option : ChromaKeyOptions_Table())
        strText += ZFormat("| \"%s\" | %s | %s |\n", option.pszName, option.pszDefault[0] ? option.pszDefault : "none",
                           option.pszHelp);
    strText += c_pszDetect;
    for (const CKUtils::CK_DETECT_OPTION& option : CKUtils::DetectOptions_Table())
        strText += ZFormat("| \"detect.%s\" | %s | %s | %s |\n", option.pszName, option.pszRight, option.pszDefault,
                           option.pszHelp);
    strText += c_pszAdjust;
    for (const CK_ADJUST_INFO& info : KeyAdjust_Table())
        strText += ZFormat("| %d | %s | %.0f to %.0f %s | %s | %s |\n", info.eAdjust, info.pszName, info.dblMin,
                           info.dblMax, info.pszUnit, info.pszOperator, info.pszEffect);
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
