#include "zkhost/Ui/OpenPage.h"

#include "Base/ZLog.h"

#include <cstdint>

#if defined(_WIN32)
#include <shellapi.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#endif

namespace
{

#if defined(_WIN32)

bool Show(const std::string& _strUrl)
{
    const HINSTANCE hResult =
        ShellExecuteW(nullptr, L"open", ZText_ToWide(_strUrl).c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    return reinterpret_cast<intptr_t>(hResult) > 32; // as its documentation has it
}

#else

/// Through a shell that leaves it behind, so that nothing has to be waited for.
bool Show(const std::string& _strUrl)
{
    char szShell[] = "/bin/sh";
    char szOption[] = "-c";
    char szScript[] = "command -v xdg-open >/dev/null && { xdg-open \"$0\" >/dev/null 2>&1 & }";
    std::string strUrl = _strUrl;
    char* const arrArguments[] = {szShell, szOption, szScript, strUrl.data(), nullptr};
    pid_t nProcess = 0;
    int nStatus = 0;
    return posix_spawn(&nProcess, szShell, nullptr, nullptr, arrArguments, environ) == 0 &&
           waitpid(nProcess, &nStatus, 0) == nProcess && nStatus == 0;
}

#endif

} // namespace

void OpenPage_Show(const std::string& _strUrl)
{
    if (!Show(_strUrl))
        ZLog(eZLog_Warning, "the browser could not be started; open %s yourself\n", _strUrl);
}
