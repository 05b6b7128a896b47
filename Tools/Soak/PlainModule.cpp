#include "Soak/PlainModule.h"

#include "Kit/HostError.h"
#include "Kit/Platform.h"
#include "Kit/Tables.h"
#include "zkhost/Files/System.h"

#include "Base/ZLog.h"
#include "Props/TempFile.h"

#include <cstdlib>
#include <optional>
#include <string_view>

namespace fs = std::filesystem;

namespace
{

constexpr const char* c_pszVariable = "ZCK_SIMD";
constexpr const char* c_pszPlain = "none";
constexpr const char* c_pszFact = "SIMD in use";

/// The variable of the environment, for this program and what it loads; null takes it out.
void VariableSet(const char* _pszValueOrNull)
{
#if defined(_WIN32)
    _putenv_s(c_pszVariable, _pszValueOrNull ? _pszValueOrNull : "");
#else
    if (_pszValueOrNull)
        setenv(c_pszVariable, _pszValueOrNull, 1);
    else
        unsetenv(c_pszVariable);
#endif
}

/// Another value for the time of a scope.
class CZVariableScope
{
public:
    explicit CZVariableScope(const char* _pszValue)
    {
        if (const char* const pszBefore = std::getenv(c_pszVariable))
            m_strBefore = pszBefore;
        VariableSet(_pszValue);
    }
    ~CZVariableScope()
    {
        VariableSet(m_strBefore ? m_strBefore->c_str() : nullptr);
    }
    CZVariableScope(const CZVariableScope&) = delete;
    CZVariableScope& operator=(const CZVariableScope&) = delete;

private:
    std::optional<std::string> m_strBefore;
};

std::string LevelOf(const CZModule& _module)
{
    for (const ZTABLE_ROW& row : Tables_Read(_module, eZTable_System))
        if (std::string_view(row.pszName) == c_pszFact)
            return row.pszDefault;
    return "not told";
}

std::string TextOf(const fs::path& _path)
{
    const std::u8string strPath = _path.u8string();
    return {strPath.begin(), strPath.end()};
}

/// A new folder for the copy. One that is there already may be somebody else's, who could change what is loaded from
/// it, or was left by a process of that number that was killed.
fs::path FolderMake(std::error_code* _pError)
{
    constexpr int c_nMostNames = 100;
    fs::path path;
    bool bMade = false;
    for (int n = 0; n < c_nMostNames && !bMade && !*_pError; ++n)
    {
        path = fs::temp_directory_path(*_pError) / ZFormat("zkhost-plain-%u-%d", System_ProcessId(), n);
        bMade = !*_pError && fs::create_directory(path, *_pError);
    }
    if (!bMade && !*_pError)
        *_pError = std::make_error_code(std::errc::file_exists);
    return path;
}

} // namespace

CZPlainModule::CZPlainModule()
{
    std::error_code error;
    const fs::path pathModule = File_Path(CZModule::Own().Path());
    m_pathFolder = FolderMake(&error);
    if (error || !fs::copy_file(pathModule, m_pathFolder / pathModule.filename(), error))
        throw CZHostError(ZFormat("cannot copy the module to %s: %s; is there space, and may it be written?",
                                  TextOf(m_pathFolder), error.message()));
    try
    {
        Load();
    }
    catch (...)
    {
        m_upModule.reset();
        Remove();
        throw;
    }
}

void CZPlainModule::Load()
{
    const CZVariableScope scope(c_pszPlain);
    m_upModule = std::make_unique<CZModule>(TextOf(m_pathFolder / Platform_ModuleName()));
    const std::string strLevel = LevelOf(*m_upModule); // read once in a module's life: now
    if (strLevel != c_pszPlain)
        throw CZHostError(
            ZFormat("the copy of the module to compare with uses instruction set \"%s\" in spite of %s=%s", strLevel,
                    c_pszVariable, c_pszPlain));
}

CZPlainModule::~CZPlainModule()
{
    m_upModule.reset(); // a system may refuse to remove what is loaded
    Remove();
}

void CZPlainModule::Remove()
{
    std::error_code error;
    fs::remove_all(m_pathFolder, error);
}
