#include "DirectX/DX11VideoProcessor.h"
#include "DirectX/GPUProcessor.h"
#include "Gpu/DeviceHooks.h"
#include "Gpu/PipelineSupport.h"
#include "Support/LogCatcher.h"
#include "Support/ShaderTwin.h"

#include <cmath>

using ShaderTwin::PICTURE;

namespace
{

PICTURE RandomPicture(uint32_t _fccType, int _nWidth, int _nHeight, uint32_t _nSeed = 7)
{
    PICTURE picture = ShaderTwin::Make(_fccType, _nWidth, _nHeight);
    for (double& dblByte : picture.arrBytes)
    {
        _nSeed = _nSeed * 1664525u + 1013904223u;
        dblByte = static_cast<double>(_nSeed >> 24) / 255;
    }
    return picture;
}

std::vector<uint8_t> Bytes(const PICTURE& _picture)
{
    std::vector<uint8_t> vecBytes;
    for (double dblByte : _picture.arrBytes)
        vecBytes.push_back(static_cast<uint8_t>(std::lround(dblByte * 255)));
    return vecBytes;
}

ZF_VID_PROPS PropsOf(const PICTURE& _picture, int _eInterlace = eZI_Progressive)
{
    return Gpu_Props(_picture.fccType, _picture.nWidth,
                     FCC_IsRGB(_picture.fccType) ? -_picture.nHeight : _picture.nHeight, 0, _eInterlace);
}

/// The largest difference between bytes; 256 when there are not as many.
int LargestDifference(const std::vector<uint8_t>& _vecA, const std::vector<uint8_t>& _vecB)
{
    if (_vecA.size() != _vecB.size())
        return 256;
    int nLargest = 0;
    for (size_t n = 0; n < _vecA.size(); ++n)
        nLargest = std::max(nLargest, std::abs(_vecA[n] - _vecB[n]));
    return nLargest;
}

/// A texture object around a picture, whose rows have no padding.
CZPtr<IDX11Texture> TextureOf(const PICTURE& _picture)
{
    const ZF_VID_PROPS vidProps = PropsOf(_picture);
    const D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(vidProps);
    CZPtr<IDX11Texture> cpTexture;
    EXPECT_EQ(DX11Texture::CreateExternal(Gpu_Texture(desc.Width, desc.Height, desc.Format, Bytes(_picture)).Get(),
                                          vidProps, cpTexture.Put()),
              S_OK);
    return cpTexture;
}

CZPtr<IDX11Texture> TextureOf(uint32_t _nWidth, uint32_t _nHeight, const ZF_VID_PROPS& _vidProps)
{
    CZPtr<IDX11Texture> cpTexture;
    EXPECT_EQ(DX11Texture::CreateExternal(Gpu_Texture(_nWidth, _nHeight).Get(), _vidProps, cpTexture.Put()), S_OK);
    return cpTexture;
}

std::vector<uint8_t> Read(const CZPtr<IDX11Texture>& _cpTexture)
{
    return Gpu_Read(Gpu_TextureIn(_cpTexture.Get()).Get());
}

} // namespace

TEST(Converter, ChoosesTheFilter)
{
    const ZF_VID_PROPS vidSmall = Gpu_Props(eZFCC_RGB32, 8, 4, 0, eZI_Progressive);
    const ZF_VID_PROPS vidSmallTop = Gpu_Props(eZFCC_UYVY, 8, -4, 0, eZI_TopFirst);
    const ZF_VID_PROPS vidLarge = Gpu_Props(eZFCC_RGB32, 16, 8, 0, eZI_Progressive);
    const ZF_VID_PROPS vidLargeTop = Gpu_Props(eZFCC_RGB32, 16, 8, 0, eZI_TopFirst);
    const ZF_VID_PROPS vidLargeBottom = Gpu_Props(eZFCC_RGB32, 16, 8, 0, eZI_BottomFirst);
    const ZF_VID_PROPS vidNotSet = Gpu_Props(eZFCC_RGB32, 16, 8, 0, eZI_NotSet);
    const struct
    {
        const ZF_VID_PROPS* pIn;
        const ZF_VID_PROPS* pOut;
        uint32_t nFilter;
    } arrCases[] = {{&vidSmall, &vidSmallTop, 0},       {&vidSmall, &vidLarge, 0x14},
                    {&vidSmall, &vidLargeTop, 0},       {&vidLargeTop, &vidSmall, 0},
                    {&vidSmallTop, &vidLargeTop, 0x14}, {&vidSmallTop, &vidLargeBottom, 0x14},
                    {&vidSmall, &vidNotSet, 0x14}};
    for (const auto& [pIn, pOut, nFilter] : arrCases)
        EXPECT_EQ(DX11Converter::GetFilterType(pIn, pOut), nFilter) << VidProps_Text(pIn) << VidProps_Text(pOut);
    CLogCatcher log;
    EXPECT_EQ(DX11Converter::GetFilterType(nullptr, &vidSmall), 0u);
    EXPECT_EQ(DX11Converter::GetFilterType(&vidSmall, nullptr), 0u);
    EXPECT_EQ(log.Count("Video properties not provided, no selection!"), 2u);
}

TEST(Converter, ComputesWhatTheFormulasSay)
{
    const auto cpWrapper = Gpu_Wrapper();
    const auto cpAllocator = Gpu_Allocator();
    DX11Converter converter;
    const struct
    {
        uint32_t fccIn;
        uint32_t fccOut;
        int nWidth, nHeight;
        int nWidthOut, nHeightOut;
        eSYMatrix eMatrix = eSYM_601;
    } arrCases[] = {
        {eZFCC_RGB32, eZFCC_ARGB32, 7, 5, 7, 5},
        {eZFCC_ARGB32, eZFCC_RGB8, 7, 5, 7, 5},
        {eZFCC_RGB32, eZFCC_UYVY, 7, 5, 7, 5},
        {eZFCC_RGB32, eZFCC_HDYC, 8, 4, 8, 4},
        {eZFCC_ARGB32, eZFCC_YUY2, 8, 4, 8, 4},
        {eZFCC_RGB32, eZFCC_NV12, 8, 6, 8, 6},
        {eZFCC_RGB32, eZFCC_YV12, 8, 6, 8, 6},
        {eZFCC_RGB32, eZFCC_I420, 8, 6, 8, 6, eSYM_709},
        {eZFCC_RGB32, eZFCC_YV16, 8, 6, 8, 6},
        {eZFCC_UYVY, eZFCC_ARGB32, 8, 4, 8, 4},
        {eZFCC_UYVY, eZFCC_RGB32, 8, 4, 8, 4, eSYM_709},
        {eZFCC_HDYC, eZFCC_ARGB32, 7, 5, 7, 5},
        {eZFCC_YUY2, eZFCC_ARGB32, 8, 4, 8, 4},
        {eZFCC_NV12, eZFCC_ARGB32, 8, 6, 8, 6},
        {eZFCC_YV12, eZFCC_ARGB32, 8, 6, 8, 6},
        {eZFCC_YV16, eZFCC_RGB32, 8, 6, 8, 6},
        {eZFCC_I422, eZFCC_UYVY, 8, 6, 8, 6},
        {eZFCC_UYVY, eZFCC_YUY2, 8, 4, 8, 4},
        {eZFCC_HDYC, eZFCC_UYVY, 8, 4, 8, 4},
        {eZFCC_UYVY, eZFCC_NV12, 8, 6, 8, 6},
        {eZFCC_NV12, eZFCC_YV12, 8, 6, 8, 6},
        {eZFCC_RGB8, eZFCC_UYVY, 8, 4, 8, 4},
        {eZFCC_UYVY, eZFCC_RGB8, 8, 4, 8, 4},
        {eZFCC_RGB8, eZFCC_ARGB32, 5, 3, 5, 3},
        {eZFCC_ARGB32, eZFCC_ARGB32, 8, 4, 16, 8},
        {eZFCC_UYVY, eZFCC_ARGB32, 8, 4, 12, 10},
        {eZFCC_RGB32, eZFCC_UYVY, 16, 8, 8, 4},
        {eZFCC_NV12, eZFCC_YV16, 8, 6, 16, 4},
    };
    for (const auto& test : arrCases)
    {
        SCOPED_TRACE(FCC_Name(test.fccIn) + " to " + FCC_Name(test.fccOut));
        const PICTURE picture = RandomPicture(test.fccIn, test.nWidth, test.nHeight);
        const ZF_VID_PROPS vidPropsIn = PropsOf(picture);
        const ZF_VID_PROPS vidPropsOut = PropsOf(ShaderTwin::Make(test.fccOut, test.nWidthOut, test.nHeightOut));
        CZPtr<IDX11Texture> cpSurface;
        ASSERT_EQ(converter.Convert(cpWrapper.Get(), &vidPropsIn, &vidPropsOut,
                                    Gpu_TextureIn(TextureOf(picture).Get()).Get(), cpAllocator.Get(), cpSurface.Put(),
                                    test.eMatrix),
                  S_OK);
        EXPECT_TRUE(DX_DataGet<ID3D11Query>(Gpu_TextureIn(cpSurface.Get()).Get(), c_svDataQuery));
        const bool bScaled = test.nWidth != test.nWidthOut;
        const PICTURE expected = ShaderTwin::Convert({test.fccIn, test.fccOut, bScaled, test.eMatrix}, picture,
                                                     test.nWidthOut, test.nHeightOut);
        std::vector<uint8_t> vecExpected = Bytes(expected);
        std::vector<uint8_t> vecBytes = Read(cpSurface);
        if (test.fccOut == eZFCC_UYVY && test.nWidthOut % 2 != 0) // the pixel that the last texel has too many
            for (size_t n = 3 + 2 * static_cast<size_t>(test.nWidthOut - 1); n < vecBytes.size();
                 n += 2 * static_cast<size_t>(test.nWidthOut + 1))
                vecBytes[n] = vecExpected[n];
        EXPECT_LE(LargestDifference(vecBytes, vecExpected), 1);
    }
    converter.Close();
    cpAllocator->CacheClear();
}

TEST(Converter, DrawsNothingThatIsNotNeeded)
{
    const auto cpWrapper = Gpu_Wrapper();
    const auto cpAllocator = Gpu_Allocator();
    DX11Converter converter;
    CLogCatcher log;
    const CZPtr<IDX11Texture> cpPicture = TextureOf(RandomPicture(eZFCC_UYVY, 8, 4));
    const auto cpTexture = Gpu_TextureIn(cpPicture.Get());
    const ZF_VID_PROPS vidProps = Gpu_Props(eZFCC_UYVY, 8, 4);
    const ZF_VID_PROPS vidARGB = Gpu_Props(eZFCC_ARGB32, 8, -4);
    CZPtr<IDX11Texture> cpSurface;
    EXPECT_EQ(
        converter.Convert(cpWrapper.Get(), &vidProps, &vidProps, cpTexture.Get(), cpAllocator.Get(), cpSurface.Put()),
        S_FALSE);
    EXPECT_FALSE(cpSurface);
    EXPECT_EQ(log.Count("Conversion not required!"), 1u);
    CZPtr<IDX11Texture> cpFrame = cpPicture;
    EXPECT_EQ(converter.Convert(cpWrapper.Get(), cpFrame.Put(), nullptr, cpAllocator.Get()), E_INVALIDARG);
    EXPECT_EQ(log.Count("_pTheDevice && _pFrameIn && *_pFrameIn && _pVidPropsOut"), 1u);
    IDX11Texture* pFrame = CZPtr<IDX11Texture>(cpPicture).Detach();
    EXPECT_EQ(converter.Convert(cpWrapper.Get(), &pFrame, &vidProps, cpAllocator.Get()), S_FALSE);
    EXPECT_EQ(pFrame, cpPicture.Get());
    EXPECT_EQ(converter.Convert(cpWrapper.Get(), &pFrame, &vidARGB, cpAllocator.Get()), S_OK);
    EXPECT_NE(pFrame, cpPicture.Get());
    ZF_VID_PROPS vidPropsFrame = {};
    EXPECT_EQ(pFrame->VideoPropsGet(&vidPropsFrame), S_OK);
    EXPECT_EQ(vidPropsFrame.fccType, eZFCC_ARGB32);
    const ZF_VID_PROPS vidRGB24 = Gpu_Props(eZFCC_RGB24, 8, 4);
    EXPECT_EQ(converter.Convert(cpWrapper.Get(), &pFrame, &vidRGB24, cpAllocator.Get()), E_NOTIMPL);
    EXPECT_EQ(log.Count("DX11Converter::Convert: Surface not converted!", eZLog_Error), 1u);
    CZPtr<IDX11Texture>::Adopt(pFrame).Reset();

    EXPECT_EQ(
        converter.Convert(cpWrapper.Get(), nullptr, &vidProps, cpTexture.Get(), cpAllocator.Get(), cpSurface.Put()),
        E_INVALIDARG);
    EXPECT_EQ(log.Count("_pVidPropsIn && _pVidPropsOut && _pTexIn && _ppSurfaceOut"), 1u);
    converter.Close();
    cpAllocator->CacheClear();
}

TEST(Converter, EveryCallMayFail)
{
    const std::pair<const char*, const char*> arrMessages[] = {
        {"D3DCompile", "Failed to set pixel shader for conversion!"},
        {"CreatePixelShader",
         "DX11Converter::UpdatePixelShader: Unable to create pixel shader! Error code 0X80004005!"},
        {"CreateSamplerState", "Sampler state is not available for frame conversion!"},
        {"CreateShaderResourceView", "DX11Converter::_RenderBase: Failed to create shader resource view!"},
        {"CreateTexture2D", "DX11Converter::_RenderBase: Failed to create 2D texture!"},
        {"CreateBuffer", "DX11Converter::_RenderBase: Failed to create constant buffer!"},
        {"CreateRenderTargetView", "DX11Converter::_RenderBase: Failed to create render target view!"},
        {"CreateQuery", "cpD3DQuery"},
    };
    const PICTURE picture = RandomPicture(eZFCC_UYVY, 8, 4);
    const CZPtr<IDX11Texture> cpPicture = TextureOf(picture);
    const auto cpTexture = Gpu_TextureIn(cpPicture.Get());
    const ZF_VID_PROPS vidProps = PropsOf(picture);
    const ZF_VID_PROPS vidARGB = Gpu_Props(eZFCC_ARGB32, 8, -4);
    CCallFaults faults(Gpu_Device());
    int nCall = 0;
    for (const auto& [pszMethod, pszMessage] : arrMessages)
    {
        SCOPED_TRACE(pszMethod);
        const auto cpWrapper = Gpu_Wrapper();
        const auto cpAllocator = Gpu_Allocator();
        DX11Converter converter;
        CZPtr<IDX11Texture> cpSurface;
        CLogCatcher log;
        faults.FailAt(++nCall, E_FAIL);
        const auto fnConvert = [&] {
            return converter.Convert(cpWrapper.Get(), &vidProps, &vidARGB, cpTexture.Get(), cpAllocator.Get(),
                                     cpSurface.Put());
        };
        EXPECT_LT(fnConvert(), 0);
        EXPECT_EQ(faults.Failed(), pszMethod);
        EXPECT_EQ(log.Count(pszMessage), 1u);
        EXPECT_FALSE(cpSurface);
        faults.FailAt(0, S_OK);
        EXPECT_EQ(fnConvert(), S_OK);
        converter.Close();
        cpAllocator->CacheClear();
        Gpu_Context()->ClearState();
    }
}

TEST(VideoProcessor, MakesPackedVideo)
{
    const auto cpWrapper = Gpu_Wrapper();
    const auto cpAllocator = Gpu_Allocator();
    DXV11ProcessorMap map;
    CZPtr<DXV11Processor> cpProcessor;
    ASSERT_EQ(DXV11Processor_Get(&map, cpWrapper.Get(), cpProcessor.Put()), S_OK);
    CZPtr<DXV11Processor> cpSame;
    ASSERT_EQ(DXV11Processor_Get(&map, cpWrapper.Get(), cpSame.Put()), S_OK);
    EXPECT_EQ(cpSame.Get(), cpProcessor.Get());

    const PICTURE top = RandomPicture(eZFCC_ARGB32, 8, 4, 1);
    const PICTURE bottom = RandomPicture(eZFCC_ARGB32, 8, 4, 2);
    const CZPtr<IDX11Texture> cpTop = TextureOf(top);
    const CZPtr<IDX11Texture> cpBottom = TextureOf(bottom);
    std::array<float, 12> arrCrossed = Shader_MatrixRGB2YUV(eSYM_709);
    arrCrossed[7] = 0.4f; // offsets of U and V that differ
    for (const std::array<float, 12>& arrMatrix : {Shader_MatrixRGB2YUV(eSYM_601), arrCrossed})
        for (bool bFields : {false, true})
            for (eDXVRange eRange : {eDXVR_Studio, eDXVR_Full})
            {
                CZPtr<IDX11Texture> cpResult;
                ASSERT_EQ(cpProcessor->DXV_Convert(cpTop.Get(), bFields ? cpBottom.Get() : nullptr, arrMatrix.data(),
                                                   eZFCC_HDYC, cpAllocator.Get(), cpResult.Put(), eRange),
                          S_OK);
                const PICTURE expected =
                    ShaderTwin::DXV({bFields, eRange == eDXVR_Full}, Shader_FillConvert(8, arrMatrix.data()), top,
                                    bFields ? &bottom : nullptr);
                EXPECT_LE(LargestDifference(Read(cpResult), Bytes(expected)), 1) << bFields << eRange;
                ZF_VID_PROPS vidProps = {};
                EXPECT_EQ(cpResult->VideoPropsGet(&vidProps), S_OK);
                EXPECT_EQ(vidProps.fccType, eZFCC_HDYC);
                EXPECT_EQ(vidProps.nHeight, bFields ? 8 : 4);
            }
    cpAllocator->CacheClear();
    EXPECT_EQ(map.Close(), S_OK);
}

TEST(VideoProcessor, MakesPlanarVideo)
{
    const auto cpWrapper = Gpu_Wrapper();
    const auto cpAllocator = Gpu_Allocator();
    CZPtr<DXV11Processor> cpProcessor;
    ASSERT_EQ(DXV11Processor::Create(cpWrapper.Get(), cpProcessor.Put()), S_OK);
    for (uint32_t fccType : {eZFCC_NV12, eZFCC_YV12, eZFCC_YV16})
        for (int nWidth : {2, 6, 8})
        {
            SCOPED_TRACE(testing::Message() << FCC_Name(fccType) << " " << nWidth);
            const PICTURE picture = RandomPicture(eZFCC_UYVY, nWidth, 6);
            const uint32_t nTexels = static_cast<uint32_t>(nWidth + 3) / 4;
            const auto nRows = static_cast<uint32_t>(DX_TexelHeight(fccType, 6));
            const CZPtr<IDX11Texture> cpPlanar = TextureOf(nTexels, nRows, Gpu_Props(fccType, nWidth, 6));
            ASSERT_EQ(cpProcessor->DXV_Convert_UYVY_YUVPlanar(TextureOf(picture).Get(), cpPlanar.Get(), fccType), S_OK);
            // what lies beside the picture's columns is nobody's
            const int nStride = static_cast<int>(nTexels) * 4;
            const PICTURE expected = ShaderTwin::Convert({eZFCC_UYVY, fccType}, picture, nWidth, 6, nStride);
            const std::vector<uint8_t> vecBytes = Read(cpPlanar);
            const std::vector<uint8_t> vecExpected = Bytes(expected);
            ASSERT_EQ(vecBytes.size(), vecExpected.size());
            const int nChromaStride = fccType == eZFCC_NV12 ? nStride : nStride / 2;
            const int nChromaWidth = fccType == eZFCC_NV12 ? nWidth : nWidth / 2;
            for (size_t n = 0; n < vecBytes.size(); ++n)
            {
                const int nLuma = 6 * nStride;
                const int nByte = static_cast<int>(n);
                const bool bInside =
                    nByte < nLuma ? nByte % nStride < nWidth : (nByte - nLuma) % nChromaStride < nChromaWidth;
                if (bInside)
                {
                    EXPECT_NEAR(vecBytes[n], vecExpected[n], 1) << n;
                }
            }
        }
    const std::array<float, 12> arrMatrix = Shader_MatrixRGB2YUV(eSYM_601);
    CZPtr<IDX11Texture> cpResult;
    ASSERT_EQ(cpProcessor->DXV_Convert(TextureOf(RandomPicture(eZFCC_RGB32, 8, 6)).Get(), nullptr, arrMatrix.data(),
                                       eZFCC_NV12, cpAllocator.Get(), cpResult.Put()),
              S_OK);
    EXPECT_EQ(Read(cpResult).size(), 8u * 9);
    cpResult.Reset();
    cpAllocator->CacheClear();
}

TEST(VideoProcessor, RefusesWhatItCannotMake)
{
    const auto cpWrapper = Gpu_Wrapper();
    CZPtr<DXV11Processor> cpProcessor;
    ASSERT_EQ(DXV11Processor::Create(cpWrapper.Get(), cpProcessor.Put()), S_OK);
    const std::array<float, 12> arrMatrix = Shader_MatrixRGB2YUV(eSYM_601);
    const ZF_VID_PROPS vidRGB = Gpu_Props(eZFCC_RGB32, 8, -4);
    const ZF_VID_PROPS vidUYVY = Gpu_Props(eZFCC_UYVY, 8, 4);
    const CZPtr<IDX11Texture> cpRGB = TextureOf(8, 4, vidRGB);
    const CZPtr<IDX11Texture> cpFlipped = TextureOf(8, 4, Gpu_Props(eZFCC_RGB32, 8, 4));
    const CZPtr<IDX11Texture> cpOdd = TextureOf(7, 4, Gpu_Props(eZFCC_RGB32, 7, -4));
    const CZPtr<IDX11Texture> cpUYVY = TextureOf(4, 4, vidUYVY);
    const CZPtr<IDX11Texture> cpFlippedOut = TextureOf(4, 4, Gpu_Props(eZFCC_RGB32, 8, 4));
    const struct
    {
        IDX11Texture* pSource;
        IDX11Texture* pTarget;
        uint32_t fccType;
        const char* pszAssertion;
    } arrCases[] = {
        {nullptr, cpUYVY.Get(), eZFCC_UYVY, "_pTexSrcRGB_Top && _pTexDstYUV"},
        {cpRGB.Get(), cpUYVY.Get(), eZFCC_YUY2, "_eFCC_YUV == eZFCC_HDYC || _eFCC_YUV == eZFCC_UYVY"},
        {cpFlipped.Get(), cpUYVY.Get(), eZFCC_UYVY, "nFlippedIn == 0"},
        {cpRGB.Get(), cpFlippedOut.Get(), eZFCC_UYVY, "nFlippedOut == 0"},
        {cpOdd.Get(), cpUYVY.Get(), eZFCC_UYVY, "descTexDst.Width * 2 == descTexSrc.Width"},
    };
    for (const auto& [pSource, pTarget, fccType, pszAssertion] : arrCases)
    {
        CLogCatcher log;
        EXPECT_EQ(cpProcessor->DXV_Convert_RGB_YUV(pSource, nullptr, pTarget, arrMatrix.data(), fccType), E_INVALIDARG);
        EXPECT_EQ(log.Count(pszAssertion), 1u) << pszAssertion;
    }
    CLogCatcher log;
    EXPECT_EQ(cpProcessor->DXV_Convert_UYVY_YUVPlanar(cpUYVY.Get(), cpUYVY.Get(), eZFCC_I420), E_INVALIDARG);
    EXPECT_EQ(log.Count("_eFCC_YUV == eZFCC_NV12 || _eFCC_YUV == eZFCC_YV12 || _eFCC_YUV == eZFCC_YV16"), 1u);

    CCallFaults faults(Gpu_Device());
    const auto cpAllocator = Gpu_Allocator();
    CZPtr<IDX11Texture> cpResult;
    faults.FailAt(1, E_OUTOFMEMORY);
    EXPECT_EQ(
        cpProcessor->DXV_Convert(cpRGB.Get(), nullptr, arrMatrix.data(), eZFCC_NV12, cpAllocator.Get(), cpResult.Put()),
        E_OUTOFMEMORY);
    EXPECT_EQ(log.Count("DXV11ProcessorBase<class DXV11Processor>::DXV_Convert: _CreateOutputTex422(Input:8x4 Fmt:87"),
              1u);
    EXPECT_EQ(log.Count("DX11Texture::Create(4x4 Fmt:87"), 1u);
    faults.FailAt(2, E_OUTOFMEMORY);
    EXPECT_EQ(
        cpProcessor->DXV_Convert(cpRGB.Get(), nullptr, arrMatrix.data(), eZFCC_NV12, cpAllocator.Get(), cpResult.Put()),
        E_OUTOFMEMORY);
    EXPECT_EQ(log.Count("_Copy_RGB_YUV422_PS(Input:8x4 Fmt:87"), 1u);
    faults.FailAt(0, S_OK);
    cpAllocator->CacheClear();
}
