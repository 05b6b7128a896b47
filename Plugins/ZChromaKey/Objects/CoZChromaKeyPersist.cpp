#include "ZChromaKey/Objects/CoZChromaKey.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Keys/KeyDoc.h"
#include "ZChromaKey/Objects/EditLock.h"

/// The document of key set, adjustments and options as they are now. The lock on these is held for the copy only.
HRESULT CCoZChromaKey::DocumentMake(eDocument _eDocument, std::string* _pstrDocument)
{
    return EditLock_Run(Method("PersistSave"), &m_lockEdit, [&]() -> HRESULT {
        KEY_DOC content = {};
        {
            const std::lock_guard lock(m_keyState.Lock());
            m_keyState.RawGet(&content.key, &content.adjust);
            content.eTakenType = m_keyState.TakenTypeGet();
            content.mapOptions = Store().ValuesGet();
        }
        content.bOptions = _eDocument == eDocument_All;
        CConfigDoc docKeys;
        std::string strReason;
        if (KeyDoc_Save(content, content.bOptions ? &m_configDoc : &docKeys, _pstrDocument, &strReason))
            return S_OK;
        ZLog(eZLog_Error, "CCoZChromaKey::PersistSave: %hs\n", strReason);
        return E_FAIL;
    });
}

/// Key set and adjustments of a document are one step of editing.
HRESULT CCoZChromaKey::DocumentTake(eDocument _eDocument, std::string_view _svDocument, std::string* _pstrReason)
{
    std::unique_ptr<CXmlNode> upRoot = CConfigDoc::Read(_svDocument, _pstrReason, c_pszConfigKeyer1, OptionCheck());
    if (!upRoot)
        return E_INVALIDARG;
    return EditLock_Run(Method("PersistLoad"), &m_lockEdit, [&]() -> HRESULT {
        const std::lock_guard lock(m_keyState.Lock());
        KEY_DOC content = {};
        m_keyState.RawGet(nullptr, &content.adjust); // what the document does not name stays
        content.mapOptions = Store().ValuesGet();
        KeyDoc_Get(*upRoot, &content);
        const HRESULT hr = m_keyState.RawSet(content.key, &content.adjust, MatrixForKeying(),
                                             content.eTakenType); // the last call that can run out of memory
        if (FAILED(hr) || _eDocument == eDocument_Keys)
            return hr;
        Store().ValuesSet(std::move(content.mapOptions));
        m_configDoc.Take(std::move(upRoot));
        return S_OK;
    });
}
