#include "zkhost/Commands/Commands.h"

#include "Kit/Adapters.h"
#include "Kit/Keyer.h"
#include "zkhost/Files/OutFile.h"

#include "Base/ZCpu.h"
#include "Base/ZLog.h"
#include "Base/ZSystem.h"
#include "Interfaces/ZGuids.h"

namespace
{

std::string GuidText(REFGUID _guid)
{
    std::string strText = ZFormat("{%08X-%04X-%04X-", _guid.Data1, _guid.Data2, _guid.Data3);
    for (int i = 0; i < 8; ++i)
        strText += ZFormat(i == 2 ? "-%02X" : "%02X", _guid.Data4[i]);
    return strText + "}";
}

/// What ZCK_SIMD can ask for here.
std::string LevelsText()
{
    std::string strText;
    for (const eSIMD_Level eLevel : {eSIMD_None, eSIMD_AVX2, eSIMD_AVX512})
        if (eLevel <= ZCpu_Detected())
            strText += ZFormat(strText.empty() ? "%hs" : " %hs", ZCpu_LevelName(eLevel));
    return strText;
}

std::string InfoText()
{
    std::string strText = ZFormat("plug-in\t%s\n", CZKeyer().NameAndVersion());
    strText += ZFormat("system\t%s\n", ZSystem_Name());
    strText += ZFormat("processor\t%s\n", ZSystem_Processor());
    strText += ZFormat("SIMD in use\t%s\n", ZCpu_LevelName(ZCpu_Level()));
    strText += ZFormat("SIMD available\t%s\n", ZCpu_LevelName(ZCpu_Detected()));
    strText += "SIMD levels\t" + LevelsText() + "\n";
    const std::vector<std::string> vecAdapters = Adapters_List();
    for (const std::string& strAdapter : vecAdapters)
        strText += ZFormat("GPU adapters\t%s\n", strAdapter);
    if (vecAdapters.empty())
        strText += "GPU adapters\tnone\n";
    strText += ZFormat("class ZChromaKey\t%s\n", GuidText(CLSID_ZChromaKey));
    strText += ZFormat("class ZKey\t%s\n", GuidText(CLSID_ZKey));
    return strText + ZFormat("type library ZCHROMAKEYLib\t%s\n", GuidText(LIBID_ZCHROMAKEYLib));
}

} // namespace

void Command_AddInfo(CLI::App& _app)
{
    CLI::App& command =
        *_app.add_subcommand("info", "Version, instruction sets, graphics adapters and class identifiers");
    command.footer("Examples:\n"
                   "  zkhost info\n"
                   "  ZCK_SIMD=none zkhost info\n");
    command.callback([] { OutFile_Print(InfoText()); });
}
