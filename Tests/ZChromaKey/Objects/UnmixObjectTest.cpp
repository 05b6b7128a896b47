#include "Interfaces/IZFPersist.h"
#include "Support/AllocCounter.h"
#include "Support/LogCatcher.h"
#include "Support/TestProps.h"
#include "Support/Texts.h"
#include "Video/FrameShorthand.h"
#include "ZChromaKey/Objects/UnmixKeyer.h"

// The second generation whole: frames of a body before a backdrop, keyed by the object that hosts get.

namespace
{

using UnmixObject = CUnmixObjectTest;

TEST_F(UnmixObject, KeysABackdropThatItFindsAndOneThatIsPicked)
{
    for (const auto& arrBackdrop : {c_arrGreen, c_arrBlue})
        for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_ARGB32, eZFCC_RGB24, eZFCC_UYVY, eZFCC_NV12})
        {
            SCOPED_TRACE(FCC_Name(fccType));
            const double(&arrBGR)[3] = arrBackdrop == c_arrGreen ? c_arrGreen : c_arrBlue;
            const auto cpFrame = Body(fccType, arrBGR);
            EXPECT_EQ(m_cpKeyer->KeyReset(), S_OK);
            EXPECT_EQ(m_cpKeyer->FrameSet(cpFrame.Get()), S_OK);
            EXPECT_EQ(m_cpKeyer->KeyAuto(), S_OK);
            const auto cpRes = Receive(cpFrame.Get());
            ASSERT_TRUE(cpRes);
            EXPECT_EQ(PropsOf(cpRes.Get()).fccType, eZFCC_ARGB32);
            EXPECT_LT(Error(cpRes.Get()), 2.5);
            EXPECT_EQ(m_cpKeyer->KeyAddPoint(10, 10), S_OK);
            cpFrame->IdentityRenew();
            EXPECT_LT(Error(Receive(cpFrame.Get()).Get()), 2.5);
        }
}

TEST_F(UnmixObject, AGreyWallIsNoBackdropAndWithoutAKeyFramesPass)
{
    const CLogCatcher log;
    const auto cpFrame = Body(eZFCC_RGB32, c_arrGrey);
    const auto cpRes = Receive(cpFrame.Get());
    EXPECT_EQ(AttachmentOf(cpRes.Get(), L"mask").Get(), nullptr);
    EXPECT_EQ(m_cpKeyer->KeyAuto(), S_FALSE);
    EXPECT_EQ(log.Count("no backdrop was found", eZLog_Warning), 1u);
    int32_t nKeys = -1;
    EXPECT_EQ(m_cpKeyer->KeyCount(FALSE, &nKeys), S_OK);
    EXPECT_EQ(nKeys, 0);
}

TEST_F(UnmixObject, RegionsProtectedColoursAndViewsAct)
{
    const auto cpFrame = Body(eZFCC_RGB32, c_arrGreen);
    EXPECT_EQ(m_cpKeyer->FrameSet(cpFrame.Get()), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAddPoint(10, 10), S_OK);
    const auto fnAlpha = [&](int _nX, int _nY) {
        cpFrame->IdentityRenew();
        return int{Img_RowOf(PtrOf(Receive(cpFrame.Get()).Get()), 0, _nY)[4 * _nX + 3]};
    };
    EXPECT_EQ(fnAlpha(96, 83), 255);
    EXPECT_EQ(fnAlpha(20, 20), 0);
    const BSTR bsLeft = SysAllocString(L"0,0 40,0 40,128 0,128");
    const BSTR bsMiddle = SysAllocString(L"80,70 110,70 110,100 80,100");
    EXPECT_EQ(m_cpKeyer->RegionSet(eRegion_HoldOut, nullptr, bsLeft), S_OK);
    EXPECT_EQ(m_cpKeyer->RegionSet(eRegion_Garbage, nullptr, bsMiddle), S_OK);
    EXPECT_EQ(fnAlpha(20, 20), 255) << "held out";
    EXPECT_EQ(fnAlpha(96, 83), 0) << "thrown away";
    SysFreeString(bsLeft);
    SysFreeString(bsMiddle);
    int32_t nDone = 0;
    EXPECT_EQ(m_cpKeyer->StepBack(2, &nDone), S_OK);
    EXPECT_EQ(fnAlpha(20, 20), 0);
    EXPECT_EQ(fnAlpha(96, 83), 255);

    EXPECT_EQ(m_cpKeyer->ViewSet(eView_Matte), S_OK);
    cpFrame->IdentityRenew();
    const auto cpMatte = Receive(cpFrame.Get());
    const uint8_t* const pRow = Img_RowOf(PtrOf(cpMatte.Get()), 0, 83);
    EXPECT_EQ(pRow[4 * 96], 255);
    EXPECT_EQ(pRow[4 * 4 + 1], 0);
    CHROMA_KEY2_STATS stats = {};
    EXPECT_EQ(m_cpKeyer->StatsGet(&stats), S_OK);
    EXPECT_NEAR(stats.dblBackdrop + stats.dblMixed + stats.dblSolid, 1, 0.01);
    EXPECT_GT(stats.dblBackdrop, 0.5);
    EXPECT_EQ(stats.eKeyedOnValue, eKeyedOn_CPU);
    CZPtr<IZFFrame> cpPlate;
    ASSERT_EQ(m_cpKeyer->PlateGet(cpPlate.Put()), S_OK);
    EXPECT_NEAR(Img_RowOf(PtrOf(cpPlate.Get()), 0, 83)[4 * 96 + 1], 153, 8) << "the green behind the body";
}

TEST_F(UnmixObject, TheNumberOfThreadsIsNotSeen)
{
    const auto cpFirst = Body(eZFCC_NV12, c_arrGreen);
    EXPECT_EQ(m_cpKeyer->FrameSet(cpFirst.Get()), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAuto(), S_OK);
    constexpr double c_arrDarker[3] = {42, 150, 50};
    constexpr double c_arrPale[3] = {60, 175, 70};
    // Threads change from frame to frame in the second run; each is keyed with what the ones before have taught.
    std::vector<std::vector<uint8_t>> arrResults[2];
    for (auto& vecResults : arrResults)
    {
        EXPECT_EQ(m_cpProcess->OnMediaFlush(), S_OK);
        int nFrame = 0;
        for (const auto& arrBackdrop : {c_arrGreen, c_arrDarker, c_arrPale, c_arrGreen, c_arrBlue, c_arrDarker})
        {
            const wchar_t* const arrThreads[] = {L"1", L"2", L"8", L"3", L"1", L"16"};
            const wchar_t* const pwszThreads = arrThreads[&vecResults == arrResults ? 0 : nFrame];
            EXPECT_EQ(m_cpProps->PropsSet(L"process.threads", pwszThreads), S_OK);
            const double arrBGR[3] = {arrBackdrop[0], arrBackdrop[1], arrBackdrop[2]};
            const auto cpFrame = Body(nFrame % 2 ? eZFCC_ARGB32 : eZFCC_NV12, arrBGR);
            const auto cpRes = Receive(cpFrame.Get());
            ASSERT_TRUE(cpRes);
            vecResults.push_back(PixelsOf(cpRes.Get()));
            vecResults.push_back(PixelsOf(ZQuery<IZFFrame>(AttachmentOf(cpRes.Get(), L"mask")).Get()));
            ++nFrame;
        }
    }
    EXPECT_TRUE(arrResults[0] == arrResults[1]);
}

TEST_F(UnmixObject, APlateKeysUntilItIsTakenAway)
{
    const CLogCatcher log;
    const auto cpFrame = Body(eZFCC_UYVY, c_arrBlue);
    const auto fnIsKeyed = [&] {
        cpFrame->IdentityRenew();
        const auto cpRes = Receive(cpFrame.Get());
        return cpRes && AttachmentOf(cpRes.Get(), L"mask") && Error(cpRes.Get()) < 2.5;
    };
    EXPECT_FALSE(fnIsKeyed()) << "no key";
    const std::vector<uint8_t> vecBlue = [] {
        std::vector<uint8_t> vec;
        for (int n = 0; n < 64 * 48; ++n)
            vec.insert(vec.end(), {180, 70, 40, 255});
        return vec;
    }();
    for (const uint32_t fccType : {eZFCC_RGB24, eZFCC_NV12}) // another size and format than the frames
    {
        EXPECT_EQ(m_cpKeyer->PlateSet(TestFrame_Of(vecBlue, fccType, 64, -48).Get()), S_OK);
        EXPECT_TRUE(fnIsKeyed()) << "the plate's own key";
    }
    EXPECT_EQ(m_cpKeyer->PlateSet(nullptr), S_OK);
    EXPECT_FALSE(fnIsKeyed());
    EXPECT_EQ(log.Count(""), 0u);
    EXPECT_EQ(m_cpKeyer->PlateSet(Body(eZFCC_RGB32, c_arrGrey).Get()), S_OK);
    EXPECT_TRUE(fnIsKeyed()) << "the backdrop of the frame";
    EXPECT_TRUE(fnIsKeyed());
    EXPECT_EQ(log.Count("the plate shows no backdrop"), 1u) << "not with every frame";
}

TEST_F(UnmixObject, DoesNotAllocateOnceItIsWarm)
{
    const BSTR bsLeft = SysAllocString(L"0,0 40,0 40,128 0,128");
    const BSTR bsShadows = SysAllocString(L"shadows");
    const auto cpFirst = Body(eZFCC_RGB32, c_arrGreen);
    EXPECT_EQ(m_cpKeyer->FrameSet(cpFirst.Get()), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAuto(), S_OK);
    int nRun = 0;
    for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_ARGB32, eZFCC_UYVY, eZFCC_NV12, eZFCC_v210})
        for (const wchar_t* const pwszOutput : {L"true", L"false"})
            for (const wchar_t* const pwszThreads : {L"2", L"1"})
            {
                SCOPED_TRACE(testing::Message() << "run " << nRun << ' ' << FCC_Name(fccType));
                EXPECT_EQ(m_cpProps->PropsSet(L"output.thread", pwszOutput), S_OK);
                EXPECT_EQ(m_cpProps->PropsSet(L"process.threads", pwszThreads), S_OK);
                EXPECT_EQ(m_cpProps->PropsSet(L"output.argb", nRun % 3 ? L"true" : L"false"), S_OK);
                EXPECT_GE(m_cpKeyer->RegionSet(eRegion_HoldOut, nullptr, nRun % 2 ? bsLeft : nullptr), 0);
                EXPECT_GE(m_cpKeyer->RegionSet(eRegion_Backdrop, nullptr, nRun % 2 ? bsLeft : nullptr), 0);
                EXPECT_GE(m_cpKeyer->ParamSet(bsShadows, nRun % 2 ? 50 : 0), 0);
                EXPECT_EQ(m_cpKeyer->PlateSet(nRun % 4 == 2 ? cpFirst.Get() : nullptr), S_OK);
                ++nRun;
                std::vector<CZPtr<CZFrame>> vecFrames; // in turn, with a new identity each time; the last brings noise
                vecFrames.push_back(Body(fccType, c_arrGreen));
                for (const uint32_t nNoise : {0u, 1u, 2u})
                    vecFrames.push_back(Body(fccType, c_arrGreen, eZI_NotSet, nNoise, vecFrames[0]->Pool()));
                CZPtr<IZFFrame> arrRes[4]; // kept, so that as many are made as can be under way at a time
                uint64_t nWarm = 0;
                for (size_t n = 0; n < 24; ++n)
                {
                    if (n == 4)
                    {
                        std::ranges::for_each(arrRes, &CZPtr<IZFFrame>::Reset);
                        nWarm = AllocCount();
                    }
                    CZFrame* const pFrame = vecFrames[n % (n < 12 ? 2 : 4)].Get();
                    pFrame->IdentityRenew();
                    const HRESULT hr = m_cpProcess->OnMediaReceive(pFrame, arrRes[n < 4 ? n : 0].Put());
                    EXPECT_TRUE(hr == S_OK || (hr == S_FALSE && n == 0)) << n;
                }
                m_cpProcess->OnMediaReceive(nullptr, arrRes[0].Put());
                EXPECT_EQ(AllocCount() - nWarm, 0u);
            }
    SysFreeString(bsLeft);
    SysFreeString(bsShadows);
}

TEST_F(UnmixObject, MemoryThatIsShortCostsOneFrame)
{
    const auto cpFrame = Body(eZFCC_UYVY, c_arrGreen, eZI_NotSet, 1);
    const auto cpPlate = Body(eZFCC_RGB24, c_arrGreen);
    const auto cpMask = TestFrame_Of(std::vector<uint8_t>(4 * 32 * 32, 0), eZFCC_RGB8, 32, -32);
    int nPoints = 0;
    int nFailed = 0;
    for (const uint64_t nCount : {uint64_t{1}, uint64_t{1} << 40}) // one alone, and with all that follow it
        for (uint64_t nFirst = 1, nRefused = 1; nRefused > 0; ++nFirst)
        {
            CZPtr<IZChromaKey2> cpKeyer;
            ASSERT_EQ(CCoZChromaKey2::Create(IID_IZChromaKey2, cpKeyer.PutVoid()), S_OK);
            m_cpProcess = ZQuery<IZFProcess>(cpKeyer);
            EXPECT_EQ(ZQuery<IZProps>(cpKeyer)->PropsSet(L"output.thread", L"false"), S_OK);
            EXPECT_EQ(ZQuery<IZProps>(cpKeyer)->PropsSet(L"process.threads", L"2"), S_OK);
            EXPECT_EQ(ZQuery<IZProps>(cpKeyer)->PropsSet(L"gpu_mode", L"0"), S_OK);
            EXPECT_EQ(cpKeyer->PlateSet(cpPlate.Get()), S_OK);
            EXPECT_EQ(cpKeyer->RegionSet(eRegion_Garbage, cpMask.Get(), nullptr), S_OK);
            const CLogCatcher log(eZLog_Error);
            CZPtr<IZFFrame> cpRes;
            AllocFault_Set(nFirst, nCount);
            const HRESULT hr = m_cpProcess->OnMediaReceive(cpFrame.Get(), cpRes.Put());
            nRefused = AllocFault_End();
            EXPECT_TRUE(hr == S_OK || (hr == E_OUTOFMEMORY && nRefused > 0)) << nFirst << ": " << std::hex << hr;
            nFailed += FAILED(hr);
            ++nPoints;
            cpFrame->IdentityRenew();
            ASSERT_LT(Error(Receive(cpFrame.Get()).Get()), 2.5) << nFirst << ": there is memory again";
        }
    std::printf("%d allocations refused, %d frames lost\n", nPoints - 2, nFailed);
    EXPECT_GT(nFailed, 0);
}

TEST_F(UnmixObject, AMaskIsAttachedWhereTheResultStaysAsItIs)
{
    EXPECT_EQ(OptionOf(m_cpProps.Get(), L"output.argb"), L"true");
    EXPECT_EQ(m_cpProps->PropsSet(L"output.argb", L"false"), S_OK);
    const auto cpFrame = Body(eZFCC_UYVY, c_arrGreen);
    EXPECT_EQ(m_cpKeyer->FrameSet(cpFrame.Get()), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAuto(), S_OK);
    const auto cpRes = Receive(cpFrame.Get());
    EXPECT_EQ(PropsOf(cpRes.Get()).fccType, eZFCC_UYVY);
    EXPECT_LT(Error(cpRes.Get()), 2.5);
    EXPECT_EQ(m_cpKeyer->ViewSet(eView_Status), S_OK);
    cpFrame->IdentityRenew();
    EXPECT_LT(Error(Receive(cpFrame.Get()).Get()), 2.5) << "no view can be seen: the mask stays the mask";
}

TEST_F(UnmixObject, LostBackdropIsSaidOnce)
{
    constexpr double c_arrBlack[3] = {0, 0, 0};
    const auto cpFrame = Body(eZFCC_RGB32, c_arrGreen);
    const auto cpDark = Body(eZFCC_RGB32, c_arrBlack);
    EXPECT_EQ(m_cpKeyer->FrameSet(cpFrame.Get()), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyAddPoint(10, 10), S_OK);
    const CLogCatcher log;
    const auto Lines = [&] { return log.Count("no backdrop of the key's colour is certain", eZLog_Warning); };
    Receive(cpFrame.Get());
    EXPECT_EQ(Lines(), 0u);
    for (int nTimes = 1; nTimes < 3; ++nTimes)
    {
        for (int n = 0; n < 3; ++n)
        {
            cpDark->IdentityRenew();
            Receive(cpDark.Get());
        }
        EXPECT_EQ(Lines(), static_cast<size_t>(nTimes));
        cpFrame->IdentityRenew();
        EXPECT_LT(Error(Receive(cpFrame.Get()).Get()), 2.5);
    }
}

TEST_F(UnmixObject, TheLogSaysOnceWhyTheGpuDoesNotKey)
{
    const auto cpFrame = Body(eZFCC_NV12, c_arrGreen);
    EXPECT_EQ(m_cpKeyer->KeyAddColor(0x3CAA32), S_OK);
    const CLogCatcher log;
    const auto fnKeyed = [&](const wchar_t* _pwszMode) {
        EXPECT_EQ(m_cpProps->PropsSet(L"gpu_mode", _pwszMode), S_OK);
        for (int n = 0; n < 2; ++n)
        {
            cpFrame->IdentityRenew();
            EXPECT_LT(Error(Receive(cpFrame.Get()).Get()), 2.5);
        }
    };
    fnKeyed(L"-1");
    EXPECT_EQ(log.Count("GPU"), 0u) << "frames in memory are the CPU's";
    fnKeyed(L"2");
    fnKeyed(L"0");
#if !defined(_WIN32) // there, one in software may be used
    const char* const pszText = "there is no GPU that this build can use: set \"gpu_mode\" to 0";
    EXPECT_EQ(log.Count(pszText, eZLog_Info), 1u);
    EXPECT_EQ(m_cpProps->PropsSet(L"gpu_mode", L"1"), S_OK);
    for (int n = 0; n < 2; ++n)
    {
        cpFrame->IdentityRenew();
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(m_cpProcess->OnMediaReceive(cpFrame.Get(), cpRes.Put()), E_NOTIMPL);
    }
    EXPECT_EQ(log.Count(pszText, eZLog_Error), 1u) << "nothing else may key";
#endif
}

} // namespace
