#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Device/DXTexture.h"
#include "Gpu/DeviceHooks.h"
#include "Gpu/GpuEnvironment.h"
#include "Support/LogCatcher.h"
#include "Support/TestProps.h"

#include <algorithm>
#include <chrono>

namespace
{

/// Answers GetData with the given results in turn, the last one for ever, and counts the polls.
class CFakeGPU
{
public:
    CFakeGPU(ID3D11DeviceContext* _pContext, std::vector<HRESULT> _vecResults)
        : m_hook(_pContext,
                 [this, vecResults = std::move(_vecResults)](auto, ID3D11DeviceContext* _pThis, ID3D11Asynchronous*,
                                                             void*, UINT _nBytes, UINT _nFlags) {
                     EXPECT_EQ(_nBytes, 4u);
                     EXPECT_EQ(_nFlags, 0u) << "nobody would flush";
                     m_pContext = _pThis;
                     return vecResults[std::min<size_t>(m_nPolls++, vecResults.size() - 1)];
                 })
    {
    }
    size_t m_nPolls = 0;
    ID3D11DeviceContext* m_pContext = nullptr;

private:
    HOOK_GETDATA m_hook;
};

/// Lets textures of one device be opened on another: every handle leads to the given texture.
class CFakeSharing
{
public:
    CFakeSharing(ID3D11Texture2D* _pShared, ID3D11Device* _pDeviceLocal, HRESULT _hrOpen, IUnknown* _pOpened)
        : m_handle(ZQuery<IDXGIResource>(_pShared).Get(),
                   [](auto, IDXGIResource*, HANDLE* _phShared) {
                       *_phShared = reinterpret_cast<HANDLE>(uintptr_t{0xABC0});
                       return S_OK;
                   })
        , m_open(_pDeviceLocal, [=](auto, ID3D11Device*, HANDLE _hShared, REFIID _iid, void** _ppObject) {
            EXPECT_EQ(_hShared, reinterpret_cast<HANDLE>(uintptr_t{0xABC0}));
            return FAILED(_hrOpen) ? _hrOpen : _pOpened->QueryInterface(_iid, _ppObject);
        })
    {
    }

private:
    HOOK_SHAREDHANDLE m_handle;
    HOOK_OPENSHARED m_open;
};

constexpr char c_szDifferent[] =
    "DIFFERENT ADAPTERS - Have to use DX_TextureCopyToDevice()\nTexture belongs to another device! Copy need sync and "
    "can slow down performance!";

} // namespace

TEST(DXWait, NothingToWaitFor)
{
    const auto cpTexture = Gpu_Texture(4, 4);
    CLogCatcher log;
    EXPECT_EQ(DX_WaitExecution(cpTexture.Get()), S_OK);
    EXPECT_EQ(log.Count("NO QUERY"), 1u);
    EXPECT_EQ(DX_WaitExecution(nullptr), E_INVALIDARG);
    EXPECT_EQ(DX_QuerySet(nullptr), E_INVALIDARG);
}

TEST(DXWait, PollsUntilTheGPUIsDone)
{
    const auto cpTexture = Gpu_Texture(4, 4);
    ASSERT_EQ(DX_QuerySet(cpTexture.Get()), S_OK);
    EXPECT_EQ(DX_WaitExecution(cpTexture.Get()), S_OK) << "of the real one";
    {
        CFakeGPU gpu(Gpu_Context(), {S_FALSE, S_FALSE, S_FALSE, S_OK});
        EXPECT_EQ(DX_WaitExecution(cpTexture.Get()), S_OK);
        EXPECT_EQ(gpu.m_nPolls, 4u);
    }
    CLogCatcher log;
    {
        CFakeGPU gpu(Gpu_Context(), {S_FALSE, DXGI_ERROR_DEVICE_REMOVED});
        EXPECT_EQ(DX_WaitExecution(cpTexture.Get()), DXGI_ERROR_DEVICE_REMOVED);
        EXPECT_EQ(gpu.m_nPolls, 2u);
        EXPECT_EQ(log.Count("cpD3DContext->GetData(cpD3DQuery)=887A0005(DXGI_ERROR_DEVICE_REMOVED)", eZLog_Error), 1u);
    }
    CFakeGPU gpu(Gpu_Context(), {S_FALSE});
    const auto cpCopy = Gpu_Texture(4, 4);
    const auto tmStart = std::chrono::steady_clock::now();
    EXPECT_EQ(DX_TextureCopy(cpCopy.Get(), cpTexture.Get()), S_OK);
    const std::chrono::duration<double> tmTaken = std::chrono::steady_clock::now() - tmStart;
    EXPECT_EQ(log.Count("copies a texture", eZLog_Warning), 1u) << "it gives up waiting, not the picture";
    EXPECT_GE(tmTaken.count(), 5.0);
    EXPECT_LT(tmTaken.count(), 8.0);
    EXPECT_LT(gpu.m_nPolls, 6000u) << "it does not sleep between polls";
}

TEST(DXWait, AsksTheDeviceOfTheMarker)
{
    const auto cpWriter = Gpu_OtherDevice();
    const auto cpContextWriter = DX_ContextOf(cpWriter.Get());
    const auto cpWritten = Gpu_Texture(4, 4, DXGI_FORMAT_B8G8R8A8_UNORM, {}, cpWriter.Get());
    const auto cpTexture = Gpu_Texture(4, 4);
    ASSERT_EQ(DX_QuerySet(cpWritten.Get()), S_OK);
    const auto cpQuery = DX_DataGet<ID3D11Query>(cpWritten.Get(), c_svDataQuery);
    ASSERT_EQ(DX_DataSet(cpTexture.Get(), c_svDataQuery, cpQuery.Get()), S_OK);
    CFakeGPU gpu(cpContextWriter.Get(), {S_OK});
    EXPECT_EQ(DX_WaitExecution(cpTexture.Get()), S_OK);
    EXPECT_EQ(gpu.m_pContext, cpContextWriter.Get());
}

TEST(DXSharing, OpensTexturesOfTheSameAdapterOnly)
{
    const auto cpOther = Gpu_OtherDevice();
    const auto cpTexture = Gpu_Texture(4, 4, DXGI_FORMAT_B8G8R8A8_UNORM, {}, cpOther.Get());
    const auto cpLocal = Gpu_Texture(4, 4);
    CLogCatcher log;
    CZPtr<ID3D11Texture2D> cpResult;
    EXPECT_EQ(DX_TextureMakeCompatible(cpLocal.Get(), Gpu_Device(), cpResult.Put()), S_OK);
    EXPECT_EQ(cpResult.Get(), cpLocal.Get());
    ID3D11Texture2D* pTaken = cpLocal.Get();
    EXPECT_EQ(DX_TextureMakeCompatible(cpLocal.Get(), Gpu_Device(), &pTaken), E_INVALIDARG);
    EXPECT_EQ(DX_TextureMakeCompatible(nullptr, Gpu_Device(), cpResult.Put()), E_INVALIDARG);

    EXPECT_EQ(DX_SharedHandle(cpTexture.Get()), nullptr);
    EXPECT_EQ(DX_TextureMakeCompatible(cpTexture.Get(), Gpu_Device(), cpResult.Put()), E_FAIL);
    EXPECT_EQ(log.Count("DX_SharedHandle(4x4 Fmt:87 Mip:1 Usage:0 BindFlags:28 MiscFlags:0000) NO HANDLE"), 1u);
    {
        const CFakeSharing sharing(cpTexture.Get(), Gpu_Device(), S_OK, cpLocal.Get());
        EXPECT_EQ(DX_SharedHandle(cpTexture.Get()), reinterpret_cast<HANDLE>(uintptr_t{0xABC0}));
        EXPECT_EQ(DX_TextureMakeCompatible(cpTexture.Get(), Gpu_Device(), cpResult.Put()), S_OK);
        EXPECT_EQ(cpResult.Get(), cpLocal.Get());
        const auto cpAdapter = DX_AdapterGet(Gpu_Device());
        const auto hook = AdapterHook(Gpu_Device(), [&](IDXGIAdapter* _pAdapter, DXGI_ADAPTER_DESC* _pDesc) {
            _pDesc->AdapterLuid.HighPart = _pAdapter == cpAdapter.Get();
        });
        EXPECT_EQ(log.Count(c_szDifferent), 0u);
        EXPECT_EQ(DX_TextureMakeCompatible(cpTexture.Get(), Gpu_Device(), cpResult.Put()), E_FAIL);
        EXPECT_EQ(log.Count(c_szDifferent, eZLog_Error), 1u);
        EXPECT_FALSE(cpResult);
    }
    const CFakeSharing sharing(cpTexture.Get(), Gpu_Device(), E_ACCESSDENIED, nullptr);
    EXPECT_EQ(DX_TextureMakeCompatible(cpTexture.Get(), Gpu_Device(), cpResult.Put()), E_ACCESSDENIED);
    EXPECT_EQ(log.Count("cpDeviceLocal->OpenSharedResource(ABC0) FAILED hr=80070005", eZLog_Error), 1u);
}

TEST(DXSharing, CopiesOnceTheSourceIsDone)
{
    const std::vector<uint8_t> vecPicture = Gpu_RandomBytes(4 * 4 * 4);
    const auto cpTarget = Gpu_Texture(4, 4);
    const auto cpSource = Gpu_Texture(4, 4, DXGI_FORMAT_B8G8R8A8_UNORM, vecPicture);
    ASSERT_EQ(DX_QuerySet(cpSource.Get()), S_OK);
    EXPECT_EQ(DX_TextureCopy(cpTarget.Get(), cpSource.Get()), S_OK);
    EXPECT_EQ(Gpu_Read(cpTarget.Get()), vecPicture);
    EXPECT_TRUE(DX_DataGet<ID3D11Query>(cpTarget.Get(), c_svDataQuery)) << "others have to wait for the copy";

    CLogCatcher log;
    EXPECT_EQ(DX_TextureCopy(cpTarget.Get(), Gpu_Texture(4, 5).Get()), E_INVALIDARG);
    EXPECT_EQ(DX_TextureCopy(cpTarget.Get(), Gpu_Texture(4, 4, DXGI_FORMAT_R8_UNORM).Get()), E_INVALIDARG);
    EXPECT_EQ(DX_TextureCopy(cpTarget.Get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(DX_TextureCopy(nullptr, cpSource.Get()), E_INVALIDARG);

    // From another device: the texture that the handle leads to, but the marker of the source.
    const auto cpOther = Gpu_OtherDevice();
    const auto cpContextOther = DX_ContextOf(cpOther.Get());
    const auto cpForeign = Gpu_Texture(4, 4, DXGI_FORMAT_B8G8R8A8_UNORM, {}, cpOther.Get());
    ASSERT_EQ(DX_QuerySet(cpForeign.Get()), S_OK);
    EXPECT_EQ(DX_TextureCopy(cpTarget.Get(), cpForeign.Get()), E_FAIL);
    EXPECT_EQ(log.Count("DX_TextureMakeCompatible(To->From) FAILED hr=80004005"), 1u);
    const auto cpTarget2 = Gpu_Texture(4, 4);
    {
        const CFakeSharing sharing(cpForeign.Get(), Gpu_Device(), S_OK, cpSource.Get());
        CFakeGPU gpu(cpContextOther.Get(), {S_FALSE, S_OK});
        EXPECT_EQ(DX_TextureCopy(cpTarget2.Get(), cpForeign.Get()), S_OK);
        EXPECT_EQ(gpu.m_nPolls, 2u);
        EXPECT_EQ(gpu.m_pContext, cpContextOther.Get());
    }
    EXPECT_EQ(Gpu_Read(cpTarget2.Get()), vecPicture);
    CFakeGPU gpu(cpContextOther.Get(), {DXGI_ERROR_DEVICE_REMOVED});
    const CFakeSharing sharing(cpForeign.Get(), Gpu_Device(), S_OK, cpSource.Get());
    EXPECT_EQ(DX_TextureCopy(cpTarget2.Get(), cpForeign.Get()), DXGI_ERROR_DEVICE_REMOVED);
}

TEST(DXSharing, OpensTexturesByNTHandle)
{
    const auto cpOther = Gpu_OtherDevice();
    const auto cpTexture = Gpu_Texture(4, 4, DXGI_FORMAT_B8G8R8A8_UNORM, {}, cpOther.Get());
    const auto cpLocal = Gpu_Texture(4, 4);
    const auto cpResource = ZQuery<IDXGIResource1>(cpTexture);
    if (!cpResource)
        GTEST_SKIP() << "this Direct3D shares nothing by NT handles";
    const HOOK_TEXTUREDESC hookDesc(cpTexture.Get(), [](auto _pfnOriginal, auto* _pThis, D3D11_TEXTURE2D_DESC* _pDesc) {
        _pfnOriginal(_pThis, _pDesc);
        _pDesc->MiscFlags |= D3D11_RESOURCE_MISC_SHARED_NTHANDLE;
    });
    HANDLE hMade = nullptr;
    const HOOK_CREATEHANDLE hookCreate(cpResource.Get(), [&](auto, auto*, auto, auto, auto, HANDLE* _phShared) {
        hMade = *_phShared = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        return S_OK;
    });
    const HOOK_OPENSHARED1 hookOpen(ZQuery<ID3D11Device1>(Gpu_Device()).Get(),
                                    [&](auto, auto*, HANDLE _hShared, REFIID _iid, void** _ppObject) {
                                        EXPECT_EQ(_hShared, hMade);
                                        return cpLocal->QueryInterface(_iid, _ppObject);
                                    });
    CZPtr<ID3D11Texture2D> cpResult;
    EXPECT_EQ(DX_TextureMakeCompatible(cpTexture.Get(), Gpu_Device(), cpResult.Put()), S_OK);
    EXPECT_EQ(cpResult.Get(), cpLocal.Get());
    DWORD nFlags = 0;
    EXPECT_FALSE(GetHandleInformation(hMade, &nFlags)) << "the handle stays open";
}

TEST(DXSharing, CopiesPicturesOfOneFormat)
{
    const std::vector<uint8_t> vecPicture(4 * 4 * 4, 7);
    const std::vector<uint8_t> vecOther(4 * 4 * 4, 8);
    const auto cpFrom = Gpu_Texture(4, 4, DXGI_FORMAT_B8G8R8A8_UNORM, vecPicture);
    const auto fnPicture = [](ID3D11Texture2D* _pTexture, uint32_t _fccType) {
        CZPtr<IDX11Texture> cpPicture;
        EXPECT_EQ(DX11Texture::CreateExternal(_pTexture, Record(_fccType, 4, 4), cpPicture.Put()), S_OK);
        return cpPicture;
    };
    for (const auto& [fccTo, fccFrom, hr] : {std::tuple{eZFCC_UYVY, eZFCC_UYVY, S_OK},
                                             {eZFCC_ARGB32, eZFCC_ARGB32, S_OK},
                                             {eZFCC_UYVY, eZFCC_HDYC, E_INVALIDARG},
                                             {eZFCC_v210, eZFCC_v210, E_INVALIDARG}})
    {
        const auto cpTo = Gpu_Texture(4, 4, DXGI_FORMAT_B8G8R8A8_UNORM, vecOther);
        EXPECT_EQ(DX_TextureCopy(fnPicture(cpTo.Get(), fccTo).Get(), fnPicture(cpFrom.Get(), fccFrom).Get()), hr);
        EXPECT_EQ(Gpu_Read(cpTo.Get()) == vecPicture, hr == S_OK);
    }
}
