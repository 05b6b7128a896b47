#pragma once

#include "DirectX/Device/DXBase.h"

/// Keeps all other threads off the immediate context while it lives: a pass is made of many calls that share its
/// state. May be nested; a device without protection is not locked.
class CDXPassLock
{
public:
    explicit CDXPassLock(ID3D11Device* _pDevice);
    ~CDXPassLock();
    CDXPassLock(const CDXPassLock&) = delete;
    CDXPassLock& operator=(const CDXPassLock&) = delete;

private:
    CZPtr<ID3D10Multithread> m_cpProtect;
};
