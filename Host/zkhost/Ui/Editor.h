#pragma once

#include "zkhost/Files/Stream.h"
#include "zkhost/Ui/Presets.h"
#include "zkhost/Ui/StepNames.h"

#include "Interfaces/IZSteps.h"
#include "Kit/Keyer.h"
#include "Kit/Tables.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// What there is to see of a key set.
struct EDITOR_STATE
{
    bool bAutomatic = false;       ///< the keys were found
    bool bHold = false;            ///< the plate is held
    std::vector<uint32_t> vecKeys; ///< 0xRRGGBB
    std::vector<uint32_t> vecProtected;
    std::array<std::string, Z_REGIONS> arrRegions; ///< polygons; empty: none
    std::vector<double> vecParams;                 ///< in the order of Params

    bool operator==(const EDITOR_STATE&) const = default;
};

/// The names of the regions, in the order of eRegion.
inline constexpr std::array<const char*, Z_REGIONS> c_arrRegionNames = {"garbage", "holdout", "backdrop"};

/// Options of the plug-in by name.
using EDITOR_OPTIONS = std::vector<std::pair<std::string, std::string>>;

/// The key set of one object of either generation, and its steps by name. Edits come from one thread at a time; frames
/// may be keyed beside all of them but Load and Document. Each edit throws CZHostError when the module refuses it.
class CZEditor
{
public:
    /// _nGeneration: 1 or 2. _stream: how the frames are coded. _vecOptions: what a person has set.
    CZEditor(int _nGeneration, const STREAM& _stream, EDITOR_OPTIONS _vecOptions);

    int Generation() const
    {
        return m_nGeneration;
    }
    CZKeyer& Keyer()
    {
        if (!m_bOptions)
            OptionsSet();
        return m_keyer;
    }
    /// Parameters of the second generation, adjustments of the first.
    const std::vector<ZTABLE_ROW>& Params() const
    {
        return m_vecRows;
    }
    const EDITOR_STATE& State() const
    {
        return m_state;
    }
    const CZStepNames& Steps() const
    {
        return m_steps;
    }
    /// Why the last search found nothing; empty: it found a backdrop.
    const std::string& Hint() const
    {
        return m_strHint;
    }

    /// Whether keys were looked for, or loaded.
    bool IsBegun() const
    {
        return m_bBegun;
    }
    /// Whether the keys are those that are found on the first frame of the clip, as zkhost key finds them.
    bool IsFoundOnFirst() const;

    /// Finds the backdrop of a frame of that number.
    void Find(IZFFrame* _pFrame, int64_t _nFrame);
    /// Makes a colour of a frame a key, or protects it.
    void TakePoint(IZFFrame* _pFrame, bool _bProtect, int _nX, int _nY);
    void TakeRect(IZFFrame* _pFrame, bool _bProtect, int _nX1, int _nY1, int _nX2, int _nY2);
    void Remove(int _nIndex, bool _bProtected);
    void Reset();
    void ParamSet(const std::string& _strName, double _dblValue);
    /// An empty polygon removes the region.
    void RegionSet(IZFFrame* _pFrame, eRegion _eWhich, const std::string& _strPolygon);
    void PresetSet(const PRESET& _preset);
    /// What becomes of the plate; no step.
    void Learn(eLearn _eLearn);
    /// Takes steps back when negative, makes them again when positive.
    void Step(int _nSteps);
    void Load(const std::string& _strDocument, const std::string& _strStep);
    void LoadFile(const std::string& _strPath);
    /// Keys and options, as zkhost key would save them.
    std::string Document();

private:
    using STEP = CZStepNames::STEP;

    CZPtr<IZSteps> ModuleSteps() const;
    void OptionsSet();
    void FrameSet(IZFFrame* _pFrame);
    /// Makes an edit on a frame, or on none: all of it is one step.
    template <class Call> HRESULT Edit(IZFFrame* _pFrameOrNull, const STEP& _step, Call&& _fnEdit);
    HRESULT Remove1(int _nIndex, bool _bProtected);
    void Loaded(const std::string& _strStep);
    void Took(const STEP& _step, bool _bMerges);
    void Moved();
    /// Reads what the module has now.
    void Refresh();
    void Refresh1();
    void Refresh2();
    void RefreshRegions();
    size_t ParamRow(const std::string& _strName) const;

    int m_nGeneration;
    STREAM m_stream;
    EDITOR_OPTIONS m_vecOptions;
    CZKeyer m_keyer;
    std::vector<ZTABLE_ROW> m_vecRows;
    ZF_VID_PROPS m_vidProps = {}; ///< of the frame that keys were made on last
    EDITOR_STATE m_state;
    CZStepNames m_steps;
    std::string m_strHint;
    bool m_bBegun = false;
    bool m_bOptions = false; ///< those that keying needs are set; not so where memory ran out on the way
};
