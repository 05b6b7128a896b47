#include "ZChromaKey/Objects/CoZChromaKey.h"

#include "ZChromaKey/Config/ChromaKeyOptions.h"

// The options, which are the store's.

HRESULT CCoZChromaKey::PropsSet(const wchar_t* _pwszName, const wchar_t* _pwszValue)
{
    return PropStore_PropsSet(&m_store, _pwszName, _pwszValue, &ChromaKeyOptions_Validate);
}

HRESULT CCoZChromaKey::PropsGet(const wchar_t* _pwszName, BSTR* _pbsValue)
{
    return PropStore_PropsGet(m_store, _pwszName, _pbsValue);
}

HRESULT CCoZChromaKey::PropsNameGet(UINT _nIndex, BSTR* _pbsName)
{
    return PropStore_PropsNameGet(m_store, _nIndex, _pbsName);
}
