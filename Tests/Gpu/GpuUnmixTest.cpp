// The second generation on the GPU: the same pixels as on the CPU, what a frame costs, and what becomes of failures.

#include "Gpu/DeviceHooks.h"
#include "Gpu/FrameCosts.h"
#include "Gpu/UnmixStreams.h"
#include "Support/LogCatcher.h"
#include "ZChromaKey/Engine2/Output.h"
#include "ZChromaKey/Objects/UnmixKeyer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

namespace
{

struct SETUP_CASE;

class GpuUnmix : public testing::Test
{
protected:
    GpuUnmix()
    {
        EXPECT_EQ(m_keyer.DeviceInit(Gpu_Device()), S_OK);
    }
    void CheckSetup(const SETUP_CASE& _case, int32_t _eView);

    GPUUnmix m_keyer;
    GPUUnmix m_keyerTexture;
};

TEST_F(GpuUnmix, GivesTheCpusPixelsOfScenes)
{
    const auto spanScenes = HardScene_All();
    for (size_t nScene = 0; nScene < spanScenes.size(); nScene += 3) // to paint them takes the time
    {
        if (Gpu_IsLeftOut(nScene / 3))
            continue;
        const HARD_SCENE& hard = spanScenes[nScene];
        SCOPED_TRACE(hard.pszName);
        STREAMS streams(m_keyer, {});
        for (int n = 0; n < 3; ++n)
        {
            SCENE scene = SceneOf(HardPicture(hard, 128, 72, n));
            AGREEMENT agreement;
            agreement.Add(streams.OnGPU(scene.Input()), streams.OnCPU(scene.Input()));
            agreement.Check();
        }
    }
}

/// Masks of the frame's size with an edge in them.
BYTES Region(int _nFrom, int _nTo)
{
    BYTES vecBytes(157 * 91);
    for (size_t n = 0; n < vecBytes.size(); ++n)
        if (const int x = static_cast<int>(n % 157); x >= _nFrom && x < _nTo)
            vecBytes[n] = static_cast<uint8_t>(std::min(255, (x - _nFrom) * 20));
    return vecBytes;
}

struct SETUP_CASE
{
    const char* pszName;
    std::function<void(UNMIX_SETUP*)> fnChange;
    int eInterlace = eZI_Progressive;
    bool bPremultiply = false;
};

const SETUP_CASE c_arrSetups[] = {
    {"plain", [](UNMIX_SETUP*) {}},
    {"fields, premultiplied", [](UNMIX_SETUP*) {}, eZI_TopFirst, true},
    {"no filter", [](UNMIX_SETUP* _p) { _p->params.fltNoise = 0; }},
    {"held", [](UNMIX_SETUP* _p) { _p->params.eLearn = eUN_Hold; }},
    {"linear, shadows, no alpha of the input",
     [](UNMIX_SETUP* _p) {
         _p->params.eLight = eUL_Linear;
         _p->params.fltShadows = 80;
         _p->params.eAlpha = eUA_Replace;
     }},
    {"two keys, narrow foreground",
     [](UNMIX_SETUP* _p) {
         _p->nKeys = 2;
         _p->arrKeys[1] = {{150, 60, 40}};
         _p->arrKeys[0].fltSolidHue = 30;
         _p->arrKeys[0].fltSolidSaturation = .3f;
     }},
    {"protected",
     [](UNMIX_SETUP* _p) {
         _p->nProtected = 2;
         _p->arrProtected[0] = {{c_colGreen.b * .9f, c_colGreen.g * .9f, c_colGreen.r * .9f}, 12, .1f, .03f};
         _p->arrProtected[1] = {{c_colCoat.b, c_colCoat.g, c_colCoat.r}};
     }},
    {"edges outwards", [](UNMIX_SETUP* _p) { _p->params.fltChoke = -10; }},
    {"edges blurred", [](UNMIX_SETUP* _p) { _p->params.fltSoften = .6f; }},
    {"edges of fields, premultiplied",
     [](UNMIX_SETUP* _p) {
         _p->params.fltChoke = -.4f;
         _p->params.fltSoften = 10;
         _p->params.fltShadows = 80;
     },
     eZI_TopFirst, true},
    {"regions, edges inwards",
     [](UNMIX_SETUP* _p) {
         static const BYTES s_vecLeft = Region(10, 40), s_vecMiddle = Region(70, 90);
         _p->garbage = {s_vecMiddle.data(), 157};
         _p->holdOut = {s_vecLeft.data(), 157};
         _p->params.fltChoke = 1.3f;
         _p->params.fltSoften = 2;
     }},
    {"regions",
     [](UNMIX_SETUP* _p) {
         static const BYTES s_vecLeft = Region(10, 40), s_vecMiddle = Region(70, 90), s_vecRight = Region(120, 150);
         _p->garbage = {s_vecMiddle.data(), 157};
         _p->holdOut = {s_vecLeft.data(), 157};
         _p->backdrop = {s_vecRight.data(), 157};
     }},
};

/// Keys a stream of four frames, one of which comes again, on the CPU and twice on the GPU.
void GpuUnmix::CheckSetup(const SETUP_CASE& _case, int32_t _eView)
{
    UNMIX_SETUP setup = GreenSetup();
    _case.fnChange(&setup);
    setup.params.eView = _eView;
    STREAMS streams(m_keyer, setup);
    UNMIX_STATE stateTexture;
    LEARNER learner(stateTexture, setup);
    ENGINE_GPU_OPTIONS options = c_unmixOptions;
    options.bPremultiply = _case.bPremultiply;
    AGREEMENT inMemory, inTexture;
    for (const int nFrame : {0, 1, 1, 2})
    {
        SCENE scene = Moving(nFrame, 157, _case.eInterlace == eZI_Progressive ? 91 : 90);
        const UNMIX_INPUT input = scene.Input(eZFCC_ARGB32, _case.eInterlace);
        BYTES vecCPU = streams.OnCPU(input);
        inMemory.Add(streams.OnGPU(input), vecCPU);
        for (int y = 0; y < scene.nHeight && _case.bPremultiply; ++y)
            Output_Premultiply({vecCPU.data(), ptrdiff_t{4} * scene.nWidth, false}, y, scene.nWidth);
        CZPtr<IZFFrame> cpRes;
        const auto cpFrame = FrameOf(scene, eZFCC_ARGB32, _case.eInterlace);
        EXPECT_EQ(m_keyerTexture.Key(cpFrame.Get(), learner, options, cpRes.Put()), S_OK);
        inTexture.Add(PixelsIn(cpRes.Get()), vecCPU);
        EXPECT_TRUE(stateTexture.arrFields[0].cells == streams.cpu.arrFields[0].cells);
        EXPECT_EQ(stateTexture.fltNoise, streams.cpu.fltNoise);
        EXPECT_TRUE(stateTexture.vecPlate == streams.cpu.vecPlate);
    }
    inMemory.Check();
    inTexture.Check();
}

TEST_F(GpuUnmix, GivesTheCpusPixelsOfEverySetup)
{
    size_t nCase = 0;
    for (const SETUP_CASE& row : c_arrSetups)
        for (int32_t eView = eUV_Result; eView <= eUV_Source; ++eView)
        {
            const bool bViews = &row == std::end(c_arrSetups) - 1; // the regions
            if ((eView != eUV_Result && !bViews) || Gpu_IsLeftOut(nCase++))
                continue;
            SCOPED_TRACE(ZFormat("%hs, view %d", row.pszName, eView));
            CheckSetup(row, eView);
        }
}

/// A way of frames, and what one of them costs once the stream runs; pictures of 160x96.
struct COST_ROW
{
    uint32_t fccType;
    bool bTexture;
    int nPasses;
    int nInputs; // of all passes
    int64_t nUp;
    int64_t nBack;
};
constexpr int64_t c_nCostPixels = 160 * 96, c_nCostGrids = c_nCostPixels / 4 * 3;
constexpr COST_ROW c_arrCosts[] = {
    {eZFCC_ARGB32, false, 2, 9, c_nCostGrids + 4 * c_nCostPixels, 4 * c_nCostPixels},
    {eZFCC_UYVY, false, 5, 19, c_nCostGrids + 2 * c_nCostPixels, 4 * c_nCostPixels},
    {eZFCC_P010, false, 5, 19, c_nCostGrids + 3 * c_nCostPixels, 4 * c_nCostPixels},
    {eZFCC_v210, false, 2, 11, c_nCostGrids + 12 * c_nCostPixels, 4 * c_nCostPixels},
    {eZFCC_ARGB32, true, 3, 10, c_nCostGrids, c_nCostPixels / 3 * 7}, // every row is measured for fineness
    {eZFCC_NV12, true, 6, 20, c_nCostGrids, c_nCostPixels / 3 * 4},
};

TEST_F(GpuUnmix, CostsWhatItMust)
{
    for (const COST_ROW& row : c_arrCosts)
    {
        SCOPED_TRACE(ZFormat("%hs, %hs", FCC_Name(row.fccType), row.bTexture ? "texture" : "memory"));
        STREAMS streams(m_keyer, GreenSetup());
        LEARNER learner(streams.gpu, streams.setup);
        const auto fnKey = [&](int _nFrame) {
            const auto cpFrame = SamplesOf(Moving(_nFrame, 160, 96), row.fccType, eZI_Progressive);
            if (!row.bTexture)
                return static_cast<void>(streams.OnGPU(InputOf(cpFrame.Get())));
            CZPtr<IZFFrame> cpRes;
            EXPECT_EQ(m_keyer.Key(SamplesInTexture(cpFrame.Get()).Get(), learner, c_unmixOptions, cpRes.Put()), S_OK);
        };
        for (int n = 0; n < 3; ++n)
            fnKey(n);
        ASSERT_FALSE(streams.gpu.arrFields[0].vecPast.empty()) << "the noise is filtered over time";
        {
            const COSTS costs;
            fnKey(3);
            EXPECT_EQ(costs.nDraws, row.nPasses);
            EXPECT_EQ(costs.nWaits, 1);
            EXPECT_EQ(costs.nUp, row.nUp);
            EXPECT_EQ(costs.nBack, row.nBack);
        }
        CCallFaults calls(Gpu_Device());
        fnKey(4);
        EXPECT_EQ(calls.Count("CreateTexture2D"), row.bTexture ? 1 : 0) << "the host's own";
        for (const char* const pszMethod : {"D3DCompile", "CreatePixelShader", "CreateSamplerState"})
            EXPECT_EQ(calls.Count(pszMethod), 0) << pszMethod;
        for (const char* const pszMethod : {"CreateRenderTargetView", "CreateQuery", "CreateBuffer"})
            EXPECT_EQ(calls.Count(pszMethod), row.nPasses) << pszMethod;
        EXPECT_EQ(calls.Count("CreateShaderResourceView"), row.nInputs) << "one for each input of a pass";
    }
}

TEST_F(GpuUnmix, FailsOneFrameWholeAndKeysTheNext)
{
    for (const bool bTexture : {false, true})
    {
        if (Gpu_IsLeftOut(bTexture ? 0 : 1))
            continue;
        SCENE scene = Grained(BodyScene(96, 72, 3));
        const UNMIX_SETUP setup = GreenSetup();
        UNMIX_STATE expected;
        CSerialRunner runner;
        BYTES vecExpected;
        Unmix_Frame(expected, setup, scene.Input(), STREAMS::ResultIn(&vecExpected, scene.Input()), runner);
        const auto cpFrame = FrameOf(scene);
        const auto cpKeeper = bTexture ? Gpu_Wrapper() : nullptr; // keeps shaders, whose compiling takes the time
        m_keyer.Close();
        if (bTexture)
        {
            STREAMS streams(m_keyer, setup);
            LEARNER learner(streams.gpu, setup);
            EXPECT_EQ(m_keyer.Key(cpFrame.Get(), learner, c_unmixOptions, CZPtr<IZFFrame>().Put()), S_OK);
            m_keyer.Close();
        }
        const ULONG nRefs = RefsOf(Gpu_Device());
        CCallFaults faults(Gpu_Device());
        int nCalls = 0;
        for (bool bFailed = true; bFailed;)
        {
            // everything is made anew, and anything may fail
            ASSERT_EQ(m_keyer.DeviceInit(Gpu_Device()), S_OK);
            STREAMS streams(m_keyer, setup);
            LEARNER learner(streams.gpu, setup);
            CZPtr<IZFFrame> cpRes;
            BYTES vecBytes;
            const UNMIX_RESULT result = STREAMS::ResultIn(&vecBytes, scene.Input());
            if (!bTexture)
                Unmix_Learn(streams.gpu, setup, scene.Input(), runner);
            const auto fnKey = [&] {
                return bTexture ? m_keyer.Key(cpFrame.Get(), learner, c_unmixOptions, cpRes.Put())
                                : streams.PixelsOnGPU(scene.Input(), result);
            };
            bFailed = faults.Try(++nCalls, E_FAIL, fnKey);
            EXPECT_TRUE(!bTexture || !cpRes == bFailed);
            if (!bTexture && bFailed) // the CPU writes what was learned
                Unmix_Write(streams.gpu, scene.Input(), result, runner, eUW_All);
            if (bTexture && bFailed)
            {
                EXPECT_EQ(fnKey(), S_OK) << "the next frame";
            }
            AGREEMENT agreement;
            agreement.Add(bTexture ? PixelsIn(cpRes.Get()) : vecBytes, vecExpected);
            agreement.Check();
            cpRes.Reset();
            m_keyer.Close();
            Gpu_Context()->ClearState();
            EXPECT_EQ(RefsOf(Gpu_Device()), nRefs);
        }
        const int nStaged = DX_GPUType(Gpu_Device()) == eGPU_Intel && !bTexture ? 1 : 0; // one texture more
        EXPECT_EQ(nCalls - 1, nStaged + (bTexture ? 28 : 29));
    }
}

TEST_F(GpuUnmix, LosesOnlyTheFilterWithTheDevice)
{
    m_keyer.Close(); // counted from here
    const ULONG nRefs = RefsOf(Gpu_Device());
    m_keyer.DeviceInit(Gpu_Device());
    STREAMS streams(m_keyer, GreenSetup());
    SCENE scene = Moving(0);
    streams.OnGPU(scene.Input());
    EXPECT_EQ(streams.gpu.arrFields[0].pPastAt, &m_keyer);
    scene = Moving(1);
    BYTES vecBytes;
    const UNMIX_RESULT result = STREAMS::ResultIn(&vecBytes, scene.Input());
    Unmix_Learn(streams.gpu, streams.setup, scene.Input(), streams.runner);
    {
        const CLogCatcher log(eZLog_Error);
        const HOOK_REMOVEDREASON hookReason(Gpu_Device(),
                                            [](auto, ID3D11Device*) { return DXGI_ERROR_DEVICE_REMOVED; });
        const HOOK_MAP hookMap(Gpu_Context(), [](auto, auto*, auto...) { return DXGI_ERROR_DEVICE_REMOVED; });
        EXPECT_EQ(streams.PixelsOnGPU(scene.Input(), result), DXGI_ERROR_DEVICE_REMOVED);
        EXPECT_EQ(m_keyer.DeviceGet(), nullptr);
    }
    Gpu_Context()->ClearState();
    EXPECT_EQ(RefsOf(Gpu_Device()), nRefs) << "nothing of the removed device is kept";
    // The CPU goes on with what was learned; only the filter over time begins anew.
    Unmix_Write(streams.gpu, scene.Input(), result, streams.runner, eUW_All);
    EXPECT_EQ(streams.gpu.arrFields[0].pPastAt, nullptr);
    SCENE sceneFirst = Moving(0);
    streams.OnCPU(sceneFirst.Input());
    Pixels_ForgetPast(streams.cpu.arrFields[0]);
    EXPECT_EQ(streams.OnCPU(scene.Input()), vecBytes);
    EXPECT_TRUE(UnmixState_Same(streams.gpu, streams.cpu));
    // And on another device, with the filter as the CPU left it.
    scene = Moving(2);
    ASSERT_EQ(m_keyer.DeviceInit(nullptr), S_OK);
    AGREEMENT agreement;
    agreement.Add(streams.OnGPU(scene.Input()), streams.OnCPU(scene.Input()));
    agreement.Check();
    m_keyer.Close();
}

/// The object that hosts get.
class GpuUnmixObject : public CUnmixObjectTest
{
protected:
    GpuUnmixObject()
    {
        KeyFrom(Body(eZFCC_RGB32, c_arrGreen).Get());
    }
    /// Keys a body, and says who has.
    int32_t KeyedOn(const wchar_t* _pwszMode, uint32_t _fccType = eZFCC_RGB32, HRESULT _hr = S_OK)
    {
        Set(L"gpu_mode", _pwszMode);
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(m_cpProcess->OnMediaReceive(Body(_fccType, c_arrGreen).Get(), cpRes.Put()), _hr);
        if (FAILED(_hr))
            return eKeyedOn_None;
        EXPECT_LT(Error(cpRes.Get()), 2.5);
        CHROMA_KEY2_STATS stats = {};
        EXPECT_EQ(m_cpKeyer->StatsGet(&stats), S_OK);
        return stats.eKeyedOnValue;
    }
};

TEST_F(GpuUnmixObject, KeysFramesInMemoryOnTheGpuWhereItIsTold)
{
    const CLogCatcher log;
    EXPECT_EQ(KeyedOn(L"-1"), eKeyedOn_CPU);
    EXPECT_EQ(log.Count("D3D11CreateDevice("), 0u) << "frames in memory are the CPU's";
    EXPECT_EQ(KeyedOn(L"1"), eKeyedOn_GPU);
    EXPECT_EQ(KeyedOn(L"1", eZFCC_ARGB32), eKeyedOn_GPU);
    EXPECT_EQ(KeyedOn(L"1", eZFCC_UYVY), eKeyedOn_GPU);
    EXPECT_EQ(log.Count("", eZLog_Error), 0u);
    {
        const HOOK_MAP hookMap(Gpu_Context(), [](auto, auto*, auto...) { return E_OUTOFMEMORY; });
        EXPECT_EQ(KeyedOn(L"1", eZFCC_RGB32, E_OUTOFMEMORY), eKeyedOn_None) << "nothing else may key";
    }
    Set(L"output.argb", L"false"); // clean colours in the input's format, and a mask
    EXPECT_EQ(KeyedOn(L"1"), eKeyedOn_GPU);
    Set(L"output.argb", L"true");
    // Where the adapter is a card, as it says: the CPU keys what the GPU cannot, or fails to.
    const HOOK_ADAPTERDESC1 hook(ZQuery<IDXGIAdapter1>(DX_AdapterGet(Gpu_Device())).Get(),
                                 [](auto _pfnOriginal, IDXGIAdapter1* _pThis, DXGI_ADAPTER_DESC1* _pDesc) {
                                     const HRESULT hr = _pfnOriginal(_pThis, _pDesc);
                                     _pDesc->Flags = 0;
                                     return hr;
                                 });
    Set(L"process.threads", L"2"); // an option that changes has a device asked for again
    EXPECT_EQ(m_cpProcess->OnMediaFlush(), S_OK);
    EXPECT_EQ(ZQuery<IZPlugin>(m_cpProcess)->Close(), S_OK);
    EXPECT_EQ(KeyedOn(L"2"), eKeyedOn_GPU);
    EXPECT_EQ(KeyedOn(L"2", eZFCC_P010), eKeyedOn_GPU);
    {
        const HOOK_MAP hookMap(Gpu_Context(), [](auto, auto*, auto...) { return E_OUTOFMEMORY; });
        EXPECT_EQ(KeyedOn(L"2"), eKeyedOn_CPU);
        EXPECT_EQ(KeyedOn(L"2", eZFCC_UYVY), eKeyedOn_CPU) << "whose pixels were not rebuilt until then";
    }
    EXPECT_EQ(log.Count("the GPU did not key a frame, hr=8007000E; the CPU does", eZLog_Warning), 1u);
    EXPECT_EQ(KeyedOn(L"2"), eKeyedOn_GPU);
}

TEST_F(GpuUnmixObject, CleansColoursOfSamplesAsTheCpuDoes)
{
    Set(L"output.argb", L"false");
    for (const uint32_t fccType : {eZFCC_UYVY, eZFCC_P010})
    {
        SCOPED_TRACE(FCC_Name(fccType));
        const SCENE scene = Moving(0, 160, 96);
        BYTES arrBytes[2];
        for (const bool bGPU : {false, true})
        {
            Set(L"gpu_mode", bGPU ? L"1" : L"0");
            EXPECT_EQ(m_cpProcess->OnMediaFlush(), S_OK);
            const auto cpRes = Receive(SamplesOf(scene, fccType, eZI_Progressive).Get());
            ASSERT_TRUE(cpRes);
            arrBytes[bGPU] = Gpu_Pixels(cpRes.Get());
        }
        ASSERT_EQ(arrBytes[0].size(), arrBytes[1].size());
        size_t nOff = 0;
        for (size_t n = 0; n < arrBytes[0].size(); ++n)
            nOff += arrBytes[0][n] != arrBytes[1][n];
        EXPECT_LE(nOff * 500, arrBytes[0].size());
    }
}

TEST_F(GpuUnmixObject, KeysTexturesAndSaysWhichItDoesNot)
{
    const CLogCatcher log;
    SCENE scene = Moving(0);
    Set(L"gpu_mode", L"-1");
    const auto cpRes = Receive(FrameOf(scene, eZFCC_RGB32).Get());
    ASSERT_TRUE(cpRes);
    GPUUnmix keyer; // not asked
    STREAMS streams(keyer, {});
    AGREEMENT agreement;
    agreement.Add(PixelsIn(cpRes.Get()), streams.OnCPU(scene.Input(eZFCC_RGB32)));
    agreement.Check();
    CHROMA_KEY2_STATS stats = {};
    EXPECT_EQ(m_cpKeyer->StatsGet(&stats), S_OK);
    EXPECT_EQ(stats.eKeyedOnValue, eKeyedOn_GPU);
    EXPECT_EQ(log.Count("", eZLog_Error), 0u);
    const auto cpFormat = FrameOf(scene, eZFCC_v210);
    const auto cpFields = FrameOf(scene, eZFCC_RGB32, eZI_TopFirst); // 91 lines, of which its record has 90
    for (CZFrame* const pFrame : {cpFormat.Get(), cpFormat.Get(), cpFields.Get()})
    {
        pFrame->IdentityRenew();
        EXPECT_EQ(Receive(pFrame).Get(), pFrame) << "it passes";
    }
    EXPECT_EQ(log.Count("are not keyed with this format; hand them in in memory", eZLog_Error), 1u);
    EXPECT_EQ(log.Count("are not keyed with an odd number of lines in two fields; hand", eZLog_Error), 1u);
}
TEST_F(GpuUnmixObject, RefusesTexturesOfPlanes)
{
    const CD3D11_TEXTURE2D_DESC desc(DXGI_FORMAT_NV12, 64, 32, 1, 1, D3D11_BIND_SHADER_RESOURCE);
    CZPtr<ID3D11Texture2D> cpTexture;
    if (FAILED(Gpu_Device()->CreateTexture2D(&desc, nullptr, cpTexture.Put()))) // some claim to have them all the same
        GTEST_SKIP() << "this Direct3D has no NV12 textures";
    const CLogCatcher log;
    Set(L"gpu_mode", L"-1");
    const auto cpFrame = Gpu_TextureFrame(cpTexture.Get(), Gpu_Props(eZFCC_NV12, 64, 32));
    EXPECT_EQ(Receive(cpFrame.Get()).Get(), cpFrame.Get()) << "it passes";
    EXPECT_EQ(log.Count("are not keyed with a Direct3D format of planes: a texture of one channel has", eZLog_Error),
              1u);
}

} // namespace
