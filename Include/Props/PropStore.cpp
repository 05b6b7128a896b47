#include "Props/PropStore.h"

#include "Base/ZLog.h"

#include <utility>

namespace
{

PROP_MAP WithoutEmpty(PROP_MAP _mapValues)
{
    std::erase_if(_mapValues, [](const auto& _entry) { return _entry.first.empty() || _entry.second.empty(); });
    return _mapValues;
}

} // namespace

const std::string* CPropStore::FindLocked(std::string_view _svName) const
{
    for (const PROP_MAP* pMap : {&m_mapValues, &m_mapDefaults})
        if (const auto it = pMap->find(_svName); it != pMap->end())
            return &it->second;
    return nullptr;
}

template <class T>
T CPropStore::Read(std::string_view _svName, T _default, bool (*_pfnRead)(std::string_view, T*)) const
{
    const std::lock_guard lock(m_mtxProps);
    T value = _default;
    if (const std::string* pstrValue = FindLocked(_svName))
        _pfnRead(*pstrValue, &value);
    return value;
}

bool CPropStore::GetBool(std::string_view _svName, bool _bDefault) const
{
    return Read(_svName, _bDefault, PropText_ReadBool);
}

int32_t CPropStore::GetInt(std::string_view _svName, int32_t _nDefault) const
{
    return Read(_svName, _nDefault, PropText_ReadInt32);
}

PROP_RECT CPropStore::GetRect(std::string_view _svName, const PROP_RECT& _rectDefault) const
{
    return Read(_svName, _rectDefault, PropText_ReadRect);
}

bool CPropStore::Find(std::string_view _svName, std::string* _pstrValue) const
{
    const std::lock_guard lock(m_mtxProps);
    const std::string* pstrValue = FindLocked(_svName);
    if (pstrValue)
        *_pstrValue = *pstrValue;
    return pstrValue != nullptr;
}

void CPropStore::Set(std::string_view _svName, std::string_view _svValue)
{
    if (_svName.empty())
        return;
    if (_svValue.empty())
        return Remove(_svName);
    const std::lock_guard lock(m_mtxProps);
    const auto it = m_mapValues.find(_svName);
    if (it == m_mapValues.end())
        m_mapValues.emplace(_svName, _svValue);
    else if (it->second == _svValue)
        return;
    else
        it->second = _svValue;
    m_nChanges.fetch_add(1, std::memory_order_release);
}

void CPropStore::Remove(std::string_view _svName)
{
    const std::lock_guard lock(m_mtxProps);
    const auto it = m_mapValues.find(_svName);
    if (it == m_mapValues.end())
        return;
    m_mapValues.erase(it);
    m_nChanges.fetch_add(1, std::memory_order_release);
}

bool CPropStore::NameGet(size_t _nIndex, std::string* _pstrName) const
{
    const std::lock_guard lock(m_mtxProps);
    auto itValue = m_mapValues.begin();
    auto itDefault = m_mapDefaults.begin();
    for (size_t n = 0; itValue != m_mapValues.end() || itDefault != m_mapDefaults.end(); ++n)
    {
        const bool bValue =
            itDefault == m_mapDefaults.end() || (itValue != m_mapValues.end() && itValue->first <= itDefault->first);
        const bool bDefault =
            itValue == m_mapValues.end() || (itDefault != m_mapDefaults.end() && itDefault->first <= itValue->first);
        if (n == _nIndex)
        {
            *_pstrName = bValue ? itValue->first : itDefault->first;
            return true;
        }
        if (bValue)
            ++itValue;
        if (bDefault)
            ++itDefault;
    }
    return false;
}

PROP_MAP CPropStore::ValuesGet() const
{
    const std::lock_guard lock(m_mtxProps);
    return m_mapValues;
}

void CPropStore::ValuesSet(PROP_MAP _mapValues)
{
    PROP_MAP mapValues = WithoutEmpty(std::move(_mapValues));
    const std::lock_guard lock(m_mtxProps);
    if (m_mapValues == mapValues)
        return;
    m_mapValues.swap(mapValues);
    m_nChanges.fetch_add(1, std::memory_order_release);
}

void CPropStore::DefaultsSet(PROP_MAP _mapDefaults)
{
    PROP_MAP mapDefaults = WithoutEmpty(std::move(_mapDefaults));
    const std::lock_guard lock(m_mtxProps);
    if (m_mapDefaults == mapDefaults)
        return;
    m_mapDefaults.swap(mapDefaults);
    m_nChanges.fetch_add(1, std::memory_order_release);
}

void CPropStore::NotifyFailure(std::string_view _svName, HRESULT _hr) noexcept
{
    uint64_t nOld = m_nFailures.load(std::memory_order_relaxed);
    uint64_t nNew = 0;
    do
        nNew = (((nOld >> 32) + 1) << 32) | static_cast<uint32_t>(_hr);
    while (!m_nFailures.compare_exchange_weak(nOld, nNew, std::memory_order_relaxed));
    ZLog(eZLog_Verbose, "CPropStore: \"%hs\" failed, hr=%08X\n", _svName, _hr);
}

PROP_FAILURES CPropStore::FailuresGet() const noexcept
{
    const uint64_t nFailures = m_nFailures.load(std::memory_order_relaxed);
    return {static_cast<uint32_t>(nFailures >> 32), static_cast<HRESULT>(static_cast<uint32_t>(nFailures))};
}
