#include "DirectX/Device/DXSystemInfo.h"

#include "Base/ZLog.h"

void SystemInfo_Log(const DX11Device& _device)
{
    const auto cpAdapter = DX_AdapterGet(_device.Device());
    DXGI_ADAPTER_DESC desc = {};
    if (!cpAdapter || FAILED(cpAdapter->GetDesc(&desc)))
        return;
    LARGE_INTEGER nDriver = {};
    cpAdapter->CheckInterfaceSupport(CZIidOf<IDXGIDevice>::Value, &nDriver);
    ZLog(eZLog_Info, "System: adapter \"%ws\", vendor %04X, device %04X, driver %d.%d.%d.%d, feature level %04X\n",
         desc.Description, desc.VendorId, desc.DeviceId, HIWORD(nDriver.HighPart), LOWORD(nDriver.HighPart),
         HIWORD(nDriver.LowPart), LOWORD(nDriver.LowPart), _device.Device()->GetFeatureLevel());
    ZLog(eZLog_Info, "System: %I64d MiB of its own memory, %I64d MiB shared\n",
         uint64_t{desc.DedicatedVideoMemory} >> 20, uint64_t{desc.SharedSystemMemory} >> 20);
}
