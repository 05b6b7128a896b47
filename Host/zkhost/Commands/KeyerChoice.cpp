#include "zkhost/Commands/KeyerChoice.h"

#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"
#include "Props/TextFile.h"
#include "Props/Xml/XmlLimits.h"
#include "Props/Xml/XmlReader.h"

namespace
{

/// The generation whose keys a file has; 0: those of both, of none, or it cannot be read.
int KeyerOfFile(const std::string& _strPath)
{
    std::string strDocument;
    std::string strReason;
    XML_READ_ERROR error;
    if (_strPath.empty() || !TextFile_Read(_strPath, c_nXmlMaxBytes, &strDocument, &strReason))
        return 0;
    const auto upRoot = XmlReader_Read(strDocument, &error);
    if (!upRoot)
        return 0;
    const bool bFirst = upRoot->ChildFind("ZChromaKey") != nullptr; // elements are named as the classes are
    const bool bSecond = upRoot->ChildFind("ZChromaKey2") != nullptr;
    return bFirst == bSecond ? 0 : bFirst ? 1 : 2;
}

/// The generation that options ask for; 0: any.
int KeyerOfOptions(const KEYER_WISHES& _wishes)
{
    if (!_wishes.strOnly1.empty() && !_wishes.strOnly2.empty())
        throw CZUsageError(ZFormat("%s is for the first generation of the keyer and %s for the second; leave one out",
                                   _wishes.strOnly1, _wishes.strOnly2));
    return !_wishes.strOnly1.empty() ? 1 : !_wishes.strOnly2.empty() ? 2 : 0;
}

} // namespace

int KeyerChoice_Make(const KEYER_WISHES& _wishes)
{
    constexpr const char* c_arrNames[] = {"", "first", "second"};
    const int nOptions = KeyerOfOptions(_wishes);
    const int nFile = KeyerOfFile(_wishes.strKeys);
    const int nKeyer = _wishes.nKeyer ? _wishes.nKeyer : nFile ? nFile : nOptions ? nOptions : 2;
    if (nFile && nFile != nKeyer)
        throw CZUsageError(
            ZFormat("--keyer %d: %s has keys of the %s generation alone; leave --keyer out, or make keys "
                    "of the other with --save-keys",
                    nKeyer, _wishes.strKeys, c_arrNames[nFile]));
    if (nOptions && nOptions != nKeyer)
        throw CZUsageError(
            ZFormat("%s is for the %s generation of the keyer, %s for the %s; leave one of them out",
                    nOptions == 1 ? _wishes.strOnly1 : _wishes.strOnly2, c_arrNames[nOptions],
                    _wishes.nKeyer ? ZFormat("--keyer %d", nKeyer) : ZFormat("the keys of %s are", _wishes.strKeys),
                    c_arrNames[nKeyer]));
    return nKeyer;
}
