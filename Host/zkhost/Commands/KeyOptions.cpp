#include "zkhost/Commands/KeyOptions.h"

#include "Interfaces/ZOptionNames.h"
#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "Kit/Tables.h"
#include "zkhost/Commands/Commands.h"
#include "zkhost/Commands/PluginOptions.h"
#include "zkhost/Files/RawReader.h"
#include "zkhost/Files/StandardError.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZBstr.h"
#include "Base/ZLog.h"
#include "Props/PropText.h"

#include <charconv>
#include <cmath>
#include <map>

namespace
{

std::pair<std::string, std::string> SplitPair(const std::string& _strText, const char* _pszOption)
{
    const size_t nEqual = _strText.find('=');
    if (nEqual == std::string::npos || nEqual == 0)
        throw CZUsageError(ZFormat("%s %s: a name and a value are needed, as NAME=VALUE", _pszOption, _strText));
    return {_strText.substr(0, nEqual), _strText.substr(nEqual + 1)};
}

/// "X,Y" or "X1,Y1,X2,Y2" inside a picture; the second corner may touch its end.
std::vector<int32_t> ReadPlace(const std::string& _strText, size_t _nNumbers, const ZF_VID_PROPS& _vidProps)
{
    std::vector<int32_t> vecNumbers(_nNumbers);
    const char* pPos = _strText.data();
    const char* const pEnd = pPos + _strText.size();
    bool bGood = true;
    for (size_t i = 0; bGood && i < _nNumbers; ++i)
    {
        const int32_t nLimit = i % 2 ? std::abs(_vidProps.nHeight) : _vidProps.nWidth;
        const auto res = std::from_chars(pPos, pEnd, vecNumbers[i]);
        const bool bLast = i + 1 == _nNumbers;
        bGood = res.ec == std::errc() && (bLast ? res.ptr == pEnd : res.ptr != pEnd && *res.ptr == ',') &&
                vecNumbers[i] >= 0 && (i < 2 ? vecNumbers[i] < nLimit : vecNumbers[i] <= nLimit);
        pPos = bGood && !bLast ? res.ptr + 1 : pEnd;
    }
    if (!bGood)
        throw CZUsageError(
            ZFormat("\"%s\" is no place in this picture; write %s, in pixels from the top left of %d x %d", _strText,
                    _nNumbers == 2 ? "X,Y" : "X1,Y1,X2,Y2", _vidProps.nWidth, std::abs(_vidProps.nHeight)));
    if (_nNumbers == 4 && (vecNumbers[0] == vecNumbers[2] || vecNumbers[1] == vecNumbers[3]))
        throw CZUsageError(ZFormat("\"%s\" is an empty rectangle; its second corner has to be another one", _strText));
    return vecNumbers;
}

size_t FindAdjust(const std::vector<ZTABLE_ROW>& _vecRows, const std::string& _strName)
{
    std::string strNames;
    for (size_t i = 0; i < _vecRows.size(); ++i)
    {
        if (_strName == _vecRows[i].pszName)
            return i;
        strNames += std::string(strNames.empty() ? "" : ", ") + _vecRows[i].pszName;
    }
    throw CZUsageError(ZFormat("--adjust %s: there is no such adjustment; there are %s", _strName, strNames));
}

/// The adjustments, which the module knows.
const std::vector<ZTABLE_ROW>& AdjustRows()
{
    static const std::vector<ZTABLE_ROW> s_vecRows = Tables_Read(CZModule::Own(), eZTable_Adjusts);
    return s_vecRows;
}

std::string AdjustHelp()
{
    std::string strText = "Adjustments (--adjust NAME=VALUE):\n";
    try
    {
        for (const ZTABLE_ROW& row : AdjustRows())
            if (row.eValue == eZV_Number) // the type has an option of its own
                strText += ZFormat("  %-16s %4g to %4g %-7s %s\n", row.pszName, row.dblLeast, row.dblMost, row.pszUnit,
                                   row.pszHelp);
    }
    catch (const CZHostError& error)
    {
        strText += ZFormat("  %hs\n", error.what());
    }
    return strText;
}

} // namespace

void CZKeyOptions::AddInput(CLI::App& _command)
{
    m_pCommand = &_command;
    _command
        .add_option("input", m_strInput,
                    "*.png, *.jpg, name_%05d.png, *.y4m, - (Y4M on standard input), or *.raw with --in")
        ->type_name("FILE")
        ->required();
    _command
        .add_option("--in", m_strRawSpec,
                    "What headerless input holds: FCC:WxH[@RATE][i|iT|iB][:STRIDE]; a negative height means "
                    "top-down, for RGB")
        ->type_name("SPEC");
    _command
        .add_option("--set", m_vecSets,
                    "An option of the plug-in; may be repeated. \"zkhost options\" lists and explains them. On\n"
                    "Windows, frames are keyed on the GPU where there is one, unless gpu_mode=0 is set: the\n"
                    "results of the CPU are the same on every machine")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    _command.add_flag("--quiet,-q", m_bQuiet, "Only errors on standard error");
    _command.add_flag("--verbose,-v", m_bVerbose, "The plug-in's log on standard error");
}

void CZKeyOptions::AddKeys(CLI::App& _command, bool _bOrAuto)
{
    m_eKeys = _bOrAuto ? eKeys_OrAuto : eKeys_Needed;
    constexpr const char* c_pszGroup = "Keys, made on the first frame";
    _command
        .add_option("--keyer", m_nKeyer,
                    "1: keys are boxes of colours; 2: backdrop and foreground are unmixed, for hair, veils and motion\n"
                    "blur; finds a backdrop of any hue when nothing says what to key")
        ->type_name("1|2")
        ->check(CLI::IsMember({1, 2}))
        ->group(c_pszGroup);
    _command.add_option("--param", m_vecParams, "A parameter of --keyer 2; may be repeated")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->group(c_pszGroup);
    _command.add_option("--keys", m_strKeys, "Keys and options from a file that was saved before")
        ->type_name("FILE.xml")
        ->check(Command_File())
        ->group(c_pszGroup);
    _command.add_flag("--auto", m_bAuto, "Find a green or blue backdrop")->group(c_pszGroup);
    _command.add_option("--pick", m_vecPicks, "Key the colour at X,Y; --pick, --rect and --exclude may be repeated")
        ->type_name("X,Y")
        ->allow_extra_args(false)
        ->group(c_pszGroup);
    _command.add_option("--rect", m_vecRects, "Key the colours in a rectangle")
        ->type_name("X1,Y1,X2,Y2")
        ->allow_extra_args(false)
        ->group(c_pszGroup);
    _command.add_option("--exclude,--protect", m_vecExcludes, "Keep the colour at X,Y")
        ->type_name("X,Y")
        ->allow_extra_args(false)
        ->group(c_pszGroup);
    _command.add_option("--type", m_strType, "Colour space to key in: rgb, hls or yuv")
        ->check(CLI::IsMember({"rgb", "hls", "yuv"}))
        ->group(c_pszGroup);
    _command.add_option("--adjust", m_vecAdjusts, "Fine tuning; may be repeated")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->group(c_pszGroup);
    _command.add_option("--save-keys", m_strSaveKeys, "Save what was used to a file")
        ->type_name("FILE.xml")
        ->check(Command_File())
        ->group(c_pszGroup);
    _command.footer(AdjustHelp); // before the examples, and only when help is asked for
}

void CZKeyOptions::Begin() const
{
    StandardError_LogSet(m_bVerbose ? eZLog_Verbose : m_bQuiet ? eZLog_Error : eZLog_Warning);
    if (!m_strRawSpec.empty())
        Raw_ParseSpec(m_strRawSpec);
    CheckGeneration();
    if (m_eKeys == eKeys_Needed && m_nKeyer == 1 && !m_bAuto && !GivesKeys())
        throw CZUsageError("nothing says what to key; use --auto, --pick X,Y, --rect X1,Y1,X2,Y2 or --keys FILE.xml");
    for (const std::string& strSet : m_vecSets)
    {
        const auto [strName, strValue] = SplitPair(strSet, "--set");
        PluginOptions_Check(strName, strValue);
        if (PluginOptions_IsDetection(strName) && m_nKeyer == 1 && !Detects())
            throw CZUsageError(ZFormat("--set %s: nothing is detected here; add --auto, or leave it out", strSet));
    }
    Adjusts();
}

bool CZKeyOptions::GivesKeys() const
{
    return !m_strKeys.empty() || !m_vecPicks.empty() || !m_vecRects.empty();
}

bool CZKeyOptions::Detects() const
{
    return m_bAuto || m_eKeys == eKeys_None || (m_eKeys == eKeys_OrAuto && !GivesKeys());
}

void CZKeyOptions::ApplyOptions(CZKeyer& _keyer) const
{
    for (const std::string& strSet : m_vecSets)
    {
        const auto [strName, strValue] = SplitPair(strSet, "--set");
        if (!PluginOptions_IsDetection(strName))
            _keyer.OptionSet(strName, strValue);
    }
}

void CZKeyOptions::Detect(CZKeyer& _keyer) const
{
    std::string strProps;
    for (const std::string& strSet : m_vecSets)
    {
        const auto [strName, strValue] = SplitPair(strSet, "--set");
        if (PluginOptions_IsDetection(strName))
            strProps += ZFormat("%s='%s' ", strName, strValue);
    }
    if (!m_strType.empty())
        strProps += "detect.type=" + m_strType;
    const HRESULT hr = _keyer.Key()->KeyDetect(CZBStr(strProps).Get());
    Result_Check(hr, "finding the backdrop");
    if (hr == S_FALSE)
        throw CZHostError(ZFormat("no green or blue backdrop was found in the first frame of %s; pick its colour with "
                                  "--pick X,Y, or change --set detect.threshold=N, detect.blocks=N or detect.borders=N",
                                  m_strInput));
}

void CZKeyOptions::ApplyType(CZKeyer& _keyer) const
{
    static const std::map<std::string, eCK_Type> c_mapTypes = {{"rgb", eCKT_RGB}, {"hls", eCKT_HLS}, {"yuv", eCKT_YUV}};
    if (!m_strType.empty())
        Result_Check(_keyer.Key()->KeyAdjustSet(eCKA_KeyType, c_mapTypes.at(m_strType)), "--type " + m_strType);
}

std::vector<CZKeyOptions::EDIT> CZKeyOptions::Edits(IZFFrame* _pFirstFrame) const
{
    ZF_VID_PROPS vidProps = {};
    Result_Check(_pFirstFrame->VideoPropsGet(&vidProps), "looking at the first frame");
    std::vector<EDIT> vecEdits;
    std::map<std::string, size_t> mapTaken;
    for (const CLI::Option* pOption : m_pCommand->parse_order()) // the order in which they were given
    {
        const std::string strName = pOption->get_single_name();
        if (strName != "pick" && strName != "rect" && strName != "exclude")
            continue;
        const std::string strPlace = pOption->results().at(mapTaken[strName]++);
        vecEdits.push_back({strName, strPlace, ReadPlace(strPlace, strName == "rect" ? 4 : 2, vidProps)});
    }
    return vecEdits;
}

void CZKeyOptions::ApplyEdit(CZKeyer& _keyer, const EDIT& _edit)
{
    IZChromaKey* pKey = _keyer.Key();
    const std::vector<int32_t>& vecPlace = _edit.vecPlace;
    const HRESULT hr = _edit.strName == "pick"   ? pKey->KeyAddPoint(vecPlace[0], vecPlace[1])
                       : _edit.strName == "rect" ? pKey->KeyAddRect(vecPlace[0], vecPlace[1], vecPlace[2], vecPlace[3])
                                                 : pKey->KeyExcludePoint(vecPlace[0], vecPlace[1]);
    Result_Check(hr, "--" + _edit.strName + " " + _edit.strPlace);
}

std::vector<CZKeyOptions::ADJUST> CZKeyOptions::Adjusts() const
{
    std::vector<ADJUST> vecAdjusts;
    if (m_vecAdjusts.empty())
        return vecAdjusts;
    const std::vector<ZTABLE_ROW>& vecRows = AdjustRows();
    for (const std::string& strAdjust : m_vecAdjusts)
    {
        const auto [strName, strValue] = SplitPair(strAdjust, "--adjust");
        const size_t nRow = FindAdjust(vecRows, strName);
        const ZTABLE_ROW& row = vecRows[nRow];
        double dblValue = 0;
        const bool bNumber = PropText_ReadDouble(strValue, &dblValue);
        if (!bNumber || !(dblValue >= row.dblLeast && dblValue <= row.dblMost))
            throw CZUsageError(ZFormat("--adjust %s: %s has to be a number from %g to %g", strAdjust, strName,
                                       row.dblLeast, row.dblMost));
        if (row.eValue == eZV_Whole && dblValue != std::floor(dblValue))
            throw CZUsageError(ZFormat("--adjust %s: %s has to be a whole number", strAdjust, strName));
        vecAdjusts.push_back({static_cast<eCK_Adjust>(nRow), strName, dblValue});
    }
    return vecAdjusts;
}

void CZKeyOptions::ApplyKeys(CZKeyer& _keyer, IZFFrame* _pFirstFrame) const
{
    const auto vecEdits = Edits(_pFirstFrame); // mistakes in the command line come before anything else
    const auto fnFrameSet = [&](IZFFrame* _pFrame) {
        return _keyer.Key2() ? _keyer.Key2()->FrameSet(_pFrame) : _keyer.Key()->KeyFrameSet(_pFrame, nullptr);
    };
    // The frame comes first: its matrix carries keys that are loaded into another type.
    Result_Check(fnFrameSet(_pFirstFrame), "handing over the first frame");
    if (!m_strKeys.empty())
        _keyer.LoadFile(m_strKeys);
    _keyer.OptionNeed(c_szOptionARGB, "true"); // the alpha in the frame, and its colours cleaned
    ApplyOptions(_keyer);
    if (_keyer.Key2())
        ApplyKeys2(_keyer, vecEdits);
    else
        ApplyKeys1(_keyer, vecEdits);
    Result_Check(fnFrameSet(nullptr), "taking the first frame back");
}

void CZKeyOptions::ApplyKeys1(CZKeyer& _keyer, const std::vector<EDIT>& _vecEdits) const
{
    if (Detects())
        Detect(_keyer);
    ApplyType(_keyer);
    for (const EDIT& edit : _vecEdits)
        ApplyEdit(_keyer, edit);
    for (const ADJUST& adjust : Adjusts())
        Result_Check(_keyer.Key()->KeyAdjustSet(adjust.eAdjust, adjust.dblValue),
                     ZFormat("--adjust %s", adjust.strName));
}

CZOutFile* CZKeyOptions::OpenKeys(CZOutFiles& _files) const
{
    return m_strSaveKeys.empty() ? nullptr : &_files.Create(m_strSaveKeys);
}
