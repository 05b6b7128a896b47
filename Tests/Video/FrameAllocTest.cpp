#include "Support/AllocCounter.h"
#include "FrameShorthand.h"

// What a keyed frame costs: a clone, a mask that is attached, and the release of all. Once the pool is warm the heap
// must not be touched.
TEST(FrameAlloc, SteadyStateDoesNotTouchTheHeap)
{
    const CZPtr<CZFrame> cpFrame = MakeFrame(Props(eZFCC_ARGB32, 320, -200));
    ASSERT_EQ(cpFrame->PropsSet(L"crop", L"a text that is too long for a short string"), S_OK);
    const ZF_VID_PROPS vidMask = Props(eZFCC_RGB8, 320, -200);
    const auto fnFrame = [&] {
        CZPtr<IZFFrame> cpShared, cpOwn, cpPart, cpMask, cpLater;
        EXPECT_EQ(cpFrame->FrameClone(eZFC_Cloned, cpShared.Put()), S_OK);
        EXPECT_EQ(cpFrame->FrameConvert(eZFC_Converted, eZFCC_ARGB32, cpOwn.Put()), S_OK);
        EXPECT_EQ(cpFrame->FrameRect(8, 8, 300, 180, cpPart.Put()), S_OK);
        EXPECT_EQ(cpFrame->FrameCreate(&vidMask, cpMask.Put()), S_OK);
        EXPECT_EQ(cpOwn->AttachmentSet(L"mask", cpMask.Get()), S_OK);
        const CZPtr<IZFFrame2> cpOwn2 = ZQuery<IZFFrame2>(cpOwn);
        EXPECT_EQ(cpOwn2->FrameClone(eZFC_Cloned, cpLater.Put()), S_OK);
        CZPtr<IUnknown> cpAttached;
        EXPECT_EQ(cpLater->AttachmentGet(L"mask", cpAttached.Put()), S_OK);
    };
    for (int n = 0; n < 3; ++n)
        fnFrame();
    const uint64_t nBefore = AllocCount();
    EXPECT_GT(nBefore, 0u); // the counter is at work
    for (int n = 0; n < 1000; ++n)
        fnFrame();
    EXPECT_EQ(AllocCount() - nBefore, 0u);
}

// A pool that has seen large pictures gives them back once they no longer come.
TEST(FrameAlloc, LargePicturesDoNotStayForEver)
{
    const CZPtr<CZFrame> cpFrame = MakeFrame(Props(eZFCC_RGB8, 64, -64));
    const ZF_VID_PROPS vidLarge = Props(eZFCC_RGB32, 1024, -1024);
    const ZF_VID_PROPS vidSmall = Props(eZFCC_RGB8, 64, -64);
    const auto fnAllocs = [&](const ZF_VID_PROPS& _vidProps) {
        const uint64_t nBefore = AllocCount();
        CZPtr<IZFFrame> cpNew;
        EXPECT_EQ(cpFrame->FrameCreate(&_vidProps, cpNew.Put()), S_OK);
        return AllocCount() - nBefore;
    };
    fnAllocs(vidLarge);
    EXPECT_EQ(fnAllocs(vidLarge), 0u); // kept
    for (int n = 0; n < 300; ++n)
        fnAllocs(vidSmall);
    EXPECT_GT(fnAllocs(vidLarge), 0u); // given back in the meantime
}

TEST(FrameAlloc, NothingIsThrownWhereEvenWordsNeedMemory)
{
    ZF_VID_PROPS vidProps = Props(eZFCC_RGB32, 64, -64);
    vidProps.nGPUFlags = eZGPU_DX11Texture;
    const CZPtr<CZFrame> cpFrame = MakeFrame(vidProps);
    CZPtr<IZFFrame> cpNew;
    AllocFault_Set(1, 1000);
    const HRESULT hr = cpFrame->FrameConvert(eZFC_Converted, eZFCC_ARGB32, cpNew.Put());
    AllocFault_End();
    EXPECT_EQ(hr, E_OUTOFMEMORY);
}
