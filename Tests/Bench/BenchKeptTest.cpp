#include "Bench/BenchKept.h"
#include "Bench/BenchTimes.h"
#include "Kit/HostError.h"

#include <gtest/gtest.h>

namespace
{

using LINES = std::vector<std::string>;

TEST(BenchKept, ComesBackFromItsText)
{
    const KEPT_TABLE table = {"two cores", {{{"avx2", "engine: a, 8 % mixed"}, 1.25}, {{"none", "engine: b"}, 40}}};
    const KEPT_TABLE read = BenchKept_Read(BenchKept_Text(table));
    EXPECT_EQ(read.strMachine, table.strMachine);
    EXPECT_EQ(read.mapRatios, table.mapRatios);
}

TEST(BenchKept, SaysWhichLineIsNone)
{
    for (const char* const pszLine : {"avx2\tname", "avx2\tname\tfast", "avx2\tname\t0", "avx2\tname\t1x",
                                      "avx2\tname\tnan", "avx2\tname\t", "avx2\tname\t1\t2", "avx2\tonce\t2"})
        try
        {
            BenchKept_Read(std::string("# kept\navx2\tonce\t1\n") + pszLine + "\n");
            ADD_FAILURE() << pszLine;
        }
        catch (const CZHostError& ex)
        {
            EXPECT_EQ(std::string(ex.what()).rfind("line 3: ", 0), 0u) << pszLine;
        }
    EXPECT_THROW(BenchKept_Read("machine\ttwo cores\n"), CZHostError);
}

TEST(BenchKept, ComparesRowByRow)
{
    const KEPT_TABLE kept = {"",
                             {{{"avx2", "faster"}, 4},
                              {{"avx2", "gone"}, 1},
                              {{"avx2", "same"}, 4},
                              {{"avx2", "slower"}, 4},
                              {{"avx512", "a"}, 1},
                              {{"avx512", "b"}, 1}}};
    const KEPT_TABLE measured = {
        "", {{{"avx2", "faster"}, 3.4}, {{"avx2", "new"}, 9}, {{"avx2", "same"}, 4.59}, {{"avx2", "slower"}, 4.61}}};
    const KEPT_COMPARISON result = BenchKept_Compare(kept, measured);
    EXPECT_EQ(result.nSame, 1);
    EXPECT_EQ(result.arrSlower, LINES{"slower, avx2: 4.61 x the pass, kept 4.00 x (+15 %)"});
    EXPECT_EQ(result.arrFaster, LINES{"faster, avx2: 3.40 x the pass, kept 4.00 x (-15 %)"});
    EXPECT_EQ(result.arrNew, LINES{"new, avx2"});
    EXPECT_EQ(result.arrMissing, (LINES{"gone, avx2", "all 2 rows of avx512, which this machine or ZCK_SIMD lacks"}));
}

TEST(BenchTimes, QuantilesAreTimesThatWereMeasured)
{
    CZBenchTimes times;
    for (int n = 200; n > 0; --n)
        times.Add(n);
    EXPECT_EQ(times.Quantile(500), 100);
    EXPECT_EQ(times.Quantile(990), 198);
    EXPECT_EQ(times.Quantile(991), 199);
    EXPECT_EQ(times.Quantile(1000), 200);
    EXPECT_EQ(times.Quantile(0), 1);
    CZBenchTimes one;
    one.Add(7);
    EXPECT_EQ(one.Quantile(500), 7);
    EXPECT_EQ(one.Quantile(990), 7);
}

} // namespace
