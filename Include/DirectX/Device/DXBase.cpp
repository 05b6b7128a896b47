#include "DirectX/Device/DXBase.h"

#include "Base/ZAssert.h"
#include "Base/ZLog.h"

#include <atomic>
#include <cstring>

namespace
{

std::atomic<const DX_FUNCTIONS*> g_pFunctionsForTests;

/// Only the system's folder is searched: a library of that name next to the host's program is not to be loaded.
template <class F> F Entry_Load(const wchar_t* _pwszLibrary, const char* _pszEntry)
{
    const HMODULE hLibrary = LoadLibraryExW(_pwszLibrary, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    const FARPROC pfnEntry = hLibrary ? GetProcAddress(hLibrary, _pszEntry) : nullptr;
    if (!pfnEntry)
        ZLog(eZLog_Warning, "DX_Functions: %ws of the system has no %hs (error %u): the GPU cannot be used\n",
             _pwszLibrary, _pszEntry, GetLastError());
    return reinterpret_cast<F>(reinterpret_cast<void*>(pfnEntry));
}

/// The rows of vendor IDs; the first one names the row.
constexpr uint32_t c_arrVendors[][2] = {
    {eGPU_NVIDIA, eGPU_NVIDIA},
    {eGPU_Intel, 0x163C},
    {eGPU_AMD, 0x1022},
};

eGPU_Type GPUTypeOf(uint32_t _nVendorId)
{
    for (const auto& arrRow : c_arrVendors)
        if (_nVendorId == arrRow[0] || _nVendorId == arrRow[1])
            return static_cast<eGPU_Type>(arrRow[0]);
    return eGPU_Other;
}

} // namespace

const DX_FUNCTIONS& DX_Functions()
{
    if (const DX_FUNCTIONS* const pFunctions = g_pFunctionsForTests)
        return *pFunctions;
    static const DX_FUNCTIONS s_functions = {
        Entry_Load<decltype(DX_FUNCTIONS::pfnD3D11CreateDevice)>(L"d3d11.dll", "D3D11CreateDevice"),
        Entry_Load<decltype(DX_FUNCTIONS::pfnCreateDXGIFactory1)>(L"dxgi.dll", "CreateDXGIFactory1"),
        Entry_Load<decltype(DX_FUNCTIONS::pfnD3DCompile)>(L"d3dcompiler_47.dll", "D3DCompile"),
    };
    return s_functions;
}

void DX_FunctionsSet(const DX_FUNCTIONS* _pFunctionsOrNull)
{
    g_pFunctionsForTests = _pFunctionsOrNull;
}

CZPtr<IDXGIAdapter> DX_AdapterGet(IUnknown* _pDeviceOrChild)
{
    const auto cpDXGI = ZQuery<IDXGIDevice>(DX_DeviceOf(_pDeviceOrChild));
    CZPtr<IDXGIAdapter> cpAdapter;
    if (cpDXGI && FAILED(cpDXGI->GetAdapter(cpAdapter.Put())))
        cpAdapter = nullptr;
    return cpAdapter;
}

eGPU_Type DX_GPUType(IUnknown* _pDeviceOrChild)
{
    const auto cpAdapter = DX_AdapterGet(_pDeviceOrChild);
    DXGI_ADAPTER_DESC desc = {};
    if (!Z_VERIFY(cpAdapter) || FAILED(cpAdapter->GetDesc(&desc)))
        return eGPU_Other;
    return GPUTypeOf(desc.VendorId);
}

bool DX_IsSoftware(IUnknown* _pDeviceOrChild)
{
    const auto cpAdapter = ZQuery<IDXGIAdapter1>(DX_AdapterGet(_pDeviceOrChild));
    DXGI_ADAPTER_DESC1 desc = {};
    return cpAdapter && SUCCEEDED(cpAdapter->GetDesc1(&desc)) && (desc.Flags & DXGI_ADAPTER_FLAG_SOFTWARE);
}

bool DX_SameAdapter(IUnknown* _pObject1, IUnknown* _pObject2)
{
    const auto cpAdapter1 = DX_AdapterGet(_pObject1);
    const auto cpAdapter2 = DX_AdapterGet(_pObject2);
    DXGI_ADAPTER_DESC desc1 = {};
    DXGI_ADAPTER_DESC desc2 = {};
    return cpAdapter1 && cpAdapter2 && SUCCEEDED(cpAdapter1->GetDesc(&desc1)) &&
           SUCCEEDED(cpAdapter2->GetDesc(&desc2)) &&
           std::memcmp(&desc1.AdapterLuid, &desc2.AdapterLuid, sizeof(LUID)) == 0;
}

bool DX_SameObject(IUnknown* _pObject1, IUnknown* _pObject2)
{
    // An object always answers the same pointer for IUnknown, whichever interface it is asked through.
    const auto cpIdentity1 = ZQuery<IUnknown>(_pObject1);
    const auto cpIdentity2 = ZQuery<IUnknown>(_pObject2);
    return cpIdentity1 && cpIdentity1.Get() == cpIdentity2.Get();
}

CZPtr<ID3D11Device> DX_DeviceOf(IUnknown* _pDeviceOrChild)
{
    auto cpDevice = ZQuery<ID3D11Device>(_pDeviceOrChild);
    if (cpDevice)
        return cpDevice;
    if (const auto cpChild = ZQuery<ID3D11DeviceChild>(_pDeviceOrChild))
        cpChild->GetDevice(cpDevice.Put());
    return cpDevice;
}

CZPtr<ID3D11DeviceContext> DX_ContextOf(ID3D11Device* _pDevice)
{
    CZPtr<ID3D11DeviceContext> cpContext;
    if (_pDevice)
        _pDevice->GetImmediateContext(cpContext.Put());
    return cpContext;
}
