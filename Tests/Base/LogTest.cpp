#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "Base/ZLog.h"
#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

/// Counts how often it is asked for its text.
struct COSTLY
{
    int* pnAsked;
    operator std::string_view() const
    {
        ++*pnAsked;
        return "costly";
    }
};

TEST(LogFormat, PrintsHouseFormats)
{
    const std::string strUtf8 = "\xC3\xA9";
    EXPECT_EQ(ZFormat("CK::OnMediaReceive() m_cpFrameIn=%ws\n", L"f\u00e9"),
              "CK::OnMediaReceive() m_cpFrameIn=f\xC3\xA9\n");
    EXPECT_EQ(ZFormat("%ws %hs %s", strUtf8, "b", std::string_view("c")), "\xC3\xA9 b c");
    EXPECT_EQ(ZFormat("hr=%08X", E_POINTER), "hr=80004003");
    EXPECT_EQ(ZFormat("%04X(%d) %#x %#X", 255, -7, 255u, 255u), "00FF(-7) 0xff 0XFF");
    EXPECT_EQ(ZFormat("%I64X %lld %hu", int64_t{-1}, std::numeric_limits<int64_t>::min(), uint16_t{65535}),
              "FFFFFFFFFFFFFFFF -9223372036854775808 65535");
    EXPECT_EQ(ZFormat("[%5d|%-5d|%05d|%+d]", 42, 42, -42, 42), "[   42|42   |-0042|+42]");
    EXPECT_EQ(ZFormat("[%6.2f|%-6.1f|%.03f|%g]", 3.14159, 2.5, 0.0005, 0.1), "[  3.14|2.5   |0.001|0.1]");
    EXPECT_EQ(ZFormat("%.3s|%4s|100%%", "abcdef", "x"), "abc|   x|100%");
}

TEST(LogFormat, SurvivesWrongArguments)
{
    EXPECT_EQ(ZFormat("%d %d", 1), "1 (?)");
    EXPECT_EQ(ZFormat("%d %s %f", "text", 1, 2), "(?) (?) (?)");
    EXPECT_EQ(ZFormat("no conversion", 1, 2), "no conversion");
    EXPECT_EQ(ZFormat("end %", 1), "end (?)");
    EXPECT_EQ(ZFormat("%q", 1), "(?)");
    EXPECT_EQ(ZFormat("%s %ws", static_cast<const char*>(nullptr), static_cast<const wchar_t*>(nullptr)),
              "(null) (null)");
    EXPECT_LE(ZFormat("%99999999999d", 1).size(), 5000u);
}

TEST(LogSink, TakesLinesUpToItsLevel)
{
    const CLogCatcher log(eZLog_Warning);
    int nAsked = 0;
    ZLog(eZLog_Error, "one %d\n", 1);
    ZLog(eZLog_Info, "off %s\n", COSTLY{&nAsked});
    EXPECT_EQ(nAsked, 0) << "arguments of a level that is off are not formatted";
    EXPECT_FALSE(Z_VERIFY_TEXT(nAsked == 1, "_pProps"));
    EXPECT_TRUE(Z_VERIFY(nAsked == 0));
    ZLog_Set(nullptr, eZLog_Off);
    ZLog(eZLog_Error, "nobody hears this\n");
    const std::vector<std::string> vecLines = log.Lines();
    ASSERT_EQ(vecLines.size(), 2u);
    EXPECT_EQ(vecLines[0], "1:one 1");
    EXPECT_NE(vecLines[1].find("LogTest.cpp("), std::string::npos);
    EXPECT_NE(vecLines[1].find("\"_pProps\""), std::string::npos);
}

TEST(Border, TurnsExceptionsIntoResultCodes)
{
    const CLogCatcher log(eZLog_Error);
    EXPECT_EQ(ZBorder("A", [] { return S_FALSE; }), S_FALSE);
    EXPECT_EQ(ZBorder("CCoZ::Alloc", []() -> HRESULT { throw std::bad_alloc(); }), E_OUTOFMEMORY);
    EXPECT_EQ(ZBorder("CCoZ::Std", []() -> HRESULT { throw std::runtime_error("why"); }), E_UNEXPECTED);
    EXPECT_EQ(ZBorder("CCoZ::Any", []() -> HRESULT { throw 1; }), E_UNEXPECTED);
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{"1:CCoZ::Alloc: out of memory", "1:CCoZ::Std: why",
                                                     "1:CCoZ::Any: unknown exception"}));
}

TEST(Text, ConvertsBetweenUtf8AndWideAndRepairsWhatIsNotValid)
{
    const std::string strAll = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xAC";
    EXPECT_EQ(ZText_FromWide(ZText_ToWide(strAll)), strAll);
    const std::string strBad = "\xEF\xBF\xBD"; // U+FFFD
    for (const char* psz : {"\x80", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82", "\xFF"})
    {
        const std::string strOut = ZText_FromWide(ZText_ToWide(psz));
        ASSERT_FALSE(strOut.empty()) << psz;
        for (size_t i = 0; i < strOut.size(); i += 3)
            EXPECT_EQ(strOut.substr(i, 3), strBad);
    }
    EXPECT_EQ(ZText_FromWide(std::wstring(1, static_cast<wchar_t>(0xD800))), strBad);
}

} // namespace
