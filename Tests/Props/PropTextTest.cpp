#include "Props/PropPairs.h"
#include "Props/PropText.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>

namespace
{

template <class T> std::optional<T> ReadAs(bool (*_pfnRead)(std::string_view, T*), const char* _pszText)
{
    T value{};
    const T before = value;
    if (_pfnRead(_pszText, &value))
        return value;
    EXPECT_EQ(value, before) << "a refused text changed the result: " << _pszText;
    return std::nullopt;
}

TEST(PropText, ReadsWholeNumbersAndRefusesTheRest)
{
    constexpr int64_t c_nMin = std::numeric_limits<int64_t>::min();
    const std::pair<const char*, std::optional<int64_t>> arrCases[] = {
        {"0", 0},
        {" \t+12\r\n", 12},
        {"-1", -1},
        {"9223372036854775807", std::numeric_limits<int64_t>::max()},
        {"9223372036854775808", {}},
        {"-9223372036854775808", c_nMin},
        {"-9223372036854775809", {}},
        {"", {}},
        {"+", {}},
        {"+-1", {}},
        {"1 2", {}},
        {"1.0", {}},
        {"0x10", {}},
    };
    for (const auto& [pszText, nInt] : arrCases)
        EXPECT_EQ(ReadAs(PropText_ReadInt, pszText), nInt) << pszText;
    EXPECT_EQ(ReadAs(PropText_ReadInt32, "-2147483648"), -2147483647 - 1);
    EXPECT_EQ(ReadAs(PropText_ReadInt32, "2147483648"), std::nullopt);
}

TEST(PropText, ReadsTruths)
{
    for (const char* pszTrue : {"true", "TRUE", "Yes", "on", " 1 ", "-5", "9223372036854775807"})
        EXPECT_EQ(ReadAs(PropText_ReadBool, pszTrue), true) << pszTrue;
    for (const char* pszFalse : {"false", "No", "OFF", "0", "-0"})
        EXPECT_EQ(ReadAs(PropText_ReadBool, pszFalse), false) << pszFalse;
    for (const char* pszOther : {"", "t", "truer", "0.5", "of"})
        EXPECT_EQ(ReadAs(PropText_ReadBool, pszOther), std::nullopt) << pszOther;
    EXPECT_EQ(ReadAs(PropText_ReadBool, PropText_FromBool(true)), true);
    EXPECT_EQ(ReadAs(PropText_ReadBool, PropText_FromBool(false)), false);
}

TEST(PropText, DoublesRoundTrip)
{
    using limits = std::numeric_limits<double>;
    for (const double dblValue : {0.0, 1 / 3.0, -1e300 / 7, limits::denorm_min(), limits::min(), limits::lowest()})
    {
        const std::string strText = PropText_FromDouble(dblValue);
        EXPECT_LE(strText.size(), 24u) << strText;
        EXPECT_EQ(ReadAs(PropText_ReadDouble, strText.c_str()), dblValue) << strText;
    }
    EXPECT_EQ(PropText_FromDouble(0.1), "0.1");
    EXPECT_EQ(PropText_FromDouble(-100), "-100");
    EXPECT_EQ(ReadAs(PropText_ReadDouble, " +1.5e-3 "), 0.0015);
    for (const char* pszOther : {"", "1,5", "inf", "-nan", "1e999", "0x1p3", "1.5 x", ".", "e5"})
        EXPECT_EQ(ReadAs(PropText_ReadDouble, pszOther), std::nullopt) << pszOther;
}

TEST(PropText, ReadsRectangles)
{
    for (const char* pszText : {"10,20,-30,40", " 10 20 -30 40 ", "10 , 20,\t-30,40", "+10,20 -30,40"})
        EXPECT_TRUE(ReadAs(PropText_ReadRect, pszText) == (PROP_RECT{10, 20, -30, 40})) << pszText;
    for (const char* pszText : {"", "1,2,3", "1,2,3,4,", "1,2,3,4,5", "1,,2,3,4", ",1,2,3,4", "1;2;3;4", "1-2-3-4",
                                "1,2,3,4000000000", "1,2,3,x", "1.5,2,3,4"})
        EXPECT_FALSE(ReadAs(PropText_ReadRect, pszText)) << pszText;
}

TEST(PropText, QuotesCutBetweenCharacters)
{
    EXPECT_EQ(PropText_Quote("key"), "\"key\"");
    const std::string strLong = std::string(63, 'a') + "\xC3\xA4" + std::string(50, 'b');
    EXPECT_EQ(PropText_Quote(strLong), "\"" + std::string(63, 'a') + "...\"");
}

/// "name=[value]" for every pair, or where and why not.
std::string PairsText(std::string_view _svText)
{
    std::vector<PROP_PAIR> vecPairs = {{"left", "over"}};
    PROP_PAIRS_ERROR error;
    if (!PropPairs_Read(_svText, &vecPairs, &error))
        return std::to_string(error.nPosition) + ": " + error.strReason + (vecPairs.empty() ? "" : " (pairs left)");
    std::string strText;
    for (const PROP_PAIR& pair : vecPairs)
        strText += std::string(pair.svName) + "=[" + std::string(pair.svValue) + "]";
    return strText;
}

TEST(PropPairs, ReadsListsAndPointsAtMistakes)
{
    constexpr const char* c_pszNoPair =
        "this is no name=value pair; a value with blanks, commas or semicolons needs quotes";
    const std::pair<const char*, std::string> arrCases[] = {
        {"", ""},
        {" ,; \t\r\n", ""},
        {"detect.blocks=32 type=yuv \"name=a b\"", "detect.blocks=[32]type=[yuv]name=[a b]"},
        {"a=1,b=2;c=3", "a=[1]b=[2]c=[3]"},
        {"a='1, 2' b=\"it's\" c=", "a=[1, 2]b=[it's]c=[]"},
        {"a==x b=y'z", "a=[=x]b=[y'z]"},
        {"'a=\"=;'", "a=[\"=;]"},
        {"a=1 b", "5: " + std::string(c_pszNoPair)},
        {"a = 1", "1: " + std::string(c_pszNoPair)},
        {"'a b'", "2: " + std::string(c_pszNoPair)},
        {"a=1 =2", "5: a name is missing before '='"},
        {"a=1 'b=2", "5: this quote is not closed"},
        {"a=\"", "3: this quote is not closed"},
        {"a='1'b=2", "6: a blank, comma or semicolon is missing after the closing quote"},
    };
    for (const auto& [pszText, strExpected] : arrCases)
        EXPECT_EQ(PairsText(pszText), strExpected) << pszText;
}

} // namespace
