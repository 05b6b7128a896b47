#include "zkhost/Commands/KeyOptions.h"

#include "Kit/HostError.h"
#include "Kit/HostLog.h"
#include "Kit/Result.h"
#include "Kit/Tables.h"
#include "zkhost/Commands/Commands.h"
#include "zkhost/Files/Stream.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZBstr.h"
#include "Base/ZLog.h"
#include "Props/PropText.h"

#include <algorithm>
#include <cstdlib>

// The part of the command line that is the second generation's.

namespace
{

constexpr std::pair<const char*, eRegion> c_arrRegions[] = {
    {"garbage", eRegion_Garbage}, {"holdout", eRegion_HoldOut}, {"backdrop", eRegion_Backdrop}};

/// The parameters, which the module knows.
const std::vector<ZTABLE_ROW>& ParamRows()
{
    static const std::vector<ZTABLE_ROW> s_vecRows = Tables_Read(CZModule::Own(), eZTable_Params);
    return s_vecRows;
}

size_t FindParam(const std::string& _strName, const std::string& _strOption)
{
    const std::vector<ZTABLE_ROW>& vecRows = ParamRows();
    std::string strNames;
    for (size_t i = 0; i < vecRows.size(); ++i)
    {
        if (_strName == vecRows[i].pszName)
            return i;
        strNames += ZFormat(i == 0 ? "%hs" : ", %hs", vecRows[i].pszName);
    }
    throw CZUsageError(ZFormat("%s: there is no such parameter; there are %s", _strOption, strNames));
}

/// The number of a value that is right for a row: it is one, or the name of a choice.
double ParamNumber(const ZTABLE_ROW& _row, const std::string& _strValue)
{
    double dblValue = 0;
    if (PropText_ReadDouble(_strValue, &dblValue))
        return dblValue;
    const std::vector<std::string> vecNames = Tables_Choices(_row);
    return static_cast<double>(std::ranges::find(vecNames, _strValue) - vecNames.begin());
}

/// A list of corners, where a file name has other characters in it.
bool IsPolygon(const std::string& _strText)
{
    return _strText.find_first_not_of("0123456789.,-+; ") == std::string::npos;
}

eRegion RegionNamed(const std::string& _strName, const std::string& _strRegion)
{
    const auto* const pFound =
        std::ranges::find(c_arrRegions, _strName, [](const auto& _region) { return std::string_view(_region.first); });
    if (pFound == std::end(c_arrRegions))
        throw CZUsageError(
            ZFormat("--region %s: there is no such region; there are garbage, holdout, backdrop", _strRegion));
    return pFound->second;
}

/// The first picture of a file.
CZPtr<IZFFrame> FrameOf(const std::string& _strPath)
{
    CZPtr<IZFFrame> cpFrame = Stream_Open(_strPath, "")->Next();
    if (!cpFrame)
        throw CZHostError(ZFormat("%s holds no picture", _strPath));
    return cpFrame;
}

} // namespace

std::string CZKeyOptions::Help2()
{
    std::string strText = "Parameters of the second generation (--param NAME=VALUE):\n";
    try
    {
        for (const ZTABLE_ROW& row : ParamRows())
            strText += row.eValue == eZV_Choice
                           ? ZFormat("  %-16s %hs\n%43s%hs\n", row.pszName, row.pszUnit, "", row.pszHelp)
                           : ZFormat("  %-16s %4g to %4g %-7s %-5s %hs\n", row.pszName, row.dblLeast, row.dblMost,
                                     row.pszUnit, ZFormat("(%hs)", row.pszDefault), row.pszHelp);
    }
    catch (const CZHostError& error)
    {
        strText += ZFormat("  %hs\n", error.what());
    }
    return strText;
}

void CZKeyOptions::AddKeys2(CLI::App& _command)
{
    constexpr const char* c_pszGroup = "Second generation";
    _command.add_option("--param", m_vecParams, "A parameter, by number or by the name of a choice; may be repeated")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->group(c_pszGroup);
    _command.add_option("--view", m_strView, "What comes out: the same as --param view=NAME")
        ->type_name("NAME")
        ->group(c_pszGroup);
    _command
        .add_option(
            "--region", m_vecRegions,
            "garbage (transparent), holdout (opaque) or backdrop (what looks like it is, as marks on a screen):\n"
            "a picture that is white and opaque inside, or corners \"X,Y X,Y X,Y\"; may be repeated")
        ->type_name("NAME=FILE")
        ->allow_extra_args(false)
        ->group(c_pszGroup);
    _command
        .add_option("--plate", m_strPlate,
                    "A picture of the empty backdrop from the same camera; the backdrop is searched for in it")
        ->type_name("FILE")
        ->check(Command_File())
        ->group(c_pszGroup);
}

void CZKeyOptions::AddBits(CLI::App& _command)
{
    _command
        .add_option("--bits", m_nBits,
                    "Bits of a channel in the output; 16 are of the second generation. Unless given 8, but in\n"
                    "*.mov and *.mkv 16 where the input has more than 8")
        ->type_name("8|16")
        ->check(CLI::IsMember({8, 16}));
}

void CZKeyOptions::SuggestDeep(const STREAM& _stream)
{
    constexpr uint32_t c_arrDeep[] = {eZFCC_P010, eZFCC_P210, eZFCC_v210, eZFCC_r210, eZFCC_ARGB64};
    const bool bDeep = std::ranges::find(c_arrDeep, _stream.vidProps.fccType) != std::end(c_arrDeep);
    if (bDeep && m_nBits == 0 && m_nKeyer == 2)
        m_nBits = 16;
}

std::string CZKeyOptions::Only2() const
{
    if (IsDeep())
        return "--bits 16";
    if (!m_vecParams.empty())
        return ZFormat("--param %s", m_vecParams.front());
    if (!m_strView.empty())
        return ZFormat("--view %s", m_strView);
    if (!m_vecRegions.empty())
        return ZFormat("--region %s", m_vecRegions.front());
    return m_strPlate.empty() ? "" : ZFormat("--plate %s", m_strPlate);
}

std::vector<CZKeyOptions::PARAM> CZKeyOptions::Params() const
{
    std::vector<PARAM> vecParams;
    const auto fnAdd = [&](const std::string& _strOption, const std::string& _strName, const std::string& _strValue) {
        const size_t nRow = FindParam(_strName, _strOption);
        const ZTABLE_ROW& row = ParamRows()[nRow];
        if (!Tables_IsRight(CZModule::Own(), eZTable_Params, nRow, _strValue))
            throw CZUsageError(ZFormat("%s: %s has to be %hs", _strOption, _strName, row.pszRight));
        vecParams.push_back({_strName, ParamNumber(row, _strValue)});
    };
    for (const std::string& strParam : m_vecParams)
    {
        const auto [strName, strValue] = Command_Pair(strParam, "--param");
        fnAdd(ZFormat("--param %s", strParam), strName, strValue);
    }
    if (!m_strView.empty())
        fnAdd(ZFormat("--view %s", m_strView), "view", m_strView);
    for (const std::string& strRegion : m_vecRegions) // checked with them, though they are set elsewhere
        RegionNamed(Command_Pair(strRegion, "--region").first, strRegion);
    return vecParams;
}

void CZKeyOptions::Detect2(CZKeyer& _keyer) const
{
    if (_keyer.FindBackdrop() == S_FALSE)
        throw CZHostError(ZFormat("no backdrop was found in the first frame of %s: no large, flat area of one strong "
                                  "hue reaches along its upper border; pick its colour with --pick X,Y",
                                  m_strPlate.empty() ? m_strInput : m_strPlate));
}

void CZKeyOptions::ApplyPlate(CZKeyer& _keyer, IZFFrame* _pFirstFrame) const
{
    const CZPtr<IZFFrame> cpPlate = FrameOf(m_strPlate);
    ZF_VID_PROPS vidPlate = {}, vidFrame = {};
    Result_Check(cpPlate->VideoPropsGet(&vidPlate), "looking at the plate");
    Result_Check(_pFirstFrame->VideoPropsGet(&vidFrame), "looking at the first frame");
    if (vidPlate.nWidth != vidFrame.nWidth || std::abs(vidPlate.nHeight) != std::abs(vidFrame.nHeight))
        throw CZHostError(ZFormat("--plate %s: it is %d x %d and the frames are %d x %d; the plate has to be of their "
                                  "size and from the same camera",
                                  m_strPlate, vidPlate.nWidth, std::abs(vidPlate.nHeight), vidFrame.nWidth,
                                  std::abs(vidFrame.nHeight)));
    Result_Check(_keyer.Key2()->PlateSet(cpPlate.Get()), ZFormat("--plate %s", m_strPlate));
    FrameSet(_keyer, cpPlate.Get()); // where the backdrop is easiest to find
}

void CZKeyOptions::ApplyRegion(CZKeyer& _keyer, const std::string& _strRegion)
{
    const auto [strName, strValue] = Command_Pair(_strRegion, "--region");
    const eRegion eWhich = RegionNamed(strName, _strRegion);
    if (!IsPolygon(strValue))
        return Result_Check(_keyer.Key2()->RegionSet(eWhich, FrameOf(strValue).Get(), nullptr),
                            ZFormat("--region %s", _strRegion));
    if (FAILED(_keyer.Key2()->RegionSet(eWhich, nullptr, CZBStr(strValue).Get())))
        throw CZUsageError(ZFormat("--region %s: %s", _strRegion, HostLog_LastError()));
}

void CZKeyOptions::ApplyKeys2(CZKeyer& _keyer, IZFFrame* _pFirstFrame, const std::vector<EDIT>& _vecEdits) const
{
    IZChromaKey2* const pKey = _keyer.Key2();
    if (!m_strPlate.empty())
        ApplyPlate(_keyer, _pFirstFrame);
    int32_t nKeys = 0;
    Result_Check(pKey->KeyCount(FALSE, &nKeys), "counting the keys");
    if (m_bAuto || (nKeys == 0 && m_vecPicks.empty() && m_vecRects.empty())) // a key file may hold parameters alone
        Detect2(_keyer);
    FrameSet(_keyer, _pFirstFrame);
    for (const EDIT& edit : _vecEdits)
    {
        const std::vector<int32_t>& vecPlace = edit.vecPlace;
        Result_Check(edit.strName == "pick"   ? pKey->KeyAddPoint(vecPlace[0], vecPlace[1])
                     : edit.strName == "rect" ? pKey->KeyAddRect(vecPlace[0], vecPlace[1], vecPlace[2], vecPlace[3])
                                              : pKey->KeyProtectPoint(vecPlace[0], vecPlace[1]),
                     ZFormat("--%s %s", edit.strName, edit.strPlace));
    }
    for (const std::string& strRegion : m_vecRegions)
        ApplyRegion(_keyer, strRegion);
    for (const PARAM& param : Params())
        Result_Check(pKey->ParamSet(CZBStr(param.strName).Get(), param.dblValue), ZFormat("--param %s", param.strName));
}
