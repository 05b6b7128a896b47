#include "FrameShorthand.h"

#include "Support/LogCatcher.h"
#include "Support/Texts.h"

#include <atomic>
#include <string>
#include <thread>

namespace
{
IZFFrame* Frame(const CZPtr<CZFrame>& _cpFrame)
{
    return _cpFrame.Get();
}

std::wstring NamesOf(IZProps* _pProps)
{
    std::wstring wstrNames;
    BSTR bsName = nullptr;
    for (UINT n = 0; _pProps->PropsNameGet(n, &bsName) == S_OK; ++n)
        wstrNames += TakeText(bsName) + L" ";
    EXPECT_EQ(bsName, nullptr);
    return wstrNames;
}
} // namespace

TEST(FrameExtras, AttachmentsAreCountedAndReplaced)
{
    const CZPtr<CZFrame> cpFrame = MakeFrame(Props(eZFCC_RGB32, 4, -4));
    const CZPtr<CZFrame> cpA = MakeFrame(Props(eZFCC_RGB8, 4, -4));
    const CZPtr<CZFrame> cpB = MakeFrame(Props(eZFCC_RGB8, 4, -4));
    EXPECT_EQ(cpFrame->AttachmentSet(L"mask", nullptr), S_FALSE);
    EXPECT_EQ(cpFrame->AttachmentSet(L"mask", Frame(cpA)), S_OK);
    EXPECT_EQ(cpFrame->AttachmentSet(L"a name that no short string holds", Frame(cpA)), S_OK);
    EXPECT_EQ(RefsOf(Frame(cpA)), 3u);
    CZPtr<IUnknown> cpObject;
    EXPECT_EQ(cpFrame->AttachmentGet(L"mask", cpObject.Put()), S_OK);
    EXPECT_EQ(cpObject.Get(), ZQuery<IUnknown>(Frame(cpA)).Get());
    cpObject.Reset();
    EXPECT_EQ(cpFrame->AttachmentSet(L"mask", Frame(cpB)), S_OK);
    EXPECT_EQ(RefsOf(Frame(cpA)), 2u);
    EXPECT_EQ(RefsOf(Frame(cpB)), 2u);
    EXPECT_EQ(cpFrame->AttachmentSet(L"a name that no short string holds", nullptr), S_OK);
    EXPECT_EQ(cpFrame->AttachmentSet(L"mask", nullptr), S_OK);
    EXPECT_EQ(RefsOf(Frame(cpA)) + RefsOf(Frame(cpB)), 2u);
    EXPECT_EQ(cpFrame->AttachmentGet(L"mask", cpObject.Put()), S_FALSE);
}

TEST(FrameExtras, CyclesAreRefused)
{
    const CLogCatcher log(eZLog_Error);
    const CZPtr<CZFrame> cpA = MakeFrame(Props(eZFCC_RGB32, 4, -4));
    const CZPtr<CZFrame> cpB = MakeFrame(Props(eZFCC_RGB8, 4, -4));
    const CZPtr<CZFrame> cpC = MakeFrame(Props(eZFCC_RGB8, 4, -4));
    EXPECT_EQ(cpA->AttachmentSet(L"self", Frame(cpA)), E_INVALIDARG);
    EXPECT_EQ(cpA->AttachmentSet(L"self", static_cast<IZProps*>(cpA.Get())), E_INVALIDARG); // by any of its interfaces
    EXPECT_EQ(cpA->AttachmentSet(L"b", Frame(cpB)), S_OK);
    EXPECT_EQ(cpB->AttachmentSet(L"c", Frame(cpC)), S_OK);
    EXPECT_EQ(cpC->AttachmentSet(L"a", Frame(cpA)), E_INVALIDARG);
    EXPECT_EQ(cpA->AttachmentSet(L"c", Frame(cpC)), S_OK); // two ways to one object are no cycle
    CZPtr<IZFFrame> cpClone;
    ASSERT_EQ(cpA->FrameClone(eZFC_Cloned, cpClone.Put()), S_OK);
    EXPECT_EQ(cpA->AttachmentSet(L"before", cpClone.Get()), S_OK); // a clone is another frame
    EXPECT_EQ(cpB->AttachmentSet(L"x", cpClone.Get()), E_INVALIDARG);
    EXPECT_EQ(log.Count("CZFrame::AttachmentSet"), 4u);
}

// Without one lock around check and change both threads would succeed and neither frame would ever go.
TEST(FrameExtras, TwoThreadsDoNotCloseACycle)
{
    const CLogCatcher log(eZLog_Off);
    for (int n = 0; n < 500; ++n)
    {
        const CZPtr<CZFrame> cpA = MakeFrame(Props(eZFCC_RGB8, 4, -4));
        const CZPtr<CZFrame> cpB = MakeFrame(Props(eZFCC_RGB8, 4, -4));
        HRESULT hrA = E_FAIL;
        std::atomic<int> nReady{0};
        const auto fnTogether = [&] {
            for (++nReady; nReady < 2;)
            {
            }
        };
        std::thread thread([&] {
            fnTogether();
            hrA = cpA->AttachmentSet(L"x", Frame(cpB));
        });
        fnTogether();
        const HRESULT hrB = cpB->AttachmentSet(L"x", Frame(cpA));
        thread.join();
        ASSERT_NE(SUCCEEDED(hrA), SUCCEEDED(hrB));
    }
}

TEST(FrameExtras, TextsBelongToOneFrame)
{
    const CZPtr<CZFrame> cpFrame = MakeFrame(Props(eZFCC_RGB32, 4, -4));
    EXPECT_EQ(TextOf(cpFrame.Get(), L"crop"), L"(none)");
    EXPECT_EQ(cpFrame->PropsSet(L"rotate", L"90"), S_OK);
    EXPECT_EQ(cpFrame->PropsSet(L"crop", L"1,2,3,\x20AC"), S_OK);
    EXPECT_EQ(cpFrame->PropsSet(L"mirror", L"h"), S_OK);
    CZPtr<IZFFrame> cpClone;
    ASSERT_EQ(cpFrame->FrameClone(eZFC_Cloned, cpClone.Put()), S_OK);
    EXPECT_EQ(cpFrame->PropsSet(L"crop", L"9"), S_OK);
    EXPECT_EQ(cpFrame->PropsSet(L"mirror", L""), S_OK);
    EXPECT_EQ(cpFrame->PropsSet(L"absent", nullptr), S_OK);
    EXPECT_EQ(TextOf(cpFrame.Get(), L"crop"), L"9");
    EXPECT_EQ(TextOf(cpClone.Get(), L"crop"), L"1,2,3,\x20AC");
    EXPECT_EQ(NamesOf(cpFrame.Get()), L"crop rotate ");
    EXPECT_EQ(NamesOf(ZQuery<IZProps>(cpClone).Get()), L"crop mirror rotate ");
}

TEST(FrameExtras, NamesAreChecked)
{
    const CLogCatcher log(eZLog_Error);
    const CZPtr<CZFrame> cpFrame = MakeFrame(Props(eZFCC_RGB32, 4, -4));
    const std::wstring wstrLong(257, L'n');
    BSTR bsText = nullptr;
    CZPtr<IUnknown> cpObject;
    EXPECT_EQ(cpFrame->PropsSet(nullptr, L"x"), E_POINTER);
    EXPECT_EQ(cpFrame->PropsGet(nullptr, &bsText), E_POINTER);
    EXPECT_EQ(cpFrame->PropsGet(L"x", nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->PropsNameGet(0, nullptr), E_POINTER);
    EXPECT_EQ(cpFrame->AttachmentSet(nullptr, Frame(cpFrame)), E_POINTER);
    EXPECT_EQ(cpFrame->AttachmentGet(L"x", nullptr), E_POINTER);
    for (const wchar_t* pwszWrong : {L"", wstrLong.c_str()})
    {
        EXPECT_EQ(cpFrame->PropsSet(pwszWrong, L"x"), E_INVALIDARG);
        EXPECT_EQ(cpFrame->PropsGet(pwszWrong, &bsText), E_INVALIDARG);
        EXPECT_EQ(cpFrame->AttachmentGet(pwszWrong, cpObject.Put()), E_INVALIDARG);
    }
    EXPECT_EQ(cpFrame->PropsSet(wstrLong.c_str() + 1, L"x"), S_OK);
}
