#include "ZChromaKey/KeyState.h"

CKeyState::CKeyState()
{
    Reset();
}

CHROMA_KEY_RAW CKeyState::KeyGet() const
{
    const std::lock_guard lock(m_mtxConfig);
    return m_key;
}

void CKeyState::RawSet(const CHROMA_KEY_RAW& _key, const CK_ADJUST* _pAdjustOrNull)
{
    const std::lock_guard lock(m_mtxConfig);
    m_key = _key;
    if (_pAdjustOrNull)
        m_adjust = *_pAdjustOrNull;
}

void CKeyState::RawGet(CHROMA_KEY_RAW* _pKeyOrNull, CK_ADJUST* _pAdjustOrNull) const
{
    const std::lock_guard lock(m_mtxConfig);
    if (_pKeyOrNull)
        *_pKeyOrNull = m_key;
    if (_pAdjustOrNull)
        *_pAdjustOrNull = m_adjust;
}

void CKeyState::Reset()
{
    const std::lock_guard lock(m_mtxConfig);
    m_key = {};
    m_key.eType = eCKT_None;
    m_key.nMaxTransparent = 255; // 0 would make every soft edge opaque
    m_adjust = {};
}

void CKeyState::FrameSet(IZFFrame* _pFrameOrNull, const ZF_VID_PROPS& _vidProps)
{
    CZPtr<IZFFrame> cpFrame(_pFrameOrNull); // takes the old one along, to be released behind the lock
    const std::lock_guard lock(m_mtxConfig);
    std::swap(m_cpFrameLast, cpFrame);
    m_vidPropsLast = _vidProps;
}

CZPtr<IZFFrame> CKeyState::FrameGet(ZF_VID_PROPS* _pVidProps) const
{
    const std::lock_guard lock(m_mtxConfig);
    *_pVidProps = m_vidPropsLast;
    return m_cpFrameLast;
}
