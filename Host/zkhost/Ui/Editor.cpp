#include "zkhost/Ui/Editor.h"

#include "Interfaces/ZOptionNames.h"
#include "Kit/HostError.h"
#include "Kit/Result.h"

#include "Base/ZBstr.h"
#include "Base/ZLog.h"
#include "Base/ZScope.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace
{

constexpr const char* c_pszFound = "automatic key";
constexpr const char* c_pszTaken = "that colour is taken already; nothing has changed";
constexpr const char* c_pszNothingFound =
    "no backdrop was found: no large, flat area of one strong hue reaches along the "
    "upper border of the picture; click on the backdrop to take its colour";

/// The rows of a generation, as a person sets them.
std::vector<ZTABLE_ROW> RowsOf(int _nGeneration)
{
    std::vector<ZTABLE_ROW> vecRows =
        Tables_Read(CZModule::Own(), _nGeneration == 1 ? eZTable_Adjusts : eZTable_Params);
    if (_nGeneration == 2)
        return vecRows;
    ZTABLE_ROW& type = vecRows.at(eCKA_KeyType); // the types that keys can be measured in
    type.dblLeast = eCKT_RGB;
    type.dblMost = eCKT_YUV;
    type.eValue = eZV_Choice;
    type.pszUnit = "rgb hls yuv";
    return vecRows;
}

/// A value as a person reads it.
std::string ValueText(const ZTABLE_ROW& _row, double _dblValue)
{
    const std::vector<std::string> vecNames = Tables_Choices(_row);
    return vecNames.empty() ? ZFormat("%g", _dblValue)
                            : vecNames.at(static_cast<size_t>(std::lround(_dblValue - _row.dblLeast)));
}

} // namespace

CZEditor::CZEditor(int _nGeneration, const STREAM& _stream, EDITOR_OPTIONS _vecOptions)
    : m_nGeneration(_nGeneration)
    , m_stream(_stream)
    , m_vecOptions(std::move(_vecOptions))
    , m_keyer(CZModule::Own(), _nGeneration == 1 ? CLSID_ZChromaKey : CLSID_ZChromaKey2)
    , m_vecRows(RowsOf(_nGeneration))
{
    OptionsSet();
    Refresh();
}

void CZEditor::OptionsSet()
{
    Stream_Tell(m_stream, m_keyer);
    for (const auto& [strName, strValue] : m_vecOptions)
        m_keyer.OptionSet(strName, strValue);
    m_keyer.OptionNeed(c_szOptionARGB, "true");
    m_keyer.OptionNeed(c_szOptionDepth, "8");
    m_keyer.OptionNeed(c_szOptionPremultiplied, "false");
    m_keyer.OptionNeed(c_szOptionThread, "false"); // each result at once
    m_bOptions = true;
}

CZPtr<IZSteps> CZEditor::ModuleSteps() const
{
    return m_keyer.Key2() ? ZQuery<IZSteps>(m_keyer.Key2()) : ZQuery<IZSteps>(m_keyer.Key());
}

void CZEditor::FrameSet(IZFFrame* _pFrame)
{
    Result_Check(_pFrame->VideoPropsGet(&m_vidProps), "looking at a frame");
    Result_Check(m_keyer.Key2() ? m_keyer.Key2()->FrameSet(_pFrame) : m_keyer.Key()->KeyFrameSet(_pFrame, nullptr),
                 "handing over the frame to make keys on");
}

template <class Call> HRESULT CZEditor::Edit(IZFFrame* _pFrameOrNull, const STEP& _step, Call&& _fnEdit)
{
    const CZPtr<IZSteps> cpSteps = ModuleSteps();
    if (_pFrameOrNull)
        FrameSet(_pFrameOrNull);
    const CZScopeExit scopeFrame([this] { // the frame is not to be held
        m_keyer.Key2() ? m_keyer.Key2()->FrameSet(nullptr) : m_keyer.Key()->KeyFrameSet(nullptr, nullptr);
    });
    HRESULT hr = S_OK;
    {
        const HRESULT hrGroup = cpSteps->GroupBegin();
        const CZScopeExit scopeGroup([&] { hrGroup == S_OK ? cpSteps->GroupEnd() : S_OK; });
        Result_Check(hrGroup, "beginning a group of steps"); // there may be no memory for these words
        hr = _fnEdit();
        Result_Check(hr, _step.strName);
    }
    Took(_step, false);
    return hr;
}

void CZEditor::Moved()
{
    int32_t nBack = 0;
    int32_t nFwd = 0;
    Result_Check(ModuleSteps()->StepsBack(&nBack), "counting the steps");
    Result_Check(ModuleSteps()->StepsFwd(&nFwd), "counting the steps");
    m_steps.Moved(static_cast<size_t>(nBack), static_cast<size_t>(nFwd));
}

void CZEditor::Took(const STEP& _step, bool _bMerges)
{
    const EDITOR_STATE stateBefore = m_state;
    int32_t nBack = 0;
    int32_t nFwd = 0;
    Result_Check(ModuleSteps()->StepsBack(&nBack), "counting the steps");
    Result_Check(ModuleSteps()->StepsFwd(&nFwd), "counting the steps");
    Refresh();
    if (!(m_state == stateBefore))
        m_steps.Took(static_cast<size_t>(nBack), static_cast<size_t>(nFwd), _step, _bMerges);
    m_steps.Moved(static_cast<size_t>(nBack), static_cast<size_t>(nFwd));
    Refresh(); // the first generation tells by the names whether keys were found
}

void CZEditor::Find(IZFFrame* _pFrame, int64_t _nFrame)
{
    m_bBegun = true;
    const std::string strStep = _nFrame == 0 ? c_pszFound : ZFormat("%hs, frame %d", c_pszFound, _nFrame);
    const HRESULT hr = Edit(_pFrame, {strStep, true}, [this] { return m_keyer.FindBackdrop(); });
    m_strHint = hr == S_OK ? "" : c_pszNothingFound;
}

bool CZEditor::IsFoundOnFirst() const
{
    const std::vector<STEP>& vecSteps = m_steps.List();
    const auto itEnd = vecSteps.begin() + static_cast<ptrdiff_t>(m_steps.At());
    const auto fnSetsKeys = [](const STEP& _step) {
        return !_step.bAutomatic || _step.strName.starts_with(c_pszFound);
    };
    const auto itLast = std::find_if(std::make_reverse_iterator(itEnd), vecSteps.rend(), fnSetsKeys);
    return m_state.bAutomatic && itLast != vecSteps.rend() && itLast->strName == c_pszFound;
}

void CZEditor::TakePoint(IZFFrame* _pFrame, bool _bProtect, int _nX, int _nY)
{
    IZChromaKey2* const pKey2 = m_keyer.Key2();
    const HRESULT hr = Edit(_pFrame, {ZFormat(_bProtect ? "protect %d, %d" : "key at %d, %d", _nX, _nY)}, [&] {
        const HRESULT hrTaken = pKey2 ? (_bProtect ? pKey2->KeyProtectPoint(_nX, _nY) : pKey2->KeyAddPoint(_nX, _nY))
                                : _bProtect ? m_keyer.Key()->KeyExcludePoint(_nX, _nY)
                                            : m_keyer.Key()->KeyAddPoint(_nX, _nY);
        if (SUCCEEDED(hrTaken))
            m_keyer.CleanColors();
        return hrTaken;
    });
    if (hr == S_FALSE)
        throw CZHostError(c_pszTaken);
}

void CZEditor::TakeRect(IZFFrame* _pFrame, bool _bProtect, int _nX1, int _nY1, int _nX2, int _nY2)
{
    IZChromaKey2* const pKey2 = m_keyer.Key2();
    if (_bProtect && !pKey2)
        throw CZHostError("the first generation protects colours at points, not in rectangles; click instead");
    const char* const pszStep = _bProtect ? "protect %d, %d to %d, %d" : "key in %d, %d to %d, %d";
    const HRESULT hr = Edit(_pFrame, {ZFormat(pszStep, _nX1, _nY1, _nX2, _nY2)}, [&] {
        const HRESULT hrTaken = _bProtect ? pKey2->KeyProtectRect(_nX1, _nY1, _nX2, _nY2)
                                : pKey2   ? pKey2->KeyAddRect(_nX1, _nY1, _nX2, _nY2)
                                          : m_keyer.Key()->KeyAddRect(_nX1, _nY1, _nX2, _nY2);
        if (SUCCEEDED(hrTaken))
            m_keyer.CleanColors();
        return hrTaken;
    });
    if (hr == S_FALSE)
        throw CZHostError(c_pszTaken);
}

void CZEditor::Remove(int _nIndex, bool _bProtected)
{
    Edit(nullptr, {ZFormat(_bProtected ? "remove protected colour %d" : "remove key %d", _nIndex + 1)}, [&] {
        return m_keyer.Key2() ? m_keyer.Key2()->KeyRemove(_nIndex, _bProtected) : Remove1(_nIndex, _bProtected);
    });
}

void CZEditor::Reset()
{
    Edit(nullptr, {"reset"},
         [this] { return m_keyer.Key2() ? m_keyer.Key2()->KeyReset() : m_keyer.Key()->KeyReset(); });
}

size_t CZEditor::ParamRow(const std::string& _strName) const
{
    std::string strNames;
    for (size_t i = 0; i < m_vecRows.size(); ++i)
    {
        if (_strName == m_vecRows[i].pszName)
            return i;
        strNames += ZFormat(i == 0 ? "%hs" : ", %hs", m_vecRows[i].pszName);
    }
    throw CZHostError(ZFormat("there is no parameter \"%s\"; there are %s", _strName, strNames));
}

void CZEditor::ParamSet(const std::string& _strName, double _dblValue)
{
    const size_t nRow = ParamRow(_strName);
    const ZTABLE_ROW& row = m_vecRows[nRow];
    const bool bWhole = row.eValue == eZV_Whole || row.eValue == eZV_Choice;
    if (!(_dblValue >= row.dblLeast && _dblValue <= row.dblMost) || (bWhole && _dblValue != std::floor(_dblValue)))
        throw CZHostError(ZFormat("%s %g: it has to be %s from %g to %g", _strName, _dblValue,
                                  bWhole ? "a whole number" : "a number", row.dblLeast, row.dblMost));
    const std::string strStep = ZFormat("%s %s", _strName, ValueText(row, _dblValue));
    const HRESULT hr = m_keyer.Key2() ? m_keyer.Key2()->ParamSet(CZBStr(_strName).Get(), _dblValue)
                                      : m_keyer.Key()->KeyAdjustSet(static_cast<eCK_Adjust>(nRow), _dblValue);
    Result_Check(hr, strStep);
    Took({strStep, m_state.bAutomatic}, true);
}

void CZEditor::RegionSet(IZFFrame* _pFrame, eRegion _eWhich, const std::string& _strPolygon)
{
    if (!m_keyer.Key2())
        throw CZHostError("the first generation has no regions; switch to the second");
    const char* const pszName = c_arrRegionNames.at(static_cast<size_t>(_eWhich));
    const CZBStr bsPolygon(_strPolygon);
    Edit(_pFrame, {ZFormat(_strPolygon.empty() ? "remove %s" : "draw %s", pszName), m_state.bAutomatic},
         [&] { return m_keyer.Key2()->RegionSet(_eWhich, nullptr, _strPolygon.empty() ? nullptr : bsPolygon.Get()); });
}

void CZEditor::PresetSet(const PRESET& _preset)
{
    if (!m_keyer.Key2())
        throw CZHostError("presets are for the second generation; switch to it");
    Edit(nullptr, {ZFormat("preset %s", _preset.pszName), m_state.bAutomatic}, [&] {
        for (const ZTABLE_ROW& row : m_vecRows)
        {
            double dblValue = row.dblDefault;
            for (const auto& [pszName, dblPreset] : _preset.vecParams)
                if (std::string_view(pszName) == row.pszName)
                    dblValue = dblPreset;
            if (Presets_HasParam(row.pszName))
                Result_Check(m_keyer.Key2()->ParamSet(CZBStr(row.pszName).Get(), dblValue), row.pszName);
        }
        return S_OK;
    });
}

void CZEditor::Learn(eLearn _eLearn)
{
    if (!m_keyer.Key2())
        throw CZHostError("the first generation learns nothing; switch to the second");
    Result_Check(m_keyer.Key2()->PlateLearn(_eLearn), "saying what becomes of the plate");
    Refresh();
}

void CZEditor::Step(int _nSteps)
{
    int32_t nDone = 0;
    const CZPtr<IZSteps> cpSteps = ModuleSteps();
    Result_Check(_nSteps < 0 ? cpSteps->StepBack(-_nSteps, &nDone) : cpSteps->StepFwd(_nSteps, &nDone),
                 "taking steps of editing");
    Moved();
    Refresh();
}

void CZEditor::Load(const std::string& _strDocument, const std::string& _strStep)
{
    m_bOptions = false;
    m_keyer.LoadDocument(_strDocument);
    Loaded(_strStep);
}

void CZEditor::LoadFile(const std::string& _strPath)
{
    m_bOptions = false;
    m_keyer.LoadFile(_strPath);
    Loaded("keys of the file");
}

void CZEditor::Loaded(const std::string& _strStep)
{
    m_bBegun = true;
    m_strHint.clear();
    OptionsSet();
    Took({_strStep}, false);
}

std::string CZEditor::Document()
{
    m_bOptions = false; // it changes them for a moment
    std::string strDocument = m_keyer.Document();
    m_bOptions = true;
    return strDocument;
}
