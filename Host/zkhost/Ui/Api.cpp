#include "zkhost/Ui/Api.h"

#include "zkhost/Files/UsageError.h"
#include "zkhost/Ui/PageFiles.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"

#include <algorithm>
#include <charconv>

namespace
{

constexpr const char* c_arrViews[] = {"result", "matte", "status", "plate", "foreground", "confidence", "source"};

double NumberOf(const HTTP_REQUEST& _request, std::string_view _svName, double _dblLeast, double _dblMost,
                double _dblDefault)
{
    const std::string* const pText = _request.Query(_svName);
    double dblValue = _dblDefault;
    if (pText && (!PropText_ReadDouble(*pText, &dblValue) || !(dblValue >= _dblLeast && dblValue <= _dblMost)))
        throw CZUsageError(ZFormat("%s=%s: it has to be a number from %g to %g", _svName, *pText, _dblLeast, _dblMost));
    return dblValue;
}

int WholeOf(const HTTP_REQUEST& _request, std::string_view _svName, int _nLeast, int _nMost, int _nDefault)
{
    return static_cast<int>(NumberOf(_request, _svName, _nLeast, _nMost, _nDefault));
}

std::string TextOf(const HTTP_REQUEST& _request, std::string_view _svName, const char* _pszDefault)
{
    const std::string* const pText = _request.Query(_svName);
    return pText ? *pText : _pszDefault;
}

/// What comes out of the module, and what of it is shown.
void ReadView(const HTTP_REQUEST& _request, FRAME_WISH& _wish)
{
    const std::string strView = TextOf(_request, "view", "result");
    const std::string strOver = TextOf(_request, "over", "checker");
    const char* const pEnd = strOver.data() + strOver.size();
    const auto* const pFound = std::ranges::find(c_arrViews, strView);
    if (strView == "colour" || strView == "matte")
        _wish.view.eOver = strView == "matte" ? eShowOver::Alpha : eShowOver::Nothing;
    else if (pFound == std::end(c_arrViews))
        throw CZUsageError(ZFormat("view=%s: there is no such view", strView));
    else if (strView != "result")
    {
        _wish.eShow = static_cast<eView>(pFound - c_arrViews);
        _wish.view.eOver = eShowOver::Nothing;
    }
    else if (strOver == "picture")
        _wish.view.eOver = eShowOver::Picture;
    else if (strOver != "checker")
    {
        _wish.view.eOver = eShowOver::Color;
        const auto res = std::from_chars(strOver.data(), pEnd, _wish.view.nRGB, 16);
        if (strOver.size() != 6 || res.ec != std::errc() || res.ptr != pEnd)
            throw CZUsageError(ZFormat("over=%s: it has to be checker, picture or a colour as RRGGBB", strOver));
    }
}

} // namespace

HTTP_ANSWER CZApi::State(const HTTP_REQUEST& _request)
{
    return {200, "application/json", {}, m_session.State(WholeOf(_request, "after", -1, INT32_MAX, -1))};
}

HTTP_ANSWER CZApi::Frame(const HTTP_REQUEST& _request)
{
    FRAME_WISH wish;
    wish.nFrame = WholeOf(_request, "n", 0, INT32_MAX, 0);
    wish.bPlay = WholeOf(_request, "play", 0, 1, 0) != 0;
    wish.view.rect = {WholeOf(_request, "x", 0, c_nMaxSide, 0), WholeOf(_request, "y", 0, c_nMaxSide, 0),
                      WholeOf(_request, "w", 1, c_nMaxSide, 0), WholeOf(_request, "h", 1, c_nMaxSide, 0)};
    wish.view.nWidth = WholeOf(_request, "ow", 1, 8192, 0);
    wish.view.nHeight = WholeOf(_request, "oh", 1, 8192, 0);
    wish.view.dblWipe = NumberOf(_request, "wipe", 0, 1, 0);
    ReadView(_request, wish);
    FRAME_SHOWN shown;
    if (!m_session.Frame(wish, shown))
        return HttpAnswer_Error(409, ZFormat("the clip ends before frame %d", wish.nFrame));
    return {200,
            "application/octet-stream",
            {{"X-Frame", std::to_string(shown.nFrame)},
             {"X-Revision", std::to_string(shown.nRevision)},
             {"X-Width", std::to_string(shown.nWidth)},
             {"X-Height", std::to_string(shown.nHeight)},
             {"X-Stats", shown.strStats}},
            std::move(shown.strPixels)};
}

HTTP_ANSWER CZApi::Answer(HTTP_REQUEST& _request)
{
    if (_request.strPath == "/api/state")
        return State(_request);
    if (_request.strPath == "/api/frame")
        return Frame(_request);
    if (const PAGE_FILE* pFile = PageFiles_Find(_request.strPath))
        return {200, std::string(pFile->svType), {}, std::string(pFile->svBytes)};
    return HttpAnswer_Error(404, ZFormat("there is nothing at %s", _request.strPath));
}
