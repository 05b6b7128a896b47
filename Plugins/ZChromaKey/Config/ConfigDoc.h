#pragma once

#include "Props/PropStore.h"
#include "Props/Xml/XmlNode.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

/// The elements of the plug-in objects in a configuration document.
inline constexpr const char* c_pszConfigKeyer1 = "ZChromaKey";
inline constexpr const char* c_pszConfigKeyer2 = "ZChromaKey2";

/// The configuration document of a plug-in object: the root "zl-root", in it an element of the object's own with what
/// it puts there and the options. What else a loaded document holds, the other generation's element too, is kept and
/// saved again.
///
/// Not thread safe: the owner's lock guards it.
class CConfigDoc
{
public:
    /// _pszOwn: the name of the object's element, a literal.
    explicit CConfigDoc(const char* _pszOwn = c_pszConfigKeyer1)
        : m_pszOwn(_pszOwn)
    {
    }

    /// Reads a document and checks its options. Null and a reason ("line 3, column 7: ...") when it is not one of ours:
    /// it must have the element of either generation to be loaded by the second, of the first to be loaded by the
    /// first. _pfnCheckOrNull: knows the object's options; the log names others.
    static std::unique_ptr<CXmlNode> Read(std::string_view _svDocument, std::string* _pstrReason,
                                          const char* _pszOwn = c_pszConfigKeyer1,
                                          PROPS_VALIDATE _pfnCheckOrNull = nullptr);
    /// The element of a document that Read has given, where it has it; borrowed from it.
    static const CXmlNode* Find(const CXmlNode& _root, const char* _pszOwn);
    /// The first generation's, of a document that was read for it.
    static const CXmlNode& Own(const CXmlNode& _root)
    {
        return *Find(_root, c_pszConfigKeyer1);
    }
    /// The options of such a document, which replace what the caller put in; they stay where it has none. A document
    /// without the element has those of the first generation.
    static void OptionsGet(const CXmlNode& _root, PROP_MAP* _pmapOptions, const char* _pszOwn = c_pszConfigKeyer1);
    /// Takes such a document over, to keep what is not ours in it.
    void Take(std::unique_ptr<CXmlNode> _upRoot) noexcept
    {
        m_upRoot = std::move(_upRoot);
    }
    /// The element that is saved, for the object to put its content into. Its options have been taken out, so that Save
    /// writes them after that content. Borrowed until Take.
    CXmlNode* OwnBegin();
    /// Writes the document with these options; null: without any. False and a reason when the content cannot be written
    /// as XML.
    bool Save(const PROP_MAP* _pmapOptionsOrNull, std::string* _pstrDocument, std::string* _pstrReason);

private:
    CXmlNode* OwnFind();

    const char* m_pszOwn;
    std::unique_ptr<CXmlNode> m_upRoot; ///< the document loaded or saved last
};
