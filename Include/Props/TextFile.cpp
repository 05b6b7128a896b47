#include "Props/TextFile.h"

#include "Base/ZLog.h"
#include "Props/TempFile.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace
{

bool Fail(std::string* _pstrReason, const char* _pszWhat, std::string_view _svPath, const std::string& _strWhy)
{
    *_pstrReason = ZFormat("cannot %hs \"%hs\": %hs", _pszWhat, _svPath, _strWhy);
    return false;
}

} // namespace

bool TextFile_Read(std::string_view _svPath, size_t _cbMax, std::string* _pstrText, std::string* _pstrReason)
{
    std::error_code err;
    if (std::filesystem::is_directory(File_Path(_svPath), err))
        return Fail(_pstrReason, "read", _svPath, "it is a folder");
    errno = 0;
    std::ifstream file(File_Path(_svPath), std::ios::binary);
    if (!file)
        return Fail(_pstrReason, "read", _svPath, File_LastError());
    std::string strText;
    char arrPart[16384];
    while (file.read(arrPart, sizeof(arrPart)) || file.gcount() > 0)
    {
        strText.append(arrPart, static_cast<size_t>(file.gcount()));
        if (strText.size() > _cbMax)
            return Fail(_pstrReason, "read", _svPath, ZFormat("it has more than %zu bytes", _cbMax));
    }
    if (file.bad())
        return Fail(_pstrReason, "read", _svPath, File_LastError());
    *_pstrText = std::move(strText);
    return true;
}

bool TextFile_Replace(std::string_view _svPath, std::string_view _svText, std::string* _pstrReason)
{
    CTempFile file;
    if (!file.Open(_svPath) || !file.Write(_svText) || !file.Close())
        return Fail(_pstrReason, "write", _svPath, file.Reason());
    return file.Commit() || Fail(_pstrReason, "replace", _svPath, file.Reason());
}
