#pragma once

#include "Base/ZPtr.h"
#include "Helpers/EditHistory.h"
#include "Interfaces/IZFFrame.h"
#include "ZChromaKey/Keys2/KeySet2.h"
#include "ZChromaKey/Keys2/Regions.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>

struct KEY2_PARAM;

/// The state after one step of editing. "view" and "learn" are not in it: they are at their defaults.
struct KEY2_EDIT
{
    CHROMA_KEY2_RAW key;
    KEY2_REGIONS arrRegions;

    bool operator==(const KEY2_EDIT& _other) const;
};

/// What a frame is keyed with.
struct KEY2_PRESENT
{
    CHROMA_KEY2_RAW key; ///< with "view" and "learn"
    KEY2_REGIONS arrRegions;
    std::shared_ptr<const IMG_PICTURE> spPlate; ///< a picture of the empty backdrop; empty: none was given
    uint64_t nPlate;                            ///< changes when it does
    uint64_t nRestarts;                         ///< changes when the plate that was learned is to be forgotten
};

/// Keys, protected colours, parameters and regions of a plug-in object of the second generation, their history, and
/// the frames that points refer to, under the configuration lock.
///
/// An edit that changes nothing is no step. Memory is bounded: there are at most 1000 steps, and the oldest go when
/// the masks of all of them take more than 128 MB. Any thread may call; the frame path takes one copy a frame.
class CKeyState2
{
public:
    using CLOCK = CEditSteps<KEY2_EDIT>::CLOCK;

    /// _fnClock: tells which changes of a parameter belong together.
    explicit CKeyState2(CLOCK _fnClock = &std::chrono::steady_clock::now);

    /// The configuration lock, for work that needs several calls to be one. Recursive: each call takes it as well.
    std::recursive_mutex& Lock() const
    {
        return m_mtxConfig;
    }

    KEY2_PRESENT Get() const;
    /// Keys, protected colours and parameters, "view" and "learn" among them.
    CHROMA_KEY2_RAW RawGet() const;
    /// E_INVALIDARG: a number outside its range (logged).
    HRESULT RawSet(const CHROMA_KEY2_RAW& _key);
    /// What is saved, and takes the place of all that is edited. The set must have been checked.
    KEY2_EDIT EditGet() const;
    void EditSet(KEY2_EDIT _edit);

    /// As KeySet2_KeyAdd and so on answer.
    HRESULT KeyAdd(const KEY2_COLOR& _color);
    HRESULT ProtectAdd(const KEY2_COLOR& _color);
    HRESULT Remove(int32_t _nIndex, bool _bProtected);
    HRESULT ParamSet(std::string_view _svName, double _dblValue);
    /// Puts a key that was found in the place of all keys.
    HRESULT KeyFound(const KEY2_COLOR& _color);
    /// No keys, no protected colours, no regions, parameters at their defaults.
    void Reset();
    /// Null takes the region away. S_FALSE: there was none.
    HRESULT RegionSet(eRegion _eRegion, std::shared_ptr<const KEY2_REGION> _spRegionOrNull);
    /// Null: none is given any more.
    void PlateSet(std::shared_ptr<const IMG_PICTURE> _spPlateOrNull);

    /// Steps through the history, forward when positive. E_UNEXPECTED: in a group.
    HRESULT Step(int32_t _nSteps, int32_t* _pnDone);
    int32_t StepsBack() const;
    int32_t StepsFwd() const;
    void GroupBegin();
    /// E_UNEXPECTED: no group was begun.
    HRESULT GroupEnd();

    /// Exchanges the last frame that came in, and the one that points refer to instead: the caller lets go of the old
    /// one once it has released its locks.
    void FrameSeenSwap(CZPtr<IZFFrame>* _pcpFrame);
    void FrameSetSwap(CZPtr<IZFFrame>* _pcpFrame);
    /// The frame that points refer to; empty where there is none.
    CZPtr<IZFFrame> FrameGet() const;

private:
    template <class Change> HRESULT Edit(Change&& _change);
    void Push(KEY2_EDIT _edit, const KEY2_PARAM* _pParamOrNull);
    size_t MaskBytes();
    void MasksBound() noexcept;
    HRESULT PresentSet(const KEY2_PARAM& _param, double _dblValue);

    mutable std::recursive_mutex m_mtxConfig;
    CEditSteps<KEY2_EDIT> m_steps;
    KEY2_PARAMS m_paramsPresent; ///< of these, "view" and "learn"
    uint64_t m_nRestarts = 0;
    std::shared_ptr<const IMG_PICTURE> m_spPlate;
    uint64_t m_nPlate = 0;

    CZPtr<IZFFrame> m_cpFrameSeen;
    CZPtr<IZFFrame> m_cpFrameSet;
};
