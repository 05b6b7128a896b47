#include "Soak/TextureHost.h"

#include "DirectX/Device/DXPicture.h"
#include "DirectX/Device/DXTexture.h"
#include "Kit/HostError.h"
#include "Kit/Result.h"

#include "Base/ZLog.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZPixelNames.h"
#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{

/// Textures of other formats are refused (Docs/GPU.md).
constexpr uint32_t c_arrTextureFormats[] = {
    eZFCC_RGB32, eZFCC_ARGB32, eZFCC_UYVY, eZFCC_HDYC, eZFCC_YUY2, eZFCC_NV12,
    eZFCC_I420,  eZFCC_YV12,   eZFCC_I422, eZFCC_YV16, eZFCC_P010, eZFCC_P210,
};

/// All planes from the picture's top, one below the other without padding: as they lie in a texture.
std::vector<uint8_t> BytesOf(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps)
{
    ZF_VID_PTR vidPtr = {};
    Result_Check(_pFrame->VideoPtrGet(eZFP_Flip, &vidPtr), "looking at the pixels of a frame");
    std::vector<uint8_t> vecBytes;
    for (int nPlane = 0; nPlane < 4 && vidPtr.lpVideoPlanes[nPlane]; ++nPlane)
    {
        const ZF_SIZE& size = vidPtr.szVideoPlanes[nPlane];
        const int64_t cbRow = nPlane ? int64_t{size.cx} * FCC_SampleBytes(_vidProps.fccType)
                                     : Img_RowBytesUsed(_vidProps.fccType, _vidProps.nWidth);
        for (int y = 0; y < size.cy; ++y)
        {
            const uint8_t* const pRow = Img_RowOf(vidPtr, nPlane, y);
            vecBytes.insert(vecBytes.end(), pRow, pRow + cbRow);
        }
    }
    return vecBytes;
}

class CZTextureHostDX11 final : public CZTextureHost
{
public:
    CZTextureHostDX11()
    {
        CZTextureHostDX11::DeviceReplace();
    }

    void DeviceReplace() override
    {
        m_cpContext.Reset();
        m_cpDevice.Reset();
        const auto pfnCreate = DX_Functions().pfnD3D11CreateDevice;
        Result_Check(pfnCreate ? pfnCreate(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, D3D11_CREATE_DEVICE_BGRA_SUPPORT,
                                           nullptr, 0, D3D11_SDK_VERSION, m_cpDevice.Put(), nullptr, m_cpContext.Put())
                               : E_NOTIMPL,
                     "making a Direct3D device for textures");
        // The plug-in draws on its own thread beside calls of this one, from the first frame on.
        ZQuery<ID3D10Multithread>(m_cpContext)->SetMultithreadProtected(TRUE);
    }

    CZPtr<IZFFrame> FrameMake(IZFFrame2* _pFrame, bool _bMutex) override
    {
        ZF_VID_PROPS vidProps = {};
        Result_Check(_pFrame->VideoPropsGet(&vidProps), "looking at a frame");
        if (std::ranges::find(c_arrTextureFormats, vidProps.fccType) == std::end(c_arrTextureFormats))
            return {};
        const CZPtr<ID3D11Texture2D> cpTexture = TextureMake(vidProps, _bMutex);
        Write(cpTexture.Get(), BytesOf(_pFrame, vidProps));
        CZPtr<IZFFrame> cpFrame;
        vidProps.nRowBytes = 0;
        vidProps.nGPUFlags = eZGPU_DX11Texture;
        Result_Check(_pFrame->FrameCreate(&vidProps, cpFrame.Put()), "making a frame for a texture");
        Result_Check(cpFrame->AttachmentSet(c_wszFrameTexture, cpTexture.Get()), "attaching a texture");
        return cpFrame;
    }

    void Read(IZFFrame* _pFrame, PICTURE& _picture) override
    {
        const CZPtr<ID3D11Texture2D> cpTexture = TextureOf(_pFrame);
        const auto cpDevice = DX_DeviceOf(cpTexture.Get()); // the one before, perhaps
        const auto cpContext = DX_ContextOf(cpDevice.Get());
        D3D11_TEXTURE2D_DESC desc = {};
        cpTexture->GetDesc(&desc);
        desc = CD3D11_TEXTURE2D_DESC(desc.Format, desc.Width, desc.Height, 1, 1, 0, D3D11_USAGE_STAGING,
                                     D3D11_CPU_ACCESS_READ);
        CZPtr<ID3D11Texture2D> cpStaging;
        D3D11_MAPPED_SUBRESOURCE mapped = {};
        Result_Check(cpDevice->CreateTexture2D(&desc, nullptr, cpStaging.Put()), "making a texture to read from");
        cpContext->CopyResource(cpStaging.Get(), cpTexture.Get());
        Result_Check(cpContext->Map(cpStaging.Get(), 0, D3D11_MAP_READ, 0, &mapped), "reading a texture");
        _picture.Resize(static_cast<int>(desc.Width), static_cast<int>(desc.Height), 4);
        for (int y = 0; y < _picture.nHeight; ++y)
            std::memcpy(_picture.Row(y), static_cast<const uint8_t*>(mapped.pData) + size_t{mapped.RowPitch} * y,
                        _picture.RowBytes());
        _picture.bAlpha = true;
        cpContext->Unmap(cpStaging.Get(), 0);
    }

private:
    CZPtr<ID3D11Texture2D> TextureMake(const ZF_VID_PROPS& _vidProps, bool _bMutex)
    {
        D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(_vidProps);
        desc.BindFlags = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET;
        desc.MiscFlags = _bMutex ? D3D11_RESOURCE_MISC_SHARED_KEYEDMUTEX : 0;
        CZPtr<ID3D11Texture2D> cpTexture;
        Result_Check(m_cpDevice->CreateTexture2D(&desc, nullptr, cpTexture.Put()), "making a texture");
        return cpTexture;
    }
    /// A keyed mutex is held meanwhile, and given back with the key that the plug-in takes it with.
    void Write(ID3D11Texture2D* _pTexture, const std::vector<uint8_t>& _vecBytes)
    {
        D3D11_TEXTURE2D_DESC desc = {};
        _pTexture->GetDesc(&desc);
        const auto cpMutex = desc.MiscFlags ? ZQuery<IDXGIKeyedMutex>(_pTexture) : nullptr;
        if (desc.MiscFlags)
            Result_Check(cpMutex ? cpMutex->AcquireSync(0, INFINITE) : E_NOINTERFACE, "acquiring a texture");
        m_cpContext->UpdateSubresource(_pTexture, 0, nullptr, _vecBytes.data(),
                                       static_cast<UINT>(_vecBytes.size() / desc.Height), 0);
        if (cpMutex)
            Result_Check(cpMutex->ReleaseSync(0), "releasing a texture");
    }
    static CZPtr<ID3D11Texture2D> TextureOf(IZFFrame* _pFrame)
    {
        CZPtr<IUnknown> cpAttached;
        CZPtr<ID3D11Texture2D> cpTexture;
        ZF_VID_PROPS vidProps = {};
        Result_Check(_pFrame->VideoPropsGet(&vidProps), "looking at a result");
        Result_Check(_pFrame->AttachmentGet(c_wszFrameTexture, cpAttached.Put()), "looking for a result's texture");
        const auto cpPicture = ZQuery<IDX11Texture>(cpAttached);
        if (!cpPicture || vidProps.fccType != eZFCC_ARGB32)
            throw CZHostError(ZFormat("the result of a frame in a texture is a frame of %s%s instead of ARGB32 in one",
                                      FCC_Name(vidProps.fccType), cpPicture ? "" : " in memory"));
        Result_Check(cpPicture->TextureGet(cpTexture.Put()), "looking at a result's texture");
        return cpTexture;
    }

    CZPtr<ID3D11Device> m_cpDevice;
    CZPtr<ID3D11DeviceContext> m_cpContext;
};

} // namespace

std::unique_ptr<CZTextureHost> TextureHost_Make()
{
    return std::make_unique<CZTextureHostDX11>();
}
