#include "zkhost/Commands/Commands.h"

#include "Kit/HostError.h"
#include "Kit/Keyer.h"
#include "Kit/Tables.h"
#include "zkhost/Files/OutFile.h"

#include "Base/ZLog.h"
#include "Interfaces/ZGuids.h"
#include "Props/TextFile.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace
{

constexpr size_t c_nMaxBytes = 65'536; // of a document
constexpr std::pair<const char*, const CLSID*> c_arrObjects[] = {{"ZChromaKey2", &CLSID_ZChromaKey2},
                                                                 {"ZChromaKey", &CLSID_ZChromaKey}};
constexpr const char* c_pszNoCheck = "this build checks no licence: it is free, and draws no notice";

/// What the module says of a licence; "" in a build that checks none.
std::string LicenceFact(std::string_view _svName)
{
    for (const ZTABLE_ROW& row : Tables_Read(CZModule::Own(), eZTable_System))
        if (row.pszName == _svName)
            return row.pszDefault;
    return {};
}

/// What an object adds to its version, in brackets.
std::string StateOf(const CLSID& _clsid)
{
    const std::string strText = CZKeyer(CZModule::Own(), _clsid).NameAndVersion();
    const size_t nBegin = strText.find('(');
    return nBegin == std::string::npos ? "" : strText.substr(nBegin + 1, strText.rfind(')') - nBegin - 1);
}

std::string LicenceText()
{
    const std::string strProduct = LicenceFact("licence for");
    if (strProduct.empty())
        return ZFormat("%hs\n", c_pszNoCheck);
    std::string strText;
    for (const auto& [pszName, pClsid] : c_arrObjects)
        strText += ZFormat("%hs\t%hs\n", pszName, StateOf(*pClsid));
    return strText + ZFormat("product\t%hs\nmachine\t%hs\nfile\t%hs\n", strProduct, LicenceFact("licence machine"),
                             LicenceFact("licence file"));
}

/// Has the module judge a document; it is right where it is for one of the objects.
void Judge(const std::string& _strPath)
{
    std::string strWhy;
    for (const auto& [pszName, pClsid] : c_arrObjects)
        try
        {
            CZKeyer(CZModule::Own(), *pClsid).OptionSet("licence.check", _strPath);
            return;
        }
        catch (const CZHostError& error)
        {
            strWhy = error.what();
        }
    throw CZHostError(strWhy);
}

void Install(const std::string& _strPath)
{
    const std::string strTarget = LicenceFact("licence file");
    if (LicenceFact("licence for").empty())
        throw CZHostError(ZFormat("%hs; nothing was installed", c_pszNoCheck));
    if (strTarget.empty())
        throw CZHostError("the system has no folder for this user's licence: set HOME, or APPDATA on Windows");
    Judge(_strPath);
    std::string strDocument;
    std::string strReason;
    std::error_code error;
    std::filesystem::create_directories(File_Path(strTarget).parent_path(), error); // what is missing shows below
    if (!TextFile_Read(_strPath, c_nMaxBytes, &strDocument, &strReason) ||
        !TextFile_Replace(strTarget, strDocument, &strReason))
        throw CZHostError(strReason);
}

} // namespace

void Command_AddLicence(CLI::App& _app)
{
    CLI::App& command = *_app.add_subcommand("licence", "Whether a licence is needed and installed; installs one");
    const auto spPath = std::make_shared<std::string>();
    command.add_option("--install", *spPath, "Install a licence for this user, once it is found right")
        ->type_name("FILE.xml")
        ->check(Command_File());
    command.footer("Builds of ours check none: they are free. Others are made by whoever issues licences.\n"
                   "Examples:\n"
                   "  zkhost licence\n"
                   "  zkhost licence --install licence.xml\n");
    command.callback([spPath] {
        if (!spPath->empty())
            Install(*spPath);
        OutFile_Print(LicenceText());
    });
}
