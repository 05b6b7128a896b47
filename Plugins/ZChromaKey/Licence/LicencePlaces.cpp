#include "ZChromaKey/Licence/LicencePlaces.h"

#include "Base/ZLog.h"
#include "Props/TempFile.h"
#include "Props/TextFile.h"
#include "ZChromaKey/Licence/Licence.h"

#include <filesystem>
#include <system_error>

namespace
{

std::string FileIn(const std::string& _strFolder)
{
    return _strFolder.empty() ? "" : ZFormat("%hs/licence.xml", _strFolder);
}

} // namespace

std::vector<LICENCE_FOUND> LicencePlaces_Read()
{
    std::vector<LICENCE_FOUND> vecFound = LicencePlaces_Registry();
    for (const std::string& strFolder : LicencePlaces_Folders())
    {
        std::error_code error;
        if (!strFolder.empty() && std::filesystem::exists(File_Path(FileIn(strFolder)), error))
            vecFound.push_back(LicencePlaces_File(FileIn(strFolder)));
    }
    return vecFound;
}

LICENCE_FOUND LicencePlaces_File(const std::string& _strPath)
{
    std::error_code error;
    LICENCE_FOUND found = {_strPath, "", ""};
    const auto eType = std::filesystem::status(File_Path(_strPath), error).type();
    if (eType == std::filesystem::file_type::regular)
        TextFile_Read(_strPath, c_nLicenceMaxBytes, &found.strDocument, &found.strReason);
    else // a pipe would have to be waited for
        found.strReason = eType == std::filesystem::file_type::not_found ? "there is no such file" : "it is no file";
    return found;
}

std::string LicencePlaces_UserFile()
{
    return FileIn(LicencePlaces_Folders().front());
}
