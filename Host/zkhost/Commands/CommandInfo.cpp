#include "zkhost/Commands/Commands.h"

#include "Kit/Keyer.h"
#include "Kit/Tables.h"
#include "zkhost/Files/OutFile.h"

#include "Base/ZLog.h"
#include "Interfaces/ZGuids.h"

#include <utility>

namespace
{

std::string GuidText(REFGUID _guid)
{
    std::string strText = ZFormat("{%08X-%04X-%04X-", _guid.Data1, _guid.Data2, _guid.Data3);
    for (int i = 0; i < 8; ++i)
        strText += ZFormat(i == 2 ? "-%02X" : "%02X", _guid.Data4[i]);
    return strText + "}";
}

std::string InfoText()
{
    std::string strText = ZFormat("plug-in\t%s\n", CZKeyer().NameAndVersion());
    for (const ZTABLE_ROW& row : Tables_Read(CZModule::Own(), eZTable_System))
        strText += ZFormat("%hs\t%hs\n", row.pszName, row.pszDefault);
    const std::vector<ZTABLE_ROW> vecAdapters = Tables_Read(CZModule::Own(), eZTable_Adapters);
    for (const ZTABLE_ROW& row : vecAdapters)
        strText += ZFormat("GPU adapters\t%hs\n", row.pszName);
    if (vecAdapters.empty())
        strText += "GPU adapters\tnone\n";
    constexpr std::pair<const char*, const CLSID*> c_arrClasses[] = {{"ZChromaKey2", &CLSID_ZChromaKey2},
                                                                     {"ZKey2", &CLSID_ZKey2},
                                                                     {"ZChromaKey", &CLSID_ZChromaKey},
                                                                     {"ZKey", &CLSID_ZKey}};
    for (const auto& [pszName, pClsid] : c_arrClasses)
        strText += ZFormat("class %hs\t%s\n", pszName, GuidText(*pClsid));
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
