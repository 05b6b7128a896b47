#include "Host/TempFolder.h"
#include "Kit/Process.h"
#include "Kit/ProcessSystem.h"

#include <chrono>
#include <filesystem>

// Child processes, with a program that is there on every system: the command-line host.

namespace
{

const char* const c_pszHost = ZKHOST_PATH;

/// A Y4M stream of grey frames.
std::string GreyStream(int _nFrames)
{
    std::string strStream = "YUV4MPEG2 W64 H64 F25:1 Cmono\n";
    for (int i = 0; i < _nFrames; ++i)
        strStream += "FRAME\n" + std::string(size_t{64} * 64, '\x50');
    return strStream;
}

TEST(Process, WhatAProgramSaysAndHowItEnds)
{
    const PROCESS_RESULT good = Process_Run({c_pszHost, "options"});
    EXPECT_EQ(good.nExit, 0);
    EXPECT_GT(good.strOut.size(), 8000u) << "more than a buffer of it";
    EXPECT_TRUE(good.vecSaid.empty());
    // An argument with all that shells and command lines take apart comes back in the message.
    const std::string strOdd = "a \"b\" 'c' \\\\ $HOME %PATH% \xC3\xA4\\";
    const PROCESS_RESULT bad = Process_Run({c_pszHost, "detect", strOdd});
    EXPECT_EQ(bad.nExit, 1);
    ASSERT_FALSE(bad.vecSaid.empty());
    EXPECT_NE(bad.vecSaid.back().find(strOdd), std::string::npos) << bad.vecSaid.back();
    EXPECT_NE(Host_FailureOf([] { Process_Run({"no-such-program-here"}); }).find("no-such-program-here"),
              std::string::npos);
    EXPECT_FALSE(Process_IsThere("no-such-program-here"));
}

TEST(Process, ArgumentsAreQuotedAsWindowsTakesThemApart)
{
    EXPECT_EQ(ProcessSystem_Quoted("plain"), "plain");
    EXPECT_EQ(ProcessSystem_Quoted(""), "\"\"");
    EXPECT_EQ(ProcessSystem_Quoted("C:\\a b\\"), "\"C:\\a b\\\\\"") << "slashes before the closing quote are doubled";
    EXPECT_EQ(ProcessSystem_Quoted("a\\\"b"), "\"a\\\\\\\"b\"");
}

TEST(Process, BothPipesAtOnce)
{
    const std::string strStream = GreyStream(20);
    CZChildProcess child({c_pszHost, "key", "-", "-o", "-", "--keyer", "1", "--rect", "0,0,8,8"},
                         eProcess_In | eProcess_Out);
    std::string strBack(100, ' ');
    ASSERT_TRUE(child.Write(strStream.data(), strStream.size() - 100));
    ASSERT_EQ(child.Read(strBack.data(), 10), 10u);
    EXPECT_EQ(strBack.substr(0, 10), "YUV4MPEG2 ");
    child.CloseInput();
    size_t nBytes = 10;
    while (const size_t cbRead = child.Read(strBack.data(), strBack.size()))
        nBytes += cbRead;
    EXPECT_GT(nBytes, size_t{17} * 4 * 64 * 64);
    EXPECT_NE(child.Wait(), 0) << "its input was cut off inside a frame";
    ASSERT_FALSE(child.Said().empty());
    EXPECT_NE(child.Said().back().find("cut off"), std::string::npos);
}

TEST(Process, AProgramThatHasEndedTakesNoMore)
{
    CZChildProcess child({c_pszHost, "key", "-", "-o", "nowhere"}, eProcess_In); // no such kind of output
    const std::string strStream = GreyStream(400);
    EXPECT_FALSE(child.Write(strStream.data(), strStream.size()));
    EXPECT_EQ(child.Wait(), 2);
}

TEST(Process, GoesWithItsObject)
{
    const auto timeBegin = std::chrono::steady_clock::now();
    {
        CZChildProcess child({c_pszHost, "soak", "--minutes", "10"}, eProcess_Out);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - timeBegin, std::chrono::minutes(2));
}

} // namespace
