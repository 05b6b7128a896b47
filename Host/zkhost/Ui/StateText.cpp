#include "zkhost/Ui/StateText.h"

#include "zkhost/Ui/Json.h"
#include "zkhost/Ui/UiLog.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <cstdlib>

namespace
{

void PutClip(const STATE_FACTS& _facts, CZJson& _json)
{
    const STREAM& stream = _facts.pClip->Stream();
    const int64_t nFrames = _facts.pClip->Frames();
    const int64_t nLast = _facts.nOut >= 0 ? _facts.nOut : std::max<int64_t>(nFrames, 1) - 1;
    _json.Name("clip").Begin('{').Name("name").Text(_facts.strClip);
    _json.Name("width").Whole(stream.vidProps.nWidth).Name("height").Whole(std::abs(stream.vidProps.nHeight));
    _json.Name("frames");
    nFrames < 0 ? _json.Null() : _json.Whole(nFrames);
    _json.Name("rateNum").Whole(stream.nRateNum).Name("rateDen").Whole(stream.nRateDen);
    _json.Name("live").Bool(_facts.pClip->IsLive());
    _json.Name("pixelX").Whole(std::max<int64_t>(stream.nPixelX, 1));
    _json.Name("pixelY").Whole(std::max<int64_t>(stream.nPixelY, 1));
    _json.Name("in").Whole(_facts.nIn).Name("out");
    nFrames < 0 && _facts.nOut < 0 ? _json.Null() : _json.Whole(nLast);
    _json.End('}');
}

void PutParam(const ZTABLE_ROW& _row, double _dblValue, CZJson& _json)
{
    const bool bChoice = _row.eValue == eZV_Choice;
    _json.Begin('{').Name("name").Text(_row.pszName).Name("unit").Text(bChoice ? "" : _row.pszUnit);
    _json.Name("least").Number(_row.dblLeast).Name("most").Number(_row.dblMost);
    _json.Name("default").Number(_row.dblDefault).Name("value").Number(_dblValue);
    _json.Name("whole").Bool(bChoice || _row.eValue == eZV_Whole).Name("choices");
    if (bChoice)
    {
        _json.Begin('[');
        for (const std::string& strName : Tables_Choices(_row))
            _json.Text(strName);
        _json.End(']');
    }
    else
        _json.Null();
    _json.Name("help").Text(_row.pszHelp).Name("effect").Text(_row.pszEffect).End('}');
}

void PutColors(const char* _pszName, const std::vector<uint32_t>& _vecColors, CZJson& _json)
{
    _json.Name(_pszName).Begin('[');
    for (const uint32_t nRGB : _vecColors)
        _json.Text(ZFormat("#%06X", nRGB));
    _json.End(']');
}

void PutKeys(const CZEditor& _editor, CZJson& _json)
{
    const EDITOR_STATE& state = _editor.State();
    const bool bFound = !state.vecKeys.empty();
    _json.Name("keyer").Whole(_editor.Generation()).Name("automatic").Bool(state.bAutomatic);
    _json.Name("found").Bool(bFound).Name("hint").Text(bFound ? "" : _editor.Hint());
    _json.Name("params").Begin('[');
    for (size_t i = 0; i < _editor.Params().size(); ++i)
        PutParam(_editor.Params()[i], state.vecParams[i], _json);
    _json.End(']');
    PutColors("keys", state.vecKeys, _json);
    PutColors("protected", state.vecProtected, _json);
    _json.Name("regions").Begin('{');
    for (size_t i = 0; i < state.arrRegions.size(); ++i)
        _json.Name(c_arrRegionNames[i]).Text(state.arrRegions[i]);
    _json.End('}').Name("steps").Begin('{').Name("list").Begin('[');
    for (const CZStepNames::STEP& step : _editor.Steps().List())
        _json.Text(step.strName);
    _json.End(']').Name("at").Whole(static_cast<int64_t>(_editor.Steps().At())).End('}');
    _json.Name("learn").Text(state.bHold ? "hold" : "on");
}

void PutPresets(const CZEditor& _editor, CZJson& _json)
{
    _json.Name("presets").Begin('[');
    if (_editor.Generation() == 2)
        for (const PRESET& preset : Presets_All())
            _json.Begin('{').Name("name").Text(preset.pszName).Name("help").Text(preset.pszHelp).End('}');
    _json.End(']');
}

void PutJob(const std::optional<RENDER_STATE>& _optJob, CZJson& _json)
{
    constexpr const char* c_arrStates[] = {"running", "done", "failed", "cancelled"};
    _json.Name("job");
    if (!_optJob)
    {
        _json.Null();
        return;
    }
    const double dblLeft = _optJob->nFrames >= 0 && _optJob->dblRate > 0
                               ? static_cast<double>(_optJob->nFrames - _optJob->nFrame) / _optJob->dblRate
                               : -1;
    _json.Begin('{').Name("state").Text(c_arrStates[_optJob->eNow]).Name("output").Text(_optJob->strOutput);
    _json.Name("frame").Whole(_optJob->nFrame).Name("frames");
    _optJob->nFrames < 0 ? _json.Null() : _json.Whole(_optJob->nFrames);
    _json.Name("fps").Number(_optJob->dblRate).Name("left");
    dblLeft < 0 ? _json.Null() : _json.Number(dblLeft);
    _json.Name("error").Text(_optJob->strError).End('}');
}

} // namespace

std::string StateText_Make(const STATE_FACTS& _facts)
{
    CZJson json;
    json.Begin('{').Name("revision").Whole(_facts.nRevision).Name("keysRevision").Whole(_facts.nKeysRevision);
    json.Name("version").Text(_facts.strVersion);
    PutClip(_facts, json);
    PutKeys(*_facts.pEditor, json);
    json.Name("slot").Text(std::string(1, _facts.chSlot));
    PutPresets(*_facts.pEditor, json);
    json.Name("background").Bool(_facts.bBackground).Name("log").Begin('[');
    for (const std::string& strLine : UiLog_Lines())
        json.Text(strLine);
    json.End(']').Name("command").Text(_facts.strCommand);
    PutJob(_facts.optJob, json);
    return json.End('}').Take();
}
