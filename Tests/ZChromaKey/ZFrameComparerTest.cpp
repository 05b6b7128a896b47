#include "ZChromaKey/ZFrameComparer.h"

#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"

#include <gtest/gtest.h>

namespace
{

TEST(ZFrameComparer, TellsRepeatedFramesFromNewOnes)
{
    const auto cpA = TestFrame_Make(eZFCC_RGB32, 32, -16);
    const auto cpB = TestFrame_Make(eZFCC_RGB32, 32, -16);
    CZPtr<IZFFrame> cpCloneOfA;
    ASSERT_EQ(cpA->FrameClone(eZFC_Cloned, cpCloneOfA.Put()), S_OK);
    ZFrameComparer comparer;
    EXPECT_FALSE(comparer.IsSameFrame(cpA.Get())) << "the first frame";
    const CLogCatcher log;
    EXPECT_TRUE(comparer.IsSameFrame(cpA.Get()));
    EXPECT_EQ(log.Count(")::IsSameFrame() [FRC-X] - SAME FRAME IN (DUP)", eZLog_Verbose), 1u);
    EXPECT_TRUE(comparer.IsSameFrame(cpCloneOfA.Get())) << "another object with the same pixels";
    EXPECT_FALSE(comparer.IsSameFrame(cpB.Get())) << "equal pixels, but another identity";
    EXPECT_FALSE(comparer.IsSameFrame(cpA.Get())) << "only the frame just before counts";
    cpA->IdentityRenew();
    EXPECT_FALSE(comparer.IsSameFrame(cpA.Get())) << "new pixels in the same frame object";
    EXPECT_TRUE(comparer.IsSameFrame(cpA.Get()));
    comparer.Reset();
    EXPECT_FALSE(comparer.IsSameFrame(cpA.Get()));
}

TEST(ZFrameComparer, LooksAtPropertiesAndFailures)
{
    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, 32, 16);
    HRESULT hrId = S_OK;
    const auto cpHook = CHookFrame::Make(
        cpFrame.Get(), [&](const std::string& _strMethod) { return _strMethod == "FrameIdGet" ? hrId : S_OK; });
    ZFrameComparer comparer;
    EXPECT_FALSE(comparer.IsSameFrame(cpHook.Get()));
    EXPECT_TRUE(comparer.IsSameFrame(cpHook.Get()));
    cpHook->m_fnProps = [](ZF_VID_PROPS* _pVidProps) { _pVidProps->eInterlace = eZI_TopFirst; };
    EXPECT_FALSE(comparer.IsSameFrame(cpHook.Get())) << "the same pixels, shown in another way";
    EXPECT_TRUE(comparer.IsSameFrame(cpHook.Get()));
    hrId = E_FAIL;
    EXPECT_FALSE(comparer.IsSameFrame(cpHook.Get()));
    hrId = S_OK;
    EXPECT_FALSE(comparer.IsSameFrame(cpHook.Get())) << "a frame without identity is no frame to compare with";

    const auto cpNoSecond = CHookFrame::Make(
        cpFrame.Get(), [](const std::string& _strMethod) { return _strMethod == "IZFFrame2" ? E_NOINTERFACE : S_OK; });
    const CLogCatcher log;
    EXPECT_FALSE(comparer.IsSameFrame(cpNoSecond.Get()));
    EXPECT_EQ(log.Count("\"qpZFrameNext\"", eZLog_Error), 1u);
}

TEST(ZFrameComparer, SeesTextsThatChangeWhatAFrameShows)
{
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 32, -16);
    ZFrameComparer comparer;
    comparer.IsSameFrame(cpFrame.Get());
    for (const wchar_t* pwszName : {L"crop", L"mirror", L"rotate"})
        for (const wchar_t* pwszValue : {L"1", L"2", static_cast<const wchar_t*>(nullptr)})
        {
            ASSERT_EQ(cpFrame->PropsSet(pwszName, pwszValue), S_OK);
            EXPECT_FALSE(comparer.IsSameFrame(cpFrame.Get())) << "set, changed, removed";
            EXPECT_TRUE(comparer.IsSameFrame(cpFrame.Get()));
        }
    ASSERT_EQ(cpFrame->PropsSet(L"title", L"x"), S_OK);
    EXPECT_TRUE(comparer.IsSameFrame(cpFrame.Get())) << "other texts do not count";
}

TEST(ZFrameComparer, AnswersFailuresOfTheLastOutput)
{
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 32, -16);
    const CHROMA_KEY_RAW key = TestKey(eCKT_RGB);
    CHROMA_KEY_RAW keyLast = key;
    ZFrameComparer comparer;
    CZPtr<IZFFrame> cpRes;
    comparer.IsSameFrame(cpFrame.Get());
    const auto cpNoClone = CHookFrame::Make(
        cpFrame.Get(), [](const std::string& _strMethod) { return _strMethod == "FrameClone" ? E_OUTOFMEMORY : S_OK; });
    const CLogCatcher log;
    EXPECT_EQ(ZFrameComparer_Check(&comparer, cpFrame.Get(), cpRes.Put(), &key, &keyLast, cpNoClone.Get()),
              E_OUTOFMEMORY);
    EXPECT_EQ(log.Count("\"(((HRESULT)(hrClone)) >= 0)\""), 1u);
    EXPECT_EQ(ZFrameComparer_Check(nullptr, cpFrame.Get(), cpRes.Put(), &key, &keyLast, nullptr), E_INVALIDARG);
    EXPECT_EQ(log.Count("\"_pComparer && _pFrame && _ppFrameRes && _pKey && _pKeyLast\""), 1u);
}

} // namespace
