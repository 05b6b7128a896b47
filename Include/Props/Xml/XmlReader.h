#pragma once

#include "Props/Xml/XmlNode.h"

#include <memory>
#include <string>
#include <string_view>

/// Why a document cannot be read. Lines and columns count from 1; a column is one character, not one byte.
struct XML_READ_ERROR
{
    size_t nLine = 0;
    size_t nColumn = 0;
    std::string strReason;
};

/// Reads a document and gives its root to the caller; null and the error filled in when it is not one.
///
/// A strict subset of XML 1.0 without namespaces, in UTF-8 with or without a byte order mark: one element tree, the XML
/// declaration, comments, CDATA sections, the five named entities and character references. Document types and
/// processing instructions are refused, and so is what exceeds XmlLimits.h. Blanks between elements are not text. Any
/// bytes may be handed in. Throws only when memory runs out.
std::unique_ptr<CXmlNode> XmlReader_Read(std::string_view _svDocument, XML_READ_ERROR* _pError);
