#include "ZChromaKey/Objects/CoZChromaKey.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "Props/TextFile.h"
#include "Props/Xml/XmlLimits.h"
#include "ZChromaKey/Keys/KeyDoc.h"

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

/// The document of key set, adjustments and options as they are now. The lock on these is held for the copy only.
HRESULT CCoZChromaKey::DocumentMake(std::string* _pstrDocument)
{
    KEY_DOC content = {};
    const std::lock_guard lockEdit(m_mtxEdit);
    {
        const std::lock_guard lock(m_keyState.Lock());
        m_keyState.RawGet(&content.key, &content.adjust);
        content.eTakenType = m_keyState.TakenTypeGet();
        content.mapOptions = m_store.ValuesGet();
    }
    std::string strReason;
    if (KeyDoc_Save(content, &m_configDoc, _pstrDocument, &strReason))
        return S_OK;
    ZLog(eZLog_Error, "CCoZChromaKey::PersistSave: %hs\n", strReason);
    return E_FAIL;
}

HRESULT CCoZChromaKey::PersistSaveToFile(const wchar_t* _pwszPath)
{
    return ZBorder("CCoZChromaKey::PersistSaveToFile", [&]() -> HRESULT {
        if (!Z_VERIFY(_pwszPath && *_pwszPath))
            return _pwszPath ? E_INVALIDARG : E_POINTER;
        std::string strDocument;
        std::string strReason;
        const HRESULT hr = DocumentMake(&strDocument);
        if (FAILED(hr) || TextFile_Replace(ZText_FromWide(_pwszPath), strDocument, &strReason))
            return hr;
        ZLog(eZLog_Error, "CCoZChromaKey::PersistSaveToFile: %hs\n", strReason);
        return E_FAIL;
    });
}

HRESULT CCoZChromaKey::PersistSaveToString(BSTR* _pbsDocument)
{
    return ZBorder("CCoZChromaKey::PersistSaveToString", [&]() -> HRESULT {
        if (!Z_VERIFY(_pbsDocument))
            return E_POINTER;
        *_pbsDocument = nullptr;
        std::string strDocument;
        const HRESULT hr = DocumentMake(&strDocument);
        return FAILED(hr) ? hr : ZText_HandOut(strDocument, _pbsDocument);
    });
}

HRESULT CCoZChromaKey::PersistLoad(const wchar_t* _pwszPathOrDocument)
{
    return ZBorder("CCoZChromaKey::PersistLoad", [&]() -> HRESULT {
        if (!Z_VERIFY(_pwszPathOrDocument && *_pwszPathOrDocument))
            return _pwszPathOrDocument ? E_INVALIDARG : E_POINTER;
        const std::string strGiven = ZText_FromWide(_pwszPathOrDocument);
        const std::string strWhere = IsDocument(strGiven) ? "the document" : "\"" + strGiven + "\"";
        std::string strDocument = strGiven;
        std::string strReason;
        if (!IsDocument(strGiven) && !TextFile_Read(strGiven, c_nXmlMaxBytes, &strDocument, &strReason))
        {
            ZLog(eZLog_Error, "CCoZChromaKey::PersistLoad: %hs\n", strReason);
            return E_FAIL;
        }
        const HRESULT hr = DocumentTake(strDocument, &strReason);
        if (FAILED(hr))
            ZLog(eZLog_Error, "CCoZChromaKey::PersistLoad: %hs: %hs\n", strWhere, strReason);
        return hr;
    });
}

/// Takes a document over: key set and adjustments are one step of editing.
HRESULT CCoZChromaKey::DocumentTake(std::string_view _svDocument, std::string* _pstrReason)
{
    std::unique_ptr<CXmlNode> upRoot = CConfigDoc::Read(_svDocument, _pstrReason);
    if (!upRoot)
        return E_INVALIDARG;
    const std::lock_guard lockEdit(m_mtxEdit);
    const std::optional<eZYMatrix> eMatrix = MatrixForKeying();
    const std::lock_guard lock(m_keyState.Lock());
    KEY_DOC content = {};
    m_keyState.RawGet(nullptr, &content.adjust); // what the document does not name stays
    content.mapOptions = m_store.ValuesGet();
    KeyDoc_Get(*upRoot, &content);
    m_keyState.RawSet(content.key, &content.adjust, eMatrix, content.eTakenType); // the last that memory can fail
    m_store.ValuesSet(std::move(content.mapOptions));
    m_configDoc.Take(std::move(upRoot));
    return S_OK;
}
