#include "zkhost/Ui/Session.h"

#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Ui/Json.h"

#include "Base/ZBstr.h"
#include "Base/ZLog.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>

namespace
{

constexpr int64_t c_cbKept = int64_t{1} << 30;
constexpr std::chrono::seconds c_timeHeld{10};

std::string ColorText(double _dblRed, double _dblGreen, double _dblBlue)
{
    return ZFormat("#%02X%02X%02X", std::lround(_dblRed), std::lround(_dblGreen), std::lround(_dblBlue));
}

std::string StatsText(const CZKeyer& _keyer)
{
    CZJson json;
    json.Begin('{');
    CHROMA_KEY2_STATS stats = {};
    if (_keyer.Key2() && SUCCEEDED(_keyer.Key2()->StatsGet(&stats)))
    {
        json.Name("ms").Number(stats.dblMilliseconds);
        json.Name("backdrop").Number(stats.dblBackdrop);
        json.Name("mixed").Number(stats.dblMixed);
        json.Name("solid").Number(stats.dblSolid);
        json.Name("noise").Number(stats.dblNoise);
        json.Name("plateFrames").Whole(stats.nPlateFrames);
        json.Name("cuts").Whole(stats.nCuts);
        json.Name("on").Text(stats.eKeyedOnValue == eKeyedOn_GPU ? "GPU" : "CPU");
    }
    json.End('}');
    return json.Take();
}

} // namespace

CZSession::CZSession(const UI_OPTIONS& _options)
    : m_options(_options)
    , m_clip(_options.strInput, _options.strRawSpec, c_cbKept)
    , m_vecParams(Tables_Read(CZModule::Own(), eZTable_Params))
    , m_spEditor(std::make_shared<CZEditor>(_options.nKeyer))
{
    m_strVersion = m_spEditor->Keyer().NameAndVersion();
}

void CZSession::Stop()
{
    const std::lock_guard lock(m_mtxState);
    m_bStop = true;
    m_cvState.notify_all();
}

std::shared_ptr<CZEditor> CZSession::EditorFor(IZFFrame* _pFrame)
{
    const std::lock_guard lock(m_mtxState);
    if (!std::exchange(m_bBegun, true))
    {
        m_spEditor->FindBackdrop(_pFrame);
        ++m_nRevision;
        m_cvState.notify_all();
    }
    return m_spEditor;
}

CZPtr<IZFFrame> CZSession::Keyed(const FRAME_WISH& _wish, IZFFrame* _pFrame, CZEditor& _editor, int64_t _nRevision)
{
    if (m_cpKeyed && m_nKeyed == _wish.nFrame && m_nKeyedRevision == _nRevision && m_eKeyedView == _wish.eShow)
        return m_cpKeyed;
    CZKeyer& keyer = _editor.Keyer();
    if (keyer.Key2())
        Result_Check(keyer.Key2()->ViewSet(_wish.eShow), "setting the view");
    const bool bGoesOn = _wish.bPlay && _wish.nFrame > m_nKeyed && _wish.nFrame <= m_nKeyed + 8;
    if (!bGoesOn)
        keyer.Flush();
    m_cpKeyed = keyer.Push(_pFrame);
    m_nKeyed = _wish.nFrame;
    m_nKeyedRevision = _nRevision;
    m_eKeyedView = _wish.eShow;
    if (!m_cpKeyed)
        throw CZHostError("the module gave no result back");
    return m_cpKeyed;
}

bool CZSession::Frame(const FRAME_WISH& _wish, FRAME_SHOWN& _shown)
{
    const CZPtr<IZFFrame> cpFrame = m_clip.Frame(_wish.nFrame);
    if (!cpFrame)
        return false;
    CZPtr<IZFFrame> cpKeyed;
    {
        const std::lock_guard lock(m_mtxKey);
        const auto spEditor = EditorFor(cpFrame.Get());
        {
            const std::lock_guard lockState(m_mtxState);
            _shown.nRevision = m_nRevision;
        }
        cpKeyed = Keyed(_wish, cpFrame.Get(), *spEditor, _shown.nRevision);
        _shown.strStats = StatsText(spEditor->Keyer());
    }
    VIEW_WISH view = _wish.view;
    ZF_VID_PROPS vidProps = {};
    Result_Check(cpKeyed->VideoPropsGet(&vidProps), "looking at a result");
    if (view.rect.nWidth == 0)
        view.rect = {0, 0, vidProps.nWidth, std::abs(vidProps.nHeight)};
    if (view.nWidth == 0)
    {
        view.nWidth = view.rect.nWidth;
        view.nHeight = view.rect.nHeight;
    }
    FrameView_Make(cpFrame.Get(), cpKeyed.Get(), view, _shown.strPixels);
    _shown.nFrame = _wish.nFrame;
    _shown.nWidth = view.nWidth;
    _shown.nHeight = view.nHeight;
    return true;
}

std::string CZSession::State(int64_t _nAfter)
{
    std::unique_lock lock(m_mtxState);
    m_cvState.wait_for(lock, c_timeHeld, [&] { return m_bStop || m_nRevision > _nAfter; });
    return StateText();
}

std::string CZSession::StateText()
{
    CZJson json;
    json.Begin('{').Name("revision").Whole(m_nRevision);
    json.Name("version").Text(m_strVersion);
    const STREAM& stream = m_clip.Stream();
    const int64_t nFrames = m_clip.Frames();
    json.Name("clip").Begin('{');
    json.Name("name").Text(std::filesystem::path(m_options.strInput).filename().string());
    json.Name("width").Whole(stream.vidProps.nWidth).Name("height").Whole(std::abs(stream.vidProps.nHeight));
    json.Name("frames");
    nFrames < 0 ? json.Null() : json.Whole(nFrames);
    json.Name("rateNum").Whole(stream.nRateNum).Name("rateDen").Whole(stream.nRateDen);
    json.Name("live").Bool(false);
    json.Name("pixelX")
        .Whole(std::max<int64_t>(stream.nPixelX, 1))
        .Name("pixelY")
        .Whole(std::max<int64_t>(stream.nPixelY, 1));
    json.Name("in").Whole(0).Name("out").Whole(std::max<int64_t>(nFrames, 1) - 1).End('}');
    json.Name("keyer").Whole(m_spEditor->Generation());
    CHROMA_KEY2_RAW key = {};
    if (m_spEditor->Keyer().Key2())
        m_spEditor->Keyer().Key2()->KeyRawGet(&key);
    json.Name("automatic").Bool(key.bAutomatic != 0);
    json.Name("found").Bool(m_spEditor->Hint().empty()).Name("hint").Text(m_spEditor->Hint());
    json.Name("params").Begin('[');
    for (const ZTABLE_ROW& row : m_vecParams)
    {
        double dblValue = row.dblDefault;
        if (m_spEditor->Keyer().Key2())
            m_spEditor->Keyer().Key2()->ParamGet(CZBStr(row.pszName).Get(), &dblValue);
        json.Begin('{').Name("name").Text(row.pszName);
        const bool bChoice = row.eValue == eZV_Choice;
        json.Name("unit").Text(bChoice ? "" : row.pszUnit);
        json.Name("least").Number(row.dblLeast).Name("most").Number(row.dblMost).Name("default").Number(row.dblDefault);
        json.Name("value").Number(dblValue).Name("whole").Bool(row.eValue == eZV_Whole || bChoice);
        json.Name("choices");
        if (bChoice)
        {
            json.Begin('[');
            for (const std::string& strName : Tables_Choices(row))
                json.Text(strName);
            json.End(']');
        }
        else
            json.Null();
        json.Name("help").Text(row.pszHelp).End('}');
    }
    json.End(']').Name("keys").Begin('[');
    for (int i = 0; i < key.nKeysUsed; ++i)
        json.Text(ColorText(key.arrKeys[i].dblRed, key.arrKeys[i].dblGreen, key.arrKeys[i].dblBlue));
    json.End(']').Name("protected").Begin('[');
    for (int i = 0; i < key.nProtectedUsed; ++i)
        json.Text(ColorText(key.arrProtected[i].dblRed, key.arrProtected[i].dblGreen, key.arrProtected[i].dblBlue));
    json.End(']');
    json.Name("regions")
        .Begin('{')
        .Name("garbage")
        .Text("")
        .Name("holdout")
        .Text("")
        .Name("backdrop")
        .Text("")
        .End('}');
    json.Name("steps").Begin('{').Name("list").Begin('[').End(']').Name("at").Whole(0).End('}');
    json.Name("slot").Text("A").Name("presets").Begin('[').End(']');
    json.Name("view").Text("result").Name("learn").Text("on").Name("log").Begin('[').End(']');
    json.Name("command").Text("").Name("job").Null().End('}');
    return json.Take();
}
