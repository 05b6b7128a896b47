#pragma once

#include "DirectX/Device/DXTexture.h"
#include "DirectX/Pipeline/GPUStage.h"
#include "Interfaces/IZFFrame.h"

/// Brings textures back into memory. The readable copies come from the allocator's cache and go back there.
class Downloader : GPUStage
{
public:
    /// The name that it logs under.
    explicit Downloader(std::string _strName)
        : GPUStage(std::move(_strName))
    {
    }

    /// A new frame in system memory with the texture's bytes. With the size of _pFrameIn it takes over all but
    /// pixels and identity (time code, texts, attachments); else, and for masks, it is a bare frame of its memory.
    HRESULT Download(IZFFrame2* _pFrameIn, IDX11Texture* _pTexIn, const ZF_VID_PROPS& _vidPropsOut, bool _bFields,
                     IDX11Allocator* _pAllocator, IZFFrame** _ppFrameOut);
    /// A frame around the texture, for a host that works on the same device; takes over the same. E_NOTIMPL when
    /// _pFrameIn cannot make such frames.
    HRESULT _Download(IZFFrame2* _pFrameIn, IDX11Texture* _pTexIn, IZFFrame** _ppFrameOut);
    /// The texture's rows into the planes of a picture, the inverse of Upload: no byte beyond a row's pixels is
    /// written.
    HRESULT _Download_Tex(const ZF_VID_PTR* _pVideoOut, ID3D11Texture2D* _pTexIn, const ZF_VID_PROPS* _pVidPropsIn,
                          bool _bFields, IDX11Allocator* _pAllocator);

    /// \name The halves of _Download_Tex
    ///@{
    /// Records the copy into a readable texture, and waits for nothing: copies of several textures are best all
    /// recorded before the first of them is read.
    HRESULT CopyRecord(ID3D11Texture2D* _pTexIn, const ZF_VID_PROPS& _vidPropsIn, IDX11Allocator* _pAllocator,
                       IDX11Texture** _ppReadable) const;
    /// Waits for the copy, and brings its rows into the planes of a picture.
    HRESULT CopyRead(const ZF_VID_PTR& _videoOut, IDX11Texture* _pReadable, bool _bFields) const;
    ///@}

private:
    HRESULT PlainFrame(IZFFrame2* _pFrameIn, const ZF_VID_PROPS& _vidPropsOut, IZFFrame** _ppFrameOut) const;
};
