#pragma once

#include "Interfaces/IZProps.h"
#include "Props/PropText.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

/// Names and their values; the order is that of the bytes of the names.
using PROP_MAP = std::map<std::string, std::string, std::less<>>;

/// How often what an option asks for failed, and the last result.
struct PROP_FAILURES
{
    uint32_t nCount = 0;
    HRESULT hrLast = S_OK;
};

/// The options of an object: texts in UTF-8 under dotted, case-sensitive names.
///
/// Two layers: values set for this object, over defaults that came with it (those of the user). Any thread may call.
/// Reading a number, a switch or a rectangle allocates nothing.
class CPropStore
{
public:
    /// Readers take what was set, else the default layer, else _default; a value that cannot be read as the type asked
    /// for reads as _default.
    bool GetBool(std::string_view _svName, bool _bDefault) const;
    int32_t GetInt(std::string_view _svName, int32_t _nDefault) const;
    PROP_RECT GetRect(std::string_view _svName, const PROP_RECT& _rectDefault) const;
    /// False when neither layer has the name; the text then stays as it is.
    bool Find(std::string_view _svName, std::string* _pstrValue) const;

    /// Sets a value over the default layer; an empty one removes it, and the default shows again.
    void Set(std::string_view _svName, std::string_view _svValue);
    void Remove(std::string_view _svName);
    /// The n-th name of both layers in alphabetical order, from 0; false after the last one.
    bool NameGet(size_t _nIndex, std::string* _pstrName) const;

    /// What was set, without the defaults: this is what a configuration saves.
    PROP_MAP ValuesGet() const;
    /// Replaces all that was set, in one step; empty values are left out.
    void ValuesSet(PROP_MAP _mapValues);
    /// Replaces the default layer.
    void DefaultsSet(PROP_MAP _mapDefaults);

    /// Rises with every call that changed what is read. Whoever keeps values takes the count first and the values
    /// after it, and reads again when the count differs.
    uint64_t ChangeCount() const
    {
        return m_nChanges.load(std::memory_order_acquire);
    }

    /// The path that an option chose has failed (logged at verbose level). Neither locks nor changes an option: what
    /// the owner falls back to is not written over what was asked for.
    void NotifyFailure(std::string_view _svName, HRESULT _hr) noexcept;
    /// Failures of this store so far.
    PROP_FAILURES FailuresGet() const noexcept;

private:
    const std::string* FindLocked(std::string_view _svName) const;
    template <class T> T Read(std::string_view _svName, T _default, bool (*_pfnRead)(std::string_view, T*)) const;

    mutable std::mutex m_mtxProps;
    PROP_MAP m_mapValues;
    PROP_MAP m_mapDefaults;
    std::atomic<uint64_t> m_nChanges{0};
    std::atomic<uint64_t> m_nFailures{0}; ///< count above, last result below, so that both belong together
};

/// Checks a name and its value, empty where it is to be removed, for an owner: "" when they are right, else why not and
/// what is ("there is no such option; there are ...").
using PROPS_VALIDATE = std::string (*)(std::string_view _svName, std::string_view _svValue);

/// The methods of IZProps over a store, for objects that have one. They log what they refuse; nothing is thrown.
HRESULT PropStore_PropsSet(CPropStore* _pStore, const wchar_t* _pwszName, const wchar_t* _pwszValue,
                           PROPS_VALIDATE _pfnValidateOrNull = nullptr) noexcept;
HRESULT PropStore_PropsGet(const CPropStore& _store, const wchar_t* _pwszName, BSTR* _pbsValue) noexcept;
HRESULT PropStore_PropsNameGet(const CPropStore& _store, UINT _nIndex, BSTR* _pbsName) noexcept;
