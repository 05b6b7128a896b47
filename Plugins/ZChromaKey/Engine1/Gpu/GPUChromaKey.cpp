#include "ZChromaKey/Engine1/Gpu/GPUChromaKey.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Base/ZScope.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Shaders/SmoothShader.h"
#include "ZChromaKey/Engine1/Gpu/GPUKeyResult.h"

#include <cstdlib>
#include <string>

namespace
{

constexpr char c_szNoKeyShader[] = "Unable to create pixel shader for chroma key! Error code %#X!";
constexpr char c_szNoMaskShader[] = "Unable to create pixel shader for chroma key! Error code %#x!";
constexpr char c_szNoSmoothShader[] = "Unable to create pixel shader for smoothing!";

HRESULT LogIfFailed(const char* _pszMessage, HRESULT _hr, const char* _pszStep = "ProcessFrame")
{
    if (FAILED(_hr))
        ZLog(eZLog_Error, "GPUChromaKey::%hs: %hs hr=%08X\n", _pszStep, _pszMessage, _hr);
    return _hr;
}

int32_t EvenUp(int32_t _nWidth)
{
    return _nWidth + _nWidth % 2;
}

} // namespace

/// The record of a pass's target: the input's, of another format and size.
ZF_VID_PROPS GPUChromaKey::PropsOf(uint32_t _fccType, int32_t _nWidth, int32_t _nHeight) const
{
    ZF_VID_PROPS vidProps = VidPropsIn();
    vidProps.fccType = _fccType;
    vidProps.nWidth = _nWidth;
    vidProps.nHeight = FCC_IsRGB(_fccType) ? -std::abs(_nHeight) : std::abs(_nHeight);
    vidProps.nRowBytes = 0;
    return vidProps;
}

HRESULT GPUChromaKey::Key(IZFFrame* _pFrame, const GPU_KEY_SETTINGS& _settings, IZFFrame** _ppFrameRes)
{
    const CZScopeExit frameDrop([this] { FrameDrop(); }); // also where something throws
    m_vecFrames.clear();
    ZF_VID_PROPS vidProps = {};
    HRESULT hr = _pFrame->VideoPropsGet(&vidProps);
    CZPtr<IZFFrame> cpInput;
    if (SUCCEEDED(hr))
        hr = InputMake(_pFrame, vidProps, _settings, &cpInput);
    if (SUCCEEDED(hr))
    {
        Shader_FillKeys(_settings.key, vidProps.nWidth, vidProps.nHeight, false, &m_ckSettings);
        if (m_plan.nSmooth > 0) // the last smoothing pass inverts
            m_ckSettings.ipar[3] = 0;
        ShadersCheck(_settings.key);
        hr = ProcessFrameExternal(cpInput.Get(), _settings.bFlushContext, _ppFrameRes);
        m_backOff.Note(m_plan, _settings.nChange, hr);
    }
    return hr;
}

void GPUChromaKey::Close()
{
    FrameDrop();
    DeviceLeave();
    m_shaders.Close();
    GPUProcessorBase::Close();
}

bool GPUChromaKey::IsTaken(uint32_t _fccType)
{
    return DX_TextureFormat(_fccType) != DXGI_FORMAT_UNKNOWN && _fccType != eZFCC_RGB8;
}

/// Plans the frame, and converts it where the pipeline cannot take it as it is.
HRESULT GPUChromaKey::InputMake(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, const GPU_KEY_SETTINGS& _settings,
                                CZPtr<IZFFrame>* _pcpInput)
{
    const auto cpTexture = GPU_TextureOf(_pFrame);
    CZPtr<ID3D11Texture2D> cpTexture2D;
    if (cpTexture && SUCCEEDED(cpTexture->TextureGet(cpTexture2D.Put())) && Device() &&
        !DX_SameObject(DX_DeviceOf(cpTexture2D.Get()).Get(), Device()->Device()))
    {
        DeviceLeave(); // this one takes its place
        GPUProcessorBase::Close();
    }
    *_pcpInput = CZPtr<IZFFrame>(_pFrame);
    m_cpFrameOriginal = ZQuery<IZFFrame2>(_pFrame);
    HRESULT hr = m_cpFrameOriginal ? GPUKeyPlan_Make(_vidProps, static_cast<bool>(cpTexture), _settings, &m_plan)
                                   : E_NOINTERFACE;
    if (hr == E_NOTIMPL)
    {
        const bool bLogged = std::exchange(m_fccRefused, _vidProps.fccType) == _vidProps.fccType;
        ZLog(bLogged ? eZLog_Verbose : eZLog_Info, "GPUChromaKey::ProcessFrame: Invalid FCC type of input frame! %ws\n",
             VidProps_Text(&_vidProps));
    }
    if (SUCCEEDED(hr))
        hr = m_backOff.Check(m_plan, _settings.nChange);
    if (FAILED(hr) || m_plan.eInput != eGI_CPUARGB)
        return hr;
    hr = m_cpFrameOriginal->FrameConvert(eZFC_Converted, eZFCC_ARGB32, _pcpInput->Put());
    m_vecFrames.push_back(*_pcpInput);
    return LogIfFailed("Failed to convert to ARGB!", SUCCEEDED(hr) && !*_pcpInput ? E_UNEXPECTED : hr);
}

void GPUChromaKey::FrameDrop()
{
    m_cpTexPicture.Reset();
    m_cpTexPacked.Reset();
    m_cpTexMask.Reset();
    m_cpFrameOriginal.Reset();
    if (!Device()) // it was removed
        DeviceLeave();
}

/// Lets go of what is of the device in use, and of what it failed to do.
void GPUChromaKey::DeviceLeave()
{
    m_shaders.Drop();
    m_converter.Close();
    m_backOff.Forget();
}

HRESULT GPUChromaKey::ProcessFrame()
{
    CZPtr<IDX11Texture> cpTexIn(TexIn());
    HRESULT hr = m_plan.eInput == eGI_GPUPacked ? PackedPass(&cpTexIn) : S_OK;
    if (FAILED(hr))
        return hr;
    switch (m_plan.eResult)
    {
    case eGR_Texture:
    case eGR_Picture:
        return PicturePasses(cpTexIn.Get(), m_plan.shader.bColorCancel, m_cpTexPicture.Put());
    case eGR_Packed:
        hr = KeyPass(cpTexIn.Get(), eKO_Packed, true, m_cpTexPacked.Put());
        return SUCCEEDED(hr) ? MaskPasses(cpTexIn.Get()) : hr;
    default:
        return MaskPasses(cpTexIn.Get());
    }
}

/// Drops the shaders when keys of another type come or the smoothing changes.
void GPUChromaKey::ShadersCheck(const CHROMA_KEY_RAW& _key)
{
    const int32_t nSmooth = Shader_SmoothPasses(_key.nEdgesSmooth);
    if (_key.eType == m_eTypeShaders && nSmooth == m_nSmoothShaders)
        return;
    m_shaders.Drop();
    m_eTypeShaders = _key.eType;
    m_nSmoothShaders = nSmooth;
}

HRESULT GPUChromaKey::ShaderGet(const GPU_SHADER& _shader, const char* _pszFailure, ID3D11PixelShader** _ppShader)
{
    const HRESULT hr = m_shaders.Get(Device(), _shader, _ppShader);
    if (FAILED(hr))
        ZLog(eZLog_Error, (std::string("GPUChromaKey::ProcessFrame: ") + _pszFailure + "\n").c_str(), hr);
    return hr;
}

HRESULT GPUChromaKey::Pass(const GPU_SHADER& _shader, const char* _pszFailure, const void* _pConstants,
                           size_t _cbConstants, IDX11Texture* _pTexIn, const GPU_TARGET& _target,
                           IDX11Texture** _ppTexOut)
{
    CZPtr<ID3D11PixelShader> cpShader;
    const HRESULT hr = ShaderGet(_shader, _pszFailure, cpShader.Put());
    if (FAILED(hr))
        return hr;
    return Render(_pTexIn, {cpShader.Get(), Device()->SamplerPoint(), _pConstants, _cbConstants}, _target, _ppTexOut);
}

/// A planar picture into UYVY, the samples unchanged.
HRESULT GPUChromaKey::PackedPass(CZPtr<IDX11Texture>* _pcpTexIn)
{
    const ZF_VID_PROPS& vidProps = VidPropsIn();
    ZF_VID_PROPS vidPropsPacked = vidProps;
    vidPropsPacked.fccType = m_plan.fccKeyed;
    vidPropsPacked.nRowBytes = 0;
    CZPtr<ID3D11Texture2D> cpTexture;
    CZPtr<IDX11Texture> cpPacked;
    HRESULT hr = (*_pcpTexIn)->TextureGet(cpTexture.Put());
    if (SUCCEEDED(hr))
        hr = m_converter.Convert(Device(), &vidProps, &vidPropsPacked, cpTexture.Get(), Allocator(), cpPacked.Put(),
                                 m_plan.shader.eMatrix);
    *_pcpTexIn = std::move(cpPacked);
    return hr;
}

HRESULT GPUChromaKey::KeyPass(IDX11Texture* _pTexIn, eKeyOutput _eOutput, bool _bCancel, IDX11Texture** _ppTexOut)
{
    KEY_SHADER shader = m_plan.shader;
    shader.eOutput = _eOutput;
    shader.bColorCancel = _bCancel;
    const bool bPacked = shader.eInput != eKI_RGB;
    const int32_t nWidth = bPacked ? EvenUp(VidPropsIn().nWidth) : VidPropsIn().nWidth;
    ZF_VID_PROPS vidPropsOut = PropsOf(eZFCC_ARGB32, nWidth, VidPropsIn().nHeight);
    if (_eOutput == eKO_Packed)
        vidPropsOut = PropsOf(m_plan.fccKeyed, nWidth, VidPropsIn().nHeight);
    else if (_eOutput == eKO_Mask) // packed pictures: four alphas a texel
        vidPropsOut =
            PropsOf(bPacked ? eZFCC_RGB32 : eZFCC_RGB8, bPacked ? (nWidth + 3) / 4 : nWidth, VidPropsIn().nHeight);
    return Pass(shader, _eOutput == eKO_Mask ? c_szNoMaskShader : c_szNoKeyShader, &m_ckSettings, sizeof(m_ckSettings),
                _pTexIn, GPU_TargetOf(vidPropsOut), _ppTexOut);
}

HRESULT GPUChromaKey::SmoothPasses(CZPtr<IDX11Texture>* _pcpPicture)
{
    ZF_VID_PROPS vidProps = {};
    HRESULT hr = (*_pcpPicture)->VideoPropsGet(&vidProps);
    const SMOOTH_SETTINGS settings = Shader_FillSmooth(vidProps.nWidth, std::abs(vidProps.nHeight), m_plan.bInterlaced);
    for (int32_t n = 0; n < m_plan.nSmooth && SUCCEEDED(hr); ++n)
    {
        CZPtr<IDX11Texture> cpSmoothed;
        const SMOOTH_SHADER shader = {false, m_plan.bInverse && n + 1 == m_plan.nSmooth};
        hr = Pass(shader, c_szNoSmoothShader, &settings, sizeof(settings), _pcpPicture->Get(), GPU_TargetOf(vidProps),
                  cpSmoothed.Put());
        *_pcpPicture = std::move(cpSmoothed);
    }
    return LogIfFailed("Failed to smooth ChromaKey output!", hr);
}

HRESULT GPUChromaKey::PicturePasses(IDX11Texture* _pTexIn, bool _bCancel, IDX11Texture** _ppPicture)
{
    CZPtr<IDX11Texture> cpPicture;
    HRESULT hr = KeyPass(_pTexIn, eKO_Picture, _bCancel, cpPicture.Put());
    if (SUCCEEDED(hr))
        hr = SmoothPasses(&cpPicture);
    *_ppPicture = cpPicture.Detach();
    return hr;
}

/// The alpha alone: in one pass, or from a picture where it has to be smoothed.
HRESULT GPUChromaKey::MaskPasses(IDX11Texture* _pTexIn)
{
    if (m_plan.nSmooth == 0)
        return KeyPass(_pTexIn, eKO_Mask, false, m_cpTexMask.Put());
    CZPtr<IDX11Texture> cpPicture;
    const HRESULT hr = PicturePasses(_pTexIn, false, cpPicture.Put());
    if (FAILED(hr))
        return hr;
    return LogIfFailed("Failed to render RGB8 conversion!",
                       Pass(ALPHA_MASK_SHADER(), c_szNoMaskShader, nullptr, 0, cpPicture.Get(),
                            GPU_TargetOf(PropsOf(eZFCC_RGB8, VidPropsIn().nWidth, VidPropsIn().nHeight)),
                            m_cpTexMask.Put()));
}

/// The picture attributes of the input's texture belong to the result's, too.
HRESULT GPUChromaKey::AttributesCopy()
{
    DX_PICTURE_ATTRIBUTES attributes = {};
    const HRESULT hr = TexIn()->AttributesGet(&attributes);
    return SUCCEEDED(hr) ? m_cpTexPicture->AttributesSet(&attributes) : hr;
}

HRESULT GPUChromaKey::GetFrame(IZFFrame** _ppFrameOut)
{
    if (m_plan.eResult == eGR_Texture)
    {
        const HRESULT hr = LogIfFailed("Failed to copy picture attributes!", AttributesCopy(), "GetFrame");
        return SUCCEEDED(hr) ? GetGPUFrame(m_cpTexPicture.Get(), _ppFrameOut) : hr;
    }
    const GPU_KEY_RENDERED rendered = {
        m_plan,     m_cpFrameOriginal.Get(), FrameIn(), m_cpTexPicture.Get(), m_cpTexPacked.Get(), m_cpTexMask.Get(),
        Allocator()};
    return CGPUKeyResult(rendered, &m_downloader, &m_vecFrames).Make(_ppFrameOut);
}
