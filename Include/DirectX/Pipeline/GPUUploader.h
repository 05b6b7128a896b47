#pragma once

#include "DirectX/Device/DXTexture.h"
#include "DirectX/Pipeline/GPUStage.h"

/// Uploads pictures into textures. One upload texture is kept as long as it fits.
///
/// Adapters of the Intel row get a STAGING texture, every other one a DYNAMIC one bound as shader resource. A staging
/// texture is copied into one that shaders can read.
class Uploader : GPUStage
{
public:
    /// The name that it logs under.
    explicit Uploader(std::string _strName)
        : GPUStage(std::move(_strName))
    {
    }

    /// The picture's rows, top row first, all planes of planar formats in one tall texture. The texture handed out
    /// holds the picture until the next upload.
    ///
    /// _pVidPtrIn: planes walked top-down (VideoPtrGet with eZFP_Flip). _bFields: rows 0, 2, 4 ... into the upper half,
    /// rows 1, 3, 5 ... into the lower half, a last row of an odd height after both; not for planar formats.
    /// E_INVALIDARG for missing arguments (asserted); E_NOTIMPL for a format without texture form.
    HRESULT Upload(ID3D11Device* _pDevice, const ZF_VID_PROPS* _pVidPropsIn, const ZF_VID_PTR* _pVidPtrIn,
                   bool _bFields, IDX11Allocator* _pAllocator, IDX11Texture** _ppSurfaceOut);
    /// Gives the kept texture back.
    void Close();

private:
    HRESULT TextureMake(ID3D11Device* _pDevice, const ZF_VID_PROPS& _vidProps, IDX11Allocator* _pAllocator);
    HRESULT RowsWrite(ID3D11DeviceContext* _pContext, const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr,
                      bool _bFields, ID3D11Texture2D* _pTexture) const;
    HRESULT StagingCopy(ID3D11Device* _pDevice, const ZF_VID_PROPS& _vidProps, IDX11Allocator* _pAllocator,
                        IDX11Texture** _ppSurfaceOut) const;

    CZPtr<IDX11Texture> m_cpTexUpload;
};
