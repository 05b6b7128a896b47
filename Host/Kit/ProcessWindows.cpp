#include "Kit/HostError.h"
#include "Kit/Platform.h"
#include "Kit/Process.h"
#include "Kit/ProcessSystem.h"

#include "Base/ZLog.h"
#include "Base/ZText.h"
#include "Interfaces/ZPlatform.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr DWORD c_cbPipe = 1 << 20;

HANDLE HandleOf(intptr_t _nHandle)
{
    return reinterpret_cast<HANDLE>(_nHandle);
}

intptr_t NumberOf(HANDLE _hHandle)
{
    return reinterpret_cast<intptr_t>(_hHandle);
}

/// Handles that the child gets: the ends of pipes, or the device that is empty and takes all.
class CChildEnds
{
public:
    CChildEnds() = default;
    ~CChildEnds()
    {
        for (const HANDLE hEnd : m_arrEnds)
            if (hEnd)
                CloseHandle(hEnd);
    }
    CChildEnds(const CChildEnds&) = delete;
    CChildEnds& operator=(const CChildEnds&) = delete;

    /// Makes a pipe; answers the end that stays here. _bToChild: the child reads.
    intptr_t Pipe(int _nStandard, bool _bToChild)
    {
        HANDLE hRead = nullptr, hWrite = nullptr;
        if (!CreatePipe(&hRead, &hWrite, nullptr, c_cbPipe))
            throw CZHostError(ZFormat("no pipe to a child process (error %d)", GetLastError()));
        m_arrEnds[_nStandard] = _bToChild ? hRead : hWrite;
        SetHandleInformation(m_arrEnds[_nStandard], HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
        return NumberOf(_bToChild ? hWrite : hRead);
    }
    void Null(int _nStandard)
    {
        SECURITY_ATTRIBUTES security = {sizeof(security), nullptr, TRUE};
        m_arrEnds[_nStandard] = CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                            &security, OPEN_EXISTING, 0, nullptr);
    }
    HANDLE* Ends()
    {
        return m_arrEnds;
    }

private:
    HANDLE m_arrEnds[3] = {};
};

/// Starts a program that gets these three handles and no other one of this process.
HANDLE StartWith(const std::wstring& _wstrProgram, std::wstring _wstrCommand, HANDLE* _pEnds)
{
    SIZE_T cbList = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &cbList);
    std::vector<std::max_align_t> vecList(cbList / sizeof(std::max_align_t) + 1);
    STARTUPINFOEXW info = {};
    info.StartupInfo.cb = sizeof(info);
    info.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    info.StartupInfo.hStdInput = _pEnds[0];
    info.StartupInfo.hStdOutput = _pEnds[1];
    info.StartupInfo.hStdError = _pEnds[2];
    info.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(vecList.data());
    InitializeProcThreadAttributeList(info.lpAttributeList, 1, 0, &cbList);
    UpdateProcThreadAttribute(info.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, static_cast<void*>(_pEnds),
                              3 * sizeof(HANDLE), nullptr, nullptr);
    PROCESS_INFORMATION process = {};
    const BOOL bStarted = CreateProcessW(_wstrProgram.c_str(), _wstrCommand.data(), nullptr, nullptr, TRUE,
                                         EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, &info.StartupInfo, &process);
    const DWORD nError = GetLastError();
    DeleteProcThreadAttributeList(info.lpAttributeList);
    if (!bStarted)
        throw CZHostError(ZFormat("cannot start %ws (error %d)", _wstrProgram.c_str(), nError));
    CloseHandle(process.hThread);
    return process.hProcess;
}

} // namespace

CHILD_HANDLES ProcessSystem_Start(const std::vector<std::string>& _vecCommand, int _nPipes)
{
    const std::string strProgram = ProcessSystem_Find(_vecCommand.at(0));
    if (strProgram.empty())
        throw CZHostError(ZFormat("cannot start %s: there is no such program", _vecCommand.front()));
    std::string strCommand;
    for (const std::string& strArgument : _vecCommand)
        strCommand += ZFormat("%hs%s", strCommand.empty() ? "" : " ", ProcessSystem_Quoted(strArgument));
    CHILD_HANDLES child;
    CChildEnds ends;
    try
    {
        if (_nPipes & eProcess_In)
            child.nIn = ends.Pipe(0, true);
        else
            ends.Null(0);
        if (_nPipes & eProcess_Out)
            child.nOut = ends.Pipe(1, false);
        else
            ends.Null(1);
        child.nError = ends.Pipe(2, false);
        child.nProcess = NumberOf(StartWith(ZText_ToWide(strProgram), ZText_ToWide(strCommand), ends.Ends()));
    }
    catch (...)
    {
        for (intptr_t* const pnPipe : {&child.nIn, &child.nOut, &child.nError})
            ProcessSystem_Close(*pnPipe);
        throw;
    }
    return child;
}

void ProcessSystem_Await(intptr_t /*_nPipe*/, bool /*_bWrite*/)
{
}

int64_t ProcessSystem_Read(intptr_t _nPipe, void* _pBytes, size_t _cbBytes)
{
    DWORD cbRead = 0;
    const auto cbMost = static_cast<DWORD>(std::min<size_t>(_cbBytes, c_cbPipe));
    return ReadFile(HandleOf(_nPipe), _pBytes, cbMost, &cbRead, nullptr) ? cbRead : 0; // fails where the pipe has ended
}

int64_t ProcessSystem_Write(intptr_t _nPipe, const void* _pBytes, size_t _cbBytes)
{
    DWORD cbWritten = 0;
    const auto cbMost = static_cast<DWORD>(std::min<size_t>(_cbBytes, c_cbPipe));
    return WriteFile(HandleOf(_nPipe), _pBytes, cbMost, &cbWritten, nullptr) ? int64_t{cbWritten} : -1;
}

void ProcessSystem_Close(intptr_t& _nPipe)
{
    if (_nPipe != c_nNoHandle)
        CloseHandle(HandleOf(std::exchange(_nPipe, c_nNoHandle)));
}

void ProcessSystem_Kill(intptr_t _nProcess)
{
    TerminateProcess(HandleOf(_nProcess), 1);
}

int ProcessSystem_Reap(intptr_t& _nProcess)
{
    DWORD nExit = 0;
    WaitForSingleObject(HandleOf(_nProcess), INFINITE);
    GetExitCodeProcess(HandleOf(_nProcess), &nExit);
    CloseHandle(HandleOf(std::exchange(_nProcess, c_nNoHandle)));
    return static_cast<int>(nExit);
}

std::string ProcessSystem_Find(const std::string& _strProgram)
{
    const bool bNamed = _strProgram.size() > 4 && _strProgram.ends_with(".exe");
    const std::string strFile = bNamed ? _strProgram : ZFormat("%s.exe", _strProgram);
    if (_strProgram.find_first_of("/\\:") != std::string::npos)
        return Platform_Exists(strFile) ? strFile : "";
    std::wstring wstrPath(GetEnvironmentVariableW(L"PATH", nullptr, 0), L'\0');
    wstrPath.resize(GetEnvironmentVariableW(L"PATH", wstrPath.data(), static_cast<DWORD>(wstrPath.size())));
    std::string strRest = ZText_FromWide(wstrPath);
    while (!strRest.empty()) // not the current folder, which the system would look in first
    {
        const size_t nEnd = std::min(strRest.find(';'), strRest.size());
        std::string strFound = ZFormat("%s\\%s", strRest.substr(0, nEnd), strFile);
        if (nEnd > 0 && Platform_Exists(strFound))
            return strFound;
        strRest.erase(0, nEnd + 1);
    }
    return {};
}
