#include "zkhost/Ui/Preview.h"

#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "zkhost/Ui/Json.h"

#include <algorithm>
#include <chrono>

namespace
{

using CLOCK = std::chrono::steady_clock;

constexpr int64_t c_nMostLeftOut = 8; // frames that a page may leave out while it plays
constexpr size_t c_nMostPages = 64;

std::string StatsText(const CZKeyer& _keyer, double _dblMs)
{
    CHROMA_KEY2_STATS stats = {};
    const bool bStats = _keyer.Key2() && _keyer.Key2()->StatsGet(&stats) == S_OK;
    CZJson json;
    json.Begin('{').Name("ms").Number(_dblMs);
    if (bStats)
    {
        json.Name("backdrop").Number(stats.dblBackdrop).Name("mixed").Number(stats.dblMixed);
        json.Name("solid").Number(stats.dblSolid).Name("noise").Number(stats.dblNoise);
        json.Name("plateFrames").Whole(stats.nPlateFrames).Name("cuts").Whole(stats.nCuts);
        json.Name("on").Text(stats.eKeyedOnValue == eKeyedOn_GPU ? "GPU" : "CPU");
    }
    return json.End('}').Take();
}

bool IsSame(const PREVIEW_WISH& _wishA, const PREVIEW_WISH& _wishB)
{
    return _wishA.pEditor == _wishB.pEditor && _wishA.nKeys == _wishB.nKeys && _wishA.nFrame == _wishB.nFrame &&
           _wishA.pFrame == _wishB.pFrame && _wishA.eShow == _wishB.eShow;
}

} // namespace

bool CZPreview::IsNext(const PREVIEW_WISH& _wish) const
{
    return m_preview.cpResult && _wish.pEditor == m_wishLast.pEditor &&
           (_wish.bHold ||
            (_wish.bPlay && _wish.nFrame > m_wishLast.nFrame && _wish.nFrame <= m_wishLast.nFrame + c_nMostLeftOut));
}

const PREVIEW& CZPreview::Key(const PREVIEW_WISH& _wish)
{
    if (m_preview.cpResult && IsSame(_wish, m_wishLast))
        return m_preview;
    const bool bNext = IsNext(_wish);
    const auto timeBegin = CLOCK::now();
    CZKeyer& keyer = _wish.pEditor->Keyer();
    m_preview = {};
    if (keyer.Key2())
        Result_Check(keyer.Key2()->ViewSet(_wish.eShow), "setting the view");
    else if (_wish.eShow != eView_Result)
        throw CZHostError("the first generation has no such view; look at the result, the matte or the source");
    if (!bNext)
        keyer.Flush();
    CZPtr<IZFFrame> cpResult = keyer.Push(_wish.pFrame);
    if (!cpResult)
        throw CZHostError("the module gave no result back");
    m_preview.strStats = StatsText(keyer, std::chrono::duration<double, std::milli>(CLOCK::now() - timeBegin).count());
    m_preview.cpResult = std::move(cpResult);
    m_wishLast = _wish;
    return m_preview;
}

uint64_t CZTurns::Take(const std::string& _strPage)
{
    const std::lock_guard lock(m_mtx);
    if (m_mapNewest.size() >= c_nMostPages && !m_mapNewest.contains(_strPage)) // pages that were closed long ago
        m_mapNewest.erase(std::ranges::min_element(m_mapNewest, {}, [](const auto& _page) { return _page.second; }));
    ++m_nLast;
    if (!_strPage.empty())
        m_mapNewest[_strPage] = m_nLast;
    return m_nLast;
}

bool CZTurns::IsOvertaken(const std::string& _strPage, uint64_t _nTurn)
{
    const std::lock_guard lock(m_mtx);
    const auto it = m_mapNewest.find(_strPage);
    return it != m_mapNewest.end() && it->second > _nTurn;
}
