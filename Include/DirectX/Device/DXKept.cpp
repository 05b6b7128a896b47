#include "DirectX/Device/DXKept.h"

#include "DirectX/Device/DXHelpers.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace
{

struct KEPT
{
    IUnknown* pIdentity; ///< of the device, which its users hold
    size_t nUsers;
    std::vector<GUID> vecIds;
};

// The innermost lock: callers may hold the device's own, which its private data may take, too; so nothing of the
// device's is changed under this one.
std::mutex g_mtxKept;
std::vector<KEPT> g_vecKept;

std::vector<KEPT>::iterator Kept_Find(ID3D11Device* _pDevice)
{
    const auto cpIdentity = ZQuery<IUnknown>(_pDevice);
    return std::find_if(g_vecKept.begin(), g_vecKept.end(),
                        [&](const KEPT& _kept) { return _kept.pIdentity == cpIdentity.Get(); });
}

} // namespace

void DX_KeptJoin(ID3D11Device* _pDevice)
{
    const std::lock_guard lock(g_mtxKept);
    const auto itKept = Kept_Find(_pDevice);
    if (itKept != g_vecKept.end())
        ++itKept->nUsers;
    else
        g_vecKept.push_back({ZQuery<IUnknown>(_pDevice).Get(), 1, {}});
}

void DX_KeptLeave(ID3D11Device* _pDevice)
{
    std::vector<GUID> vecIds;
    {
        const std::lock_guard lock(g_mtxKept);
        const auto itKept = Kept_Find(_pDevice);
        if (itKept == g_vecKept.end() || --itKept->nUsers != 0)
            return;
        vecIds = std::move(itKept->vecIds);
        g_vecKept.erase(itKept);
    }
    for (const GUID& id : vecIds)
        DX_DataSet(_pDevice, id, nullptr);
}

HRESULT DX_KeptAdd(ID3D11Device* _pDevice, REFGUID _id, IUnknown* _pObject)
{
    {
        const std::lock_guard lock(g_mtxKept);
        const auto itKept = Kept_Find(_pDevice);
        if (itKept == g_vecKept.end())
            return S_FALSE;
        itKept->vecIds.push_back(_id);
    }
    const HRESULT hr = DX_DataSet(_pDevice, _id, _pObject);
    {
        const std::lock_guard lock(g_mtxKept);
        const auto itKept = Kept_Find(_pDevice);
        if (itKept != g_vecKept.end() && std::ranges::find(itKept->vecIds, _id) != itKept->vecIds.end())
            return hr;
    }
    DX_DataSet(_pDevice, _id, nullptr); // the last user left in the meantime, and may have been too early to do so
    return S_FALSE;
}
