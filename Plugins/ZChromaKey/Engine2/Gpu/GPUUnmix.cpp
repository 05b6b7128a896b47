#include "ZChromaKey/Engine2/Gpu/GPUUnmix.h"

#include "Base/ZPixelFormats.h"
#include "Base/ZLog.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Shaders/UnmixEdgeShader.h"
#include "ZChromaKey/Engine2/Cells.h"
#include "ZChromaKey/Engine2/Pixels.h"

#include <cstdlib>
#include <cstring>

namespace
{

constexpr uint32_t c_nShaderTag = 54;

HRESULT LogIfFailed(const char* _pszMessage, HRESULT _hr)
{
    if (FAILED(_hr))
        ZLog(eZLog_Error, "GPUUnmix: %hs hr=%08X\n", _pszMessage, _hr);
    return _hr;
}

bool IsPixels(uint32_t _fccType)
{
    return _fccType == eZFCC_RGB32 || _fccType == eZFCC_ARGB32;
}

/// A target of texels that are no pixels.
GPU_TARGET TargetOf(int _nWidth, int _nHeight, DXGI_FORMAT _eFormat, const ZF_VID_PROPS& _vidProps)
{
    return {static_cast<uint32_t>(_nWidth), static_cast<uint32_t>(_nHeight), _eFormat, _vidProps};
}

} // namespace

CZPtr<ID3D11Texture2D> GPUUnmix::TextureIn(IDX11Texture* _pTexture)
{
    CZPtr<ID3D11Texture2D> cpTexture;
    if (_pTexture)
        _pTexture->TextureGet(cpTexture.Put());
    return cpTexture;
}

/// A picture of the frame's size, one pixel a texel.
GPU_TARGET GPUUnmix::PixelTarget() const
{
    ZF_VID_PROPS vidProps = VidPropsIn();
    vidProps.fccType = eZFCC_ARGB32;
    vidProps.nHeight = -std::abs(vidProps.nHeight);
    vidProps.nRowBytes = 0;
    return GPU_TargetOf(vidProps);
}

bool GPUUnmix::IsTaken(uint32_t _fccType)
{
    return DX_TextureFormat(_fccType) != DXGI_FORMAT_UNKNOWN && _fccType != eZFCC_RGB8;
}

void GPUUnmix::FrameDrop()
{
    FrameEnd();
    m_cpResult.Reset();
    m_cpDeep.Reset();
    m_cpDeepMade.Reset();
    m_samples.reset();
    m_pLearner = nullptr;
    if (!Device()) // it was removed
        DeviceLeave();
}

/// Lets go of what is of the device in use, and of what it failed to do.
void GPUUnmix::DeviceLeave()
{
    m_arrShaders = {};
    m_gridCells = {};
    m_gridBack = {};
    m_gridFore = {};
    m_gridDeep = {};
    m_gridShade = {};
    m_gridGarbage = {};
    m_gridHoldOut = {};
    m_gridMarked = {};
    m_cpPast.Reset();
    m_backOff.Forget();
}

void GPUUnmix::Close()
{
    FrameDrop();
    DeviceLeave();
    GPUProcessorBase::Close();
}

HRESULT GPUUnmix::ShaderGet(eShader _eShader, ID3D11PixelShader** _ppShader)
{
    using TEXT_OF = std::string (*)();
    static constexpr TEXT_OF c_arrTexts[eS_Count] = {
        UnmixOpenShader_Text, UnmixCellsShader_Text, UnmixFactorsShader_Text, UnmixDeepShader_Text,
        UnmixPastShader_Text, UnmixPixelShader_Text, UnmixAlphaShader_Text,   UnmixChokeShader_Text,
        UnmixBlurShader_Text, UnmixEdgedShader_Text};
    CZPtr<ID3D11PixelShader>& cpShader = m_arrShaders[_eShader];
    if (!cpShader)
    {
        const HRESULT hr = DX11Device::PixelShader_Get(Device()->Device(), c_arrTexts[_eShader]().c_str(), c_nShaderTag,
                                                       cpShader.Put());
        if (FAILED(hr))
            return LogIfFailed("Unable to create pixel shader!", hr);
    }
    *_ppShader = CZPtr<ID3D11PixelShader>(cpShader).Detach();
    return S_OK;
}

HRESULT GPUUnmix::PassWith(eShader _eShader, std::span<ID3D11Texture2D* const> _inputs,
                           std::span<const std::byte> _constants, const GPU_TARGET& _target, IDX11Texture** _ppTexOut)
{
    CZPtr<ID3D11PixelShader> cpShader;
    const HRESULT hr = ShaderGet(_eShader, cpShader.Put());
    return SUCCEEDED(hr)
               ? Render(_inputs, {cpShader.Get(), nullptr, _constants.data(), _constants.size()}, _target, _ppTexOut)
               : hr;
}

HRESULT GPUUnmix::GridPut(GRID* _pGrid, int _nWidth, int _nHeight, DXGI_FORMAT _eFormat, const void* _pData,
                          size_t _cbRow)
{
    const auto nWidth = static_cast<UINT>(_nWidth), nHeight = static_cast<UINT>(_nHeight);
    if (!_pGrid->cpTexture || _pGrid->desc.Width != nWidth || _pGrid->desc.Height != nHeight)
    {
        *_pGrid = {};
        _pGrid->desc = CD3D11_TEXTURE2D_DESC(_eFormat, nWidth, nHeight, 1, 1, D3D11_BIND_SHADER_RESOURCE);
        const HRESULT hr = Device()->Device()->CreateTexture2D(&_pGrid->desc, nullptr, _pGrid->cpTexture.Put());
        if (FAILED(hr) || !_pGrid->cpTexture)
            return LogIfFailed("Unable to create a texture for what was learned!", FAILED(hr) ? hr : E_UNEXPECTED);
    }
    Device()->Context()->UpdateSubresource(_pGrid->cpTexture.Get(), 0, nullptr, _pData, static_cast<UINT>(_cbRow), 0);
    return S_OK;
}

HRESULT GPUUnmix::GridsPut(const UNMIX_STATE& _state)
{
    const UNMIX_CELLS& cells = _state.arrFields[0].cells;
    const size_t cbPlateRow = sizeof(VEC4) * static_cast<size_t>(_state.nPlateWidth);
    HRESULT hr = GridPut(&m_gridCells, cells.nWidth, _state.nFields * cells.nHeight, DXGI_FORMAT_R32_UINT,
                         m_uploads.vecCells.data(), sizeof(uint32_t) * static_cast<size_t>(cells.nWidth));
    if (SUCCEEDED(hr))
        hr = GridPut(&m_gridBack, _state.nPlateWidth, _state.nPlateHeight, DXGI_FORMAT_R32G32B32A32_FLOAT,
                     _state.vecPlate.data(), cbPlateRow);
    if (SUCCEEDED(hr))
        hr = GridPut(&m_gridFore, _state.nPlateWidth, _state.nFields * _state.nPlateHeight,
                     DXGI_FORMAT_R32G32B32A32_FLOAT, m_uploads.vecFore.data(), cbPlateRow);
    return hr;
}

/// Makes sure that the differences of the frame before are here, where there are any.
HRESULT GPUUnmix::PastEnsure(UNMIX_STATE& _state)
{
    const std::span fields(_state.arrFields, static_cast<size_t>(_state.nFields));
    bool bHere = static_cast<bool>(m_cpPast);
    for (const FIELD_STATE& field : fields)
        bHere &= field.pPastAt == this;
    if (bHere)
        return S_OK;
    m_cpPast.Reset();
    for (FIELD_STATE& field : fields)
        Pixels_TakePast(field);
    UnmixUploads_Past(_state, &m_uploads);
    const GPU_TARGET target = TargetOf(_state.nWidth, _state.nHeight, DXGI_FORMAT_R16_SINT, VidPropsIn());
    const CD3D11_TEXTURE2D_DESC desc(target.eFormat, target.nWidth, target.nHeight, 1, 1,
                                     D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET);
    const HRESULT hr = DX11Texture::Create(Allocator(), Device()->Device(), &desc, target.vidProps, m_cpPast.Put());
    if (FAILED(hr))
        return LogIfFailed("Unable to create a texture for what was learned!", hr);
    Device()->Context()->UpdateSubresource(TextureIn(m_cpPast.Get()).Get(), 0, nullptr, m_uploads.vecPast.data(),
                                           2 * target.nWidth, 0);
    for (FIELD_STATE& field : fields)
        field.pPastAt = this;
    return S_OK;
}

/// With every frame: another region may have the place of one that is gone.
HRESULT GPUUnmix::RegionPut(GRID* _pGrid, const UNMIX_STATE& _state, const UNMIX_REGION& _region, int32_t _nBit)
{
    if (!(m_uploads.constants.anMore[2] & _nBit))
        return S_OK;
    return GridPut(_pGrid, _state.nWidth, _state.nHeight, DXGI_FORMAT_R8_UNORM, _region.pRow0,
                   static_cast<size_t>(_region.nStride));
}

/// What comes after the pixels.
HRESULT GPUUnmix::AfterPut(const UNMIX_STATE& _state)
{
    HRESULT hr = S_OK;
    if (m_uploads.constants.anMore[2] & eUAfter_Shadows)
        hr = GridPut(&m_gridShade, _state.nPlateWidth, _state.nPlateHeight, DXGI_FORMAT_R32_FLOAT,
                     _state.vecShade.data(), sizeof(float) * static_cast<size_t>(_state.nPlateWidth));
    if (SUCCEEDED(hr))
        hr = RegionPut(&m_gridGarbage, _state, _state.setup.garbage, eUAfter_Garbage);
    if (SUCCEEDED(hr))
        hr = RegionPut(&m_gridHoldOut, _state, _state.setup.holdOut, eUAfter_HoldOut);
    return SUCCEEDED(hr) ? RegionPut(&m_gridMarked, _state, _state.setup.backdrop, eUAfter_Marked) : hr;
}

/// Brings the differences of the frame before to those of this one.
HRESULT GPUUnmix::PastPass(UNMIX_STATE& _state, ID3D11Texture2D* _pPicture)
{
    HRESULT hr = PastEnsure(_state);
    if (FAILED(hr))
        return hr;
    const auto cpPast = TextureIn(m_cpPast.Get());
    ID3D11Texture2D* const arrInputs[] = {_pPicture,
                                          m_gridCells.cpTexture.Get(),
                                          m_gridBack.cpTexture.Get(),
                                          nullptr,
                                          cpPast.Get(),
                                          nullptr,
                                          nullptr,
                                          nullptr,
                                          nullptr,
                                          m_cpDeep.Get()};
    CZPtr<IDX11Texture> cpNew;
    hr = Pass(eS_Past, arrInputs, m_uploads.constants,
              TargetOf(_state.nWidth, _state.nHeight, DXGI_FORMAT_R16_SINT, VidPropsIn()), cpNew.Put());
    m_cpPast = std::move(cpNew); // none after a failure: who keys next starts the filter anew
    return hr;
}

/// The result, of what m_uploads has.
HRESULT GPUUnmix::PixelPass(UNMIX_STATE& _state, ID3D11Texture2D* _pPicture, const GPU_TARGET& _target)
{
    HRESULT hr = GridsPut(_state);
    if (SUCCEEDED(hr))
        hr = AfterPut(_state);
    if (SUCCEEDED(hr) && m_samples && _state.nKeys > 0)
        hr = DeepPasses(*m_samples, _pPicture);
    const bool bPast = m_uploads.constants.anFilter[1];
    if (SUCCEEDED(hr) && bPast)
        hr = PastPass(_state, _pPicture);
    if (FAILED(hr))
        return hr;
    const auto cpPast = TextureIn(bPast ? m_cpPast.Get() : nullptr);
    ID3D11Texture2D* const arrInputs[] = {_pPicture,
                                          m_gridCells.cpTexture.Get(),
                                          m_gridBack.cpTexture.Get(),
                                          m_gridFore.cpTexture.Get(),
                                          cpPast.Get(),
                                          m_gridGarbage.cpTexture.Get(),
                                          m_gridHoldOut.cpTexture.Get(),
                                          m_gridShade.cpTexture.Get(),
                                          m_gridMarked.cpTexture.Get(),
                                          m_cpDeep.Get()};
    return Pass(eS_Pixel, arrInputs, m_uploads.constants, _target, m_cpResult.Put());
}

// Pictures in memory.

HRESULT GPUUnmix::Pixels(UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_PICTURE& _picture,
                         const UNMIX_RESULT& _result, const ENGINE_GPU_OPTIONS& _options)
{
    const CZScopeExit frameDrop([this] { FrameDrop(); }); // also where something throws
    const PLAN plan = {false, _state.kind.fccType};
    HRESULT hr = m_backOff.Check(plan, _options.nChange);
    if (FAILED(hr))
        return hr;
    hr = PixelsTry(_state, _input, _picture, _result, _options);
    m_backOff.Note(plan, _options.nChange, hr);
    return hr;
}

HRESULT GPUUnmix::BytesPut(const UNMIX_PICTURE& _picture)
{
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = eZFCC_ARGB32;
    vidProps.nWidth = _picture.nWidth;
    vidProps.nHeight = -_picture.nHeight;
    ZF_VID_PTR vidPtr = {};
    vidPtr.lpVideoPlanes[0] = static_cast<int64_t>(reinterpret_cast<intptr_t>(_picture.pRow0));
    vidPtr.cbVideoRowBytes[0] = static_cast<int32_t>(_picture.nStride);
    vidPtr.szVideoPlanes[0] = {_picture.nWidth, _picture.nHeight};
    HRESULT hr = _PutVideo(&vidProps, &vidPtr, false);
    if (FAILED(hr) || !_picture.pDeep0)
        return hr;
    hr = GridPut(&m_gridDeep, _picture.nWidth, _picture.nHeight, DXGI_FORMAT_R16G16B16A16_UINT, _picture.pDeep0,
                 sizeof(uint16_t) * static_cast<size_t>(_picture.nDeepStride));
    m_cpDeep = m_gridDeep.cpTexture;
    return hr;
}

HRESULT GPUUnmix::PicturePut(const UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_PICTURE& _picture,
                             CZPtr<IDX11Texture>* _pcpPicture)
{
    HRESULT hr = S_OK;
    if (!_picture.pDeep0 && !RefusalOf(_input.vidProps))
    {
        hr = _PutVideo(&_input.vidProps, &_input.vidPtr, false);
        return SUCCEEDED(hr) ? Opened(static_cast<eZYMatrix>(_state.kind.nMatrix), _pcpPicture) : hr;
    }
    hr = BytesPut(_picture);
    if (!_picture.pDeep0)
        PixelSamplesTake(_state);
    *_pcpPicture = CZPtr<IDX11Texture>(TexIn());
    return hr;
}

HRESULT GPUUnmix::PixelsTry(UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_PICTURE& _picture,
                            const UNMIX_RESULT& _result, const ENGINE_GPU_OPTIONS& _options)
{
    CZPtr<IDX11Texture> cpPicture;
    HRESULT hr = PicturePut(_state, _input, _picture, &cpPicture);
    if (SUCCEEDED(hr))
    {
        UnmixUploads_Fill(_state, _picture.bAlpha, &m_uploads);
        UnmixUploads_Deep(_picture.pDeep0 != nullptr, _picture.bDeepSolid, _result.bWords, &m_uploads);
        GPU_TARGET target = PixelTarget();
        if (_result.bWords)
            target.eFormat = DXGI_FORMAT_R16G16B16A16_UNORM;
        hr = PixelPass(_state, TextureIn(cpPicture.Get()).Get(), target);
    }
    if (FAILED(hr))
        return LogIfFailed("Failed to key a frame!", hr);
    if (_options.bFlushContext)
        Device()->Context()->Flush();
    return LogIfFailed("Unable to convert GPU frame to CPU frame!", ResultRead(_result));
}

/// Brings the result back; waits for the GPU.
HRESULT GPUUnmix::ResultRead(const UNMIX_RESULT& _result)
{
    return TexelsRead(m_cpResult.Get(), [&](const D3D11_MAPPED_SUBRESOURCE& _mapped) {
        const size_t cbRow = size_t{_result.bWords ? 8u : 4u} * static_cast<size_t>(VidPropsIn().nWidth);
        for (int y = 0; y < std::abs(VidPropsIn().nHeight); ++y)
            std::memcpy(_result.Bytes(y), static_cast<const uint8_t*>(_mapped.pData) + size_t{_mapped.RowPitch} * y,
                        cbRow);
        return S_OK;
    });
}

/// Brings a texture's texels back, for _take; waits for the GPU.
HRESULT GPUUnmix::TexelsRead(IDX11Texture* _pTexture,
                             const std::function<HRESULT(const D3D11_MAPPED_SUBRESOURCE&)>& _take)
{
    const auto cpFrom = TextureIn(_pTexture);
    D3D11_TEXTURE2D_DESC desc = {};
    cpFrom->GetDesc(&desc);
    desc.Usage = D3D11_USAGE_STAGING;
    desc.BindFlags = 0;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    CZPtr<IDX11Texture> cpReadable;
    HRESULT hr = DX11Texture::Create(Allocator(), Device()->Device(), &desc, VidPropsIn(), cpReadable.Put());
    if (FAILED(hr))
        return LogIfFailed("Unable to create a texture to read from!", hr);
    const auto cpTexture = TextureIn(cpReadable.Get());
    Device()->Context()->CopyResource(cpTexture.Get(), cpFrom.Get());
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    hr = Device()->Context()->Map(cpTexture.Get(), 0, D3D11_MAP_READ, 0, &mapped);
    if (FAILED(hr) || !mapped.pData)
        return LogIfFailed("Failed to map a texture!", FAILED(hr) ? hr : E_UNEXPECTED);
    const CZScopeExit unmap([&] { Device()->Context()->Unmap(cpTexture.Get(), 0); });
    return _take(mapped);
}

// Frames in textures.

HRESULT GPUUnmix::Key(IZFFrame* _pFrame, IUnmixLearner& _learner, const ENGINE_GPU_OPTIONS& _options,
                      IZFFrame** _ppFrameRes)
{
    const CZScopeExit frameDrop([this] { FrameDrop(); });
    const auto cpTexture = TextureIn(GPU_TextureOf(_pFrame).Get());
    if (cpTexture && Device() && !DX_SameObject(DX_DeviceOf(cpTexture.Get()).Get(), Device()->Device()))
        Close(); // this one takes its place
    ZF_VID_PROPS vidProps = {};
    HRESULT hr = _pFrame->VideoPropsGet(&vidProps);
    const PLAN plan = {true, vidProps.fccType};
    if (SUCCEEDED(hr))
        hr = m_backOff.Check(plan, _options.nChange);
    if (FAILED(hr))
        return hr;
    m_pLearner = &_learner;
    m_options = _options;
    hr = ProcessFrameExternal(_pFrame, _options.bFlushContext, _ppFrameRes);
    m_backOff.Note(plan, _options.nChange, hr);
    return hr;
}

HRESULT GPUUnmix::ProcessFrame()
{
    CZPtr<IDX11Texture> cpPicture(TexIn());
    HRESULT hr = IsPixels(VidPropsIn().fccType) ? S_OK : Opened(m_options.eMatrix, &cpPicture);
    if (SUCCEEDED(hr))
        hr = CellsLearn(cpPicture.Get());
    if (SUCCEEDED(hr))
        hr = PicturePasses(TextureIn(cpPicture.Get()).Get());
    return LogIfFailed("Failed to key a frame!", hr);
}

HRESULT GPUUnmix::PicturePasses(ID3D11Texture2D* _pPicture)
{
    UNMIX_STATE& state = m_pLearner->State();
    UnmixUploads_Fill(state, VidPropsIn().fccType == eZFCC_ARGB32, &m_uploads);
    if (IsPixels(VidPropsIn().fccType))
        PixelSamplesTake(state);
    const bool bEdges = UnmixUploads_Edges(state, &m_uploads);
    if (!bEdges)
        UnmixUploads_After(state, m_options.bPremultiply, &m_uploads);
    const GPU_TARGET target = PixelTarget();
    const HRESULT hr = PixelPass(state, _pPicture, target);
    if (FAILED(hr) || !bEdges)
        return hr;
    UnmixUploads_After(state, m_options.bPremultiply, &m_uploads);
    return EdgePasses(state, _pPicture, target);
}

HRESULT GPUUnmix::CellsLearn(IDX11Texture* _pPicture)
{
    const UNMIX_CONSTANTS constants = UnmixUploads_CellConstants(VidPropsIn(), VidPropsIn().fccType == eZFCC_ARGB32);
    ID3D11Texture2D* const arrInputs[] = {TextureIn(_pPicture).Get()}; // the picture outlives the pass
    CZPtr<IDX11Texture> cpCells;
    const HRESULT hr = Pass(
        eS_Cells, arrInputs, constants,
        TargetOf(constants.anGrid[0], Cells_InputRows(VidPropsIn()).All(), DXGI_FORMAT_R32G32B32A32_UINT, VidPropsIn()),
        cpCells.Put());
    if (FAILED(hr))
        return hr;
    return TexelsRead(cpCells.Get(), [&](const D3D11_MAPPED_SUBRESOURCE& _mapped) {
        return m_pLearner->Learn({VidPropsIn(), m_options.eMatrix, static_cast<const uint8_t*>(_mapped.pData),
                                  static_cast<ptrdiff_t>(_mapped.RowPitch)});
    });
}

/// The picture attributes of the input's texture belong to the result's, too.
HRESULT GPUUnmix::GetFrame(IZFFrame** _ppFrameOut)
{
    DX_PICTURE_ATTRIBUTES attributes = {};
    HRESULT hr = TexIn()->AttributesGet(&attributes);
    if (SUCCEEDED(hr))
        hr = m_cpResult->AttributesSet(&attributes);
    return SUCCEEDED(hr) ? GetGPUFrame(m_cpResult.Get(), _ppFrameOut)
                         : LogIfFailed("Failed to copy picture attributes!", hr);
}
