#pragma once

#include "ZChromaKey/Engine1/Gpu/GPUKeyPlan.h"
#include "ZChromaKey/Engine1/Gpu/GPUShaders.h"
#include "DirectX/Convert/GPUProcessor.h"
#include "DirectX/Pipeline/GPUBackOff.h"
#include "DirectX/Shaders/KeyConstants.h"

#include <utility>
#include <vector>

/// The first-generation keyer on the GPU. One frame at a time, from one thread at a time.
///
/// Without colour cancel only the mask is rendered: the picture's colours stay what they are, so they are not brought
/// back from the GPU. Colours are straight everywhere, never multiplied by alpha.
class GPUChromaKey final : public GPUProcessorBase<GPUChromaKey>
{
public:
    static constexpr char c_szClass[] = "GPUChromaKey";

    /// Keys a frame (types RGB, HLS and YUV) into a new one that takes over its time code, texts and attachments.
    ///
    /// The result of a frame in system memory has its format, or is ARGB32 where the settings ask for it, and a mask
    /// attached as "mask" (RGB8, top-down, rows of a multiple of 8 bytes). That of a frame in a texture is a frame in
    /// an ARGB32 texture of the same device. E_NOTIMPL: a picture that is not keyed on the GPU. A device that was
    /// removed fails the frame; the next one makes another. A failure that lasts is answered at once (CGPUBackOff).
    HRESULT Key(IZFFrame* _pFrame, const GPU_KEY_SETTINGS& _settings, IZFFrame** _ppFrameRes);
    /// The frames that the last Key has made, the result among them: a host may call back from their Release, so they
    /// are released where no lock is held.
    std::vector<CZPtr<IZFFrame>> FramesTake()
    {
        return std::exchange(m_vecFrames, {});
    }
    /// The device in use; null when there is none.
    DX11Device* DeviceGet() const
    {
        return Device();
    }
    /// Gives shaders, textures and device back.
    void Close();

    // For GPUProcessorBase
    static bool IsTaken(uint32_t _fccType);
    static bool IsFieldSplit(const ZF_VID_PROPS&)
    {
        return false; // the passes know interlaced pictures as they are
    }
    HRESULT ProcessFrame();
    HRESULT GetFrame(IZFFrame** _ppFrameOut);

private:
    HRESULT InputMake(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, const GPU_KEY_SETTINGS& _settings,
                      CZPtr<IZFFrame>* _pcpInput);
    void FrameDrop();
    void DeviceLeave();

    // The passes
    void ShadersCheck(const CHROMA_KEY_RAW& _key);
    HRESULT ShaderGet(const GPU_SHADER& _shader, const char* _pszFailure, ID3D11PixelShader** _ppShader);
    HRESULT Pass(const GPU_SHADER& _shader, const char* _pszFailure, const void* _pConstants, size_t _cbConstants,
                 IDX11Texture* _pTexIn, const GPU_TARGET& _target, IDX11Texture** _ppTexOut);
    HRESULT PackedPass(CZPtr<IDX11Texture>* _pcpTexIn);
    HRESULT KeyPass(IDX11Texture* _pTexIn, eKeyOutput _eOutput, bool _bCancel, IDX11Texture** _ppTexOut);
    HRESULT SmoothPasses(CZPtr<IDX11Texture>* _pcpPicture);
    HRESULT PicturePasses(IDX11Texture* _pTexIn, bool _bCancel, IDX11Texture** _ppPicture);
    HRESULT MaskPasses(IDX11Texture* _pTexIn);

    HRESULT AttributesCopy();
    ZF_VID_PROPS PropsOf(uint32_t _fccType, int32_t _nWidth, int32_t _nHeight) const;

    Downloader m_downloader{"GPUChromaKey::Downloader"};
    DX11Converter m_converter;
    CGPUShaders m_shaders;
    CGPUBackOff<GPU_KEY_PLAN> m_backOff{c_szClass};
    int32_t m_eTypeShaders = 0;
    int32_t m_nSmoothShaders = 0;
    uint32_t m_fccRefused = 0; ///< the last format that was said not to be keyed
    std::vector<CZPtr<IZFFrame>> m_vecFrames;

    // Of the frame under way
    GPU_KEY_PLAN m_plan = {};
    CK_SETTINGS m_ckSettings = {};
    CZPtr<IZFFrame2> m_cpFrameOriginal;
    CZPtr<IDX11Texture> m_cpTexPicture; ///< ARGB32, one pixel a texel
    CZPtr<IDX11Texture> m_cpTexPacked;  ///< packed 4:2:2 with corrected colours
    CZPtr<IDX11Texture> m_cpTexMask;    ///< one byte a pixel: in one channel, or four pixels a texel
};
