#pragma once

#include <string>
#include <vector>

/// Where licences are looked for, and what the system says of the machine.

/// A document that was found.
struct LICENCE_FOUND
{
    std::string strWhere; ///< path, or registry key and value
    std::string strDocument;
    std::string strReason; ///< why it cannot be read; "" when it can
};

/// All documents, the user's own before the machine's: on Windows the value "licence" under
/// HKEY_CURRENT_USER and then HKEY_LOCAL_MACHINE, key "Software\Corvala\ZChromaKey\Licence", and the file licence.xml
/// in %APPDATA%\Corvala\ZChromaKey and %PROGRAMDATA%\Corvala\ZChromaKey; elsewhere licence.xml in
/// $XDG_CONFIG_HOME/zchromakey (~/.config/zchromakey) and /etc/zchromakey.
std::vector<LICENCE_FOUND> LicencePlaces_Read();

/// The document of a file; the reason says where that is none.
LICENCE_FOUND LicencePlaces_File(const std::string& _strPath);

/// The path of the user's own file, whether it is there or not; "" where the system has no folder for it.
std::string LicencePlaces_UserFile();

/// \name As the system has it
///@{
/// Documents in the registry; none where there is no registry.
std::vector<LICENCE_FOUND> LicencePlaces_Registry();
/// The folders of files, the user's before the machine's; "" for one that there is not.
std::vector<std::string> LicencePlaces_Folders();
/// The machine's own identity, which an installation of the system keeps; "" where there is none.
std::string LicencePlaces_Machine();
///@}
