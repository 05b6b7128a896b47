#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZKeys.h"
#include "Interfaces/IZSteps.h"
#include "Support/LogCatcher.h"
#include "Support/Texts.h"
#include "ZChromaKey/Objects/ClassTable.h"
#include "ZChromaKey/Objects/TestKeyer.h"
#include "ZChromaKey/Objects/UnmixKeyer.h"

// What the objects of both generations have to do alike.

namespace
{

class EitherObject : public testing::TestWithParam<CLSID>
{
protected:
    EitherObject()
    {
        const auto itClass =
            std::ranges::find_if(ClassTable(), [](const MODULE_CLASS& _row) { return _row.clsid == GetParam(); });
        EXPECT_EQ(itClass->pfnCreate(IID_IZKeys, m_cpKeys.PutVoid()), S_OK);
        m_cpProps = ZQuery<IZProps>(m_cpKeys);
        m_cpSteps = ZQuery<IZSteps>(m_cpKeys);
        for (const wchar_t* pwszOff : {L"output.thread", L"gpu_mode"})
            EXPECT_EQ(m_cpProps->PropsSet(pwszOff, L"0"), S_OK);
        EXPECT_EQ(m_cpProps->PropsSet(L"output.argb", L"1"), S_OK);
    }
    CZPtr<IZFFrame> Receive(IZFFrame* _pFrame)
    {
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(ZQuery<IZFProcess>(m_cpKeys)->OnMediaReceive(_pFrame, cpRes.Put()), S_OK);
        return cpRes;
    }
    int Steps()
    {
        int32_t nSteps = -1;
        EXPECT_EQ(m_cpSteps->StepsBack(&nSteps), S_OK);
        return nSteps;
    }
    std::wstring Keys()
    {
        BSTR bsDocument = nullptr;
        EXPECT_EQ(m_cpKeys->KeysSaveToString(&bsDocument), S_OK);
        return TakeText(bsDocument);
    }

    CZPtr<IZKeys> m_cpKeys;
    CZPtr<IZProps> m_cpProps;
    CZPtr<IZSteps> m_cpSteps;
};

TEST_P(EitherObject, HoldsNoFrameThatItIsNotToKeep)
{
    EXPECT_EQ(m_cpKeys->KeyAddColor(0x3CAA32), S_OK);
    const CLogCatcher log; // the second generation loses its backdrop
    const auto cpKept = Body(eZFCC_RGB32, c_arrGreen);
    Receive(cpKept.Get());
    EXPECT_GT(RefsOf(static_cast<IZFFrame2*>(cpKept.Get())), 1u) << "as it is without the option";
    EXPECT_EQ(m_cpProps->PropsSet(L"input.keep", L"false"), S_OK);
    for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_ARGB32, eZFCC_NV12})
    {
        const auto cpFrame = Body(fccType, c_arrGreen);
        const auto cpRes = Receive(cpFrame.Get());
        EXPECT_EQ(RefsOf(static_cast<IZFFrame2*>(cpFrame.Get())), 1u) << FCC_Name(fccType);
        EXPECT_EQ(RefsOf(cpRes.Get()), 1u) << "nor the result";
        EXPECT_LT(RowOf(MaskOf(cpRes.Get()).Get(), 4)[4], 8);
        EXPECT_GT(RowOf(MaskOf(cpRes.Get()).Get(), 90)[96], 247);
    }
    EXPECT_EQ(RefsOf(static_cast<IZFFrame2*>(cpKept.Get())), 1u) << "what was kept before goes as well";
    const auto cpAgain = Body(eZFCC_ARGB32, c_arrGreen);
    Receive(cpAgain.Get());
    std::fill_n(Img_Pointer(PtrOf(cpAgain.Get()).lpVideoPlanes[0]), 4 * c_nBodyWidth * c_nBodyHeight, uint8_t{255});
    EXPECT_GT(RowOf(MaskOf(Receive(cpAgain.Get()).Get()).Get(), 4)[4], 247) << "the same memory, another picture";
}

TEST_P(EitherObject, SavesAndLoadsKeysAndLeavesOptionsAlone)
{
    EXPECT_EQ(m_cpProps->PropsSet(L"process.threads", L"5"), S_OK);
    EXPECT_EQ(m_cpKeys->KeyAddColor(0x3CAA32), S_OK);
    const std::wstring wstrAll = DocumentOf(ZQuery<IZFPersist>(m_cpKeys).Get());
    EXPECT_EQ(m_cpKeys->KeyAddColor(0x2030C0), S_OK);
    const std::wstring wstrKeys = Keys();
    EXPECT_EQ(wstrKeys.find(L"option"), std::wstring::npos);
    EXPECT_EQ(m_cpProps->PropsSet(L"process.threads", L"7"), S_OK);

    EXPECT_EQ(m_cpKeys->KeysLoad(wstrAll.c_str()), S_OK);
    EXPECT_NE(Keys(), wstrKeys);
    EXPECT_EQ(Steps(), 3) << "a document is one step";
    EXPECT_EQ(ZQuery<IZFPersist>(m_cpKeys)->PersistLoad(wstrKeys.c_str()), S_OK);
    EXPECT_EQ(Keys(), wstrKeys);
    EXPECT_EQ(OptionOf(m_cpProps.Get(), L"process.threads"), L"7");
    EXPECT_EQ(OptionOf(m_cpProps.Get(), L"output.thread"), L"0");

    const CLogCatcher log;
    const bool bSecond = GetParam() == CLSID_ZChromaKey2;
    EXPECT_EQ(m_cpKeys->KeysLoad(bSecond ? L"<zl-root><ZChromaKey type='2' keys='0'/></zl-root>"
                                         : L"<zl-root><ZChromaKey2/></zl-root>"),
              E_INVALIDARG);
    EXPECT_EQ(log.Count("KeysLoad: the document: ", eZLog_Error), 1u);
    EXPECT_EQ(Keys(), wstrKeys);
}

TEST_P(EitherObject, AColorThatIsThereAlreadyChangesNothing)
{
    EXPECT_EQ(m_cpKeys->KeyAddColor(0x3CAA32), S_OK);
    EXPECT_EQ(m_cpKeys->KeyProtectColor(0xC0A080), S_OK);
    const std::wstring wstrKeys = Keys();
    for (int n = 0; n < 3; ++n)
    {
        EXPECT_EQ(m_cpKeys->KeyAddColor(0x3CAA32), S_FALSE);
        EXPECT_EQ(m_cpKeys->KeyProtectColor(0xC0A080), S_FALSE);
    }
    EXPECT_EQ(Keys(), wstrKeys);
    EXPECT_EQ(Steps(), 2);
    EXPECT_EQ(m_cpKeys->KeyAddColor(0x2030C0), S_OK);
    EXPECT_EQ(m_cpKeys->KeyAddColor(0x3CAA32), S_FALSE);
    int32_t nDone = 0;
    EXPECT_EQ(m_cpSteps->StepBack(1, &nDone), S_OK);
    EXPECT_EQ(Keys(), wstrKeys);

    EXPECT_EQ(ZQuery<IZProps>(m_cpKeys)->PropsSet(L"input.keep", L"false"), S_OK);
    for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_UYVY})
    {
        const auto cpRes = Receive(Body(fccType, c_arrGreen).Get());
        EXPECT_LT(RowOf(MaskOf(cpRes.Get()).Get(), 4)[4], 8) << FCC_Name(fccType);
        EXPECT_LT(RowOf(MaskOf(cpRes.Get()).Get(), 4)[188], 8) << "where there is less light";
        EXPECT_GT(RowOf(MaskOf(cpRes.Get()).Get(), 90)[96], 247);
    }
}

INSTANTIATE_TEST_SUITE_P(Generation, EitherObject, testing::Values(CLSID_ZChromaKey, CLSID_ZChromaKey2),
                         [](const auto& _info) { return _info.index == 0 ? "First" : "Second"; });

} // namespace
