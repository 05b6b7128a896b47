#include "Host/CommandRunner.h"

#include <gtest/gtest.h>

namespace
{

/// zkhost beside the module with a key; a licence goes into a folder of the test's own.
class LicenceCommand : public CCommandTest
{
protected:
    LicenceCommand()
    {
#if defined(_WIN32)
        _putenv_s("APPDATA", m_folder.Path("user").c_str());
        _putenv_s("PROGRAMDATA", m_folder.Path("machine").c_str());
#else
        setenv("XDG_CONFIG_HOME", m_folder.Path("user").c_str(), 1);
#endif
    }
    static std::string Licence(const std::string& _strName)
    {
        return Quoted(ZCK_LICENCES "/" + _strName);
    }
};

TEST_F(LicenceCommand, ShowsTheStateAndInstallsWhatIsRight)
{
    EXPECT_EQ(Run("licence"), 0) << m_strError;
    ExpectOut({"ZChromaKey2\tevaluation copy: no licence is installed\n", "machine\t", "licence.xml\n"});
    ExpectFailures(1, {{"licence --install " + Licence("expired.xml"), "it ended on 2020-12-31"},
                       {"licence --install " + Licence("none.xml"), "there is no such file"}});
    EXPECT_EQ(Run("licence --install " + Licence("first-generation.xml")), 0) << m_strError;
    ExpectOut({"ZChromaKey2\tevaluation copy: the licence is for other features\n", "ZChromaKey\tlicensed to Test"});
    EXPECT_EQ(Run("licence --install " + Licence("valid.xml")), 0) << m_strError;
    ExpectOut({"ZChromaKey2\tlicensed to Test", "ZChromaKey\tlicensed to Test", "until 2999-12-31\n"});
    ExpectFailures(1, {{"licence --install " + Licence("foreign.xml"), "does not bear the signature"}});
    EXPECT_EQ(Run("licence"), 0);
    ExpectOut({"ZChromaKey2\tlicensed to Test"});
    EXPECT_EQ(m_strError, "");
}

TEST_F(LicenceCommand, SaysPlainlyThatAFreeBuildChecksNone)
{
    EXPECT_EQ(Shell(Quoted(ZCK_FREE_ZKHOST) + " licence"), 0) << m_strError;
    EXPECT_EQ(m_strOut, "this build checks no licence: it is free, and draws no notice\n");
    EXPECT_EQ(Shell(Quoted(ZCK_FREE_ZKHOST) + " licence --install " + Licence("valid.xml")), 1);
    ExpectLastLine("nothing was installed");
    EXPECT_EQ(m_folder.Files(), 0u);
}

} // namespace
