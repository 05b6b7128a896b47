#include "ZChromaKey/Keys/KeyState.h"

#include "Base/ZLog.h"
#include "Helpers/CKConvert.h"
#include "ZChromaKey/Keys/KeyAdjust.h"
#include "ZChromaKey/Keys/KeyCheck.h"

#include <cstring>
#include <utility>

namespace
{

constexpr size_t c_nMaxSteps = 256; // 210 KB

KEY_EDIT Empty()
{
    KEY_EDIT edit = {};
    edit.keyTaken.eType = eCKT_None;
    edit.keyTaken.nMaxTransparent = 255; // 0 would make every soft edge opaque
    edit.eType = eCKT_None;
    return edit;
}

/// _eMatrix: where the edit has none.
CHROMA_KEY_RAW Unadjusted(const KEY_EDIT& _edit, std::optional<eZYMatrix> _eMatrix = {})
{
    const eZYMatrix eMatrix = _edit.eMatrix.value_or(_eMatrix.value_or(eZYM_601));
    return CKUtils::ConvertKeys(_edit.keyTaken, static_cast<eCK_Type>(_edit.eType), eMatrix);
}

/// Of records without padding; of doubles, too, every bit counts.
bool SameBytes(const void* _pA, const void* _pB, size_t _cbSize)
{
    return std::memcmp(_pA, _pB, _cbSize) == 0;
}

HRESULT Refuse(const CK_ADJUST_INFO& _info, double _dblValue)
{
    ZLog(eZLog_Error, "CCoZChromaKey::KeyAdjustSet: \"%hs\" cannot be %g; use a %hsnumber from %g to %g (%hs)\n",
         _info.pszName, _dblValue, _info.eAdjust == eCKA_KeyType ? "whole " : "", _info.dblMin, _info.dblMax,
         _info.pszUnit);
    return E_INVALIDARG;
}

const CK_ADJUST_INFO* FindAdjust(eCK_Adjust _eAdjust)
{
    const CK_ADJUST_INFO* const pInfo = KeyAdjust_Find(_eAdjust);
    if (!pInfo)
        ZLog(eZLog_Error, "CCoZChromaKey: there is no adjustment %d; use %d to %d\n", _eAdjust, eCKA_KeyType,
             eCKA_Colors_Alpha);
    return pInfo;
}

} // namespace

bool KEY_EDIT::operator==(const KEY_EDIT& _other) const
{
    const CHROMA_KEY_RAW key = Unadjusted(*this);
    const CHROMA_KEY_RAW keyOther = Unadjusted(_other);
    return SameBytes(&key, &keyOther, sizeof(key)) && SameBytes(&adjust, &_other.adjust, sizeof(adjust));
}

CKeyState::CKeyState(CLOCK _fnClock)
    : m_steps(Empty(), c_nMaxSteps, std::move(_fnClock))
{
    EffectiveUpdate();
}

CHROMA_KEY_RAW CKeyState::KeyGet() const
{
    const std::lock_guard lock(m_mtxConfig);
    return m_keyEffective;
}

void CKeyState::RawGet(CHROMA_KEY_RAW* _pKeyOrNull, CK_ADJUST* _pAdjustOrNull, std::optional<eZYMatrix> _eMatrix) const
{
    const std::lock_guard lock(m_mtxConfig);
    if (_pKeyOrNull)
        *_pKeyOrNull = Unadjusted(m_steps.Current(), _eMatrix);
    if (_pAdjustOrNull)
        *_pAdjustOrNull = m_steps.Current().adjust;
}

CHROMA_KEY_RAW CKeyState::KeyForSampling() const
{
    const std::lock_guard lock(m_mtxConfig);
    const KEY_EDIT& edit = m_steps.Current();
    return KeyType_HasSpace(edit.eType) || edit.keyTaken.nKeysUsed < 1 ? Unadjusted(edit) : edit.keyTaken;
}

int32_t CKeyState::TakenTypeGet() const
{
    const std::lock_guard lock(m_mtxConfig);
    const KEY_EDIT& edit = m_steps.Current();
    return KeyType_HasSpace(edit.eType) ? edit.eType : edit.keyTaken.eType;
}

HRESULT CKeyState::RawSet(const CHROMA_KEY_RAW& _key, const CK_ADJUST* _pAdjustOrNull,
                          std::optional<eZYMatrix> _eMatrix, int32_t _eTakenType)
{
    if (!KeyCheck_Count(_key) || (_pAdjustOrNull && !KeyCheck_Adjust(*_pAdjustOrNull)))
        return E_INVALIDARG;
    const std::lock_guard lock(m_mtxConfig);
    KEY_EDIT edit = {_key, _key.eType, _eMatrix, _pAdjustOrNull ? *_pAdjustOrNull : m_steps.Current().adjust};
    if (!KeyType_HasSpace(_key.eType) && KeyType_HasSpace(_eTakenType))
        edit.keyTaken.eType = _eTakenType;
    Push(edit);
    return S_OK;
}

void CKeyState::Reset()
{
    const std::lock_guard lock(m_mtxConfig);
    Push(Empty());
}

HRESULT CKeyState::AdjustSet(eCK_Adjust _eAdjust, double _dblValue, std::optional<eZYMatrix> _eMatrix)
{
    const CK_ADJUST_INFO* const pInfo = FindAdjust(_eAdjust);
    if (!pInfo)
        return E_INVALIDARG;
    const bool bInRange = _dblValue >= pInfo->dblMin && _dblValue <= pInfo->dblMax; // not so a value that is no number
    if (!bInRange || (_eAdjust == eCKA_KeyType && _dblValue != static_cast<int32_t>(_dblValue)))
        return Refuse(*pInfo, _dblValue);
    const std::lock_guard lock(m_mtxConfig);
    KEY_EDIT edit = m_steps.Current();
    if (double* const pField = KeyAdjust_Field(&edit.adjust, _eAdjust))
        *pField = _dblValue;
    else
        edit.eType = static_cast<int32_t>(_dblValue);
    if (!edit.eMatrix)
        edit.eMatrix = _eMatrix;
    return Push(edit, pInfo) ? S_OK : S_FALSE;
}

HRESULT CKeyState::AdjustGet(eCK_Adjust _eAdjust, double* _pdblValue) const
{
    if (!FindAdjust(_eAdjust))
        return E_INVALIDARG;
    const std::lock_guard lock(m_mtxConfig);
    KEY_EDIT edit = m_steps.Current();
    const double* const pField = KeyAdjust_Field(&edit.adjust, _eAdjust);
    *_pdblValue = pField ? *pField : edit.eType;
    return S_OK;
}

HRESULT CKeyState::Step(int32_t _nSteps, int32_t* _pnDone)
{
    const std::lock_guard lock(m_mtxConfig);
    if (m_steps.IsInGroup())
    {
        ZLog(eZLog_Error, "Key set: steps cannot be taken back or made again in a group; end it first\n");
        return E_UNEXPECTED;
    }
    *_pnDone = m_steps.Step(_nSteps);
    EffectiveUpdate();
    return S_OK;
}

int32_t CKeyState::StepsBack() const
{
    const std::lock_guard lock(m_mtxConfig);
    return m_steps.BackCount();
}

int32_t CKeyState::StepsFwd() const
{
    const std::lock_guard lock(m_mtxConfig);
    return m_steps.ForwardCount();
}

void CKeyState::GroupBegin()
{
    const std::lock_guard lock(m_mtxConfig);
    m_steps.GroupBegin();
}

HRESULT CKeyState::GroupEnd()
{
    const std::lock_guard lock(m_mtxConfig);
    if (m_steps.GroupEnd())
        return S_OK;
    ZLog(eZLog_Error, "Key set: GroupEnd without a GroupBegin before it\n");
    return E_UNEXPECTED;
}

/// _pWhat: the adjustment that changes; null: the edit stands alone.
bool CKeyState::Push(const KEY_EDIT& _edit, const void* _pWhat)
{
    const bool bStep = !(_edit == m_steps.Current());
    if (bStep)
        m_steps.Push(_edit, _pWhat);
    else if (_edit.eMatrix && !m_steps.Current().eMatrix) // the same keys, and now it is known what they are for
        m_steps.History().Amend(_edit);
    EffectiveUpdate();
    return bStep;
}

void CKeyState::EffectiveUpdate()
{
    m_keyEffective = KeyAdjust_Apply(Unadjusted(m_steps.Current()), m_steps.Current().adjust);
}

KEY_FRAMES CKeyState::FramesGet() const
{
    const std::lock_guard lock(m_mtxConfig);
    return m_frames;
}

CZPtr<IZFFrame> CKeyState::FrameForKeying() const
{
    const std::lock_guard lock(m_mtxConfig);
    return m_frames.cpKeying ? m_frames.cpKeying : m_frames.cpLast;
}

std::optional<eZYMatrix> CKeyState::MatrixForKeying(const Z_YUV_FORM& _yuv) const
{
    const std::lock_guard lock(m_mtxConfig);
    if (!m_frames.cpKeying && m_frames.vidPropsLast.fccType == 0)
        return {};
    return Img_MatrixOf(m_frames.cpKeying ? m_frames.vidPropsKeying : m_frames.vidPropsLast, _yuv);
}
