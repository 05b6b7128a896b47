#include "ZChromaKey/Licence/Licence.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"
#include "Props/Xml/XmlReader.h"
#include "Props/Xml/XmlWriter.h"

#include <algorithm>
#include <chrono>

namespace
{

constexpr std::string_view c_svRoot = "zck-licence";
constexpr std::string_view c_svFormat = "1"; // of the document, and of the canonical text

bool IsText(std::string_view _svText)
{
    return std::ranges::none_of(_svText, [](char _ch) { return (_ch >= 0 && _ch < ' ') || _ch == 0x7F; });
}

bool IsDay(std::string_view _svText)
{
    int64_t nYear = 0;
    int64_t nMonth = 0;
    int64_t nDay = 0;
    const auto fnNumber = [&](size_t _nAt, size_t _nDigits, int64_t* _pnNumber) {
        const std::string_view svDigits = _svText.substr(_nAt, _nDigits);
        return svDigits.find_first_not_of("0123456789") == std::string_view::npos &&
               PropText_ReadInt(svDigits, _pnNumber);
    };
    return _svText.size() == 10 && _svText[4] == '-' && _svText[7] == '-' && fnNumber(0, 4, &nYear) &&
           fnNumber(5, 2, &nMonth) && fnNumber(8, 2, &nDay) &&
           std::chrono::year_month_day(std::chrono::year(static_cast<int>(nYear)),
                                       std::chrono::month(static_cast<unsigned>(nMonth)),
                                       std::chrono::day(static_cast<unsigned>(nDay)))
               .ok();
}

bool IsMachine(std::string_view _svText)
{
    return _svText.size() == 32 && _svText.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// A value of a document.
struct FIELD
{
    const char* pszName; ///< of the attribute, and in the canonical text
    std::string LICENCE::*pstrValue;
    bool bSigned;
    bool bOptional;
    bool (*pfnIsRight)(std::string_view _svText);
    const char* pszRight;
};

constexpr FIELD c_arrFields[] = {
    {"product", &LICENCE::strProduct, true, false, &IsText, "a text"},
    {"holder", &LICENCE::strHolder, true, false, &IsText, "a text"},
    {"features", &LICENCE::strFeatures, true, false, &IsText, "a text"},
    {"first", &LICENCE::strFirst, true, false, &IsDay, "a day, YYYY-MM-DD"},
    {"last", &LICENCE::strLast, true, false, &IsDay, "a day, YYYY-MM-DD"},
    {"machine", &LICENCE::strMachine, true, true, &IsMachine, "32 hexadecimal digits, in lower case"},
    {"serial", &LICENCE::strSerial, true, false, &IsText, "a text"},
    {"signature", &LICENCE::strSignature, false, false, &IsText, "a text"},
};

/// "" when a value is right, else why not.
std::string WhyWrong(const FIELD& _field, const std::string& _strValue)
{
    if (_strValue.empty())
        return _field.bOptional ? "" : ZFormat("\"%hs\" is missing", _field.pszName);
    if (_strValue.size() > c_nLicenceMaxText)
        return ZFormat("\"%hs\" has more than %zu bytes", _field.pszName, c_nLicenceMaxText);
    if (!_field.pfnIsRight(_strValue))
        return ZFormat("\"%hs\" is %hs, must be %hs", _field.pszName, PropText_Quote(_strValue), _field.pszRight);
    return {};
}

/// "" when all values are right.
std::string WhyWrong(const LICENCE& _licence)
{
    for (const FIELD& field : c_arrFields)
        if (std::string strWhy = WhyWrong(field, _licence.*field.pstrValue); !strWhy.empty())
            return strWhy;
    if (_licence.strLast < _licence.strFirst)
        return ZFormat("the last day, %hs, is before the first, %hs", _licence.strLast, _licence.strFirst);
    return {};
}

/// "" when an element is a document of ours; what is not known is refused, for nobody would have signed it.
std::string WhyOther(const CXmlNode& _root)
{
    if (_root.Name() != c_svRoot)
        return ZFormat("the root is %hs, must be \"%hs\"", PropText_Quote(_root.Name()), c_svRoot);
    if (_root.AttrText("format", "") != c_svFormat)
        return ZFormat("the format is %hs, must be \"%hs\"", PropText_Quote(std::string(_root.AttrText("format", ""))),
                       c_svFormat);
    if (_root.ChildCount() > 0 || !_root.Text().empty())
        return "it has elements or text inside, must have attributes alone";
    for (const XML_ATTR& attr : _root.Attrs())
        if (attr.strName != "format" &&
            std::ranges::none_of(c_arrFields, [&](const FIELD& _field) { return _field.pszName == attr.strName; }))
            return ZFormat("the attribute %hs is not known", PropText_Quote(attr.strName));
    return {};
}

} // namespace

bool Licence_Read(std::string_view _svDocument, LICENCE* _pLicence, std::string* _pstrReason)
{
    *_pLicence = {};
    if (_svDocument.size() > c_nLicenceMaxBytes)
    {
        *_pstrReason = ZFormat("it has more than %zu bytes", c_nLicenceMaxBytes);
        return false;
    }
    XML_READ_ERROR error;
    const std::unique_ptr<CXmlNode> upRoot = XmlReader_Read(_svDocument, &error);
    if (!upRoot)
    {
        *_pstrReason = ZFormat("line %zu, column %zu: %hs", error.nLine, error.nColumn, error.strReason);
        return false;
    }
    LICENCE licence;
    for (const FIELD& field : c_arrFields)
        licence.*field.pstrValue = upRoot->AttrText(field.pszName, "");
    *_pstrReason = WhyOther(*upRoot);
    if (_pstrReason->empty())
        *_pstrReason = WhyWrong(licence);
    if (_pstrReason->empty())
        *_pLicence = std::move(licence);
    return _pstrReason->empty();
}

std::string Licence_Text(const LICENCE& _licence)
{
    std::string strText = ZFormat("%hs %hs\n", c_svRoot, c_svFormat);
    for (const FIELD& field : c_arrFields)
        if (field.bSigned)
            strText += ZFormat("%hs=%hs\n", field.pszName, _licence.*field.pstrValue);
    return strText;
}

bool Licence_Write(const LICENCE& _licence, std::string* _pstrDocument, std::string* _pstrReason)
{
    _pstrDocument->clear();
    *_pstrReason = WhyWrong(_licence);
    if (!_pstrReason->empty())
        return false;
    CXmlNode root(c_svRoot);
    root.AttrSetText("format", c_svFormat);
    for (const FIELD& field : c_arrFields)
        if (!(_licence.*field.pstrValue).empty())
            root.AttrSetText(field.pszName, _licence.*field.pstrValue);
    return XmlWriter_Write(root, _pstrDocument, _pstrReason);
}

bool Licence_Has(const LICENCE& _licence, std::string_view _svFeature)
{
    std::string_view svRest = _licence.strFeatures;
    while (!svRest.empty())
    {
        const std::string_view svWord = svRest.substr(0, svRest.find(' '));
        if (svWord == _svFeature || svWord == "all")
            return true;
        svRest.remove_prefix(std::min(svWord.size() + 1, svRest.size()));
    }
    return false;
}
