#include "zkhost/Ui/Api.h"

#include "zkhost/Files/PictureFile.h"
#include "zkhost/Files/UsageError.h"
#include "zkhost/Ui/ApiArguments.h"
#include "zkhost/Ui/Json.h"
#include "zkhost/Ui/PageFiles.h"

#include "Base/ZLog.h"

#include <string_view>

namespace
{

constexpr size_t c_cbKeys = size_t{16} << 20; // as the module reads documents
constexpr size_t c_cbPicture = size_t{32} << 20;
constexpr size_t c_cbPolygon = size_t{128} << 10;
constexpr int c_nJpegQuality = 82;
constexpr const char* c_pszJson = "application/json";

void PutColor(const char* _pszName, const std::array<int, 3>& _arrColor, CZJson& _json)
{
    _json.Name(_pszName).Begin('[');
    for (const int nValue : _arrColor)
        _json.Whole(nValue);
    _json.End(']');
}

int Place(const HTTP_REQUEST& _request, std::string_view _svName)
{
    return static_cast<int>(ApiArguments_Whole(_request, _svName, 0, c_nMaxSide));
}

} // namespace

/// What is at a path, by one of the two functions.
struct CZApi::ROUTE
{
    std::string_view svPath;
    size_t cbMaxBody;
    HTTP_ANSWER (CZApi::*pfnGet)(const HTTP_REQUEST& _request);
    void (CZApi::*pfnPost)(const HTTP_REQUEST& _request);
};

const CZApi::ROUTE* CZApi::Find(const HTTP_REQUEST& _request)
{
    static constexpr ROUTE c_arrRoutes[] = {
        {"/api/state", 0, &CZApi::State, nullptr},
        {"/api/frame", 0, &CZApi::Frame, nullptr},
        {"/api/probe", 0, &CZApi::Probe, nullptr},
        {"/api/keys", c_cbKeys, &CZApi::Document, &CZApi::Load},
        {"/api/key", 0, nullptr, &CZApi::Key},
        {"/api/param", 0, nullptr, &CZApi::Param},
        {"/api/region", c_cbPolygon, nullptr, &CZApi::Region},
        {"/api/steps", 0, nullptr, &CZApi::Steps},
        {"/api/slot", 0, nullptr, &CZApi::Slot},
        {"/api/keyer", 0, nullptr, &CZApi::Keyer},
        {"/api/learn", 0, nullptr, &CZApi::Learn},
        {"/api/preset", 0, nullptr, &CZApi::Preset},
        {"/api/background", c_cbPicture, nullptr, &CZApi::Background},
        {"/api/range", 0, nullptr, &CZApi::Range},
        {"/api/render", 0, nullptr, &CZApi::Render},
        {"/api/cancel", 0, nullptr, &CZApi::Cancel},
        {"/api/quit", 0, nullptr, &CZApi::Quit},
    };
    for (const ROUTE& route : c_arrRoutes)
        if (route.svPath == _request.strPath)
            return &route;
    return nullptr;
}

std::optional<HTTP_ANSWER> CZApi::Check(const HTTP_REQUEST& _request, size_t& _cbMaxBody)
{
    const bool bPost = _request.strMethod == "POST";
    const ROUTE* const pRoute = Find(_request);
    if (!pRoute && !PageFiles_Find(_request.strPath))
        return HttpAnswer_Error(404, ZFormat("there is nothing at %s", _request.strPath));
    if (pRoute ? (bPost ? !pRoute->pfnPost : !pRoute->pfnGet) : bPost)
        return HttpAnswer_Error(405, ZFormat("%s takes no %s", _request.strPath, _request.strMethod));
    _cbMaxBody = bPost ? pRoute->cbMaxBody : 0;
    return std::nullopt;
}

HTTP_ANSWER CZApi::Answer(const HTTP_REQUEST& _request)
{
    const ROUTE* const pRoute = Find(_request);
    if (!pRoute)
    {
        const PAGE_FILE& file = *PageFiles_Find(_request.strPath);
        return {200, std::string(file.svType), {}, std::string(file.svBytes)};
    }
    if (_request.strMethod == "GET" && pRoute->pfnGet)
        return (this->*pRoute->pfnGet)(_request);
    if (pRoute->pfnPost) // Check has refused what is neither
        (this->*pRoute->pfnPost)(_request);
    return {200, c_pszJson, {}, m_session.State()};
}

HTTP_ANSWER CZApi::State(const HTTP_REQUEST& _request)
{
    return {200, c_pszJson, {}, m_session.State(ApiArguments_Whole(_request, "after", -1, INT64_MAX, -1))};
}

HTTP_ANSWER CZApi::Frame(const HTTP_REQUEST& _request)
{
    const FRAME_WISH wish = ApiArguments_Wish(_request);
    const bool bJpeg = _request.Query("format") && ApiArguments_Choice(_request, "format", {"raw", "jpeg"}) == 1;
    FRAME_SHOWN shown;
    switch (m_session.Frame(wish, shown))
    {
    case eFrameFault::Ended:
        return HttpAnswer_Error(409, ZFormat("the clip ends before frame %d", wish.nFrame));
    case eFrameFault::NotYet:
        return HttpAnswer_Error(503, "no new frame has come; is there still a source behind the pipe?");
    case eFrameFault::Overtaken:
        return {204, "", {}, {}};
    default:
        break;
    }
    std::string strBody = bJpeg ? PictureFile_Jpeg(shown.strPixels, shown.nWidth, shown.nHeight, c_nJpegQuality)
                                : std::move(shown.strPixels);
    return {200,
            bJpeg ? "image/jpeg" : "application/octet-stream",
            {{"X-Frame", std::to_string(shown.nFrame)},
             {"X-Revision", std::to_string(shown.nRevision)},
             {"X-Width", std::to_string(shown.nWidth)},
             {"X-Height", std::to_string(shown.nHeight)},
             {"X-Stats", shown.strStats}},
            std::move(strBody)};
}

HTTP_ANSWER CZApi::Probe(const HTTP_REQUEST& _request)
{
    const PIXEL_PROBE probe = m_session.Probe(ApiArguments_Frame(_request), Place(_request, "x"), Place(_request, "y"));
    CZJson json;
    json.Begin('{');
    PutColor("source", probe.arrSource, json);
    if (probe.bPlate)
        PutColor("plate", probe.arrPlate, json);
    else
        json.Name("plate").Null();
    PutColor("result", probe.arrResult, json);
    json.Name("alpha").Whole(probe.nAlpha);
    json.Name("take").Begin('{').Name("rgb").Text(ZFormat("#%06X", probe.nTaken)).End('}').End('}');
    return {200, c_pszJson, {}, json.Take()};
}

HTTP_ANSWER CZApi::Document(const HTTP_REQUEST&)
{
    return {
        200, "application/xml", {{"Content-Disposition", "attachment; filename=\"keys.xml\""}}, m_session.Document()};
}

void CZApi::Key(const HTTP_REQUEST& _request)
{
    const size_t nKind = ApiArguments_Choice(_request, "kind", {"auto", "point", "rect", "remove", "reset"});
    const bool bPicks = nKind == 1 || nKind == 2;
    const bool bProtect = bPicks && ApiArguments_Choice(_request, "use", {"key", "protect"}) == 1;
    const int nX = bPicks ? Place(_request, "x") : 0;
    const int nY = bPicks ? Place(_request, "y") : 0;
    const int nX2 = nKind == 2 ? Place(_request, "x2") : 0;
    const int nY2 = nKind == 2 ? Place(_request, "y2") : 0;
    const auto nIndex = static_cast<int>(nKind == 3 ? ApiArguments_Whole(_request, "index", 0, Z_MAX_KEYS2 - 1) : 0);
    const bool bProtected = ApiArguments_Whole(_request, "protected", 0, 1, 0) != 0;
    const int64_t nFrame = nKind <= 2 ? ApiArguments_Frame(_request) : -1;
    m_session.Edit(nFrame, [&](CZEditor& _editor, IZFFrame* _pFrame) {
        switch (nKind)
        {
        case 0:
            return _editor.Find(_pFrame, nFrame);
        case 1:
            return _editor.TakePoint(_pFrame, bProtect, nX, nY);
        case 2:
            return _editor.TakeRect(_pFrame, bProtect, nX, nY, nX2, nY2);
        case 3:
            return _editor.Remove(nIndex, bProtected);
        default:
            return _editor.Reset();
        }
    });
}

void CZApi::Param(const HTTP_REQUEST& _request)
{
    const std::string& strName = ApiArguments_Text(_request, "name");
    ApiArguments_Text(_request, "value");
    const double dblValue = ApiArguments_Number(_request, "value", -1e6, 1e6, 0);
    m_session.Edit(-1, [&](CZEditor& _editor, IZFFrame*) { _editor.ParamSet(strName, dblValue); });
}

void CZApi::Region(const HTTP_REQUEST& _request)
{
    const auto eWhich = static_cast<eRegion>(
        ApiArguments_Choice(_request, "kind", {c_arrRegionNames[0], c_arrRegionNames[1], c_arrRegionNames[2]}));
    const std::string* const pPolygon = _request.Query("polygon");
    const std::string strPolygon = pPolygon ? *pPolygon : _request.strBody; // long ones do not fit in the first line
    m_session.Edit(ApiArguments_Frame(_request),
                   [&](CZEditor& _editor, IZFFrame* _pFrame) { _editor.RegionSet(_pFrame, eWhich, strPolygon); });
}

void CZApi::Steps(const HTTP_REQUEST& _request)
{
    constexpr int c_nMost = 100000;
    const bool bTo = _request.Query("to") != nullptr;
    const auto nSteps = static_cast<int>(bTo ? ApiArguments_Whole(_request, "to", 0, c_nMost)
                                             : ApiArguments_Whole(_request, "by", -c_nMost, c_nMost));
    m_session.Edit(-1, [&](CZEditor& _editor, IZFFrame*) {
        _editor.Step(bTo ? nSteps - static_cast<int>(_editor.Steps().At()) : nSteps);
    });
}

void CZApi::Slot(const HTTP_REQUEST& _request)
{
    m_session.SlotSet(ApiArguments_Choice(_request, "name", {"A", "B"}) == 0 ? 'A' : 'B');
}

void CZApi::Keyer(const HTTP_REQUEST& _request)
{
    m_session.GenerationSet(static_cast<int>(ApiArguments_Whole(_request, "generation", 1, 2)));
}

void CZApi::Learn(const HTTP_REQUEST& _request)
{
    const auto eState = static_cast<eLearn>(ApiArguments_Choice(_request, "state", {"on", "hold", "restart"}));
    m_session.Edit(-1, [&](CZEditor& _editor, IZFFrame*) { _editor.Learn(eState); });
}

void CZApi::Preset(const HTTP_REQUEST& _request)
{
    const std::string& strName = ApiArguments_Text(_request, "name");
    const PRESET* const pPreset = Presets_Find(strName);
    if (!pPreset)
        throw CZUsageError(ZFormat("there is no preset \"%s\"", strName));
    m_session.Edit(-1, [&](CZEditor& _editor, IZFFrame*) { _editor.PresetSet(*pPreset); });
}

void CZApi::Background(const HTTP_REQUEST& _request)
{
    m_session.BackgroundSet(_request.strBody);
}

void CZApi::Load(const HTTP_REQUEST& _request)
{
    if (_request.strBody.find_first_not_of(" \t\r\n\xEF\xBB\xBF") == std::string::npos ||
        _request.strBody[_request.strBody.find_first_not_of(" \t\r\n\xEF\xBB\xBF")] != '<')
        throw CZUsageError("this is no file of keys: it does not begin with <"); // the module would take it for a path
    m_session.Load(_request.strBody);
}

void CZApi::Range(const HTTP_REQUEST& _request)
{
    constexpr int64_t c_nMost = int64_t{1} << 40;
    m_session.RangeSet(ApiArguments_Whole(_request, "in", 0, c_nMost), ApiArguments_Whole(_request, "out", 0, c_nMost));
}

void CZApi::Render(const HTTP_REQUEST& _request)
{
    m_session.RenderStart(ApiArguments_Text(_request, "output"),
                          ApiArguments_Whole(_request, "overwrite", 0, 1, 0) != 0);
}

void CZApi::Cancel(const HTTP_REQUEST&)
{
    m_session.RenderCancel();
}

void CZApi::Quit(const HTTP_REQUEST&)
{
    m_bQuit = true;
}
