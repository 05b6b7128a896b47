#include "DirectX/Convert/DX11VideoProcessor.h"
#include "DirectX/Pipeline/GPURows.h"
#include "Gpu/DeviceHooks.h"
#include "Gpu/PipelineSupport.h"
#include "Support/LogCatcher.h"

namespace
{

constexpr uint32_t c_arrPacked[] = {eZFCC_RGB32, eZFCC_ARGB32, eZFCC_RGB8, eZFCC_UYVY, eZFCC_HDYC, eZFCC_YUY2};
constexpr uint32_t c_arrPlanar[] = {eZFCC_NV12, eZFCC_YV12, eZFCC_I420, eZFCC_YV16, eZFCC_I422,
                                    eZFCC_Y422, eZFCC_Y444, eZFCC_P010, eZFCC_P210};

CZPtr<IZFFrame> Process(CCopyProcessor* _pProcessor, IZFFrame* _pFrame, HRESULT _hrExpected = S_OK,
                        bool _bFlush = false)
{
    CZPtr<IZFFrame> cpResult;
    EXPECT_EQ(_pProcessor->ProcessFrameExternal(_pFrame, _bFlush, cpResult.Put()), _hrExpected);
    EXPECT_EQ(!cpResult, FAILED(_hrExpected));
    return cpResult;
}

/// Frames copied by a processor have the same record and the same pixels.
void ExpectSame(CCopyProcessor* _pProcessor, const ZF_VID_PROPS& _vidProps)
{
    SCOPED_TRACE(VidProps_Text(&_vidProps));
    const CZPtr<CZFrame> cpFrame = Gpu_Frame(_vidProps);
    const CZPtr<IZFFrame> cpResult = Process(_pProcessor, cpFrame.Get());
    ASSERT_TRUE(cpResult);
    const ZF_VID_PROPS vidProps = PropsOf(cpFrame.Get());
    const ZF_VID_PROPS vidPropsResult = PropsOf(cpResult.Get());
    EXPECT_EQ(VidProps_Text(&vidPropsResult), VidProps_Text(&vidProps));
    EXPECT_TRUE(Gpu_Pixels(cpResult.Get()) == Gpu_Pixels(cpFrame.Get()));
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
    // the fields count from the picture's top row; the last row of an odd height comes after both
    EXPECT_EQ(Uploaded(Gpu_Props(eZFCC_RGB32, 1, 5), vecUp, true), Rows({0, 2, 1, 3, 4}));
    EXPECT_EQ(Uploaded(Gpu_Props(eZFCC_ARGB32, 1, -4), Rows({0, 1, 2, 3}), true), Rows({0, 2, 1, 3}));
}

TEST(Pipeline, PlanesLieBelowEachOther)
{
    // planes in one block without padding lie as they lie in memory: half-width rows two and two
    for (uint32_t fccType : c_arrPlanar)
    {
        const ZF_VID_PROPS vidProps = Gpu_Props(fccType, 6, 6, Img_RowSize(fccType, 6));
        const auto cbPicture = static_cast<size_t>(VidProps_ImageSize(&vidProps));
        EXPECT_EQ(cbPicture, size_t{6} * static_cast<size_t>(FCC_SampleBytes(fccType) * DX_TexelHeight(fccType, 6)));
        const std::vector<uint8_t> vecBytes = Gpu_RandomBytes(cbPicture);
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
        std::vector<uint8_t> vecBytes(128);
        const ZF_VID_PTR vidPtr = VidPtr_Build(&vidProps, Img_Address(vecBytes.data()), true);
        calls.FailAt(0, S_OK);
        ASSERT_EQ(
            uploader.Upload(Gpu_Device(), &vidProps, &vidPtr, false, cpAllocator.Get(), vecHeld.emplace_back().Put()),
            S_OK);
        EXPECT_EQ(calls.Count("CreateTexture2D"), nMade) << VidProps_Text(&vidProps);
        const ZF_VID_PROPS vidPropsSurface = PropsOf(vecHeld.back().Get());
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

    const auto fnRefuses = [&](const ZF_VID_PTR* _pVidPtr, ID3D11Texture2D* _pTexture, const ZF_VID_PROPS& _vidProps,
                               const char* _pszMessage) {
        const CLogCatcher log;
        EXPECT_EQ(downloader._Download_Tex(_pVidPtr, _pTexture, &_vidProps, false, cpAllocator.Get()), E_INVALIDARG);
        EXPECT_EQ(log.Count(_pszMessage, eZLog_Error), 1u) << VidProps_Text(&_vidProps);
    };
    fnRefuses(nullptr, cpTexture.Get(), vidProps, "Downloader::_Download_Tex: Invalid arguments!");
    fnRefuses(&vidPtr, nullptr, vidProps, "Downloader::_Download_Tex: Invalid arguments!");
    fnRefuses(&vidPtr, cpTexture.Get(), {}, "Downloader::_Download_Tex: Invalid arguments!");
    for (const ZF_VID_PROPS& vidOther :
         {Gpu_Props(eZFCC_RGB32, 2, -2), Gpu_Props(eZFCC_RGB32, 3, -3), Gpu_Props(eZFCC_UYVY, 3, 2),
          Gpu_Props(eZFCC_RGB8, 3, 2), Gpu_Props(eZFCC_RGB24, 3, 2)})
        fnRefuses(&vidPtr, cpTexture.Get(), vidOther, "Video properties and input texture description do not match!");
    D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(vidProps);
    desc.Usage = D3D11_USAGE_STAGING;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
    CZPtr<ID3D11Texture2D> cpReadable;
    ASSERT_EQ(Gpu_Device()->CreateTexture2D(&desc, nullptr, cpReadable.Put()), S_OK);
    fnRefuses(&vidPtr, cpReadable.Get(), vidProps, "inDesc.CPUAccessFlags != D3D11_CPU_ACCESS_READ");
    fnRefuses(&vidPtr, cpReadable.Get(), vidProps,
              "Texture was in system memory! Using software texture for hardware operations is unacceptable!");
    cpAllocator->CacheClear();
}

TEST(Pipeline, HandsOutNothingThatFailed)
{
    const std::string strStage = "GPUProcessorBase<class CCopyProcessor>::";
    CLogCatcher log;
    CCopyProcessor processor;
    ASSERT_EQ(processor.DeviceInit(Gpu_Device()), S_OK);
    Process(&processor, Gpu_Frame(Gpu_Props(eZFCC_YVYU, 48, 4)).Get(), E_NOTIMPL);
    EXPECT_EQ(log.Count(strStage + "PutFrame: Invalid FCC type of input frame!", eZLog_Error), 1u);
    EXPECT_EQ(log.Count(strStage + "ProcessFrameExternal: Failed to put frame!"), 1u);
    Process(&processor, nullptr, E_INVALIDARG);
    const auto cpFrame = Gpu_Frame(Gpu_Props(eZFCC_UYVY, 4, 4));
    EXPECT_EQ(processor.ProcessFrameExternal(cpFrame.Get(), false, nullptr), E_POINTER);
    const HOOK_MAP hook(Gpu_Context(), [](auto _pfnOriginal, auto* _pThis, auto* _pTexture, UINT _nPart,
                                          D3D11_MAP _eMap, auto... _args) {
        return _eMap == D3D11_MAP_READ ? E_FAIL : _pfnOriginal(_pThis, _pTexture, _nPart, _eMap, _args...);
    });
    Process(&processor, cpFrame.Get(), E_FAIL);
    EXPECT_EQ(log.Count(strStage + "Downloader::Download: Failed to download frame!", eZLog_Error), 1u);
}

TEST(Pipeline, UploadChecksItsArguments)
{
    Uploader uploader("Uploader");
    CZPtr<IDX11Texture> cpSurface;
    const auto cpAllocator = Gpu_Allocator();
    const ZF_VID_PROPS vidProps = Gpu_Props(eZFCC_RGB32, 4, 4);
    const ZF_VID_PTR vidPtr = VidPtr_Build(&vidProps, 16, false);
    const auto fnRefuses = [&](const ZF_VID_PROPS* _pVidProps, const ZF_VID_PTR& _vidPtr, const char* _pszMessage) {
        const CLogCatcher log;
        EXPECT_EQ(uploader.Upload(Gpu_Device(), _pVidProps, &_vidPtr, false, cpAllocator.Get(), cpSurface.Put()),
                  E_INVALIDARG);
        EXPECT_EQ(log.Count(_pszMessage, eZLog_Error), 1u) << VidProps_Text(_pVidProps);
    };
    fnRefuses(nullptr, vidPtr, "_pVidPropsIn && IsSpecified(_pVidPropsIn) && _pbVideoIn && _ppSurfaceOut");
    fnRefuses(&vidProps, {}, "_pVidPropsIn && IsSpecified(_pVidPropsIn) && _pbVideoIn && _ppSurfaceOut");
    for (const ZF_VID_PROPS& vidOdd : {Gpu_Props(eZFCC_NV12, 5, 4), Gpu_Props(eZFCC_I420, 4, 5),
                                       Gpu_Props(eZFCC_RGB32, 20000, 4), Gpu_Props(eZFCC_I422, 16, 9000)})
        fnRefuses(&vidOdd, vidPtr, "Invalid input frame size!");
    uint8_t arrLuma[16 * 4] = {};
    for (const auto& [fccType, nPlane] : {std::pair{eZFCC_NV12, 1}, {eZFCC_I420, 2}})
    {
        const ZF_VID_PROPS vidPlanar = Gpu_Props(fccType, 16, 4);
        ZF_VID_PTR vidLacking = VidPtr_Build(&vidPlanar, Img_Address(arrLuma), false);
        vidLacking.lpVideoPlanes[nPlane] = 0;
        fnRefuses(&vidPlanar, vidLacking, "A plane of the input frame is missing!");
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
            Process(&processor, Gpu_Frame(Gpu_Props(eZFCC_RGB8, 8, 4)).Get(), S_OK, bFlush);
            EXPECT_EQ(nFlushes, bFlush ? 1 : 0);
        }
    }
}

TEST(Pipeline, WorksOnTheHostsTextures)
{
    CCopyProcessor processor;
    const ZF_VID_PROPS vidProps = Gpu_Props(eZFCC_RGB32, 8, 4); // bottom-up is a thing of memory
    const std::vector<uint8_t> vecBytes = Gpu_RandomBytes(8 * 4 * 4);
    const auto cpTexture = Gpu_Texture(8, 4, DXGI_FORMAT_B8G8R8A8_UNORM, vecBytes);
    const CZPtr<CZFrame> cpFrame = Gpu_TextureFrame(cpTexture.Get(), vidProps);
    cpFrame->TimeCodeSet({1, 2, 3, 4, 0});
    Gpu_ComputeBind();
    const CZPtr<IZFFrame> cpResult = Process(&processor, cpFrame.Get());
    ASSERT_TRUE(cpResult);
    EXPECT_FALSE(Gpu_IsComputeBound()) << "the input might be bound there";
    EXPECT_EQ(PropsOf(cpResult.Get()).nGPUFlags, eZGPU_DX11Texture);
    EXPECT_EQ(PropsOf(cpResult.Get()).nHeight, -4);
    EXPECT_EQ(TimeCodeOf(cpResult.Get()).nMinutes, 2);
    const CZPtr<IDX11Texture> cpTexResult = GPU_TextureOf(cpResult.Get());
    ASSERT_TRUE(cpTexResult);
    const auto cpTextureResult = Gpu_TextureIn(cpTexResult.Get());
    EXPECT_NE(cpTextureResult.Get(), cpTexture.Get());
    EXPECT_EQ(DX_DeviceOf(cpTextureResult.Get()).Get(), Gpu_Device());
    EXPECT_EQ(DX_WaitExecution(cpTextureResult.Get()), S_OK);
    EXPECT_EQ(Gpu_Read(cpTextureResult.Get()), vecBytes);

    // the result is a frame like any other: it can be put again
    const CZPtr<IZFFrame> cpAgain = Process(&processor, cpResult.Get());
    ASSERT_TRUE(cpAgain);
    EXPECT_EQ(Gpu_Read(Gpu_TextureIn(GPU_TextureOf(cpAgain.Get()).Get()).Get()), vecBytes);

    CLogCatcher log;
    Process(&processor, Gpu_TextureFrame(cpTexture.Get(), Gpu_Props(eZFCC_RGB32, 8, 5)).Get(), E_INVALIDARG);
    D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(vidProps);
    desc.ArraySize = 2;
    CZPtr<ID3D11Texture2D> cpArray;
    ASSERT_EQ(Gpu_Device()->CreateTexture2D(&desc, nullptr, cpArray.Put()), S_OK);
    Process(&processor, Gpu_TextureFrame(cpArray.Get(), vidProps).Get(), E_INVALIDARG);
    desc = DX_TextureDesc(vidProps);
    desc.SampleDesc.Count = 4;
    desc.BindFlags = D3D11_BIND_RENDER_TARGET | D3D11_BIND_SHADER_RESOURCE;
    CZPtr<ID3D11Texture2D> cpMultisampled;
    ASSERT_EQ(Gpu_Device()->CreateTexture2D(&desc, nullptr, cpMultisampled.Put()), S_OK);
    Process(&processor, Gpu_TextureFrame(cpMultisampled.Get(), vidProps).Get(), E_INVALIDARG);
    EXPECT_EQ(log.Count("Video properties and input texture description do not match!", eZLog_Error), 3u);
    Process(&processor, Gpu_TextureFrame(cpTexResult.Get(), Gpu_Props(eZFCC_ARGB32, 8, 4)).Get(), E_INVALIDARG);
    EXPECT_EQ(log.Count("The frame and its texture differ in format or size!", eZLog_Error), 1u);

    // a frame in memory is taken from there, whatever is attached to it
    const auto cpMemory = Gpu_Frame(vidProps);
    ASSERT_EQ(cpMemory->AttachmentSet(c_wszFrameTexture, cpTexture.Get()), S_OK);
    const CZPtr<IZFFrame> cpPlain = Process(&processor, cpMemory.Get());
    ASSERT_TRUE(cpPlain);
    EXPECT_TRUE(Gpu_Pixels(cpPlain.Get()) == Gpu_Pixels(cpMemory.Get()));
}

/// A keyed mutex that notes how it is used.
class CFakeMutex final : public CZUnknown<IDXGIKeyedMutex>
{
public:
    explicit CFakeMutex(ID3D11Texture2D* _pTexture)
        : m_hookDesc(_pTexture,
                     [](auto _pfnOriginal, auto* _pThis, D3D11_TEXTURE2D_DESC* _pDesc) {
                         _pfnOriginal(_pThis, _pDesc);
                         _pDesc->MiscFlags |= D3D11_RESOURCE_MISC_SHARED_KEYEDMUTEX;
                     })
        , m_hookQuery(_pTexture, [this](auto _pfnOriginal, auto* _pThis, REFIID _iid, void** _ppObject) {
            return _iid == IID_IDXGIKeyedMutex ? CZUnknown::QueryInterface(_iid, _ppObject)
                                               : _pfnOriginal(_pThis, _iid, _ppObject);
        })
    {
    }
    HRESULT STDMETHODCALLTYPE AcquireSync(UINT64 _nKey, DWORD) override
    {
        EXPECT_EQ(_nKey, 0u);
        m_strCalls += "acquire ";
        return m_hrAcquire;
    }
    HRESULT STDMETHODCALLTYPE ReleaseSync(UINT64 _nKey) override
    {
        EXPECT_EQ(_nKey, 0u);
        m_strCalls += "release ";
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID, UINT, const void*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID, const IUnknown*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID, UINT*, void*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetParent(REFIID, void**) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetDevice(REFIID, void**) override
    {
        return E_NOTIMPL;
    }
    HRESULT m_hrAcquire = S_OK;
    std::string m_strCalls;

private:
    HOOK_TEXTUREDESC m_hookDesc;
    HOOK_QUERY m_hookQuery;
};

TEST(Pipeline, HoldsTheKeyedMutexOfATexture)
{
    CCopyProcessor processor;
    const auto cpTexture = Gpu_Texture(8, 4, DXGI_FORMAT_B8G8R8A8_UNORM, Gpu_RandomBytes(8 * 4 * 4));
    const auto cpFrame = Gpu_TextureFrame(cpTexture.Get(), Gpu_Props(eZFCC_RGB32, 8, -4));
    const auto cpMutex = CZPtr<CFakeMutex>::Adopt(new CFakeMutex(cpTexture.Get()));
    const HOOK_DRAW hook(Gpu_Context(), [&](auto _pfnOriginal, auto* _pThis, auto... _args) {
        cpMutex->m_strCalls += "draw ";
        _pfnOriginal(_pThis, _args...);
    });
    const CLogCatcher log;
    const auto fnProcess = [&](HRESULT _hrAcquire, HRESULT _hrExpected) {
        cpMutex->m_hrAcquire = _hrAcquire;
        Process(&processor, cpFrame.Get(), _hrExpected);
        return std::exchange(cpMutex->m_strCalls, "");
    };
    EXPECT_EQ(fnProcess(S_OK, S_OK), "acquire draw release ");
    EXPECT_EQ(fnProcess(DXGI_ERROR_INVALID_CALL, S_OK), "acquire draw ") << "held by the host on this device";
    EXPECT_EQ(fnProcess(WAIT_TIMEOUT, Z_E_TIMEOUT), "acquire ");
    EXPECT_EQ(fnProcess(WAIT_ABANDONED, E_FAIL), "acquire ");
    EXPECT_EQ(log.Count("give it back with key 0", eZLog_Error), 2u);
    EXPECT_EQ(log.Count("PutFrame: The texture's keyed mutex cannot be acquired!", eZLog_Error), 2u);
}

TEST(Pipeline, DrawsUnderTheDevicesLock)
{
    int nLocks = 0;
    int nDrawn = 0;
    const auto cpProtection = ZQuery<ID3D10Multithread>(Gpu_Device());
    const HOOK_ENTER hookEnter(cpProtection.Get(), [&](auto _pfnOriginal, auto* _pThis) {
        ++nLocks;
        _pfnOriginal(_pThis);
    });
    const HOOK_LEAVE hookLeave(cpProtection.Get(), [&](auto _pfnOriginal, auto* _pThis) {
        --nLocks;
        _pfnOriginal(_pThis);
    });
    const auto fnLocked = [&](auto _pfnOriginal, auto* _pThis, auto... _args) {
        EXPECT_GT(nLocks, 0) << "others may set their state before this call";
        ++nDrawn;
        return _pfnOriginal(_pThis, _args...);
    };
    const HOOK_DRAW hookDraw(Gpu_Context(), fnLocked);
    const CMethodHook<&ID3D11DeviceContext::PSSetShader, 9> hookShader(Gpu_Context(), fnLocked);
    const CMethodHook<&ID3D11DeviceContext::OMSetRenderTargets, 33> hookTarget(Gpu_Context(), fnLocked);
    CCopyProcessor processor;
    ASSERT_EQ(processor.DeviceInit(Gpu_Device()), S_OK);
    ExpectSame(&processor, Gpu_Props(eZFCC_UYVY, 4, 2));
    EXPECT_GT(std::exchange(nDrawn, 0), 3);
    CZPtr<IDX11Texture> cpIn;
    CZPtr<IDX11Texture> cpOut;
    CZPtr<DXV11Processor> cpVideo;
    const float arrMatrix[12] = {};
    const auto cpAllocator = Gpu_Allocator();
    ASSERT_EQ(DX11Texture::CreateExternal(Gpu_Texture(4, 2).Get(), Gpu_Props(eZFCC_RGB32, 4, -2), cpIn.Put()), S_OK);
    ASSERT_EQ(DXV11Processor::Create(Gpu_Wrapper().Get(), cpVideo.Put()), S_OK);
    EXPECT_EQ(cpVideo->DXV_Convert(cpIn.Get(), nullptr, arrMatrix, eZFCC_NV12, cpAllocator.Get(), cpOut.Put()), S_OK);
    EXPECT_GT(nDrawn, 3);
    EXPECT_EQ(nLocks, 0);
}

TEST(Pipeline, StaysOnItsDevice)
{
    CCopyProcessor processor;
    const auto cpOther = Gpu_OtherDevice();
    const ZF_VID_PROPS vidProps = Gpu_Props(eZFCC_ARGB32, 4, -2);
    const std::vector<uint8_t> vecBytes(4 * 2 * 4, 99);
    const auto cpTexture = Gpu_Texture(4, 2, DXGI_FORMAT_B8G8R8A8_UNORM, vecBytes, cpOther.Get());
    const CZPtr<CZFrame> cpForeign = Gpu_TextureFrame(cpTexture.Get(), vidProps);
    ASSERT_EQ(processor.DeviceInit(Gpu_Device()), S_OK);
    {
        CLogCatcher log;
        Process(&processor, cpForeign.Get(), E_INVALIDARG);
        EXPECT_EQ(log.Count("m_pDX11Device->m_cpDevice.IsEqualObject(cpDeviceTex)"), 1u);
    }
    ExpectSame(&processor, Gpu_Props(eZFCC_UYVY, 4, 2));
    processor.Close();
    const CZPtr<IZFFrame> cpResult = Process(&processor, cpForeign.Get());
    ASSERT_TRUE(cpResult);
    EXPECT_EQ(Gpu_Read(Gpu_TextureIn(GPU_TextureOf(cpResult.Get()).Get()).Get()), vecBytes);
}
