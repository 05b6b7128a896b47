#pragma once

#include "DirectX/Device/DXBase.h"
#include "Interfaces/ZVideoTypes.h"

#include <string>

/// \name How pictures lie in textures
///@{
/// The text of a description in log lines.
std::string DX_TextureText(const D3D11_TEXTURE2D_DESC* _pDescOrNull);
std::string DX_TextureText(ID3D11Texture2D* _pTextureOrNull);
/// Rows of pixels of a picture in a texture of so many rows of texels: planar pictures lie in one tall texture.
/// I420 counts as YV12; I422, Y422 and Y444 as YV16. Asserted: a texel height that the format can have.
int32_t DX_PictureHeight(uint32_t _fccType, int32_t _nTexelHeight);
int32_t DX_TexelHeight(uint32_t _fccType, int32_t _nPictureHeight);
/// Texels per row: packed 4:2:2 has two pixels a texel (rounded up), every other format one.
int32_t DX_TexelWidth(uint32_t _fccType, int32_t _nWidth);
/// The texture format of a pixel format: B8G8R8A8_UNORM for RGB32, ARGB32 and packed 4:2:2 (UYVY, HDYC, YUY2),
/// R8_UNORM for RGB8 and planar 4:2:0 and 4:2:2; R16_UNORM for P010 and P210, whose words are the texels;
/// DXGI_FORMAT_UNKNOWN for formats without a texture form.
DXGI_FORMAT DX_TextureFormat(uint32_t _fccType);
/// Whether textures of the format hold YUV as far as Direct3D can tell (NV12 and its kin; not packed into BGRA).
bool DX_IsYUV(DXGI_FORMAT _eFormat);
/// The description of a texture for a picture: size in texels, format, one mip level, one sample; usage DEFAULT and no
/// flags. Width 0 when the format has no texture form.
D3D11_TEXTURE2D_DESC DX_TextureDesc(const ZF_VID_PROPS& _vidProps);
/// Whether a texture can hold a picture: texture format, texels a row, rows; one texture, one sample a texel.
bool DX_TextureFits(const D3D11_TEXTURE2D_DESC& _desc, const ZF_VID_PROPS& _vidProps);
///@}
