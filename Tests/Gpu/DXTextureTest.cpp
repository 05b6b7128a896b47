#include "DirectX/Device/DXTexture.h"

#include "Gpu/DeviceHooks.h"
#include "Gpu/PipelineSupport.h"
#include "Support/LogCatcher.h"

#include <cstring>

namespace
{

const D3D11_TEXTURE2D_DESC c_desc = {
    8, 4, 1, 1, DXGI_FORMAT_B8G8R8A8_UNORM, {1, 0}, D3D11_USAGE_DEFAULT, D3D11_BIND_SHADER_RESOURCE, 0, 0};

const ZF_VID_PROPS c_vidProps = Record(eZFCC_ARGB32, 8, -4);

CZPtr<ID3D11Texture2D> Get(IDX11Allocator* _pAllocator, uint32_t _nWidth = 8, ID3D11Device* _pDevice = Gpu_Device())
{
    D3D11_TEXTURE2D_DESC desc = c_desc;
    desc.Width = _nWidth;
    CZPtr<ID3D11Texture2D> cpTexture;
    EXPECT_EQ(_pAllocator->TextureGet(_pDevice, &desc, cpTexture.Put()), S_OK);
    return cpTexture;
}

/// A host's allocator: hands out textures that carry somebody else, or nobody, and remembers what came back.
class CHostAllocator final : public CZUnknown<IDX11Allocator>
{
public:
    HRESULT STDMETHODCALLTYPE TextureGet(ID3D11Device* _pDevice, const D3D11_TEXTURE2D_DESC* _pDesc,
                                         ID3D11Texture2D** _ppTexture) override
    {
        if (FAILED(m_hrGet))
            return m_hrGet;
        const HRESULT hr = _pDevice->CreateTexture2D(_pDesc, nullptr, _ppTexture);
        return m_cpOwner ? DX_DataSet(*_ppTexture, c_svDataAllocator, m_cpOwner.Get()) : hr;
    }
    HRESULT STDMETHODCALLTYPE TexturePut(ID3D11Texture2D* _pTexture) override
    {
        m_nPut += _pTexture != nullptr;
        return DX_DataSet(_pTexture, c_svDataAllocator, nullptr);
    }
    HRESULT STDMETHODCALLTYPE CacheClear() override
    {
        return S_OK;
    }
    HRESULT m_hrGet = S_OK;
    CZPtr<IDX11Allocator> m_cpOwner;
    int m_nPut = 0;
};

} // namespace

TEST(DXTexture, PooledGoesBackToItsAllocator)
{
    const auto cpAllocator = Gpu_Allocator();
    CZPtr<IDX11Texture> cpTexture;
    CLogCatcher log;
    ASSERT_EQ(DX11Texture::Create(cpAllocator.Get(), Gpu_Device(), &c_desc, c_vidProps, cpTexture.Put()), S_OK);
    CZPtr<IDX11Allocator> cpOwner;
    EXPECT_EQ(cpTexture->AllocatorGet(cpOwner.Put()), S_OK);
    EXPECT_EQ(cpOwner.Get(), cpAllocator.Get());
    EXPECT_EQ(PropsOf(cpTexture.Get()).nHeight, -4);
    EXPECT_EQ(cpTexture->VideoPropsGet(nullptr), E_POINTER);
    EXPECT_EQ(cpTexture->TextureGet(nullptr), E_POINTER);
    EXPECT_EQ(cpTexture->AttributesGet(nullptr), E_POINTER);
    EXPECT_EQ(cpTexture->AttributesSet(nullptr), E_POINTER);
    CZPtr<ID3D11Texture2D> cpTex2D;
    ASSERT_EQ(cpTexture->TextureGet(cpTex2D.Put()), S_OK);
    EXPECT_EQ(log.Count("_in_cache_"), 0u);

    // Its owner is not to be asked for it while it lies in the cache.
    DX_DataSet(cpTex2D.Get(), c_svDataInCache, LONGLONG{1});
    CZPtr<ID3D11Texture2D> cpTooLate;
    cpTexture->TextureGet(cpTooLate.Put());
    EXPECT_EQ(log.Count("DX_DataGet(cpTex2D, \"_in_cache_\", (LONGLONG)0) == 0"), 1u);
    cpTooLate.Reset();
    DX_DataSet(cpTex2D.Get(), c_svDataInCache, LONGLONG{0});

    cpTexture.Reset();
    EXPECT_EQ(log.Count("PUT TO CACHE (cpMFAllocator=", eZLog_Verbose), 1u);
    EXPECT_EQ(DX_DataGet(cpTex2D.Get(), c_svDataInCache, LONGLONG{0}), 1);
    ASSERT_EQ(DX11Texture::Create(cpAllocator.Get(), Gpu_Device(), &c_desc, c_vidProps, cpTexture.Put()), S_OK);
    ID3D11Texture2D* const pBefore = cpTex2D.Get();
    ASSERT_EQ(cpTexture->TextureGet(cpTex2D.Put()), S_OK);
    EXPECT_EQ(cpTex2D.Get(), pBefore);
    EXPECT_EQ(log.Count("", eZLog_Error), 1u) << "only the check of the cached texture";
}

TEST(DXTexture, ForeignIsOnlyReleased)
{
    auto cpTex2D = Gpu_Texture(8, 4);
    const ULONG nRefs = RefsOf(cpTex2D.Get());
    CLogCatcher log;
    CZPtr<IDX11Texture> cpTexture;
    ASSERT_EQ(DX11Texture::CreateExternal(cpTex2D.Get(), c_vidProps, cpTexture.Put()), S_OK);
    CZPtr<IDX11Allocator> cpOwner;
    EXPECT_EQ(cpTexture->AllocatorGet(cpOwner.Put()), HRESULT_FROM_WIN32(4306));
    cpTexture.Reset();
    EXPECT_EQ(RefsOf(cpTex2D.Get()), nRefs);
    EXPECT_EQ(log.Count("UNREF EXTERNAL (ID:0) Tex:", eZLog_Verbose), 1u);
    EXPECT_EQ(DX_DataGet(cpTex2D.Get(), c_svDataInCache, LONGLONG{0}), 0);
    EXPECT_EQ(DX11Texture::CreateExternal(nullptr, c_vidProps, cpTexture.Put()), E_INVALIDARG);
}

TEST(DXTexture, ChildSharesItsParent)
{
    const auto cpAllocator = Gpu_Allocator();
    CZPtr<IDX11Texture> cpParent;
    CZPtr<IDX11Texture> cpChild;
    ASSERT_EQ(DX11Texture::Create(cpAllocator.Get(), Gpu_Device(), &c_desc, c_vidProps, cpParent.Put()), S_OK);
    DX_PICTURE_ATTRIBUTES attributes = {};
    std::memset(attributes.arrBytes, 0x5A, sizeof(attributes.arrBytes));
    EXPECT_EQ(cpParent->AttributesSet(&attributes), S_OK);
    ASSERT_EQ(DX11Texture::CreateChild(cpParent.Get(), cpChild.Put()), S_OK);
    attributes.arrBytes[0] = 1;
    EXPECT_EQ(cpParent->AttributesSet(&attributes), S_OK);
    EXPECT_EQ(cpChild->AttributesGet(&attributes), S_OK);
    EXPECT_EQ(attributes.arrBytes[0], 0x5A) << "a copy of its own";
    EXPECT_EQ(attributes.arrBytes[47], 0x5A);
    EXPECT_EQ(PropsOf(cpChild.Get()).nWidth, 8);

    CLogCatcher log;
    CZPtr<ID3D11Texture2D> cpTex2D;
    cpParent.Reset();
    EXPECT_EQ(log.Count("PUT TO CACHE"), 0u) << "the child still uses the texture";
    ASSERT_EQ(cpChild->TextureGet(cpTex2D.Put()), S_OK);
    EXPECT_EQ(DX_DataGet(cpTex2D.Get(), c_svDataInCache, LONGLONG{0}), 0);
    cpChild.Reset();
    EXPECT_EQ(log.Count("UNREF PARENT:", eZLog_Verbose), 1u);
    EXPECT_EQ(log.Count("PUT TO CACHE", eZLog_Verbose), 1u);
    EXPECT_EQ(DX11Texture::CreateChild(nullptr, cpChild.Put()), E_INVALIDARG);
}

TEST(DXTexture, HostsAllocatorsAreHeldToTheirWord)
{
    const auto cpHost = CZPtr<CHostAllocator>::Adopt(new CHostAllocator);
    CZPtr<IDX11Texture> cpTexture;
    CLogCatcher log;
    // One that says nothing about its textures gets them back all the same.
    ASSERT_EQ(DX11Texture::Create(cpHost.Get(), Gpu_Device(), &c_desc, c_vidProps, cpTexture.Put()), S_OK);
    cpTexture.Reset();
    EXPECT_EQ(cpHost->m_nPut, 1);
    cpHost->m_cpOwner = Gpu_Allocator();
    EXPECT_EQ(DX11Texture::Create(cpHost.Get(), Gpu_Device(), &c_desc, c_vidProps, cpTexture.Put()), E_UNEXPECTED);
    cpHost->m_hrGet = E_OUTOFMEMORY;
    EXPECT_EQ(DX11Texture::Create(cpHost.Get(), Gpu_Device(), &c_desc, c_vidProps, cpTexture.Put()), E_OUTOFMEMORY);
    EXPECT_EQ(DX11Texture::Create(cpHost.Get(), Gpu_Device(), nullptr, c_vidProps, cpTexture.Put()), E_INVALIDARG);

    // Whoever takes the allocator's name off a texture leaves it without a way back.
    cpHost->m_hrGet = S_OK;
    cpHost->m_cpOwner.Reset();
    ASSERT_EQ(DX11Texture::Create(cpHost.Get(), Gpu_Device(), &c_desc, c_vidProps, cpTexture.Put()), S_OK);
    CZPtr<ID3D11Texture2D> cpTex2D;
    cpTexture->TextureGet(cpTex2D.Put());
    DX_DataSet(cpTex2D.Get(), c_svDataAllocator, nullptr);
    cpTexture.Reset();
    EXPECT_EQ(log.Count("(((HRESULT)(hr)) >= 0)"), 1u);
}

TEST(DXAllocator, HandsOutWhatFitsAndMarksIt)
{
    const auto cpAllocator = Gpu_Allocator();
    const auto cpOtherDevice = Gpu_OtherDevice();
    auto cpTexture = Get(cpAllocator.Get());
    ASSERT_EQ(DX_QuerySet(cpTexture.Get()), S_OK);
    EXPECT_EQ(cpAllocator->TexturePut(cpTexture.Get()), S_OK);
    EXPECT_EQ(DX_DataGet(cpTexture.Get(), c_svDataInCache, LONGLONG{0}), 1);
    EXPECT_FALSE(DX_DataGet<IDX11Allocator>(cpTexture.Get(), c_svDataAllocator)) << "the two hold each other";
    EXPECT_EQ(cpAllocator->TexturePut(cpTexture.Get()), E_INVALIDARG) << "twice in the cache";
    EXPECT_EQ(cpAllocator->TexturePut(Gpu_Texture(8, 4).Get()), E_INVALIDARG);
    EXPECT_EQ(cpAllocator->TexturePut(Get(Gpu_Allocator().Get()).Get()), E_INVALIDARG);
    EXPECT_EQ(cpAllocator->TexturePut(nullptr), E_POINTER);

    EXPECT_NE(Get(cpAllocator.Get(), 9).Get(), cpTexture.Get());
    const auto cpOther = Get(cpAllocator.Get(), 8, cpOtherDevice.Get());
    EXPECT_NE(cpOther.Get(), cpTexture.Get());
    EXPECT_EQ(DX_DeviceOf(cpOther.Get()).Get(), cpOtherDevice.Get());
    const auto cpAgain = Get(cpAllocator.Get());
    EXPECT_EQ(cpAgain.Get(), cpTexture.Get());
    EXPECT_EQ(DX_DataGet(cpAgain.Get(), c_svDataInCache, LONGLONG{7}), 0);
    EXPECT_FALSE(DX_DataGet<ID3D11Query>(cpAgain.Get(), c_svDataQuery)) << "a marker of its earlier life";
    EXPECT_EQ(DX_DataGet<IDX11Allocator>(cpAgain.Get(), c_svDataAllocator).Get(), cpAllocator.Get());
    EXPECT_NE(Get(cpAllocator.Get()).Get(), cpAgain.Get()) << "handed out twice";

    CLogCatcher log;
    CZPtr<ID3D11Texture2D> cpNone;
    const D3D11_TEXTURE2D_DESC descBad = {};
    EXPECT_LT(cpAllocator->TextureGet(Gpu_Device(), &descBad, cpNone.Put()), 0);
    EXPECT_EQ(log.Count("CreateTexture2D(NULL/EMPTY) FAILED"), 1u);
    EXPECT_EQ(cpAllocator->TextureGet(nullptr, &c_desc, cpNone.Put()), E_INVALIDARG);
}

TEST(DXAllocator, KeepsSoManyAndDropsTheOldest)
{
    const ULONG nRefs = RefsOf(Gpu_Device());
    const auto cpAllocator = Gpu_Allocator();
    constexpr uint32_t c_nTextures = CDX11Allocator::c_nTexturesMax + 2;
    {
        std::vector<CZPtr<ID3D11Texture2D>> vecOwned;
        for (uint32_t n = 0; n < c_nTextures; ++n)
            vecOwned.push_back(Get(cpAllocator.Get(), 8 + n));
        for (const auto& cpTexture : vecOwned)
            EXPECT_EQ(cpAllocator->TexturePut(cpTexture.Get()), S_OK);
    }
    CCallFaults faults(Gpu_Device());
    for (uint32_t n = 0; n < c_nTextures; ++n)
    {
        faults.FailAt(0, S_OK);
        const auto cpTexture = Get(cpAllocator.Get(), 8 + n);
        EXPECT_EQ(faults.Count("CreateTexture2D"), n < 2 ? 1 : 0) << n;
    }
    const auto cpKept = Get(cpAllocator.Get());
    EXPECT_EQ(cpAllocator->TexturePut(cpKept.Get()), S_OK);
    EXPECT_EQ(cpAllocator->CacheClear(), S_OK);
    EXPECT_EQ(RefsOf(cpKept.Get()), 1u);
    EXPECT_EQ(RefsOf(Gpu_Device()), nRefs + 1);
}

TEST(DXAllocator, ForgetsADeviceThatIsGone)
{
    const auto cpAllocator = Gpu_Allocator();
    const auto cpCached = Get(cpAllocator.Get());
    const auto cpInUse = Get(cpAllocator.Get());
    EXPECT_EQ(cpAllocator->TexturePut(cpCached.Get()), S_OK);
    EXPECT_EQ(RefsOf(cpCached.Get()), 2u);
    CLogCatcher log;
    const HOOK_REMOVEDREASON hook(Gpu_Device(), [](auto...) { return DXGI_ERROR_DEVICE_HUNG; });
    CZPtr<ID3D11Texture2D> cpTexture;
    EXPECT_EQ(cpAllocator->TextureGet(Gpu_Device(), &c_desc, cpTexture.Put()), DXGI_ERROR_DEVICE_HUNG);
    EXPECT_EQ(log.Count("GetDeviceRemovedReason()=887A0006", eZLog_Error), 1u);
    EXPECT_EQ(RefsOf(cpCached.Get()), 1u);
    EXPECT_EQ(cpAllocator->TexturePut(cpInUse.Get()), S_FALSE);
    EXPECT_FALSE(DX_DataGet<IDX11Allocator>(cpInUse.Get(), c_svDataAllocator)) << "it would keep its allocator";
    EXPECT_EQ(RefsOf(cpInUse.Get()), 1u);
}
