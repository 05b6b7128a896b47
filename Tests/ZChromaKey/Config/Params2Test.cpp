#include "ZChromaKey/Config/Params2.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <set>
#include <string>

namespace
{

TEST(Params2, TheTableCoversTheRecordOnceAndInItsOrder)
{
    KEY2_PARAMS params = {};
    std::set<std::string> setNames;
    size_t nRow = 0;
    for (const KEY2_PARAM& param : Params2_Table())
    {
        SCOPED_TRACE(param.pszName);
        const auto nOffset = reinterpret_cast<char*>(&(params.*param.pdblField)) - reinterpret_cast<char*>(&params);
        EXPECT_EQ(nOffset, static_cast<ptrdiff_t>(nRow++ * sizeof(double)));
        EXPECT_EQ(Params2_Find(param.pszName), &param);
        EXPECT_TRUE(setNames.insert(param.pszName).second);
        EXPECT_EQ(Params2_Check(param, param.dblDefault), "");
        EXPECT_LT(param.dblLeast, param.dblMost);
        EXPECT_EQ(Params2_Defaults().*param.pdblField, param.dblDefault);
    }
    EXPECT_EQ(nRow * sizeof(double), sizeof(KEY2_PARAMS));
    EXPECT_EQ(Params2_Find("Backdrop"), nullptr);
    EXPECT_EQ(Params2_Find(""), nullptr);
}

TEST(Params2, ValuesOutsideAreRefusedWithWhatIsRight)
{
    for (const KEY2_PARAM& param : Params2_Table())
    {
        SCOPED_TRACE(param.pszName);
        for (const double dblRight : {param.dblLeast, param.dblMost})
            EXPECT_EQ(Params2_Check(param, dblRight), "");
        for (const double dblWrong : {std::nextafter(param.dblLeast, -1e9), std::nextafter(param.dblMost, 1e9),
                                      std::numeric_limits<double>::quiet_NaN(), HUGE_VAL})
            EXPECT_NE(Params2_Check(param, dblWrong), "") << dblWrong;
    }
    EXPECT_EQ(Params2_Check(*Params2_Find("backdrop"), -1), "a number from 0 to 200 (%)");
    EXPECT_EQ(Params2_Check(*Params2_Find("learn"), 0.5), "one of 0 on, 1 hold, 2 restart");
}

TEST(Params2, TextsAreNumbersOrTheNamesOfChoices)
{
    const KEY2_PARAM& view = *Params2_Find("view");
    for (int n = eView_Result; n <= eView_Source; ++n)
    {
        double dblValue = -1;
        EXPECT_TRUE(Params2_Read(view, Params2_Text(view, n), &dblValue));
        EXPECT_EQ(dblValue, n);
        EXPECT_TRUE(Params2_Read(view, std::to_string(n), &dblValue));
        EXPECT_EQ(dblValue, n);
    }
    EXPECT_EQ(Params2_Text(view, eView_Confidence), "confidence");
    EXPECT_EQ(Params2_Text(*Params2_Find("noise"), 2.2), "2.2");
    double dblValue = 17;
    for (const char* pszWrong : {"", "matt", "mattes", "7", "0.5", "result matte"})
        EXPECT_FALSE(Params2_Read(view, pszWrong, &dblValue)) << pszWrong;
    EXPECT_FALSE(Params2_Read(*Params2_Find("choke"), "10.5", &dblValue));
    EXPECT_EQ(dblValue, 17) << "a refused text changes nothing";
    EXPECT_TRUE(Params2_Read(*Params2_Find("choke"), " -2.5 ", &dblValue));
    EXPECT_EQ(dblValue, -2.5);
}

} // namespace
