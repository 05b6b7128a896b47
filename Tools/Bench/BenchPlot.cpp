#include "Bench/BenchPlot.h"

#include "Bench/Chart.h"

#include "Base/ZLog.h"

#include <functional>

namespace
{

constexpr uint32_t c_arrColors[] = {0xC02020, 0x2060C0, 0x208040, 0xC08000, 0x8040A0, 0x404040};
constexpr eSIMD_Level c_arrLevels[] = {eSIMD_None, eSIMD_AVX2, eSIMD_AVX512};

/// What one line of a chart measures at its n-th tick.
struct PLACE
{
    BENCH_CASE benchCase;
    eSIMD_Level eLevel;
};

/// Collects the points of the lines of a chart.
class CChartMaker
{
public:
    CChartMaker(const CBenchResults& _results, const char* _pszTitle, bool _bFrames)
        : m_results(_results)
        , m_bFrames(_bFrames)
    {
        m_chart.strTitle = _pszTitle;
    }
    void Tick(const std::string& _strText)
    {
        m_chart.arrTicks.push_back(_strText);
    }
    /// Only what was measured is drawn.
    void Line(const std::string& _strName, const std::function<PLACE(size_t)>& _fnPlace)
    {
        CHART_LINE line = {_strName, c_arrColors[m_chart.arrLines.size() % std::size(c_arrColors)], {}};
        for (size_t i = 0; i < m_chart.arrTicks.size(); ++i)
        {
            const PLACE place = _fnPlace(i);
            const double dblPixels = static_cast<double>(place.benchCase.nWidth) * place.benchCase.nHeight;
            if (const auto seconds = m_results.Seconds(place.benchCase, place.eLevel))
                line.arrPoints.emplace_back(i, m_bFrames ? 1 / *seconds : *seconds / dblPixels * 1e9);
        }
        if (!line.arrPoints.empty())
            m_chart.arrLines.push_back(line);
    }
    const CHART& Chart() const
    {
        return m_chart;
    }

private:
    const CBenchResults& m_results;
    bool m_bFrames;
    CHART m_chart;
};

BENCH_CASE Case(int _nKeys, int _nThreads, eKeyScene _eScene = eKS_Screen)
{
    return {.nKeys = _nKeys, .nThreads = _nThreads, .eScene = _eScene};
}

BENCH_CASE Case2(int _nMixed, int _nThreads)
{
    return {.nGeneration = 2, .nThreads = _nThreads, .nMixed = _nMixed};
}

eSIMD_Level BestOf(const CBenchResults& _results)
{
    eSIMD_Level eBest = eSIMD_None;
    for (const eSIMD_Level eLevel : c_arrLevels)
        if (_results.Seconds(Case(1, 1), eLevel) || _results.Seconds(Case2(8, 1), eLevel))
            eBest = eLevel;
    return eBest;
}

CHART OverKeys(const CBenchResults& _results, eSIMD_Level _eBest)
{
    static constexpr int c_arrKeys[] = {1, 2, 4, 8, 16};
    CChartMaker maker(_results, "ns/pixel over keys, 1080p", false);
    for (const int nKeys : c_arrKeys)
        maker.Tick(std::to_string(nKeys));
    for (const eSIMD_Level eLevel : c_arrLevels)
        maker.Line(ZCpu_LevelName(eLevel), [&](size_t _nTick) { return PLACE{Case(c_arrKeys[_nTick], 1), eLevel}; });
    const std::string strBest = ZCpu_LevelName(_eBest);
    maker.Line(strBest + ", random pixels", [&](size_t _nTick) {
        return PLACE{Case(c_arrKeys[_nTick], 1, eKS_Random), _eBest};
    });
    maker.Line(strBest + ", two threads", [&](size_t _nTick) { return PLACE{Case(c_arrKeys[_nTick], 2), _eBest}; });
    return maker.Chart();
}

CHART OverSizes(const CBenchResults& _results, eSIMD_Level _eBest)
{
    static constexpr int c_arrSizes[][2] = {{1280, 720}, {1920, 1080}, {3840, 2160}};
    CChartMaker maker(_results, "ns/pixel over sizes", false);
    for (const auto& [nWidth, nHeight] : c_arrSizes)
        maker.Tick(ZFormat("%dp", nHeight));
    for (const int nThreads : {1, 2})
        for (const int nKeys : {1, 4})
            maker.Line(ZFormat("%d keys, %d threads", nKeys, nThreads), [&](size_t _nTick) {
                PLACE place = {Case(nKeys, nThreads), _eBest};
                place.benchCase.nWidth = c_arrSizes[_nTick][0];
                place.benchCase.nHeight = c_arrSizes[_nTick][1];
                return place;
            });
    return maker.Chart();
}

CHART OverThreads(const CBenchResults& _results, eSIMD_Level _eBest)
{
    CChartMaker maker(_results, "frames/s over threads, 1080p", true);
    maker.Tick("1 thread");
    maker.Tick("2 threads");
    for (const int nKeys : {1, 4, 16})
        maker.Line(ZFormat("%d keys", nKeys), [&](size_t _nTick) {
            return PLACE{Case(nKeys, static_cast<int>(_nTick) + 1), _eBest};
        });
    return maker.Chart();
}

CHART OverLevels(const CBenchResults& _results)
{
    CChartMaker maker(_results, "ns/pixel over levels, 1080p", false);
    for (const eSIMD_Level eLevel : c_arrLevels)
        maker.Tick(ZCpu_LevelName(eLevel));
    for (const int nKeys : {1, 4, 16})
        maker.Line(ZFormat("RGB, %d keys", nKeys), [&](size_t _nTick) {
            return PLACE{Case(nKeys, 1), c_arrLevels[_nTick]};
        });
    for (const auto& [pszName, eType] : {std::pair("HLS, 1 key", eCKT_HLS), {"YUV, 1 key", eCKT_YUV}})
        maker.Line(pszName, [&, eKeyType = eType](size_t _nTick) {
            PLACE place = {Case(1, 1), c_arrLevels[_nTick]};
            place.benchCase.eType = eKeyType;
            return place;
        });
    return maker.Chart();
}

CHART OverShares(const CBenchResults& _results, eSIMD_Level _eBest)
{
    static constexpr int c_arrShares[] = {0, 8, 25, 70};
    CChartMaker maker(_results, "second generation: ns/pixel over mixed share", false);
    for (const int nMixed : c_arrShares)
        maker.Tick(ZFormat("%d %%", nMixed));
    for (const eSIMD_Level eLevel : c_arrLevels)
        maker.Line(ZCpu_LevelName(eLevel), [&](size_t _nTick) { return PLACE{Case2(c_arrShares[_nTick], 1), eLevel}; });
    maker.Line(ZFormat("%hs, two threads", ZCpu_LevelName(_eBest)), [&](size_t _nTick) {
        return PLACE{Case2(c_arrShares[_nTick], 2), _eBest};
    });
    return maker.Chart();
}

CHART OverSizes2(const CBenchResults& _results, eSIMD_Level _eBest)
{
    static constexpr int c_arrSizes[][2] = {{1280, 720}, {1920, 1080}, {3840, 2160}, {8192, 4320}};
    CChartMaker maker(_results, "second generation: ns/pixel over sizes", false);
    for (const auto& [nWidth, nHeight] : c_arrSizes)
        maker.Tick(ZFormat("%dp", nHeight));
    for (const int nThreads : {1, 2})
        maker.Line(ZFormat("8 %% mixed, %d threads", nThreads), [&](size_t _nTick) {
            PLACE place = {Case2(8, nThreads), _eBest};
            place.benchCase.nWidth = c_arrSizes[_nTick][0];
            place.benchCase.nHeight = c_arrSizes[_nTick][1];
            return place;
        });
    return maker.Chart();
}

} // namespace

PICTURE BenchPlot_Draw(const CBenchResults& _results)
{
    constexpr int c_nWidth = 560, c_nHeight = 400, c_nRows = 3;
    PICTURE picture;
    picture.Resize(2 * c_nWidth, c_nRows * c_nHeight, 4);
    picture.vecPixels.assign(picture.vecPixels.size(), 255);
    const eSIMD_Level eBest = BestOf(_results);
    Chart_Draw(picture, 0, 0, c_nWidth, c_nHeight, OverKeys(_results, eBest));
    Chart_Draw(picture, c_nWidth, 0, c_nWidth, c_nHeight, OverSizes(_results, eBest));
    Chart_Draw(picture, 0, c_nHeight, c_nWidth, c_nHeight, OverThreads(_results, eBest));
    Chart_Draw(picture, c_nWidth, c_nHeight, c_nWidth, c_nHeight, OverLevels(_results));
    Chart_Draw(picture, 0, 2 * c_nHeight, c_nWidth, c_nHeight, OverShares(_results, eBest));
    Chart_Draw(picture, c_nWidth, 2 * c_nHeight, c_nWidth, c_nHeight, OverSizes2(_results, eBest));
    return picture;
}
