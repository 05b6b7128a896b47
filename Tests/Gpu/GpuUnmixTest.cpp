// The second generation on the GPU: the same pixels as on the CPU, what a frame costs, and what becomes of failures.

#include "ZChromaKey/Engine2/Gpu/GPUUnmix.h"

#include "Gpu/DeviceHooks.h"
#include "Gpu/PipelineSupport.h"
#include "Image/ImgPixel.h"
#include "Sample/HardScene.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"
#include "ZChromaKey/Engine2/Output.h"
#include "ZChromaKey/Engine2/UnmixScenes.h"
#include "ZChromaKey/Objects/UnmixKeyer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

namespace
{

constexpr ENGINE_GPU_OPTIONS c_options = {true, false, eZYM_601, false, 1, true, 0};

using BYTES = std::vector<uint8_t>;

/// How far pictures are from what the CPU makes of them, in pixels.
struct AGREEMENT
{
    int nPixels = 0;
    int nAlphaOff = 0;  ///< by more than a level
    int nColourOff = 0; ///< by more than two, where it is seen at all
    int nMost = 0;      ///< levels

    void Add(const BYTES& _vecGPU, const BYTES& _vecCPU)
    {
        ASSERT_EQ(_vecGPU.size(), _vecCPU.size());
        for (size_t n = 0; n < _vecGPU.size(); n += 4)
        {
            const auto Off = [&](size_t _c) { return std::abs(_vecGPU[n + _c] - _vecCPU[n + _c]); };
            const int nColour = std::max(Off(0), std::max(Off(1), Off(2)));
            ++nPixels;
            nAlphaOff += Off(3) > 1;
            nColourOff += nColour > 2;
            nMost = std::max(nMost, std::max(nColour, Off(3)));
        }
    }
    /// Nearly all pixels agree.
    void Check() const
    {
        EXPECT_LE(nAlphaOff * 1000, nPixels);
        EXPECT_LE(nColourOff * 1000, nPixels);
    }
};

/// A stream keyed on both.
struct STREAMS
{
    GPUUnmix& keyer;
    UNMIX_SETUP setup;
    UNMIX_STATE cpu;
    UNMIX_STATE gpu;
    CSerialRunner runner;
    bool bWords = false;

    STREAMS(GPUUnmix& _keyer, const UNMIX_SETUP& _setup)
        : keyer(_keyer)
        , setup(_setup)
    {
    }
    static UNMIX_RESULT ResultIn(BYTES* _pBytes, const UNMIX_INPUT& _input, bool _bWords = false)
    {
        const ptrdiff_t nStride = ptrdiff_t{_bWords ? 8 : 4} * _input.vidProps.nWidth;
        _pBytes->assign(static_cast<size_t>(nStride) * std::abs(_input.vidProps.nHeight), 77);
        return {_pBytes->data(), nStride, _bWords};
    }
    /// A result of words in bytes.
    BYTES InBytes(const BYTES& _vecBytes) const
    {
        BYTES vecBytes;
        for (size_t n = 0; n < _vecBytes.size() && bWords; n += 2)
            vecBytes.push_back(Img_From16Bit(_vecBytes[n] | _vecBytes[n + 1] << 8));
        return bWords ? vecBytes : _vecBytes;
    }
    HRESULT PixelsOnGPU(const UNMIX_INPUT& _input, const UNMIX_RESULT& _result)
    {
        UNMIX_PICTURE picture;
        const HRESULT hr = Unmix_Open(gpu, _input, runner, &picture);
        return FAILED(hr) ? hr : keyer.Pixels(gpu, picture, _result, c_options);
    }
    BYTES OnCPU(const UNMIX_INPUT& _input)
    {
        BYTES vecBytes;
        Unmix_Frame(cpu, setup, _input, ResultIn(&vecBytes, _input, bWords), runner);
        return InBytes(vecBytes);
    }
    BYTES OnGPU(const UNMIX_INPUT& _input)
    {
        BYTES vecBytes;
        const UNMIX_RESULT result = ResultIn(&vecBytes, _input, bWords);
        Unmix_Learn(gpu, setup, _input, runner);
        EXPECT_EQ(PixelsOnGPU(_input, result), S_OK);
        Unmix_Write(gpu, _input, result, runner, eUW_Finish);
        return InBytes(vecBytes);
    }
};

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

SCENE Painted(const HARD_SCENE& _scene, int _nWidth, int _nHeight, int64_t _nFrame)
{
    PICTURE picture, truth;
    HARD_SETUP setup;
    setup.nWidth = _nWidth;
    setup.nHeight = _nHeight;
    HardScene_Paint(_scene, setup, _nFrame, picture, truth);
    SCENE scene(_nWidth, _nHeight, [](int, int) { return SCENE_PIXEL{}; });
    std::copy_n(picture.vecPixels.begin(), scene.vecBGRA.size(), scene.vecBGRA.begin());
    return scene;
}

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
            SCENE scene = Painted(hard, 128, 72, n);
            AGREEMENT agreement;
            agreement.Add(streams.OnGPU(scene.Input()), streams.OnCPU(scene.Input()));
            agreement.Check();
        }
    }
}

/// Learns from cells on the calling thread.
struct LEARNER final : IUnmixLearner
{
    UNMIX_STATE& state;
    const UNMIX_SETUP& setup;
    CSerialRunner runner;

    LEARNER(UNMIX_STATE& _state, const UNMIX_SETUP& _setup)
        : state(_state)
        , setup(_setup)
    {
    }
    HRESULT Learn(const UNMIX_CELL_INPUT& _input) override
    {
        const HRESULT hr = Unmix_LearnCells(state, setup, _input, runner);
        return FAILED(hr) ? hr : S_OK;
    }
    UNMIX_STATE& State() override
    {
        return state;
    }
};

/// A scene in a texture of the tests' device.
CZPtr<CZFrame> FrameOf(const SCENE& _scene, uint32_t _fccType = eZFCC_ARGB32, int _eInterlace = eZI_Progressive)
{
    const auto cpTexture = Gpu_Texture(static_cast<uint32_t>(_scene.nWidth), static_cast<uint32_t>(_scene.nHeight),
                                       DXGI_FORMAT_B8G8R8A8_UNORM, _scene.vecBGRA);
    return Gpu_TextureFrame(cpTexture.Get(), Gpu_Props(_fccType, _scene.nWidth, -_scene.nHeight, 0, _eInterlace));
}

BYTES PixelsIn(IZFFrame* _pFrame)
{
    return _pFrame ? Gpu_Read(Gpu_TextureIn(GPU_TextureOf(_pFrame).Get()).Get()) : BYTES();
}

/// A body that moves, with alpha of its own, noise, and a size that no cell divides.
SCENE Moving(int _nFrame, int _nWidth = 157, int _nHeight = 91)
{
    SCENE scene =
        BodyScene(_nWidth, _nHeight, 3, 1 + static_cast<uint32_t>(_nFrame), .02f * static_cast<float>(_nFrame));
    uint8_t* const pRow = scene.vecBGRA.data() + ptrdiff_t{4} * 60 * _nWidth;
    for (int x = 0; x < _nWidth / 2; ++x) // less than full alpha
        pRow[4 * x + 3] = static_cast<uint8_t>(x);
    return scene;
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
    ENGINE_GPU_OPTIONS options = c_options;
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

/// A scene in memory as a format's samples.
CZPtr<CZFrame> SamplesOf(const SCENE& _scene, uint32_t _fccType, int _eInterlace)
{
    const bool bRGB = FCC_IsRGB(_fccType);
    return TestFrame_Of(_scene.vecBGRA, _fccType, _scene.nWidth, bRGB ? -_scene.nHeight : _scene.nHeight, nullptr,
                        _eInterlace);
}

UNMIX_INPUT InputOf(CZFrame* _pFrame)
{
    UNMIX_INPUT input = {PropsOf(_pFrame), {}};
    EXPECT_EQ(_pFrame->VideoPtrGet(eZFP_Flip, &input.vidPtr), S_OK);
    return input;
}

TEST_F(GpuUnmix, KeysEveryFormatInMemory)
{
    size_t nCase = 0;
    for (const uint32_t fccType : {eZFCC_UYVY, eZFCC_HDYC, eZFCC_YUY2, eZFCC_YVYU, eZFCC_NV12, eZFCC_I420, eZFCC_YV12,
                                   eZFCC_I422, eZFCC_YV16, eZFCC_P010, eZFCC_v210, eZFCC_ARGB64})
    {
        const bool bFields = nCase % 2; // of 4:2:0 as well
        if (Gpu_IsLeftOut(nCase++))
            continue;
        SCOPED_TRACE(ZFormat("%hs%hs", FCC_Name(fccType), bFields ? ", fields" : ""));
        STREAMS streams(m_keyer, GreenSetup());
        streams.bWords = fccType == eZFCC_P010 || fccType == eZFCC_ARGB64;
        AGREEMENT agreement;
        for (const int nFrame : {0, 1})
        {
            const auto cpFrame = SamplesOf(Moving(nFrame), fccType, bFields ? eZI_TopFirst : eZI_Progressive);
            const UNMIX_INPUT input = InputOf(cpFrame.Get());
            agreement.Add(streams.OnGPU(input), streams.OnCPU(input));
        }
        agreement.Check();
    }
}

/// The same in a texture of the tests' device.
CZPtr<CZFrame> SamplesInTexture(CZFrame* _pFrame)
{
    ZF_VID_PROPS vidProps = PropsOf(_pFrame);
    const D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(vidProps);
    vidProps.nRowBytes = 0;
    return Gpu_TextureFrame(Gpu_Texture(desc.Width, desc.Height, desc.Format, Gpu_Pixels(_pFrame)).Get(), vidProps);
}

TEST_F(GpuUnmix, KeysTexturesOfEveryFormat)
{
    size_t nCase = 0;
    for (const uint32_t fccType : {eZFCC_UYVY, eZFCC_YUY2, eZFCC_NV12, eZFCC_NV12, eZFCC_HDYC, eZFCC_YV12, eZFCC_I422})
    {
        const bool bFields = nCase % 2;
        if (Gpu_IsLeftOut(nCase++))
            continue;
        SCOPED_TRACE(ZFormat("%hs%hs", FCC_Name(fccType), bFields ? ", fields" : ""));
        const UNMIX_SETUP setup = GreenSetup();
        STREAMS streams(m_keyer, setup);
        UNMIX_STATE state;
        LEARNER learner(state, setup);
        AGREEMENT agreement;
        const int nHeight = bFields || FCC_IsPlanar(fccType) ? 90 : 91;
        for (const int nFrame : {0, 1})
        {
            const SCENE scene = Moving(nFrame, 158, nHeight);
            const auto cpFrame = SamplesOf(scene, fccType, bFields ? eZI_TopFirst : eZI_Progressive);
            const UNMIX_INPUT input = InputOf(cpFrame.Get());
            ENGINE_GPU_OPTIONS options = c_options;
            options.eMatrix = Img_MatrixOf(input.vidProps);
            CZPtr<IZFFrame> cpRes;
            ASSERT_EQ(m_keyerTexture.Key(SamplesInTexture(cpFrame.Get()).Get(), learner, options, cpRes.Put()), S_OK);
            agreement.Add(PixelsIn(cpRes.Get()), streams.OnCPU(input));
            for (size_t n = 0; n < 2; ++n)
                EXPECT_TRUE(state.arrFields[n].cells == streams.cpu.arrFields[n].cells);
        }
        agreement.Check();
    }
}

D3D11_TEXTURE2D_DESC TextureDescOf(ID3D11Resource* _pTexture)
{
    D3D11_TEXTURE2D_DESC desc = {};
    static_cast<ID3D11Texture2D*>(_pTexture)->GetDesc(&desc);
    return desc;
}
bool IsRead(ID3D11Resource* _pTexture)
{
    return (TextureDescOf(_pTexture).CPUAccessFlags & D3D11_CPU_ACCESS_READ) != 0;
}
/// Bytes of a texture.
int64_t BytesOf(ID3D11Resource* _pTexture)
{
    const D3D11_TEXTURE2D_DESC desc = TextureDescOf(_pTexture);
    const int nTexel = desc.Format == DXGI_FORMAT_R32G32B32A32_UINT || desc.Format == DXGI_FORMAT_R32G32B32A32_FLOAT
                           ? 16
                       : desc.Format == DXGI_FORMAT_R16G16B16A16_UINT ? 8
                       : desc.Format == DXGI_FORMAT_R8_UNORM          ? 1
                                                                      : 4;
    return int64_t{nTexel} * desc.Width * desc.Height;
}

/// What a frame has the device do, while it lives.
struct COSTS
{
    int nDraws = 0;
    int nWaits = 0; ///< for what the GPU has made
    int64_t nUp = 0;
    int64_t nBack = 0;
    HOOK_DRAW hookDraw{Gpu_Context(), [this](auto _pfnOriginal, auto* _pThis, auto... _args) {
                           ++nDraws;
                           _pfnOriginal(_pThis, _args...);
                       }};
    HOOK_COPY hookCopy{Gpu_Context(), [this](auto _pfnOriginal, auto* _pThis, ID3D11Resource* _pTo, auto _pFrom) {
                           nBack += IsRead(_pTo) ? BytesOf(_pTo) : 0;
                           _pfnOriginal(_pThis, _pTo, _pFrom);
                       }};
    HOOK_UPDATE hookUpdate{Gpu_Context(), [this](auto _pfnOriginal, auto* _pThis, ID3D11Resource* _pTo, auto... _args) {
                               nUp += BytesOf(_pTo);
                               _pfnOriginal(_pThis, _pTo, _args...);
                           }};
    HOOK_MAP hookMap{Gpu_Context(), [this](auto _pfnOriginal, auto* _pThis, ID3D11Resource* _pTexture, UINT _nSub,
                                           D3D11_MAP _eMap, auto... _args) {
                         nWaits += _eMap == D3D11_MAP_READ;
                         nUp += _eMap != D3D11_MAP_READ ? BytesOf(_pTexture) : 0;
                         return _pfnOriginal(_pThis, _pTexture, _nSub, _eMap, _args...);
                     }};
};

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
    {eZFCC_UYVY, false, 2, 11, c_nCostGrids + 12 * c_nCostPixels, 4 * c_nCostPixels},
    {eZFCC_ARGB32, true, 3, 10, c_nCostGrids, c_nCostPixels / 3 * 4},
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
            EXPECT_EQ(m_keyer.Key(SamplesInTexture(cpFrame.Get()).Get(), learner, c_options, cpRes.Put()), S_OK);
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
        SCENE scene = BodyScene(96, 72, 3);
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
            EXPECT_EQ(m_keyer.Key(cpFrame.Get(), learner, c_options, CZPtr<IZFFrame>().Put()), S_OK);
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
                return bTexture ? m_keyer.Key(cpFrame.Get(), learner, c_options, cpRes.Put())
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
    }
    EXPECT_EQ(log.Count("the GPU did not key a frame, hr=8007000E; the CPU does", eZLog_Warning), 1u);
    EXPECT_EQ(KeyedOn(L"2"), eKeyedOn_GPU);
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

} // namespace
