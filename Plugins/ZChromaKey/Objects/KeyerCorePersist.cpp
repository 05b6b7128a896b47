#include "ZChromaKey/Objects/KeyerCore.h"

#include "Base/ZAssert.h"
#include "Base/ZLog.h"
#include "Props/TextFile.h"
#include "Props/Xml/XmlLimits.h"

// Documents, as files and as strings.

namespace
{

bool IsDocument(std::string_view _svText)
{
    constexpr std::string_view c_svByteOrderMark = "\xEF\xBB\xBF";
    if (_svText.starts_with(c_svByteOrderMark))
        _svText.remove_prefix(c_svByteOrderMark.size());
    const size_t nFirst = _svText.find_first_not_of(" \t\r\n");
    return nFirst != std::string_view::npos && _svText[nFirst] == '<';
}

} // namespace

HRESULT CKeyerCore::SaveToFile(const wchar_t* _pwszPath)
{
    return ZBorder(Method("PersistSaveToFile"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pwszPath && *_pwszPath))
            return _pwszPath ? E_INVALIDARG : E_POINTER;
        std::string strDocument;
        std::string strReason;
        const HRESULT hr = DocumentMake(eDocument_All, &strDocument);
        if (FAILED(hr) || TextFile_Replace(ZText_FromWide(_pwszPath), strDocument, &strReason))
            return hr;
        ZLog(eZLog_Error, "%hs::PersistSaveToFile: %hs\n", m_pszClass, strReason);
        return E_FAIL;
    });
}

HRESULT CKeyerCore::SaveToString(const char* _pszMethod, eDocument _eDocument, BSTR* _pbsDocument)
{
    return ZBorder(Method(_pszMethod), [&]() -> HRESULT {
        if (!Z_VERIFY(_pbsDocument))
            return E_POINTER;
        *_pbsDocument = nullptr;
        std::string strDocument;
        const HRESULT hr = DocumentMake(_eDocument, &strDocument);
        return FAILED(hr) ? hr : ZText_HandOut(strDocument, _pbsDocument);
    });
}

HRESULT CKeyerCore::Load(const char* _pszMethod, eDocument _eDocument, const wchar_t* _pwszPathOrDocument)
{
    return ZBorder(Method(_pszMethod), [&]() -> HRESULT {
        if (!Z_VERIFY(_pwszPathOrDocument && *_pwszPathOrDocument))
            return _pwszPathOrDocument ? E_INVALIDARG : E_POINTER;
        const std::string strGiven = ZText_FromWide(_pwszPathOrDocument);
        const std::string strWhere = IsDocument(strGiven) ? "the document" : "\"" + strGiven + "\"";
        std::string strDocument = strGiven;
        std::string strReason;
        if (!IsDocument(strGiven) && !TextFile_Read(strGiven, c_nXmlMaxBytes, &strDocument, &strReason))
        {
            ZLog(eZLog_Error, "%hs::%hs: %hs\n", m_pszClass, _pszMethod, strReason);
            return E_FAIL;
        }
        const HRESULT hr = DocumentTake(_eDocument, strDocument, &strReason);
        if (FAILED(hr))
            ZLog(eZLog_Error, "%hs::%hs: %hs: %hs\n", m_pszClass, _pszMethod, strWhere, strReason);
        return hr;
    });
}
