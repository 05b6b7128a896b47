#include "ZChromaKey/Engine1/Gpu/Adapters.h"

#include "Base/ZLog.h"
#include "DirectX/Device/DXBase.h"

namespace
{

std::string Text(const DXGI_ADAPTER_DESC& _desc)
{
    return ZFormat("%ws (vendor %04X, %I64d MiB)", _desc.Description, _desc.VendorId,
                   static_cast<uint64_t>(_desc.DedicatedVideoMemory) >> 20);
}

} // namespace

std::vector<std::string> Adapters_List()
{
    std::vector<std::string> vecAdapters;
    CZPtr<IDXGIFactory1> cpFactory;
    const auto pfnCreate = DX_Functions().pfnCreateDXGIFactory1;
    if (!pfnCreate || FAILED(pfnCreate(IID_IDXGIFactory1, cpFactory.PutVoid())))
        return vecAdapters;
    CZPtr<IDXGIAdapter> cpAdapter;
    for (UINT n = 0; SUCCEEDED(cpFactory->EnumAdapters(n, cpAdapter.Put())); ++n)
    {
        DXGI_ADAPTER_DESC desc = {};
        if (SUCCEEDED(cpAdapter->GetDesc(&desc)))
            vecAdapters.push_back(Text(desc));
    }
    return vecAdapters;
}
