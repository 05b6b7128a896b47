// What becomes of failures in each pass of the second generation, and of a stream whose frames go now here, now there.

#include "Gpu/DeviceHooks.h"
#include "Gpu/UnmixStreams.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"
#include "ZChromaKey/Objects/UnmixKeyer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace
{

constexpr int c_nFaultWidth = 96;
constexpr int c_nFaultHeight = 72;

/// Whether so many calls have been made since the last FailAt.
bool IsReached(const CCallFaults& _faults, int _nCall)
{
    int nCalls = 0;
    for (const char* const pszMethod :
         {"CreateBuffer", "CreateTexture2D", "CreateShaderResourceView", "CreateRenderTargetView", "CreateInputLayout",
          "CreateVertexShader", "CreatePixelShader", "CreateSamplerState", "CreateQuery", "Map", "D3DCompile"})
        nCalls += _faults.Count(pszMethod);
    return nCalls >= _nCall;
}

/// A frame in a texture on its way through failures.
class GpuUnmixFaults : public testing::Test
{
protected:
    GpuUnmixFaults()
        : m_vecMask(size_t{c_nFaultWidth} * c_nFaultHeight)
    {
        for (size_t n = 0; n < m_vecMask.size(); ++n)
            m_vecMask[n] = static_cast<uint8_t>(n % c_nFaultWidth < 20 ? 12 * (n % c_nFaultWidth) : 0);
    }
    /// All that comes after the pixels.
    UNMIX_SETUP Edged() const
    {
        UNMIX_SETUP setup = GreenSetup();
        setup.params.fltNoise = 0; // the filter begins anew after a failure
        setup.params.fltChoke = .7f;
        setup.params.fltSoften = 1;
        setup.params.fltShadows = 60;
        setup.garbage = setup.holdOut = {m_vecMask.data(), c_nFaultWidth};
        return setup;
    }
    static SCENE Picture(int _nFrame)
    {
        return Moving(_nFrame, c_nFaultWidth, c_nFaultHeight);
    }
    /// In a texture of the format.
    CZPtr<CZFrame> FrameIn(int _nFrame) const
    {
        return SamplesInTexture(SamplesOf(Picture(_nFrame), m_fccType, eZI_Progressive).Get());
    }
    /// Keys the first frames of a stream.
    void KeyFirst(LEARNER& _learner, int _nFrames)
    {
        EXPECT_EQ(m_keyer.DeviceInit(Gpu_Device()), S_OK);
        for (int n = 0; n < _nFrames; ++n)
            EXPECT_EQ(m_keyer.Key(FrameIn(n).Get(), _learner, c_unmixOptions, CZPtr<IZFFrame>().Put()), S_OK);
    }
    /// Keys a last frame after some others with its n-th call failing, then once more; false when it makes no such
    /// call.
    bool KeyFailing(CCallFaults& _faults, int _nCall, const UNMIX_SETUP& _setup, int _nFirst, BYTES* _pBytes);
    /// Goes through all calls of a frame after some others. _nLevels: of alpha that the next result may be off.
    void CheckCalls(const UNMIX_SETUP& _setup, int _nFirst, int _nPasses, int _nLevels);

    BYTES m_vecMask;
    uint32_t m_fccType = eZFCC_ARGB32;
    GPUUnmix m_keyer;
};

bool GpuUnmixFaults::KeyFailing(CCallFaults& _faults, int _nCall, const UNMIX_SETUP& _setup, int _nFirst,
                                BYTES* _pBytes)
{
    const bool bRemoved = _nCall % 2 == 0; // else the call alone; every pass makes more than one
    UNMIX_STATE state;
    LEARNER learner(state, _setup);
    KeyFirst(learner, _nFirst);
    const auto cpFrame = FrameIn(_nFirst);
    CZPtr<IZFFrame> cpRes;
    const auto fnKey = [&] { return m_keyer.Key(cpFrame.Get(), learner, c_unmixOptions, cpRes.Put()); };
    bool bFailed = false;
    {
        std::optional<HOOK_REMOVEDREASON> hook;
        if (bRemoved)
            hook.emplace(Gpu_Device(), [&](auto, ID3D11Device*) {
                return IsReached(_faults, _nCall) ? DXGI_ERROR_DEVICE_REMOVED : S_OK;
            });
        bFailed = _faults.Try(_nCall, bRemoved ? DXGI_ERROR_DEVICE_REMOVED : E_FAIL, fnKey);
    }
    EXPECT_EQ(!cpRes, bFailed);
    EXPECT_EQ(!m_keyer.DeviceGet(), bRemoved && bFailed) << "a removed device is given back at once";
    if (bFailed)
    {
        EXPECT_EQ(fnKey(), S_OK) << "the next frame, on the device of its texture";
    }
    *_pBytes = PixelsIn(cpRes.Get());
    return bFailed;
}

void GpuUnmixFaults::CheckCalls(const UNMIX_SETUP& _setup, int _nFirst, int _nPasses, int _nLevels)
{
    STREAMS streams(m_keyer, _setup);
    BYTES vecExpected, vecBytes;
    for (int n = 0; n <= _nFirst; ++n)
    {
        const auto cpFrame = SamplesOf(Picture(n), m_fccType, eZI_Progressive);
        vecExpected = streams.OnCPU(InputOf(cpFrame.Get()));
    }
    const auto cpKeeper = Gpu_Wrapper(); // keeps shaders, whose compiling takes the time
    CCallFaults faults(Gpu_Device());
    LEARNER learner(streams.gpu, _setup);
    KeyFirst(learner, _nFirst);
    faults.FailAt(0, S_OK);
    EXPECT_EQ(m_keyer.Key(FrameIn(_nFirst).Get(), learner, c_unmixOptions, CZPtr<IZFFrame>().Put()), S_OK);
    EXPECT_EQ(faults.Count("CreateRenderTargetView"), _nPasses);
    m_keyer.Close();
    Gpu_Context()->ClearState();
    const ULONG nRefs = RefsOf(Gpu_Device());
    bool bFailed = true;
    for (int nCall = 1; bFailed; ++nCall)
    {
        if (Gpu_IsLeftOut(static_cast<size_t>(nCall)))
            continue;
        SCOPED_TRACE(nCall);
        bFailed = KeyFailing(faults, nCall, _setup, _nFirst, &vecBytes);
        ASSERT_EQ(vecBytes.size(), vecExpected.size());
        int nOff = 0;
        for (size_t n = 3; n < vecBytes.size(); n += 4)
            nOff += std::abs(vecBytes[n] - vecExpected[n]) > _nLevels;
        EXPECT_LE(nOff * 1000, c_nFaultWidth * c_nFaultHeight);
        m_keyer.Close();
        Gpu_Context()->ClearState();
        EXPECT_EQ(RefsOf(Gpu_Device()), nRefs) << "nothing is left";
    }
}

TEST_F(GpuUnmixFaults, EachCallOfWhatComesAfterThePixels)
{
    CheckCalls(Edged(), 0, 7, 1); // cells, pixels, alpha, choke, two of soften, result
}

TEST_F(GpuUnmixFaults, EachCallOfTheFilterOverTime)
{
    CheckCalls(GreenSetup(), 1, 3, 24); // cells, filter, pixels; the filter may begin anew
}

TEST_F(GpuUnmixFaults, EachCallOfSamplesInTenBits)
{
    m_fccType = eZFCC_P010;
    UNMIX_SETUP setup = GreenSetup();
    setup.params.fltNoise = 0;
    CheckCalls(setup, 0, 5, 1); // opening, cells, factors, rebuilding, pixels
}

/// Frames of a stream, some in memory and some in textures.
class GpuUnmixSwitched : public CUnmixObjectTest
{
protected:
    GpuUnmixSwitched()
    {
        KeyFrom(Body(eZFCC_RGB32, c_arrGreen).Get());
    }
    /// The key of the object.
    UNMIX_SETUP KeySetup()
    {
        CHROMA_KEY2_RAW key = {};
        EXPECT_EQ(m_cpKeyer->KeyRawGet(&key), S_OK);
        EXPECT_EQ(key.nKeysUsed, 1);
        UNMIX_SETUP setup;
        setup.nKeys = 1;
        setup.arrKeys[0].arrBGR[0] = static_cast<float>(key.arrKeys[0].dblBlue);
        setup.arrKeys[0].arrBGR[1] = static_cast<float>(key.arrKeys[0].dblGreen);
        setup.arrKeys[0].arrBGR[2] = static_cast<float>(key.arrKeys[0].dblRed);
        return setup;
    }
    /// _pwszMode: of frames in memory; null: in a texture.
    BYTES Keyed(SCENE& _scene, const wchar_t* _pwszMode)
    {
        Set(L"gpu_mode", _pwszMode ? _pwszMode : L"-1");
        if (!_pwszMode)
            return PixelsIn(Receive(FrameOf(_scene).Get()).Get());
        const auto cpFrame = TestFrame_Of(_scene.vecBGRA, eZFCC_ARGB32, _scene.nWidth, -_scene.nHeight);
        return Gpu_Pixels(Receive(cpFrame.Get()).Get());
    }
};

TEST_F(GpuUnmixSwitched, GoesOnAsIfNothingHadChanged)
{
    const wchar_t* const arrModes[8] = {L"0", L"1", L"0", nullptr, L"0", L"1", nullptr, L"0"};
    for (const float fltNoise : {0.0f, 2.2f}) // of the filter over time, which begins anew on the CPU
    {
        SCOPED_TRACE(fltNoise);
        GPUUnmix keyer; // not asked
        STREAMS streams(keyer, KeySetup());
        streams.setup.params.fltNoise = fltNoise;
        EXPECT_EQ(m_cpKeyer->ParamSet(CZBStr("noise").Get(), double{fltNoise}), S_OK);
        EXPECT_EQ(m_cpProcess->OnMediaFlush(), S_OK);
        for (int n = 0; n < 8; ++n)
        {
            SCOPED_TRACE(n);
            SCENE scene = Moving(n);
            const BYTES vecBytes = Keyed(scene, arrModes[n]), vecCPU = streams.OnCPU(scene.Input());
            CHROMA_KEY2_STATS stats = {};
            EXPECT_EQ(m_cpKeyer->StatsGet(&stats), S_OK);
            EXPECT_EQ(stats.nPlateFrames, n + 1) << "one stream";
            EXPECT_EQ(stats.eKeyedOnValue, arrModes[n] && arrModes[n][0] == L'0' ? eKeyedOn_CPU : eKeyedOn_GPU);
            EXPECT_NEAR(stats.dblNoise, double{streams.cpu.fltNoise}, 1e-6);
            AGREEMENT agreement;
            agreement.Add(vecBytes, vecCPU);
            if (fltNoise == 0)
                agreement.Check();
            else
                EXPECT_LE(agreement.nMost, 40);
        }
    }
}

} // namespace
