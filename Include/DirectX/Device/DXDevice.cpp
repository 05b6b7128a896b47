#include "DirectX/Device/DXDevice.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "DirectX/Device/DXKept.h"
#include "DirectX/Shaders/VertexShader.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <utility>

namespace
{

// A missing debug layer; not every platform header has it yet.
constexpr HRESULT c_hrNoDebugLayer = static_cast<HRESULT>(0x887A002Du);

constexpr D3D_FEATURE_LEVEL c_arrLevels[] = {
    D3D_FEATURE_LEVEL_11_1, D3D_FEATURE_LEVEL_11_0, D3D_FEATURE_LEVEL_10_1, D3D_FEATURE_LEVEL_10_0,
    D3D_FEATURE_LEVEL_9_3,  D3D_FEATURE_LEVEL_9_2,  D3D_FEATURE_LEVEL_9_1,
};

constexpr D3D11_INPUT_ELEMENT_DESC c_arrLayout[] = {
    {"POSITION", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, 0, D3D11_INPUT_PER_VERTEX_DATA, 0},
    {"TEXCOORD", 0, DXGI_FORMAT_R32G32_FLOAT, 0, offsetof(SHADER_VERTEX, u), D3D11_INPUT_PER_VERTEX_DATA, 0},
    {"TEXINDEX", 0, DXGI_FORMAT_R32_UINT, 0, offsetof(SHADER_VERTEX, nTexIndex), D3D11_INPUT_PER_VERTEX_DATA, 0},
};

/// Developers set ZCK_D3D_DEBUG=1 to have the platform's debug layer check every call.
bool IsDebugAsked()
{
    const char* const pszDebug = std::getenv("ZCK_D3D_DEBUG");
    return pszDebug && std::strcmp(pszDebug, "1") == 0;
}

HRESULT Device_Make(IDXGIAdapter* _pAdapterOrNull, UINT _nFlags, ID3D11Device** _ppDevice, D3D_FEATURE_LEVEL* _peLevel)
{
    if (!DX_Functions().pfnD3D11CreateDevice)
        return HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
    // An adapter has its driver; only without one may the kind of driver be chosen.
    return DX_Functions().pfnD3D11CreateDevice(
        _pAdapterOrNull, _pAdapterOrNull ? D3D_DRIVER_TYPE_UNKNOWN : D3D_DRIVER_TYPE_HARDWARE, nullptr, _nFlags,
        c_arrLevels, static_cast<UINT>(std::size(c_arrLevels)), D3D11_SDK_VERSION, _ppDevice, _peLevel, nullptr);
}

HRESULT Device_MakeChecked(IDXGIAdapter* _pAdapterOrNull, ID3D11Device** _ppDevice, D3D_FEATURE_LEVEL* _peLevel)
{
    if (IsDebugAsked())
    {
        const HRESULT hr = Device_Make(_pAdapterOrNull, D3D11_CREATE_DEVICE_BGRA_SUPPORT | D3D11_CREATE_DEVICE_DEBUG,
                                       _ppDevice, _peLevel);
        if (hr != c_hrNoDebugLayer && hr != E_FAIL)
            return hr;
        ZLog(eZLog_Warning, "DX11Device::Init: no debug layer (%08X), going on without\n", hr);
    }
    return Device_Make(_pAdapterOrNull, D3D11_CREATE_DEVICE_BGRA_SUPPORT, _ppDevice, _peLevel);
}

uint64_t Luid_Number(const LUID& _luid)
{
    return static_cast<uint64_t>(static_cast<uint32_t>(_luid.HighPart)) << 32 | _luid.LowPart;
}

} // namespace

HRESULT DX11Device::Create(IUnknown* _pSourceOrNull, DX11Device** _ppObject)
{
    if (!_ppObject)
        return E_POINTER;
    *_ppObject = nullptr;
    return ZBorder("DX11Device::Create", [&] {
        auto cpDevice = CZPtr<DX11Device>::Adopt(new DX11Device);
        const HRESULT hr = cpDevice->Init(_pSourceOrNull);
        if (SUCCEEDED(hr))
            *_ppObject = cpDevice.Detach();
        return hr;
    });
}

DX11Device::~DX11Device()
{
    if (m_cpDevice)
        DX_KeptLeave(m_cpDevice.Get());
}

HRESULT DX11Device::Init(IUnknown* _pSourceOrNull)
{
    if (m_cpDevice)
    {
        Z_VERIFY(m_cpVertexShader);
        Z_VERIFY(m_cpInputLayout);
        Z_VERIFY(m_cpVertexBuffer);
        Z_VERIFY(m_cpSamplerPoint);
        Z_VERIFY(m_cpSamplerLinear);
        return S_FALSE;
    }
    CZPtr<ID3D11Device> cpDevice = DeviceAdopt(_pSourceOrNull);
    if (!cpDevice)
    {
        const HRESULT hr = DeviceCreate(_pSourceOrNull, cpDevice.Put());
        if (FAILED(hr))
            return hr;
    }
    DX_KeptJoin(cpDevice.Get());
    m_cpDevice = std::move(cpDevice);
    m_cpDeviceContext = DX_ContextOf(m_cpDevice.Get());
    if (!Z_VERIFY(m_cpDeviceContext))
        return E_NOINTERFACE;
    // The processing thread, the host's threads and whoever else shares the device all use its one immediate context.
    const auto qpMTProtect = ZQuery<ID3D10Multithread>(m_cpDevice);
    if (!Z_VERIFY(qpMTProtect))
        return E_NOINTERFACE;
    qpMTProtect->SetMultithreadProtected(TRUE);
    return KitCreate();
}

CZPtr<ID3D11Device> DX11Device::DeviceAdopt(IUnknown* _pSourceOrNull)
{
    auto cpDevice = ZQuery<ID3D11Device>(_pSourceOrNull);
    if (const auto cpResource = ZQuery<ID3D11Resource>(_pSourceOrNull))
        cpDevice = DX_DeviceOf(cpResource.Get());
    if (cpDevice)
        ZLog(eZLog_Info, "DX11Device::Init: Init by ID3D11Resource/ID3D11Device\n");
    return cpDevice;
}

HRESULT DX11Device::DeviceCreate(IUnknown* _pSourceOrNull, ID3D11Device** _ppDevice)
{
    const auto cpAdapter = ZQuery<IDXGIAdapter>(_pSourceOrNull);
    DXGI_ADAPTER_DESC desc = {};
    if (!cpAdapter || FAILED(cpAdapter->GetDesc(&desc)))
        std::wcscpy(desc.Description, cpAdapter ? L"unknown" : L"Default");
    ZLog(eZLog_Info, "DX11Device::Init: Init by IDXGIAdapter:%ws\n", desc.Description);

    D3D_FEATURE_LEVEL eLevel = {};
    CZPtr<ID3D11Device> cpDevice;
    HRESULT hr = Device_MakeChecked(cpAdapter.Get(), cpDevice.Put(), &eLevel);
    if (SUCCEEDED(hr) && !cpDevice)
        hr = E_UNEXPECTED;
    if (!cpAdapter)
        if (const auto cpAdapterDefault = DX_AdapterGet(cpDevice.Get()))
            cpAdapterDefault->GetDesc(&desc); // which one the system took
    ZLog(FAILED(hr) ? eZLog_Error : eZLog_Info,
         "DX11Device::Init: D3D11CreateDevice(%ws, VendorID:%08X, LCID:%I64X)=%08X d3dFeature:%08X\n", desc.Description,
         desc.VendorId, Luid_Number(desc.AdapterLuid), hr, eLevel);
    if (SUCCEEDED(hr))
        *_ppDevice = cpDevice.Detach();
    return hr;
}

HRESULT DX11Device::KitCreate()
{
    CZPtr<ID3DBlob> cpCode;
    HRESULT hr = VertexShader_Create(cpCode.Put());
    if (FAILED(hr))
        return hr;
    hr = m_cpDevice->CreateInputLayout(c_arrLayout, static_cast<UINT>(std::size(c_arrLayout)),
                                       cpCode->GetBufferPointer(), cpCode->GetBufferSize(), m_cpInputLayout.Put());
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX11Device::Init: Unable to create input layout! Error code %#X!\n", hr);
        return hr;
    }
    const auto arrQuad = Shader_Quad();
    hr = Buffer_Create(m_cpDevice.Get(), D3D11_BIND_VERTEX_BUFFER, arrQuad.data(), sizeof(arrQuad),
                       m_cpVertexBuffer.Put());
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX11Device::Vertext_DataSet: Cannot create vertex buffer!\n");
        return hr;
    }
    hr = CreateSampler(m_cpDevice.Get(), D3D11_FILTER_MIN_MAG_MIP_POINT, 2, m_cpSamplerPoint.Put());
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX11Device::Init: Cannot create point sampler!\n");
        return hr;
    }
    // With such a filter the anisotropy has no effect.
    // 0x14; textures here have one mip level, so what is done between levels does not count.
    hr = CreateSampler(m_cpDevice.Get(), D3D11_FILTER_MIN_MAG_LINEAR_MIP_POINT, 2, m_cpSamplerLinear.Put());
    if (FAILED(hr))
        ZLog(eZLog_Error, "DX11Device::Init: Cannot create linear sampler!\n");
    return hr;
}

HRESULT DX11Device::VertexShader_Create(ID3DBlob** _ppCode)
{
    HRESULT hr = Shader_Compile(VertexShader_Text(), eDXS_Vertex, m_cpDevice->GetFeatureLevel(), _ppCode);
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX11Device::VertextShader_Create: Failed to compile vertex shader!\n");
        return hr;
    }
    hr = m_cpDevice->CreateVertexShader((*_ppCode)->GetBufferPointer(), (*_ppCode)->GetBufferSize(), nullptr,
                                        m_cpVertexShader.Put());
    if (FAILED(hr))
        ZLog(eZLog_Error, "DX11Device::VertextShader_Create: Unable to create vertex shader. Error code %#X!\n", hr);
    return hr;
}
