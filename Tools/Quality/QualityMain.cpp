#include "Bench/FFmpeg.h"
#include "Kit/HostError.h"
#include "Quality/FilterKey.h"
#include "Quality/QualitySheet.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/PictureFile.h"
#include "zkhost/Files/StandardError.h"

#include "Base/ZLog.h"

#include <cstdio>
#include <cstring>
#include <functional>

// Keys every hard scene with both generations and, where ffmpeg is installed, with its filters; writes how far each is
// from the truth, and a sheet of crops.

namespace
{

struct SIZES
{
    int nStillWidth, nStillHeight;
    int nClipWidth, nClipHeight, nClipFrames;
};
constexpr SIZES c_szUsual{960, 540, 640, 360, 12};
constexpr SIZES c_szQuick{480, 270, 320, 180, 6};

struct KEYER
{
    std::string strName;
    std::function<std::vector<PICTURE>(const HARD_CLIP& _clip)> fnKey;
};

KEYER FilterKeyer(const char* _pszName, eFilter _eFilter, bool _bQuick)
{
    return {ZFormat("%hs + despill, tuned", _pszName), [_eFilter, _bQuick](const HARD_CLIP& _clip) {
                return FilterKey_Run(_clip, _eFilter, FilterKey_Tune(_clip, _eFilter, _bQuick));
            }};
}

std::vector<KEYER> Keyers(bool _bQuick)
{
    std::vector<KEYER> vecKeyers = {
        {"generation 1, automatic", [](const HARD_CLIP& _clip) { return HardClip_Key(_clip, 1); }},
        {"generation 2, automatic", [](const HARD_CLIP& _clip) { return HardClip_Key(_clip, 2); }}};
    if (FFmpeg_IsThere())
    {
        vecKeyers.push_back(FilterKeyer("chromakey", eFilter_ChromaKey, _bQuick));
        vecKeyers.push_back(FilterKeyer("colorkey", eFilter_ColorKey, _bQuick));
    }
    else
        std::fprintf(stderr, "ffmpeg is not installed: its filters are left out\n");
    return vecKeyers;
}

/// A table of scenes and keyers.
class CQualityTable
{
public:
    CQualityTable(const std::vector<KEYER>& _vecKeyers, bool _bClips)
        : m_bClips(_bClips)
        , m_vecSums(_vecKeyers.size())
    {
        m_strText = "| scene |";
        std::string strLine = "|---|";
        for (const KEYER& keyer : _vecKeyers)
        {
            m_strText += ZFormat(" %s |", keyer.strName);
            strLine += "---|";
        }
        m_strText += ZFormat("\n%s\n", strLine);
    }
    void Row(const std::string& _strScene, const std::vector<QUALITY>& _vecQualities)
    {
        m_strText += ZFormat("| %s |", _strScene);
        for (size_t n = 0; n < _vecQualities.size(); ++n)
        {
            m_strText += ZFormat(" %s |", Cell(_vecQualities[n]));
            Add(m_vecSums[n], _vecQualities[n]);
        }
        m_strText += "\n";
        ++m_nScenes;
    }
    /// The table with a row of means.
    std::string Text() const
    {
        std::string strText = m_strText + "| mean |";
        for (QUALITY mean : m_vecSums)
        {
            for (double* pValue : {&mean.dblMse, &mean.dblHoles, &mean.dblRest, &mean.dblPsnr, &mean.dblDtssd})
                *pValue /= std::max(m_nScenes, 1);
            strText += ZFormat(" %s |", Cell(mean));
        }
        return strText + "\n";
    }

private:
    std::string Cell(const QUALITY& _q) const
    {
        const std::string strCell =
            ZFormat("%.2f / %.1f / %.1f / %.1f", _q.dblMse, _q.dblHoles, _q.dblRest, _q.dblPsnr);
        return m_bClips ? ZFormat("%s / %.2f", strCell, _q.dblDtssd) : strCell;
    }
    static void Add(QUALITY& _sum, const QUALITY& _q)
    {
        _sum.dblMse += _q.dblMse;
        _sum.dblHoles += _q.dblHoles;
        _sum.dblRest += _q.dblRest;
        _sum.dblPsnr += _q.dblPsnr;
        _sum.dblDtssd += _q.dblDtssd;
    }

    bool m_bClips;
    int m_nScenes = 0;
    std::string m_strText;
    std::vector<QUALITY> m_vecSums;
};

std::string Report(const SIZES& _sizes, const std::string& _strStills, const std::string& _strClips)
{
    return ZFormat(
        "# Quality on the hard scenes\n\n"
        "Made by `./zk quality`. MSE of alpha x 1000 / holes per mille / rest per mille / PSNR over a saturated ground "
        "in "
        "dB; clips also have dtSSD, the error of alpha's change from frame to frame x 100. Both generations find the "
        "backdrop by themselves and nothing is tuned; the filters of FFmpeg get the backdrop's true mean colour and "
        "the "
        "best of a grid of settings, chosen against the truth.\n\n"
        "## Stills, %d x %d\n\n%s\n## Clips, %d x %d, %d frames\n\n%s",
        _sizes.nStillWidth, _sizes.nStillHeight, _strStills, _sizes.nClipWidth, _sizes.nClipHeight, _sizes.nClipFrames,
        _strClips);
}

void Measure(const std::string& _strFolder, bool _bQuick)
{
    CZOutFiles files; // made first: what cannot be written is known before the work
    files.MakeFolder(_strFolder);
    CZOutFile& table = files.Create(ZFormat("%s/table.md", _strFolder));
    CZOutFile& picture = files.Create(ZFormat("%s/sheet.png", _strFolder));
    const SIZES& sizes = _bQuick ? c_szQuick : c_szUsual;
    const std::vector<KEYER> vecKeyers = Keyers(_bQuick);
    std::vector<std::string> vecColumns = {"source", "truth"};
    for (const KEYER& keyer : vecKeyers)
        vecColumns.push_back(keyer.strName);
    CQualityTable stills(vecKeyers, false), clips(vecKeyers, true);
    CQualitySheet sheet(vecColumns, static_cast<int>(HardScene_All().size()));
    const auto fnKeyAll = [&](const HARD_CLIP& _clip, CQualityTable& _table) {
        std::vector<QUALITY> vecQualities;
        std::vector<PICTURE> vecFirst;
        for (const KEYER& keyer : vecKeyers)
        {
            const std::vector<PICTURE> vecKeyed = keyer.fnKey(_clip);
            vecQualities.push_back(HardClip_Score(_clip, vecKeyed));
            vecFirst.push_back(vecKeyed.front());
        }
        _table.Row(_clip.pScene->pszName, vecQualities);
        return vecFirst;
    };
    for (const HARD_SCENE& scene : HardScene_All())
    {
        std::fprintf(stderr, "%s\n", scene.pszName);
        const HARD_CLIP still = HardClip_Paint(scene, sizes.nStillWidth, sizes.nStillHeight, 1);
        sheet.Row(still, fnKeyAll(still, stills));
        if (scene.bMoves)
            fnKeyAll(HardClip_Paint(scene, sizes.nClipWidth, sizes.nClipHeight, sizes.nClipFrames), clips);
    }
    const std::string strReport = Report(sizes, stills.Text(), clips.Text());
    table.Write(strReport);
    PictureFile_WritePng(sheet.Picture(), picture);
    files.CommitAll();
    OutFile_Print(strReport);
}

} // namespace

int main(int _nArgs, char** _ppszArgs)
{
    const bool bQuick = _nArgs == 3 && std::strcmp(_ppszArgs[2], "--quick") == 0;
    if (_nArgs != 2 && !bQuick)
    {
        std::fprintf(stderr, "usage: zkquality FOLDER [--quick]\n");
        return 2;
    }
    try
    {
        StandardError_LogSet(eZLog_Error);
        Measure(_ppszArgs[1], bQuick);
        return 0;
    }
    catch (const std::exception& ex)
    {
        std::fprintf(stderr, "zkquality: %s\n", ex.what());
        return 1;
    }
}
