// Configuration documents: whatever the text, it is refused with a place and a reason, or it survives being saved and
// read again.

#include "Support/FuzzTarget.h"

#include "Props/Xml/XmlReader.h"
#include "Props/Xml/XmlWriter.h"
#include "ZChromaKey/Keys/KeyDoc.h"
#include "ZChromaKey/Keys2/KeyXml2.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace
{

/// Trees that are read again are the same, so their documents are.
void CheckTree(std::string_view _svDocument)
{
    XML_READ_ERROR error;
    const std::unique_ptr<CXmlNode> upRoot = XmlReader_Read(_svDocument, &error);
    if (!upRoot)
    {
        FUZZ_REQUIRE(error.nLine >= 1 && error.nColumn >= 1 && !error.strReason.empty());
        FUZZ_REQUIRE(error.nLine <= _svDocument.size() + 1 && error.nColumn <= _svDocument.size() + 1);
        return;
    }
    std::string strFirst;
    std::string strReason;
    FUZZ_REQUIRE(XmlWriter_Write(*upRoot, &strFirst, &strReason));
    const std::unique_ptr<CXmlNode> upAgain = XmlReader_Read(strFirst, &error);
    FUZZ_REQUIRE(upAgain != nullptr);
    FUZZ_REQUIRE(upAgain->Text() == upRoot->Text() && upAgain->ChildCount() == upRoot->ChildCount());
    std::string strSecond;
    FUZZ_REQUIRE(XmlWriter_Write(*upAgain, &strSecond, &strReason));
    FUZZ_REQUIRE(strFirst == strSecond);
}

/// The space that keys were taken in is saved where it is another than the type in force; Auto says that it is not.
int32_t TakenSpace(const KEY_DOC& _content)
{
    return _content.eTakenType == eCKT_Auto ? _content.key.eType : _content.eTakenType;
}

/// Of records without padding; of doubles, too, every bit counts.
bool SameBytes(const void* _pA, const void* _pB, size_t _cbBytes)
{
    return std::memcmp(_pA, _pB, _cbBytes) == 0;
}

bool IsSame(const KEY_DOC& _a, const KEY_DOC& _b)
{
    CHROMA_KEY_RAW keyA = _a.key;
    CHROMA_KEY_RAW keyB = _b.key;
    for (CHROMA_KEY_RAW* pKey : {&keyA, &keyB}) // the keys past the count are not saved
        std::fill(pKey->arrKeys + std::clamp(pKey->nKeysUsed, 0, Z_MAX_KEYS), std::end(pKey->arrKeys), SINGLE_KEY{});
    return SameBytes(&keyA, &keyB, sizeof(keyA)) && SameBytes(&_a.adjust, &_b.adjust, sizeof(_a.adjust)) &&
           _a.mapOptions == _b.mapOptions && TakenSpace(_a) == TakenSpace(_b);
}

void CheckConfig(std::string_view _svDocument)
{
    std::string strReason;
    std::unique_ptr<CXmlNode> upRoot = CConfigDoc::Read(_svDocument, &strReason);
    FUZZ_REQUIRE(upRoot || !strReason.empty());
    if (!upRoot)
        return;
    CConfigDoc doc;
    KEY_DOC content = {};
    KeyDoc_Get(*upRoot, &content);
    doc.Take(std::move(upRoot));
    FUZZ_REQUIRE(content.key.nKeysUsed <= Z_MAX_KEYS);
    std::string strSaved;
    FUZZ_REQUIRE(KeyDoc_Save(content, &doc, &strSaved, &strReason));
    upRoot = CConfigDoc::Read(strSaved, &strReason);
    FUZZ_REQUIRE(upRoot != nullptr);
    KEY_DOC contentAgain = {};
    KeyDoc_Get(*upRoot, &contentAgain);
    FUZZ_REQUIRE(IsSame(content, contentAgain));
}

bool IsSameRegion(const KEY2_REGION* _pA, const KEY2_REGION* _pB)
{
    return !_pA || !_pB ? _pA == _pB
                        : _pA->strPolygon == _pB->strPolygon && _pA->mask.nWidth == _pB->mask.nWidth &&
                              _pA->mask.vecBytes == _pB->mask.vecBytes;
}

/// The second generation's element: what is taken over is right, and comes back as it was.
void CheckConfig2(std::string_view _svDocument)
{
    std::string strReason;
    std::unique_ptr<CXmlNode> upRoot = CConfigDoc::Read(_svDocument, &strReason, c_pszConfigKeyer2);
    const CXmlNode* const pOwn = upRoot ? CConfigDoc::Find(*upRoot, c_pszConfigKeyer2) : nullptr;
    KEY2_EDIT edit = {};
    const bool bLoaded = pOwn && KeyXml2_Load(*pOwn, &edit, &strReason);
    FUZZ_REQUIRE(bLoaded || !pOwn || !strReason.empty());
    if (!bLoaded)
        return;
    FUZZ_REQUIRE(KeySet2_Check(edit.key).empty());
    CConfigDoc doc(c_pszConfigKeyer2);
    doc.Take(std::move(upRoot));
    KeyXml2_Save(edit, *doc.OwnBegin());
    std::string strSaved;
    FUZZ_REQUIRE(doc.Save(nullptr, &strSaved, &strReason));
    upRoot = CConfigDoc::Read(strSaved, &strReason, c_pszConfigKeyer2);
    KEY2_EDIT editAgain = {};
    FUZZ_REQUIRE(upRoot && KeyXml2_Load(*CConfigDoc::Find(*upRoot, c_pszConfigKeyer2), &editAgain, &strReason));
    FUZZ_REQUIRE(SameBytes(&edit.key, &editAgain.key, sizeof(edit.key)));
    for (size_t n = 0; n < Z_REGIONS; ++n)
        FUZZ_REQUIRE(IsSameRegion(edit.arrRegions[n].get(), editAgain.arrRegions[n].get()));
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    const std::string_view svDocument = _in.Rest();
    CheckTree(svDocument);
    CheckConfig(svDocument);
    CheckConfig2(svDocument);
}
