#include "ZChromaKey/Engine1/Gpu/GPUKeyResult.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "DirectX/Device/DXHelpers.h"
#include "ZChromaKey/Work/Kernels/PlaneKernels.h"

#include <cstdlib>
#include <cstring>

namespace
{

HRESULT LogIfFailed(const char* _pszMessage, HRESULT _hr)
{
    if (FAILED(_hr))
        ZLog(eZLog_Error, "GPUChromaKey::GetFrame: %hs hr=%08X\n", _pszMessage, _hr);
    return _hr;
}

/// A row of plane 0, counted as its stride says.
uint8_t* RowOf(const ZF_VID_PTR& _vidPtr, int64_t _nRow)
{
    const int64_t nAddress = _vidPtr.lpVideoPlanes[0] + _nRow * _vidPtr.cbVideoRowBytes[0];
    return reinterpret_cast<uint8_t*>(static_cast<intptr_t>(nAddress)); // NOLINT(performance-no-int-to-ptr)
}

/// The picture of a result, top row first, to be written.
HRESULT PictureOf(IZFFrame* _pFrame, ZF_VID_PTR* _pVidPtr)
{
    const HRESULT hr = _pFrame->VideoPtrGet(eZFP_Flip | eZFP_Write, _pVidPtr);
    return SUCCEEDED(hr) && !_pVidPtr->lpVideoPlanes[0] ? E_UNEXPECTED : hr;
}

/// The bytes after the rows of a mask are 255.
void MaskRowsEnd(const ZF_VID_PTR& _vidPtrMask)
{
    const ZF_SIZE& size = _vidPtrMask.szVideoPlanes[0];
    for (int32_t nRow = 0; nRow < size.cy; ++nRow)
        std::memset(RowOf(_vidPtrMask, nRow) + size.cx, 255,
                    static_cast<size_t>(_vidPtrMask.cbVideoRowBytes[0] - size.cx));
}

/// Calls _pfnRow with each row of two pictures of one size.
template <class Row>
void ForRows(const ZF_VID_PTR& _vidPtrTo, const ZF_VID_PTR& _vidPtrFrom, const ZF_SIZE& _size, Row _pfnRow)
{
    for (int32_t nRow = 0; nRow < _size.cy; ++nRow)
        _pfnRow(RowOf(_vidPtrTo, nRow), RowOf(_vidPtrFrom, nRow), static_cast<size_t>(_size.cx));
}

} // namespace

CGPUKeyResult::CGPUKeyResult(const GPU_KEY_RENDERED& _rendered, Downloader* _pDownloader,
                             std::vector<CZPtr<IZFFrame>>* _pvecFrames)
    : m_rendered(_rendered)
    , m_pDownloader(_pDownloader)
    , m_pvecFrames(_pvecFrames)
{
}

HRESULT CGPUKeyResult::Make(IZFFrame** _ppFrameRes)
{
    HRESULT hr = CopiesRecord();
    if (FAILED(hr))
        return hr;
    CZPtr<IZFFrame> cpFrameRes; // while the GPU works
    hr = FrameMake(cpFrameRes.Put());
    m_pvecFrames->push_back(cpFrameRes);
    if (SUCCEEDED(hr) && !cpFrameRes)
        hr = E_UNEXPECTED;
    if (SUCCEEDED(hr))
        hr = FrameFill(cpFrameRes.Get());
    if (SUCCEEDED(hr))
        hr = MaskAttach(cpFrameRes.Get());
    if (SUCCEEDED(hr))
        *_ppFrameRes = cpFrameRes.Detach();
    return hr;
}

/// Has everything copied that is brought back, before anything is waited for.
HRESULT CGPUKeyResult::CopiesRecord()
{
    const bool bPacked = m_rendered.plan.eResult == eGR_Packed;
    HRESULT hr = CopyRecord(bPacked ? m_rendered.pTexPacked : m_rendered.pTexPicture, &m_cpReadablePicture);
    if (FAILED(hr))
        return LogIfFailed("Unable to convert GPU frame to CPU frame!", hr);
    hr = CopyRecord(m_rendered.pTexMask, &m_cpReadableMask);
    return LogIfFailed("Unable to convert GPU mask to CPU mask!", hr);
}

/// What the texture is said to hold counts, so that a mask of four pixels a texel comes as RGB32.
HRESULT CGPUKeyResult::CopyRecord(IDX11Texture* _pTextureOrNull, CZPtr<IDX11Texture>* _pcpReadable) const
{
    if (!_pTextureOrNull)
        return S_OK;
    ZF_VID_PROPS vidProps = {};
    CZPtr<ID3D11Texture2D> cpTexture;
    HRESULT hr = _pTextureOrNull->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr))
        hr = _pTextureOrNull->TextureGet(cpTexture.Put());
    return SUCCEEDED(hr)
               ? m_pDownloader->CopyRecord(cpTexture.Get(), vidProps, m_rendered.pAllocator, _pcpReadable->Put())
               : hr;
}

/// The result frame: with its colours where they are the input's, else with a picture to be filled.
HRESULT CGPUKeyResult::FrameMake(IZFFrame** _ppFrameRes)
{
    ZF_VID_PROPS vidProps = {};
    HRESULT hr = m_rendered.pFrameOriginal->VideoPropsGet(&vidProps);
    if (FAILED(hr))
        return hr;
    const bool bARGB = vidProps.fccType == eZFCC_ARGB32;
    switch (m_rendered.plan.eResult)
    {
    case eGR_ARGB:
        if (m_rendered.plan.eInput == eGI_CPUARGB) // has been converted for us alone
            return m_rendered.pFrameIn->QueryInterface(IID_IZFFrame, reinterpret_cast<void**>(_ppFrameRes));
        return LogIfFailed("Failed to convert to ARGB!",
                           bARGB ? m_rendered.pFrameOriginal->FrameClone(eZFC_Converted, _ppFrameRes)
                                 : m_rendered.pFrameOriginal->FrameConvert(eZFC_Converted, eZFCC_ARGB32, _ppFrameRes));
    case eGR_Picture:
        return m_rendered.plan.bARGB && !bARGB
                   ? m_rendered.pFrameOriginal->FrameConvert(eZFC_Renewed, eZFCC_ARGB32, _ppFrameRes)
                   : FrameRenew(vidProps, _ppFrameRes);
    case eGR_Packed:
        return FrameRenew(vidProps, _ppFrameRes);
    default:
        return m_rendered.pFrameOriginal->FrameClone(eZFC_Cloned, _ppFrameRes);
    }
}

/// A frame of the original's form for pixels that all come from the GPU. New frames are top-down; a bottom-up one
/// there is only as a copy of the original, whose pixels are copied in vain.
HRESULT CGPUKeyResult::FrameRenew(const ZF_VID_PROPS& _vidProps, IZFFrame** _ppFrameRes)
{
    ZF_VID_PROPS vidProps = {};
    CZPtr<IZFFrame> cpFrame;
    if (!VidProps_IsBottomUp(&_vidProps) &&
        SUCCEEDED(m_rendered.pFrameOriginal->FrameConvert(eZFC_Renewed, _vidProps.fccType, cpFrame.Put())) && cpFrame)
    {
        if (SUCCEEDED(cpFrame->VideoPropsGet(&vidProps)) && vidProps.fccType == _vidProps.fccType &&
            vidProps.nWidth == _vidProps.nWidth && vidProps.nHeight == _vidProps.nHeight)
        {
            *_ppFrameRes = cpFrame.Detach();
            return S_OK;
        }
        m_pvecFrames->push_back(cpFrame);
    }
    return m_rendered.pFrameOriginal->FrameClone(eZFC_Converted, _ppFrameRes);
}

/// Brings the rendered picture into the result.
HRESULT CGPUKeyResult::FrameFill(IZFFrame* _pFrameRes)
{
    if (!m_cpReadablePicture)
        return S_OK;
    ZF_VID_PTR vidPtr = {};
    HRESULT hr = PictureOf(_pFrameRes, &vidPtr);
    if (SUCCEEDED(hr))
        hr = m_pDownloader->CopyRead(vidPtr, m_cpReadablePicture.Get(), false);
    return LogIfFailed("Unable to convert GPU frame to CPU frame!", hr);
}

/// A mask frame for the result, without pixels yet.
HRESULT CGPUKeyResult::MaskMake(IZFFrame** _ppMask, ZF_VID_PTR* _pVidPtr)
{
    ZF_VID_PROPS vidProps = {};
    HRESULT hr = m_rendered.pFrameOriginal->VideoPropsGet(&vidProps);
    ZF_VID_PROPS vidPropsMask = VidProps_Mask(&vidProps);
    vidPropsMask.nGPUFlags = 0;
    CZPtr<IZFFrame> cpMask;
    if (SUCCEEDED(hr))
        hr = m_rendered.pFrameOriginal->FrameCreate(&vidPropsMask, cpMask.Put());
    m_pvecFrames->push_back(cpMask);
    if (SUCCEEDED(hr))
        hr = cpMask ? PictureOf(cpMask.Get(), _pVidPtr) : E_OUTOFMEMORY;
    if (FAILED(hr))
        return hr;
    const ZF_SIZE& size = _pVidPtr->szVideoPlanes[0];
    const int32_t nRowBytes = _pVidPtr->cbVideoRowBytes[0];
    if (size.cx != vidProps.nWidth || size.cy != std::abs(vidProps.nHeight) || nRowBytes < (size.cx + 7) / 8 * 8)
        return E_UNEXPECTED; // a host that makes other frames than it is asked for
    *_ppMask = cpMask.Detach();
    return S_OK;
}

/// The mask's alphas: as they were rendered, or out of the rendered picture. Into that of ARGB32 they go from the mask.
HRESULT CGPUKeyResult::MaskFill(const ZF_VID_PTR& _vidPtrMask, IZFFrame* _pFrameRes)
{
    const ZF_SIZE& size = _vidPtrMask.szVideoPlanes[0];
    const PLANE_KERNELS& kernels = PlaneKernels();
    const eGPUResult eResult = m_rendered.plan.eResult;
    ZF_VID_PTR vidPtr = {};
    HRESULT hr = m_cpReadableMask ? m_pDownloader->CopyRead(_vidPtrMask, m_cpReadableMask.Get(), false) : S_OK;
    if (FAILED(hr))
        return LogIfFailed("Unable to convert GPU mask to CPU mask!", hr);
    if (eResult == eGR_ARGB || eResult == eGR_Picture)
        hr = PictureOf(_pFrameRes, &vidPtr);
    if (SUCCEEDED(hr) && eResult == eGR_ARGB)
        ForRows(vidPtr, _vidPtrMask, size, kernels.pfnAlphaSet);
    if (SUCCEEDED(hr) && eResult == eGR_Picture)
        ForRows(_vidPtrMask, vidPtr, size, kernels.pfnAlphaGet);
    MaskRowsEnd(_vidPtrMask); // last, for the download writes whole texels
    return LogIfFailed("Failed to apply raw alpha!", hr);
}

/// Makes the mask of a result and attaches it.
HRESULT CGPUKeyResult::MaskAttach(IZFFrame* _pFrameRes)
{
    CZPtr<IZFFrame> cpMask;
    ZF_VID_PTR vidPtrMask = {};
    HRESULT hr = MaskMake(cpMask.Put(), &vidPtrMask);
    if (FAILED(hr))
        return LogIfFailed("Unable to convert GPU mask to CPU mask!", hr);
    hr = MaskFill(vidPtrMask, _pFrameRes);
    if (FAILED(hr))
        return hr;
    hr = _pFrameRes->AttachmentSet(L"mask", cpMask.Get());
    ZF_VID_PROPS vidPropsMask = {};
    if (SUCCEEDED(hr) && ZLog_IsOn(eZLog_Verbose) && SUCCEEDED(cpMask->VideoPropsGet(&vidPropsMask)))
        ZLog(eZLog_Verbose, "HARDWARE; OUTPUT MASK %ws\n", VidProps_Text(&vidPropsMask));
    return LogIfFailed("Unable to set mask!", hr);
}
