#include "Kit/Process.h"

#include "Kit/HostError.h"

#include <array>
#include <cstdio>

#if defined(_WIN32)
#define popen _popen
#define pclose _pclose
#endif

std::string Process_Run(const std::string& _strCommand, int* _pnExit)
{
    std::string strText;
    std::FILE* const pPipe = popen((_strCommand + " 2>&1").c_str(), "r"); // NOLINT(cert-env33-c)
    if (!pPipe)
        throw CZHostError("cannot run " + _strCommand);
    std::array<char, 4096> arrBytes;
    while (const size_t cbRead = std::fread(arrBytes.data(), 1, arrBytes.size(), pPipe))
        strText.append(arrBytes.data(), cbRead);
    *_pnExit = pclose(pPipe);
    return strText;
}
