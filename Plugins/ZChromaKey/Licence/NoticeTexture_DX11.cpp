#include "ZChromaKey/Licence/NoticeFrame.h"

#include "Base/ZHelpers.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Device/DXPassLock.h"
#include "DirectX/Device/DXTexture.h"
#include "DirectX/Pipeline/GPUProcessorCK.h"

#include <cstdlib>

// Pictures in textures of Direct3D 11: a region of the texture is updated.

namespace
{

constexpr uint8_t c_nLetterLuma = 235;
constexpr uint8_t c_nPlateLuma = 16;

/// The plate as the texels of a format's texture; empty where nothing is known of that. Of planar formats it is luma
/// alone, which tells light from dark.
std::vector<uint8_t> TexelsOf(const NOTICE_PLATE& _plate, uint32_t _fccType)
{
    const eZTexture eTexture = FCC_Texture(_fccType);
    if (eTexture == eZT_None || eTexture == eZT_Pixels)
        return eTexture == eZT_None ? std::vector<uint8_t>() : _plate.vecBGRA;
    const bool bPairs = eTexture == eZT_Pairs;
    const Z_PAIR_BYTES pair = bPairs ? Z_PairBytes(FCC_Layout(_fccType)) : Z_PAIR_BYTES{};
    const size_t nPixels = _plate.vecMask.size() / 4;
    const size_t cbPixel = bPairs || FCC_HasTextureWords(_fccType) ? 2 : 1;
    std::vector<uint8_t> vecTexels(cbPixel * nPixels, 128);
    for (size_t n = 0; n < nPixels; ++n)
    {
        const size_t nByte =
            bPairs ? n / 2 * 4 + static_cast<size_t>(n % 2 ? pair.nY1 : pair.nY0) : cbPixel * n + cbPixel - 1;
        vecTexels[nByte] = _plate.vecMask[4 * n] == 255 ? c_nLetterLuma : c_nPlateLuma;
    }
    return vecTexels;
}

HRESULT TextureDraw(CNotice* _pNotice, IDX11Texture* _pPicture)
{
    ZF_VID_PROPS vidProps = {};
    CZPtr<ID3D11Texture2D> cpTexture;
    HRESULT hr = _pPicture->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr))
        hr = _pPicture->TextureGet(cpTexture.Put());
    if (FAILED(hr) || !cpTexture)
        return FAILED(hr) ? hr : E_UNEXPECTED;
    const NOTICE_PLATE& plate = _pNotice->Plate(vidProps.nWidth, std::abs(vidProps.nHeight));
    const std::vector<uint8_t> vecTexels = TexelsOf(plate, vidProps.fccType);
    const CZPtr<ID3D11Device> cpDevice = DX_DeviceOf(cpTexture.Get());
    if (vecTexels.empty() || !cpDevice)
        return E_NOTIMPL;
    const bool bPairs = FCC_Texture(vidProps.fccType) == eZT_Pairs;
    const auto nLeft = static_cast<UINT>(bPairs ? plate.part.nX1 / 2 : plate.part.nX1);
    const auto nTexels = static_cast<UINT>(bPairs ? plate.Width() / 2 : plate.Width());
    const auto nRowBytes = static_cast<UINT>(vecTexels.size() / static_cast<size_t>(plate.Height()));
    const D3D11_BOX box = {nLeft,           static_cast<UINT>(plate.part.nY1), 0,
                           nLeft + nTexels, static_cast<UINT>(plate.part.nY2), 1};
    const CDXPassLock lock(cpDevice.Get());
    DX_ContextOf(cpDevice.Get())->UpdateSubresource(cpTexture.Get(), 0, &box, vecTexels.data(), nRowBytes, 0);
    return DX_QuerySet(cpTexture.Get()); // others wait for what was recorded last
}

/// A texture of the same device and form with the same picture.
HRESULT TextureCopy(IDX11Texture* _pPicture, IDX11Texture** _ppCopy)
{
    ZF_VID_PROPS vidProps = {};
    CZPtr<ID3D11Texture2D> cpTexture;
    CZPtr<ID3D11Texture2D> cpCopy;
    HRESULT hr = _pPicture->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr))
        hr = _pPicture->TextureGet(cpTexture.Put());
    const CZPtr<ID3D11Device> cpDevice = cpTexture ? DX_DeviceOf(cpTexture.Get()) : CZPtr<ID3D11Device>();
    if (FAILED(hr) || !cpDevice)
        return FAILED(hr) ? hr : E_UNEXPECTED;
    D3D11_TEXTURE2D_DESC desc = {};
    cpTexture->GetDesc(&desc);
    desc.Usage = D3D11_USAGE_DEFAULT;
    desc.BindFlags |= D3D11_BIND_SHADER_RESOURCE;
    desc.CPUAccessFlags = 0;
    desc.MiscFlags = 0; // it is shared with no other device
    hr = cpDevice->CreateTexture2D(&desc, nullptr, cpCopy.Put());
    if (SUCCEEDED(hr))
        hr = DX_TextureCopy(cpCopy.Get(), cpTexture.Get()); // which takes planar pictures, too
    return SUCCEEDED(hr) ? DX11Texture::CreateExternal(cpCopy.Get(), vidProps, _ppCopy) : hr;
}

/// Whether both frames show one texture.
bool HasTexture(IDX11Texture* _pPicture, IZFFrame* _pFrame)
{
    const auto cpOther = GPU_TextureOf(_pFrame);
    CZPtr<ID3D11Texture2D> cpTexture;
    CZPtr<ID3D11Texture2D> cpTextureOther;
    return cpOther && SUCCEEDED(_pPicture->TextureGet(cpTexture.Put())) &&
           SUCCEEDED(cpOther->TextureGet(cpTextureOther.Put())) && DX_SameObject(cpTexture.Get(), cpTextureOther.Get());
}

/// A frame like the one given, with a texture of its own.
HRESULT FrameCopy(IDX11Texture* _pPicture, IZFFrame* _pFrame, IZFFrame** _ppCopy)
{
    const auto cpFrame2 = ZQuery<IZFFrame2>(_pFrame);
    CZPtr<IDX11Texture> cpPicture;
    HRESULT hr = cpFrame2 ? TextureCopy(_pPicture, cpPicture.Put()) : E_NOINTERFACE;
    CZPtr<IZFFrame> cpCopy;
    if (SUCCEEDED(hr))
        hr = cpFrame2->FrameClone(eZFC_Cloned, cpCopy.Put());
    if (SUCCEEDED(hr))
        hr = cpCopy ? cpCopy->AttachmentSet(c_wszFrameTexture, cpPicture.Get()) : E_UNEXPECTED;
    if (SUCCEEDED(hr))
        *_ppCopy = cpCopy.Detach();
    return hr;
}

} // namespace

HRESULT NoticeTexture_Put(CNotice* _pNotice, IZFFrame* _pFrame, CZPtr<IZFFrame>* _pcpFrameRes)
{
    auto cpPicture = GPU_TextureOf(_pcpFrameRes->Get());
    if (!cpPicture)
        return S_FALSE;
    CZPtr<IZFFrame> cpRes = *_pcpFrameRes;
    HRESULT hr = S_OK;
    if (cpRes.Get() == _pFrame || HasTexture(cpPicture.Get(), _pFrame))
    {
        CZPtr<IZFFrame> cpCopy;
        hr = FrameCopy(cpPicture.Get(), cpRes.Get(), cpCopy.Put());
        cpRes = std::move(cpCopy);
        cpPicture = GPU_TextureOf(cpRes.Get());
    }
    if (SUCCEEDED(hr))
        hr = cpPicture ? TextureDraw(_pNotice, cpPicture.Get()) : E_UNEXPECTED;
    if (SUCCEEDED(hr))
        *_pcpFrameRes = std::move(cpRes);
    return hr;
}
