#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "Props/PropStore.h"
#include "Props/Xml/XmlNode.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

/// What a configuration document holds for the chroma key.
struct CONFIG_CONTENT
{
    CHROMA_KEY_RAW key;
    int32_t eTakenType = eCKT_Auto; ///< space of the keys while keying is off
    CK_ADJUST adjust;               ///< what the document does not name stays as the caller put it in
    PROP_MAP mapOptions;            ///< all options that are set; as the caller put them in where the document has none
};

/// The configuration document of a plug-in object: the root "zl-root", in it an element "ZChromaKey" with the key set,
/// the adjustments and the options. What else a loaded document holds is kept and saved again.
///
/// Not thread safe: the owner's lock guards it.
class CConfigDoc
{
public:
    /// Reads a document and checks it. Null and a reason ("line 3, column 7: ...") when it is not one of ours.
    static std::unique_ptr<CXmlNode> Read(std::string_view _svDocument, std::string* _pstrReason);
    /// The content of a document that Read has given.
    static void ContentGet(const CXmlNode& _root, CONFIG_CONTENT* _pContent);
    /// Takes such a document over, to keep what is not ours in it.
    void Take(std::unique_ptr<CXmlNode> _upRoot) noexcept
    {
        m_upRoot = std::move(_upRoot);
    }
    /// Writes a document. False and a reason when the content cannot be written as XML.
    bool Save(const CONFIG_CONTENT& _content, std::string* _pstrDocument, std::string* _pstrReason);

private:
    std::unique_ptr<CXmlNode> m_upRoot; ///< the document loaded or saved last
};
