#include "DirectX/Pipeline/GPURows.h"

#include "Base/ZPixelFormats.h"
#include "DirectX/Device/DXHelpers.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

class CRowCopier
{
public:
    CRowCopier(eGPURows _eWay, const ZF_VID_PTR& _vidPtr, const D3D11_MAPPED_SUBRESOURCE& _mapped)
        : m_eWay(_eWay)
        , m_vidPtr(_vidPtr)
        , m_mapped(_mapped)
    {
    }

    /// One row of a plane, and where it begins in the texture.
    void Copy(int _nPlane, int64_t _nRow, int64_t _nTexelRow, int64_t _nTexelByte, int64_t _cbRow) const
    {
        const int64_t nStride = m_vidPtr.cbVideoRowBytes[_nPlane];
        const int64_t cbRow = std::min({_cbRow, std::abs(nStride), int64_t{m_mapped.RowPitch} - _nTexelByte});
        auto* const pPicture =
            reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(m_vidPtr.lpVideoPlanes[_nPlane] + _nRow * nStride));
        uint8_t* const pTexels =
            static_cast<uint8_t*>(m_mapped.pData) + _nTexelRow * int64_t{m_mapped.RowPitch} + _nTexelByte;
        if (m_eWay == eGPUR_Upload)
            std::memcpy(pTexels, pPicture, static_cast<size_t>(cbRow));
        else
            std::memcpy(pPicture, pTexels, static_cast<size_t>(cbRow));
    }

private:
    eGPURows m_eWay;
    const ZF_VID_PTR& m_vidPtr;
    const D3D11_MAPPED_SUBRESOURCE& m_mapped;
};

/// The texture's row of a picture row: even rows in the upper half, odd ones in the lower half.
int64_t FieldRow(int64_t _nRow, int64_t _nHeight)
{
    const int64_t nField = _nHeight / 2;
    return _nRow >= nField * 2 ? _nRow : _nRow / 2 + (_nRow % 2) * nField;
}

/// Of a format's texture.
int64_t TexelBytes(uint32_t _fccType)
{
    const DXGI_FORMAT eFormat = DX_TextureFormat(_fccType);
    return eFormat == DXGI_FORMAT_R8_UNORM ? 1 : eFormat == DXGI_FORMAT_R16_UNORM ? 2 : 4;
}

void CopyPlane0(const CRowCopier& _copier, const ZF_VID_PROPS& _vidProps, bool _bFields)
{
    const int64_t cbRow = TexelBytes(_vidProps.fccType) * DX_TexelWidth(_vidProps.fccType, _vidProps.nWidth);
    const int64_t nHeight = std::abs(int64_t{_vidProps.nHeight});
    for (int64_t nRow = 0; nRow < nHeight; ++nRow)
        _copier.Copy(0, nRow, _bFields ? FieldRow(nRow, nHeight) : nRow, 0, cbRow);
}

/// Rows of half-width planes lie side by side, two in a row of texels.
void CopyChroma(const CRowCopier& _copier, const ZF_VID_PROPS& _vidProps)
{
    const int64_t nHeight = _vidProps.nHeight;
    const int64_t nRows = nHeight / FCC_Subsampling(_vidProps.fccType, 1).cy;
    const int64_t nPlanes = FCC_ChromaPlanes(_vidProps.fccType);
    const int64_t cbRow = TexelBytes(_vidProps.fccType) * _vidProps.nWidth / nPlanes;
    const int64_t nSideBySide = nPlanes;
    for (int64_t n = 0; n < nPlanes * nRows; ++n)
        _copier.Copy(static_cast<int>(1 + n / nRows), n % nRows, nHeight + n / nSideBySide, n % nSideBySide * cbRow,
                     cbRow);
}

} // namespace

bool GPU_SizeIsValid(const ZF_VID_PROPS& _vidProps)
{
    const D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(_vidProps); // all zero without pixels
    if (desc.Width < 1 || desc.Width > D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION ||
        desc.Height > D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION) // staging textures may be larger than those for shaders
        return false;
    if (!FCC_IsPlanar(_vidProps.fccType))
        return true;
    return _vidProps.nWidth % 2 == 0 && _vidProps.nHeight > 0 &&
           _vidProps.nHeight % FCC_Subsampling(_vidProps.fccType, 1).cy == 0;
}

bool GPU_HasPlanes(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr)
{
    const auto* const pPlanes = _vidPtr.lpVideoPlanes;
    return std::all_of(pPlanes, pPlanes + 1 + FCC_ChromaPlanes(_vidProps.fccType),
                       [](auto _nPlane) { return _nPlane != 0; });
}

void GPU_RowsCopy(eGPURows _eWay, const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, bool _bFields,
                  const D3D11_MAPPED_SUBRESOURCE& _mapped)
{
    const CRowCopier copier(_eWay, _vidPtr, _mapped);
    CopyPlane0(copier, _vidProps, _bFields);
    if (FCC_IsPlanar(_vidProps.fccType))
        CopyChroma(copier, _vidProps);
}
