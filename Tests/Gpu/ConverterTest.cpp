#include "DirectX/Convert/DX11VideoProcessor.h"
#include "DirectX/Convert/GPUProcessor.h"
#include "Gpu/DeviceHooks.h"
#include "Gpu/PipelineSupport.h"
#include "Gpu/TwinPictures.h"
#include "Support/LogCatcher.h"

using ShaderTwin::PICTURE;

constexpr double c_dblRounded = 0.51; // levels

namespace
{

ZF_VID_PROPS PropsOf(const PICTURE& _picture)
{
    return Gpu_Props(_picture.fccType, _picture.nWidth,
                     FCC_IsRGB(_picture.fccType) ? -_picture.nHeight : _picture.nHeight);
}

/// A texture object around a picture, whose rows have no padding.
CZPtr<IDX11Texture> TextureOf(const PICTURE& _picture)
{
    CZPtr<IDX11Texture> cpTexture;
    EXPECT_EQ(DX11Texture::CreateExternal(Twin_Texture(_picture).Get(), PropsOf(_picture), cpTexture.Put()), S_OK);
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
    // width and field order of the input and of the output
    const std::tuple<int, int, int, int, uint32_t> arrRows[] = {
        {8, eZI_Progressive, 8, eZI_TopFirst, 0},   {8, eZI_Progressive, 16, eZI_Progressive, 0x14},
        {8, eZI_Progressive, 16, eZI_TopFirst, 0},  {16, eZI_TopFirst, 8, eZI_Progressive, 0},
        {8, eZI_TopFirst, 16, eZI_TopFirst, 0x14},  {8, eZI_TopFirst, 16, eZI_BottomFirst, 0x14},
        {8, eZI_Progressive, 16, eZI_NotSet, 0x14},
    };
    for (const auto& [nWidthIn, eIn, nWidthOut, eOut, nFilter] : arrRows)
    {
        const ZF_VID_PROPS vidIn = Gpu_Props(eZFCC_RGB32, nWidthIn, nWidthIn / 2, 0, eIn);
        const ZF_VID_PROPS vidOut = Gpu_Props(eZFCC_UYVY, nWidthOut, -nWidthOut / 2, 0, eOut);
        EXPECT_EQ(DX11Converter::GetFilterType(&vidIn, &vidOut), nFilter) << VidProps_Text(&vidIn) << eOut;
    }
    const ZF_VID_PROPS vidProps = Gpu_Props(eZFCC_RGB32, 8, 4);
    CLogCatcher log;
    EXPECT_EQ(DX11Converter::GetFilterType(nullptr, &vidProps), 0u);
    EXPECT_EQ(DX11Converter::GetFilterType(&vidProps, nullptr), 0u);
    EXPECT_EQ(log.Count("Video properties not provided, no selection!"), 2u);
}

TEST(Converter, ComputesWhatTheFormulasSay)
{
    const auto cpWrapper = Gpu_Wrapper();
    const auto cpAllocator = Gpu_Allocator();
    DX11Converter converter;
    size_t nCase = 0;
    const auto fnCheck = [&](uint32_t _fccIn, uint32_t _fccOut, const ZF_SIZE& _szIn, const ZF_SIZE& _szOut,
                             eZYMatrix _eMatrix) {
        SCOPED_TRACE(FCC_Name(_fccIn) + " to " + FCC_Name(_fccOut) + " of " + std::to_string(_szOut.cx));
        const PICTURE picture = Twin_Random(_fccIn, _szIn.cx, _szIn.cy);
        if (Gpu_IsLeftOut(nCase++))
            return;
        const bool bScaled = _szIn.cx != _szOut.cx;
        PICTURE expected = ShaderTwin::Convert({_fccIn, _fccOut, bScaled, _eMatrix}, picture, _szOut.cx, _szOut.cy);
        const ZF_VID_PROPS vidPropsIn = PropsOf(picture);
        const ZF_VID_PROPS vidPropsOut = PropsOf(expected);
        CZPtr<IDX11Texture> cpSurface;
        ASSERT_EQ(converter.Convert(cpWrapper.Get(), &vidPropsIn, &vidPropsOut, Twin_Texture(picture).Get(),
                                    cpAllocator.Get(), cpSurface.Put(), _eMatrix),
                  S_OK);
        EXPECT_TRUE(DX_DataGet<ID3D11Query>(Gpu_TextureIn(cpSurface.Get()).Get(), c_svDataQuery));
        const std::vector<uint8_t> vecBytes = Read(cpSurface);
        ASSERT_EQ(vecBytes.size(), expected.arrBytes.size());
        if (_fccOut == eZFCC_UYVY && _szOut.cx % 2 != 0) // the pixel that the last texel has too many
            for (size_t n = expected.nStride - 1u; n < vecBytes.size(); n += expected.nStride)
                expected.arrBytes[n] = vecBytes[n] / 255.0;
        // Samplers know places between texels to 1/256 only.
        EXPECT_TRUE(Twin_Matches(vecBytes, expected, bScaled ? 3 : c_dblRounded));
    };
    for (const uint32_t fccType : {eZFCC_RGB8, eZFCC_RGB32, eZFCC_ARGB32, eZFCC_UYVY, eZFCC_HDYC, eZFCC_YUY2,
                                   eZFCC_NV12, eZFCC_YV12, eZFCC_I420, eZFCC_YV16, eZFCC_I422})
    {
        const eZYMatrix eMatrix = fccType % 2 ? eZYM_601 : eZYM_709;
        for (const uint32_t fccOther : {eZFCC_ARGB32, eZFCC_UYVY})
            if (fccOther != fccType)
            {
                fnCheck(fccType, fccOther, {22, 12}, {22, 12}, eMatrix);
                fnCheck(fccOther, fccType, {22, 12}, {22, 12}, eMatrix);
            }
        fnCheck(fccType, eZFCC_YUY2, {22, 12}, {30, 20}, eZYM_601);
        fnCheck(eZFCC_RGB32, fccType, {22, 12}, {8, 6}, eZYM_601);
    }
    fnCheck(eZFCC_RGB32, eZFCC_UYVY, {7, 5}, {7, 5}, eZYM_601);
    fnCheck(eZFCC_HDYC, eZFCC_ARGB32, {7, 5}, {7, 5}, eZYM_601);
    fnCheck(eZFCC_NV12, eZFCC_YV12, {8, 6}, {8, 6}, eZYM_601);
    converter.Close();
    cpAllocator->CacheClear();
}

TEST(Converter, DrawsNothingThatIsNotNeeded)
{
    const auto cpWrapper = Gpu_Wrapper();
    const auto cpAllocator = Gpu_Allocator();
    DX11Converter converter;
    CLogCatcher log;
    const CZPtr<IDX11Texture> cpPicture = TextureOf(Twin_Random(eZFCC_UYVY, 8, 4));
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
    IDX11Texture* pFrame = CZPtr<IDX11Texture>(cpPicture).Detach();
    EXPECT_EQ(converter.Convert(cpWrapper.Get(), &pFrame, &vidProps, cpAllocator.Get()), S_FALSE);
    EXPECT_EQ(pFrame, cpPicture.Get());
    EXPECT_EQ(converter.Convert(cpWrapper.Get(), &pFrame, &vidARGB, cpAllocator.Get()), S_OK);
    EXPECT_NE(pFrame, cpPicture.Get());
    EXPECT_EQ(PropsOf(pFrame).fccType, eZFCC_ARGB32);
    const ZF_VID_PROPS vidRGB24 = Gpu_Props(eZFCC_RGB24, 8, 4);
    EXPECT_EQ(converter.Convert(cpWrapper.Get(), &pFrame, &vidRGB24, cpAllocator.Get()), E_NOTIMPL);
    EXPECT_EQ(log.Count("DX11Converter::Convert: Surface not converted!", eZLog_Error), 1u);
    CZPtr<IDX11Texture>::Adopt(pFrame).Reset();

    EXPECT_EQ(
        converter.Convert(cpWrapper.Get(), nullptr, &vidProps, cpTexture.Get(), cpAllocator.Get(), cpSurface.Put()),
        E_INVALIDARG);
    converter.Close();
    cpAllocator->CacheClear();
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

    PICTURE top = ShaderTwin::Make(eZFCC_ARGB32, 8, 4); // pairs of pure colours, which the ranges cut
    for (int n = 0; n < 8 * 4 * 4; ++n)
        top.arrBytes[static_cast<size_t>(n)] = n / 8 >> (n % 4) & 1;
    const PICTURE bottom = Twin_Random(eZFCC_ARGB32, 8, 4);
    const CZPtr<IDX11Texture> cpTop = TextureOf(top);
    const CZPtr<IDX11Texture> cpBottom = TextureOf(bottom);
    std::array<float, 12> arrCrossed = Shader_MatrixRGB2YUV(eZYM_709);
    arrCrossed[7] = 0.4f; // offsets of U and V that differ
    for (const std::array<float, 12>& arrMatrix : {Shader_MatrixRGB2YUV(eZYM_601), arrCrossed})
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
                EXPECT_TRUE(Twin_Matches(Read(cpResult), expected, c_dblRounded)) << bFields << eRange;
                EXPECT_EQ(PropsOf(cpResult.Get()).fccType, eZFCC_HDYC);
                EXPECT_EQ(PropsOf(cpResult.Get()).nHeight, bFields ? 8 : 4);
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
            const PICTURE picture = Twin_Random(eZFCC_UYVY, nWidth, 6);
            const uint32_t nTexels = static_cast<uint32_t>(nWidth + 3) / 4;
            const auto nRows = static_cast<uint32_t>(DX_TexelHeight(fccType, 6));
            const CZPtr<IDX11Texture> cpPlanar = TextureOf(nTexels, nRows, Gpu_Props(fccType, nWidth, 6));
            ASSERT_EQ(cpProcessor->DXV_Convert_UYVY_YUVPlanar(TextureOf(picture).Get(), cpPlanar.Get(), fccType), S_OK);
            // what lies beside the picture's columns is nobody's
            const int nStride = static_cast<int>(nTexels) * 4;
            PICTURE expected = ShaderTwin::Convert({eZFCC_UYVY, fccType}, picture, nWidth, 6, nStride);
            const std::vector<uint8_t> vecBytes = Read(cpPlanar);
            ASSERT_EQ(vecBytes.size(), expected.arrBytes.size());
            const int nChroma = fccType == eZFCC_NV12 ? 1 : 2; // rows of chroma in a row of luma
            for (int n = 0; n < static_cast<int>(vecBytes.size()); ++n)
            {
                const int nParts = n < 6 * nStride ? 1 : nChroma;
                if (n % (nStride / nParts) >= nWidth / nParts)
                    expected.arrBytes[static_cast<size_t>(n)] = vecBytes[static_cast<size_t>(n)] / 255.0;
            }
            EXPECT_TRUE(Twin_Matches(vecBytes, expected, c_dblRounded));
        }
    const std::array<float, 12> arrMatrix = Shader_MatrixRGB2YUV(eZYM_601);
    CZPtr<IDX11Texture> cpResult;
    ASSERT_EQ(cpProcessor->DXV_Convert(TextureOf(Twin_Random(eZFCC_RGB32, 8, 6)).Get(), nullptr, arrMatrix.data(),
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
    const std::array<float, 12> arrMatrix = Shader_MatrixRGB2YUV(eZYM_601);
    const CZPtr<IDX11Texture> cpRGB = TextureOf(8, 4, Gpu_Props(eZFCC_RGB32, 8, -4));
    const CZPtr<IDX11Texture> cpFlipped = TextureOf(8, 4, Gpu_Props(eZFCC_RGB32, 8, 4));
    const CZPtr<IDX11Texture> cpOdd = TextureOf(7, 4, Gpu_Props(eZFCC_RGB32, 7, -4));
    const CZPtr<IDX11Texture> cpUYVY = TextureOf(4, 4, Gpu_Props(eZFCC_UYVY, 8, 4));
    const CZPtr<IDX11Texture> cpFlippedOut = TextureOf(4, 4, Gpu_Props(eZFCC_RGB32, 8, 4));
    CLogCatcher log;
    const auto fnRefuses = [&](const auto& _cpSource, const auto& _cpTarget, uint32_t _fccType, const char* _psz) {
        EXPECT_EQ(
            cpProcessor->DXV_Convert_RGB_YUV(_cpSource.Get(), nullptr, _cpTarget.Get(), arrMatrix.data(), _fccType),
            E_INVALIDARG);
        EXPECT_EQ(log.Count(_psz), 1u) << _psz;
    };
    fnRefuses(CZPtr<IDX11Texture>(), cpUYVY, eZFCC_UYVY, "_pTexSrcRGB_Top && _pTexDstYUV");
    fnRefuses(cpRGB, cpUYVY, eZFCC_YUY2, "_eFCC_YUV == eZFCC_HDYC || _eFCC_YUV == eZFCC_UYVY");
    fnRefuses(cpFlipped, cpUYVY, eZFCC_UYVY, "nFlippedIn == 0");
    fnRefuses(cpRGB, cpFlippedOut, eZFCC_UYVY, "nFlippedOut == 0");
    fnRefuses(cpOdd, cpUYVY, eZFCC_UYVY, "descTexDst.Width * 2 == descTexSrc.Width");
    EXPECT_EQ(cpProcessor->DXV_Convert_UYVY_YUVPlanar(cpUYVY.Get(), cpUYVY.Get(), eZFCC_I420), E_INVALIDARG);

    CCallFaults faults(Gpu_Device());
    const auto cpAllocator = Gpu_Allocator();
    for (const int nCall : {1, 2})
    {
        CZPtr<IDX11Texture> cpResult;
        faults.FailAt(nCall, E_OUTOFMEMORY);
        EXPECT_EQ(cpProcessor->DXV_Convert(cpRGB.Get(), nullptr, arrMatrix.data(), eZFCC_NV12, cpAllocator.Get(),
                                           cpResult.Put()),
                  E_OUTOFMEMORY);
    }
    EXPECT_EQ(log.Count("DXV11ProcessorBase<class DXV11Processor>::DXV_Convert: _CreateOutputTex422(Input:8x4 Fmt:87"),
              1u);
    EXPECT_EQ(log.Count("DX11Texture::Create(4x4 Fmt:87"), 1u);
    EXPECT_EQ(log.Count("_Copy_RGB_YUV422_PS(Input:8x4 Fmt:87"), 1u);
    faults.FailAt(0, S_OK);
    cpAllocator->CacheClear();
}
