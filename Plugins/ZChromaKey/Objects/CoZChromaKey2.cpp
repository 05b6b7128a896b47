#include "ZChromaKey/Objects/CoZChromaKey2.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Com/UserDefaultsRead.h"
#include "ZChromaKey/Config/UserDefaults.h"
#include "ZChromaKey/Engine2/UnmixEngine.h"
#include "ZChromaKey/Keys2/KeyXml2.h"

// Frames and documents.

CCoZChromaKey2::CCoZChromaKey2(std::unique_ptr<CUnmixFrameEngine> _upEngine)
    : CCoZChromaKey2(*_upEngine, _upEngine)
{
}

CCoZChromaKey2::CCoZChromaKey2(CUnmixFrameEngine& _engine, std::unique_ptr<CUnmixFrameEngine>& _upEngine)
    : CZKeyerObject("CCoZChromaKey2", "ZChromaKey2", false, std::move(_upEngine))
    , m_engine(_engine)
{
}

HRESULT CCoZChromaKey2::Create(REFIID _iid, void** _ppvObject)
{
    auto* const pObject = new CCoZChromaKey2(std::make_unique<CUnmixEngine>());
    const auto cpObject = CZPtr<IZFProcess>::Adopt(pObject);
    PROP_MAP mapOwn = {{c_szOptionARGB, "true"}}; // colours are unmixed in the result alone
    UserDefaults_Apply(UserDefaults_Read(), pObject->OptionCheck(), &pObject->Store(), std::move(mapOwn));
    return cpObject->QueryInterface(_iid, _ppvObject);
}

void CCoZChromaKey2::FrameSeen(IZFFrame* _pFrameOrNull, const ZF_VID_PROPS&)
{
    CZPtr<IZFFrame> cpFrame(_pFrameOrNull); // takes the old one along, to be let go of after the lock is released
    m_keyState.FrameSeenSwap(&cpFrame);
}

void CCoZChromaKey2::FramesLetGo()
{
    CZPtr<IZFFrame> cpFrameSeen;
    CZPtr<IZFFrame> cpFrameSet;
    m_keyState.FrameSeenSwap(&cpFrameSeen);
    m_keyState.FrameSetSwap(&cpFrameSet);
}

HRESULT CCoZChromaKey2::FrameKey(IZFFrame* _pFrame, IZFFrame** _ppFrameRes)
{
    const KEY2_PRESENT present = m_keyState.Get(); // one copy, to compare and to key with
    UNMIX_SETTINGS settings = {present.key, present.nRestarts, present.nPlate, {}};
    UNMIX_PARTS parts;
    parts.spPlate = present.spPlate;
    for (size_t eWhich = 0; eWhich < Z_REGIONS; ++eWhich)
        if (const auto& spRegion = present.arrRegions[eWhich])
        {
            settings.arrRegions[eWhich] = spRegion->nChange;
            parts.arrMasks[eWhich] = {spRegion, &spRegion->mask};
        }
    return Keyer().Process(_pFrame, EngineSettings_Of(settings, &parts), _ppFrameRes);
}

/// The document of keys, parameters, regions and options as they are now.
HRESULT CCoZChromaKey2::DocumentMake(eDocument _eDocument, std::string* _pstrDocument)
{
    const std::lock_guard lockDocument(m_mtxDocument);
    KEY2_EDIT edit = {};
    PROP_MAP mapOptions;
    {
        const std::lock_guard lock(m_keyState.Lock());
        edit = m_keyState.EditGet();
        mapOptions = Store().ValuesGet();
    }
    for (int32_t eWhich = 0; eWhich < Z_REGIONS; ++eWhich)
        if (const auto& spRegion = edit.arrRegions[static_cast<size_t>(eWhich)];
            spRegion && spRegion->strPolygon.empty())
            ZLog(eZLog_Warning, "CCoZChromaKey2::PersistSave: region \"%hs\" is a mask, and only polygons are saved\n",
                 Region_Name(eWhich));
    std::string strReason;
    const bool bAll = _eDocument == eDocument_All;
    CConfigDoc docKeys{c_pszConfigKeyer2};
    CConfigDoc& doc = bAll ? m_configDoc : docKeys;
    KeyXml2_Save(edit, *doc.OwnBegin());
    if (doc.Save(bAll ? &mapOptions : nullptr, _pstrDocument, &strReason))
        return S_OK;
    ZLog(eZLog_Error, "CCoZChromaKey2::PersistSave: %hs\n", strReason);
    return E_FAIL;
}

/// All that a document holds is one step of editing. One of the first generation alone has nothing but options for us.
HRESULT CCoZChromaKey2::DocumentTake(eDocument _eDocument, std::string_view _svDocument, std::string* _pstrReason)
{
    std::unique_ptr<CXmlNode> upRoot = CConfigDoc::Read(_svDocument, _pstrReason, c_pszConfigKeyer2, OptionCheck());
    if (!upRoot)
        return E_INVALIDARG;
    KEY2_EDIT edit = {};
    const CXmlNode* const pOwn = CConfigDoc::Find(*upRoot, c_pszConfigKeyer2);
    if (pOwn && !KeyXml2_Load(*pOwn, &edit, _pstrReason)) // before the locks: masks are made, and frames do not wait
        return E_INVALIDARG;
    if (!pOwn && _eDocument == eDocument_Keys)
    {
        *_pstrReason = ZFormat("no element \"%hs\", and so no keys of this generation", c_pszConfigKeyer2);
        return E_INVALIDARG;
    }
    if (!pOwn)
        ZLog(eZLog_Info, "CCoZChromaKey2::PersistLoad: the document has options, but no keys of this generation\n");
    const std::lock_guard lockDocument(m_mtxDocument);
    const std::lock_guard lock(m_keyState.Lock());
    if (_eDocument == eDocument_Keys)
    {
        m_keyState.EditSet(std::move(edit));
        return S_OK;
    }
    if (!pOwn)
        edit = m_keyState.EditGet();
    PROP_MAP mapOptions = Store().ValuesGet();
    CConfigDoc::OptionsGet(*upRoot, &mapOptions, c_pszConfigKeyer2);
    m_keyState.EditSet(std::move(edit)); // the last call that can run out of memory
    Store().ValuesSet(std::move(mapOptions));
    m_configDoc.Take(std::move(upRoot));
    return S_OK;
}
