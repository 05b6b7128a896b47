// Every pass drawn on a device and read back, byte for byte against the twin of its formulas.

#include "DirectX/Shaders/SmoothShader.h"
#include "DirectX/Shaders/VertexShader.h"
#include "Interfaces/ZVideoTypes.h"
#include "Support/ShaderTwin.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <d3d11.h>
#include <d3dcompiler.h>
#include <wrl/client.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace
{

using Microsoft::WRL::ComPtr;
using ShaderTwin::PICTURE;

bool IsSingleChannel(uint32_t _fccType)
{
    return _fccType == eZFCC_RGB8 || Shader_PlanarLayout(_fccType);
}

class CDrawing
{
public:
    void Init()
    {
        const D3D_FEATURE_LEVEL arrLevels[] = {D3D_FEATURE_LEVEL_11_0, D3D_FEATURE_LEVEL_10_0};
        ASSERT_HRESULT_SUCCEEDED(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr,
                                                   D3D11_CREATE_DEVICE_BGRA_SUPPORT, arrLevels, 2, D3D11_SDK_VERSION,
                                                   &m_cpDevice, nullptr, &m_cpContext));
        const ComPtr<ID3DBlob> cpCode = Compile(VertexShader_Text(), "VS", "vs_4_0");
        ASSERT_TRUE(cpCode);
        ASSERT_HRESULT_SUCCEEDED(m_cpDevice->CreateVertexShader(cpCode->GetBufferPointer(), cpCode->GetBufferSize(),
                                                                nullptr, &m_cpVertexShader));
        const D3D11_INPUT_ELEMENT_DESC arrLayout[] = {
            {"POSITION", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, 0, D3D11_INPUT_PER_VERTEX_DATA, 0},
            {"TEXCOORD", 0, DXGI_FORMAT_R32G32_FLOAT, 0, 12, D3D11_INPUT_PER_VERTEX_DATA, 0},
            {"TEXINDEX", 0, DXGI_FORMAT_R32_UINT, 0, 20, D3D11_INPUT_PER_VERTEX_DATA, 0}};
        ASSERT_HRESULT_SUCCEEDED(m_cpDevice->CreateInputLayout(arrLayout, 3, cpCode->GetBufferPointer(),
                                                               cpCode->GetBufferSize(), &m_cpLayout));
        const auto arrQuad = Shader_Quad();
        m_cpQuad = Buffer(arrQuad.data(), sizeof(arrQuad), D3D11_BIND_VERTEX_BUFFER);
        ASSERT_TRUE(m_cpQuad);
    }

    /// Draws the pass and checks every byte of the target against _expected. _dblTolerance: in levels.
    void Check(const std::string& _strText, const void* _pConstants, size_t _cbConstants,
               const std::vector<const PICTURE*>& _arrInputs, const PICTURE& _expected, double _dblTolerance,
               bool _bLinear = false)
    {
        const std::vector<uint8_t> arrDrawn =
            Draw(_strText, _pConstants, _cbConstants, _arrInputs, _expected, _bLinear);
        ASSERT_EQ(arrDrawn.size(), _expected.arrBytes.size());
        int nWrong = 0;
        for (size_t i = 0; i < arrDrawn.size() && nWrong < 4; ++i)
        {
            const double dblExpected = 255 * _expected.arrBytes[i];
            if (std::fabs(arrDrawn[i] - dblExpected) <= _dblTolerance)
                continue;
            ++nWrong;
            ADD_FAILURE() << "row " << i / _expected.nStride << " byte " << i % _expected.nStride << ": "
                          << int{arrDrawn[i]} << " instead of " << dblExpected;
        }
    }

private:
    static ComPtr<ID3DBlob> Compile(const std::string& _strText, const char* _pszEntry, const char* _pszTarget)
    {
        ComPtr<ID3DBlob> cpCode;
        ComPtr<ID3DBlob> cpErrors;
        const HRESULT hr = D3DCompile(_strText.c_str(), _strText.size(), nullptr, nullptr, nullptr, _pszEntry,
                                      _pszTarget, 0, 0, &cpCode, &cpErrors);
        EXPECT_HRESULT_SUCCEEDED(hr) << (cpErrors ? static_cast<const char*>(cpErrors->GetBufferPointer()) : "");
        return cpCode;
    }

    ComPtr<ID3D11Buffer> Buffer(const void* _pData, size_t _cbData, UINT _nBind)
    {
        D3D11_BUFFER_DESC desc = {};
        desc.ByteWidth = static_cast<UINT>(_cbData);
        desc.BindFlags = _nBind;
        const D3D11_SUBRESOURCE_DATA data = {_pData, 0, 0};
        ComPtr<ID3D11Buffer> cpBuffer;
        EXPECT_HRESULT_SUCCEEDED(m_cpDevice->CreateBuffer(&desc, &data, &cpBuffer));
        return cpBuffer;
    }

    static D3D11_TEXTURE2D_DESC Desc(const PICTURE& _picture)
    {
        D3D11_TEXTURE2D_DESC desc = {};
        desc.Format = IsSingleChannel(_picture.fccType) ? DXGI_FORMAT_R8_UNORM : DXGI_FORMAT_B8G8R8A8_UNORM;
        desc.Width = static_cast<UINT>(_picture.nStride) / (desc.Format == DXGI_FORMAT_R8_UNORM ? 1 : 4);
        desc.Height = static_cast<UINT>(_picture.arrBytes.size()) / static_cast<UINT>(_picture.nStride);
        desc.MipLevels = desc.ArraySize = desc.SampleDesc.Count = 1;
        return desc;
    }

    ComPtr<ID3D11ShaderResourceView> View(const PICTURE& _picture)
    {
        std::vector<uint8_t> arrBytes;
        for (const double dblByte : _picture.arrBytes)
            arrBytes.push_back(static_cast<uint8_t>(std::lround(255 * dblByte)));
        D3D11_TEXTURE2D_DESC desc = Desc(_picture);
        desc.BindFlags = D3D11_BIND_SHADER_RESOURCE;
        const D3D11_SUBRESOURCE_DATA data = {arrBytes.data(), static_cast<UINT>(_picture.nStride), 0};
        ComPtr<ID3D11Texture2D> cpTexture;
        EXPECT_HRESULT_SUCCEEDED(m_cpDevice->CreateTexture2D(&desc, &data, &cpTexture));
        ComPtr<ID3D11ShaderResourceView> cpView;
        EXPECT_HRESULT_SUCCEEDED(m_cpDevice->CreateShaderResourceView(cpTexture.Get(), nullptr, &cpView));
        return cpView;
    }

    void BindPass(const std::string& _strText, const void* _pConstants, size_t _cbConstants, bool _bLinear)
    {
        const ComPtr<ID3DBlob> cpCode = Compile(_strText, "PS", "ps_4_0");
        ComPtr<ID3D11PixelShader> cpShader;
        if (cpCode)
            m_cpDevice->CreatePixelShader(cpCode->GetBufferPointer(), cpCode->GetBufferSize(), nullptr, &cpShader);
        ASSERT_TRUE(cpShader);
        D3D11_SAMPLER_DESC desc = {};
        desc.Filter = _bLinear ? D3D11_FILTER_MIN_MAG_MIP_LINEAR : D3D11_FILTER_MIN_MAG_MIP_POINT;
        desc.AddressU = desc.AddressV = desc.AddressW = D3D11_TEXTURE_ADDRESS_CLAMP;
        desc.MaxAnisotropy = 1;
        desc.ComparisonFunc = D3D11_COMPARISON_NEVER;
        ComPtr<ID3D11SamplerState> cpSampler;
        m_cpDevice->CreateSamplerState(&desc, &cpSampler);
        ComPtr<ID3D11Buffer> cpBuffer;
        if (_cbConstants)
            cpBuffer = Buffer(_pConstants, _cbConstants, D3D11_BIND_CONSTANT_BUFFER);
        m_cpContext->PSSetShader(cpShader.Get(), nullptr, 0);
        m_cpContext->PSSetSamplers(0, 1, cpSampler.GetAddressOf());
        m_cpContext->PSSetConstantBuffers(0, 1, cpBuffer.GetAddressOf());
    }

    void BindQuad()
    {
        const UINT nStride = sizeof(SHADER_VERTEX);
        const UINT nOffset = 0;
        m_cpContext->IASetInputLayout(m_cpLayout.Get());
        m_cpContext->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
        m_cpContext->IASetVertexBuffers(0, 1, m_cpQuad.GetAddressOf(), &nStride, &nOffset);
        m_cpContext->VSSetShader(m_cpVertexShader.Get(), nullptr, 0);
    }

    std::vector<uint8_t> Draw(const std::string& _strText, const void* _pConstants, size_t _cbConstants,
                              const std::vector<const PICTURE*>& _arrInputs, const PICTURE& _target, bool _bLinear)
    {
        D3D11_TEXTURE2D_DESC desc = Desc(_target);
        desc.BindFlags = D3D11_BIND_RENDER_TARGET;
        ComPtr<ID3D11Texture2D> cpTarget;
        ComPtr<ID3D11RenderTargetView> cpRTV;
        EXPECT_HRESULT_SUCCEEDED(m_cpDevice->CreateTexture2D(&desc, nullptr, &cpTarget));
        EXPECT_HRESULT_SUCCEEDED(m_cpDevice->CreateRenderTargetView(cpTarget.Get(), nullptr, &cpRTV));
        m_cpContext->OMSetRenderTargets(1, cpRTV.GetAddressOf(), nullptr);
        const D3D11_VIEWPORT viewport = {0, 0, static_cast<float>(desc.Width), static_cast<float>(desc.Height), 0, 1};
        m_cpContext->RSSetViewports(1, &viewport);
        for (UINT i = 0; i < _arrInputs.size(); ++i)
            m_cpContext->PSSetShaderResources(i, 1, View(*_arrInputs[i]).GetAddressOf());
        BindPass(_strText, _pConstants, _cbConstants, _bLinear);
        BindQuad();
        m_cpContext->Draw(6, 0);
        return Read(cpTarget.Get(), _target);
    }

    std::vector<uint8_t> Read(ID3D11Texture2D* _pTexture, const PICTURE& _target)
    {
        D3D11_TEXTURE2D_DESC desc = Desc(_target);
        desc.Usage = D3D11_USAGE_STAGING;
        desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
        ComPtr<ID3D11Texture2D> cpStaging;
        EXPECT_HRESULT_SUCCEEDED(m_cpDevice->CreateTexture2D(&desc, nullptr, &cpStaging));
        m_cpContext->CopyResource(cpStaging.Get(), _pTexture);
        D3D11_MAPPED_SUBRESOURCE mapped = {};
        EXPECT_HRESULT_SUCCEEDED(m_cpContext->Map(cpStaging.Get(), 0, D3D11_MAP_READ, 0, &mapped));
        std::vector<uint8_t> arrBytes(_target.arrBytes.size());
        for (UINT nRow = 0; nRow < desc.Height; ++nRow)
            std::memcpy(&arrBytes[nRow * size_t(_target.nStride)],
                        static_cast<const uint8_t*>(mapped.pData) + nRow * size_t{mapped.RowPitch},
                        static_cast<size_t>(_target.nStride));
        m_cpContext->Unmap(cpStaging.Get(), 0);
        return arrBytes;
    }

private:
    ComPtr<ID3D11Device> m_cpDevice;
    ComPtr<ID3D11DeviceContext> m_cpContext;
    ComPtr<ID3D11VertexShader> m_cpVertexShader;
    ComPtr<ID3D11InputLayout> m_cpLayout;
    ComPtr<ID3D11Buffer> m_cpQuad;
};

class ShaderRender : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_pDrawing = new CDrawing;
        s_pDrawing->Init();
    }
    static void TearDownTestSuite()
    {
        delete s_pDrawing;
        s_pDrawing = nullptr;
    }
    static CDrawing* s_pDrawing;
};
CDrawing* ShaderRender::s_pDrawing = nullptr;

/// Bytes without a pattern.
PICTURE Noise(uint32_t _fccType, int _nWidth, int _nHeight)
{
    PICTURE picture = ShaderTwin::Make(_fccType, _nWidth, _nHeight);
    uint32_t nState = 1;
    for (double& dblByte : picture.arrBytes)
    {
        nState = nState * 1664525u + 1013904223u;
        dblByte = (nState >> 24) / 255.0;
    }
    return picture;
}

constexpr uint32_t c_arrFormats[] = {eZFCC_RGB8, eZFCC_RGB32, eZFCC_ARGB32, eZFCC_UYVY, eZFCC_HDYC, eZFCC_YUY2,
                                     eZFCC_YVYU, eZFCC_NV12,  eZFCC_YV12,   eZFCC_I420, eZFCC_YV16, eZFCC_I422};
constexpr double c_dblRounded = 0.51;

CHROMA_KEY_RAW KeySet(int32_t _eType)
{
    CHROMA_KEY_RAW key = {};
    key.eType = _eType;
    key.nKeysUsed = 4;
    key.nMaxTransparent = 255;
    key.arrKeys[0] = {0xFF5A8C50, 0xFF302820, 90, 0, 40, 60, -20, 30, 90, 0};
    key.arrKeys[1] = {0xFFB04060, 0xFF182030, 60, 0, 10, -40, 10, -20, 60, 0};
    key.arrKeys[2] = {0xFF40C0C0, 0xFF181020, 70, 0, 20, 30, 0, 0, 70, 1};
    key.arrKeys[3] = {0xFF808080, 0, 70, 0, 20, 30, 0, 0, 70, 0}; // dead
    return key;
}

/// Each input, each type and each output with and without colour cancel; not all of their combinations, because
/// software devices take a second for each text.
TEST_F(ShaderRender, Keying)
{
    struct INPUT
    {
        eKeyInput eInput;
        uint32_t fccType;
        eSYMatrix eMatrix;
        eCK_Type eType;
        bool bInverse;
    };
    static constexpr INPUT c_arrInputs[] = {
        {eKI_RGB, eZFCC_RGB32, eSYM_601, eCKT_RGB, false}, {eKI_RGB, eZFCC_RGB32, eSYM_601, eCKT_HLS, true},
        {eKI_RGB, eZFCC_RGB32, eSYM_601, eCKT_YUV, false}, {eKI_UYVY, eZFCC_UYVY, eSYM_601, eCKT_RGB, false},
        {eKI_HDYC, eZFCC_HDYC, eSYM_709, eCKT_HLS, false}, {eKI_YUY2, eZFCC_YUY2, eSYM_601, eCKT_YUV, true}};
    for (const INPUT& input : c_arrInputs)
        for (const eKeyOutput eOutput : {eKO_Picture, eKO_Mask, eKO_Packed})
            for (const bool bCancel : {false, true})
            {
                const KEY_SHADER shader = {input.eType, input.eInput, eOutput, bCancel, input.eMatrix};
                const std::string strText = KeyShader_Text(shader);
                if (strText.empty() || (eOutput == eKO_Mask && bCancel)) // the same mask
                    continue;
                SCOPED_TRACE(testing::Message() << "type " << input.eType << " input " << input.eInput << " output "
                                                << eOutput << " cancel " << bCancel);
                CHROMA_KEY_RAW key = KeySet(input.eType);
                key.nInverseKey = input.bInverse;
                const PICTURE picture = Noise(input.fccType, 46, 20);
                CK_SETTINGS settings;
                Shader_FillKeys(key, 45, 20, false, &settings);
                PICTURE expected = ShaderTwin::Key(shader, settings, picture);
                if (input.eInput != eKI_RGB)
                    expected.fccType = eZFCC_ARGB32;           // the mask too has four bytes a texel
                const bool bLinear = input.eInput == eKI_HDYC; // no sampler may change anything
                s_pDrawing->Check(strText, &settings, sizeof(settings), {&picture}, expected, c_dblRounded, bLinear);
            }
}

TEST_F(ShaderRender, MaskOfAlpha)
{
    const PICTURE picture = Noise(eZFCC_ARGB32, 21, 8);
    PICTURE mask = ShaderTwin::Make(eZFCC_RGB8, 21, 8);
    for (size_t i = 0; i < mask.arrBytes.size(); ++i)
        mask.arrBytes[i] = picture.arrBytes[4 * i + 3];
    s_pDrawing->Check(AlphaMaskShader_Text(), nullptr, 0, {&picture}, mask, c_dblRounded);
}

TEST_F(ShaderRender, Smoothing)
{
    const PICTURE picture = Noise(eZFCC_ARGB32, 33, 26);
    for (const bool bInterlaced : {false, true})
        for (const SMOOTH_SHADER shader : {SMOOTH_SHADER{}, {true, false}, {false, true}})
        {
            SCOPED_TRACE(testing::Message() << bInterlaced << shader.bPremultiplied << shader.bInverse);
            const SMOOTH_SETTINGS settings = Shader_FillSmooth(33, 26, bInterlaced);
            s_pDrawing->Check(SmoothShader_Text(shader), &settings, sizeof(settings), {&picture},
                              ShaderTwin::Smooth(picture, bInterlaced, shader), c_dblRounded);
        }
}

TEST_F(ShaderRender, Conversions)
{
    for (const uint32_t fccIn : c_arrFormats)
        for (const uint32_t fccOut : c_arrFormats)
        {
            const CONVERT_SHADER shader = {fccIn, fccOut, false, fccOut % 3 ? eSYM_601 : eSYM_709};
            SCOPED_TRACE(testing::Message() << std::hex << fccIn << " to " << fccOut);
            const PICTURE picture = Noise(fccIn, 22, 12);
            const PS_BACKCOLOR_BUFFER constants = Shader_FillBackcolor(22, 12, 22, 12);
            s_pDrawing->Check(ConvertShader_Text(shader), &constants, sizeof(constants), {&picture},
                              ShaderTwin::Convert(shader, picture, 22, 12), c_dblRounded);
        }
}

TEST_F(ShaderRender, ScaledConversions)
{
    for (const uint32_t fccIn : c_arrFormats)
        for (const uint32_t fccOut : {eZFCC_ARGB32, eZFCC_YUY2, eZFCC_YV12})
            for (const bool bLinear : {false, true})
            {
                const CONVERT_SHADER shader = {fccIn, fccOut, bLinear, eSYM_601};
                SCOPED_TRACE(testing::Message() << std::hex << fccIn << " to " << fccOut << " linear " << bLinear);
                const PICTURE picture = Noise(fccIn, 22, 12);
                const PS_BACKCOLOR_BUFFER constants = Shader_FillBackcolor(22, 12, 30, 20);
                // Samplers know places to 1/256 of a texel only.
                s_pDrawing->Check(ConvertShader_Text(shader), &constants, sizeof(constants), {&picture},
                                  ShaderTwin::Convert(shader, picture, 30, 20), bLinear ? 3 : c_dblRounded, bLinear);
            }
}

TEST_F(ShaderRender, VideoOutput)
{
    const PICTURE top = Noise(eZFCC_ARGB32, 20, 8);
    PICTURE bottom = top;
    for (double& dblByte : bottom.arrBytes)
        dblByte = 1 - dblByte;
    for (int nVariant = 0; nVariant < 4; ++nVariant)
    {
        SCOPED_TRACE(nVariant);
        const DXV_SHADER shader = {(nVariant & 1) != 0, (nVariant & 2) != 0};
        std::array<float, 12> arrMatrix = Shader_MatrixRGB2YUV(nVariant & 1 ? eSYM_709 : eSYM_601);
        arrMatrix[7] = 0.4f; // offsets that differ: they cross
        arrMatrix[11] = 0.6f;
        const PS_CONVERT constants = Shader_FillConvert(20, arrMatrix.data());
        const PICTURE* pBottom = shader.bBottomField ? &bottom : nullptr;
        s_pDrawing->Check(DXVShader_Text(shader), &constants, sizeof(constants), {&top, pBottom ? pBottom : &top},
                          ShaderTwin::DXV(shader, constants, top, pBottom), c_dblRounded);
    }
    const PICTURE packed = Noise(eZFCC_UYVY, 24, 12);
    for (const uint32_t fccOut : {eZFCC_NV12, eZFCC_YV12, eZFCC_I420, eZFCC_YV16, eZFCC_I422})
    {
        SCOPED_TRACE(testing::Message() << std::hex << fccOut);
        // Four bytes to a texel of the target.
        PICTURE expected = ShaderTwin::Convert({eZFCC_UYVY, fccOut, false, eSYM_601}, packed, 24, 12);
        expected.fccType = eZFCC_ARGB32;
        s_pDrawing->Check(DXVPlanarShader_Text(fccOut), nullptr, 0, {&packed}, expected, c_dblRounded);
    }
}

} // namespace
