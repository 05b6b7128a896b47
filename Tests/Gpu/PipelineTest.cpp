#include "DirectX/GPURows.h"
#include "Gpu/DeviceHooks.h"
#include "Gpu/PipelineSupport.h"
#include "Support/LogCatcher.h"

#include <map>

namespace
{

constexpr uint32_t c_arrPacked[] = {eZFCC_RGB32, eZFCC_ARGB32, eZFCC_RGB8, eZFCC_UYVY, eZFCC_HDYC, eZFCC_YUY2};
constexpr uint32_t c_arrPlanar[] = {eZFCC_NV12, eZFCC_YV12, eZFCC_I420, eZFCC_YV16, eZFCC_I422, eZFCC_Y422, eZFCC_Y444};

/// Frames copied by a processor have the same record and the same pixels.
void ExpectSame(CCopyProcessor* _pProcessor, const ZF_VID_PROPS& _vidProps)
{
    SCOPED_TRACE(VidProps_Text(&_vidProps));
    const CZPtr<CZFrame> cpFrame = Gpu_Frame(_vidProps);
    CZPtr<IZFFrame> cpResult;
    ASSERT_EQ(_pProcessor->ProcessFrameExternal(cpFrame.Get(), false, cpResult.Put()), S_OK);
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PROPS vidPropsResult = {};
    EXPECT_EQ(cpFrame->VideoPropsGet(&vidProps), S_OK);
    EXPECT_EQ(cpResult->VideoPropsGet(&vidPropsResult), S_OK);
    EXPECT_EQ(VidProps_Text(&vidPropsResult), VidProps_Text(&vidProps));
    EXPECT_TRUE(Gpu_Pixels(cpResult.Get()) == Gpu_Pixels(cpFrame.Get()));
}

/// A frame that carries a texture.
CZPtr<CZFrame> TextureFrame(ID3D11Texture2D* _pTexture, ZF_VID_PROPS _vidProps)
{
    _vidProps.nGPUFlags = eZGPU_DX11Texture;
    CZPtr<CZFrame> cpFrame;
    EXPECT_EQ(ZFrame_Create(_vidProps, cpFrame.Put()), S_OK);
    EXPECT_EQ(cpFrame->AttachmentSet(c_wszFrameTexture, _pTexture), S_OK);
    return cpFrame;
}

/// A picture of one byte for each place, uploaded; what the texture holds.
std::vector<uint8_t> Uploaded(const ZF_VID_PROPS& _vidProps, const std::vector<uint8_t>& _vecBytes, bool _bFields)
{
    const auto cpAllocator = Gpu_Allocator();
    Uploader uploader("Uploader");
    const ZF_VID_PTR vidPtr = VidPtr_Build(&_vidProps, Img_Address(const_cast<uint8_t*>(_vecBytes.data())), true);
    CZPtr<IDX11Texture> cpSurface;
    EXPECT_EQ(uploader.Upload(Gpu_Device(), &_vidProps, &vidPtr, _bFields, cpAllocator.Get(), cpSurface.Put()), S_OK);
    return Gpu_Read(Gpu_TextureIn(cpSurface.Get()).Get());
}

/// Bytes with a value for each row, four bytes each.
std::vector<uint8_t> Rows(const std::vector<int>& _vecRows)
{
    std::vector<uint8_t> vecBytes;
    for (int nRow : _vecRows)
        vecBytes.insert(vecBytes.end(), 4, static_cast<uint8_t>(nRow));
    return vecBytes;
}

} // namespace

TEST(Pipeline, GivesBackTheSameBytes)
{
    CCopyProcessor processor;
    ASSERT_EQ(processor.DeviceInit(Gpu_Device()), S_OK);
    for (uint32_t fccType : c_arrPacked)
    {
        const bool bRGB = FCC_IsRGB(fccType);
        for (bool bSplit : {false, true})
        {
            CCopyProcessor::s_bSplit = bSplit;
            const int eInterlace = bSplit ? eZI_BottomFirst : eZI_Progressive;
            for (int nHeight : bSplit ? std::vector{2, 6, 36} : std::vector{1, 2, 7, 36}) // fields have as many rows
            {
                ExpectSame(&processor, Gpu_Props(fccType, bRGB ? 1 : 2, nHeight, 0, eInterlace));
                ExpectSame(&processor, Gpu_Props(fccType, 33, nHeight, 0, eInterlace));
                ExpectSame(&processor, Gpu_Props(fccType, 64, bRGB ? -nHeight : nHeight, 512, eInterlace));
                ExpectSame(&processor, Gpu_Props(fccType, 64, nHeight, -512, eInterlace));
            }
        }
    }
    CCopyProcessor::s_bSplit = false;
    for (uint32_t fccType : c_arrPlanar)
        for (const auto& [nWidth, nHeight] : {std::pair{2, 2}, {6, 6}, {34, 10}, {64, 36}})
        {
            ExpectSame(&processor, Gpu_Props(fccType, nWidth, nHeight, 0, eZI_TopFirst));
            ExpectSame(&processor, Gpu_Props(fccType, nWidth, nHeight, 128));
        }
    processor.Close();
}

TEST(Pipeline, TexturesHoldTheTopRowFirst)
{
    const std::vector<uint8_t> vecUp = Rows({4, 3, 2, 1, 0}); // stored bottom-up: row 0 is the last
    const std::vector<uint8_t> vecDown = Rows({0, 1, 2, 3, 4});
    EXPECT_EQ(Uploaded(Gpu_Props(eZFCC_RGB32, 1, 5), vecUp, false), vecDown);
    EXPECT_EQ(Uploaded(Gpu_Props(eZFCC_RGB32, 1, -5), vecDown, false), vecDown);
    // the fields count from the picture's top row; the last row of an odd height is behind both
    EXPECT_EQ(Uploaded(Gpu_Props(eZFCC_RGB32, 1, 5), vecUp, true), Rows({0, 2, 1, 3, 4}));
    EXPECT_EQ(Uploaded(Gpu_Props(eZFCC_ARGB32, 1, -4), Rows({0, 1, 2, 3}), true), Rows({0, 2, 1, 3}));
    std::vector<int> vecRows;
    std::vector<int> vecFields;
    for (int nRow = 0; nRow < 576; ++nRow)
    {
        vecRows.push_back(nRow);
        vecFields.push_back(nRow < 288 ? nRow * 2 : (nRow - 288) * 2 + 1);
    }
    EXPECT_TRUE(Uploaded(Gpu_Props(eZFCC_UYVY, 2, 576), Rows(vecRows), true) == Rows(vecFields));
}

TEST(Pipeline, PlanesLieBelowEachOther)
{
    // planes in one block without padding lie as they lie in memory: half-width rows two and two
    for (uint32_t fccType : c_arrPlanar)
    {
        const ZF_VID_PROPS vidProps = Gpu_Props(fccType, 6, 6, 6);
        const auto cbPicture = static_cast<size_t>(VidProps_ImageSize(&vidProps));
        EXPECT_EQ(cbPicture, 6u * static_cast<size_t>(DX_TexelHeight(fccType, 6)));
        std::vector<uint8_t> vecBytes(cbPicture);
        for (size_t n = 0; n < cbPicture; ++n)
            vecBytes[n] = static_cast<uint8_t>(n * 3);
        EXPECT_EQ(Uploaded(vidProps, vecBytes, false), vecBytes);
    }
}

TEST(Pipeline, CopiesNothingBesidePixels)
{
    ZF_VID_PROPS vidProps = Gpu_Props(eZFCC_RGB32, 3, -2, 20);
    std::vector<uint8_t> vecPicture(2 * 20, 1);
    std::vector<uint8_t> vecTexels(2 * 32, 2);
    const D3D11_MAPPED_SUBRESOURCE mapped = {vecTexels.data(), 32, 0};
    const ZF_VID_PTR vidPtr = VidPtr_Build(&vidProps, Img_Address(vecPicture.data()), true);
    GPU_RowsCopy(eGPUR_Upload, vidProps, vidPtr, false, mapped);
    for (size_t n = 0; n < vecTexels.size(); ++n)
        EXPECT_EQ(vecTexels[n], n % 32 < 12 ? 1 : 2) << n;
    std::fill(vecTexels.begin(), vecTexels.end(), uint8_t{3});
    GPU_RowsCopy(eGPUR_Download, vidProps, vidPtr, false, mapped);
    for (size_t n = 0; n < vecPicture.size(); ++n)
        EXPECT_EQ(vecPicture[n], n % 20 < 12 ? 3 : 1) << n;
}

TEST(Pipeline, KeepsTheUploadTextureWhileItFits)
{
    const auto cpAllocator = Gpu_Allocator();
    const int nMore = DX_GPUType(Gpu_Device()) == eGPU_Intel ? 1 : 0; // what shaders read there is another texture
    CCallFaults calls(Gpu_Device());
    Uploader uploader("Uploader");
    std::vector<CZPtr<IDX11Texture>> vecHeld;
    const ZF_VID_PROPS vidRGB = Gpu_Props(eZFCC_RGB32, 4, -4);
    for (const auto& [vidProps, nMade] : {std::pair{vidRGB, 1 + nMore},
                                          {vidRGB, nMore},
                                          {Gpu_Props(eZFCC_UYVY, 8, 4), 1}, // the kept one would fit, but says RGB32
                                          {Gpu_Props(eZFCC_UYVY, 8, 5), 1 + nMore}})
    {
        const std::vector<uint8_t> vecBytes(128);
        const ZF_VID_PTR vidPtr = VidPtr_Build(&vidProps, Img_Address(const_cast<uint8_t*>(vecBytes.data())), true);
        calls.FailAt(0, S_OK);
        ASSERT_EQ(
            uploader.Upload(Gpu_Device(), &vidProps, &vidPtr, false, cpAllocator.Get(), vecHeld.emplace_back().Put()),
            S_OK);
        EXPECT_EQ(calls.Count("CreateTexture2D"), nMade) << VidProps_Text(&vidProps);
        ZF_VID_PROPS vidPropsSurface = {};
        EXPECT_EQ(vecHeld.back()->VideoPropsGet(&vidPropsSurface), S_OK);
        EXPECT_EQ(VidProps_Text(&vidPropsSurface), VidProps_Text(&vidProps));
    }
    uploader.Close();
    vecHeld.clear();
    cpAllocator->CacheClear();
}

TEST(Pipeline, DownloadChecksItsArguments)
{
    const auto cpAllocator = Gpu_Allocator();
    Downloader downloader("Downloader");
    const auto cpTexture = Gpu_Texture(3, 2, DXGI_FORMAT_B8G8R8A8_UNORM, std::vector<uint8_t>(24, 7));
    std::vector<uint8_t> vecMemory(24);
    ZF_VID_PROPS vidProps = Gpu_Props(eZFCC_RGB32, 3, -2);
    const ZF_VID_PTR vidPtr = VidPtr_Build(&vidProps, Img_Address(vecMemory.data()), true);
    ASSERT_EQ(downloader._Download_Tex(&vidPtr, cpTexture.Get(), &vidProps, false, cpAllocator.Get()), S_OK);
    EXPECT_EQ(vecMemory, std::vector<uint8_t>(24, 7));

    CLogCatcher log;
    EXPECT_EQ(downloader._Download_Tex(nullptr, cpTexture.Get(), &vidProps, false, cpAllocator.Get()), E_INVALIDARG);
    EXPECT_EQ(downloader._Download_Tex(&vidPtr, nullptr, &vidProps, false, cpAllocator.Get()), E_INVALIDARG);
    const ZF_VID_PROPS vidNone = {};
    EXPECT_EQ(downloader._Download_Tex(&vidPtr, cpTexture.Get(), &vidNone, false, cpAllocator.Get()), E_INVALIDARG);
    EXPECT_EQ(log.Count("Downloader::_Download_Tex: Invalid arguments!", eZLog_Error), 3u);
    for (const ZF_VID_PROPS& vidOther :
         {Gpu_Props(eZFCC_RGB32, 2, -2), Gpu_Props(eZFCC_RGB32, 3, -3), Gpu_Props(eZFCC_UYVY, 3, 2),
          Gpu_Props(eZFCC_RGB8, 3, 2), Gpu_Props(eZFCC_RGB24, 3, 2)})
        EXPECT_EQ(downloader._Download_Tex(&vidPtr, cpTexture.Get(), &vidOther, false, cpAllocator.Get()),
                  E_INVALIDARG);
    EXPECT_EQ(log.Count("Video properties and input texture description do not match!", eZLog_Error), 5u);

    for (UINT nAccess : {UINT{D3D11_CPU_ACCESS_READ}, UINT{D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE}})
    {
        D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(vidProps);
        desc.Usage = D3D11_USAGE_STAGING;
        desc.CPUAccessFlags = nAccess;
        CZPtr<ID3D11Texture2D> cpReadable;
        ASSERT_EQ(Gpu_Device()->CreateTexture2D(&desc, nullptr, cpReadable.Put()), S_OK);
        EXPECT_EQ(downloader._Download_Tex(&vidPtr, cpReadable.Get(), &vidProps, false, cpAllocator.Get()),
                  E_INVALIDARG);
    }
    EXPECT_EQ(log.Count("inDesc.CPUAccessFlags != D3D11_CPU_ACCESS_READ"), 2u);
    EXPECT_EQ(log.Count("Texture was in system memory! Using software texture for hardware operations is "
                        "unacceptable!",
                        eZLog_Error),
              2u);
    cpAllocator->CacheClear();
}

TEST(Pipeline, RefusesWhatHasNoTextureForm)
{
    CLogCatcher log;
    CCopyProcessor processor;
    ASSERT_EQ(processor.DeviceInit(Gpu_Device()), S_OK);
    size_t nRefused = 0;
    for (uint32_t fccType : {eZFCC_RGB24, eZFCC_v210, eZFCC_r210, eZFCC_YVYU})
    {
        CZPtr<IZFFrame> cpResult;
        EXPECT_EQ(processor.ProcessFrameExternal(Gpu_Frame(Gpu_Props(fccType, 48, 4)).Get(), false, cpResult.Put()),
                  E_NOTIMPL);
        EXPECT_FALSE(cpResult);
        EXPECT_EQ(log.Count("GPUProcessorBase<class CCopyProcessor>::PutFrame: Invalid FCC type of input frame!",
                            eZLog_Error),
                  ++nRefused);
    }
    EXPECT_EQ(log.Count("GPUProcessorBase<class CCopyProcessor>::ProcessFrameExternal: Failed to put frame!"),
              nRefused);
    CZPtr<IZFFrame> cpResult;
    EXPECT_EQ(processor.ProcessFrameExternal(nullptr, false, cpResult.Put()), E_INVALIDARG);
    EXPECT_EQ(processor.ProcessFrameExternal(Gpu_Frame(Gpu_Props(eZFCC_UYVY, 4, 4)).Get(), false, nullptr), E_POINTER);

    Uploader uploader("Uploader");
    CZPtr<IDX11Texture> cpSurface;
    const auto cpAllocator = Gpu_Allocator();
    const ZF_VID_PROPS vidProps = Gpu_Props(eZFCC_RGB32, 4, 4);
    const ZF_VID_PTR vidNone = {};
    EXPECT_EQ(uploader.Upload(Gpu_Device(), nullptr, &vidNone, false, cpAllocator.Get(), cpSurface.Put()),
              E_INVALIDARG);
    EXPECT_EQ(uploader.Upload(Gpu_Device(), &vidProps, &vidNone, false, cpAllocator.Get(), cpSurface.Put()),
              E_INVALIDARG);
    EXPECT_EQ(log.Count("_pVidPropsIn && IsSpecified(_pVidPropsIn) && _pbVideoIn && _ppSurfaceOut"), 2u);
    const ZF_VID_PTR vidPtr = VidPtr_Build(&vidProps, 16, false);
    for (const ZF_VID_PROPS& vidOdd : {Gpu_Props(eZFCC_NV12, 5, 4), Gpu_Props(eZFCC_I420, 4, 5),
                                       Gpu_Props(eZFCC_RGB32, 20000, 4), Gpu_Props(eZFCC_I422, 16, 9000)})
        EXPECT_EQ(uploader.Upload(Gpu_Device(), &vidOdd, &vidPtr, false, cpAllocator.Get(), cpSurface.Put()),
                  E_INVALIDARG);
    EXPECT_EQ(log.Count("Invalid input frame size!", eZLog_Error), 4u);
    uint8_t arrLuma[16 * 4] = {};
    for (const ZF_VID_PROPS& vidPlanar : {Gpu_Props(eZFCC_NV12, 16, 4), Gpu_Props(eZFCC_I420, 16, 4)})
    {
        ZF_VID_PTR vidLuma = VidPtr_Build(&vidPlanar, reinterpret_cast<intptr_t>(arrLuma), false);
        vidLuma.lpVideoPlanes[vidPlanar.fccType == eZFCC_NV12 ? 1 : 2] = 0;
        EXPECT_EQ(uploader.Upload(Gpu_Device(), &vidPlanar, &vidLuma, false, cpAllocator.Get(), cpSurface.Put()),
                  E_INVALIDARG);
    }
    EXPECT_EQ(log.Count("A plane of the input frame is missing!", eZLog_Error), 2u);
}

TEST(Pipeline, MakesNothingAnewForTheNextFrame)
{
    CCopyProcessor processor;
    ASSERT_EQ(processor.DeviceInit(Gpu_Device()), S_OK);
    CCallFaults calls(Gpu_Device());
    for (int nFrame = 0; nFrame < 6; ++nFrame)
    {
        calls.FailAt(0, S_OK);
        CZPtr<IZFFrame> cpResult;
        ASSERT_EQ(processor.ProcessFrameExternal(Gpu_Frame(Gpu_Props(eZFCC_UYVY, 64, 36)).Get(), false, cpResult.Put()),
                  S_OK);
        if (nFrame < 2)
            continue;
        for (const auto& [pszMethod, nExpected] : {std::pair{"CreateTexture2D", 0},
                                                   {"CreatePixelShader", 0},
                                                   {"D3DCompile", 0},
                                                   {"CreateSamplerState", 0},
                                                   {"CreateShaderResourceView", 1},
                                                   {"CreateRenderTargetView", 1},
                                                   {"CreateBuffer", 1},
                                                   {"CreateQuery", 1},
                                                   {"Map", 2}})
            EXPECT_EQ(calls.Count(pszMethod), nExpected) << pszMethod;
    }
}

TEST(Pipeline, FlushesWhenAsked)
{
    CCopyProcessor processor;
    ASSERT_EQ(processor.DeviceInit(Gpu_Device()), S_OK);
    int nFlushes = 0;
    {
        const CMethodHook<&ID3D11DeviceContext::Flush, 111> hook(Gpu_Context(), [&](auto _pfnOriginal, auto* _pThis) {
            ++nFlushes;
            _pfnOriginal(_pThis);
        });
        for (bool bFlush : {false, true})
        {
            CZPtr<IZFFrame> cpResult;
            EXPECT_EQ(
                processor.ProcessFrameExternal(Gpu_Frame(Gpu_Props(eZFCC_RGB8, 8, 4)).Get(), bFlush, cpResult.Put()),
                S_OK);
            EXPECT_EQ(nFlushes, bFlush ? 1 : 0);
        }
    }
}

TEST(Pipeline, WorksOnTheHostsTextures)
{
    CCopyProcessor processor;
    const ZF_VID_PROPS vidProps = Gpu_Props(eZFCC_RGB32, 8, 4); // bottom-up is a thing of memory
    std::vector<uint8_t> vecBytes(8 * 4 * 4);
    for (size_t n = 0; n < vecBytes.size(); ++n)
        vecBytes[n] = static_cast<uint8_t>(n);
    const auto cpTexture = Gpu_Texture(8, 4, DXGI_FORMAT_B8G8R8A8_UNORM, vecBytes);
    const CZPtr<CZFrame> cpFrame = TextureFrame(cpTexture.Get(), vidProps);
    cpFrame->TimeCodeSet({1, 2, 3, 4, 0});
    CZPtr<IZFFrame> cpResult;
    {
        CCallFaults calls(Gpu_Device());
        calls.FailAt(0, S_OK);
        ASSERT_EQ(processor.ProcessFrameExternal(cpFrame.Get(), false, cpResult.Put()), S_OK);
        EXPECT_EQ(calls.Count("Map"), 0) << "no pixel passes through memory";
        EXPECT_EQ(calls.Count("CreateTexture2D"), 1);
    }
    ZF_VID_PROPS vidPropsResult = {};
    EXPECT_EQ(cpResult->VideoPropsGet(&vidPropsResult), S_OK);
    EXPECT_EQ(vidPropsResult.nGPUFlags, eZGPU_DX11Texture);
    EXPECT_EQ(vidPropsResult.nHeight, -4);
    ZF_TIMECODE timeCode = {};
    EXPECT_EQ(cpResult->TimeCodeGet(&timeCode), S_OK);
    EXPECT_EQ(timeCode.nMinutes, 2);
    const CZPtr<IDX11Texture> cpTexResult = GPU_TextureOf(cpResult.Get());
    ASSERT_TRUE(cpTexResult);
    const auto cpTextureResult = Gpu_TextureIn(cpTexResult.Get());
    EXPECT_NE(cpTextureResult.Get(), cpTexture.Get());
    EXPECT_EQ(DX_DeviceOf(cpTextureResult.Get()).Get(), Gpu_Device());
    EXPECT_EQ(DX_WaitExecution(cpTextureResult.Get()), S_OK);
    EXPECT_EQ(Gpu_Read(cpTextureResult.Get()), vecBytes);

    // the result is a frame like any other: it can be put again
    CZPtr<IZFFrame> cpAgain;
    ASSERT_EQ(processor.ProcessFrameExternal(cpResult.Get(), false, cpAgain.Put()), S_OK);
    EXPECT_EQ(Gpu_Read(Gpu_TextureIn(GPU_TextureOf(cpAgain.Get()).Get()).Get()), vecBytes);

    CLogCatcher log;
    CZPtr<IZFFrame> cpRefused;
    const CZPtr<CZFrame> cpWrong = TextureFrame(cpTexture.Get(), Gpu_Props(eZFCC_RGB32, 8, 5));
    EXPECT_EQ(processor.ProcessFrameExternal(cpWrong.Get(), false, cpRefused.Put()), E_INVALIDARG);
    D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(vidProps);
    desc.ArraySize = 2;
    CZPtr<ID3D11Texture2D> cpArray;
    ASSERT_EQ(Gpu_Device()->CreateTexture2D(&desc, nullptr, cpArray.Put()), S_OK);
    EXPECT_EQ(processor.ProcessFrameExternal(TextureFrame(cpArray.Get(), vidProps).Get(), false, cpRefused.Put()),
              E_INVALIDARG);
    EXPECT_EQ(log.Count("Video properties and input texture description do not match!", eZLog_Error), 2u);
    const auto cpOther = TextureFrame(cpTexture.Get(), Gpu_Props(eZFCC_ARGB32, 8, 4));
    ASSERT_EQ(cpOther->AttachmentSet(c_wszFrameTexture, cpTexResult.Get()), S_OK);
    EXPECT_EQ(processor.ProcessFrameExternal(cpOther.Get(), false, cpRefused.Put()), E_INVALIDARG);
    EXPECT_EQ(log.Count("The frame and its texture differ in format or size!", eZLog_Error), 1u);

    // a frame in memory is taken from there, whatever is attached to it
    const auto cpMemory = Gpu_Frame(vidProps);
    ASSERT_EQ(cpMemory->AttachmentSet(c_wszFrameTexture, cpTexture.Get()), S_OK);
    CZPtr<IZFFrame> cpPlain;
    ASSERT_EQ(processor.ProcessFrameExternal(cpMemory.Get(), false, cpPlain.Put()), S_OK);
    EXPECT_TRUE(Gpu_Pixels(cpPlain.Get()) == Gpu_Pixels(cpMemory.Get()));
}

TEST(Pipeline, StaysOnItsDevice)
{
    CCopyProcessor processor;
    const auto cpOther = Gpu_OtherDevice();
    const ZF_VID_PROPS vidProps = Gpu_Props(eZFCC_ARGB32, 4, -2);
    const std::vector<uint8_t> vecBytes(4 * 2 * 4, 99);
    const auto cpTexture = Gpu_Texture(4, 2, DXGI_FORMAT_B8G8R8A8_UNORM, vecBytes, cpOther.Get());
    const CZPtr<CZFrame> cpForeign = TextureFrame(cpTexture.Get(), vidProps);
    CZPtr<IZFFrame> cpResult;
    ASSERT_EQ(processor.DeviceInit(Gpu_Device()), S_OK);
    {
        CLogCatcher log;
        EXPECT_EQ(processor.ProcessFrameExternal(cpForeign.Get(), false, cpResult.Put()), E_INVALIDARG);
        EXPECT_EQ(log.Count("m_pDX11Device->m_cpDevice.IsEqualObject(cpDeviceTex)"), 1u);
    }
    ExpectSame(&processor, Gpu_Props(eZFCC_UYVY, 4, 2));
    processor.Close();
    EXPECT_EQ(processor.ProcessFrameExternal(cpForeign.Get(), false, cpResult.Put()), S_OK);
    EXPECT_EQ(Gpu_Read(Gpu_TextureIn(GPU_TextureOf(cpResult.Get()).Get()).Get()), vecBytes);
}

TEST(Pipeline, EveryCallMayFail)
{
    // by method and how often it has been called; the upload is another one where textures are staged
    const bool bStaging = DX_GPUType(Gpu_Device()) == eGPU_Intel;
    const std::string strStage = "GPUProcessorBase<class CCopyProcessor>::";
    std::vector<std::string> vecTextures = {strStage + "Uploader::Upload: Texture not created",
                                            strStage + "Renderer::_RenderBase: Failed to create 2D texture!",
                                            strStage + "Downloader::_Download_Tex: Texture not created"};
    if (bStaging)
        vecTextures.insert(vecTextures.begin(), vecTextures[0]);
    const std::map<std::string, std::vector<std::string>> mapMessages = {
        {"CreateTexture2D", vecTextures},
        {"Map",
         {strStage + "Uploader::Upload: Failed to map texture!",
          strStage + "Downloader::_Download_Tex: Failed to map texture!"}},
        {"D3DCompile", {"Failed to compile pixel shader"}},
        {"CreatePixelShader", {"Unable to create pixel shader!"}},
        {"CreateShaderResourceView", {strStage + "Renderer::_RenderBase: Failed to create shader resource view!"}},
        {"CreateRenderTargetView", {strStage + "Renderer::_RenderBase: Failed to create render target view!"}},
        {"CreateBuffer", {strStage + "Renderer::_RenderBase: Failed to create constant buffer!"}},
        {"CreateQuery", {"cpD3DQuery"}},
    };
    const CZPtr<CZFrame> cpFrame = Gpu_Frame(Gpu_Props(eZFCC_YUY2, 16, 8));
    const std::vector<uint8_t> vecPixels = Gpu_Pixels(cpFrame.Get());
    CCallFaults faults(Gpu_Device());
    int nCall = 1;
    for (;; ++nCall)
    {
        Gpu_Context()->ClearState();
        const ULONG nRefs = Gpu_Refs(Gpu_Device());
        CCopyProcessor processor;
        faults.FailAt(0, S_OK);
        ASSERT_EQ(processor.DeviceInit(Gpu_Device()), S_OK);
        CLogCatcher log;
        CZPtr<IZFFrame> cpResult;
        faults.FailAt(nCall, E_FAIL);
        const HRESULT hr = processor.ProcessFrameExternal(cpFrame.Get(), false, cpResult.Put());
        const std::string strFailed = faults.Failed();
        if (strFailed.empty())
        {
            EXPECT_EQ(hr, S_OK);
            break;
        }
        SCOPED_TRACE(strFailed);
        EXPECT_EQ(hr, strFailed == "CreateQuery" ? E_OUTOFMEMORY : E_FAIL);
        EXPECT_FALSE(cpResult);
        ASSERT_EQ(mapMessages.count(strFailed), 1u);
        const size_t nTime = static_cast<size_t>(faults.Count(strFailed));
        ASSERT_LE(nTime, mapMessages.at(strFailed).size());
        EXPECT_EQ(log.Count(mapMessages.at(strFailed)[nTime - 1]), 1u);
        EXPECT_EQ(log.Count(strStage + "ProcessFrameExternal: Failed to ", eZLog_Error), 1u);
        faults.FailAt(0, S_OK);
        EXPECT_EQ(processor.ProcessFrameExternal(cpFrame.Get(), false, cpResult.Put()), S_OK);
        EXPECT_EQ(Gpu_Pixels(cpResult.Get()), vecPixels);
        processor.Close();
        Gpu_Context()->ClearState();
        EXPECT_EQ(Gpu_Refs(Gpu_Device()), nRefs);
    }
    EXPECT_EQ(nCall, bStaging ? 13 : 12);
}

TEST(Pipeline, StartsAfreshWhenTheDeviceIsRemoved)
{
    CCopyProcessor processor;
    const ULONG nRefs = Gpu_Refs(Gpu_Device());
    ASSERT_EQ(processor.DeviceInit(Gpu_Device()), S_OK);
    ExpectSame(&processor, Gpu_Props(eZFCC_UYVY, 16, 8));
    {
        const HOOK_REMOVEDREASON hookReason(Gpu_Device(), [](auto, auto*) { return DXGI_ERROR_DEVICE_REMOVED; });
        const HOOK_MAP hookMap(Gpu_Context(), [](auto, auto*, auto...) { return DXGI_ERROR_DEVICE_REMOVED; });
        CLogCatcher log;
        CZPtr<IZFFrame> cpResult;
        EXPECT_EQ(processor.ProcessFrameExternal(Gpu_Frame(Gpu_Props(eZFCC_UYVY, 16, 8)).Get(), false, cpResult.Put()),
                  DXGI_ERROR_DEVICE_REMOVED);
        EXPECT_FALSE(cpResult);
    }
    Gpu_Context()->ClearState();
    EXPECT_EQ(Gpu_Refs(Gpu_Device()), nRefs) << "nothing of the removed device is kept";
    ExpectSame(&processor, Gpu_Props(eZFCC_UYVY, 16, 8));
}
