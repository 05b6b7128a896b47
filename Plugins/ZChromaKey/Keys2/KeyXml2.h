#pragma once

#include "ZChromaKey/Keys2/KeyState2.h"

#include <string>

class CXmlNode;

/// The key set of the second generation in a configuration document: children "key", "protected", "params" and
/// "region" of its element.

/// Writes a key set onto a node; such children that it has are replaced, and what it has besides stays. Regions that
/// came from a mask are left out.
void KeyXml2_Save(const KEY2_EDIT& _edit, CXmlNode& _node);

/// Reads a key set from a node: what it does not name has its default. False, and a reason that names the element, when
/// it is of a later format than this version knows, a number cannot be read or is outside its range, a key has no hue,
/// or a region comes twice; *_pEdit has not been changed then.
bool KeyXml2_Load(const CXmlNode& _node, KEY2_EDIT* _pEdit, std::string* _pstrReason);
