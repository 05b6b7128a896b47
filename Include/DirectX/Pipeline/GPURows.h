#pragma once

/// How the rows of a picture in system memory lie in a mapped texture; the inside of upload and download.

#include "DirectX/Device/DXBase.h"
#include "Interfaces/ZVideoTypes.h"

enum eGPURows
{
    eGPUR_Upload,   ///< picture to texture
    eGPUR_Download, ///< texture to picture
};

/// Whether a picture of a format with texture form can lie in a texture: it has pixels, not more than Direct3D takes,
/// and chroma samples are not cut in half.
bool GPU_SizeIsValid(const ZF_VID_PROPS& _vidProps);

/// Whether a picture has all the planes that its format needs.
bool GPU_HasPlanes(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr);

/// Copies the pixels of all planes, no byte beside them. _vidPtr: planes walked top-down. _bFields: the rows of the two
/// fields lie one above the other in the texture; a last row of an odd height lies below both.
void GPU_RowsCopy(eGPURows _eWay, const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, bool _bFields,
                  const D3D11_MAPPED_SUBRESOURCE& _mapped);
