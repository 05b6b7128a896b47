#pragma once

#include "Host/TempFolder.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

/// Commands, and a text in the last line of each.
using CASES = std::vector<std::pair<std::string, const char*>>;

/// Runs the built program, and looks at what it leaves.
class CCommandTest : public testing::Test
{
protected:
    /// Answers the exit status; the streams are in m_strOut and m_strError.
    int Run(const std::string& _strArgs)
    {
        return Shell(Quoted(ZKHOST_PATH) + " " + _strArgs);
    }
    int Shell(const std::string& _strCommand)
    {
        const std::string strLine =
            _strCommand + " > " + Quoted(m_streams.Path("out")) + " 2> " + Quoted(m_streams.Path("err"));
#if defined(_WIN32)
        const int nStatus = std::system(("\"" + strLine + "\"").c_str());
#else
        const int nSystem = std::system(strLine.c_str());
        const int nStatus = WIFEXITED(nSystem) ? WEXITSTATUS(nSystem) : -1;
#endif
        m_strOut = m_streams.Read("out");
        m_strError = m_streams.Read("err");
        for (std::string* pstrText : {&m_strOut, &m_strError})
            std::erase(*pstrText, '\r'); // text lines end as the system ends them
        return nStatus;
    }
    static std::string Quoted(const std::string& _strText)
    {
        return "\"" + _strText + "\"";
    }
    std::string File(const std::string& _strName) const
    {
        return Quoted(m_folder.Path(_strName));
    }
    std::string LastLine() const
    {
        const std::string strText = m_strError.substr(0, m_strError.find_last_not_of("\r\n") + 1);
        return strText.substr(strText.find_last_of('\n') + 1);
    }
    void ExpectLastLine(const std::string& _strPart) const
    {
        EXPECT_NE(LastLine().find(_strPart), std::string::npos) << m_strError;
    }

    /// Commands that end with a status and leave no file behind.
    void ExpectFailures(int _nStatus, const CASES& _vecCases)
    {
        const size_t nFiles = m_folder.Files();
        for (const auto& [strArgs, pszPart] : _vecCases)
        {
            EXPECT_EQ(Run(strArgs), _nStatus) << strArgs << "\n" << m_strError;
            ExpectLastLine(pszPart);
            EXPECT_EQ(m_folder.Files(), nFiles) << strArgs;
        }
    }
    void ExpectOut(std::initializer_list<const char*> _arrParts) const
    {
        for (const char* pszPart : _arrParts)
            EXPECT_NE(m_strOut.find(pszPart), std::string::npos) << pszPart << m_strOut;
    }

    CTempFolder m_folder;
    CTempFolder m_streams;
    std::string m_strOut;
    std::string m_strError;
};
