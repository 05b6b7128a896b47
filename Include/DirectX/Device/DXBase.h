#pragma once

/// Direct3D 11 for the GPU path: headers, entry points, adapters. Windows only.

#include "Base/ZPtr.h"
#include "Base/ZUnknown.h"

#include <d3d11_1.h>
#include <d3dcompiler.h>
#include <dxgi1_2.h>

/// Interfaces of the platform, for ZQuery.
#define DX_INTERFACE_ID(I)                                                                                             \
    template <> struct CZIidOf<I>                                                                                      \
    {                                                                                                                  \
        static constexpr const GUID& Value = IID_##I;                                                                  \
    };
DX_INTERFACE_ID(ID3D11Device)
DX_INTERFACE_ID(ID3D11Device1)
DX_INTERFACE_ID(ID3D11DeviceChild)
DX_INTERFACE_ID(ID3D11Resource)
DX_INTERFACE_ID(ID3D11Texture2D)
DX_INTERFACE_ID(ID3D11Query)
DX_INTERFACE_ID(ID3D11PixelShader)
DX_INTERFACE_ID(ID3D10Multithread)
DX_INTERFACE_ID(IDXGIAdapter)
DX_INTERFACE_ID(IDXGIAdapter1)
DX_INTERFACE_ID(IDXGIDevice)
DX_INTERFACE_ID(IDXGIKeyedMutex)
DX_INTERFACE_ID(IDXGIResource)
DX_INTERFACE_ID(IDXGIResource1)
#undef DX_INTERFACE_ID

/// The entry points that the GPU path takes from the system's libraries.
struct DX_FUNCTIONS
{
    decltype(&::D3D11CreateDevice) pfnD3D11CreateDevice;
    decltype(&::CreateDXGIFactory1) pfnCreateDXGIFactory1;
    decltype(&::D3DCompile) pfnD3DCompile;
};

/// The entry points, from d3d11.dll, dxgi.dll and d3dcompiler_47.dll of the system's folder, which are loaded with the
/// first call and stay. A library that is missing leaves its entry null and is logged once: the module loads, and keys
/// on the CPU, on a Windows without them. Thread safe.
const DX_FUNCTIONS& DX_Functions();
/// Replaces the entry points, for tests; null restores them.
void DX_FunctionsSet(const DX_FUNCTIONS* _pFunctionsOrNull);

/// The makers of adapters that the GPU path has rules for, by their first vendor ID.
enum eGPU_Type : uint32_t
{
    eGPU_Other = 0,
    eGPU_NVIDIA = 0x10DE,
    eGPU_Intel = 0x8086, ///< also 0x163C
    eGPU_AMD = 0x1002,   ///< also 0x1022
};
static_assert(sizeof(eGPU_Type) == sizeof(DWORD));

/// The adapter that a device, or the device of a device child, is on; empty when it cannot be found.
CZPtr<IDXGIAdapter> DX_AdapterGet(IUnknown* _pDeviceOrChild);
/// The kind of adapter a device or device child is on; eGPU_Other when it cannot be found (asserted "cpAdapter").
eGPU_Type DX_GPUType(IUnknown* _pDeviceOrChild);
/// Whether a device or device child is on an adapter that calls itself software: the processor draws.
bool DX_IsSoftware(IUnknown* _pDeviceOrChild);
/// Whether two objects are on one adapter: locally unique identifiers are compared.
bool DX_SameAdapter(IUnknown* _pObject1, IUnknown* _pObject2);
/// Whether two interfaces are of one object: identity pointers are compared. Null equals nothing.
bool DX_SameObject(IUnknown* _pObject1, IUnknown* _pObject2);
/// The device of a device or device child; empty for anything else.
CZPtr<ID3D11Device> DX_DeviceOf(IUnknown* _pDeviceOrChild);
/// The immediate context of a device.
CZPtr<ID3D11DeviceContext> DX_ContextOf(ID3D11Device* _pDevice);
