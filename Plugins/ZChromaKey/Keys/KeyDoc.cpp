#include "ZChromaKey/Keys/KeyDoc.h"

#include "ZChromaKey/Keys/KeyXml.h"

#include <algorithm>

namespace
{

constexpr const char* c_pszTakenType = "taken.type";

} // namespace

void KeyDoc_Get(const CXmlNode& _root, KEY_DOC* _pContent)
{
    const CXmlNode& nodeOwn = CConfigDoc::Own(_root);
    KeyXml_Load(nodeOwn, &_pContent->key, &_pContent->adjust);
    _pContent->key.nKeysUsed = std::max(_pContent->key.nKeysUsed, 0);
    _pContent->eTakenType = static_cast<int32_t>(nodeOwn.AttrInt(c_pszTakenType, eCKT_Auto));
    CConfigDoc::OptionsGet(_root, &_pContent->mapOptions);
}

bool KeyDoc_Save(const KEY_DOC& _content, CConfigDoc* _pDoc, std::string* _pstrDocument, std::string* _pstrReason)
{
    CXmlNode* const pOwn = _pDoc->OwnBegin();
    KeyXml_Save(_content.key, _content.adjust, *pOwn);
    pOwn->AttrRemove(c_pszTakenType);
    if (_content.eTakenType != _content.key.eType)
        pOwn->AttrSetInt(c_pszTakenType, _content.eTakenType);
    return _pDoc->Save(_content.bOptions ? &_content.mapOptions : nullptr, _pstrDocument, _pstrReason);
}
