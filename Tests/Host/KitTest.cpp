#include "Host/TempFolder.h"
#include "Kit/HostLog.h"
#include "Kit/Keyer.h"
#include "Kit/Result.h"
#include "Kit/Tables.h"
#include "Sample/KeyScene.h"
#include "Soak/PlainModule.h"

#include "Base/ZBstr.h"
#include "Base/ZCpu.h"
#include "Base/ZText.h"

#include <cstdlib>
#include <string_view>

// The kit that hosts are built on, against the module file.

namespace
{

constexpr eZTable c_arrTables[] = {eZTable_Options,  eZTable_Detection, eZTable_Adjusts,
                                   eZTable_Adapters, eZTable_System,    eZTable_Params};

std::string FactOf(const CZModule& _module, std::string_view _svName)
{
    for (const ZTABLE_ROW& row : Tables_Read(_module, eZTable_System))
        if (row.pszName == _svName)
            return row.pszDefault;
    return "no such row";
}

TEST(Tables, OptionsTakeWhatTheirRowsSay)
{
    CZKeyer keyer;
    const auto cpProps = ZQuery<IZProps>(keyer.Key());
    const auto vecRows = Tables_Read(CZModule::Own(), eZTable_Options);
    EXPECT_GE(vecRows.size(), 7u);
    for (size_t i = 0; i < vecRows.size(); ++i)
    {
        const std::wstring wstrName = ZText_ToWide(vecRows[i].pszName);
        EXPECT_EQ(cpProps->PropsSet(wstrName.c_str(), ZText_ToWide(vecRows[i].pszDefault).c_str()), S_OK) << wstrName;
        EXPECT_TRUE(Tables_IsRight(CZModule::Own(), eZTable_Options, i, vecRows[i].pszDefault));
        EXPECT_EQ(cpProps->PropsSet(wstrName.c_str(), L"?"), E_INVALIDARG) << wstrName;
        EXPECT_FALSE(Tables_IsRight(CZModule::Own(), eZTable_Options, i, "?"));
        EXPECT_NE(HostLog_LastError().find(vecRows[i].pszRight), std::string::npos) << HostLog_LastError();
        EXPECT_NE(vecRows[i].eValue, eZV_Text) << wstrName;
    }
}

TEST(Tables, DetectionTakesWhatItsRowsSay)
{
    CZKeyer keyer;
    const auto cpFrame = KeyScene_Frame(KeyScene_Picture(64, 64, 1), eZFCC_RGB32);
    ASSERT_EQ(keyer.Key()->KeyFrameSet(cpFrame.Get(), nullptr), S_OK);
    const auto fnDetect = [&](const std::string& _strName, const std::string& _strValue) {
        const BSTR bsProps = SysAllocString(ZText_ToWide(_strName + "='" + _strValue + "'").c_str());
        const HRESULT hr = keyer.Key()->KeyDetect(bsProps);
        SysFreeString(bsProps);
        return hr;
    };
    const auto vecRows = Tables_Read(CZModule::Own(), eZTable_Detection);
    EXPECT_GE(vecRows.size(), 8u);
    for (size_t i = 0; i < vecRows.size(); ++i)
        for (const char* const pszValue : {vecRows[i].pszDefault, "?", "7"})
            EXPECT_EQ(SUCCEEDED(fnDetect(vecRows[i].pszName, pszValue)),
                      Tables_IsRight(CZModule::Own(), eZTable_Detection, i, pszValue))
                << vecRows[i].pszName << " " << pszValue;
}

TEST(Tables, AdjustmentsTakeWhatTheirRowsSay)
{
    CZKeyer keyer;
    const auto vecRows = Tables_Read(CZModule::Own(), eZTable_Adjusts);
    ASSERT_EQ(vecRows.size(), eCKA_Colors_Alpha + 1u);
    for (size_t i = 0; i < vecRows.size(); ++i)
    {
        const ZTABLE_ROW& row = vecRows[i];
        const auto eAdjust = static_cast<eCK_Adjust>(i);
        double dblValue = -1000;
        EXPECT_EQ(keyer.Key()->KeyAdjustGet(eAdjust, &dblValue), S_OK);
        EXPECT_EQ(dblValue, eAdjust == eCKA_KeyType ? double{eCKT_None} : row.dblDefault) << row.pszName;
        for (const double dblNew : {row.dblLeast, row.dblMost, row.dblLeast - 1, row.dblMost + 1})
            EXPECT_EQ(SUCCEEDED(keyer.Key()->KeyAdjustSet(eAdjust, dblNew)),
                      Tables_IsRight(CZModule::Own(), eZTable_Adjusts, i, std::to_string(dblNew)))
                << row.pszName << " " << dblNew;
    }
    EXPECT_FALSE(Tables_IsRight(CZModule::Own(), eZTable_Adjusts, eCKA_KeyType, "2.5")) << "types are whole";
}

TEST(Tables, ParametersTakeWhatTheirRowsSay)
{
    CZKeyer keyer(CZModule::Own(), CLSID_ZChromaKey2);
    const auto vecRows = Tables_Read(CZModule::Own(), eZTable_Params, CLSID_ZChromaKey2);
    int32_t nParams = 0;
    ASSERT_EQ(keyer.Key2()->ParamCount(&nParams), S_OK);
    ASSERT_EQ(vecRows.size(), static_cast<size_t>(nParams));
    for (size_t i = 0; i < vecRows.size(); ++i)
    {
        const ZTABLE_ROW& row = vecRows[i];
        SCOPED_TRACE(row.pszName);
        CZBStr bsName, bsUnit, bsHelp;
        double dblLeast = 0, dblMost = 0, dblDefault = 0, dblValue = 0;
        ASSERT_EQ(keyer.Key2()->ParamInfo(static_cast<int32_t>(i), bsName.Put(), &dblLeast, &dblMost, &dblDefault,
                                          bsUnit.Put(), bsHelp.Put()),
                  S_OK);
        EXPECT_EQ(ZText_FromWide(bsName.Get()), row.pszName) << "the order of ParamInfo";
        EXPECT_TRUE(dblLeast == row.dblLeast && dblMost == row.dblMost && dblDefault == row.dblDefault);
        EXPECT_EQ(keyer.Key2()->ParamGet(bsName.Get(), &dblValue), S_OK);
        EXPECT_EQ(dblValue, row.dblDefault);
        EXPECT_TRUE(Tables_IsRight(CZModule::Own(), eZTable_Params, i, row.pszDefault));
        for (const double dblNew : {row.dblLeast, row.dblMost, row.dblLeast - 1, row.dblMost + 1})
            EXPECT_EQ(SUCCEEDED(keyer.Key2()->ParamSet(bsName.Get(), dblNew)),
                      Tables_IsRight(CZModule::Own(), eZTable_Params, i, std::to_string(dblNew)))
                << dblNew;
        const std::vector<std::string> vecNames = Tables_Choices(row);
        EXPECT_EQ(vecNames.size(), row.eValue == eZV_Choice ? static_cast<size_t>(row.dblMost) + 1 : 0);
        for (const std::string& strName : vecNames)
            EXPECT_TRUE(Tables_IsRight(CZModule::Own(), eZTable_Params, i, strName)) << strName;
        EXPECT_FALSE(Tables_IsRight(CZModule::Own(), eZTable_Params, i, "none"));
    }
}

TEST(Tables, BadQuestionsAreRefused)
{
    const auto cpTables = CZModule::Own().Create<IZTables>(CLSID_ZChromaKey);
    for (const eZTable eTable : c_arrTables)
    {
        UINT nRows = 1000;
        ZTABLE_ROW row = {};
        ASSERT_EQ(cpTables->TableCountGet(eTable, &nRows), S_OK);
        for (UINT i = 0; i < nRows; ++i)
        {
            ASSERT_EQ(cpTables->TableRowGet(eTable, i, &row), S_OK);
            for (const char* psz : {row.pszName, row.pszDefault, row.pszUnit, row.pszRight, row.pszHelp, row.pszEffect})
                EXPECT_NE(psz, nullptr) << "table " << eTable << " row " << i;
        }
        EXPECT_EQ(cpTables->TableRowGet(eTable, nRows, &row), S_FALSE);
        EXPECT_EQ(row.pszName, nullptr);
        EXPECT_EQ(cpTables->TableValueCheck(eTable, nRows, L""), E_INVALIDARG);
        EXPECT_EQ(cpTables->TableCountGet(eTable, nullptr), E_POINTER);
        EXPECT_EQ(cpTables->TableRowGet(eTable, 0, nullptr), E_POINTER);
        EXPECT_EQ(cpTables->TableValueCheck(eTable, 0, nullptr), E_POINTER);
    }
    UINT nRows = 7;
    ZTABLE_ROW row = {};
    EXPECT_EQ(cpTables->TableCountGet(eZTable_Params + 1, &nRows), E_INVALIDARG);
    EXPECT_EQ(nRows, 0u);
    EXPECT_EQ(cpTables->TableRowGet(-1, 0, &row), E_INVALIDARG);
    EXPECT_EQ(cpTables->TableValueCheck(eZTable_System, 0, L"x"), S_FALSE) << "nothing there can be set";
}

TEST(Module, ACopyKeysPlainlyBesideTheFirst)
{
    const char* const pszBefore = std::getenv("ZCK_SIMD");
    const std::string strBefore = pszBefore ? pszBefore : "unset";
    std::string strPath;
    {
        const CZPlainModule plain;
        strPath = plain.Module().Path();
        EXPECT_EQ(FactOf(plain.Module(), "SIMD in use"), "none");
        EXPECT_EQ(FactOf(CZModule::Own(), "SIMD in use"), ZCpu_LevelName(ZCpu_Level()));
        EXPECT_TRUE(std::filesystem::exists(strPath));
        CZKeyer keyer(plain.Module());
        EXPECT_NE(keyer.NameAndVersion().find("ZChromaKey"), std::string::npos);
    }
    EXPECT_FALSE(std::filesystem::exists(strPath)) << "the copy is gone with its folder";
    const char* const pszAfter = std::getenv("ZCK_SIMD");
    EXPECT_EQ(pszAfter ? pszAfter : "unset", strBefore);
}

TEST(Module, WhatIsNoModuleIsRefused)
{
    CTempFolder folder;
    folder.Write("text.so", "no library");
    for (const char* pszName : {"text.so", "none.so"})
        EXPECT_NE(Host_FailureOf([&] { CZModule module(folder.Path(pszName)); }).find(pszName), std::string::npos);
    EXPECT_NE(Host_FailureOf([] { CZModule::Own().Create<IZFFrame>(CLSID_ZChromaKey); }).find("making"),
              std::string::npos);
    EXPECT_NE(Host_FailureOf([] { CZModule::Own().Create<IUnknown>(IID_IZFFrame); }).find("class"), std::string::npos);
}

TEST(Keyer, ObjectsShareTheLogUntilTheLastIsGone)
{
    auto upFirst = std::make_unique<CZKeyer>();
    CZKeyer second;
    EXPECT_NE(Host_FailureOf([&] { second.OptionSet("gpu_mode", "many"); }).find("many"), std::string::npos);
    upFirst.reset();
    const std::string strText =
        Host_FailureOf([&] { second.OptionSet("process.threads", "few"); }); // its reason comes by the log
    EXPECT_NE(strText.find("a whole number"), std::string::npos) << strText;
}

TEST(Keyer, ResultsComeByPushAndByStream)
{
    const PICTURE picture = KeyScene_Picture(64, 64, 1);
    const auto cpPool = CZFramePool::Create();
    CZKeyer keyer;
    ZF_VID_PROPS vidProps = {};
    ASSERT_EQ(KeyScene_Frame(picture, eZFCC_RGB32)->VideoPropsGet(&vidProps), S_OK);
    const CHROMA_KEY_RAW keys = KeyScene_Keys(vidProps, eCKT_RGB, 1);
    ASSERT_EQ(keyer.Key()->KeyRawSet(&keys, nullptr), S_OK);
    int nResults = 0;
    const auto fnResult = [&](IZFFrame* _pResult) {
        PICTURE mask;
        ASSERT_TRUE(Picture_FromMask(_pResult, mask));
        KeyScene_Check(mask, 1);
        ++nResults;
    };
    for (int i = 0; i < 3; ++i)
        keyer.Process(KeyScene_Frame(picture, eZFCC_RGB32, cpPool.Get()).Get(), fnResult);
    EXPECT_EQ(nResults, 2) << "one frame is still under way";
    keyer.Finish(fnResult);
    EXPECT_EQ(nResults, 3);
    keyer.OptionSet("output.thread", "false");
    EXPECT_TRUE(keyer.Push(KeyScene_Frame(picture, eZFCC_RGB32, cpPool.Get()).Get()));
    EXPECT_FALSE(keyer.Push(nullptr));
}

TEST(Kit, ResultsHaveWords)
{
    EXPECT_EQ(Result_Text(E_OUTOFMEMORY), "out of memory (hr=8007000E)");
    EXPECT_EQ(Result_Text(static_cast<HRESULT>(0x88760868)), "hr=88760868");
}

} // namespace
