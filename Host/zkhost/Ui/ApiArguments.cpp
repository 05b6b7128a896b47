#include "zkhost/Ui/ApiArguments.h"

#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace
{

constexpr int64_t c_nMostFrames = int64_t{1} << 40;
constexpr int c_nMostView = 8192;
constexpr size_t c_nMostPage = 64;
constexpr std::array<std::string_view, 7> c_arrViews = {"result",     "matte",      "status", "plate",
                                                        "foreground", "confidence", "source"};

int SideOf(const HTTP_REQUEST& _request, std::string_view _svName, int _nLeast, int _nMost)
{
    return static_cast<int>(ApiArguments_Whole(_request, _svName, _nLeast, _nMost, 0));
}

uint32_t ColorOf(const std::string& _strText)
{
    uint32_t nRGB = 0;
    const char* const pEnd = _strText.data() + _strText.size();
    const auto res = std::from_chars(_strText.data(), pEnd, nRGB, 16);
    if (_strText.size() != 6 || res.ec != std::errc() || res.ptr != pEnd)
        throw CZUsageError(ZFormat("over=%s: it has to be checker, picture or a colour as RRGGBB", _strText));
    return nRGB;
}

void ReadOver(const HTTP_REQUEST& _request, VIEW_WISH& _view)
{
    const std::string* const pOver = _request.Query("over");
    if (!pOver || *pOver == "checker")
        return;
    _view.eOver = *pOver == "picture" ? eShowOver::Picture : eShowOver::Color;
    if (*pOver != "picture")
        _view.nRGB = ColorOf(*pOver);
}

/// What comes out of the module, and what of it is shown.
void ReadView(const HTTP_REQUEST& _request, FRAME_WISH& _wish)
{
    const std::string* const pView = _request.Query("view");
    const std::string_view svView = pView ? std::string_view(*pView) : c_arrViews[eView_Result];
    const auto* const pFound = std::ranges::find(c_arrViews, svView);
    if (svView == c_arrViews[eView_Source])
        _wish.view.dblWipe = 1;
    else if (svView == "colour" || svView == c_arrViews[eView_Matte]) // of the result, which need not be keyed again
        _wish.view.eOver = svView == "colour" ? eShowOver::Nothing : eShowOver::Alpha;
    else if (svView == c_arrViews[eView_Result])
        ReadOver(_request, _wish.view);
    else if (pFound != c_arrViews.end())
    {
        _wish.eShow = static_cast<eView>(pFound - c_arrViews.begin());
        _wish.view.eOver = eShowOver::Nothing;
    }
    else
        throw CZUsageError(ZFormat("view=%s: there is no such view", svView));
}

} // namespace

double ApiArguments_Number(const HTTP_REQUEST& _request, std::string_view _svName, double _dblLeast, double _dblMost,
                           double _dblDefault)
{
    const std::string* const pText = _request.Query(_svName);
    double dblValue = _dblDefault;
    if (pText && (!PropText_ReadDouble(*pText, &dblValue) || !(dblValue >= _dblLeast && dblValue <= _dblMost)))
        throw CZUsageError(ZFormat("%s=%s: it has to be a number from %g to %g", _svName, *pText, _dblLeast, _dblMost));
    return dblValue;
}

int64_t ApiArguments_Whole(const HTTP_REQUEST& _request, std::string_view _svName, int64_t _nLeast, int64_t _nMost,
                           int64_t _nDefault)
{
    const std::string* const pText = _request.Query(_svName);
    int64_t nValue = _nDefault;
    if (pText && (!PropText_ReadInt(*pText, &nValue) || nValue < _nLeast || nValue > _nMost))
        throw CZUsageError(
            ZFormat("%s=%s: it has to be a whole number from %d to %d", _svName, *pText, _nLeast, _nMost));
    return nValue;
}

int64_t ApiArguments_Whole(const HTTP_REQUEST& _request, std::string_view _svName, int64_t _nLeast, int64_t _nMost)
{
    ApiArguments_Text(_request, _svName);
    return ApiArguments_Whole(_request, _svName, _nLeast, _nMost, 0);
}

const std::string& ApiArguments_Text(const HTTP_REQUEST& _request, std::string_view _svName)
{
    const std::string* const pText = _request.Query(_svName);
    if (!pText)
        throw CZUsageError(ZFormat("%s is missing in the request", _svName));
    return *pText;
}

size_t ApiArguments_Choice(const HTTP_REQUEST& _request, std::string_view _svName,
                           std::initializer_list<std::string_view> _listNames)
{
    const std::string& strText = ApiArguments_Text(_request, _svName);
    const auto* const pFound = std::ranges::find(_listNames, strText);
    std::string strNames;
    for (const std::string_view svName : _listNames)
        strNames += ZFormat(strNames.empty() ? "%s" : ", %s", svName);
    if (pFound == _listNames.end())
        throw CZUsageError(ZFormat("%s=%s: there are %s", _svName, strText, strNames));
    return static_cast<size_t>(pFound - _listNames.begin());
}

int64_t ApiArguments_Frame(const HTTP_REQUEST& _request)
{
    const std::string* const pText = _request.Query("n");
    return pText && *pText == "live" ? CZClip::c_nNewest : ApiArguments_Whole(_request, "n", 0, c_nMostFrames, 0);
}

FRAME_WISH ApiArguments_Wish(const HTTP_REQUEST& _request)
{
    FRAME_WISH wish;
    wish.nFrame = ApiArguments_Frame(_request);
    wish.bPlay = ApiArguments_Whole(_request, "play", 0, 1, 0) != 0;
    wish.view.rect = {SideOf(_request, "x", 0, c_nMaxSide), SideOf(_request, "y", 0, c_nMaxSide),
                      SideOf(_request, "w", 1, c_nMaxSide), SideOf(_request, "h", 1, c_nMaxSide)};
    wish.view.nWidth = SideOf(_request, "ow", 1, c_nMostView);
    wish.view.nHeight = SideOf(_request, "oh", 1, c_nMostView);
    wish.view.dblWipe = ApiArguments_Number(_request, "wipe", 0, 1, 0);
    const std::string* const pPage = _request.Query("page");
    wish.strPage = pPage ? pPage->substr(0, c_nMostPage) : "";
    ReadView(_request, wish);
    return wish;
}
