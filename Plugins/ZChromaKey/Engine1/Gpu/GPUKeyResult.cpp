#include "ZChromaKey/Engine1/Gpu/GPUKeyResult.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "DirectX/Device/DXHelpers.h"

#include <cstdlib>
#include <cstring>

namespace
{

constexpr int c_nAlphaByte = 3;

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

/// Calls _fnPixel with the alpha of each pixel of B, G, R, A and the byte of the mask below it.
template <class Call> void ForAlpha(const ZF_VID_PTR& _vidPtr, const ZF_VID_PTR& _vidPtrMask, Call&& _fnPixel)
{
    const ZF_SIZE& size = _vidPtrMask.szVideoPlanes[0];
    for (int32_t nY = 0; nY < size.cy; ++nY)
    {
        uint8_t* const pPixels = RowOf(_vidPtr, nY) + c_nAlphaByte;
        uint8_t* const pMask = RowOf(_vidPtrMask, nY);
        for (int32_t nX = 0; nX < size.cx; ++nX)
            _fnPixel(pPixels[ptrdiff_t{4} * nX], pMask[nX]);
    }
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
    CZPtr<IZFFrame> cpFrameRes; // while the GPU works
    HRESULT hr = FrameMake(cpFrameRes.Put());
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
                   : m_rendered.pFrameOriginal->FrameClone(eZFC_Converted, _ppFrameRes);
    case eGR_Packed:
        return m_rendered.pFrameOriginal->FrameClone(eZFC_Converted, _ppFrameRes);
    default:
        return m_rendered.pFrameOriginal->FrameClone(eZFC_Cloned, _ppFrameRes);
    }
}

/// Brings the rendered picture into the result.
HRESULT CGPUKeyResult::FrameFill(IZFFrame* _pFrameRes)
{
    IDX11Texture* const pTexture =
        m_rendered.plan.eResult == eGR_Packed ? m_rendered.pTexPacked : m_rendered.pTexPicture;
    if (!pTexture)
        return S_OK;
    ZF_VID_PTR vidPtr = {};
    HRESULT hr = PictureOf(_pFrameRes, &vidPtr);
    if (SUCCEEDED(hr))
        hr = Download(pTexture, vidPtr);
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

/// A texture's rows into a plane that has room for them; what the texture is said to hold counts, so that a mask of
/// four pixels a texel comes as RGB32.
HRESULT CGPUKeyResult::Download(IDX11Texture* _pTexture, const ZF_VID_PTR& _vidPtr)
{
    ZF_VID_PROPS vidProps = {};
    CZPtr<ID3D11Texture2D> cpTexture;
    HRESULT hr = _pTexture->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr))
        hr = _pTexture->TextureGet(cpTexture.Put());
    return SUCCEEDED(hr)
               ? m_pDownloader->_Download_Tex(&_vidPtr, cpTexture.Get(), &vidProps, false, m_rendered.pAllocator)
               : hr;
}

/// Makes the mask of a result, writes the alpha of ARGB32 from it, and attaches it.
HRESULT CGPUKeyResult::MaskAttach(IZFFrame* _pFrameRes)
{
    CZPtr<IZFFrame> cpMask;
    ZF_VID_PTR vidPtrMask = {};
    ZF_VID_PTR vidPtr = {};
    HRESULT hr = MaskMake(cpMask.Put(), &vidPtrMask);
    if (SUCCEEDED(hr) && m_rendered.pTexMask)
        hr = Download(m_rendered.pTexMask, vidPtrMask);
    if (FAILED(hr))
        return LogIfFailed("Unable to convert GPU mask to CPU mask!", hr);
    MaskRowsEnd(vidPtrMask); // after the download, which writes whole texels
    if (m_rendered.plan.eResult == eGR_ARGB || m_rendered.plan.eResult == eGR_Picture)
        hr = PictureOf(_pFrameRes, &vidPtr);
    if (SUCCEEDED(hr) && m_rendered.plan.eResult == eGR_ARGB)
        ForAlpha(vidPtr, vidPtrMask, [](uint8_t& _nAlpha, uint8_t& _nMask) { _nAlpha = _nMask; });
    if (SUCCEEDED(hr) && m_rendered.plan.eResult == eGR_Picture)
        ForAlpha(vidPtr, vidPtrMask, [](uint8_t& _nAlpha, uint8_t& _nMask) { _nMask = _nAlpha; });
    if (FAILED(hr))
        return LogIfFailed("Failed to apply raw alpha!", hr);
    hr = _pFrameRes->AttachmentSet(L"mask", cpMask.Get());
    ZF_VID_PROPS vidPropsMask = {};
    if (SUCCEEDED(hr) && ZLog_IsOn(eZLog_Verbose) && SUCCEEDED(cpMask->VideoPropsGet(&vidPropsMask)))
        ZLog(eZLog_Verbose, "HARDWARE; OUTPUT MASK %ws\n", VidProps_Text(&vidPropsMask));
    return LogIfFailed("Unable to set mask!", hr);
}
