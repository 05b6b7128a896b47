#pragma once

#include "DirectX/Pipeline/GPUProcessorCK.h"
#include "DirectX/Pipeline/GPUBackOff.h"
#include "ZChromaKey/Engine2/Gpu/UnmixGPU.h"
#include "ZChromaKey/Engine2/Gpu/UnmixUploads.h"

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>

/// The pixels of the second generation on the GPU. One frame at a time, from one thread at a time.
///
/// What the cells of a frame have taught is uploaded as small textures; passes make the result of them and of the
/// picture. A frame in a texture has its cells made by a pass and read back first, which is the only time that a frame
/// waits for the GPU. The differences of the frame before stay here (FIELD_STATE::pPastAt).
class GPUUnmix final : public GPUProcessorBase<GPUUnmix>
{
public:
    static constexpr char c_szClass[] = "GPUUnmix";

    /// What keeps the passes from reading samples of YUV as they lie in a texture; null: nothing.
    static const char* RefusalOf(const ZF_VID_PROPS& _vidProps);
    /// As CUnmixGPU::Rebuilds.
    static bool Rebuilds(const ZF_VID_PROPS& _vidProps);
    /// As CUnmixGPU::Pixels, on the device that DeviceInit has made.
    HRESULT Pixels(UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_PICTURE& _picture,
                   const UNMIX_RESULT& _result, const ENGINE_GPU_OPTIONS& _options);
    /// As CUnmixGPU::ProcessFrame.
    HRESULT Key(IZFFrame* _pFrame, IUnmixLearner& _learner, const ENGINE_GPU_OPTIONS& _options, IZFFrame** _ppFrameRes);
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
    enum eShader
    {
        eS_Open,
        eS_Cells,
        eS_Factors,
        eS_Deep,
        eS_Past,
        eS_Pixel,
        eS_Alpha,
        eS_Choke,
        eS_Blur,
        eS_Edged,
        eS_Count,
    };
    /// A small texture that is written with every frame.
    struct GRID
    {
        CZPtr<ID3D11Texture2D> cpTexture;
        D3D11_TEXTURE2D_DESC desc = {};
    };
    /// How a frame is keyed, for what fails again and again.
    struct PLAN
    {
        bool bTexture;
        uint32_t fccType;

        bool operator==(const PLAN&) const = default;
    };

    HRESULT ShaderGet(eShader _eShader, ID3D11PixelShader** _ppShader);
    HRESULT PassWith(eShader _eShader, std::span<ID3D11Texture2D* const> _inputs, std::span<const std::byte> _constants,
                     const GPU_TARGET& _target, IDX11Texture** _ppTexOut);
    HRESULT Pass(eShader _eShader, std::span<ID3D11Texture2D* const> _inputs, const UNMIX_CONSTANTS& _constants,
                 const GPU_TARGET& _target, IDX11Texture** _ppTexOut)
    {
        return PassWith(_eShader, _inputs, std::as_bytes(std::span(&_constants, 1)), _target, _ppTexOut);
    }
    static CZPtr<ID3D11Texture2D> TextureIn(IDX11Texture* _pTexture);
    HRESULT GridPut(GRID* _pGrid, int _nWidth, int _nHeight, DXGI_FORMAT _eFormat, const void* _pData, size_t _cbRow);
    GPU_TARGET PixelTarget() const;
    /// Bytes B, G, R, A of the picture in YUV.
    HRESULT Opened(eZYMatrix _eMatrix, CZPtr<IDX11Texture>* _pcpPicture);
    /// What is known better than these bytes, once they have taught: m_cpDeep.
    HRESULT DeepPasses(const UNMIX_SHADER_SAMPLES& _samples, ID3D11Texture2D* _pPicture);
    /// Of a picture in RGB that was learned from: m_samples.
    void PixelSamplesTake(const UNMIX_STATE& _state);
    HRESULT CellsLearn(IDX11Texture* _pPicture);
    HRESULT TexelsRead(IDX11Texture* _pTexture, const std::function<HRESULT(const D3D11_MAPPED_SUBRESOURCE&)>& _take);
    HRESULT PastEnsure(UNMIX_STATE& _state);
    HRESULT PastPass(UNMIX_STATE& _state, ID3D11Texture2D* _pPicture);
    HRESULT PixelPass(UNMIX_STATE& _state, ID3D11Texture2D* _pPicture, const GPU_TARGET& _target);
    /// A picture in memory, its samples where the passes read them, else what was made of them.
    HRESULT PicturePut(const UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_PICTURE& _picture,
                       CZPtr<IDX11Texture>* _pcpPicture);
    HRESULT BytesPut(const UNMIX_PICTURE& _picture);
    HRESULT GridsPut(const UNMIX_STATE& _state);
    HRESULT AfterPut(const UNMIX_STATE& _state);
    HRESULT RegionPut(GRID* _pGrid, const UNMIX_STATE& _state, const UNMIX_REGION& _region, int32_t _nBit);
    /// One of the passes over alpha: takes it, and leaves what becomes of it.
    HRESULT AlphaPass(eShader _eShader, DXGI_FORMAT _eFormat, std::span<const std::byte> _constants,
                      CZPtr<IDX11Texture>* _pcpAlpha);
    /// Takes the keyed picture, and leaves its alpha, moved and blurred.
    HRESULT AlphaChange(CZPtr<IDX11Texture>* _pcpAlpha);
    /// Changes the edges of the keyed picture in m_cpResult, and does what comes after that.
    HRESULT EdgePasses(const UNMIX_STATE& _state, ID3D11Texture2D* _pPicture, const GPU_TARGET& _target);
    /// The pixels of a frame in a texture, and what comes after them.
    HRESULT PicturePasses(ID3D11Texture2D* _pPicture);
    HRESULT ResultRead(const UNMIX_RESULT& _result);
    HRESULT PixelsTry(UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_PICTURE& _picture,
                      const UNMIX_RESULT& _result, const ENGINE_GPU_OPTIONS& _options);
    void FrameDrop();
    void DeviceLeave();

    CGPUBackOff<PLAN> m_backOff{c_szClass};
    std::array<CZPtr<ID3D11PixelShader>, eS_Count> m_arrShaders;
    GRID m_gridCells;
    GRID m_gridBack;
    GRID m_gridFore;
    GRID m_gridDeep;
    GRID m_gridShade;
    GRID m_gridGarbage;
    GRID m_gridHoldOut;
    GRID m_gridMarked;
    CZPtr<IDX11Texture> m_cpPast; ///< differences of the frame before
    UNMIX_UPLOADS m_uploads;

    // Of the frame under way
    IUnmixLearner* m_pLearner = nullptr;
    ENGINE_GPU_OPTIONS m_options = {};
    std::optional<UNMIX_SHADER_SAMPLES> m_samples; ///< of a picture that bytes do not say all of
    CZPtr<IDX11Texture> m_cpDeepMade;              ///< keeps what was rendered from going back to the cache
    CZPtr<ID3D11Texture2D> m_cpDeep; ///< the picture in 64ths of a level; null: bytes are all that is known
    CZPtr<IDX11Texture> m_cpResult;
};
