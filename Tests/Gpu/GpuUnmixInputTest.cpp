// What comes in to be keyed by the second generation on the GPU: every format, in memory and in textures.

#include "Gpu/UnmixStreams.h"

namespace
{

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

} // namespace
