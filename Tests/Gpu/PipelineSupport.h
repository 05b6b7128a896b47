#pragma once

#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Pipeline/GPUProcessorCK.h"
#include "Gpu/GpuEnvironment.h"
#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"
#include "Support/FrameAccess.h"
#include "Support/TestProps.h"
#include "Video/ZFrame.h"

#include <cstring>
#include <string>
#include <vector>

/// A processor that copies every byte with one pass.
class CCopyProcessor final : public GPUProcessorBase<CCopyProcessor>
{
public:
    static constexpr char c_szClass[] = "CCopyProcessor";
    static inline bool s_bSplit = false;

    static bool IsTaken(uint32_t _fccType)
    {
        return DX_TextureFormat(_fccType) != DXGI_FORMAT_UNKNOWN;
    }
    static bool IsFieldSplit(const ZF_VID_PROPS& _vidProps)
    {
        return s_bSplit && VidProps_FieldOrder(&_vidProps) != 0;
    }
    HRESULT ProcessFrame()
    {
        constexpr char c_szCopy[] = R"(
Texture2D tx : register(t0);
SamplerState sampler_in : register(s0);
cbuffer BLOCK : register(b0) { float4 factor; };
struct PS_INPUT { float4 Pos : SV_POSITION; float2 Tex : TEXCOORD; };
float4 PS(PS_INPUT input) : SV_TARGET { return tx.Sample(sampler_in, input.Tex) * factor; })";
        CZPtr<ID3D11PixelShader> cpShader;
        HRESULT hr = DX11Device::PixelShader_Get(Device()->Device(), c_szCopy, 1, cpShader.Put());
        if (FAILED(hr))
            return hr;
        const float arrFactor[4] = {1, 1, 1, 1};
        const GPU_PASS pass = {cpShader.Get(), Device()->SamplerPoint(), arrFactor, sizeof(arrFactor)};
        return Render(TexIn(), pass, GPU_TargetOf(VidPropsIn()), m_cpResult.Put());
    }
    HRESULT GetFrame(IZFFrame** _ppFrameOut)
    {
        const CZPtr<IDX11Texture> cpResult = std::move(m_cpResult);
        return IsGPUFrame() ? GetGPUFrame(cpResult.Get(), _ppFrameOut)
                            : GetPlainFrame(cpResult.Get(), PropsOf(FrameIn()), _ppFrameOut);
    }
    using GPUProcessorCore::TexIn;

private:
    CZPtr<IDX11Texture> m_cpResult;
};

inline ZF_VID_PROPS Gpu_Props(uint32_t _fccType, int _nWidth, int _nHeight, int _nRowBytes = 0,
                              int _eInterlace = eZI_Progressive)
{
    return Record(_fccType, _nWidth, _nHeight, _nRowBytes, _eInterlace, 25);
}

/// A frame of random bytes.
inline CZPtr<CZFrame> Gpu_Frame(const ZF_VID_PROPS& _vidProps, uint32_t _nSeed = 1)
{
    CZPtr<CZFrame> cpFrame;
    EXPECT_EQ(ZFrame_Create(_vidProps, cpFrame.Put()), S_OK);
    const ZF_VID_PROPS vidProps = PropsOf(cpFrame.Get());
    const ZF_VID_PTR vidPtr = PtrOf(cpFrame.Get(), eZFP_Write);
    const bool bUp = vidPtr.cbVideoRowBytes[0] < 0; // then the last row is the lowest in memory
    const auto vecBytes = Gpu_RandomBytes(static_cast<size_t>(VidProps_ImageSize(&vidProps)), _nSeed);
    std::memcpy(Img_RowOf(vidPtr, 0, bUp ? vidPtr.szVideoPlanes[0].cy - 1 : 0), vecBytes.data(), vecBytes.size());
    return cpFrame;
}

/// A frame that carries a texture.
inline CZPtr<CZFrame> Gpu_TextureFrame(IUnknown* _pTexture, ZF_VID_PROPS _vidProps)
{
    _vidProps.nGPUFlags = eZGPU_DX11Texture;
    CZPtr<CZFrame> cpFrame;
    EXPECT_EQ(ZFrame_Create(_vidProps, cpFrame.Put()), S_OK);
    EXPECT_EQ(cpFrame->AttachmentSet(c_wszFrameTexture, _pTexture), S_OK);
    return cpFrame;
}

/// The pixels of all planes from the picture's top, without padding.
inline std::vector<uint8_t> Gpu_Pixels(IZFFrame* _pFrame)
{
    const ZF_VID_PROPS vidProps = PropsOf(_pFrame);
    const ZF_VID_PTR vidPtr = PtrOf(_pFrame);
    std::vector<uint8_t> vecBytes;
    for (int nPlane = 0; nPlane < 4 && vidPtr.lpVideoPlanes[nPlane]; ++nPlane)
    {
        const ZF_SIZE& szPlane = vidPtr.szVideoPlanes[nPlane];
        const int64_t cbRow = nPlane ? int64_t{szPlane.cx} * FCC_SampleBytes(vidProps.fccType)
                                     : Img_RowBytesUsed(vidProps.fccType, vidProps.nWidth);
        for (int nRow = 0; nRow < szPlane.cy; ++nRow)
        {
            const uint8_t* const pRow = Img_RowOf(vidPtr, nPlane, nRow);
            vecBytes.insert(vecBytes.end(), pRow, pRow + cbRow);
        }
    }
    return vecBytes;
}

inline CZPtr<IDX11Allocator> Gpu_Allocator()
{
    CZPtr<IDX11Allocator> cpAllocator;
    EXPECT_EQ(CDX11Allocator::Create(cpAllocator.Put()), S_OK);
    return cpAllocator;
}

inline CZPtr<ID3D11Texture2D> Gpu_TextureIn(IDX11Texture* _pTexture)
{
    CZPtr<ID3D11Texture2D> cpTexture;
    EXPECT_EQ(_pTexture->TextureGet(cpTexture.Put()), S_OK);
    return cpTexture;
}
