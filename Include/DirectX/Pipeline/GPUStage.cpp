#include "DirectX/Pipeline/GPUStage.h"

#include "Base/ZLog.h"

HRESULT GPUStage::Failed(const char* _pszOperation, const char* _pszMessage, HRESULT _hr) const
{
    const HRESULT hr = FAILED(_hr) ? _hr : E_UNEXPECTED;
    ZLog(eZLog_Error, "%hs::%hs: %hs hr=%08X\n", m_strName, _pszOperation, _pszMessage, hr);
    return hr;
}
