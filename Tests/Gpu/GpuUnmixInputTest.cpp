// What comes in to be keyed by the second generation on the GPU: every format, in memory and in textures.

#include "Gpu/UnmixStreams.h"
#include "ZChromaKey/Engine2/Fineness.h"

namespace
{

/// Chroma, B and R less luma, made smooth along rows and columns as a decoder that takes care does.
void SmoothChroma(SCENE* _pScene)
{
    constexpr float c_arrShares[3] = {.0722f, .7152f, .2126f};
    const int nWidth = _pScene->nWidth, nHeight = _pScene->nHeight;
    const std::vector<uint8_t> vecFrom = _pScene->vecBGRA;
    const auto At = [&](int _x, int _y) {
        return &vecFrom[4 *
                        static_cast<size_t>(std::clamp(_y, 0, nHeight - 1) * nWidth + std::clamp(_x, 0, nWidth - 1))];
    };
    const auto Luma = [&](const uint8_t* _p) {
        return c_arrShares[0] * _p[0] + c_arrShares[1] * _p[1] + c_arrShares[2] * _p[2];
    };
    for (int n = 0; n < nWidth * nHeight; ++n)
    {
        float fltU = 0, fltV = 0;
        for (int k = 0; k < 9; ++k)
        {
            const uint8_t* const p = At(n % nWidth + k % 3 - 1, n / nWidth + k / 3 - 1);
            const float fltShare = static_cast<float>((k % 3 == 1 ? 2 : 1) * (k / 3 == 1 ? 2 : 1)) / 16;
            fltU += fltShare * (static_cast<float>(p[0]) - Luma(p));
            fltV += fltShare * (static_cast<float>(p[2]) - Luma(p));
        }
        const float fltLuma = Luma(At(n % nWidth, n / nWidth));
        const float fltGreen = (c_arrShares[0] * fltU + c_arrShares[2] * fltV) / c_arrShares[1];
        uint8_t* const pTo = &_pScene->vecBGRA[4 * static_cast<size_t>(n)];
        pTo[0] = static_cast<uint8_t>(std::clamp(fltLuma + fltU + .5f, 0.0f, 255.0f));
        pTo[1] = static_cast<uint8_t>(std::clamp(fltLuma - fltGreen + .5f, 0.0f, 255.0f));
        pTo[2] = static_cast<uint8_t>(std::clamp(fltLuma + fltV + .5f, 0.0f, 255.0f));
    }
}

/// A picture that was in 4:2:0 once.
SCENE Decoded(int _nFrame, bool _bSmooth)
{
    SCENE scene = BodyScene(158, 90, 3, 1 + static_cast<uint32_t>(_nFrame), .02f * static_cast<float>(_nFrame));
    const auto cpFrame = SamplesOf(scene, eZFCC_NV12, eZI_Progressive);
    const UNMIX_INPUT input = InputOf(cpFrame.Get());
    CImgRowReader reader;
    EXPECT_EQ(reader.Init(input.vidProps, input.vidPtr), S_OK);
    for (int y = 0; y < scene.nHeight; ++y)
        reader.ReadRow(y, &scene.vecBGRA[4 * static_cast<size_t>(y * scene.nWidth)]);
    if (_bSmooth)
        SmoothChroma(&scene);
    return scene;
}

class GpuUnmixInput : public testing::Test
{
protected:
    GpuUnmixInput()
    {
        EXPECT_EQ(m_keyer.DeviceInit(Gpu_Device()), S_OK);
    }
    GPUUnmix m_keyer;
    GPUUnmix m_keyerTexture;
};

TEST_F(GpuUnmixInput, KeysEveryFormatInMemory)
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

TEST_F(GpuUnmixInput, KeysTexturesOfEveryFormat)
{
    size_t nCase = 0;
    for (const uint32_t fccType : {eZFCC_UYVY, eZFCC_YUY2, eZFCC_NV12, eZFCC_NV12, eZFCC_HDYC, eZFCC_YV12, eZFCC_I422,
                                   eZFCC_P010, eZFCC_P010, eZFCC_P210})
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
            ENGINE_GPU_OPTIONS options = c_unmixOptions;
            options.eMatrix = Img_MatrixOf(input.vidProps);
            CZPtr<IZFFrame> cpRes;
            ASSERT_EQ(m_keyerTexture.Key(SamplesInTexture(cpFrame.Get()).Get(), learner, options, cpRes.Put()), S_OK);
            agreement.Add(PixelsIn(cpRes.Get()), streams.OnCPU(input));
            for (size_t n = 0; n < 2; ++n)
                EXPECT_TRUE(state.arrFields[n].cells == streams.cpu.arrFields[n].cells);
        }
        agreement.Check();
        EXPECT_LE(agreement.nOff * 1000, agreement.nPixels) << "to the bit, all ten of P010";
    }
}

TEST_F(GpuUnmixInput, RebuildsPixelsInRgbWhoseChromaWasShared)
{
    size_t nCase = 0;
    for (const bool bSmooth : {false, true})
        for (const int eInterlace : {eZI_Progressive, eZI_TopFirst})
        {
            if (Gpu_IsLeftOut(nCase++))
                continue;
            SCOPED_TRACE(ZFormat("%hs, %hs", bSmooth ? "smooth" : "repeated", eInterlace ? "fields" : "frame"));
            const UNMIX_SETUP setup = GreenSetup();
            STREAMS streams(m_keyer, setup);
            UNMIX_STATE state;
            LEARNER learner(state, setup);
            AGREEMENT inMemory, inTexture;
            for (const int nFrame : {0, 1, 2})
            {
                SCENE scene = Decoded(nFrame, bSmooth);
                const UNMIX_INPUT input = scene.Input(eZFCC_RGB32, eInterlace);
                const BYTES vecCPU = streams.OnCPU(input);
                inMemory.Add(streams.OnGPU(input), vecCPU);
                CZPtr<IZFFrame> cpRes;
                ASSERT_EQ(m_keyerTexture.Key(FrameOf(scene, eZFCC_RGB32, eInterlace).Get(), learner, c_unmixOptions,
                                             cpRes.Put()),
                          S_OK);
                inTexture.Add(PixelsIn(cpRes.Get()), vecCPU);
                EXPECT_TRUE(state.fineness == streams.cpu.fineness);
            }
            EXPECT_GT(Fineness_Of(state).fltShared, 0);
            EXPECT_EQ(Fineness_Of(state).bRepeated, !bSmooth);
            inMemory.Check();
            inTexture.Check();
        }
}

} // namespace
