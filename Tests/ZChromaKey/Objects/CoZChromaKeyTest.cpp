#include "Base/ZBstr.h"
#include "Base/ZSystem.h"
#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "ZChromaKey/Objects/TestKeyer.h"

namespace
{

using CoZChromaKey = CKeyerTest;

TEST_F(CoZChromaKey, RefusesWrongArguments)
{
    const CLogCatcher log;
    EXPECT_EQ(m_cpKeyer->OnMediaReceive(TestFrame_Make(eZFCC_RGB32, 64, 32).Get(), nullptr), E_POINTER);
    EXPECT_EQ(log.Count("\"_ppFrameRes\""), 1u);
    EXPECT_EQ(m_cpKeyer->KeyRawSet(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_cpKeyer->KeyRawGet(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_cpKeyer->LogSet(log.Sink(), 5), E_INVALIDARG);
    EXPECT_EQ(log.Count("SIMD level"), 0u);
    BSTR bsName = const_cast<BSTR>(L"stale");
    BSTR bsVersion = bsName;
    EXPECT_EQ(m_cpKeyer->PluginInfoGet(nullptr, &bsVersion), E_POINTER);
    EXPECT_EQ(m_cpKeyer->PluginInfoGet(&bsName, nullptr), E_POINTER);
    EXPECT_TRUE(!bsName && !bsVersion);

    const std::pair<const wchar_t*, const wchar_t*> arrWrong[] = {
        {L"output.thread", L"maybe"}, {L"gpu_mode", L"fast"},      {L"process.threads", L"1.5"},
        {L"output.argb", L"y e s"},   {L"keying.borders", L"1,2"}, {L"debug.time_overlay", L"2x"}};
    for (const auto& [pwszName, pwszValue] : arrWrong)
    {
        EXPECT_EQ(m_cpKeyer->PropsSet(pwszName, pwszValue), E_INVALIDARG) << pwszName;
        EXPECT_EQ(log.Count("\"" + ZText_FromWide(pwszName) + "\"", eZLog_Error), 1u);
    }
    EXPECT_EQ(m_cpKeyer->PropsSet(L"output.tread", L"true"), E_INVALIDARG);
    EXPECT_EQ(log.Count("\"output.tread\": there is no such option; there are debug.time_overlay", eZLog_Error), 1u);
    EXPECT_EQ(OptionOf(m_cpKeyer.Get(), L"gpu_mode"), L"0") << "a refused value changes nothing";
}

TEST_F(CoZChromaKey, ListsAllOptionsAndAnswersDefaultsForThoseThatAreNotSet)
{
    std::wstring wstrNames;
    BSTR bsText = nullptr;
    for (UINT n = 0; m_cpKeyer->PropsNameGet(n, &bsText) == S_OK; ++n)
        wstrNames += TakeText(bsText) + L" ";
    EXPECT_EQ(wstrNames,
              L"debug.time_overlay detect.blocks detect.borders detect.fit detect.key_diff detect.max_keys "
              L"detect.show_blocks detect.similarity detect.threshold detect.type gpu_flush_context gpu_mode "
              L"input.keep input.matrix input.range keying.alpha keying.borders output.argb output.depth "
              L"output.premultiplied "
              L"output.thread process.threads ");
    EXPECT_EQ(m_cpKeyer->PropsGet(L"process.threads", &bsText), S_FALSE) << "none is set";
    EXPECT_EQ(TakeText(bsText), L"2");
    EXPECT_EQ(m_cpKeyer->PropsGet(L"no.option", &bsText), S_FALSE);
    EXPECT_EQ(bsText, nullptr);
}

TEST_F(CoZChromaKey, GivesScriptsTheTablesAValueACall)
{
    const auto fnText = [&](int32_t _eTable, int32_t _nRow, const char* _pszColumn) {
        CZBStr bsText;
        m_cpKeyer->TableText(_eTable, _nRow, CZBStr(_pszColumn).Get(), bsText.Put());
        return bsText.Text();
    };
    const auto fnNumber = [&](int32_t _eTable, int32_t _nRow, const char* _pszColumn) {
        double dblNumber = -1;
        EXPECT_EQ(m_cpKeyer->TableNumber(_eTable, _nRow, CZBStr(_pszColumn).Get(), &dblNumber), S_OK);
        return dblNumber;
    };
    int32_t nRows = 0;
    EXPECT_EQ(m_cpKeyer->TableRows(eZTable_Adjusts, &nRows), S_OK);
    EXPECT_EQ(nRows, 17);
    EXPECT_EQ(fnText(eZTable_Adjusts, eCKA_Power, "name"), "power");
    EXPECT_EQ(fnText(eZTable_Adjusts, eCKA_Power, "unit"), "%");
    EXPECT_EQ(fnNumber(eZTable_Adjusts, eCKA_Power, "least"), -100);
    EXPECT_EQ(m_cpKeyer->TableRows(eZTable_Options, &nRows), S_OK);
    EXPECT_EQ(fnText(eZTable_Options, nRows - 1, "name"), "process.threads");
    EXPECT_EQ(fnNumber(eZTable_Options, nRows - 1, "most"), 16);
    const CLogCatcher log(eZLog_Error);
    CZBStr bsText;
    double dblNumber = 0;
    EXPECT_EQ(m_cpKeyer->TableText(eZTable_Options, nRows, CZBStr("name").Get(), bsText.Put()), E_INVALIDARG);
    EXPECT_EQ(m_cpKeyer->TableNumber(eZTable_Options, 0, CZBStr("name").Get(), &dblNumber), E_INVALIDARG);
    EXPECT_EQ(m_cpKeyer->TableRows(77, &nRows), E_INVALIDARG);
    EXPECT_EQ(log.Count("CZTables: "), 3u);
    EXPECT_EQ(m_cpKeyer->PluginName(bsText.Put()), S_OK);
    EXPECT_EQ(bsText.Text(), "ZChromaKey");
}

TEST_F(CoZChromaKey, DetectsAsItsOptionsSayWhereTheCallerSaysNothing)
{
    static wchar_t s_wszProps[] = L"type=rgb";
    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, 64, 48);
    EXPECT_EQ(m_cpKeyer->KeyFrameSet(cpFrame.Get(), nullptr), S_OK);
    EXPECT_EQ(m_cpKeyer->PropsSet(L"detect.blocks", L"many"), E_INVALIDARG);
    Set(L"detect.type", L"hls");
    Set(L"detect.blocks", L"8");
    Set(L"detect.borders", L"0");
    CHROMA_KEY_RAW key = {};
    for (BSTR const bsProps : {static_cast<BSTR>(nullptr), static_cast<BSTR>(s_wszProps)})
    {
        EXPECT_EQ(m_cpKeyer->KeyReset(), S_OK);
        EXPECT_EQ(m_cpKeyer->KeyDetect(bsProps), S_OK);
        EXPECT_EQ(m_cpKeyer->KeyRawGet(&key, nullptr), S_OK);
        EXPECT_EQ(key.eType, bsProps ? eCKT_RGB : eCKT_HLS);
    }
}

TEST_F(CoZChromaKey, SaysWhatItIsAndWhereItRuns)
{
    const CLogCatcher log;
    EXPECT_EQ(m_cpKeyer->LogSet(log.Sink(), eZLog_Info), S_OK); // a new log starts with what runs here
    EXPECT_EQ(log.Count(ZSystem_Name() + ", " + ZSystem_Processor() + ", SIMD level ", eZLog_Info), 1u);
    EXPECT_EQ(log.Count(ZSystem_ModulePath(), eZLog_Info), 1u);
    EXPECT_EQ(log.Count("unknown"), 0u);
    BSTR bsName = nullptr;
    BSTR bsVersion = nullptr;
    ASSERT_EQ(m_cpKeyer->PluginInfoGet(&bsName, &bsVersion), S_OK);
    EXPECT_EQ(TakeText(bsName), L"ZChromaKey");
    EXPECT_NE(TakeText(bsVersion), L"");
}

TEST_F(CoZChromaKey, UsesTheGpuAsTheModeSays)
{
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, 32);
    const auto cpNext = TestFrame_Make(eZFCC_RGB32, 64, 32);
    const auto cpGpuFrame = TestFrame_Make(eZFCC_ARGB32, 64, 32);
    const CLogCatcher log;
    ExpectKeyed(Receive(cpFrame.Get()).Get());
    EXPECT_EQ(m_gpu.nFrames, 0) << "mode 0";

    const char* const pszFailed = ") Failed to perform GPU chroma key! hr=80004005";
    Set(L"gpu_mode", nullptr);
    ExpectKeyed(Receive(cpFrame.Get()).Get());
    ExpectKeyed(Receive(cpNext.Get()).Get());
    EXPECT_EQ(m_gpu.nFrames, 2);
    EXPECT_EQ(log.Count(pszFailed, eZLog_Error), 1u) << "said aloud once";
    EXPECT_EQ(log.Count(pszFailed, eZLog_Verbose), 1u);
    ExpectKeyed(Receive(cpNext.Get()).Get());
    EXPECT_EQ(m_gpu.nFrames, 2) << "what the CPU made instead is remembered";

    Set(L"gpu_mode", L"1");
    Receive(cpFrame.Get(), E_FAIL);
    m_gpu.hr = S_OK; // and no frame
    Receive(cpFrame.Get(), E_UNEXPECTED);
    EXPECT_EQ(log.Count("Failed to perform GPU chroma key! hr=8000FFFF", eZLog_Error), 1u) << "another code";
    Set(L"gpu_mode", L"2");
    ExpectKeyed(Receive(cpFrame.Get()).Get());

    m_gpu.cpResult = CZPtr<IZFFrame>(cpGpuFrame.Get());
    EXPECT_EQ(Receive(cpNext.Get()).Get(), cpGpuFrame.Get());
    EXPECT_EQ(log.Count(") GPU Processed(0) OK", eZLog_Verbose), 1u);
    const int nFrames = m_gpu.nFrames;
    Receive(cpNext.Get());
    EXPECT_EQ(m_gpu.nFrames, nFrames) << "the GPU's output is remembered, too";
    EXPECT_FALSE(m_gpu.optionsLast.bOutputARGB || m_gpu.optionsLast.bFlushContext);
    Set(L"output.argb", L"true");
    Set(L"gpu_flush_context", L"true");
    Set(L"keying.borders", L"8,2,16,4");
    const uint64_t nChange = m_gpu.optionsLast.nChange;
    Receive(cpNext.Get());
    EXPECT_TRUE(m_gpu.optionsLast.bOutputARGB && m_gpu.optionsLast.bFlushContext);
    EXPECT_NE(m_gpu.optionsLast.nChange, nChange);
    EXPECT_EQ(m_gpu.vidPropsLast.nWidth, 40) << "the borders are cut off before";
    EXPECT_EQ(std::abs(m_gpu.vidPropsLast.nHeight), 26);
    const auto cpTexture = CHookFrame::Make(
        cpNext.Get(), [](const std::string& _strMethod) { return _strMethod == "VideoPtrGet" ? S_FALSE : S_OK; });
    Set(L"keying.borders", L"8,2,16,5");
    Receive(cpTexture.Get());
    EXPECT_EQ(m_gpu.vidPropsLast.nWidth, 64) << "a frame without a picture in system memory is keyed whole";
    EXPECT_EQ(m_cpKeyer->Close(), S_OK);
    EXPECT_EQ(m_gpu.nClosed, 1);
}

TEST_F(CoZChromaKey, DrawsTheTimeIntoPictureAndMask)
{
    Set(L"debug.time_overlay", L"true");
    Set(L"gpu_mode", L"1");
    m_gpu.hr = S_OK;
    const std::pair<uint32_t, int> arrRows[] = {{eZFCC_RGB32, 160}, {eZFCC_ARGB32, -160}, {eZFCC_UYVY, 160},
                                                {eZFCC_YUY2, 160},  {eZFCC_NV12, 160},    {eZFCC_UYVY, 360}};
    for (const auto& [fccType, nHeight] : arrRows)
    {
        SCOPED_TRACE(FCC_Name(fccType));
        const auto cpShared = TestFrame_Make(fccType, 320, nHeight);
        ASSERT_EQ(cpShared->FrameClone(eZFC_Cloned, m_gpu.cpResult.Put()), S_OK); // its pixels may not be written
        cpShared->TimeCodeSet({1, 20, 33, 4, 0});
        const auto cpMask = TestFrame_Make(eZFCC_RGB8, 320, -std::abs(nHeight));
        ASSERT_EQ(m_gpu.cpResult->AttachmentSet(L"mask", ZQuery<IZFFrame>(cpMask).Get()), S_OK);
        const auto vecBefore = PixelsOf(cpShared.Get());
        const auto cpRes = Receive(TestFrame_Make(fccType, 320, nHeight).Get());
        ASSERT_TRUE(cpRes);
        const auto vecRes = PixelsOf(cpRes.Get());
        const size_t nScale = nHeight == 360 ? 2 : 1;
        // the zero that all time codes start with: its top row is white in three of five columns
        std::string strTop;
        for (size_t nX = 0; nX < 9 * nScale; nX += nScale)
            strTop += vecRes[4 * (2 * nScale * 320 + nX) + 1] > 200 ? '#' : '.';
        EXPECT_EQ(strTop, "...###...");
        EXPECT_LT(vecRes[1], 20) << "the background";
        EXPECT_EQ(RowOf(MaskOf(cpRes.Get()).Get(), 0)[0], 255) << "the box is not transparent";
        const auto nBelow = static_cast<ptrdiff_t>(4 * 320 * 11 * nScale); // the rows below the box
        EXPECT_TRUE(std::equal(vecRes.begin() + nBelow, vecRes.end(), vecBefore.begin() + nBelow));
        EXPECT_EQ(PixelsOf(cpShared.Get()), vecBefore) << "shared pixels stay";
    }
}

} // namespace
