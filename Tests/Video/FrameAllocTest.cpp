#include "Support/AllocCounter.h"
#include "FrameShorthand.h"

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
