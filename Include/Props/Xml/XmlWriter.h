#pragma once

#include "Props/Xml/XmlNode.h"

#include <string>

/// Writes a tree as a document in UTF-8, two blanks per level, lines ended by a line feed. The reader gives the same
/// tree back, character for character.
///
/// False and a reason that names the place ("zl-root/key") when the tree cannot be written: a name that XML does not
/// allow, text that is not UTF-8 or has a control character that XML cannot hold, or more than XmlLimits.h allows. The
/// document is then empty. Throws only when memory runs out.
bool XmlWriter_Write(const CXmlNode& _root, std::string* _pstrDocument, std::string* _pstrReason);
