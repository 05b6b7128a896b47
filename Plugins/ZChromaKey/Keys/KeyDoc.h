#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "ZChromaKey/Config/ConfigDoc.h"

#include <string>

/// What a configuration document holds for the first generation.
struct KEY_DOC
{
    CHROMA_KEY_RAW key;
    int32_t eTakenType = eCKT_Auto; ///< space of the keys while keying is off
    CK_ADJUST adjust;               ///< what the document does not name stays as the caller put it in
    PROP_MAP mapOptions;            ///< all options that are set; as the caller put them in where the document has none
    bool bOptions = true;           ///< they are written
};

/// The content of a document that CConfigDoc::Read has given.
void KeyDoc_Get(const CXmlNode& _root, KEY_DOC* _pContent);

/// Writes a document. False and a reason when the content cannot be written as XML.
bool KeyDoc_Save(const KEY_DOC& _content, CConfigDoc* _pDoc, std::string* _pstrDocument, std::string* _pstrReason);
