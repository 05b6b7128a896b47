#include "DirectX/Device/DXPassLock.h"

CDXPassLock::CDXPassLock(ID3D11Device* _pDevice)
    : m_cpProtect(ZQuery<ID3D10Multithread>(_pDevice))
{
    if (m_cpProtect)
        m_cpProtect->Enter();
}

CDXPassLock::~CDXPassLock()
{
    if (m_cpProtect)
        m_cpProtect->Leave();
}
