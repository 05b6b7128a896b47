#include "zkhost/Commands/KeyOptions.h"

#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "Kit/Tables.h"
#include "zkhost/Commands/Commands.h"
#include "zkhost/Commands/PluginOptions.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"

#include <cmath>
#include <map>

// The part of the command line that is the first generation's.

namespace
{

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

/// Says so where the key set of a file keys nothing: every frame comes out as it is then.
void WarnOfIdleKeys(const CZKeyer& _keyer, const std::string& _strFile)
{
    CHROMA_KEY_RAW key = {};
    Result_Check(_keyer.Key()->KeyRawGet(&key, nullptr), "looking at the keys");
    const bool bSpace = key.eType == eCKT_RGB || key.eType == eCKT_HLS || key.eType == eCKT_YUV;
    if (!bSpace)
        ZLog(eZLog_Warning,
             "the keys of %s are of type %d, which keys nothing; those of type 2 (RGB), 3 (HLS) and 4 (YUV) do\n",
             _strFile, key.eType);
    else if (key.nKeysUsed < 1)
        ZLog(eZLog_Warning, "%s has no keys, so nothing is keyed; add --auto or --pick X,Y\n", _strFile);
}

} // namespace

std::string CZKeyOptions::Help1()
{
    std::string strText = "Adjustments of the first generation (--adjust NAME=VALUE):\n";
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

void CZKeyOptions::AddKeys1(CLI::App& _command)
{
    constexpr const char* c_pszGroup = "First generation";
    _command.add_option("--type", m_strType, "Colour space to key in: rgb, hls or yuv")
        ->check(CLI::IsMember({"rgb", "hls", "yuv"}))
        ->group(c_pszGroup);
    _command.add_option("--adjust", m_vecAdjusts, "Fine tuning; may be repeated")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->group(c_pszGroup);
}

std::string CZKeyOptions::Only1() const
{
    if (!m_vecAdjusts.empty())
        return ZFormat("--adjust %s", m_vecAdjusts.front());
    if (!m_strType.empty())
        return ZFormat("--type %s", m_strType);
    for (const std::string& strSet : m_vecSets)
        if (PluginOptions_IsDetection(strSet.substr(0, strSet.find('='))))
            return ZFormat("--set %s", strSet);
    return {};
}

void CZKeyOptions::Check1() const
{
    for (const std::string& strSet : m_vecSets)
        if (!Detects() && PluginOptions_IsDetection(strSet.substr(0, strSet.find('='))))
            throw CZUsageError(ZFormat("--set %s: nothing is detected here; add --auto, or leave it out", strSet));
    Adjusts();
}

void CZKeyOptions::Detect1(CZKeyer& _keyer) const
{
    std::string strProps;
    for (const std::string& strSet : m_vecSets)
    {
        const auto [strName, strValue] = Command_Pair(strSet, "--set");
        if (PluginOptions_IsDetection(strName))
            strProps += ZFormat("%s='%s' ", strName, strValue);
    }
    if (!m_strType.empty())
        strProps += "detect.type=" + m_strType;
    if (_keyer.FindBackdrop(strProps) == S_FALSE)
        throw CZHostError(
            ZFormat("no green or blue backdrop was found in the first frame of %s: no large, flat area of "
                    "one of them reaches along its upper border; pick its colour with --pick X,Y, or "
                    "change --set detect.threshold=N, detect.blocks=N or detect.borders=N",
                    m_strInput));
}

void CZKeyOptions::ApplyType(CZKeyer& _keyer) const
{
    static const std::map<std::string, eCK_Type> c_mapTypes = {{"rgb", eCKT_RGB}, {"hls", eCKT_HLS}, {"yuv", eCKT_YUV}};
    if (!m_strType.empty())
        Result_Check(_keyer.Key()->KeyAdjustSet(eCKA_KeyType, c_mapTypes.at(m_strType)), "--type " + m_strType);
}

void CZKeyOptions::ApplyEdit1(CZKeyer& _keyer, const EDIT& _edit)
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
        const auto [strName, strValue] = Command_Pair(strAdjust, "--adjust");
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

void CZKeyOptions::ApplyKeys1(CZKeyer& _keyer, const std::vector<EDIT>& _vecEdits) const
{
    if (Detects())
        Detect(_keyer);
    ApplyType(_keyer);
    for (const EDIT& edit : _vecEdits)
        ApplyEdit1(_keyer, edit);
    if (!m_strKeys.empty())
        WarnOfIdleKeys(_keyer, m_strKeys);
    else if (m_strDocument.empty())
        _keyer.CleanColors();
    for (const ADJUST& adjust : Adjusts())
        Result_Check(_keyer.Key()->KeyAdjustSet(adjust.eAdjust, adjust.dblValue),
                     ZFormat("--adjust %s", adjust.strName));
}
