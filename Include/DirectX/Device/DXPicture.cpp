#include "DirectX/Device/DXPicture.h"

#include "Base/ZAssert.h"
#include "Base/ZLog.h"
#include "Base/ZPixelFormats.h"

#include <cstdlib>

std::string DX_TextureText(const D3D11_TEXTURE2D_DESC* _pDescOrNull)
{
    if (!_pDescOrNull)
        return "NULL";
    const D3D11_TEXTURE2D_DESC& desc = *_pDescOrNull;
    if (desc.Width == 0)
        return "NULL/EMPTY";
    return ZFormat("%dx%d Fmt:%d Mip:%d Usage:%d BindFlags:%02X MiscFlags:%04X%ws%ws", desc.Width, desc.Height,
                   desc.Format, desc.MipLevels, desc.Usage, desc.BindFlags, desc.MiscFlags,
                   (desc.CPUAccessFlags & D3D11_CPU_ACCESS_READ) ? L" CPURead" : L"",
                   (desc.CPUAccessFlags & D3D11_CPU_ACCESS_WRITE) ? L" CPUWrite" : L"");
}

std::string DX_TextureText(ID3D11Texture2D* _pTextureOrNull)
{
    D3D11_TEXTURE2D_DESC desc = {};
    if (_pTextureOrNull)
        _pTextureOrNull->GetDesc(&desc);
    return DX_TextureText(_pTextureOrNull ? &desc : nullptr);
}

int32_t DX_PictureHeight(uint32_t _fccType, int32_t _nTexelHeight)
{
    switch (FCC_Texture(_fccType))
    {
    case eZT_420:
    case eZT_420Words:
        Z_VERIFY(_nTexelHeight * 2 % 3 == 0);
        return static_cast<int32_t>(int64_t{_nTexelHeight} * 2 / 3);
    case eZT_422:
    case eZT_422Words:
        Z_VERIFY(_nTexelHeight % 2 == 0);
        return _nTexelHeight / 2;
    default:
        return _nTexelHeight;
    }
}

int32_t DX_TexelHeight(uint32_t _fccType, int32_t _nPictureHeight)
{
    switch (FCC_Texture(_fccType))
    {
    case eZT_420:
    case eZT_420Words: // an odd picture takes the room of the next even one, as its chroma planes do
        return (_nPictureHeight + _nPictureHeight % 2) / 2 * 3;
    case eZT_422:
    case eZT_422Words:
        return _nPictureHeight * 2;
    default:
        return _nPictureHeight;
    }
}

int32_t DX_TexelWidth(uint32_t _fccType, int32_t _nWidth)
{
    return FCC_Texture(_fccType) == eZT_Pairs ? _nWidth / 2 + _nWidth % 2 : _nWidth;
}

DXGI_FORMAT DX_TextureFormat(uint32_t _fccType)
{
    switch (FCC_Texture(_fccType))
    {
    case eZT_None:
        return DXGI_FORMAT_UNKNOWN;
    case eZT_Pixels:
    case eZT_Pairs:
        return DXGI_FORMAT_B8G8R8A8_UNORM;
    case eZT_420Words:
    case eZT_422Words:
        return DXGI_FORMAT_R16_UNORM;
    default:
        return DXGI_FORMAT_R8_UNORM;
    }
}

bool DX_IsYUV(DXGI_FORMAT _eFormat)
{
    return _eFormat >= DXGI_FORMAT_AYUV && _eFormat <= DXGI_FORMAT_NV11; // the platform's list has them side by side
}

D3D11_TEXTURE2D_DESC DX_TextureDesc(const ZF_VID_PROPS& _vidProps)
{
    D3D11_TEXTURE2D_DESC desc = {};
    desc.Format = DX_TextureFormat(_vidProps.fccType);
    // Direct3D has no texture beyond this; heights of twice and more stay in range.
    const auto fnInRange = [](int64_t _nSize) { return _nSize > 0 && _nSize <= D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION; };
    const int64_t nHeight = std::abs(int64_t{_vidProps.nHeight});
    if (desc.Format == DXGI_FORMAT_UNKNOWN || _vidProps.nWidth <= 0 || !fnInRange(nHeight))
        return desc;
    desc.Width = static_cast<UINT>(DX_TexelWidth(_vidProps.fccType, _vidProps.nWidth));
    desc.Height = static_cast<UINT>(DX_TexelHeight(_vidProps.fccType, static_cast<int32_t>(nHeight)));
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.SampleDesc.Count = 1;
    desc.Usage = D3D11_USAGE_DEFAULT;
    return desc;
}

bool DX_TextureFits(const D3D11_TEXTURE2D_DESC& _desc, const ZF_VID_PROPS& _vidProps)
{
    const D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(_vidProps);
    return desc.Width != 0 && desc.Width == _desc.Width && desc.Height == _desc.Height && desc.Format == _desc.Format &&
           desc.ArraySize == _desc.ArraySize && desc.SampleDesc.Count == _desc.SampleDesc.Count;
}
