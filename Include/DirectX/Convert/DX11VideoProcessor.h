#pragma once

/// Making video output of pictures in textures: RGB into packed 4:2:2 with the caller's matrix, and on into planar
/// formats.

#include "DirectX/Device/DXDevice.h"
#include "DirectX/Device/DXTexture.h"
#include "DirectX/Device/NamedPtrMap.h"
#include "DirectX/Shaders/DXVShader.h"

#include <string>

/// The clamp of the YUV that comes out.
enum eDXVRange : int32_t
{
    eDXVR_Studio = 0, ///< 16 to 240, luma to 235 (0.0625 to 0.9375 and 0.9180)
    eDXVR_Full = 1,
};

/// Textures of the passes, for DXV11ProcessorBase.
///
/// RGB pictures lie in B8G8R8A8, a texel a pixel, top row first (a record that says bottom-up is refused). Packed 4:2:2
/// lies in B8G8R8A8, two pixels a texel, bytes U Y V Y for UYVY and HDYC alike. Planar pictures lie in a tall B8G8R8A8
/// texture with four bytes of a row in a texel: rows are 4 x half the source's texels (rounded up) bytes long, the
/// chroma planes lie below the luma plane.
class DXV11ProcessorCore : public CZUnknown<IUnknown>
{
public:
    /// RGB pictures of even width into packed 4:2:2. _pTexSrcRGB_BottomOrNull: the picture's odd rows; then
    /// _pTexSrcRGB_Top are the even ones, and the destination has twice their rows.
    /// _pfDXVConvertMatrix4x3: rows Y, U, V of three coefficients of R, G, B (0..1) and an offset. _eFCC_YUV:
    /// eZFCC_HDYC or eZFCC_UYVY. E_INVALIDARG (asserted) for everything else.
    HRESULT DXV_Convert_RGB_YUV(IDX11Texture* _pTexSrcRGB_Top, IDX11Texture* _pTexSrcRGB_BottomOrNull,
                                IDX11Texture* _pTexDstYUV, const float* _pfDXVConvertMatrix4x3, uint32_t _eFCC_YUV,
                                eDXVRange _eRange = eDXVR_Studio);
    /// Packed UYVY into eZFCC_NV12, eZFCC_YV12 or eZFCC_YV16.
    HRESULT DXV_Convert_UYVY_YUVPlanar(IDX11Texture* _pTexSrcUYVY, IDX11Texture* _pTexDstYUV, uint32_t _eFCC_YUV);
    /// RGB pictures into a new texture of any of the formats above; planar ones by way of UYVY.
    HRESULT DXV_Convert(IDX11Texture* _pTexSrcRGB_Top, IDX11Texture* _pTexSrcRGB_BottomOrNull,
                        const float* _pfDXVConvertMatrix4x3, uint32_t _eFCC_YUV, IDX11Allocator* _pAllocator,
                        IDX11Texture** _ppTexture, eDXVRange _eRange = eDXVR_Studio);

protected:
    DXV11ProcessorCore(std::string _strName, DX11Device* _pDevice)
        : m_strName(std::move(_strName))
        , m_cpDevice(_pDevice)
    {
    }
    ~DXV11ProcessorCore() override = default;

private:
    HRESULT Failed(const char* _pszOperation, const char* _pszStep, IDX11Texture* _pTexInput, HRESULT _hr) const;
    HRESULT _CreateOutputTex(const ZF_VID_PROPS& _vidProps, IDX11Allocator* _pAllocator,
                             IDX11Texture** _ppTexture) const;
    HRESULT _CreateOutputTex422(const ZF_VID_PROPS& _vidProps, IDX11Allocator* _pAllocator,
                                IDX11Texture** _ppTexture) const;
    HRESULT TextureCreate(const D3D11_TEXTURE2D_DESC& _desc, const ZF_VID_PROPS& _vidProps, IDX11Allocator* _pAllocator,
                          IDX11Texture** _ppTexture) const;

    std::string m_strName;
    CZPtr<DX11Device> m_cpDevice;
};

template <class Processor> class DXV11ProcessorBase : public DXV11ProcessorCore
{
public:
    /// A processor of a device.
    static HRESULT Create(DX11Device* _pDevice, Processor** _ppProcessor)
    {
        if (!_pDevice || !_ppProcessor)
            return E_POINTER;
        *_ppProcessor = new Processor(_pDevice);
        return S_OK;
    }

protected:
    explicit DXV11ProcessorBase(DX11Device* _pDevice)
        : DXV11ProcessorCore(std::string("DXV11ProcessorBase<class ") + Processor::c_szClass + ">", _pDevice)
    {
    }
    ~DXV11ProcessorBase() override = default;
};

/// The conversion processor of a device. Passes run under the device's lock: any thread may use it.
class DXV11Processor final : public DXV11ProcessorBase<DXV11Processor>
{
public:
    static constexpr char c_szClass[] = "DXV11Processor";

private:
    friend class DXV11ProcessorBase<DXV11Processor>;
    explicit DXV11Processor(DX11Device* _pDevice)
        : DXV11ProcessorBase(_pDevice)
    {
    }
    ~DXV11Processor() override = default;
};

/// Conversion processors by device; those that nobody has used for a while are released.
using DXV11ProcessorMap = CNamedPtrMap_GC<DXV11Processor>;
/// The processor of a device, from the map.
HRESULT DXV11Processor_Get(DXV11ProcessorMap* _pMap, DX11Device* _pDevice, DXV11Processor** _ppProcessor);
