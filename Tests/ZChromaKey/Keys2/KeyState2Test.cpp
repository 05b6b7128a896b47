#include "Support/SameBytes.h"
#include "ZChromaKey/Keys2/KeyState2.h"

#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <random>

namespace
{

class KeyState2 : public testing::Test
{
protected:
    double Param(const char* _pszName) const
    {
        double dblValue = -1;
        EXPECT_EQ(KeySet2_ParamGet(m_state.RawGet(), _pszName, &dblValue), S_OK);
        return dblValue;
    }
    int32_t Step(int32_t _nSteps)
    {
        int32_t nDone = -1;
        EXPECT_EQ(m_state.Step(_nSteps, &nDone), S_OK);
        return nDone;
    }
    void Wait(int _nMilliseconds)
    {
        m_timeNow += std::chrono::milliseconds(_nMilliseconds);
    }
    /// Back and forward counts in one number.
    int32_t Steps() const
    {
        return 100 * m_state.StepsBack() + m_state.StepsFwd();
    }
    static std::shared_ptr<KEY2_REGION> Region(size_t _cbMask)
    {
        auto spRegion = std::make_shared<KEY2_REGION>();
        spRegion->mask = {static_cast<int32_t>(_cbMask), 1, std::vector<uint8_t>(_cbMask)};
        return spRegion;
    }

    std::chrono::steady_clock::time_point m_timeNow{};
    CKeyState2 m_state{[this] { return m_timeNow; }};
};

TEST_F(KeyState2, EveryChangeIsAStepThatCanBeTakenBackAndMadeAgain)
{
    const CLogCatcher log;
    EXPECT_EQ(m_state.KeyAdd({0, 200, 0}), S_OK);
    EXPECT_EQ(m_state.ProtectAdd({90, 90, 90}), S_OK);
    EXPECT_EQ(m_state.ParamSet("choke", 1), S_OK);
    EXPECT_EQ(m_state.RegionSet(eRegion_Garbage, Region(4)), S_OK);
    EXPECT_EQ(m_state.KeyFound({0, 0, 200}), S_OK);
    EXPECT_EQ(m_state.Remove(0, true), S_OK);
    EXPECT_EQ(Steps(), 600);
    EXPECT_EQ(m_state.Remove(0, true), E_INVALIDARG);
    EXPECT_EQ(m_state.ParamSet("choke", 99), E_INVALIDARG);
    EXPECT_EQ(m_state.ParamSet("choke", 1), S_FALSE);
    EXPECT_EQ(m_state.RegionSet(eRegion_HoldOut, nullptr), S_FALSE);
    EXPECT_EQ(m_state.RawSet(m_state.RawGet()), S_OK);
    EXPECT_EQ(Steps(), 600) << "what is refused or changes nothing is no step";
    EXPECT_EQ(m_state.RawGet().bAutomatic, 1);
    EXPECT_EQ(Step(-2), 2);
    EXPECT_EQ(m_state.RawGet().arrKeys[0].dblGreen, 200);
    EXPECT_TRUE(m_state.Get().arrRegions[eRegion_Garbage]);
    EXPECT_EQ(Step(-100), 4) << "as many as there are";
    const CHROMA_KEY2_RAW keyEmpty = KeySet2_Empty();
    const CHROMA_KEY2_RAW keyNow = m_state.RawGet();
    EXPECT_TRUE(SameBytes(keyNow, keyEmpty));
    EXPECT_FALSE(m_state.Get().arrRegions[eRegion_Garbage]);
    EXPECT_EQ(Step(3), 3);
    EXPECT_EQ(Steps(), 303);
    EXPECT_EQ(m_state.ParamSet("soften", 1), S_OK);
    EXPECT_EQ(Steps(), 400) << "an edit drops the steps ahead";
    m_state.Reset();
    EXPECT_EQ(m_state.RawGet().nKeysUsed, 0);
    EXPECT_EQ(Step(-1), 1);
    EXPECT_EQ(Param("soften"), 1);
}

TEST_F(KeyState2, ChangesOfOneParameterWithinASecondAreOneStep)
{
    for (const double dblValue : {1.0, 2.0, 3.0, 4.0})
    {
        EXPECT_EQ(m_state.ParamSet("choke", dblValue), S_OK);
        Wait(900);
    }
    EXPECT_EQ(Steps(), 100) << "each within a second of the one before";
    Wait(200);
    EXPECT_EQ(m_state.ParamSet("choke", 5), S_OK);
    EXPECT_EQ(Steps(), 200);
    EXPECT_EQ(m_state.ParamSet("soften", 5), S_OK);
    EXPECT_EQ(m_state.ParamSet("choke", 6), S_OK);
    EXPECT_EQ(Steps(), 400) << "another parameter came between";
    EXPECT_EQ(m_state.ParamSet("choke", 5), S_OK);
    EXPECT_EQ(Steps(), 300) << "back where it began: no step";
    EXPECT_EQ(Step(-1), 1);
    EXPECT_EQ(m_state.ParamSet("choke", 7), S_OK);
    EXPECT_EQ(Steps(), 300) << "a step back ends what belongs together";
    EXPECT_EQ(m_state.KeyAdd({0, 200, 0}), S_OK);
    EXPECT_EQ(m_state.ParamSet("choke", 8), S_OK);
    EXPECT_EQ(Steps(), 500);
    EXPECT_EQ(Step(-5), 5);
    EXPECT_EQ(Param("choke"), 0);
    EXPECT_EQ(Step(1), 1);
    EXPECT_EQ(Param("choke"), 4);
}

TEST_F(KeyState2, AGroupIsOneStep)
{
    const CLogCatcher log;
    m_state.GroupBegin();
    EXPECT_EQ(m_state.KeyAdd({0, 200, 0}), S_OK);
    m_state.GroupBegin();
    EXPECT_EQ(m_state.ParamSet("choke", 1), S_OK);
    Wait(5000);
    EXPECT_EQ(m_state.GroupEnd(), S_OK);
    EXPECT_EQ(m_state.RegionSet(eRegion_Backdrop, Region(4)), S_OK);
    int32_t nDone = -1;
    EXPECT_EQ(m_state.Step(-1, &nDone), E_UNEXPECTED);
    EXPECT_EQ(log.Count("in a group", eZLog_Error), 1u);
    EXPECT_EQ(m_state.GroupEnd(), S_OK);
    EXPECT_EQ(Steps(), 100);
    EXPECT_EQ(m_state.GroupEnd(), E_UNEXPECTED);

    m_state.GroupBegin();
    EXPECT_EQ(m_state.ParamSet("choke", 2), S_OK);
    EXPECT_EQ(m_state.ParamSet("choke", 1), S_OK);
    EXPECT_EQ(m_state.GroupEnd(), S_OK);
    EXPECT_EQ(Steps(), 100) << "a group that changed nothing is no step";
    m_state.GroupBegin();
    EXPECT_EQ(m_state.ParamSet("choke", 3), S_OK);
    EXPECT_EQ(m_state.GroupEnd(), S_OK);
    EXPECT_EQ(m_state.ParamSet("choke", 4), S_OK);
    EXPECT_EQ(Steps(), 300) << "what follows a group is not of it";
    EXPECT_EQ(Step(-2), 2);
    EXPECT_EQ(Param("choke"), 1);
    EXPECT_EQ(Step(-1), 1);
    EXPECT_EQ(m_state.RawGet().nKeysUsed, 0);
}

TEST_F(KeyState2, ViewAndLearnAreOfThePresent)
{
    EXPECT_EQ(m_state.ParamSet("choke", 1), S_OK);
    EXPECT_EQ(m_state.ParamSet("view", eView_Status), S_OK);
    EXPECT_EQ(m_state.ParamSet("view", eView_Status), S_FALSE);
    EXPECT_EQ(m_state.ParamSet("learn", eLearn_Hold), S_OK);
    EXPECT_EQ(Steps(), 100);
    EXPECT_EQ(Step(-1), 1);
    EXPECT_EQ(Param("view"), eView_Status);
    EXPECT_EQ(Param("learn"), eLearn_Hold);
    EXPECT_EQ(m_state.EditGet().key.params.eViewValue, eView_Result) << "not in what is saved";
    EXPECT_EQ(Step(1), 1);

    const uint64_t nRestarts = m_state.Get().nRestarts;
    EXPECT_EQ(m_state.ParamSet("learn", eLearn_Restart), S_OK);
    EXPECT_EQ(m_state.ParamSet("learn", eLearn_Restart), S_OK) << "happens each time";
    EXPECT_EQ(m_state.Get().nRestarts, nRestarts + 2);
    EXPECT_EQ(Param("learn"), eLearn_On);
    CHROMA_KEY2_RAW key = m_state.RawGet();
    key.params.eViewValue = eView_Matte;
    EXPECT_EQ(m_state.RawSet(key), S_OK);
    EXPECT_EQ(Param("view"), eView_Matte);
    EXPECT_EQ(m_state.Get().nRestarts, nRestarts + 2);
    EXPECT_EQ(Steps(), 100);
}

TEST_F(KeyState2, RegionsAndPlatesHaveNumbersOfTheirOwn)
{
    auto spPlate = std::make_shared<IMG_PICTURE>();
    m_state.PlateSet(nullptr);
    EXPECT_EQ(m_state.Get().nPlate, 0u);
    m_state.RegionSet(eRegion_Garbage, Region(4));
    const uint64_t nFirst = m_state.Get().arrRegions[eRegion_Garbage]->nChange;
    m_state.PlateSet(spPlate);
    m_state.RegionSet(eRegion_Garbage, Region(4));
    const KEY2_PRESENT present = m_state.Get();
    const uint64_t nSecond = present.arrRegions[eRegion_Garbage]->nChange;
    EXPECT_TRUE(nFirst != nSecond && nFirst != present.nPlate && nSecond != present.nPlate && present.nPlate);
    EXPECT_EQ(Step(-1), 1);
    EXPECT_EQ(m_state.Get().arrRegions[eRegion_Garbage]->nChange, nFirst) << "the mask that it was";
    EXPECT_EQ(m_state.Get().nPlate, present.nPlate) << "plates are no steps";
    KEY2_EDIT edit = m_state.EditGet();
    edit.arrRegions[eRegion_HoldOut] = Region(4); // as a document gives it
    m_state.EditSet(edit);
    EXPECT_GT(m_state.Get().arrRegions[eRegion_HoldOut]->nChange, nSecond);
    EXPECT_EQ(m_state.Get().arrRegions[eRegion_HoldOut], edit.arrRegions[eRegion_HoldOut]) << "not a copy";
}

TEST_F(KeyState2, MemoryIsBounded)
{
    for (int n = 0; n < 1100; ++n)
        EXPECT_EQ(m_state.KeyFound({0, 200, n / 5.0}), S_OK);
    EXPECT_EQ(m_state.StepsBack(), 1000);
    constexpr size_t c_cbMask = size_t{40} * 1024 * 1024;
    for (int n = 0; n < 4; ++n)
        EXPECT_EQ(m_state.RegionSet(eRegion_Garbage, Region(c_cbMask)), S_OK);
    EXPECT_EQ(m_state.StepsBack(), 2) << "three masks of 40 MB are kept, the present one among them";
    EXPECT_EQ(Step(-2), 2);
    EXPECT_TRUE(m_state.Get().arrRegions[eRegion_Garbage]);
}

/// Against a model that keeps every state.
TEST_F(KeyState2, StepsAgreeWithAListOfAllStates)
{
    const CLogCatcher log; // of what is refused
    std::mt19937 random(7);
    const auto fnBelow = [&](int _nEnd) { return static_cast<int>(random() % static_cast<unsigned>(_nEnd)); };
    std::vector<KEY2_EDIT> vecStates = {m_state.EditGet()};
    size_t nCurrent = 0;
    for (int n = 0; n < 3000; ++n)
    {
        Wait(2000);
        const int nKind = fnBelow(6);
        const KEY2_EDIT editBefore = m_state.EditGet();
        if (nKind == 0)
            m_state.KeyAdd({0, 200, double(fnBelow(8))});
        else if (nKind == 1)
            m_state.Remove(fnBelow(4), false);
        else if (nKind == 2)
            m_state.ParamSet("choke", fnBelow(4));
        else if (nKind == 3)
            m_state.ProtectAdd({double(fnBelow(3)), 0, 0});
        else
        {
            const int32_t nSteps = fnBelow(5) * (nKind == 4 ? -1 : 1);
            const auto nWanted = static_cast<int32_t>(nCurrent) + nSteps;
            const int32_t nGoal = std::clamp(nWanted, 0, static_cast<int32_t>(vecStates.size()) - 1);
            EXPECT_EQ(Step(nSteps), std::abs(nGoal - static_cast<int32_t>(nCurrent)));
            nCurrent = static_cast<size_t>(nGoal);
        }
        if (nKind < 4 && !(m_state.EditGet() == editBefore))
        {
            vecStates.resize(++nCurrent);
            vecStates.push_back(m_state.EditGet());
        }
        ASSERT_TRUE(m_state.EditGet() == vecStates[nCurrent]) << n;
        ASSERT_EQ(m_state.StepsBack(), static_cast<int32_t>(std::min<size_t>(nCurrent, 1000)));
        ASSERT_EQ(m_state.StepsFwd(), static_cast<int32_t>(vecStates.size() - 1 - nCurrent));
    }
}

} // namespace
