#pragma once

#include "Props/PropStore.h"
#include "Props/Xml/XmlNode.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

/// The configuration document of a plug-in object: the root "zl-root", in it an element "ZChromaKey" with what the
/// object puts there and the options. What else a loaded document holds is kept and saved again.
///
/// Not thread safe: the owner's lock guards it.
class CConfigDoc
{
public:
    /// Reads a document and checks its options. Null and a reason ("line 3, column 7: ...") when it is not one of ours.
    static std::unique_ptr<CXmlNode> Read(std::string_view _svDocument, std::string* _pstrReason);
    /// The element "ZChromaKey" of a document that Read has given; borrowed from it.
    static const CXmlNode& Own(const CXmlNode& _root);
    /// The options of such a document, which replace what the caller put in; they stay where it has none.
    static void OptionsGet(const CXmlNode& _root, PROP_MAP* _pmapOptions);
    /// Takes such a document over, to keep what is not ours in it.
    void Take(std::unique_ptr<CXmlNode> _upRoot) noexcept
    {
        m_upRoot = std::move(_upRoot);
    }
    /// The element that is saved, for the object to put its content into. Its options have been taken out, so that Save
    /// writes them after that content. Borrowed until Take.
    CXmlNode* OwnBegin();
    /// Writes the document with these options. False and a reason when the content cannot be written as XML.
    bool Save(const PROP_MAP& _mapOptions, std::string* _pstrDocument, std::string* _pstrReason);

private:
    CXmlNode* OwnFind();

    std::unique_ptr<CXmlNode> m_upRoot; ///< the document loaded or saved last
};
