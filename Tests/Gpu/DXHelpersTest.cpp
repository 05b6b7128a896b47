#include "DirectX/Device/DXHelpers.h"

#include "Base/ZPixelFormats.h"
#include "Base/ZUnknown.h"
#include "Gpu/DeviceHooks.h"
#include "Gpu/GpuEnvironment.h"
#include "Support/LogCatcher.h"
#include "Support/TestProps.h"

#include <climits>
#include <cstring>

namespace
{

/// Any object, to see references to it.
class CCounted final : public CZUnknown<IUnknown>
{
};

} // namespace

TEST(DXNamedData, IdentifiersHashTheWholeName)
{
    // Values that the authors of the hash publish.
    EXPECT_EQ(DX_DataId("a"), (GUID{0xD228CB69, 0x6F1A, 0x8CAF, {0x78, 0x91, 0x2B, 0x70, 0x4E, 0x4A, 0x89, 0x64}}));
    EXPECT_EQ(DX_DataId("foobar"),
              (GUID{0x343E1662, 0x793C, 0x64BF, {0x6F, 0x0D, 0x35, 0x97, 0xBA, 0x44, 0x6F, 0x18}}));
    EXPECT_EQ(DX_DataId("foo", "bar"), DX_DataId("foobar"));
    const std::string strLong(5000, 'x');
    EXPECT_NE(DX_DataId(strLong + "a"), DX_DataId(strLong + "b"));
    EXPECT_NE(DX_DataId(strLong), DX_DataId(strLong + "x"));
}

TEST(DXNamedData, NumbersAndObjectsComeBack)
{
    const auto cpTexture = Gpu_Texture(4, 4);
    for (IUnknown* const pHolder : {static_cast<IUnknown*>(cpTexture.Get()), static_cast<IUnknown*>(Gpu_Device())})
    {
        EXPECT_EQ(DX_DataGet(pHolder, c_svDataInCache, LONGLONG{0}), 0);
        EXPECT_EQ(DX_DataGet(pHolder, c_svDataInCache, LONGLONG{-7}), -7);
        for (const LONGLONG llValue : {LLONG_MIN, LONGLONG{0}, LLONG_MAX})
        {
            EXPECT_EQ(DX_DataSet(pHolder, c_svDataInCache, llValue), S_OK);
            EXPECT_EQ(DX_DataGet(pHolder, c_svDataInCache, LONGLONG{5}), llValue);
        }
        EXPECT_FALSE(DX_DataGet<IUnknown>(pHolder, "object"));
        const auto cpObject = CZPtr<CCounted>::Adopt(new CCounted);
        const auto cpOther = CZPtr<CCounted>::Adopt(new CCounted);
        EXPECT_EQ(DX_DataSet(pHolder, "object", cpObject.Get()), S_OK);
        EXPECT_EQ(RefsOf(cpObject.Get()), 2u);
        EXPECT_EQ(DX_DataGet<IUnknown>(pHolder, "object").Get(), cpObject.Get());
        EXPECT_EQ(RefsOf(cpObject.Get()), 2u) << "a reader's reference was lost or kept";
        EXPECT_FALSE(DX_DataGet<ID3D11Query>(pHolder, "object"));
        EXPECT_EQ(DX_DataSet(pHolder, "object", cpOther.Get()), S_OK);
        EXPECT_EQ(RefsOf(cpObject.Get()), 1u) << "the replaced object is still held";
        EXPECT_GE(DX_DataSet(pHolder, "object", nullptr), S_OK);
        EXPECT_EQ(RefsOf(cpOther.Get()), 1u);
        EXPECT_FALSE(DX_DataGet<IUnknown>(pHolder, "object"));
        EXPECT_GE(DX_DataSet(pHolder, "object", nullptr), S_OK);
    }
}

TEST(DXNamedData, RefusesWhatCannotHoldData)
{
    CZPtr<IUnknown> cpOut;
    EXPECT_EQ(DX_DataSet(nullptr, "x", LONGLONG{1}), E_INVALIDARG);
    EXPECT_EQ(DX_DataSet(nullptr, "x", Gpu_Device()), E_INVALIDARG);
    EXPECT_EQ(DX_DataGet(nullptr, "x", LONGLONG{3}), 3);
    EXPECT_EQ(DX_DataGet(nullptr, "x", IID_IUnknown, cpOut.PutVoid()), E_INVALIDARG);
    EXPECT_EQ(DX_DataGet(Gpu_Device(), "x", IID_IUnknown, nullptr), E_INVALIDARG);
    const auto cpStranger = CZPtr<CCounted>::Adopt(new CCounted);
    EXPECT_EQ(DX_DataSet(cpStranger.Get(), "x", LONGLONG{1}), E_NOINTERFACE);
    EXPECT_EQ(DX_DataGet(cpStranger.Get(), "x", LONGLONG{3}), 3);
}

TEST(DXHelpers, SizesInTexels)
{
    // formats, texel format, size in texels of 1919x1079 and of 720x576
    struct ROW
    {
        std::vector<uint32_t> vecTypes;
        DXGI_FORMAT eFormat;
        UINT arrOdd[2];
        UINT arrEven[2];
    };
    const ROW arrRows[] = {
        {{eZFCC_RGB32, eZFCC_ARGB32}, DXGI_FORMAT_B8G8R8A8_UNORM, {1919, 1079}, {720, 576}},
        {{eZFCC_UYVY, eZFCC_HDYC, eZFCC_YUY2}, DXGI_FORMAT_B8G8R8A8_UNORM, {960, 1079}, {360, 576}},
        {{eZFCC_RGB8}, DXGI_FORMAT_R8_UNORM, {1919, 1079}, {720, 576}},
        {{eZFCC_NV12, eZFCC_YV12, eZFCC_I420}, DXGI_FORMAT_R8_UNORM, {1919, 1620}, {720, 864}},
        {{eZFCC_YV16, eZFCC_I422, eZFCC_Y422, eZFCC_Y444}, DXGI_FORMAT_R8_UNORM, {1919, 2158}, {720, 1152}},
        {{eZFCC_P010}, DXGI_FORMAT_R16_UNORM, {1919, 1620}, {720, 864}},
        {{eZFCC_P210}, DXGI_FORMAT_R16_UNORM, {1919, 2158}, {720, 1152}},
    };
    size_t nWithTexture = 0;
    for (const ROW& row : arrRows)
        for (const uint32_t fccType : row.vecTypes)
        {
            SCOPED_TRACE(FCC_Name(fccType));
            const ZF_VID_PROPS vidProps = Record(fccType, 720, -576);
            D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(vidProps);
            const CD3D11_TEXTURE2D_DESC descExpected(row.eFormat, row.arrEven[0], row.arrEven[1], 1, 1, 0);
            // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): it has no padding
            EXPECT_EQ(std::memcmp(&desc, &descExpected, sizeof(desc)), 0) << DX_TextureText(&desc);
            EXPECT_TRUE(DX_TextureFits(desc, vidProps));
            EXPECT_EQ(DX_PictureHeight(fccType, static_cast<int32_t>(desc.Height)), 576);
            ++desc.Height;
            EXPECT_FALSE(DX_TextureFits(desc, vidProps));
            desc = DX_TextureDesc(Record(fccType, 1919, 1079));
            EXPECT_EQ(desc.Width, row.arrOdd[0]);
            EXPECT_EQ(desc.Height, row.arrOdd[1]);
            ++nWithTexture;
        }
    for (const PIXEL_FORMAT& format : FCC_All())
        nWithTexture -= DX_TextureDesc(Record(format.fccType, 720, 576)).Width != 0;
    EXPECT_EQ(nWithTexture, 0u) << "a format that is in no row, or none";
    for (const auto& [nWidth, nHeight] : {std::pair{0, 576}, {-720, 576}, {720, 0}, {720, INT_MIN}, {720, INT_MAX}})
    {
        const ZF_VID_PROPS vidProps = Record(eZFCC_YV16, nWidth, nHeight);
        EXPECT_EQ(DX_TextureDesc(vidProps).Width, 0u) << nWidth << "x" << nHeight;
        EXPECT_FALSE(DX_TextureFits(DX_TextureDesc(vidProps), vidProps));
    }
    CLogCatcher log;
    DX_PictureHeight(eZFCC_YV12, 1621);
    DX_PictureHeight(eZFCC_I422, 2161);
    EXPECT_EQ(log.Count("_nTexelHeight * 2 % 3 == 0"), 1u);
    EXPECT_EQ(log.Count("_nTexelHeight % 2 == 0"), 1u);
}

TEST(DXAdapter, KindsByVendor)
{
    const auto cpTexture = Gpu_Texture(4, 4);
    const std::pair<uint32_t, eGPU_Type> arrRows[] = {
        {0x10DE, eGPU_NVIDIA}, {0x8086, eGPU_Intel},  {0x163C, eGPU_Intel}, {0x1002, eGPU_AMD},
        {0x1022, eGPU_AMD},    {0x10005, eGPU_Other}, {0, eGPU_Other},
    };
    for (const auto& [nVendor, eType] : arrRows)
    {
        const auto hook = AdapterHook(Gpu_Device(), [n = nVendor](auto*, auto* _pDesc) { _pDesc->VendorId = n; });
        EXPECT_EQ(DX_GPUType(cpTexture.Get()), eType) << std::hex << nVendor;
        EXPECT_EQ(DX_GPUType(Gpu_Device()), eType);
    }
    const auto cpStranger = CZPtr<CCounted>::Adopt(new CCounted);
    EXPECT_EQ(DX_GPUType(cpStranger.Get()), eGPU_Other);
}

TEST(DXAdapter, SamenessNeedsTwo)
{
    const auto cpTexture = Gpu_Texture(4, 4);
    EXPECT_TRUE(DX_SameAdapter(cpTexture.Get(), Gpu_Device()));
    EXPECT_FALSE(DX_SameAdapter(cpTexture.Get(), nullptr));
    EXPECT_FALSE(DX_SameAdapter(nullptr, nullptr));
    EXPECT_TRUE(DX_SameObject(cpTexture.Get(), ZQuery<ID3D11Resource>(cpTexture).Get()));
    EXPECT_FALSE(DX_SameObject(cpTexture.Get(), Gpu_Device()));
    EXPECT_FALSE(DX_SameObject(nullptr, nullptr));
}
