#include "Gpu/GpuEnvironment.h"

#include <cstdlib>
#include <cstring>

namespace
{

CZPtr<ID3D11Device> g_cpDevice;
CZPtr<ID3D11DeviceContext> g_cpContext;

/// Watches what each test leaves behind.
class CLeakWatch final : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo&) override
    {
        m_nRefs = RefsOf(g_cpDevice.Get());
    }
    void OnTestEnd(const testing::TestInfo&) override
    {
        g_cpContext->ClearState(); // what is bound is no leak
        g_cpContext->Flush();
        EXPECT_EQ(RefsOf(g_cpDevice.Get()), m_nRefs) << "objects of the device that the test has left behind";
    }
    ULONG m_nRefs = 0;
};

class CGpuEnvironment final : public testing::Environment
{
    void SetUp() override
    {
        CZPtr<DX11Device> cpWrapper;
        const HRESULT hr = DX11Device::Create(nullptr, cpWrapper.Put());
        ASSERT_EQ(hr, S_OK) << "no Direct3D 11 device: the GPU tests need one, software will do";
        g_cpDevice = cpWrapper->Device();
        g_cpContext = cpWrapper->Context();
        // A run that is to see another kind of adapter names its vendor.
        if (const char* const pszVendor = std::getenv("ZCK_TEST_GPU_VENDOR"))
        {
            ASSERT_EQ(DX_GPUType(g_cpDevice.Get()), std::strtoul(pszVendor, nullptr, 16));
        }
        testing::UnitTest::GetInstance()->listeners().Append(new CLeakWatch);
    }
    void TearDown() override
    {
        if (!g_cpDevice)
            return;
        g_cpContext.Reset();
        ID3D11Device* const pDevice = g_cpDevice.Detach();
        EXPECT_EQ(pDevice->Release(), 0u) << "the device outlives its last user";
    }
};

[[maybe_unused]] const testing::Environment* const g_pEnvironment =
    testing::AddGlobalTestEnvironment(new CGpuEnvironment);

} // namespace

size_t Gpu_TexelBytes(DXGI_FORMAT _eFormat)
{
    switch (_eFormat)
    {
    case DXGI_FORMAT_R8_UNORM:
    case DXGI_FORMAT_R8_UINT:
        return 1;
    case DXGI_FORMAT_R16_UINT:
    case DXGI_FORMAT_R16_SINT:
    case DXGI_FORMAT_R16_UNORM:
        return 2;
    case DXGI_FORMAT_R16G16B16A16_UINT:
    case DXGI_FORMAT_R16G16B16A16_UNORM:
        return 8;
    case DXGI_FORMAT_R32G32B32A32_UINT:
    case DXGI_FORMAT_R32G32B32A32_FLOAT:
        return 16;
    default:
        return 4;
    }
}

ID3D11Device* Gpu_Device()
{
    return g_cpDevice.Get();
}

ID3D11DeviceContext* Gpu_Context()
{
    return g_cpContext.Get();
}

CZPtr<DX11Device> Gpu_Wrapper()
{
    CZPtr<DX11Device> cpWrapper;
    EXPECT_EQ(DX11Device::Create(g_cpDevice.Get(), cpWrapper.Put()), S_OK);
    return cpWrapper;
}

CZPtr<ID3D11Device> Gpu_OtherDevice()
{
    CZPtr<DX11Device> cpWrapper;
    EXPECT_EQ(DX11Device::Create(nullptr, cpWrapper.Put()), S_OK);
    return cpWrapper ? cpWrapper->Device() : nullptr;
}

bool Gpu_IsLeftOut(size_t _nCase)
{
    static const bool s_bSample = std::getenv("ZCK_TEST_GPU_SAMPLE") != nullptr;
    return s_bSample && _nCase % 7 != 0;
}

CZPtr<ID3D11Texture2D> Gpu_Texture(uint32_t _nWidth, uint32_t _nHeight, DXGI_FORMAT _eFormat,
                                   const std::vector<uint8_t>& _vecBytes, ID3D11Device* _pDevice)
{
    const CD3D11_TEXTURE2D_DESC desc(_eFormat, _nWidth, _nHeight, 1, 1,
                                     D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET);
    const D3D11_SUBRESOURCE_DATA data = {_vecBytes.data(), static_cast<UINT>(_nWidth * Gpu_TexelBytes(_eFormat)), 0};
    CZPtr<ID3D11Texture2D> cpTexture;
    EXPECT_EQ(_pDevice->CreateTexture2D(&desc, _vecBytes.empty() ? nullptr : &data, cpTexture.Put()), S_OK);
    return cpTexture;
}

void Gpu_ComputeBind()
{
    const CD3D11_TEXTURE2D_DESC desc(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 4, 1, 1, D3D11_BIND_UNORDERED_ACCESS);
    CZPtr<ID3D11Texture2D> cpTexture;
    CZPtr<ID3D11UnorderedAccessView> cpView;
    EXPECT_EQ(g_cpDevice->CreateTexture2D(&desc, nullptr, cpTexture.Put()), S_OK);
    EXPECT_EQ(g_cpDevice->CreateUnorderedAccessView(cpTexture.Get(), nullptr, cpView.Put()), S_OK);
    ID3D11UnorderedAccessView* const pView = cpView.Get();
    g_cpContext->CSSetUnorderedAccessViews(D3D11_PS_CS_UAV_REGISTER_COUNT - 1, 1, &pView, nullptr);
    EXPECT_TRUE(Gpu_IsComputeBound());
}

bool Gpu_IsComputeBound()
{
    CZPtr<ID3D11UnorderedAccessView> cpView;
    g_cpContext->CSGetUnorderedAccessViews(D3D11_PS_CS_UAV_REGISTER_COUNT - 1, 1, cpView.Put());
    return static_cast<bool>(cpView);
}

std::vector<uint8_t> Gpu_RandomBytes(size_t _nBytes, uint32_t _nSeed)
{
    std::vector<uint8_t> vecBytes(_nBytes);
    for (uint8_t& nByte : vecBytes)
    {
        _nSeed = _nSeed * 1664525u + 1013904223u;
        nByte = static_cast<uint8_t>(_nSeed >> 24);
    }
    return vecBytes;
}

std::vector<uint8_t> Gpu_Read(ID3D11Texture2D* _pTexture)
{
    D3D11_TEXTURE2D_DESC desc = {};
    _pTexture->GetDesc(&desc);
    desc = CD3D11_TEXTURE2D_DESC(desc.Format, desc.Width, desc.Height, 1, 1, 0, D3D11_USAGE_STAGING,
                                 D3D11_CPU_ACCESS_READ);
    const auto cpDevice = DX_DeviceOf(_pTexture);
    const auto cpContext = DX_ContextOf(cpDevice.Get());
    CZPtr<ID3D11Texture2D> cpStaging;
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    std::vector<uint8_t> vecBytes;
    EXPECT_EQ(cpDevice->CreateTexture2D(&desc, nullptr, cpStaging.Put()), S_OK);
    if (!cpStaging)
        return vecBytes;
    cpContext->CopyResource(cpStaging.Get(), _pTexture);
    EXPECT_EQ(cpContext->Map(cpStaging.Get(), 0, D3D11_MAP_READ, 0, &mapped), S_OK);
    if (!mapped.pData)
        return vecBytes;
    const size_t cbRow = desc.Width * Gpu_TexelBytes(desc.Format);
    vecBytes.resize(cbRow * desc.Height);
    for (size_t nRow = 0; nRow < desc.Height; ++nRow)
        std::memcpy(&vecBytes[nRow * cbRow], static_cast<const uint8_t*>(mapped.pData) + nRow * mapped.RowPitch, cbRow);
    cpContext->Unmap(cpStaging.Get(), 0);
    return vecBytes;
}
