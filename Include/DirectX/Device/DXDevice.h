#pragma once

#include "DirectX/Device/DXBase.h"

#include <initializer_list>
#include <string_view>

/// The kinds of shaders that Shader_Compile knows.
enum eDX_Shader : int32_t
{
    eDXS_Pixel = 0,
    eDXS_Vertex = 1,
    eDXS_Compute = 5,
};

/// Leave the bound sampler as it is.
inline constexpr uint32_t c_nFilterNone = 0xFFFFFFFF;

/// The one object through which the GPU path reaches Direct3D 11: device, immediate context, and a kit for full-screen
/// passes (vertex shader, input layout, quad, point and linear sampler).
///
/// The device is multithread-protected; whole passes are serialised by the caller, since they share the context's
/// state, of which nothing is assumed: a host may use the same context between passes. Every operation logs its failure
/// under its qualified name ("DX11Device::Init") and returns the code.
class DX11Device final : public CZUnknown<IUnknown>
{
public:
    /// A device from a source: a Direct3D 11 device or resource (its device is adopted), an adapter, or anything else
    /// or null (the default adapter). The environment variable ZCK_D3D_DEBUG=1 asks for the platform's debug layer on
    /// devices that are created; where there is none the log says so.
    static HRESULT Create(IUnknown* _pSourceOrNull, DX11Device** _ppObject);
    HRESULT Init(IUnknown* _pSourceOrNull);

    /// Compiles a text for a feature level; entry "PS", "VS" or "CS_Main" and target by kind and level. A text that
    /// fails again and again is logged once.
    static HRESULT Shader_Compile(const char* _pszShaderCode, eDX_Shader _eType, D3D_FEATURE_LEVEL _eLevel,
                                  ID3DBlob** _ppCode);
    HRESULT PixelShader_Create(const char* _pszShaderCode, ID3D11PixelShader** _ppPixelShader);
    /// The same from what Shader_Compile has made for the device's feature level.
    HRESULT PixelShader_Create(ID3DBlob* _pCode, ID3D11PixelShader** _ppPixelShader);
    /// The same, kept on the device under tag and text: compiled once. It goes with the last DX11Device of the device;
    /// without one it is not kept.
    static HRESULT PixelShader_Get(ID3D11Device* _pDevice, const char* _pszShaderCode, uint32_t _nTag,
                                   ID3D11PixelShader** _ppPixelShader);

    static HRESULT CreateSampler(ID3D11Device* _pDevice, uint32_t _nFilter, uint32_t _nAnisotropyMax,
                                 ID3D11SamplerState** _ppSamplerState);
    static HRESULT PS_SetSampler(ID3D11Device* _pDevice, uint32_t _nFilter, uint32_t _nAnisotropyMax);
    /// A constant block of up to 4096 bytes may have any length: it is padded to a multiple of 16.
    static HRESULT Buffer_Create(ID3D11Device* _pDevice, uint32_t _nBindFlags, const void* _pData, size_t _cbData,
                                 ID3D11Buffer** _ppBuffer);
    static HRESULT CreateConstantBuffer(ID3D11Device* _pDevice, const void* _pCBufData, size_t _nCBufSize,
                                        ID3D11Buffer** _ppBuffer);
    /// The vertex shader's constants (VS_ROTATE); asserted "!(_nSize % 16)".
    static HRESULT VertexConstants_Create(ID3D11Device* _pDevice, const void* _pData, size_t _nSize,
                                          ID3D11Buffer** _ppBuffer);

    /// Shader-resource view of a texture; of NV12 two: luma, and chroma as R8G8.
    static HRESULT Texture2SRV(ID3D11Texture2D* _pTexture, bool _bGenerateMips,
                               ID3D11ShaderResourceView** _ppShaderResource,
                               ID3D11ShaderResourceView** _ppShaderResource2 = nullptr);
    /// A render-target view of a texture, bound as the only render target.
    static HRESULT Texture_SetAsRenderTarget(ID3D11Texture2D* _pTexture, ID3D11RenderTargetView** _ppRTV);

    /// Unbinds everything that may be drawn or computed into. A texture that is still bound there, by the host, would
    /// be dropped without a word where a pass binds it as its input.
    static void OutputsUnbind(ID3D11DeviceContext* _pContext);

    /// A full-screen pass with clear to transparent green: pixel shader, inputs, sampler and constants are bound
    /// beforehand, and unbound by the caller. The viewport covers the whole target. E_UNEXPECTED for a view of another
    /// device.
    HRESULT Quad_Draw(ID3D11RenderTargetView* const* _ppRTV);

    /// A full-screen pass without clear. Sets the completion marker on the target.
    HRESULT PixelShader_Execute(ID3D11Texture2D* _pTarget, std::initializer_list<ID3D11Texture2D*> _arrInputs,
                                const char* _pszShaderCode, const void* _pConstants, size_t _cbConstants,
                                uint32_t _nFilter, uint32_t _nAnisotropyMax);
    HRESULT PixelShader_ExecuteBase(ID3D11Texture2D* _pTarget, std::initializer_list<ID3D11Texture2D*> _arrInputs,
                                    ID3D11PixelShader* _pPixelShader, ID3D11Buffer* _pConstantsOrNull);

    ID3D11Device* Device() const
    {
        return m_cpDevice.Get();
    }
    ID3D11DeviceContext* Context() const
    {
        return m_cpDeviceContext.Get();
    }
    ID3D11SamplerState* SamplerPoint() const
    {
        return m_cpSamplerPoint.Get();
    }
    ID3D11SamplerState* SamplerLinear() const
    {
        return m_cpSamplerLinear.Get();
    }

private:
    DX11Device() = default;
    ~DX11Device() override;
    static CZPtr<ID3D11Device> DeviceAdopt(IUnknown* _pSourceOrNull);
    static HRESULT DeviceCreate(IUnknown* _pSourceOrNull, ID3D11Device** _ppDevice);
    HRESULT KitCreate();
    HRESULT VertexShader_Create(ID3DBlob** _ppCode);
    void QuadBind(uint32_t _nWidth, uint32_t _nHeight);

    CZPtr<ID3D11Device> m_cpDevice;
    CZPtr<ID3D11DeviceContext> m_cpDeviceContext;
    CZPtr<ID3D11VertexShader> m_cpVertexShader;
    CZPtr<ID3D11InputLayout> m_cpInputLayout;
    CZPtr<ID3D11Buffer> m_cpVertexBuffer;
    CZPtr<ID3D11SamplerState> m_cpSamplerPoint;
    CZPtr<ID3D11SamplerState> m_cpSamplerLinear;
};
