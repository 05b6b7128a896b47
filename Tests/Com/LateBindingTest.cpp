#include "Base/ZText.h"
#include "Com/ComSupport.h"
#include "Host/TempFolder.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZChromaKey2.h"
#include "Interfaces/IZKey.h"
#include "Interfaces/IZPlugin.h"
#include "Support/Texts.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace
{

DISPID IDOf(IDispatch* _pObject, const wchar_t* _pwszName)
{
    std::wstring wstrName = _pwszName;
    LPOLESTR pwszName = wstrName.data();
    DISPID nID = DISPID_UNKNOWN;
    const HRESULT hr = _pObject->GetIDsOfNames(IID_NULL, &pwszName, 1, LOCALE_USER_DEFAULT, &nID);
    EXPECT_EQ(hr, nID == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK) << nID;
    return nID;
}

TEST(LateBinding, KnowsTheNamesThatAScriptUsesAndRefusesWhatIsNoCall)
{
    const MODULE module;
    const auto cpKey = module.Create<IZChromaKey>(CLSID_ZChromaKey);
    EXPECT_EQ(IDOf(cpKey.Get(), L"keyframeset"), 1) << "names have no case";
    EXPECT_EQ(IDOf(cpKey.Get(), L"KeyGet"), 15);
    EXPECT_GT(IDOf(cpKey.Get(), L"PluginInfoGet"), 100);
    EXPECT_EQ(IDOf(cpKey.Get(), L"OnMediaReceive"), DISPID_UNKNOWN) << "frames are nothing for scripts";
    const auto cpKeyObject = module.Create<IZKey>(CLSID_ZKey);
    EXPECT_EQ(IDOf(cpKeyObject.Get(), L"RawGet"), 10);
    EXPECT_EQ(IDOf(cpKeyObject.Get(), L"PropsSet"), DISPID_UNKNOWN) << "it has no options";
    DISPPARAMS noParams = {};
    EXPECT_EQ(cpKey->Invoke(4711, IID_NULL, 0, DISPATCH_METHOD, &noParams, nullptr, nullptr, nullptr),
              DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(cpKey->Invoke(11, IID_IZChromaKey, 0, DISPATCH_METHOD, &noParams, nullptr, nullptr, nullptr),
              DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(cpKey->Invoke(4, IID_NULL, 0, DISPATCH_METHOD, &noParams, nullptr, nullptr, nullptr),
              DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(cpKey->Invoke(11, IID_NULL, 0, DISPATCH_METHOD, &noParams, nullptr, nullptr, nullptr), S_OK);
    CZPtr<ITypeInfo> cpInfo;
    EXPECT_EQ(cpKey->GetTypeInfo(1, 0, cpInfo.Put()), DISP_E_BADINDEX);
    EXPECT_EQ(cpKey->GetTypeInfo(0, 0, nullptr), E_POINTER);
    EXPECT_EQ(cpKey->GetTypeInfo(0, 0, cpInfo.Put()), S_OK);
    EXPECT_EQ(cpKey->GetIDsOfNames(IID_NULL, nullptr, 1, 0, nullptr), E_INVALIDARG);
}

/// Calls a method by its name with whole numbers, as a script does; the number that it gives back.
double Call(IDispatch* _pObject, const wchar_t* _pwszName, std::vector<VARIANT> _vecArgs = {})
{
    std::reverse(_vecArgs.begin(), _vecArgs.end()); // the last one comes first
    DISPPARAMS params = {_vecArgs.data(), nullptr, static_cast<UINT>(_vecArgs.size()), 0};
    VARIANT varResult = {};
    EXPECT_EQ(_pObject->Invoke(IDOf(_pObject, _pwszName), IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params,
                               &varResult, nullptr, nullptr),
              S_OK)
        << _pwszName;
    if (varResult.vt == VT_R8)
        return varResult.dblVal;
    return varResult.vt == VT_I4 ? varResult.lVal : -1;
}

VARIANT Whole(LONG _nValue)
{
    VARIANT var = {};
    var.vt = VT_I4;
    var.lVal = _nValue;
    return var;
}

TEST(LateBinding, TheSecondGenerationGivesValuesBackAndNeedsNoArgumentThatMayBeLeftOut)
{
    const MODULE module;
    const auto cpKeyer = module.Create<IZChromaKey2>(CLSID_ZChromaKey2);
    IDispatch* const pKeyer = cpKeyer.Get();
    Call(pKeyer, L"KeyAddColor", {Whole(0x20C040)});
    Call(pKeyer, L"KeyProtectColor", {Whole(0x102030)});
    EXPECT_EQ(Call(pKeyer, L"KeyCount"), 1);
    EXPECT_EQ(Call(pKeyer, L"KeyCount", {Whole(1)}), 1);
    VARIANT varName = {};
    varName.vt = VT_BSTR;
    varName.bstrVal = SysAllocString(L"choke");
    Call(pKeyer, L"ParamSet", {varName, Whole(2)});
    EXPECT_EQ(Call(pKeyer, L"ParamGet", {varName}), 2);
    SysFreeString(varName.bstrVal);
    EXPECT_EQ(Call(pKeyer, L"StepsBack"), 3);
    EXPECT_EQ(Call(pKeyer, L"StepBack"), 1) << "one step where no number is given";
    EXPECT_EQ(Call(pKeyer, L"StepBack", {Whole(9)}), 2);
    EXPECT_EQ(Call(pKeyer, L"StepFwd", {Whole(1)}), 1);
    Call(pKeyer, L"KeyRemove", {Whole(0)});
    EXPECT_EQ(Call(pKeyer, L"KeyCount"), 0);
    Call(pKeyer, L"ViewSet");
    Call(pKeyer, L"PlateLearn");
    Call(pKeyer, L"FrameSet");
    Call(pKeyer, L"RegionSet", {Whole(eRegion_Garbage)});
    EXPECT_EQ(Call(pKeyer, L"ParamCount"), 14);
    EXPECT_GT(IDOf(pKeyer, L"PropsSet"), 100);
}

/// Calls a method by its name and gives the result code back, and what the caller is told of a failure.
HRESULT CallTold(IDispatch* _pObject, const wchar_t* _pwszName, std::vector<VARIANT> _vecArgs, std::string* _pstrTold,
                 VARTYPE* _pvtResult = nullptr)
{
    std::reverse(_vecArgs.begin(), _vecArgs.end()); // the last one comes first
    DISPPARAMS params = {_vecArgs.data(), nullptr, static_cast<UINT>(_vecArgs.size()), 0};
    VARIANT varResult = {};
    EXCEPINFO exception = {};
    const HRESULT hr = _pObject->Invoke(IDOf(_pObject, _pwszName), IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD,
                                        &params, &varResult, &exception, nullptr);
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrHelpFile);
    *_pstrTold = ZText_FromWide(TakeText(exception.bstrDescription));
    if (_pvtResult)
        *_pvtResult = varResult.vt;
    VariantClear(&varResult);
    return hr == DISP_E_EXCEPTION ? exception.scode : hr;
}

TEST(LateBinding, TakesNullForWhatMayBeLeftOutAndSaysWhyACallFails)
{
    const MODULE module;
    const auto cpKey = module.Create<IZChromaKey>(CLSID_ZChromaKey);
    VARIANT varNull = {};
    varNull.vt = VT_NULL;
    std::string strTold;
    VARTYPE vtResult = VT_EMPTY;
    EXPECT_EQ(CallTold(cpKey.Get(), L"KeyFrameSet", {varNull, varNull}, &strTold), S_OK);
    EXPECT_EQ(CallTold(cpKey.Get(), L"LogSet", {varNull, Whole(eZLog_Warning)}, &strTold), S_OK);
    for (const bool bNull : {false, true})
    {
        const std::vector<VARIANT> vecArgs = bNull ? std::vector{varNull} : std::vector<VARIANT>();
        EXPECT_EQ(CallTold(cpKey.Get(), L"KeyGet", vecArgs, &strTold, &vtResult), S_OK);
        EXPECT_EQ(vtResult, VT_DISPATCH);
    }
    EXPECT_EQ(CallTold(cpKey.Get(), L"PluginName", {}, &strTold, &vtResult), S_OK);
    EXPECT_EQ(vtResult, VT_BSTR);
    EXPECT_EQ(Call(cpKey.Get(), L"StepBack"), 0) << "nothing to take back";
    EXPECT_EQ(CallTold(cpKey.Get(), L"KeyAdjustSet", {Whole(99), Whole(1)}, &strTold), E_INVALIDARG);
    EXPECT_NE(strTold.find("there is no adjustment 99; use 0 to 16"), std::string::npos) << strTold;
    CZPtr<ISupportErrorInfo> cpSupport;
    ASSERT_EQ(cpKey->QueryInterface(IID_ISupportErrorInfo, cpSupport.PutVoid()), S_OK);
    EXPECT_EQ(cpSupport->InterfaceSupportsErrorInfo(IID_IZChromaKey), S_OK);
    EXPECT_EQ(cpSupport->InterfaceSupportsErrorInfo(IID_IZChromaKey2), S_FALSE);
    CZPtr<IUnknown> cpSame;
    ASSERT_EQ(cpSupport->QueryInterface(IID_IZChromaKey, cpSame.PutVoid()), S_OK);
    EXPECT_EQ(static_cast<void*>(cpSame.Get()), static_cast<void*>(cpKey.Get()));
}

/// What a script prints; it has to end well.
std::string RunScript(const CTempFolder& _folder, const char* _pszScript, const std::string& _strArgs)
{
    const std::filesystem::path pathScript = std::filesystem::absolute(_pszScript).make_preferred();
    const std::string strCommand = "cscript //nologo " + pathScript.string() + " " + _strArgs;
    EXPECT_EQ(std::system((strCommand + " > " + _folder.Path("out")).c_str()), 0) << strCommand;
    std::string strOut = _folder.Read("out");
    std::erase(strOut, '\r');
    return strOut;
}

TEST(LateBinding, ServesAScript)
{
    const CTempFolder folder;
    const std::string strKeys = folder.Write(
        "keys.xml", "<zl-root><ZChromaKey type='2' keys='2' transparent.max='255'><key value='4281380914' "
                    "delta='4280163870' smooth='10'/><key value='4281380814' delta='4280163870' reverse_key='1'/>"
                    "<adjust power='10'/></ZChromaKey></zl-root>");
    const MODULE module;
    ASSERT_TRUE(Regsvr32(module));
    const std::string strOut = RunScript(folder, ZCK_SCRIPT, folder.Path("saved.xml") + " " + strKeys);
    const std::string strOutJ = RunScript(folder, ZCK_JSCRIPT, strKeys);
    const std::string strEdited = RunScript(folder, ZCK_EXAMPLE, strKeys + " " + folder.Path("edited.xml"));
    EXPECT_TRUE(Regsvr32(module, L"/u"));
    EXPECT_EQ(strOut,
              "threads 4\nfirst debug.time_overlay\nremoved [2]\npower 10\npower 25 least 12.5\nleast 0\nsteps 3\n"
              "document <?xml\ntype 2 keys 1\nother 0\nnull 2\nname ZChromaKey\nadjusts 17 power -100\n"
              "undone 0\nunknown 1B6\nrefused True no adjustment 99\nrefused True\n");
    EXPECT_EQ(strOutJ, "types 2 2\npower 25 steps 2 undone 2 0\nname ZChromaKey threads 2\n"
                       "refused there is no adjustment 99\nspill 50 of 14\n");
    const std::string strSaved = folder.Read("saved.xml");
    for (const char* pszPart : {"power=\"25\"", "min_trans=\"12.5\"", "output.thread", "reverse_key=\"1\""})
        EXPECT_NE(strSaved.find(pszPart), std::string::npos) << pszPart << " in\n" << strSaved;
    EXPECT_EQ(strEdited, "smooth is 20 now\n");
    EXPECT_NE(folder.Read("edited.xml").find("smooth=\"20\""), std::string::npos) << folder.Read("edited.xml");
}

} // namespace
