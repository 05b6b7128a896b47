#include "Helpers/FrameSampler.h"

#include "Base/ZLog.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZVideoText.h"

#include <cstring>

HRESULT CFrameSampler::Open(IZFFrame* _pFrame, const Z_YUV_FORM& _yuv)
{
    if (!_pFrame)
    {
        ZLog(eZLog_Error, "CFrameSampler::Open: there is no frame to read; give one\n");
        return E_POINTER;
    }
    m_cpFrame = _pFrame;
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    HRESULT hr = _pFrame->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr))
        hr = _pFrame->VideoPtrGet(eZFP_Flip, &vidPtr);
    if (SUCCEEDED(hr) && !vidPtr.lpVideoPlanes[0])
    {
        ZLog(eZLog_Error,
             "CFrameSampler::Open: a frame without a picture in system memory cannot be read; download it\n");
        return E_INVALIDARG;
    }
    if (SUCCEEDED(hr))
        hr = m_reader.Init(vidProps, vidPtr, Img_MatrixOf(vidProps, _yuv));
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "CFrameSampler::Open: the frame (%hs) cannot be read, hr=%08X\n", VidProps_Text(&vidProps),
             hr);
        return hr;
    }
    m_bAlpha = FCC_HasAlpha(vidProps.fccType);
    m_vecRow.resize(size_t{4} * static_cast<size_t>(Width()));
    return S_OK;
}

void CFrameSampler::ReadRow(eCK_Type _eSpace, int _nRow, int _nX1, int _nX2, uint8_t* _pPixels)
{
    const int nPixels = _nX2 - _nX1;
    FrameSampler_ToSpace(_eSpace, Matrix(), Row(_nRow) + ptrdiff_t{4} * _nX1, nPixels, _pPixels);
}

void FrameSampler_ToSpace(eCK_Type _eSpace, eZYMatrix _eMatrix, const uint8_t* _pBGRA, int _nPixels, uint8_t* _pPixels)
{
    if (_eSpace == eCKT_HLS)
        Img_RowToHLS(_pBGRA, _pPixels, _nPixels);
    else if (_eSpace == eCKT_YUV)
        Img_RowToYUV(_pBGRA, _pPixels, _nPixels, _eMatrix);
    else
        std::memcpy(_pPixels, _pBGRA, size_t{4} * static_cast<size_t>(_nPixels));
    for (int n = 0; n < _nPixels; ++n)
        _pPixels[4 * n + 3] = 255;
}
