#pragma once

#include "Base/ZPtr.h"
#include "Image/ImgColor.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"
#include "Helpers/EditHistory.h"

#include <mutex>
#include <optional>

/// The state after one step of editing: the keys as they were taken, and their adjustments.
struct KEY_EDIT
{
    CHROMA_KEY_RAW keyTaken;          ///< in the space the keys were taken in
    int32_t eType;                    ///< the type in force; another than that of keyTaken after a change of type
    std::optional<eZYMatrix> eMatrix; ///< of the picture the keys are for; empty while there is none
    CK_ADJUST adjust;
};

/// The key set, the adjustments, their history and the frames of a plug-in object, under the configuration lock.
///
/// Adjustments and the key type act on the keys as they were taken, so that moving one there and back gives the same
/// bytes. An edit that changes nothing is no step. Any thread may call; the frame path takes one copy per frame.
class CKeyState
{
public:
    CKeyState();

    /// The configuration lock, for work that needs several calls to be one. Recursive: each call takes it as well.
    std::recursive_mutex& Lock() const
    {
        return m_mtxConfig;
    }

    /// The key set that is keyed with: adjusted.
    CHROMA_KEY_RAW KeyGet() const;
    /// Either may be null. The key set is the unadjusted one, in the type in force.
    void RawGet(CHROMA_KEY_RAW* _pKeyOrNull, CK_ADJUST* _pAdjustOrNull) const;

    /// The unadjusted keys for taking further samples; while keying is off, in the space they were taken in.
    CHROMA_KEY_RAW KeyForSampling() const;

    /// The space that the keys are in, which is not the type in force while keying is off.
    int32_t TakenTypeGet() const;

    /// Null adjustments stay as they are. _eTakenType: as TakenTypeGet answered when the set was saved.
    void RawSet(const CHROMA_KEY_RAW& _key, const CK_ADJUST* _pAdjustOrNull, std::optional<eZYMatrix> _eMatrix,
                int32_t _eTakenType = eCKT_Auto);
    /// No keying, no keys, no adjustments.
    void Reset();
    /// E_INVALIDARG: no such adjustment, or a value outside its range (logged). S_FALSE: it has that value already.
    /// _eMatrix: what a change of type computes with where the keys came without a picture.
    HRESULT AdjustSet(eCK_Adjust _eAdjust, double _dblValue, std::optional<eZYMatrix> _eMatrix);
    /// E_INVALIDARG: no such adjustment.
    HRESULT AdjustGet(eCK_Adjust _eAdjust, double* _pdblValue) const;
    /// Steps through the history, forward when positive; answers how many steps were made.
    size_t Step(int32_t _nSteps);

    /// Remembers the last frame received; null lets it go.
    void FrameSet(IZFFrame* _pFrameOrNull, const ZF_VID_PROPS& _vidProps);
    /// The last frame received, empty where there is none, and its properties.
    CZPtr<IZFFrame> FrameGet(ZF_VID_PROPS* _pVidProps) const;
    /// Exchanges the frames set for keying and for the background: the caller lets go of the old ones once it has
    /// released its locks.
    void KeyFramesSwap(CZPtr<IZFFrame>* _pcpFrameKeying, CZPtr<IZFFrame>* _pcpFrameBG);
    void KeyFramesGet(CZPtr<IZFFrame>* _pcpFrameKeying, CZPtr<IZFFrame>* _pcpFrameBG) const;

private:
    bool Push(const KEY_EDIT& _edit);
    void EffectiveUpdate();

    mutable std::recursive_mutex m_mtxConfig;
    CEditHistory<KEY_EDIT> m_history;
    CHROMA_KEY_RAW m_keyEffective = {}; ///< made with each edit, not with each frame
    CZPtr<IZFFrame> m_cpFrameLast;
    CZPtr<IZFFrame> m_cpFrameKeying;
    CZPtr<IZFFrame> m_cpFrameBG;
    ZF_VID_PROPS m_vidPropsLast = {};
};
