#include "Com/ComSupport.h"
#include "Host/TempFolder.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZKey.h"

#include <cstdlib>

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
    const std::string strEdited = RunScript(folder, ZCK_EXAMPLE, strKeys + " " + folder.Path("edited.xml"));
    EXPECT_TRUE(Regsvr32(module, L"/u"));
    EXPECT_EQ(strOut, "threads 4\nfirst output.thread\nremoved []\npower 10\npower 25 least 12.5\nleast 0\n"
                      "document <?xml\ntype 2 keys 1\nother 0\nunknown 1B6\nrefused True\nrefused True\n");
    const std::string strSaved = folder.Read("saved.xml");
    for (const char* pszPart : {"power=\"25\"", "min_trans=\"12.5\"", "output.thread", "reverse_key=\"1\""})
        EXPECT_NE(strSaved.find(pszPart), std::string::npos) << pszPart << " in\n" << strSaved;
    EXPECT_EQ(strEdited, "smooth is 20 now\n");
    EXPECT_NE(folder.Read("edited.xml").find("smooth=\"20\""), std::string::npos) << folder.Read("edited.xml");
}

} // namespace
