#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"

#include <mutex>

/// The key set and adjustments of a plug-in object, and the last frame it received, under the configuration lock.
///
/// Any thread may call; the frame path takes one copy of the key set per frame.
class CKeyState
{
public:
    CKeyState();

    /// The configuration lock, for work that needs several calls to be one. Recursive: each call takes it as well.
    std::recursive_mutex& Lock() const
    {
        return m_mtxConfig;
    }

    CHROMA_KEY_RAW KeyGet() const;
    /// Null adjustments stay as they are.
    void RawSet(const CHROMA_KEY_RAW& _key, const CK_ADJUST* _pAdjustOrNull);
    /// Either may be null.
    void RawGet(CHROMA_KEY_RAW* _pKeyOrNull, CK_ADJUST* _pAdjustOrNull) const;
    /// No keying, no keys, no adjustments.
    void Reset();

    /// Remembers the last frame received; null lets it go.
    void FrameSet(IZFFrame* _pFrameOrNull, const ZF_VID_PROPS& _vidProps);
    /// The last frame received, empty where there is none, and its properties.
    CZPtr<IZFFrame> FrameGet(ZF_VID_PROPS* _pVidProps) const;

private:
    mutable std::recursive_mutex m_mtxConfig;
    CHROMA_KEY_RAW m_key;
    CK_ADJUST m_adjust;
    CZPtr<IZFFrame> m_cpFrameLast;
    ZF_VID_PROPS m_vidPropsLast = {};
};
