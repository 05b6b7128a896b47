#include "zkhost/Commands/KeyOptions.h"

#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "zkhost/Commands/PluginOptions.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZBstr.h"
#include "Base/ZLog.h"
#include "Props/PropText.h"

// The part of the command line that is the second generation's.

namespace
{

void Edit2(IZChromaKey2* _pKey, const std::string& _strName, const std::vector<int32_t>& _vecPlace,
           const std::string& _strWhat)
{
    Result_Check(_strName == "pick"   ? _pKey->KeyAddPoint(_vecPlace[0], _vecPlace[1])
                 : _strName == "rect" ? _pKey->KeyAddRect(_vecPlace[0], _vecPlace[1], _vecPlace[2], _vecPlace[3])
                                      : _pKey->KeyProtectPoint(_vecPlace[0], _vecPlace[1]),
                 _strWhat);
}

} // namespace

const CLSID& CZKeyOptions::ClassId() const
{
    return m_nKeyer == 2 ? CLSID_ZChromaKey2 : CLSID_ZChromaKey;
}

void CZKeyOptions::CheckGeneration() const
{
    if (m_nKeyer == 1 && !m_vecParams.empty())
        throw CZUsageError("--param is for --keyer 2; the first generation has --adjust NAME=VALUE");
    if (m_nKeyer == 2 && (!m_vecAdjusts.empty() || !m_strType.empty()))
        throw CZUsageError("--adjust and --type are for --keyer 1; the second generation has --param NAME=VALUE");
    if (m_nKeyer != 2)
        return;
    for (const std::string& strSet : m_vecSets)
        if (PluginOptions_IsDetection(strSet.substr(0, strSet.find('='))))
            throw CZUsageError(ZFormat("--set %s: --keyer 2 finds the backdrop without options; leave it out", strSet));
}

void CZKeyOptions::ApplyParams(CZKeyer& _keyer) const
{
    for (const std::string& strParam : m_vecParams)
    {
        const size_t nEqual = strParam.find('=');
        double dblValue = 0;
        if (nEqual == std::string::npos || !PropText_ReadDouble(strParam.substr(nEqual + 1), &dblValue))
            throw CZUsageError(ZFormat("--param %s: a name and a number are needed, as NAME=VALUE", strParam));
        Result_Check(_keyer.Key2()->ParamSet(CZBStr(strParam.substr(0, nEqual)).Get(), dblValue),
                     "--param " + strParam);
    }
}

void CZKeyOptions::ApplyKeys2(CZKeyer& _keyer, const std::vector<EDIT>& _vecEdits) const
{
    if (m_bAuto || !GivesKeys())
    {
        const HRESULT hr = _keyer.Key2()->KeyAuto();
        Result_Check(hr, "finding the backdrop");
        if (hr == S_FALSE)
            throw CZHostError(ZFormat("no backdrop was found in the first frame of %s: no large, flat area of one "
                                      "strong hue; pick its colour with --pick X,Y",
                                      m_strInput));
    }
    for (const EDIT& edit : _vecEdits)
        Edit2(_keyer.Key2(), edit.strName, edit.vecPlace, "--" + edit.strName + " " + edit.strPlace);
    ApplyParams(_keyer);
}
