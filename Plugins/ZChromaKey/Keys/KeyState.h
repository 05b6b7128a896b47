#pragma once

#include "Base/ZPtr.h"
#include "Image/ImgColor.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"
#include "Helpers/EditHistory.h"

#include <chrono>
#include <mutex>
#include <optional>

/// The state after one step of editing: the keys as they were taken, and their adjustments.
struct KEY_EDIT
{
    CHROMA_KEY_RAW keyTaken;          ///< in the space the keys were taken in
    int32_t eType;                    ///< the type in force; another than that of keyTaken after a change of type
    std::optional<eZYMatrix> eMatrix; ///< of the picture the keys are for; empty while there is none
    CK_ADJUST adjust;

    /// Whether both lead to what looks the same from outside.
    bool operator==(const KEY_EDIT& _other) const;
};

/// The frames that keys are taken from and shown on.
struct KEY_FRAMES
{
    CZPtr<IZFFrame> cpLast; ///< the last one received; empty where none is to be kept
    ZF_VID_PROPS vidPropsLast = {};
    CZPtr<IZFFrame> cpKeying; ///< set by the host, to take keys from instead
    ZF_VID_PROPS vidPropsKeying = {};
    CZPtr<IZFFrame> cpBG;     ///< set by the host, and kept for it
    CZPtr<IZFFrame> cpMarked; ///< the frame for keying as the last detection has marked it, where it was asked to
};

/// The key set, the adjustments, their history and the frames of a plug-in object, under the configuration lock.
///
/// Adjustments and the key type act on the keys as they were taken, so that moving one there and back gives the same
/// bytes. An edit that changes nothing is no step. Any thread may call; the frame path takes one copy per frame.
class CKeyState
{
public:
    using CLOCK = CEditSteps<KEY_EDIT>::CLOCK;

    /// _fnClock: tells which changes of an adjustment belong together.
    explicit CKeyState(CLOCK _fnClock = &std::chrono::steady_clock::now);

    /// The configuration lock, for work that needs several calls to be one. Recursive: each call takes it as well.
    std::recursive_mutex& Lock() const
    {
        return m_mtxConfig;
    }

    /// The key set that is keyed with: adjusted.
    CHROMA_KEY_RAW KeyGet() const;
    /// Either may be null. The key set is the unadjusted one, in the type in force; where its keys came without a
    /// picture, _eMatrix is what another type of theirs is computed with.
    void RawGet(CHROMA_KEY_RAW* _pKeyOrNull, CK_ADJUST* _pAdjustOrNull, std::optional<eZYMatrix> _eMatrix = {}) const;

    /// The unadjusted keys for taking further samples; while keying is off, in the space they were taken in.
    CHROMA_KEY_RAW KeyForSampling() const;

    /// The space that the keys are in, which is not the type in force while keying is off.
    int32_t TakenTypeGet() const;

    /// Null adjustments stay as they are. _eTakenType: as TakenTypeGet answered when the set was saved. E_INVALIDARG: a
    /// number of keys that cannot be, or an adjustment that is no finite number (logged); nothing has changed.
    HRESULT RawSet(const CHROMA_KEY_RAW& _key, const CK_ADJUST* _pAdjustOrNull, std::optional<eZYMatrix> _eMatrix,
                   int32_t _eTakenType = eCKT_Auto);
    /// No keying, no keys, no adjustments.
    void Reset();
    /// E_INVALIDARG: no such adjustment, or a value outside its range (logged). S_FALSE: it has that value already.
    /// _eMatrix: what a change of type computes with where the keys came without a picture.
    HRESULT AdjustSet(eCK_Adjust _eAdjust, double _dblValue, std::optional<eZYMatrix> _eMatrix);
    /// E_INVALIDARG: no such adjustment.
    HRESULT AdjustGet(eCK_Adjust _eAdjust, double* _pdblValue) const;
    /// Steps through the history, forward when positive. E_UNEXPECTED: in a group.
    HRESULT Step(int32_t _nSteps, int32_t* _pnDone);
    int32_t StepsBack() const;
    int32_t StepsFwd() const;
    void GroupBegin();
    /// E_UNEXPECTED: no group was begun.
    HRESULT GroupEnd();

    /// Calls _fnChange with the frames, under the lock; what it takes out of them the caller lets go of after it.
    template <class Change> void FramesChange(Change&& _fnChange)
    {
        const std::lock_guard lock(m_mtxConfig);
        _fnChange(&m_frames);
    }
    KEY_FRAMES FramesGet() const;
    /// The frame that keys are taken from, empty where there is none.
    CZPtr<IZFFrame> FrameForKeying() const;
    /// Its matrix: another type of its keys is computed with it. _yuv: how pictures in YUV are coded.
    std::optional<eZYMatrix> MatrixForKeying(const Z_YUV_FORM& _yuv) const;

private:
    bool Push(const KEY_EDIT& _edit, const void* _pWhat = nullptr);
    void EffectiveUpdate();

    mutable std::recursive_mutex m_mtxConfig;
    CEditSteps<KEY_EDIT> m_steps;
    CHROMA_KEY_RAW m_keyEffective = {}; ///< made with each edit, not with each frame
    KEY_FRAMES m_frames;
};
