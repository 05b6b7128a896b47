#pragma once

#include "DirectX/DXDevice.h"
#include "DirectX/DXTexture.h"
#include "Interfaces/IZFFrame.h"

/// The name under which a frame in a texture carries it: an IDX11Texture, or an ID3D11Texture2D.
inline constexpr wchar_t c_wszFrameTexture[] = L"texture";

/// Uploads pictures into textures. One upload texture is kept as long as it fits.
///
/// Adapters of the Intel row get a STAGING texture, every other one a DYNAMIC one bound as shader resource: on the
/// former, mapping a dynamic texture is the slower way. A staging texture is copied into one that shaders can read.
class Uploader
{
public:
    /// The picture's rows, top row first. _bFields: even rows into the upper half, odd ones into the lower half.
    /// _pVidPtr: planes walked top-down (VideoPtrGet with eZFP_Flip).
    HRESULT Upload(DX11Device* _pDevice, const ZF_VID_PROPS* _pVidPropsIn, const ZF_VID_PTR* _pVidPtr, bool _bFields,
                   IDX11Allocator* _pAllocator, IDX11Texture** _ppSurfaceOut);
    void Close();

private:
    CZPtr<IDX11Texture> m_cpTexUpload;
};

/// Brings textures back into memory.
class Downloader
{
public:
    /// A new frame in system memory of the given properties, made from _pFrameIn's memory, with the texture's bytes.
    HRESULT Download(IZFFrame2* _pFrameIn, IDX11Texture* _pTexIn, const ZF_VID_PROPS& _vidPropsOut, bool _bFields,
                     IDX11Allocator* _pAllocator, IZFFrame** _ppFrameOut);
    /// A frame around the texture, for a host that works on the same device.
    HRESULT _Download(IZFFrame2* _pFrameIn, IDX11Texture* _pTexIn, IZFFrame** _ppFrameOut);
    /// The texture's rows into the planes of a picture, the inverse of Upload.
    HRESULT _Download_Tex(const ZF_VID_PTR* _pVideoOut, ID3D11Texture2D* _pTexIn, const ZF_VID_PROPS* _pVidPropsIn,
                          bool _bFields, IDX11Allocator* _pAllocator);
};
