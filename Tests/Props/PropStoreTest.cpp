#include "Props/PropStore.h"

#include "Support/AllocCounter.h"
#include "Support/LogCatcher.h"
#include "Support/Texts.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

namespace
{

std::string TextOf(const CPropStore& _store, std::string_view _svName)
{
    std::string strValue = "(none)";
    _store.Find(_svName, &strValue);
    return strValue;
}

/// All names, each before a blank.
std::string NamesOf(const CPropStore& _store)
{
    std::string strNames, strName;
    for (size_t n = 0; _store.NameGet(n, &strName); ++n)
        strNames += strName + " ";
    return strNames;
}

TEST(PropStore, ReadsByTypeAndFallsBackOnWhatDoesNotParse)
{
    CPropStore store;
    store.Set("bool", "Off");
    store.Set("int", "-7");
    store.Set("rect", "1,2,3,4");
    store.Set("big", "3000000000");
    const PROP_RECT rectDefault = {9, 9, 9, 9};
    const std::string strLongName(100, 'x'); // longer than any text that fits without the heap
    const uint64_t nAllocs = AllocCount();
    EXPECT_FALSE(store.GetBool("bool", true));
    EXPECT_EQ(store.GetInt("int", 1), -7);
    EXPECT_EQ(store.GetInt("big", 1), 1);
    EXPECT_EQ(store.GetInt("bool", 1), 1);
    EXPECT_EQ(store.GetInt("Int", 1), 1);
    EXPECT_EQ(store.GetInt(std::string_view("integer").substr(0, 3), 1), -7);
    EXPECT_EQ(store.GetInt(strLongName, 1), 1);
    EXPECT_TRUE(store.GetRect("rect", rectDefault) == (PROP_RECT{1, 2, 3, 4}));
    EXPECT_TRUE(store.GetRect("int", rectDefault) == rectDefault);
    EXPECT_EQ(store.FailuresGet().hrLast, S_OK);
    store.NotifyFailure("int", E_FAIL);
    store.NotifyFailure("int", E_NOTIMPL);
    EXPECT_EQ(store.FailuresGet().hrLast, E_NOTIMPL);
    EXPECT_EQ(AllocCount(), nAllocs) << "what frames ask for and report must not use the heap";
}

TEST(PropStore, SetValuesLieOverDefaults)
{
    CPropStore store;
    store.DefaultsSet({{"b", "user"}, {"c", "user"}, {"empty", ""}});
    store.Set("b", "own");
    store.Set("a", "own");
    EXPECT_EQ(NamesOf(store), "a b c ");
    EXPECT_EQ(TextOf(store, "b"), "own");
    EXPECT_EQ(store.ValuesGet(), (PROP_MAP{{"a", "own"}, {"b", "own"}})) << "defaults are not saved";
    store.Set("b", "");
    EXPECT_EQ(TextOf(store, "b"), "user");
    store.ValuesSet({{"c", "loaded"}, {"d", ""}});
    EXPECT_EQ(NamesOf(store), "b c ");
    EXPECT_EQ(TextOf(store, "c"), "loaded");
    EXPECT_EQ(TextOf(store, "a"), "(none)");
}

TEST(PropStore, CountsChangesOnly)
{
    CPropStore store;
    uint64_t nCount = store.ChangeCount();
    const auto Changed = [&] { return std::exchange(nCount, store.ChangeCount()) != nCount; };
    store.Set("a", "1");
    EXPECT_TRUE(Changed());
    store.Set("a", "1");
    store.Remove("b");
    store.Set("", "x");
    store.ValuesSet({{"a", "1"}});
    store.DefaultsSet({});
    store.NotifyFailure("a", E_FAIL);
    EXPECT_FALSE(Changed());
    store.Set("a", "2");
    EXPECT_TRUE(Changed());
    store.DefaultsSet({{"z", "1"}});
    EXPECT_TRUE(Changed());
    store.Remove("a");
    EXPECT_TRUE(Changed());
    store.ValuesSet({{"a", "1"}});
    EXPECT_TRUE(Changed());
}

TEST(PropStore, ManyThreadsMayUseIt)
{
    CPropStore store;
    constexpr int c_nThreads = 4;
    constexpr int c_nRounds = 500;
    std::atomic<int> nTorn{0};
    std::vector<std::thread> vecThreads;
    vecThreads.reserve(c_nThreads);
    for (int nThread = 0; nThread < c_nThreads; ++nThread)
        vecThreads.emplace_back([&, nThread] {
            const std::string strOwn = "own" + std::to_string(nThread);
            for (int i = 1; i <= c_nRounds; ++i)
            {
                store.Set(strOwn, std::to_string(i));
                store.Set("rect", i % 2 ? "1,1,1,1" : "222222222,222222222,222222222,222222222");
                const PROP_RECT rect = store.GetRect("rect", {});
                nTorn += rect.nLeft != rect.nBottom || store.GetInt(strOwn, 0) != i;
                store.NotifyFailure(strOwn, E_FAIL);
            }
        });
    for (std::thread& thr : vecThreads)
        thr.join();
    EXPECT_EQ(nTorn, 0);
    EXPECT_EQ(store.FailuresGet().nCount, static_cast<uint32_t>(c_nThreads * c_nRounds));
    EXPECT_GE(store.ChangeCount(), static_cast<uint64_t>(c_nThreads * c_nRounds));
}

std::string Validate(std::string_view _svName, std::string_view _svValue)
{
    return _svName == "threads" && !_svValue.empty() && _svValue != "2" ? "a whole number from 1 to 16" : "";
}

TEST(PropStore, ServesTheInterfaceOfProperties)
{
    CPropStore store;
    EXPECT_EQ(PropStore_PropsSet(&store, L"b.\x4E2D", L"w\xE4rt"), S_OK);
    EXPECT_EQ(PropStore_PropsSet(&store, L"a", L"1"), S_OK);
    EXPECT_EQ(TextOf(store, "b.\xE4\xB8\xAD"), "w\xC3\xA4rt");
    BSTR bsText = nullptr;
    EXPECT_EQ(PropStore_PropsGet(store, L"b.\x4E2D", &bsText), S_OK);
    EXPECT_EQ(TakeText(bsText), L"w\xE4rt");
    EXPECT_EQ(PropStore_PropsNameGet(store, 0, &bsText), S_OK);
    EXPECT_EQ(TakeText(bsText), L"a");
    EXPECT_EQ(PropStore_PropsNameGet(store, 2, &bsText), S_FALSE);
    EXPECT_EQ(bsText, nullptr);
    for (const wchar_t* pwszNothing : {static_cast<const wchar_t*>(nullptr), L""})
    {
        EXPECT_EQ(PropStore_PropsSet(&store, L"a", L"1"), S_OK);
        EXPECT_EQ(PropStore_PropsSet(&store, L"a", pwszNothing), S_OK);
        bsText = reinterpret_cast<BSTR>(&store);
        EXPECT_EQ(PropStore_PropsGet(store, L"a", &bsText), S_FALSE);
        EXPECT_EQ(bsText, nullptr);
    }
}

TEST(PropStore, RefusesWrongArgumentsAndSaysWhatIsRight)
{
    CPropStore store;
    const CLogCatcher log;
    BSTR bsText = reinterpret_cast<BSTR>(&store);
    EXPECT_EQ(PropStore_PropsSet(&store, nullptr, L"1"), E_POINTER);
    EXPECT_EQ(PropStore_PropsGet(store, L"a", nullptr), E_POINTER);
    EXPECT_EQ(PropStore_PropsGet(store, nullptr, &bsText), E_POINTER);
    EXPECT_EQ(bsText, nullptr);
    EXPECT_EQ(PropStore_PropsNameGet(store, 0, nullptr), E_POINTER);
    EXPECT_EQ(PropStore_PropsSet(&store, L"", L"1"), E_INVALIDARG);
    EXPECT_EQ(PropStore_PropsSet(&store, std::wstring(257, L'n').c_str(), L"1"), E_INVALIDARG);
    EXPECT_EQ(PropStore_PropsSet(&store, L"a\x01", L"1"), E_INVALIDARG);
    EXPECT_EQ(PropStore_PropsSet(&store, L"a", L"1\x1B"), E_INVALIDARG);
    EXPECT_EQ(PropStore_PropsSet(&store, L"threads", L"two", Validate), E_INVALIDARG);
    EXPECT_EQ(log.Count("\"threads\": a whole number from 1 to 16"), 1u);
    EXPECT_EQ(NamesOf(store), "") << "what was refused is not there";
    EXPECT_EQ(PropStore_PropsSet(&store, std::wstring(256, L'n').c_str(), L"1", Validate), S_OK);
    EXPECT_EQ(PropStore_PropsSet(&store, L"threads", L"2", Validate), S_OK);
    EXPECT_EQ(PropStore_PropsSet(&store, L"threads", L"", Validate), S_OK) << "removing is never wrong";
}

} // namespace
