#include "Base/ZBstr.h"
#include "Base/ZDeadline.h"
#include "Base/ZNumber.h"
#include "Base/ZScope.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

TEST(ScopeExit, CallsOnceAlsoWhereSomethingThrows)
{
    int nCalls = 0;
    try
    {
        const CZScopeExit exit([&] { ++nCalls; });
        EXPECT_EQ(nCalls, 0);
        throw std::runtime_error("left early");
    }
    catch (const std::runtime_error&)
    {
    }
    EXPECT_EQ(nCalls, 1);
}

TEST(Bstr, OwnsOneStringAndKeepsZerosInIt)
{
    CZBStr bsText(std::string_view("a\0\xC3\xBC", 4));
    EXPECT_EQ(bsText.Wide(), std::wstring_view(L"a\0\u00FC", 3));
    CZBStr bsMoved(std::move(bsText));
    EXPECT_EQ(bsText.Get(), nullptr); // NOLINT(bugprone-use-after-move): this is what moving leaves
    EXPECT_EQ(bsMoved.Text(), std::string("a\0\xC3\xBC", 4));
    ASSERT_EQ(ZText_HandOut("other", bsMoved.Put()), S_OK);
    bsText = std::move(bsMoved);
    EXPECT_EQ(bsText.Text(), "other");
    SysFreeString(bsText.Detach());
    EXPECT_EQ(bsText.Text(), "");
}

TEST(Number, IsTheWholeTextAndFitsItsType)
{
    int8_t nByte = 7;
    EXPECT_TRUE(ZNumber_Read("-128", &nByte));
    EXPECT_EQ(nByte, -128);
    for (const char* pszWrong : {"", "128", "+1", " 1", "1 ", "1.0", "0x1"})
        EXPECT_FALSE(ZNumber_Read(pszWrong, &nByte)) << pszWrong;
    EXPECT_EQ(nByte, -128) << "a wrong text leaves the value";
    uint32_t nHex = 0;
    EXPECT_TRUE(ZNumber_Read("fFe0", &nHex, 16));
    EXPECT_EQ(nHex, 0xFFE0u);
    double dblRate = 0;
    std::string_view svText = "29.97i";
    EXPECT_TRUE(ZNumber_Take(&svText, &dblRate));
    EXPECT_EQ(dblRate, 29.97);
    EXPECT_EQ(svText, "i");
}

TEST(Deadline, IsPastWhenNothingIsLeft)
{
    const CZDeadline now(0), later(UINT32_MAX);
    EXPECT_TRUE(now.IsPast());
    EXPECT_EQ(now.LeftMs(), 0u);
    EXPECT_FALSE(later.IsPast());
    EXPECT_GT(later.LeftMs(), UINT32_MAX / 2);
}
