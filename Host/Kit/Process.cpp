#include "Kit/Process.h"

#include "Kit/HostError.h"

#include <array>
#include <cstdio>
#include <utility>

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

CZChildProcess::CZChildProcess(const std::string& _strProgram, const std::string& _strArguments)
{
    std::string strCommand = "\"" + _strProgram + "\" " + _strArguments;
#if defined(_WIN32)
    strCommand = "\"" + strCommand + "\""; // its shell takes the outer quotes away
#endif
    m_pPipe = popen(strCommand.c_str(), "w"); // NOLINT(cert-env33-c)
    if (!m_pPipe)
        throw CZHostError("cannot run " + _strProgram);
}

CZChildProcess::CZChildProcess(CZChildProcess&& _other) noexcept
    : m_pPipe(std::exchange(_other.m_pPipe, nullptr))
{
}

CZChildProcess::~CZChildProcess()
{
    if (m_pPipe)
        pclose(m_pPipe);
}
