#include "ZChromaKey/Keys/KeyState.h"

#include "Base/ZLog.h"
#include "Helpers/CKConvert.h"
#include "ZChromaKey/Keys/KeyAdjust.h"
#include "ZChromaKey/Keys/KeyCheck.h"

#include <cstdlib>
#include <cstring>

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

/// Whether two edits lead to what looks the same from outside.
bool Same(const KEY_EDIT& _a, const KEY_EDIT& _b)
{
    const CHROMA_KEY_RAW keyA = Unadjusted(_a);
    const CHROMA_KEY_RAW keyB = Unadjusted(_b);
    return SameBytes(&keyA, &keyB, sizeof(keyA)) && SameBytes(&_a.adjust, &_b.adjust, sizeof(_a.adjust));
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

CKeyState::CKeyState()
    : m_history(Empty(), c_nMaxSteps)
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
        *_pKeyOrNull = Unadjusted(m_history.Current(), _eMatrix);
    if (_pAdjustOrNull)
        *_pAdjustOrNull = m_history.Current().adjust;
}

CHROMA_KEY_RAW CKeyState::KeyForSampling() const
{
    const std::lock_guard lock(m_mtxConfig);
    const KEY_EDIT& edit = m_history.Current();
    return KeyType_HasSpace(edit.eType) || edit.keyTaken.nKeysUsed < 1 ? Unadjusted(edit) : edit.keyTaken;
}

int32_t CKeyState::TakenTypeGet() const
{
    const std::lock_guard lock(m_mtxConfig);
    const KEY_EDIT& edit = m_history.Current();
    return KeyType_HasSpace(edit.eType) ? edit.eType : edit.keyTaken.eType;
}

HRESULT CKeyState::RawSet(const CHROMA_KEY_RAW& _key, const CK_ADJUST* _pAdjustOrNull,
                          std::optional<eZYMatrix> _eMatrix, int32_t _eTakenType)
{
    if (!KeyCheck_Count(_key) || (_pAdjustOrNull && !KeyCheck_Adjust(*_pAdjustOrNull)))
        return E_INVALIDARG;
    const std::lock_guard lock(m_mtxConfig);
    KEY_EDIT edit = {_key, _key.eType, _eMatrix, _pAdjustOrNull ? *_pAdjustOrNull : m_history.Current().adjust};
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
    KEY_EDIT edit = m_history.Current();
    if (double* const pField = KeyAdjust_Field(&edit.adjust, _eAdjust))
        *pField = _dblValue;
    else
        edit.eType = static_cast<int32_t>(_dblValue);
    if (!edit.eMatrix)
        edit.eMatrix = _eMatrix;
    return Push(edit) ? S_OK : S_FALSE;
}

HRESULT CKeyState::AdjustGet(eCK_Adjust _eAdjust, double* _pdblValue) const
{
    if (!FindAdjust(_eAdjust))
        return E_INVALIDARG;
    const std::lock_guard lock(m_mtxConfig);
    KEY_EDIT edit = m_history.Current();
    const double* const pField = KeyAdjust_Field(&edit.adjust, _eAdjust);
    *_pdblValue = pField ? *pField : edit.eType;
    return S_OK;
}

size_t CKeyState::Step(int32_t _nSteps)
{
    const std::lock_guard lock(m_mtxConfig);
    const auto nSteps = static_cast<size_t>(std::abs(int64_t{_nSteps}));
    const size_t nMade = _nSteps < 0 ? m_history.Back(nSteps) : m_history.Forward(nSteps);
    EffectiveUpdate();
    return nMade;
}

bool CKeyState::Push(const KEY_EDIT& _edit)
{
    const bool bStep = !Same(_edit, m_history.Current());
    if (bStep)
        m_history.Push(_edit);
    else if (_edit.eMatrix && !m_history.Current().eMatrix) // the same keys, and now it is known what they are for
        m_history.Amend(_edit);
    EffectiveUpdate();
    return bStep;
}

void CKeyState::EffectiveUpdate()
{
    m_keyEffective = KeyAdjust_Apply(Unadjusted(m_history.Current()), m_history.Current().adjust);
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

std::optional<eZYMatrix> CKeyState::MatrixForKeying() const
{
    const std::lock_guard lock(m_mtxConfig);
    if (!m_frames.cpKeying && !m_frames.cpLast)
        return {};
    return Img_MatrixOf(m_frames.cpKeying ? m_frames.vidPropsKeying : m_frames.vidPropsLast);
}
