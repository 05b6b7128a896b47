#include "ZChromaKey/ZFrameComparer.h"

#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"

#include <gtest/gtest.h>

namespace
{

CZPtr<IZFFrame> Clone(IZFFrame2* _pFrame)
{
    CZPtr<IZFFrame> cpClone;
    EXPECT_EQ(_pFrame->FrameClone(eZFC_Cloned, cpClone.Put()), S_OK);
    return cpClone;
}

TEST(ZFrameComparer, TellsRepeatedFramesFromNewOnes)
{
    const auto cpA = TestFrame_Make(eZFCC_RGB32, 32, -16);
    const auto cpB = TestFrame_Make(eZFCC_RGB32, 32, -16);
    const auto cpCloneOfA = Clone(cpA.Get());
    ZFrameComparer comparer;
    EXPECT_FALSE(comparer.IsSameFrame(cpA.Get())) << "the first frame";
    {
        const CLogCatcher log;
        EXPECT_TRUE(comparer.IsSameFrame(cpA.Get()));
        EXPECT_EQ(log.Count(")::IsSameFrame() [FRC-X] - SAME FRAME IN (DUP)", eZLog_Verbose), 1u);
    }
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
    {
        ASSERT_EQ(cpFrame->PropsSet(pwszName, L"1"), S_OK);
        EXPECT_FALSE(comparer.IsSameFrame(cpFrame.Get())) << "set";
        EXPECT_TRUE(comparer.IsSameFrame(cpFrame.Get()));
        ASSERT_EQ(cpFrame->PropsSet(pwszName, L"2"), S_OK);
        EXPECT_FALSE(comparer.IsSameFrame(cpFrame.Get())) << "changed";
        ASSERT_EQ(cpFrame->PropsSet(pwszName, nullptr), S_OK);
        EXPECT_FALSE(comparer.IsSameFrame(cpFrame.Get())) << "removed";
        EXPECT_TRUE(comparer.IsSameFrame(cpFrame.Get()));
    }
    ASSERT_EQ(cpFrame->PropsSet(L"title", L"x"), S_OK);
    EXPECT_TRUE(comparer.IsSameFrame(cpFrame.Get())) << "other texts do not count";
}

TEST(ZFrameComparer, ChecksFrameKeyAndLastOutputTogether)
{
    const auto cpA = TestFrame_Make(eZFCC_RGB32, 32, -16);
    const auto cpOut = TestFrame_Make(eZFCC_RGB32, 32, -16);
    const CHROMA_KEY_RAW key = TestKey(eCKT_RGB);
    CHROMA_KEY_RAW keyLast = key;
    ZFrameComparer comparer;
    CZPtr<IZFFrame> cpRes;
    EXPECT_EQ(ZFrameComparer_Check(&comparer, cpA.Get(), cpRes.Put(), &key, &keyLast, nullptr), S_FALSE);
    EXPECT_EQ(ZFrameComparer_Check(&comparer, cpA.Get(), cpRes.Put(), &key, &keyLast, cpOut.Get()), S_OK);
    ASSERT_TRUE(cpRes);
    EXPECT_EQ(ZFrameComparer_Check(&comparer, cpA.Get(), cpRes.Put(), &key, &keyLast, nullptr), S_FALSE);
    EXPECT_FALSE(cpRes) << "no last output";
    CHROMA_KEY_RAW keyOther = key;
    keyOther.arrKeys[15].nReverseKey = 1; // not in use, but the whole structure counts
    EXPECT_EQ(ZFrameComparer_Check(&comparer, cpA.Get(), cpRes.Put(), &keyOther, &keyLast, cpOut.Get()), S_FALSE);
    EXPECT_EQ(keyLast.arrKeys[15].nReverseKey, 1);
    EXPECT_EQ(ZFrameComparer_Check(&comparer, cpA.Get(), cpRes.Put(), &keyOther, &keyLast, cpOut.Get()), S_OK);

    const auto cpNoClone = CHookFrame::Make(
        cpOut.Get(), [](const std::string& _strMethod) { return _strMethod == "FrameClone" ? E_OUTOFMEMORY : S_OK; });
    const CLogCatcher log;
    EXPECT_EQ(ZFrameComparer_Check(&comparer, cpA.Get(), cpRes.Put(), &keyOther, &keyLast, cpNoClone.Get()),
              E_OUTOFMEMORY);
    EXPECT_EQ(log.Count("\"(((HRESULT)(hrClone)) >= 0)\""), 1u);
    EXPECT_EQ(ZFrameComparer_Check(nullptr, cpA.Get(), cpRes.Put(), &key, &keyLast, nullptr), E_INVALIDARG);
    EXPECT_EQ(ZFrameComparer_Check(&comparer, cpA.Get(), cpRes.Put(), &key, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(log.Count("\"_pComparer && _pFrame && _ppFrameRes && _pKey && _pKeyLast\""), 2u);
}

} // namespace
