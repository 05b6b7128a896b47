#include "ZChromaKey/Keys2/KeyState2.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Config/Params2.h"

#include <cstring>
#include <utility>

namespace
{

constexpr size_t c_nMaxSteps = 1000;                       // 2 MB
constexpr size_t c_cbMaxMasks = size_t{128} * 1024 * 1024; // 60 masks of 1920 x 1080

KEY2_EDIT Empty()
{
    return {KeySet2_Empty(), {}};
}

/// Of records without padding; of doubles, too, every bit counts.
bool SameBytes(const void* _pA, const void* _pB, size_t _cbSize)
{
    return std::memcmp(_pA, _pB, _cbSize) == 0;
}

/// Takes what is of the present out of a set.
void PresentDrop(CHROMA_KEY2_RAW* _pKey)
{
    for (const KEY2_PARAM& param : Params2_Table())
        if (param.bOfPresent)
            _pKey->params.*param.pdblField = param.dblDefault;
}

void PresentCopy(const KEY2_PARAMS& _params, KEY2_PARAMS* _pParams)
{
    for (const KEY2_PARAM& param : Params2_Table())
        if (param.bOfPresent)
            _pParams->*param.pdblField = _params.*param.pdblField;
}

} // namespace

bool KEY2_EDIT::operator==(const KEY2_EDIT& _other) const
{
    return SameBytes(&key, &_other.key, sizeof(key)) && arrRegions == _other.arrRegions;
}

CKeyState2::CKeyState2(CLOCK _fnClock)
    : m_steps(Empty(), c_nMaxSteps, std::move(_fnClock))
    , m_paramsPresent(Params2_Defaults())
{
}

KEY2_PRESENT CKeyState2::Get() const
{
    const std::lock_guard lock(m_mtxConfig);
    return {RawGet(), m_steps.Current().arrRegions, m_spPlate, m_nPlate, m_nRestarts};
}

CHROMA_KEY2_RAW CKeyState2::RawGet() const
{
    const std::lock_guard lock(m_mtxConfig);
    CHROMA_KEY2_RAW key = m_steps.Current().key;
    PresentCopy(m_paramsPresent, &key.params);
    return key;
}

HRESULT CKeyState2::RawSet(const CHROMA_KEY2_RAW& _key)
{
    const std::string strWhy = KeySet2_Check(_key);
    if (!strWhy.empty())
    {
        ZLog(eZLog_Error, "Key set: not taken over: %hs\n", strWhy);
        return E_INVALIDARG;
    }
    const std::lock_guard lock(m_mtxConfig);
    KEY2_EDIT edit = {_key, m_steps.Current().arrRegions};
    EditSet(std::move(edit));
    for (const KEY2_PARAM& param : Params2_Table())
        if (param.bOfPresent)
            PresentSet(param, _key.params.*param.pdblField);
    return S_OK;
}

KEY2_EDIT CKeyState2::EditGet() const
{
    const std::lock_guard lock(m_mtxConfig);
    return m_steps.Current();
}

void CKeyState2::EditSet(KEY2_EDIT _edit)
{
    KeySet2_Clean(&_edit.key);
    PresentDrop(&_edit.key);
    const std::lock_guard lock(m_mtxConfig);
    Push(std::move(_edit), nullptr);
}

/// Changes a copy of the state, which becomes a step when the change answers S_OK.
template <class Change> HRESULT CKeyState2::Edit(Change&& _change)
{
    const std::lock_guard lock(m_mtxConfig);
    KEY2_EDIT edit = m_steps.Current();
    const HRESULT hr = _change(&edit.key);
    if (hr == S_OK)
        Push(std::move(edit), nullptr);
    return hr;
}

HRESULT CKeyState2::KeyAdd(const KEY2_COLOR& _color)
{
    return Edit([&](CHROMA_KEY2_RAW* _pKey) { return KeySet2_KeyAdd(_color, _pKey); });
}

HRESULT CKeyState2::ProtectAdd(const KEY2_COLOR& _color)
{
    return Edit([&](CHROMA_KEY2_RAW* _pKey) { return KeySet2_ProtectAdd(_color, _pKey); });
}

HRESULT CKeyState2::Remove(int32_t _nIndex, bool _bProtected)
{
    return Edit([&](CHROMA_KEY2_RAW* _pKey) { return KeySet2_Remove(_nIndex, _bProtected, _pKey); });
}

HRESULT CKeyState2::KeyFound(const KEY2_COLOR& _color)
{
    return Edit([&](CHROMA_KEY2_RAW* _pKey) {
        _pKey->nKeysUsed = 0;
        KeySet2_Clean(_pKey);
        const HRESULT hr = KeySet2_KeyAdd(_color, _pKey);
        _pKey->bAutomatic = hr == S_OK;
        return hr;
    });
}

HRESULT CKeyState2::ParamSet(std::string_view _svName, double _dblValue)
{
    const std::lock_guard lock(m_mtxConfig);
    KEY2_EDIT edit = {RawGet(), m_steps.Current().arrRegions};
    const HRESULT hr = KeySet2_ParamSet(_svName, _dblValue, &edit.key);
    if (FAILED(hr))
        return hr;
    const KEY2_PARAM* const pParam = Params2_Find(_svName);
    if (pParam->bOfPresent)
        return PresentSet(*pParam, _dblValue);
    PresentDrop(&edit.key);
    if (hr == S_OK)
        Push(std::move(edit), pParam);
    return hr;
}

/// Sets "view" or "learn", at once and without a step. To restart is something that happens, not a state.
HRESULT CKeyState2::PresentSet(const KEY2_PARAM& _param, double _dblValue)
{
    double& dblField = m_paramsPresent.*_param.pdblField;
    const bool bRestart = _param.pdblField == &KEY2_PARAMS::eLearnValue && _dblValue == double{eLearn_Restart};
    m_nRestarts += bRestart;
    const double dblOld = std::exchange(dblField, bRestart ? double{eLearn_On} : _dblValue + 0.0);
    return bRestart || dblOld != dblField ? S_OK : S_FALSE;
}

void CKeyState2::Reset()
{
    const std::lock_guard lock(m_mtxConfig);
    Push(Empty(), nullptr);
    m_paramsPresent = Params2_Defaults();
}

HRESULT CKeyState2::RegionSet(eRegion _eRegion, std::shared_ptr<const KEY2_REGION> _spRegionOrNull)
{
    const std::lock_guard lock(m_mtxConfig);
    KEY2_EDIT edit = m_steps.Current();
    auto& spRegion = edit.arrRegions[static_cast<size_t>(_eRegion)];
    if (!spRegion && !_spRegionOrNull)
        return S_FALSE;
    spRegion = std::move(_spRegionOrNull);
    Push(std::move(edit), nullptr);
    return S_OK;
}

void CKeyState2::PlateSet(std::shared_ptr<const IMG_PICTURE> _spPlateOrNull)
{
    const std::lock_guard lock(m_mtxConfig);
    if (!m_spPlate && !_spPlateOrNull)
        return;
    m_spPlate.swap(_spPlateOrNull);
    m_nPlate = m_spPlate ? KeyChange_Next() : 0;
}

void CKeyState2::Push(KEY2_EDIT _edit, const KEY2_PARAM* _pParamOrNull)
{
    if (_edit == m_steps.Current())
        return;
    const bool bMasks = _edit.arrRegions != m_steps.Current().arrRegions;
    m_steps.Push(std::move(_edit), _pParamOrNull);
    if (bMasks)
        MasksBound();
}

/// Bytes of the masks of all steps: each counts in the step that it came with.
size_t CKeyState2::MaskBytes()
{
    size_t cbMasks = 0;
    const KEY2_REGIONS* pBefore = nullptr;
    for (const KEY2_EDIT& edit : m_steps.History().States())
    {
        for (size_t n = 0; n < Z_REGIONS; ++n)
            if (const auto& spRegion = edit.arrRegions[n]; spRegion && !(pBefore && (*pBefore)[n] == spRegion))
                cbMasks += spRegion->mask.vecBytes.size();
        pBefore = &edit.arrRegions;
    }
    return cbMasks;
}

/// Lets go of the oldest steps while the masks of all of them are too large. Allocates nothing: the edit is made.
void CKeyState2::MasksBound() noexcept
{
    while (MaskBytes() > c_cbMaxMasks && m_steps.History().OldestDrop())
    {
    }
}

HRESULT CKeyState2::Step(int32_t _nSteps, int32_t* _pnDone)
{
    const std::lock_guard lock(m_mtxConfig);
    if (m_steps.IsInGroup())
    {
        ZLog(eZLog_Error, "Key set: steps cannot be taken back or made again in a group; end it first\n");
        return E_UNEXPECTED;
    }
    *_pnDone = m_steps.Step(_nSteps);
    return S_OK;
}

int32_t CKeyState2::StepsBack() const
{
    const std::lock_guard lock(m_mtxConfig);
    return m_steps.BackCount();
}

int32_t CKeyState2::StepsFwd() const
{
    const std::lock_guard lock(m_mtxConfig);
    return m_steps.ForwardCount();
}

void CKeyState2::GroupBegin()
{
    const std::lock_guard lock(m_mtxConfig);
    m_steps.GroupBegin();
}

HRESULT CKeyState2::GroupEnd()
{
    const std::lock_guard lock(m_mtxConfig);
    if (m_steps.GroupEnd())
        return S_OK;
    ZLog(eZLog_Error, "Key set: GroupEnd without a GroupBegin before it\n");
    return E_UNEXPECTED;
}

void CKeyState2::FrameSeenSwap(CZPtr<IZFFrame>* _pcpFrame)
{
    const std::lock_guard lock(m_mtxConfig);
    std::swap(m_cpFrameSeen, *_pcpFrame);
}

void CKeyState2::FrameSetSwap(CZPtr<IZFFrame>* _pcpFrame)
{
    const std::lock_guard lock(m_mtxConfig);
    std::swap(m_cpFrameSet, *_pcpFrame);
}

CZPtr<IZFFrame> CKeyState2::FrameGet() const
{
    const std::lock_guard lock(m_mtxConfig);
    return m_cpFrameSet ? m_cpFrameSet : m_cpFrameSeen;
}
